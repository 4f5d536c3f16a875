#include <eval/internal/native/NativeCache.h>
#include <eval/internal/native/NativeCompiler.h>

#include <QDir>
#include <QFile>
#include <QFuture>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <memory>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace eval::internal;

namespace {

const QByteArray unit = R"(
extern "C" void eval_main(const float *in, float *out, const float *const *, const int *)
{
    out[0] = in[0] * 2.0f;
}
)";

/// Answers "--version", then does what the case says; $out is the object that it is asked for.
const QString fakeText = uR"(#!/bin/sh
PATH=/usr/bin:/bin
[ "$1" = --version ] && exit 0
all="$*"
while [ $# -gt 0 ]; do [ "$1" = -o ] && out="$2"; shift; done
%1
)"_s;

const QString realText = u"exec %1 $all"_s;

QString realCompiler()
{
    for (const QString &name : {u"g++"_s, u"clang++"_s}) {
        const QString path = QStandardPaths::findExecutable(name);
        if (!path.isEmpty())
            return path;
    }
    return {};
}

bool isRunning(const QByteArray &process)
{
    QFile status(u"/proc/%1/stat"_s.arg(QString::fromLatin1(process.trimmed())));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    // A process that has ended but was not collected yet stands there as Z.
    return !status.readAll().contains(") Z ");
}

} // namespace

/// The compiler as a child to be watched, and the objects that are kept.
class TstNativeCompiler : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void badCompilersAreTold_data();
    void badCompilersAreTold();
    void nothingOutlivesTheCompiler();
    void theEnvironmentIsEmpty();
    void withoutACompilerTheStartFails();
    void anObjectIsCompiledOnce();
    void badObjectsAreCompiledAnew_data();
    void badObjectsAreCompiledAnew();
    void anObjectUnderAnothersNameIsNotLoaded();
    void anotherFolderThanOursIsNotUsed();
    void twoAtOnceBothSucceed();

private:
    void install(const QString &name, const QString &script);
    void installReal(const QString &name) { install(name, realText.arg(m_real)); }
    QString cachedObject() const
    {
        return NativeCache(NativeCache::defaultFolder()).pathOf(NativeCache::keyOf(unit));
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_real;
    QByteArray m_path;
    QByteArray m_cacheHome;
};

void TstNativeCompiler::initTestCase()
{
    m_real = realCompiler();
    m_path = qgetenv("PATH");
    m_cacheHome = qgetenv("XDG_CACHE_HOME");
}

void TstNativeCompiler::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    QDir(m_folder->path()).mkdir(u"bin"_s);
    qputenv("PATH", QFile::encodeName(m_folder->filePath(u"bin"_s)));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(m_folder->filePath(u"cache"_s)));
}

void TstNativeCompiler::cleanup()
{
    qputenv("PATH", m_path);
    qputenv("XDG_CACHE_HOME", m_cacheHome);
}

