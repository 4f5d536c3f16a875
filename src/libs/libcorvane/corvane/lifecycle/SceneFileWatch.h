#pragma once

#include <corvane/asset/AssetFileMonitor.h>

#include <QByteArray>
#include <QObject>
#include <QString>

#include <memory>

namespace corvane::lifecycle {

/// Tells when the file of the open scene is changed by another program: what we read or wrote
/// ourselves is known by its content. Main thread.
class SceneFileWatch : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// Watches a file whose content is ours.
    void start(const QString &path, const QByteArray &digest);
    void stop();
    /// We wrote it: from now on this is its content.
    void noteWritten();
    /// Whether there is another content under the path than ours, at this moment. A file that is
    /// gone is no other content.
    bool isChanged() const;

signals:
    void changed();

private:
    void look();

    std::unique_ptr<asset::AssetFileMonitor> m_monitor;
    QString m_path;
    QByteArray m_digest;
    QByteArray m_toldOf; ///< content that was told of already
};

} // namespace corvane::lifecycle
