#include <corvane/rendering/thumbnail/ThumbnailCache.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::rendering::ThumbnailCache;
using corvane::rendering::ThumbnailSection;

namespace {

constexpr QSize size(32, 24);

QImage picture(const QColor &color)
{
    QImage image(size, QImage::Format_RGBA8888);
    image.fill(color);
    return image;
}

QByteArray bigEndian(quint32 value)
{
    return QByteArray::fromHex(QByteArray::number(value, 16).rightJustified(8, '0'));
}

/// The sum behind each chunk of a PNG.
quint32 crc32(const QByteArray &bytes)
{
    quint32 sum = ~0U;
    for (const char byte : bytes) {
        sum ^= uchar(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ (sum & 1 ? 0xedb88320U : 0U);
    }
    return ~sum;
}

QByteArray chunk(const QByteArray &name, const QByteArray &data)
{
    return bigEndian(quint32(data.size())) + name + data + bigEndian(crc32(name + data));
}

/// A PNG that claims a size and holds no pixels of it.
QByteArray pngOfSize(quint32 width, quint32 height)
{
    return QByteArray::fromHex("89504e470d0a1a0a") +
           chunk("IHDR", bigEndian(width) + bigEndian(height) + QByteArray::fromHex("0806000000")) +
           chunk("IDAT", QByteArray::fromHex("789c030000000001")) + chunk("IEND", {});
}

} // namespace

class TstThumbnailCache : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_folder = std::make_unique<QTemporaryDir>();
    }
    void keysTellPicturesApart();
    void picturesComeBackFromDisk();
    void filesThatAreNoPictureAreRemoved_data();
    void filesThatAreNoPictureAreRemoved();
    void namesStayInTheFolder_data();
    void namesStayInTheFolder();
    void memoryIsBounded();
    void diskIsBounded();
    void whatCannotBeWrittenIsNoMatter();
    void clearLeavesNothing();

private:
    [[nodiscard]] QString folder() const { return m_folder->filePath(u"thumbnails"_s); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TstThumbnailCache::keysTellPicturesApart()
{
    const QVariantMap parameters{{u"radius"_s, 2.0}};
    const QStringList keys{
        ThumbnailCache::cacheKey(u"a"_s, {}, size),
        ThumbnailCache::cacheKey(u"b"_s, {}, size),
        ThumbnailCache::cacheKey(u"a"_s, {}, size.transposed()),
        ThumbnailCache::cacheKey(u"a"_s, parameters, size),
        ThumbnailCache::cacheKey(u"a"_s, {{u"radius"_s, u"2"_s}}, size),
        ThumbnailCache::cacheKey(u"a"_s, {{u"radius"_s, QVariantList{1, 2}}}, size),
        ThumbnailCache::cacheKey(u"a"_s, {}, size, "new code"),
        ThumbnailCache::cacheKey(u"a"_s, {}, size, {}, ThumbnailSection{}),
        ThumbnailCache::cacheKey(u"a"_s, {}, size, {}, ThumbnailSection{.offset = 0.5f}),
        ThumbnailCache::sceneKey("nodes", size),
        ThumbnailCache::sceneKey("other nodes", size),
    };
    QCOMPARE(QSet<QString>(keys.cbegin(), keys.cend()).size(), keys.size());
    QCOMPARE(ThumbnailCache::cacheKey(u"a"_s, parameters, size), keys[3]);
    QVERIFY(keys[3].startsWith(ThumbnailCache::keyPrefix(u"a"_s)));
    QVERIFY(keys[3].endsWith(u"_ss2"_s));
}

void TstThumbnailCache::picturesComeBackFromDisk()
{
    const QImage image = picture(QColor(10, 20, 30, 128));
    QVERIFY(ThumbnailCache(folder(), {}).saveToDisk(u"key"_s, image));
    const ThumbnailCache later(folder(), {});
    QCOMPARE(later.loadFromDisk(u"key"_s, size).convertToFormat(QImage::Format_RGBA8888), image);
    QVERIFY(later.loadFromDisk(u"other"_s, size).isNull());
}

void TstThumbnailCache::filesThatAreNoPictureAreRemoved_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QByteArray bitmap("BM");
    bitmap.resize(200);
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("text") << QByteArray("hello");
    QTest::newRow("another format") << bitmap;
    QTest::newRow("of another size") << pngOfSize(33, 24);
    QTest::newRow("of a gigantic size") << pngOfSize(2'000'000'000, 2'000'000'000);
    QTest::newRow("without its pixels") << pngOfSize(32, 24).chopped(30);
    QTest::newRow("large") << pngOfSize(32, 24) + QByteArray(9'000'000, 'x');
}

