#include <corvane/rendering/thumbnail/ThumbnailCache.h>

#include <store/SafeFile.h>

#include <QBuffer>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QMutexLocker>
#include <QStandardPaths>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

Q_LOGGING_CATEGORY(lcThumbnailCache, "ondrel.corvane.thumbnail.cache", QtWarningMsg)

namespace {

constexpr auto extension = ".png"_L1;
constexpr int longestFileName = 180;      ///< bytes; file systems take 255
constexpr qint64 largestFile = 8'000'000; ///< bytes; a picture of the largest size has 4 MiB
constexpr double keptShareOfDisk = 0.75;  ///< after pruning
constexpr qsizetype hashDigits = 16;

QString hashOf(const QByteArray &bytes)
{
    const QByteArray hash = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    return QString::fromLatin1(hash.toHex().first(hashDigits));
}

QString parameterText(const QVariantMap &parameters)
{
    QStringList parts;
    for (auto it = parameters.cbegin(); it != parameters.cend(); ++it) {
        const QJsonObject value{{u"v"_s, QJsonValue::fromVariant(it.value())}};
        const QByteArray text = QJsonDocument(value).toJson(QJsonDocument::Compact);
        parts.append(u"%1=%2"_s.arg(it.key(), QString::fromUtf8(text)));
    }
    return parts.join(u'\n');
}

QString sectionText(const std::optional<ThumbnailSection> &section)
{
    if (!section)
        return {};
    return u"_c%1_%2_%3"_s.arg(QString::number(section->axis), QString::number(section->offset),
                               QString::number(section->contourSpacing));
}

/// A name that is a file's and no path, whatever an id contains.
QString fileNameOf(const QString &key)
{
    const QByteArray encoded = QUrl::toPercentEncoding(key);
    if (encoded.size() <= longestFileName)
        return QString::fromLatin1(encoded) + extension;
    return u"long_"_s + hashOf(key.toUtf8()) + extension;
}

} // namespace

ThumbnailCache::ThumbnailCache()
    : ThumbnailCache(QStandardPaths::writableLocation(QStandardPaths::CacheLocation) +
                         u"/thumbnails"_s,
                     Limits())
{}

ThumbnailCache::ThumbnailCache(const QString &folder, const Limits &limits)
    : m_folder(folder)
    , m_limits(limits)
    , m_memory(limits.memoryBytes)
{}

QString ThumbnailCache::cacheKey(const QString &id, const QVariantMap &parameters,
                                 const QSize &size, const QByteArray &content,
                                 const std::optional<ThumbnailSection> &section)
{
    const QString plain = u"primitive_%1_%2%3_%4x%5_%6"_s.arg(
        id, hashOf(parameterText(parameters).toUtf8()), sectionText(section),
        QString::number(size.width()), QString::number(size.height()), hashOf(content));
    return u"%1_ss%2"_s.arg(plain, QString::number(ThumbnailLimits::samplesPerSide));
}

QString ThumbnailCache::sceneKey(const QByteArray &content, const QSize &size)
{
    return u"scene_%1_%2x%3_ss%4"_s.arg(hashOf(content), QString::number(size.width()),
                                        QString::number(size.height()),
                                        QString::number(ThumbnailLimits::samplesPerSide));
}

QString ThumbnailCache::keyPrefix(const QString &id)
{
    return u"primitive_%1_"_s.arg(id);
}

QPixmap ThumbnailCache::getFromMemory(const QString &key) const
{
    const QPixmap *pixmap = m_memory.object(key);
    return pixmap ? *pixmap : QPixmap();
}

void ThumbnailCache::insertIntoMemory(const QString &key, const QPixmap &pixmap)
{
    const int bytes = pixmap.width() * pixmap.height() * pixmap.depth() / 8;
    m_memory.insert(key, new QPixmap(pixmap), std::max(bytes, 1)); // the cache owns it
}

void ThumbnailCache::removeFromMemory(const QString &prefix)
{
    const auto keys = m_memory.keys();
    for (const QString &key : keys)
        if (key.startsWith(prefix))
            m_memory.remove(key);
}

QImage ThumbnailCache::loadFromDisk(const QString &key, const QSize &size) const
{
    QFile file(filePath(key));
    if (!file.exists())
        return {};
    QImage image;
    if (QFileInfo(file).isFile() && file.size() <= largestFile && file.open(QIODevice::ReadOnly)) {
        QImageReader reader(&file, QByteArrayLiteral("PNG"));
        if (reader.size() == size) // read before the pixels, which may be claimed to be many
            image = reader.read();
    }
    file.close();
    if (image.isNull())
        file.remove();
    return image;
}

bool ThumbnailCache::saveToDisk(const QString &key, const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    store::SafeFile file(filePath(key));
    file.setRegularOnly();
    if (!image.save(&buffer, "PNG") || !QDir().mkpath(m_folder) || !file.open() ||
        !file.write(bytes) || !file.commit()) {
        qCInfo(lcThumbnailCache).noquote()
            << "ThumbnailCache: not saved:" << filePath(key) << file.errorString();
        return false;
    }
    addToDiskBytes(bytes.size());
    return true;
}

QString ThumbnailCache::filePath(const QString &key) const
{
    return m_folder + u'/' + fileNameOf(key);
}

void ThumbnailCache::clear()
{
    m_memory.clear();
    const QMutexLocker lock(&m_diskMutex);
    QDir folder(m_folder);
    const auto names = folder.entryList({u'*' + extension}, QDir::Files);
    for (const QString &name : names)
        folder.remove(name);
    m_diskBytes = 0;
}

void ThumbnailCache::addToDiskBytes(qint64 bytes)
{
    const QMutexLocker lock(&m_diskMutex);
    if (m_diskBytes < 0) {
        m_diskBytes = 0;
        const auto files = QDir(m_folder).entryInfoList({u'*' + extension}, QDir::Files);
        for (const QFileInfo &file : files)
            m_diskBytes += file.size();
    } else {
        m_diskBytes += bytes;
    }
    if (m_diskBytes > m_limits.diskBytes)
        prune();
}

void ThumbnailCache::prune()
{
    // Oldest first. What is used often is in memory, so that the time of reading says little.
    QDir folder(m_folder);
    const auto files =
        folder.entryInfoList({u'*' + extension}, QDir::Files, QDir::Time | QDir::Reversed);
    m_diskBytes = 0;
    for (const QFileInfo &file : files)
        m_diskBytes += file.size();
    const auto wanted = qint64(double(m_limits.diskBytes) * keptShareOfDisk);
    for (const QFileInfo &file : files) {
        if (m_diskBytes <= wanted)
            return;
        if (folder.remove(file.fileName()))
            m_diskBytes -= file.size();
    }
}

} // namespace corvane::rendering
