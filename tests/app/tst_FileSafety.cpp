// What the commands do with files that are not what they seem, and with names and texts of other
// people: nothing is lost, waited for or written elsewhere.

#include "app/Program.h"

#include <support/Files.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using support::contentOf;

namespace {

/// With these lines among the settings of the export.
QByteArray sceneText(const QByteArray &settings = {})
{
    return "formatVersion: 1\ncorvane:\n  settings:\n    export:\n      cellSize: 1.0\n" +
           settings +
           "  instances:\n    ball:\n      type: sphere\n      params:\n        radius: 3.0\n  "
           "roots: [ball]\n";
}

const QByteArray treeText = "formatVersion: 2\ncorvane:\n  instances:\n    Ball:\n"
                            "      type: sphere\n  roots: [Ball]\n";
const QByteArray planText = R"({"description": "test", "steps": [{"task": "corvane.settings.set",
    "args": {"path": "a.b", "value": 1}}]})";

mode_t modeOf(const QString &path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777 : 0;
}

} // namespace

class TstFileSafety : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void inputsAreNoOutputs_data();
    void inputsAreNoOutputs();
    void scenesReplaceOnlyMeshes_data();
    void scenesReplaceOnlyMeshes();
    void unknownFormatsAreToldFirst();
    void scenesAreKeptBeside_data();
    void scenesAreKeptBeside();
    void keptTreesAreNotReplaced();
    void placesOfKeptFilesAreChecked_data();
    void placesOfKeptFilesAreChecked();
    void inputsMayBePipes_data();
    void inputsMayBePipes();
    void uselessNamesAreRefused_data();
    void uselessNamesAreRefused();
    void escapeSequencesAreShown_data();
    void escapeSequencesAreShown();
    void namesMustBeText_data();
    void namesMustBeText();
    void signalsLeaveNoLitter_data();
    void signalsLeaveNoLitter();

private:
    QString at(const QString &name) const { return m_folder->filePath(name); }
    QString made(const QString &name, const QByteArray &text) const
    {
        return writeFile(*m_folder, name, text);
    }
    /// Runs a line of the shell, in which $C is the program, in the folder of the test.
    ProgramRun shell(const QByteArray &line) const;

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TstFileSafety::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(!made(u"scene.corvane"_s, sceneText()).isEmpty());
    QVERIFY(!made(u"plan.json"_s, planText).isEmpty());
}

ProgramRun TstFileSafety::shell(const QByteArray &line) const
{
    QProcess process;
    process.setWorkingDirectory(m_folder->path());
    const QString script = made(u"line.sh"_s, "C='" CORVANE_PROGRAM "'\n" + line + '\n');
    process.start(u"bash"_s, {script});
    ProgramRun run;
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.status = process.exitCode();
    run.standardOutput = QString::fromUtf8(process.readAllStandardOutput());
    run.standardError = QString::fromUtf8(process.readAllStandardError());
    return run;
}

// ------------------------------------------------------------------ outputs

void TstFileSafety::inputsAreNoOutputs_data()
{
    QTest::addColumn<QByteArray>("preparation");
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("output");
    const auto row = [](const char *name, const QByteArray &preparation, const QByteArray &line,
                        const QString &output) {
        QTest::newRow(name) << preparation << line << output;
    };
    const QByteArray nothing = "true";
    row("the scene", nothing, "export scene.corvane -o scene.corvane", u"scene.corvane"_s);
    row("a link to it", "ln -s scene.corvane l.stl", "export scene.corvane -o l.stl", u"l.stl"_s);
    row("its second name", "ln scene.corvane h.stl", "export scene.corvane -o h.stl", u"h.stl"_s);
    row("the overrides", "echo '{}' >p", "export scene.corvane --params p -o p", u"p"_s);
    row("what the scene chooses",
        "sed -i 's/cellSize: 1.0/outputPath: scene.corvane/' scene.corvane", "export scene.corvane",
        u"scene.corvane"_s);
    row("what follows from its name", "cp scene.corvane a.stl", "export ./a.stl", u"./a.stl"_s);
    row("the plan", nothing, "zirn plan.json -o plan.json", u"plan.json"_s);
    row("the plan as scene", nothing, "zirn plan.json ./plan.json", u"./plan.json"_s);
}