void TstThumbnailCache::filesThatAreNoPictureAreRemoved()
{
    QFETCH(QByteArray, bytes);
    // What libpng thinks of a file is said on its own.
    QTest::failOnWarning(QRegularExpression(u"^ThumbnailCache"_s));
    ThumbnailCache cache(folder(), {});
    QVERIFY(cache.saveToDisk(u"key"_s, picture(Qt::red)));
    QFile file(cache.filePath(u"key"_s));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
    file.close();
    QVERIFY(cache.loadFromDisk(u"key"_s, size).isNull());
    QVERIFY(!file.exists());
}

void TstThumbnailCache::namesStayInTheFolder_data()
{
    QTest::addColumn<QString>("id");
    QTest::newRow("path") << u"../../etc/passwd"_s;
    QTest::newRow("dots") << u".."_s;
    QTest::newRow("zero") << QString(QChar(0));
    QTest::newRow("long") << QString(5000, u'x');
    QTest::newRow("other letters") << u"шар ✓"_s;
}

void TstThumbnailCache::namesStayInTheFolder()
{
    QFETCH(QString, id);
    ThumbnailCache cache(folder(), {});
    const QString key = ThumbnailCache::cacheKey(id, {}, size);
    QVERIFY(cache.saveToDisk(key, picture(Qt::green)));
    QVERIFY(!cache.loadFromDisk(key, size).isNull());
    QCOMPARE(QDir(folder()).entryList(QDir::Files).size(), 1);
    QVERIFY(cache.filePath(key) != cache.filePath(key + u'x'));
}

void TstThumbnailCache::memoryIsBounded()
{
    const int bytes = size.width() * size.height() * 4;
    ThumbnailCache cache(folder(), {.memoryBytes = 3 * bytes});
    const QPixmap pixmap = QPixmap::fromImage(picture(Qt::blue));
    for (const QString &key : {u"a"_s, u"b"_s, u"c"_s})
        cache.insertIntoMemory(key, pixmap);
    QVERIFY(!cache.getFromMemory(u"a"_s).isNull()); // used now, so that b is the oldest
    cache.insertIntoMemory(u"d"_s, pixmap);
    QVERIFY(cache.getFromMemory(u"b"_s).isNull());
    QVERIFY(!cache.getFromMemory(u"a"_s).isNull());
    cache.removeFromMemory(u"a"_s);
    QVERIFY(cache.getFromMemory(u"a"_s).isNull());
    QVERIFY(!cache.getFromMemory(u"d"_s).isNull());
}

void TstThumbnailCache::diskIsBounded()
{
    const QImage image = picture(Qt::white);
    ThumbnailCache(folder(), {}).saveToDisk(u"first"_s, image);
    const qint64 bytes = QDir(folder()).entryInfoList(QDir::Files).constFirst().size();
    ThumbnailCache cache(folder(), {.diskBytes = 8 * bytes});
    QFile first(cache.filePath(u"first"_s)); // the oldest by far
    QVERIFY(first.open(QIODevice::ReadWrite));
    QVERIFY(first.setFileTime(QDateTime({2020, 1, 1}, {}), QFileDevice::FileModificationTime));
    for (int i = 0; i < 8; ++i)
        QVERIFY(cache.saveToDisk(QString::number(i), image));
    QVERIFY(cache.sweep().bytesRemoved >= bytes);
    QCOMPARE(QDir(folder()).entryList(QDir::Files).size(), 7);
    QVERIFY(!first.exists());
}

void TstThumbnailCache::whatCannotBeWrittenIsNoMatter()
{
    QFile blocker(folder());
    QVERIFY(blocker.open(QIODevice::WriteOnly)); // a file where the folder should be
    ThumbnailCache cache(folder(), {});
    QVERIFY(!cache.saveToDisk(u"key"_s, picture(Qt::red)));
    QVERIFY(cache.loadFromDisk(u"key"_s, size).isNull());
}

void TstThumbnailCache::clearLeavesNothing()
{
    ThumbnailCache cache(folder(), {});
    cache.saveToDisk(u"key"_s, picture(Qt::red));
    cache.insertIntoMemory(u"key"_s, QPixmap::fromImage(picture(Qt::red)));
    cache.clear();
    QVERIFY(cache.getFromMemory(u"key"_s).isNull());
    QVERIFY(QDir(folder()).isEmpty());
}

QTEST_MAIN(TstThumbnailCache)
#include "tst_ThumbnailCache.moc"
