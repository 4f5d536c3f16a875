#include "app/Program.h"

#include <ProgressPrinter.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray ballScene = R"(corvane:
  settings:
    export: {cellSize: 0.2, chunkSize: 4, threadCount: 1}
  instances:
    ball: {type: sphere, params: {radius: 3.0}}
  roots: [ball]
)";

constexpr auto eraseLine = "\r\x1b[K"_L1;

/// Exports on a pseudo-terminal and answers all that went to it.
QString onTerminal(const QString &terminal, const QString &options, const QTemporaryDir &folder)
{
    const QString scene = writeFile(folder, u"ball.corvane"_s, ballScene);
    const QString command = u"TERM=%1 corvane export %2 -o %3 %4"_s.arg(
        terminal, scene, folder.filePath(u"ball.stl"_s), options);
    return runShell(u"script -qec '%1' /dev/null </dev/null"_s.arg(command), folder.path())
        .standardOutput;
}

/// The lines that can be read at the end: what was erased is gone.
QStringList shownLines(const QString &output)
{
    QStringList lines = output.trimmed().split(u'\n');
    for (QString &line : lines)
        line = line.section(eraseLine, -1).remove(u'\r');
    return lines;
}

} // namespace

class TstProgressPrinter : public QObject
{
    Q_OBJECT

private slots:
    void durationsAreReadable_data();
    void durationsAreReadable();
    void aTerminalShowsOneLine();
    void warningsStandAloneOnATerminal();
    void aTerminalThatCanNotEraseGetsLines();
    void aPipeGetsEachStep();

private:
    QTemporaryDir m_folder;
};

void TstProgressPrinter::durationsAreReadable_data()
{
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << qint64(0) << u"0 s"_s;
    QTest::newRow("under a minute") << qint64(59) << u"59 s"_s;
    QTest::newRow("a minute") << qint64(60) << u"1 min 0 s"_s;
    QTest::newRow("under an hour") << qint64(3599) << u"59 min 59 s"_s;
    QTest::newRow("hours") << qint64(3 * 3600 + 20 * 60 + 59) << u"3 h 20 min"_s;
}

void TstProgressPrinter::durationsAreReadable()
{
    QFETCH(qint64, seconds);
    QFETCH(QString, text);
    QCOMPARE(ProgressPrinter::durationText(seconds), text);
}

void TstProgressPrinter::aTerminalShowsOneLine()
{
    const QString output = onTerminal(u"xterm"_s, QString(), m_folder);
    const QStringList lines = shownLines(output);
    QCOMPARE(lines.size(), 2);
    QVERIFY2(lines[0].startsWith(u"Progress: 2197/2197 chunks"_s), qPrintable(output));
    QVERIFY2(lines[1].startsWith(u"{\"success\":true"_s), qPrintable(output));
    // Ten a second: far fewer than there are chunks on any machine.
    QVERIFY(output.count(eraseLine) >= 2);
    QVERIFY(output.count(eraseLine) < 1000);
}

void TstProgressPrinter::warningsStandAloneOnATerminal()
{
    qputenv("VK_ICD_FILENAMES", "/nonexistent/icd.json"); // no device, which is a warning
    const QString output = onTerminal(u"xterm"_s, u"--backend gpu"_s, m_folder);
    qunsetenv("VK_ICD_FILENAMES");
    const QStringList lines = shownLines(output);
    QVERIFY2(lines.filter(u"Warning: GPU backend failed ("_s).size() == 1, qPrintable(output));
    QVERIFY2(lines.filter(u"Progress: "_s).size() == 1, qPrintable(output));
    for (const QString &line : lines)
        QVERIFY2(line.count(u"Progress: "_s) + line.count(u"Warning: "_s) +
                         line.count(u"{\"success\""_s) <=
                     1,
                 qPrintable(line));
}

void TstProgressPrinter::aTerminalThatCanNotEraseGetsLines()
{
    const QString output = onTerminal(u"dumb"_s, QString(), m_folder);
    QVERIFY(!output.contains(u'\x1b'));
    QVERIFY(shownLines(output).contains(u"Progress: 1/2197 chunks"_s));
}

void TstProgressPrinter::aPipeGetsEachStep()
{
    const QString scene = writeFile(m_folder, u"ball.corvane"_s, ballScene);
    const ProgramRun run =
        runProgram({u"export"_s, scene, u"-o"_s, m_folder.filePath(u"ball.stl"_s)});
    const QStringList lines = run.standardError.trimmed().split(u'\n');
    QCOMPARE(lines.size(), 2199);
    QCOMPARE(lines.first(), u"Progress: 0/2197 chunks"_s);
    QCOMPARE(lines[2197], u"Progress: 2197/2197 chunks"_s);
}

QTEST_GUILESS_MAIN(TstProgressPrinter)
#include "tst_ProgressPrinter.moc"
