#include "app/Program.h"

#include <support/Files.h>

#include <QDirIterator>

using namespace Qt::StringLiterals;

/// The manual page that the build has written.
class TstManual : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void everyDefinitionIsTold();
    void everyParameterHasWords();
    void tasksAreTold();
    void formattersHaveNoComplaint_data();
    void formattersHaveNoComplaint();

private:
    QString m_page;
};

void TstManual::initTestCase()
{
    m_page = QString::fromUtf8(support::contentOf(QStringLiteral(CORVANE_MANUAL)));
    QVERIFY(m_page.startsWith(u".\\\""_s));
    QVERIFY(!m_page.contains(u"{{"_s));
}

void TstManual::everyDefinitionIsTold()
{
    QDirIterator files(QStringLiteral(CORVANE_SAMPLES "/../../src/libs/libcorvane/corvane/sdf"),
                       {u"*.yaml"_s}, QDir::Files, QDirIterator::Subdirectories);
    int count = 0;
    for (; files.hasNext(); ++count) {
        const QString id = QFileInfo(files.next()).completeBaseName();
        QVERIFY2(m_page.contains(u".TP\n.B %1\n"_s.arg(id)), qPrintable(id));
    }
    QCOMPARE(count, 79);
    // One whose parameters stand in its code, and one with children.
    QVERIFY(m_page.contains(u"\\fIangle\\fR (decimal, deg, 1 to 360, default 240)\n"
                            "The whole arc from end to end.\n"_s));
    QVERIFY(m_page.contains(u"\\fIchildren\\fR (2 or more)\n"_s));
}

void TstManual::everyParameterHasWords()
{
    // An entry whose text is missing is followed by the next macro at once.
    const QStringList lines = m_page.split(u'\n');
    for (qsizetype i = 0; i + 1 < lines.size(); ++i) {
        const bool isEntry = lines[i].startsWith(u"\\fI"_s) || lines[i].startsWith(u".B "_s);
        const bool isEmpty = lines[i + 1].isEmpty() || lines[i + 1].startsWith(u".TP"_s) ||
                             lines[i + 1].startsWith(u".R"_s);
        QVERIFY2(!isEntry || !isEmpty || lines[i] == u".B mesh"_s, qPrintable(lines[i]));
    }
}

void TstManual::tasksAreTold()
{
    QVERIFY(m_page.contains(u".B corvane.item.rename\nRename an item in the scene.\n"_s));
    QVERIFY(m_page.contains(u"\\fIinsertIndex\\fR (optional, default \\-1)\n"_s));
    QVERIFY(m_page.contains(u".B mesh.bench.compare\n"_s));
}

void TstManual::formattersHaveNoComplaint_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("mandoc") << u"mandoc -Tlint -Wwarning '%1'"_s;
    QTest::newRow("man") << u"LC_ALL=C MANROFFSEQ= man --warnings -l '%1' 2>&1 >/dev/null"_s;
}

void TstManual::formattersHaveNoComplaint()
{
    QFETCH(QString, command);
    if (runShell(u"command -v "_s + QString::fromUtf8(QTest::currentDataTag()), {}).status != 0)
        QSKIP("not installed");
    const ProgramRun run = runShell(command.arg(QStringLiteral(CORVANE_MANUAL)), {});
    QCOMPARE(run.standardOutput + run.standardError, QString());
    QCOMPARE(run.status, 0);
}

QTEST_GUILESS_MAIN(TstManual)
#include "tst_Manual.moc"
