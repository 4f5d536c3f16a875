#include "app/Program.h"

#include <support/Files.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

const QString completions = QStringLiteral(CORVANE_SAMPLES "/../completions/");

} // namespace

/// The completions of bash, and that those of all shells know what the program takes.
class TstCompletion : public QObject
{
    Q_OBJECT

private slots:
    void bashOffersWhatFits_data();
    void bashOffersWhatFits();
    void everyOptionIsKnown_data();
    void everyOptionIsKnown();

private:
    QTemporaryDir m_folder;
};

void TstCompletion::bashOffersWhatFits_data()
{
    QTest::addColumn<QString>("typed"); // the last word is the one to complete
    QTest::addColumn<QString>("offered");
    const auto row = [](const char *name, const QString &typed, const QString &offered) {
        QTest::newRow(name) << typed << offered;
    };
    row("commands", u"''"_s, u"schema validate export zirn gui help --version --help"_s);
    row("begun command", u"ex"_s, u"export"_s);
    row("scene of export", u"export ''"_s, u"folder a.corvane"_s);
    row("scene of validate", u"validate ''"_s, u"folder a.corvane"_s);
    row("one scene is enough", u"schema a.corvane ''"_s, QString());
    row("option", u"export a.corvane --ce"_s, u"--cell-size"_s);
    row("value of an option", u"export a.corvane --backend ''"_s, u"cpu gpu native"_s);
    row("free value", u"export a.corvane --cell-size ''"_s, QString());
    row("output", u"export a.corvane -o ''"_s, u"folder a.stl"_s);
    row("parameters", u"export a.corvane --params ''"_s, u"folder a.json"_s);
    row("plan", u"zirn ''"_s, u"folder a.json"_s);
    row("scene of a plan", u"zirn a.json ''"_s, u"folder a.corvane"_s);
    row("help of a command", u"schema --"_s, u"--help"_s);
    row("begun name", u"validate a.c"_s, u"a.corvane"_s);
}

void TstCompletion::bashOffersWhatFits()
{
    QFETCH(QString, typed);
    QFETCH(QString, offered);
    for (const QString &name : {u"a.corvane"_s, u"a.stl"_s, u"a.json"_s, u"a.txt"_s})
        QVERIFY(!writeFile(m_folder, name, "").isEmpty());
    QVERIFY(QDir(m_folder.path()).mkpath(u"folder"_s));
    const ProgramRun run = runShell(u"set +e\n" // as in a shell that someone types in
                                    "source '%1corvane.bash'\n"
                                    "COMP_WORDS=(corvane %2)\n"
                                    "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                                    "_corvane\n"
                                    "echo \"${COMPREPLY[*]}\"\n"_s.arg(completions, typed),
                                    m_folder.path());
    QCOMPARE(run.standardError, QString());
    QCOMPARE(run.standardOutput.trimmed(), offered);
}

void TstCompletion::everyOptionIsKnown_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("form"); // of an option
    QTest::newRow("bash") << u"corvane.bash"_s << u"--%1"_s;
    QTest::newRow("zsh") << u"_corvane"_s << u"--%1"_s;
    QTest::newRow("fish") << u"corvane.fish"_s << u"-l %1 "_s;
}

void TstCompletion::everyOptionIsKnown()
{
    QFETCH(QString, file);
    QFETCH(QString, form);
    const QString text = QString::fromUtf8(support::contentOf(completions + file));
    const QString help = runProgram({u"--help"_s}).standardOutput;
    static const QRegularExpression option(u"--([a-z-]+)|corvane ([a-z]+) "_s);
    auto matches = option.globalMatch(help);
    QVERIFY(matches.hasNext());
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const QString wanted =
            match.hasCaptured(2) ? match.captured(2) : form.arg(match.captured(1));
        QVERIFY2(text.contains(wanted), qPrintable(wanted));
    }
}

QTEST_GUILESS_MAIN(TstCompletion)
#include "tst_Completion.moc"