void TstFileSafety::inputsAreNoOutputs()
{
    QFETCH(const QByteArray, preparation);
    QFETCH(const QByteArray, line);
    QFETCH(const QString, output);
    QCOMPARE(shell(preparation).status, 0);
    const QByteArray before = contentOf(at(output));
    const ProgramRun run = shell("$C " + line);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.standardError.startsWith(
                 u"Error: the output %1 is a file that this command reads ("_s.arg(output)),
             qPrintable(run.standardError));
    QVERIFY(run.standardError.endsWith(u"). Name another output with -o\n"_s));
    QVERIFY(!before.isEmpty());
    QCOMPARE(contentOf(at(output)), before);
}

void TstFileSafety::scenesReplaceOnlyMeshes_data()
{
    QTest::addColumn<QByteArray>("preparation"); // of the file "out", with the extension
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("reason"); // empty: it is replaced
    const auto row = [](const char *name, const QByteArray &preparation, const QString &output,
                        const QString &reason = {}) {
        QTest::newRow(name) << preparation << output << reason;
    };
    const QString noMesh = u"it is no mesh"_s;
    row("text", "echo precious >out.txt", u"out.txt"_s, noMesh);
    row("text under the name of a mesh", "echo precious >out.obj", u"out.obj"_s, noMesh);
    row("a mesh under another name", "$C export scene.corvane -o a.ply; mv a.ply out.txt",
        u"out.txt"_s, noMesh);
    row("a FIFO", "mkfifo out.stl", u"out.stl"_s, u"it is a FIFO, not a regular file"_s);
    row("a device", "ln -s /dev/zero out.stl", u"out.stl"_s,
        u"it is a device, not a regular file"_s);
    row("a folder", "mkdir out.stl", u"out.stl"_s, u"it is a folder, not a regular file"_s);
    row("nothing yet", "true", u"out.stl"_s);
    row("an empty file", "touch out.vtk", u"out.vtk"_s);
    // The first 4096 bytes, by which a mesh is known, end behind the "u".
    row("a mesh whose head ends within a line",
        "(yes 'v 0 0 0' | head -n 511; echo 'v 0 0 '; echo 'usemtl a') >out.obj", u"out.obj"_s);
    for (const QString &format : {u"stl"_s, u"obj"_s, u"ply"_s, u"vtk"_s}) {
        const QString name = u"out."_s + format;
        row(qPrintable(format), "$C export scene.corvane -o " + name.toUtf8(), name);
    }
}

void TstFileSafety::scenesReplaceOnlyMeshes()
{
    QFETCH(const QByteArray, preparation);
    QFETCH(const QString, output);
    QFETCH(const QString, reason);
    made(u"chooses.corvane"_s, sceneText("      outputPath: " + output.toUtf8() + '\n'));
    made(u"empty.corvane"_s,
         "corvane:\n  settings:\n    export:\n      outputPath: " + output.toUtf8() + '\n');
    QVERIFY(shell(preparation).status == 0);
    const auto present = [this, &output] {
        return QFileInfo(at(output)).isFile() ? contentOf(at(output)) : QByteArray();
    };
    const QByteArray before = present();
    for (const QByteArray scene : {"chooses.corvane", "empty.corvane"}) {
        const ProgramRun run = shell("$C export " + scene);
        QVERIFY2(run.status == (reason.isEmpty() ? 0 : 1), qPrintable(run.standardError));
        if (reason.isEmpty())
            continue;
        QCOMPARE(
            run.standardError,
            u"Error: the scene's setting export.outputPath names %1, which exists and is not "
            "replaced: %2. Name the output with -o, or change the setting\n"_s.arg(output, reason));
        QCOMPARE(present(), before);
    }
}

