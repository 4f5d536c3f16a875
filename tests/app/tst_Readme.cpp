#include "app/Program.h"

#include <support/Files.h>

#include <QJsonDocument>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

const QString sources = QStringLiteral(CORVANE_SAMPLES "/../..");

struct Block
{
    QString language; ///< "sh", "yaml", "json"
    QString text;
    int line = 0; ///< of the file, from 1
};

QList<Block> blocksOfReadme()
{
    const QString readme = QString::fromUtf8(support::contentOf(sources + u"/README.md"_s));
    static const QRegularExpression fence(u"^```(\\w+)\\n(.*?)^```$"_s,
                                          QRegularExpression::MultilineOption |
                                              QRegularExpression::DotMatchesEverythingOption);
    QList<Block> blocks;
    auto matches = fence.globalMatch(readme);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        blocks.append({match.captured(1), match.captured(2),
                       int(readme.left(match.capturedStart()).count(u'\n')) + 2});
    }
    return blocks;
}

/// Commands that build: a test can't do what it is part of.
bool isAboutBuilding(const QString &commands)
{
    return commands.contains(u"./scripts/"_s) || commands.contains(u"cmake "_s);
}

/// A small scene with the given lines under `settings`.
QString sceneWithSettings(const QString &settings)
{
    return u"corvane:\n  settings:\n%1  instances:\n    ball: {type: sphere, params: {radius: 3}}\n"
           "  roots: [ball]\n"_s.arg(settings);
}

} // namespace

/// What the README shows works as it stands: commands run, scenes export, plans succeed.
class TstReadme : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void commandsWork_data() { addBlocks(u"sh"_s); }
    void commandsWork();
    void scenesExport_data() { addBlocks(u"yaml"_s); }
    void scenesExport();
    void plansSucceed_data() { addBlocks(u"json"_s); }
    void plansSucceed();
    void filesThatAreNamedExist();

private:
    static void addBlocks(const QString &language);

    QTemporaryDir m_folder;
};

void TstReadme::addBlocks(const QString &language)
{
    QTest::addColumn<QString>("text");
    const auto blocks = blocksOfReadme();
    for (const Block &block : blocks) {
        if (block.language == language)
            QTest::newRow(qPrintable(u"line %1"_s.arg(block.line))) << block.text;
    }
}

// Commands are given from the root of the sources, where nothing is to be written.
void TstReadme::initTestCase()
{
    QVERIFY(blocksOfReadme().size() >= 10);
    QVERIFY(
        QFile::link(QDir::cleanPath(sources + u"/resources"_s), m_folder.filePath(u"resources"_s)));
}

void TstReadme::commandsWork()
{
    QFETCH(QString, text);
    if (isAboutBuilding(text))
        return; // filesThatAreNamedExist looks after these
    if (text.contains(u"jq "_s) && runShell(u"command -v jq"_s, {}).status != 0)
        QSKIP("jq is not installed");
    const ProgramRun run = runShell(text, m_folder.path());
    QVERIFY2(run.status == 0, qPrintable(run.standardOutput + run.standardError));
    // What a line is said to print.
    static const QRegularExpression said(u"# (ok: .*)"_s);
    auto sayings = said.globalMatch(text);
    while (sayings.hasNext())
        QVERIFY(run.standardOutput.contains(sayings.next().captured(1)));
}

void TstReadme::scenesExport()
{
    QFETCH(QString, text);
    const bool isScene = text.startsWith(u"formatVersion:"_s);
    const QString scene = writeFile(m_folder, u"scene.corvane"_s,
                                    (isScene ? text : sceneWithSettings(text)).toUtf8());
    const ProgramRun run = runProgram({u"export"_s, scene, u"--error-on-empty"_s});
    QVERIFY2(run.status == 0, qPrintable(run.standardError));
    QVERIFY2(!run.standardError.contains(u"Warning"_s), qPrintable(run.standardError));
}

void TstReadme::plansSucceed()
{
    QFETCH(QString, text);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    QVERIFY2(document.isObject(), qPrintable(error.errorString()));
    if (!document[u"steps"_s].isArray())
        return; // what the program prints
    const QString plan = writeFile(m_folder, u"plan.json"_s, text.toUtf8());
    const ProgramRun run =
        runProgram({u"zirn"_s, plan, u"-o"_s, m_folder.filePath(u"planned.corvane"_s)});
    QVERIFY2(run.status == 0, qPrintable(run.standardError));
}

void TstReadme::filesThatAreNamedExist()
{
    const QString readme = QString::fromUtf8(support::contentOf(sources + u"/README.md"_s));
    static const QRegularExpression path(
        u"(?<![\\w/])(?:\\./)?((?:scripts|src|tests|resources|benchmarks|fuzz)/[\\w./]*)"_s);
    auto matches = path.globalMatch(readme);
    QVERIFY(matches.hasNext());
    while (matches.hasNext()) {
        QString name = matches.next().captured(1);
        while (name.endsWith(u'.'))
            name.chop(1);
        QVERIFY2(QFileInfo::exists(sources + u'/' + name), qPrintable(name));
    }
}

QTEST_GUILESS_MAIN(TstReadme)
#include "tst_Readme.moc"
