#pragma once

#include <QByteArray>
#include <QString>

#include <functional>

/// A scene file from its reading to its replacement: what somebody else made of it meanwhile is
/// never written over.
class SceneFile
{
public:
    /// Looks at the file as it is, before it is read. A path that is no plain file may be written
    /// at any time.
    explicit SceneFile(const QString &path);

    QString path() const { return m_path; }
    bool isPlain() const { return m_isPlain; }
    /// Whether a path leads to this file.
    bool isAt(const QString &path) const;
    /// Lets `write` replace the file, while nobody else does so by this road. False when that
    /// fails, and, with the reason, when the file is another one by now.
    bool replace(const std::function<bool()> &write, QString &error) const;

private:
    QString m_path;
    bool m_isPlain = false;
    QByteArray m_digest; ///< of the content
};
