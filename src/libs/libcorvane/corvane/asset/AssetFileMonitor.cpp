#include <corvane/asset/AssetFileMonitor.h>

#include <QFileInfo>
#include <QLoggingCategory>

namespace corvane::asset {

Q_LOGGING_CATEGORY(lcAssetFiles, "ondrel.corvane.asset.files", QtWarningMsg)

namespace {

// The folder that tells of a missing file's return. Its own may be gone as well, and the one around
// that; the root never is.
QString nearestFolder(const QString &path)
{
    QString folder = QFileInfo(path).absolutePath();
    while (!QFileInfo(folder).isDir()) {
        const QString outer = QFileInfo(folder).absolutePath();
        if (outer == folder)
            break;
        folder = outer;
    }
    return folder;
}

} // namespace

AssetFileMonitor::AssetFileMonitor(QObject *parent)
    : QObject(parent)
{
    m_settling.setSingleShot(true);
    connect(&m_settling, &QTimer::timeout, this, &AssetFileMonitor::settle);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &AssetFileMonitor::onFileChanged);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this,
            &AssetFileMonitor::settleLater);
}

void AssetFileMonitor::watchPath(const QString &path, const QUuid &assetId)
{
    if (!QFileInfo::exists(path)) {
        qCWarning(lcAssetFiles).noquote()
            << "AssetFileMonitor: Cannot watch non-existent file:" << path;
        return;
    }
    m_assetsOfPath[path].insert(assetId);
    watch(path);
}

void AssetFileMonitor::clear()
{
    const QStringList paths = m_watcher.files() + m_watcher.directories();
    if (!paths.isEmpty())
        m_watcher.removePaths(paths);
    m_assetsOfPath.clear();
    m_changed.clear();
    m_missing.clear();
    m_settling.stop();
}

void AssetFileMonitor::onFileChanged(const QString &path)
{
    if (!m_assetsOfPath.contains(path))
        return;
    m_changed.insert(path);
    settleLater();
}

void AssetFileMonitor::settleLater()
{
    if (!m_settling.isActive())
        m_sinceFirstChange.start();
    const auto left = longestDelay - std::chrono::milliseconds(m_sinceFirstChange.elapsed());
    m_settling.start(std::clamp(left, std::chrono::milliseconds(0), settleTime));
}

// The watcher follows a file, not a name: one that was replaced has to be watched anew. That is
// done before it is reported, so that nothing written after the report is missed.
void AssetFileMonitor::settle()
{
    const QSet<QString> paths = std::exchange(m_changed, {}) + m_missing;
    QStringList present;
    for (const QString &path : paths) {
        if (QFileInfo::exists(path)) {
            m_missing.remove(path);
            watch(path);
            present.append(path);
        } else {
            m_missing.insert(path);
        }
    }
    watchFoldersOfMissing();
    present.sort();
    for (const QString &path : std::as_const(present))
        report(path);
}

void AssetFileMonitor::watch(const QString &path)
{
    if (!m_watcher.addPath(path) && !m_watcher.files().contains(path))
        qCWarning(lcAssetFiles).noquote() << "AssetFileMonitor: Cannot watch file:" << path;
}

void AssetFileMonitor::watchFoldersOfMissing()
{
    const auto folders = [this] {
        QSet<QString> nearest;
        for (const QString &path : std::as_const(m_missing))
            nearest.insert(nearestFolder(path));
        return nearest;
    };
    const QStringList watched = m_watcher.directories();
    const QSet<QString> before(watched.cbegin(), watched.cend());
    const QSet<QString> wanted = folders();
    const QSet<QString> added = wanted - before;
    for (const QString &folder : before - wanted)
        m_watcher.removePath(folder);
    for (const QString &folder : added)
        m_watcher.addPath(folder);
    // What came back before its folder was watched makes no signal any more.
    const bool isBack = std::any_of(m_missing.cbegin(), m_missing.cend(),
                                    [](const QString &path) { return QFileInfo::exists(path); });
    if (isBack || (!added.isEmpty() && folders() != wanted))
        settleLater();
}

void AssetFileMonitor::report(const QString &path)
{
    QList<QUuid> ids = m_assetsOfPath.value(path).values();
    if (ids.isEmpty())
        return; // a listener of an earlier report has cleared everything
    std::sort(ids.begin(), ids.end());
    emit fileChanged(path, ids);
}

} // namespace corvane::asset
