#include <cache/CacheLimit.h>
#include <store/ShutdownLifecycle.h>
#include <support/Files.h>

#include <QDateTime>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace cache;
using store::ShutdownLifecycle;

class TstCacheLimit : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }

    void theOldestGo_data();
    void theOldestGo();
    void whatIsUsedStays();
    void filesOfOthersStay();
    void whatWasNeverFinishedGoes();
    void theEndOfAProcessSweeps();
    void noTwoSweepsWithinMinutes();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    /// A file of 100 bytes that was used so long ago.
    void put(const QString &name, int minutesAgo) const;
    QStringList names(const QString &folder) const
    {
        return QDir(path(folder)).entryList(QDir::Files | QDir::System);
    }
    CacheLimit limitOf(qint64 bytes) const
    {
        return CacheLimit({.folders = {path(u"a"_s), path(u"b"_s), path(u"none"_s)},
                           .suffixes = {u".so"_s, u".qsb"_s},
                           .leftovers = {u".part"_s},
                           .limit = bytes});
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TstCacheLimit::put(const QString &name, int minutesAgo) const
{
    QVERIFY(support::put(path(name), QByteArray(100, 'x')));
    QFile file(path(name));
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-60 * minutesAgo),
                             QFileDevice::FileModificationTime));
}

void TstCacheLimit::theOldestGo_data()
{
    QTest::addColumn<qint64>("limit");
    QTest::addColumn<QStringList>("left"); // of a/1.so, b/2.qsb, a/3.so, b/4.qsb: oldest first
    QTest::addColumn<qint64>("removed");
    const QStringList all{u"1.so"_s, u"3.so"_s, u"2.qsb"_s, u"4.qsb"_s};
    QTest::newRow("just full") << qint64(400) << all << qint64(0);
    QTest::newRow("one byte too much")
        << qint64(399) << QStringList{u"3.so"_s, u"2.qsb"_s, u"4.qsb"_s} << qint64(100);
    QTest::newRow("and an eighth to spare")
        << qint64(340) << QStringList{u"3.so"_s, u"4.qsb"_s} << qint64(200);
    QTest::newRow("room for nothing") << qint64(50) << QStringList() << qint64(400);
}

void TstCacheLimit::theOldestGo()
{
    QFETCH(const qint64, limit);
    QFETCH(const QStringList, left);
    QFETCH(const qint64, removed);
    put(u"b/4.qsb"_s, 1);
    put(u"a/1.so"_s, 4);
    put(u"b/2.qsb"_s, 3);
    put(u"a/3.so"_s, 2);
    const CacheSweep sweep = limitOf(limit).sweep();
    QCOMPARE(sweep.bytesBefore, qint64(400));
    QCOMPARE(sweep.bytesRemoved, removed);
    QCOMPARE(names(u"a"_s) + names(u"b"_s), left);
}

void TstCacheLimit::whatIsUsedStays()
{
    put(u"a/1.so"_s, 300);
    put(u"a/2.so"_s, 200);
    CacheLimit::noteUse(path(u"a/1.so"_s));
    CacheLimit::noteUse(path(u"a/none.so"_s));
    limitOf(150).sweep();
    QCOMPARE(names(u"a"_s), QStringList{u"1.so"_s});
    const QDateTime used = QFileInfo(path(u"a/1.so"_s)).lastModified();
    CacheLimit::noteUse(path(u"a/1.so"_s)); // not written at each use
    QCOMPARE(QFileInfo(path(u"a/1.so"_s)).lastModified(), used);
}

void TstCacheLimit::filesOfOthersStay()
{
    put(u"a/notes.txt"_s, 100);
    put(u"a/more/1.so"_s, 100);
    put(u"elsewhere.so"_s, 100);
    QVERIFY(QFile::link(path(u"elsewhere.so"_s), path(u"a/link.so"_s)));
    QVERIFY(::mkfifo(QFile::encodeName(path(u"a/pipe.so"_s)).constData(), 0600) == 0);
    QCOMPARE(limitOf(1).sweep().bytesBefore, qint64(0));
    QCOMPARE(names(u"a"_s), (QStringList{u"link.so"_s, u"notes.txt"_s, u"pipe.so"_s}));
    QVERIFY(QFile::exists(path(u"elsewhere.so"_s)) && QFile::exists(path(u"a/more/1.so"_s)));
}

void TstCacheLimit::whatWasNeverFinishedGoes()
{
    put(u"a/old.qsb.17.part"_s, 100);
    put(u"a/new.qsb.18.part"_s, 1); // another process may be at it
    limitOf(1000).sweep();
    QCOMPARE(names(u"a"_s), QStringList{u"new.qsb.18.part"_s});
}

void TstCacheLimit::theEndOfAProcessSweeps()
{
    put(u"a/1.so"_s, 1);
    limitOf(50).noteStore(100);
    QCOMPARE(names(u"a"_s), QStringList{u"1.so"_s}); // not at once
    QVERIFY(ShutdownLifecycle::instance().finishWork(std::chrono::seconds(5)));
    QCOMPARE(names(u"a"_s), QStringList());
}

void TstCacheLimit::noTwoSweepsWithinMinutes()
{
    const auto storeAndEnd = [this](qint64 bytes) {
        limitOf(1000).noteStore(bytes);
        QVERIFY(ShutdownLifecycle::instance().finishWork(std::chrono::seconds(5)));
    };
    put(u"a/big.so"_s, 1);
    QVERIFY(QFile::resize(path(u"a/big.so"_s), 2000));
    storeAndEnd(1);
    QCOMPARE(names(u"a"_s), QStringList());
    put(u"a/big.so"_s, 1);
    QVERIFY(QFile::resize(path(u"a/big.so"_s), 2000));
    storeAndEnd(1);
    QCOMPARE(names(u"a"_s), QStringList{u"big.so"_s});
    storeAndEnd(200); // unless much came since
    QCOMPARE(names(u"a"_s), QStringList());
}

QTEST_APPLESS_MAIN(TstCacheLimit)
#include "tst_CacheLimit.moc"