void TstNativeCompiler::install(const QString &name, const QString &script)
{
    QFile file(m_folder->filePath(u"bin/"_s + name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(fakeText.arg(script).toUtf8());
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void TstNativeCompiler::badCompilersAreTold_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("error");
    QTest::newRow("slow") << u"sleep 1000"_s << u"Compiler timeout (1s)"_s;
    QTest::newRow("huge output") << u"yes"_s << u"Compiler wrote more than 1048576 bytes"_s;
    QTest::newRow("crash") << u"kill -SEGV $$"_s << u"Compiler failed (exit code"_s;
    QTest::newRow("silent") << u"exit 3"_s
                            << u"Compiler failed (exit code 3) with no diagnostic output"_s;
    QTest::newRow("message") << u"echo 'source.cpp:1: no'; exit 1"_s << u"source.cpp:1: no"_s;
    QTest::newRow("writes nothing") << u"exit 0"_s << u"Failed to read produced .so"_s;
    QTest::newRow("writes garbage") << u"echo garbage > $out"_s << u"Failed to read produced .so"_s;
    QTest::newRow("writes a beginning")
        << u"head -c 2000 /bin/true > $out"_s << u"Failed to read produced .so"_s;
    QTest::newRow("huge object") << u"head -c 9000000 /dev/zero > $out || exit 2; exit 0"_s
                                 << u"File size limit exceeded"_s;
}

void TstNativeCompiler::badCompilersAreTold()
{
    QFETCH(const QString, script);
    QFETCH(const QString, error);
    install(u"g++"_s, script);
    const JitResult result = jitCompileAndLoad(
        unit, {.time = std::chrono::seconds(1), .output = 1 << 20, .object = 8 << 20});
    QVERIFY(!result.entry);
    QVERIFY2(result.error.contains(error), qPrintable(result.error));
    QVERIFY(!QFile::exists(cachedObject()));
}

void TstNativeCompiler::nothingOutlivesTheCompiler()
{
    const QString note = m_folder->filePath(u"child"_s);
    install(u"g++"_s, u"sleep 1000 & echo $! > %1; exit 1"_s.arg(note));
    QVERIFY(!jitCompileAndLoad(unit).entry);
    QFile file(note);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray child = file.readAll();
    QVERIFY(!child.trimmed().isEmpty());
    QTRY_VERIFY(!isRunning(child));
}

void TstNativeCompiler::theEnvironmentIsEmpty()
{
    qputenv("CORVANE_SECRET", "1");
    install(u"g++"_s, u"env; exit 1"_s);
    const QString said = jitCompileAndLoad(unit).error;
    qunsetenv("CORVANE_SECRET");
    QVERIFY(said.contains(u"LANG=C"_s));
    QVERIFY(said.contains(u"TMPDIR="_s));
    QVERIFY2(!said.contains(u"CORVANE_SECRET"_s) && !said.contains(u"HOME="_s), qPrintable(said));
}

void TstNativeCompiler::withoutACompilerTheStartFails()
{
    const JitResult result = jitCompileAndLoad(unit);
    QVERIFY2(result.error.startsWith(u"Could not start g++: "_s), qPrintable(result.error));
}

void TstNativeCompiler::anObjectIsCompiledOnce()
{
    if (m_real.isEmpty())
        QSKIP("no compiler on this machine");
    installReal(u"clang++"_s); // the only one there is
    const JitResult first = jitCompileAndLoad(unit);
    QCOMPARE(first.error, QString());
    QVERIFY(!first.wasCached);
    QFile::remove(m_folder->filePath(u"bin/clang++"_s));
    const JitResult second = jitCompileAndLoad(unit);
    QCOMPARE(second.error, QString());
    QVERIFY(second.wasCached);
    const float in = 21.0f;
    float out = 0.0f;
    second.entry(&in, &out, nullptr, nullptr);
    QCOMPARE(out, 42.0f);

    struct stat status = {};
    const QByteArray folder = QFile::encodeName(NativeCache::defaultFolder());
    QCOMPARE(stat(folder.constData(), &status), 0);
    QCOMPARE(status.st_mode & 0777, 0700u);
    QCOMPARE(QDir(NativeCache::defaultFolder()).entryList(QDir::Files).size(), 1);
}

void TstNativeCompiler::badObjectsAreCompiledAnew_data()
{
    QTest::addColumn<QString>("harm");
    // On a copy that takes the object's place: what is loaded must not change underneath.
    QTest::newRow("cut short") << u"truncate -s 5000 other; mv other object"_s;
    QTest::newRow("empty") << u": > other; mv other object"_s;
    QTest::newRow("changed within")
        << u"printf X | dd of=other bs=1 seek=4000 conv=notrunc; mv other object"_s;
    QTest::newRow("writable by all") << u"chmod 0666 other; mv other object"_s;
    QTest::newRow("a link") << u"rm object; ln -s other object"_s;
    QTest::newRow("a link without end") << u"rm object; ln -s /dev/zero object"_s;
    QTest::newRow("a FIFO") << u"rm object; mkfifo -m 0600 object"_s;
    QTest::newRow("too large") << u"truncate -s 300M other; mv other object"_s;
    QTest::newRow("another's content") << u"cat object object > other; mv other object"_s;
}

void TstNativeCompiler::badObjectsAreCompiledAnew()
{
    QFETCH(QString, harm);
    if (m_real.isEmpty())
        QSKIP("no compiler on this machine");
    installReal(u"g++"_s);
    QCOMPARE(jitCompileAndLoad(unit).error, QString());
    harm.prepend(u"cp -p object other; "_s);
    harm.replace(u"object"_s, u'\'' + cachedObject() + u'\'');
    harm.replace(u"other"_s, u'\'' + m_folder->filePath(u"other"_s) + u'\'');
    QCOMPARE(std::system(qPrintable(u"PATH=/usr/bin:/bin; { %1; } 2>/dev/null"_s.arg(harm))), 0);
    const JitResult again = jitCompileAndLoad(unit);
    QCOMPARE(again.error, QString());
    QVERIFY(!again.wasCached);
    QVERIFY(jitCompileAndLoad(unit).wasCached);
}

void TstNativeCompiler::anObjectUnderAnothersNameIsNotLoaded()
{
    if (m_real.isEmpty())
        QSKIP("no compiler on this machine");
    installReal(u"g++"_s);
    QCOMPARE(jitCompileAndLoad(unit).error, QString());
    const QByteArray another = QByteArray(unit).replace("2.0f", "3.0f");
    const NativeCache cache(NativeCache::defaultFolder());
    QVERIFY(QFile::copy(cachedObject(), cache.pathOf(NativeCache::keyOf(another))));
    const JitResult result = jitCompileAndLoad(another);
    QCOMPARE(result.error, QString());
    QVERIFY(!result.wasCached);
}

void TstNativeCompiler::anotherFolderThanOursIsNotUsed()
{
    if (m_real.isEmpty())
        QSKIP("no compiler on this machine");
    installReal(u"g++"_s);
    const QString folder = NativeCache::defaultFolder();
    const QString elsewhere = m_folder->filePath(u"elsewhere"_s);
    QVERIFY(QDir().mkpath(QFileInfo(folder).path()) && QDir().mkpath(elsewhere));
    QVERIFY(QFile::link(elsewhere, folder));
    const QString why = u"Failed to write .so to cache: %1 cannot be made a folder of this user "
                        "alone"_s.arg(folder);
    const QByteArray said = "Compiled code is used, but not kept for the next run: " + why.toUtf8();
    QTest::ignoreMessage(QtWarningMsg, said.constData());
    // Its object serves this run, and the reason is said once.
    for (int run = 0; run < 2; ++run) {
        const JitResult result = jitCompileAndLoad(unit);
        QCOMPARE(result.error, QString());
        QCOMPARE(result.notKept, why);
        const float in = 4.0f;
        float out = 0.0f;
        result.entry(&in, &out, nullptr, nullptr);
        QCOMPARE(out, 8.0f);
    }
    QVERIFY(QDir(elsewhere).isEmpty());
}

void TstNativeCompiler::twoAtOnceBothSucceed()
{
    if (m_real.isEmpty())
        QSKIP("no compiler on this machine");
    installReal(u"g++"_s);
    JitResult results[2];
    std::unique_ptr<QThread> threads[2];
    for (int i = 0; i < 2; ++i) {
        threads[i].reset(QThread::create([&results, i] { results[i] = jitCompileAndLoad(unit); }));
        threads[i]->start();
    }
    for (const auto &thread : threads)
        QVERIFY(thread->wait());
    for (const JitResult &result : results)
        QCOMPARE(result.error, QString());
    QCOMPARE(QDir(NativeCache::defaultFolder()).entryList(QDir::Files).size(), 1);
}

QTEST_GUILESS_MAIN(TstNativeCompiler)
#include "tst_NativeCompiler.moc"
