#pragma once

#include <store/AsyncStore.h>

#include <QVariantMap>

#include <mutex>

namespace store {

/// The disk side of a store: one JSON file that holds an object. A save replaces it as a whole, so
/// that a process that is killed leaves the old file or the new one.
///
/// A load that fails says why in the log, and says nothing of what the file holds, which may be a
/// key: a missing file name, a file that can't be opened, is no regular file or is larger than 64
/// MiB, one that is empty, one that is no JSON object.
class JsonAsyncBackend : public IAsyncBackend<QVariantMap>
{
public:
    static constexpr qint64 mostBytes = 64 * 1024 * 1024;

    JsonAsyncBackend();

    void setFilenameBackend(const QString &path);
    QString filenameBackend() const;

    /// An inactive backend loads and saves nothing.
    void setActiveBackend(bool on) { m_helper.activate(on); }
    bool isActiveBackend() const { return m_helper.isActivated(); }

    /// For what holds a secret: the file is 0600, its folder 0700 (see writePrivateFile).
    void setPrivateBackend(bool on) { m_private = on; }

    bool existsBackend() const override;
    QVariantMap loadBackend(bool *ok) override;
    bool saveBackend(const QVariantMap &data) override;
    bool clearBackend() override; ///< removes the file; true if none is there
    bool setAsideBackend(const QString &why) override;
    bool isDamagedBackend() const override { return m_damaged; }

    /// A task named "JsonAsyncBackend[<file>]".
    std::shared_ptr<ShutdownHold> holdBackend() override;

private:
    bool readAll(const QString &path, QByteArray &bytes);

    ConfigureHelper m_helper{QStringLiteral("JsonAsyncBackend"), {.needsActivation = true}};
    mutable std::mutex m_mutex; ///< of the path
    QString m_path;
    std::atomic<bool> m_private = false;
    std::atomic<bool> m_damaged = false;
};

} // namespace store
