#include <corvane/asset/AssetFileMonitor.h>

#include <QFileInfo>
#include <QLoggingCategory>

namespace corvane::asset {

Q_LOGGING_CATEGORY(lcAssetFiles, "ondrel.corvane.asset.files", QtWarningMsg)

namespace {

QString folderOf(const QString &path)
{
    return QFileInfo(path).absolutePath();
}

} // namespace

AssetFileMonitor::AssetFileMonitor(QObject *parent)
    : QObject(parent)
{
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &AssetFileMonitor::onFileChanged);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this,
            &AssetFileMonitor::onFolderChanged);
}

void AssetFileMonitor::watchPath(const QString &path, const QUuid &assetId)
{
    if (!QFileInfo::exists(path)) {
        qCWarning(lcAssetFiles).noquote()
            << "AssetFileMonitor: Cannot watch non-existent file:" << path;
        return;
    }
    m_assetsOfPath[path].insert(assetId);
    if (!m_watcher.files().contains(path))
        m_watcher.addPath(path);
}

void AssetFileMonitor::clear()
{
    const QStringList paths = m_watcher.files() + m_watcher.directories();
    if (!paths.isEmpty())
        m_watcher.removePaths(paths);
    m_assetsOfPath.clear();
    m_missing.clear();
}

// The watcher follows a file, not a name: one that was replaced has to be watched anew. Between the
// two halves of a replacement there may be none of that name; then the folder tells of its return.
void AssetFileMonitor::onFileChanged(const QString &path)
{
    if (!m_assetsOfPath.contains(path))
        return;
    if (QFileInfo::exists(path))
        return report(path);
    m_missing.insert(path);
    m_watcher.addPath(folderOf(path));
    onFolderChanged(folderOf(path)); // it may have come back before the folder was watched
}

void AssetFileMonitor::onFolderChanged(const QString &folder)
{
    bool isWaiting = false;
    const QSet<QString> missing = m_missing;
    for (const QString &path : missing) {
        if (folderOf(path) != folder)
            continue;
        if (QFileInfo::exists(path)) {
            m_missing.remove(path);
            report(path);
        } else {
            isWaiting = true;
        }
    }
    if (!isWaiting)
        m_watcher.removePath(folder);
}

void AssetFileMonitor::report(const QString &path)
{
    if (!m_watcher.files().contains(path))
        m_watcher.addPath(path);
    QList<QUuid> ids = m_assetsOfPath.value(path).values();
    std::sort(ids.begin(), ids.end());
    emit fileChanged(path, ids);
}

} // namespace corvane::asset