void TstFileSafety::unknownFormatsAreToldFirst()
{
    for (const QByteArray name : {"part.xyz", "part"}) {
        const ProgramRun run = shell("$C export scene.corvane -o " + name);
        QCOMPARE(run.status, 3);
        QCOMPARE(
            run.standardError,
            u"Error: the extension of the output is that of no mesh format; known are .stl, "
            ".obj, .ply, .vtk\n{\"success\":false,\"triangles\":0,\"vertices\":0,\"elapsed\":0,"
            "\"error\":\"Failed to save mesh: No exporter found for: %1\"}\n"_s.arg(
                QString::fromLatin1(name)));
    }
}

// ------------------------------------------------------------------ kept scenes

void TstFileSafety::scenesAreKeptBeside_data()
{
    QTest::addColumn<QByteArray>("scene");
    QTest::addColumn<QByteArray>("inPlace"); // what lies under the name of the kept file
    for (const auto &[name, scene] :
         {std::pair("version 1", sceneText()), std::pair("version 2", treeText)}) {
        const auto row = [&](const char *what, const QByteArray &inPlace) {
            QTest::addRow("%s, %s", name, what) << scene << inPlace;
        };
        row("nothing", "true");
        row("an older one", "echo older >s.corvane.bak; chmod 666 s.corvane.bak");
        row("a link", "echo precious >notes; ln -s notes s.corvane.bak");
        row("a link to nowhere", "ln -s nowhere s.corvane.bak");
    }
}

void TstFileSafety::scenesAreKeptBeside()
{
    QFETCH(const QByteArray, scene);
    QFETCH(const QByteArray, inPlace);
    const QString path = made(u"s.corvane"_s, scene);
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner));
    const ProgramRun run = shell(inPlace + "; umask 022; $C zirn plan.json s.corvane");
    QVERIFY2(run.status == 0, qPrintable(run.standardError));
    const QString kept = path + u".bak"_s;
    QVERIFY2(run.standardError.contains(u"kept as s.corvane.bak\n"_s),
             qPrintable(run.standardError));
    QCOMPARE(contentOf(kept), scene);
    QVERIFY(!QFileInfo(kept).isSymLink());
    QCOMPARE(modeOf(kept), 0600u);
    QCOMPARE(modeOf(path), 0600u);
    QVERIFY(contentOf(path) != scene);
    QVERIFY(!QFile::exists(at(u"nowhere"_s)));
    if (QFile::exists(at(u"notes"_s)))
        QCOMPARE(contentOf(at(u"notes"_s)), QByteArray("precious\n"));
}

/// The second run saves over what the first one compiled.
void TstFileSafety::keptTreesAreNotReplaced()
{
    made(u"s.corvane"_s, treeText);
    QCOMPARE(shell("$C zirn plan.json s.corvane && cp s.corvane compiled").status, 0);
    const ProgramRun run = shell("$C zirn plan.json s.corvane");
    QVERIFY2(run.standardError.contains(u"kept as s.corvane.v1.bak\n"_s),
             qPrintable(run.standardError));
    QCOMPARE(contentOf(at(u"s.corvane.bak"_s)), treeText);
    QCOMPARE(contentOf(at(u"s.corvane.v1.bak"_s)), contentOf(at(u"compiled"_s)));
}

void TstFileSafety::placesOfKeptFilesAreChecked_data()
{
    QTest::addColumn<QByteArray>("preparation");
    QTest::addColumn<QString>("kind");
    QTest::newRow("FIFO") << QByteArray("mkfifo scene.corvane.bak") << u"a FIFO"_s;
    QTest::newRow("folder") << QByteArray("mkdir scene.corvane.bak") << u"a folder"_s;
}

