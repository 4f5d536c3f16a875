#pragma once

#include <corvane/rendering/thumbnail/ThumbnailRenderRequest.h>

#include <QCache>
#include <QImage>
#include <QMutex>
#include <QPixmap>
#include <QString>
#include <QVariantMap>

namespace corvane::rendering {

/// Pictures that were made before, in memory and as PNG files.
///
/// Both are bounded: what was not used for longest goes first. A file that is no PNG of the wanted
/// size, or a suspiciously large one, is removed and counts as missing; one that can't be written
/// costs only the cache. The pixmaps belong to the GUI thread, the files to any.
class ThumbnailCache
{
public:
    struct Limits
    {
        int memoryBytes = 32 * 1024 * 1024;
        qint64 diskBytes = 64LL * 1024 * 1024; ///< then a quarter of it is removed
    };

    /// In the "thumbnails" folder under QStandardPaths::CacheLocation.
    ThumbnailCache();
    /// In another folder, which is made when the first picture is saved.
    ThumbnailCache(const QString &folder, const Limits &limits);

    /// The name of a definition's picture. `content` is a hash of what the picture follows from
    /// besides the parameters.
    [[nodiscard]] static QString cacheKey(const QString &id, const QVariantMap &parameters,
                                          const QSize &size, const QByteArray &content = {},
                                          const std::optional<ThumbnailSection> &section = {});
    /// The name of a scene's picture.
    [[nodiscard]] static QString sceneKey(const QByteArray &content, const QSize &size);
    /// What the names of all pictures of a definition begin with.
    [[nodiscard]] static QString keyPrefix(const QString &id);

    [[nodiscard]] QPixmap getFromMemory(const QString &key) const; ///< null when there is none
    void insertIntoMemory(const QString &key, const QPixmap &pixmap);
    void removeFromMemory(const QString &prefix);

    /// Null when there is none of that size.
    [[nodiscard]] QImage loadFromDisk(const QString &key, const QSize &size) const;
    bool saveToDisk(const QString &key, const QImage &image);
    [[nodiscard]] QString filePath(const QString &key) const;

    void clear(); ///< memory and disk

private:
    void addToDiskBytes(qint64 bytes);
    void prune();

    const QString m_folder;
    const Limits m_limits;
    mutable QCache<QString, QPixmap> m_memory;
    QMutex m_diskMutex;
    qint64 m_diskBytes = -1; ///< -1: not counted yet
};

} // namespace corvane::rendering
