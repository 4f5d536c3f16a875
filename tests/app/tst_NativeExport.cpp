#include "app/Program.h"

#include <support/Files.h>

#include <QDirIterator>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTest>

#include <csignal>
#include <memory>

using namespace Qt::StringLiterals;
using support::contentOf;

namespace {

const QByteArray scene = R"(formatVersion: 1
corvane:
  settings:
    export:
      bounds: {minX: -2, minY: -2, minZ: -2, maxX: 2, maxY: 2, maxZ: 2}
      cellSize: 0.2
  instances:
    ball:
      type: sphere
      params: {radius: 1.5}
  roots: [ball]
)";

bool isRunning(const QByteArray &process)
{
    QFile status(u"/proc/%1/stat"_s.arg(QString::fromLatin1(process.trimmed())));
    return status.open(QIODevice::ReadOnly) && !status.readAll().contains(") Z ");
}

} // namespace

/// Several processes over one folder of compiled objects, and what becomes of it when one is
/// killed. A script in the place of the compiler tells when it runs.
class TstNativeExport : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void twoAtOnceBothCompile();
    void aKilledOneLeavesNothingBehind();
    void aSignalTakesTheCompilerAlong_data();
    void aSignalTakesTheCompilerAlong();

private:
    void install(const QString &script) const;
    std::unique_ptr<QProcess> startExport(const QString &output) const;
    QStringList cached() const
    {
        const QDir folder(m_folder->filePath(u"cache"_s));
        QStringList objects;
        QDirIterator files(folder.path(), QDir::Files, QDirIterator::Subdirectories);
        while (files.hasNext())
            objects.append(files.next());
        return objects;
    }
    /// How often the compiler was asked for an object.
    qsizetype compilerRuns() const { return contentOf(m_folder->filePath(u"runs"_s)).count('\n'); }

    QString m_compiler;
    std::unique_ptr<QTemporaryDir> m_folder;
};

void TstNativeExport::initTestCase()
{
    m_compiler = QStandardPaths::findExecutable(u"g++"_s);
    if (m_compiler.isEmpty())
        QSKIP("no compiler on this machine");
}

void TstNativeExport::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    QVERIFY(QDir(m_folder->path()).mkdir(u"bin"_s));
    QVERIFY(QDir(m_folder->path()).mkdir(u"temporary"_s));
    QVERIFY(!writeFile(*m_folder, u"ball.corvane"_s, scene).isEmpty());
}

/// @param script  what is done before the compiler itself runs
void TstNativeExport::install(const QString &script) const
{
    const QString text = u"#!/bin/sh\nPATH=/usr/bin:/bin\nif [ \"$1\" != --version ]; then\n"
                         "cd '%1'\necho $$ >> runs\n%2\nfi\nexec %3 \"$@\"\n"_s.arg(
                             m_folder->path(), script, m_compiler);
    const QString path = writeFile(*m_folder, u"bin/g++"_s, text.toUtf8());
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

std::unique_ptr<QProcess> TstNativeExport::startExport(const QString &output) const
{
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"PATH"_s, m_folder->filePath(u"bin"_s));
    environment.insert(u"XDG_CACHE_HOME"_s, m_folder->filePath(u"cache"_s));
    environment.insert(u"TMPDIR"_s, m_folder->filePath(u"temporary"_s));
    process->setProcessEnvironment(environment);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(QStringLiteral(CORVANE_PROGRAM),
                   {u"export"_s, m_folder->filePath(u"ball.corvane"_s), u"-o"_s,
                    m_folder->filePath(output), u"--backend"_s, u"native"_s});
    return process;
}

void TstNativeExport::twoAtOnceBothCompile()
{
    // Neither begins before the other has come as far.
    install(u"while [ $(wc -l < runs) -lt 2 ]; do :; done"_s);
    const auto one = startExport(u"one.stl"_s);
    const auto other = startExport(u"other.stl"_s);
    for (QProcess *const process : {one.get(), other.get()}) {
        QVERIFY(process->waitForFinished(120'000));
        const QByteArray said = process->readAll();
        QVERIFY2(process->exitCode() == 0 && !said.contains("CPU"), said.constData());
    }
    QCOMPARE(compilerRuns(), 2);
    QCOMPARE(cached().size(), 1);
    QVERIFY(contentOf(m_folder->filePath(u"one.stl"_s)).size() > 1000);
    QCOMPARE(contentOf(m_folder->filePath(u"one.stl"_s)),
             contentOf(m_folder->filePath(u"other.stl"_s)));
}

void TstNativeExport::aKilledOneLeavesNothingBehind()
{
    install(u"[ $(wc -l < runs) -lt 2 ] && exec sleep 1000"_s);
    const auto killed = startExport(u"killed.stl"_s);
    QTRY_COMPARE_WITH_TIMEOUT(compilerRuns(), 1, 60'000);
    QCOMPARE(kill(static_cast<pid_t>(killed->processId()), SIGKILL), 0);
    QVERIFY(killed->waitForFinished());
    QTRY_VERIFY(!isRunning(contentOf(m_folder->filePath(u"runs"_s))));
    QCOMPARE(cached(), QStringList());
    // The next one compiles, and the one after that has its object.
    for (const QString &output : {u"next.stl"_s, u"last.stl"_s}) {
        const auto process = startExport(output);
        QVERIFY(process->waitForFinished(120'000));
        const QByteArray said = process->readAll();
        QVERIFY2(process->exitCode() == 0 && !said.contains("CPU"), said.constData());
        QCOMPARE(compilerRuns(), 2);
        QCOMPARE(cached().size(), 1);
    }
}

void TstNativeExport::aSignalTakesTheCompilerAlong_data()
{
    QTest::addColumn<int>("signalNumber");
    QTest::newRow("INT") << SIGINT;
    QTest::newRow("TERM") << SIGTERM;
    QTest::newRow("HUP") << SIGHUP;
    QTest::newRow("QUIT") << SIGQUIT;
}

// The compiler's own child and temporary file go as well.
void TstNativeExport::aSignalTakesTheCompilerAlong()
{
    QFETCH(const int, signalNumber);
    install(u"touch \"$TMPDIR/ccOwn.s\"; sleep 1000 & echo $! > child; echo $$ > leader; wait"_s);
    const auto process = startExport(u"out.stl"_s);
    const auto noted = [this](const QString &name) { return contentOf(m_folder->filePath(name)); };
    QTRY_VERIFY_WITH_TIMEOUT(noted(u"leader"_s).endsWith('\n'), 60'000);
    const QDir temporary(m_folder->filePath(u"temporary"_s));
    QCOMPARE(temporary.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 1);
    QCOMPARE(kill(static_cast<pid_t>(process->processId()), signalNumber), 0);
    QVERIFY(process->waitForFinished());
    QCOMPARE(process->exitCode(), 128 + signalNumber);
    QVERIFY(temporary.isEmpty());
    QTRY_VERIFY(!isRunning(noted(u"leader"_s)) && !isRunning(noted(u"child"_s)));
}

QTEST_GUILESS_MAIN(TstNativeExport)
#include "tst_NativeExport.moc"