void TstFileSafety::placesOfKeptFilesAreChecked()
{
    QFETCH(const QByteArray, preparation);
    QFETCH(const QString, kind);
    const ProgramRun run = shell(preparation + "; $C zirn plan.json scene.corvane");
    QCOMPARE(run.status, 1);
    // Before the plan, not after it.
    QCOMPARE(run.standardError,
             u"Error: cannot keep the original as scene.corvane.bak: it is %1, not a regular file\n"
             "Error: failed to write scene to scene.corvane\n"_s.arg(kind));
    QCOMPARE(contentOf(at(u"scene.corvane"_s)), sceneText());
}

// ------------------------------------------------------------------ inputs

void TstFileSafety::inputsMayBePipes_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::newRow("scene") << QByteArray("$C validate <(cat scene.corvane)");
    QTest::newRow("standard input") << QByteArray("cat scene.corvane | $C validate /dev/stdin");
    QTest::newRow("overrides") << QByteArray(
        "$C export scene.corvane -o a.stl --params <(echo '{}')");
    QTest::newRow("plan") << QByteArray("$C zirn <(cat plan.json) scene.corvane -o out.corvane");
}

void TstFileSafety::inputsMayBePipes()
{
    QFETCH(const QByteArray, line);
    const ProgramRun run = shell(line);
    QVERIFY2(run.status == 0, qPrintable(run.standardError));
    // There is no way back into one.
    const ProgramRun back = shell("$C zirn plan.json <(cat scene.corvane)");
    QCOMPARE(back.status, 1);
    QVERIFY2(back.standardError.contains(
                 u" is no file that can be saved back to; name another with -o\n"_s),
             qPrintable(back.standardError));
}

void TstFileSafety::uselessNamesAreRefused_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("says");
    QTest::newRow("scene") << QByteArray("$C validate /dev/zero") << 1
                           << u"it is larger than 64 MiB"_s;
    QTest::newRow("overrides")
        << QByteArray("$C export scene.corvane --params /dev/zero") << 1
        << u"Error: invalid JSON in params file: it is larger than 64 MiB\n"_s;
    QTest::newRow("plan") << QByteArray("$C zirn /dev/zero") << 2
                          << u"Error: invalid plan: it is larger than 16 MiB\n"_s;
    QTest::newRow("overrides without a name")
        << QByteArray("$C export scene.corvane --params ''") << 1
        << u"Error: cannot open params file \n  No such file or directory\n"_s;
    QTest::newRow("output without a name") << QByteArray("$C export scene.corvane -o ''") << 1
                                           << u"Error: cannot write output file \n"_s;
    QTest::newRow("plan that is a folder")
        << QByteArray("$C zirn .") << 1
        << u"Error: cannot open plan file .\n  it is a folder, not a regular file\n"_s;
}

void TstFileSafety::uselessNamesAreRefused()
{
    QFETCH(const QByteArray, line);
    QFETCH(const int, status);
    QFETCH(const QString, says);
    const ProgramRun run = shell("ulimit -v 4000000; " + line);
    QCOMPARE(run.status, status);
    QVERIFY2(run.standardError.contains(says), qPrintable(run.standardError));
}

// ------------------------------------------------------------------ names and texts

void TstFileSafety::escapeSequencesAreShown_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("says");
    QTest::newRow("a path") << QByteArray("$C validate $'\\e[31m'") << u"from \\x1b[31m\n"_s;
    QTest::newRow("an argument") << QByteArray("$C $'\\a\\x7f\\xc2\\x9b'")
                                 << u"command '\\x07\\x7f\\x9b'\n"_s;
    QTest::newRow("a log line") << QByteArray(
                                       "sed -i $'s/type: sphere/type: x\\e[2J/' scene.corvane\n"
                                       "$C export scene.corvane")
                                << u"\\x1b[2J"_s;
    QTest::newRow("a name in the schema")
        << QByteArray("sed -i $'s/  settings:/  varset: {\"\\e\\x7f\\xc2\\x9b\": 1}\\\\n&/' "
                      "scene.corvane\n$C schema scene.corvane; $C")
        << u"\\u001b\\u007f\\u009b"_s;
    QTest::newRow("the closing line")
        << QByteArray("$C export scene.corvane -o $'a.\\e\\n'") << u": a.\\x1b\\x0a\"}\n"_s;
}

