#pragma once

#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QUuid>

namespace corvane::asset {

/// Tells when the file of an asset changes on disk. Lives on a thread with an event loop.
class AssetFileMonitor : public QObject
{
    Q_OBJECT

public:
    explicit AssetFileMonitor(QObject *parent = nullptr);

    /// Watches a file for an asset; several assets may share one. A file that does not exist is
    /// logged and not watched.
    void watchPath(const QString &path, const QUuid &assetId);
    void clear();

signals:
    /// A watched file was written, or replaced by another of its name. While it is missing there is
    /// no signal, but its return is seen.
    void fileChanged(const QString &path, const QList<QUuid> &assetIds);

private:
    void onFileChanged(const QString &path);
    void onFolderChanged(const QString &folder);
    void report(const QString &path);

    QFileSystemWatcher m_watcher; ///< of the files, and of the folders of missing ones
    QHash<QString, QSet<QUuid>> m_assetsOfPath;
    QSet<QString> m_missing;
};

} // namespace corvane::asset
