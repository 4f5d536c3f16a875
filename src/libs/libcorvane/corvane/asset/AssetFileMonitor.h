#pragma once

#include <QElapsedTimer>
#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <QUuid>

#include <chrono>

namespace corvane::asset {

/// Tells when the file of an asset changes on disk. Lives on a thread with an event loop.
class AssetFileMonitor : public QObject
{
    Q_OBJECT

public:
    /// A file is reported when it has been left alone for so long, since whoever reads it wants the
    /// whole of it, and once, not at each of its parts ...
    static constexpr std::chrono::milliseconds settleTime{100};
    /// ... but not later than this after its first change.
    static constexpr std::chrono::milliseconds longestDelay{1000};

    explicit AssetFileMonitor(QObject *parent = nullptr);

    /// Watches a file for an asset; several assets may share one. A file that does not exist is
    /// logged and not watched.
    void watchPath(const QString &path, const QUuid &assetId);
    void clear();

signals:
    /// A watched file was written, or replaced by another of its name. While it is missing there is
    /// no signal, but its return is seen, also when its folder was gone with it. What is written
    /// after the signal makes another one.
    void fileChanged(const QString &path, const QList<QUuid> &assetIds);

private:
    void onFileChanged(const QString &path);
    void settleLater();
    void settle();
    void watch(const QString &path);
    void watchFoldersOfMissing();
    void report(const QString &path);

    QFileSystemWatcher m_watcher; ///< of the files, and of the folders of missing ones
    QHash<QString, QSet<QUuid>> m_assetsOfPath;
    QSet<QString> m_changed; ///< not reported yet
    QSet<QString> m_missing;
    QTimer m_settling{this};
    QElapsedTimer m_sinceFirstChange;
};

} // namespace corvane::asset
