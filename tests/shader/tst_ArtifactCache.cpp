#include <shader/ArtifactCache.h>
#include <store/ShutdownLifecycle.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using shader::ArtifactCache;

class TstArtifactCache : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void keysDependOnTheContent();
    void keepsSpirv();
    void missesDamagedSpirv_data();
    void missesDamagedSpirv();
    void missesWhatIsNoFile_data();
    void missesWhatIsNoFile();
    void keepsPipelines();
    void saysWhenItCannotSave();
};

void TstArtifactCache::keysDependOnTheContent()
{
    const QString key = ArtifactCache::shaderKey(u"a"_s, QShader::FragmentStage);
    QVERIFY(QRegularExpression(u"^[0-9a-f]{32}$"_s).match(key).hasMatch());
    QCOMPARE(ArtifactCache::shaderKey(u"a"_s, QShader::FragmentStage), key);
    QVERIFY(ArtifactCache::shaderKey(u"b"_s, QShader::FragmentStage) != key);
    QVERIFY(ArtifactCache::shaderKey(u"a"_s, QShader::VertexStage) != key);
    QCoreApplication::setApplicationVersion(u"another"_s);
    QVERIFY(ArtifactCache::shaderKey(u"a"_s, QShader::FragmentStage) != key);
    QCoreApplication::setApplicationVersion({});
    QVERIFY(ArtifactCache::pipelineCacheKey("a", u"x"_s) !=
            ArtifactCache::pipelineCacheKey("a", u"y"_s));
}

void TstArtifactCache::keepsSpirv()
{
    const QTemporaryDir dir;
    const ArtifactCache cache(dir.path());
    QVERIFY(!cache.loadSpirv(u"k"_s));
    cache.saveSpirv(u"k"_s, {.binary = "binary", .messages = u"WARNING: größer"_s});
    const auto loaded = cache.loadSpirv(u"k"_s);
    QVERIFY(loaded);
    QCOMPARE(loaded->binary, QByteArray("binary"));
    QCOMPARE(loaded->messages, u"WARNING: größer"_s);
    QCOMPARE(QDir(cache.shaderDir()).entryList(QDir::Files), QStringList{u"k.spv"_s});
}

void TstArtifactCache::missesDamagedSpirv_data()
{
    using Damage = std::function<void(QByteArray &)>;
    QTest::addColumn<Damage>("damage");
    QTest::newRow("emptied") << Damage([](QByteArray &bytes) { bytes.clear(); });
    QTest::newRow("cut") << Damage([](QByteArray &bytes) { bytes.chop(1); });
    QTest::newRow("header only") << Damage([](QByteArray &bytes) { bytes.truncate(10); });
    QTest::newRow("one bit") << Damage([](QByteArray &bytes) { bytes.back() ^= 1; });
    QTest::newRow("longer") << Damage([](QByteArray &bytes) { bytes += 'x'; });
    QTest::newRow("another kind") << Damage([](QByteArray &bytes) { bytes[0] = 'X'; });
}

void TstArtifactCache::missesDamagedSpirv()
{
    QFETCH(const std::function<void(QByteArray &)>, damage);
    const QTemporaryDir dir;
    const ArtifactCache cache(dir.path());
    cache.saveSpirv(u"k"_s, {.binary = "binary", .messages = {}});
    QFile file(cache.shaderDir() + u"/k.spv"_s);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QByteArray bytes = file.readAll();
    damage(bytes);
    QVERIFY(file.resize(0) && file.seek(0) && file.write(bytes) == bytes.size());
    file.close();
    QVERIFY(!cache.loadSpirv(u"k"_s));
    cache.saveSpirv(u"k"_s, {.binary = "again", .messages = {}});
    QVERIFY(cache.loadSpirv(u"k"_s));
}

void TstArtifactCache::missesWhatIsNoFile_data()
{
    QTest::addColumn<QString>("linkTo"); // empty: a FIFO
    QTest::newRow("a FIFO") << QString();
    QTest::newRow("an endless device") << u"/dev/zero"_s;
    QTest::newRow("a folder") << u"."_s;
}

void TstArtifactCache::missesWhatIsNoFile()
{
    QFETCH(const QString, linkTo);
    const QTemporaryDir dir;
    const ArtifactCache cache(dir.path());
    QVERIFY(QDir().mkpath(cache.shaderDir()) && QDir().mkpath(cache.pipelineDir()));
    for (const QString &path : {cache.shaderDir() + u"/k.spv"_s, cache.shaderDir() + u"/k.qsb"_s,
                                cache.pipelineDir() + u"/k.bin"_s})
        QVERIFY(linkTo.isEmpty() ? ::mkfifo(QFile::encodeName(path).constData(), 0600) == 0
                                 : QFile::link(linkTo, path));
    QVERIFY(!cache.loadSpirv(u"k"_s));
    QVERIFY(!cache.loadShader(u"k"_s).isValid());
    QVERIFY(cache.loadPipelineCache(u"k"_s).isEmpty());
    cache.saveSpirv(u"k"_s, {.binary = "again", .messages = {}});
    QVERIFY(cache.loadSpirv(u"k"_s));
}

void TstArtifactCache::keepsPipelines()
{
    const QTemporaryDir dir;
    const ArtifactCache cache(dir.path());
    QVERIFY(cache.loadPipelineCache(u"k"_s).isEmpty());
    cache.savePipelineCache(u"k"_s, "bytes");
    QCOMPARE(cache.loadPipelineCache(u"k"_s), QByteArray("bytes"));
    QVERIFY(QFile::exists(dir.filePath(u"pipelines/k.bin"_s)));
    // What is stored is looked through in the end.
    QVERIFY(store::ShutdownLifecycle::instance().finishWork(std::chrono::seconds(5)));
    QVERIFY(QFile::exists(dir.filePath(u"pipelines/.swept"_s)));
}

void TstArtifactCache::saysWhenItCannotSave()
{
    const QTemporaryDir dir;
    QFile blocker(dir.filePath(u"blocked"_s));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    const ArtifactCache cache(blocker.fileName());
    cache.saveSpirv(u"k"_s, {});
    QTest::ignoreMessage(
        QtWarningMsg,
        QRegularExpression(u"^shader::ArtifactCache: failed to save pipeline cache k "_s));
    cache.savePipelineCache(u"k"_s, "bytes");
}

QTEST_APPLESS_MAIN(TstArtifactCache)
#include "tst_ArtifactCache.moc"