void TstFileSafety::escapeSequencesAreShown()
{
    QFETCH(const QByteArray, line);
    QFETCH(const QString, says);
    const ProgramRun run = shell(line);
    QVERIFY(run.status > 0);
    const QString said = run.standardError + run.standardOutput;
    QVERIFY2(said.contains(says), qPrintable(said));
    QVERIFY(!said.contains(QRegularExpression(u"[\\x00-\\x08\\x0b-\\x1f\\x7f-\\x9f]"_s)));
}

void TstFileSafety::namesMustBeText_data()
{
    QTest::addColumn<QByteArray>("locale");
    QTest::newRow("as it is") << QByteArray();
    QTest::newRow("C") << QByteArray("LC_ALL=C");
    QTest::newRow("none") << QByteArray("env -i");
}

void TstFileSafety::namesMustBeText()
{
    QFETCH(const QByteArray, locale);
    ProgramRun run = shell(locale + " $C export scene.corvane -o $'caf\\xe9.stl'");
    QCOMPARE(run.status, 1);
    QCOMPARE(run.standardError,
             u"Error: argument 4 is not valid UTF-8: 'caf\\xe9.stl'. Use another "
             "file name\n"_s);
    QCOMPARE(QDir(m_folder->path()).entryList({u"*.stl"_s}), QStringList());
    run = shell(locale + " $C export scene.corvane -o '\u00e4 \u65e5.stl'");
    QVERIFY2(run.status == 0, qPrintable(run.standardError));
    QVERIFY(QFile::exists(at(u"\u00e4 \u65e5.stl"_s)));
    run = shell(locale + " XDG_DATA_HOME=$PWD/$'\\xff' $C export scene.corvane -o a.stl");
    QCOMPARE(run.status, 1);
    QVERIFY2(
        run.standardError.startsWith(u"Error: the environment variable XDG_DATA_HOME is not "_s),
        qPrintable(run.standardError));
}

// ------------------------------------------------------------------ signals

void TstFileSafety::signalsLeaveNoLitter_data()
{
    QTest::addColumn<QByteArray>("signal");
    QTest::addColumn<int>("status");
    QTest::newRow("interrupt") << QByteArray("INT") << 130;
    QTest::newRow("end") << QByteArray("TERM") << 143;
    QTest::newRow("hang-up") << QByteArray("HUP") << 129;
    QTest::newRow("quit") << QByteArray("QUIT") << 131;
    QTest::newRow("ignored hang-up") << QByteArray("HUP ignored") << 0;
}

/// The scene comes through a FIFO, so that the program is known to be at work when the signal is
/// sent, and to have its handlers.
void TstFileSafety::signalsLeaveNoLitter()
{
    QFETCH(const QByteArray, signal);
    QFETCH(const int, status);
    const bool isIgnored = signal.endsWith("ignored");
    const ProgramRun run = shell(
        "mkfifo pipe; " + QByteArray(isIgnored ? "trap '' HUP; " : "set -m; ") +
        "$C export pipe -o out.stl 2>/dev/null & exec 3>pipe; kill -" + signal.split(' ').first() +
        " $!; cat scene.corvane >&3 2>/dev/null; exec 3>&-; wait $!");
    QCOMPARE(run.status, status);
    QCOMPARE(QFile::exists(at(u"out.stl"_s)), isIgnored);
}

QTEST_GUILESS_MAIN(TstFileSafety)
#include "tst_FileSafety.moc"
