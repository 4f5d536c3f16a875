#include "app/Program.h"

#include <mesh/io/MeshLoader.h>
#include <support/Files.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace {

const QByteArray sphereScene = R"(formatVersion: 1
corvane:
  name: "Ball"
  varset:
    r:
      value: 3.0
      description: "Radius of the ball"
      unit: mm
      constraints:
        min: 1
        max: 4.5
    twice:
      value: 6.0
      expression: "2*r"
    smooth: true
  settings:
    export:
      cellSize: 0.5
  instances:
    ball:
      type: sphere
      params:
        radius: "=twice/2"
  roots:
    - ball
)";

QJsonObject closingLine(const ProgramRun &run)
{
    return QJsonDocument::fromJson(run.lastErrorLine().toUtf8()).object();
}

// Half of the extent along x of a mesh file.
float halfExtent(const QString &path)
{
    QString error;
    const auto mesh = mesh::io::MeshLoader::loadFromFile(path, &error);
    float largest = -1.0f;
    if (mesh) {
        for (const auto &vertex : mesh->vertices)
            largest = std::max(largest, vertex.x);
    }
    return largest;
}

} // namespace

class TstCommandLine : public QObject
{
    Q_OBJECT

private slots:
    void wrongUseIsExplained_data();
    void wrongUseIsExplained();
    void versionAndHelpGoToStandardOutput();
    void schemaDescribesTheInputs();
    void validateCounts();
    void mistakesAreToldAlikeByAllCommands();
    void inputErrorsAreStatusOne_data();
    void inputErrorsAreStatusOne();
    void exportFollowsOverrides();
    void formatFollowsTheExtension_data();
    void formatFollowsTheExtension();
    void outputPathWithoutOption_data();
    void outputPathWithoutOption();
    void emptySceneGivesAnEmptyStl();
    void errorOnEmptyIsStatusThree_data();
    void errorOnEmptyIsStatusThree();
    void unwritableOutputIsFoundFirst();
    void theGpuMeshesAsTheCpuDoes();
    void otherBackendsFallBackToTheCpu();
    void impossibleGridsAreRefused();
    void brokenDefinitionsAreToldByTheirLine_data();
    void brokenDefinitionsAreToldByTheirLine();
    void theNodeThatMakesNoFieldIsNamed_data();
    void theNodeThatMakesNoFieldIsNamed();
    void aFailedExportKeepsTheOldFile();

private:
    QTemporaryDir m_folder;
};

void TstCommandLine::wrongUseIsExplained_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("begins");
    const auto row = [](const char *name, const QString &arguments, const QString &begins) {
        QTest::newRow(name) << arguments << begins;
    };
    row("schema without file", u"schema"_s, u"Usage: corvane schema <file.corvane>\n"_s);
    row("validate without file", u"validate"_s, u"Usage: corvane validate <file.corvane>\n"_s);
    row("export without file", u"export"_s,
        u"Usage: corvane export <file.corvane> [-o <output>] [--params <params.json>]\n"
        "                        [--backend cpu|gpu|native] [--cell-size <float>] [--error-on-empty]\n"_s);
    row("zirn without plan", u"zirn"_s,
        u"Usage: corvane zirn <plan.json> [<file.corvane>] [-o <out.corvane>]\n"_s);
    row("unknown command", u"frobnicate"_s,
        u"Error: unrecognised command 'frobnicate'\n\nCorvane — 3D CAD editor"_s);
    row("trailing -o", u"export x.corvane -o"_s,
        u"Error: unrecognised argument '-o'\nUsage: corvane export"_s);
    row("unknown option", u"export x.corvane --fast"_s,
        u"Error: unrecognised argument '--fast'\n"_s);
    for (const QString &size : {u"0"_s, u"fine"_s, u"nan"_s})
        row(qPrintable(u"cell size "_s + size), u"export x.corvane --cell-size "_s + size,
            u"Error: invalid --cell-size value\n"_s);
}

void TstCommandLine::wrongUseIsExplained()
{
    QFETCH(QString, arguments);
    QFETCH(QString, begins);
    const ProgramRun run = runProgram(arguments.split(u' '));
    QCOMPARE(run.status, 2);
    QVERIFY2(run.standardError.startsWith(begins), qPrintable(run.standardError));
    QVERIFY(run.standardOutput.isEmpty());
}

void TstCommandLine::versionAndHelpGoToStandardOutput()
{
    for (const QString &word : {u"--version"_s, u"-v"_s}) {
        const ProgramRun run = runProgram({word});
        QCOMPARE(run.status, 0);
        QVERIFY(run.standardOutput.startsWith(u"corvane "_s));
        QCOMPARE(run.standardOutput.count(u'\n'), 1);
    }
    for (const QString &words :
         {u"--help"_s, u"-h"_s, u"help"_s, u"schema --help"_s, u"validate -h"_s, u"zirn --help"_s,
          u"export --help"_s, u"export no.corvane --cell-size 0 -h"_s}) {
        const ProgramRun run = runProgram(words.split(u' '));
        QCOMPARE(run.status, 0);
        QVERIFY(run.standardOutput.endsWith(u"  3  Export failed\n"_s));
        QVERIFY(run.standardError.isEmpty());
    }
}

void TstCommandLine::schemaDescribesTheInputs()
{
    const ProgramRun run =
        runProgram({u"schema"_s, writeFile(m_folder, u"schema.corvane"_s, sphereScene)});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.standardError, QString());
    const QJsonObject schema = QJsonDocument::fromJson(run.standardOutput.toUtf8()).object();
    QCOMPARE(schema.value("generator_type"_L1).toString(), u"corvane"_s);
    QCOMPARE(schema.value("generator_version"_L1).toString(), u"1.0"_s);
    QCOMPARE(schema.value("source_hash"_L1).toString().size(), 64);
    const QJsonArray parameters = schema.value("parameters"_L1).toArray();
    QCOMPARE(parameters.size(), 2); // the derived one is no input
    const QJsonObject radius = parameters.at(0).toObject();
    QCOMPARE(radius.value("name"_L1).toString(), u"r"_s);
    QCOMPARE(radius.value("type"_L1).toString(), u"number"_s);
    QCOMPARE(radius.value("default"_L1).toDouble(), 3.0);
    QCOMPARE(radius.value("unit"_L1).toString(), u"mm"_s);
    QCOMPARE(radius.value("max"_L1).toDouble(), 4.5);
    QCOMPARE(parameters.at(1).toObject().value("default"_L1), QJsonValue(true));
}

void TstCommandLine::validateCounts()
{
    const ProgramRun run =
        runProgram({u"validate"_s, writeFile(m_folder, u"v.corvane"_s, sphereScene)});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.standardOutput, u"ok: 3 vars, 1 instances, 1 roots\n"_s);
    QCOMPARE(run.standardError, QString());
}

void TstCommandLine::mistakesAreToldAlikeByAllCommands()
{
    QByteArray text = sphereScene;
    text.replace("cellSize", "cellsize").replace("- ball", "- ball\n    - bal");
    const QString path = writeFile(m_folder, u"slips.corvane"_s, text);
    const QStringList expected{
        u"Warning: line 18, settings.export.cellsize: nothing reads this setting. Did you mean "
        "\"cellSize\"?"_s,
        u"Warning: line 24, roots: root \"bal\" names no instance, so it is left out. Did you mean "
        "\"ball\"?"_s};
    const QString plan =
        writeFile(m_folder, u"look.json"_s,
                  R"({"description": "x", "steps": [{"task": "corvane.scene.list_errors"}]})");
    const QString mesh = m_folder.filePath(u"slips.stl"_s);
    const ProgramRun validated = runProgram({u"validate"_s, path});
    QCOMPARE(validated.standardOutput, u"ok: 3 vars, 1 instances, 1 roots\n"_s);
    const ProgramRun exported = runProgram({u"export"_s, path, u"-o"_s, mesh});
    const ProgramRun edited =
        runProgram({u"zirn"_s, plan, path, u"-o"_s, m_folder.filePath(u"edited.corvane"_s)});
    for (const ProgramRun &run : {validated, exported, edited}) {
        QCOMPARE(run.status, 0);
        // Each once, and nothing else says the same.
        QCOMPARE(run.standardError.split(u'\n').filter(u"arning"_s), expected);
    }
    const QString params = writeFile(m_folder, u"slips.json"_s, R"({"R": 2})");
    const ProgramRun overridden =
        runProgram({u"export"_s, path, u"-o"_s, mesh, u"--params"_s, params});
    QVERIFY(overridden.standardError.contains(
        u"Warning: --params, R: the scene has no variable of this name. Did you mean \"r\"?\n"_s));
}

void TstCommandLine::inputErrorsAreStatusOne_data()
{
    const QString scene = writeFile(m_folder, u"input.corvane"_s, sphereScene);
    const QString broken = writeFile(m_folder, u"broken.corvane"_s, "corvane:\nno colon here\n");
    const QString notJson = writeFile(m_folder, u"not.json"_s, "{\"r\": ");
    const QString list = writeFile(m_folder, u"list.json"_s, "[1]");
    const QString missing = m_folder.filePath(u"missing"_s);
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("line");
    const auto row = [](const char *name, const QStringList &arguments, const QString &line) {
        QTest::newRow(name) << arguments << u"Error: "_s + line;
    };
    const QString failed = u"failed to load scene from "_s;
    row("schema of nothing", {u"schema"_s, missing}, failed + missing);
    row("validate of a broken file", {u"validate"_s, broken}, failed + broken);
    row("export of a folder", {u"export"_s, m_folder.path()}, failed + m_folder.path());
    const QStringList withParams{u"export"_s, scene, u"--params"_s};
    row("missing parameters", withParams + QStringList{missing},
        u"cannot open params file "_s + missing);
    row("parameters that are no JSON", withParams + QStringList{notJson},
        u"invalid JSON in params file: "_s);
    row("parameters that are a list", withParams + QStringList{list},
        u"params file must contain a JSON object"_s);
}

void TstCommandLine::inputErrorsAreStatusOne()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, line);
    const ProgramRun run = runProgram(arguments);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.standardError.contains(line), qPrintable(run.standardError));
    QVERIFY(run.standardOutput.isEmpty());
}

void TstCommandLine::exportFollowsOverrides()
{
    const QString scene = writeFile(m_folder, u"ball.corvane"_s, sphereScene);
    const QString params = writeFile(m_folder, u"p.json"_s, R"({"r": 4, "extra": [1, 2, 3]})");
    const QString out = m_folder.filePath(u"ball.stl"_s);

    ProgramRun run = runProgram({u"export"_s, scene, u"-o"_s, out});
    QCOMPARE(run.status, 0);
    QVERIFY(run.standardOutput.isEmpty());
    QCOMPARE(closingLine(run).value("success"_L1), QJsonValue(true));
    QVERIFY(std::abs(halfExtent(out) - 3.0f) < 0.01f);

    run = runProgram({u"export"_s, scene, u"--params"_s, params, u"--output"_s, out});
    QCOMPARE(run.status, 0);
    QVERIFY(
        run.standardError.startsWith(u"Applied 2 parameter override(s) from "_s + params + u'\n'));
    QVERIFY(std::abs(halfExtent(out) - 4.0f) < 0.01f);

    const double coarse = closingLine(run).value("triangles"_L1).toDouble();
    run = runProgram(
        {u"export"_s, scene, u"--params"_s, params, u"-o"_s, out, u"--cell-size"_s, u"0.25"_s});
    QVERIFY(closingLine(run).value("triangles"_L1).toDouble() > 3.5 * coarse);
    QVERIFY(run.standardError.contains(QRegularExpression(u"Progress: (\\d+)/\\1 chunks\n"_s)));
}

void TstCommandLine::formatFollowsTheExtension_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("begins");
    QTest::newRow("obj") << u"a.obj"_s << QByteArray("# OBJ file exported by pliskuk\n");
    QTest::newRow("ply") << u"a.ply"_s << QByteArray("ply\nformat binary_little_endian 1.0\n");
    QTest::newRow("vtk") << u"a.vtk"_s
                         << QByteArray("# vtk DataFile Version 3.0\nSDF Export\nASCII\n");
    QTest::newRow("upper case") << u"a.STL"_s << QByteArray("SDF Export");
}

void TstCommandLine::formatFollowsTheExtension()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, begins);
    const QString out = m_folder.filePath(name);
    const QString scene = writeFile(m_folder, u"f.corvane"_s, sphereScene);
    QCOMPARE(runProgram({u"export"_s, scene, u"-o"_s, out}).status, 0);
    QCOMPARE(support::contentOf(out).left(begins.size()), begins);
    QVERIFY(std::abs(halfExtent(out) - 3.0f) < 0.01f);
}

void TstCommandLine::outputPathWithoutOption_data()
{
    QTest::addColumn<QByteArray>("setting");
    QTest::addColumn<QString>("expected");
    QTest::newRow("default") << QByteArray("cellSize: 1.0") << u"o.stl"_s;
    QTest::newRow("format 2") << QByteArray("format: 2") << u"o.ply"_s;
    QTest::newRow("format not listed") << QByteArray("format: 9") << u"o.stl"_s;
    QTest::newRow("path in the scene")
        << "outputPath: \"" + m_folder.filePath(u"named.obj"_s).toUtf8() + '"' << u"named.obj"_s;
}

void TstCommandLine::outputPathWithoutOption()
{
    QFETCH(QByteArray, setting);
    QFETCH(QString, expected);
    QByteArray text = sphereScene;
    text.replace("cellSize: 0.5", "\n      " + setting);
    const QString scene = writeFile(m_folder, u"o.corvane"_s, text);
    QFile::remove(m_folder.filePath(expected));
    QCOMPARE(runProgram({u"export"_s, scene, u"--cell-size"_s, u"1"_s}).status, 0);
    QVERIFY(QFile::exists(m_folder.filePath(expected)));
}

void TstCommandLine::emptySceneGivesAnEmptyStl()
{
    const QString scene =
        writeFile(m_folder, u"empty.corvane"_s, "corvane:\n  name: \"Nothing\"\n");
    const QString out = m_folder.filePath(u"empty.obj"_s);
    const ProgramRun run = runProgram({u"export"_s, scene, u"-o"_s, out});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.lastErrorLine(),
             u"{\"success\":true,\"triangles\":0,\"vertices\":0,\"elapsed\":0}"_s);
    QCOMPARE(support::contentOf(out),
             QByteArray("Ondrel Corvane empty mesh") + QByteArray(84 - 25, '\0'));
}

void TstCommandLine::errorOnEmptyIsStatusThree_data()
{
    QByteArray outside = sphereScene;
    outside.replace("cellSize: 0.5", "bounds:\n        minX: 4.9\n      cellSize: 0.5");
    QTest::addColumn<QByteArray>("scene");
    QTest::addColumn<QString>("line");
    QTest::newRow("no nodes") << QByteArray("corvane:\n  name: \"Nothing\"\n")
                              << u"Error: scene has no geometry nodes (--error-on-empty)\n"_s;
    QTest::newRow("outside the box")
        << outside
        << u"Export produced no triangles — the source may be hidden or outside the export bounds"_s;
}

void TstCommandLine::errorOnEmptyIsStatusThree()
{
    QFETCH(QByteArray, scene);
    QFETCH(QString, line);
    const QString path = writeFile(m_folder, u"e.corvane"_s, scene);
    const ProgramRun run = runProgram({u"export"_s, path, u"--error-on-empty"_s});
    QCOMPARE(run.status, 3);
    QVERIFY2(run.standardError.contains(line), qPrintable(run.standardError));
}

void TstCommandLine::unwritableOutputIsFoundFirst()
{
    const QString path = m_folder.filePath(u"no/such/a.stl"_s);
    const QString scene = writeFile(m_folder, u"u.corvane"_s, sphereScene);
    const ProgramRun run = runProgram({u"export"_s, scene, u"-o"_s, path});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.standardError, u"Error: cannot write output file "_s + path + u'\n');
}

void TstCommandLine::theGpuMeshesAsTheCpuDoes()
{
    const QString scene = writeFile(m_folder, u"gpu.corvane"_s, sphereScene);
    QList<double> triangles;
    for (const QString &backend : {u"cpu"_s, u"gpu"_s}) {
        const ProgramRun run = runProgram({u"export"_s, scene, u"--backend"_s, backend, u"-o"_s,
                                           m_folder.filePath(backend + u".stl"_s)});
        QCOMPARE(run.status, 0);
        QVERIFY2(!run.standardError.contains(u"Warning"_s), qPrintable(run.standardError));
        triangles.append(closingLine(run).value("triangles"_L1).toDouble());
    }
    QVERIFY(triangles[0] > 0);
    QCOMPARE(triangles[1], triangles[0]);
}

void TstCommandLine::otherBackendsFallBackToTheCpu()
{
    qputenv("VK_ICD_FILENAMES", "/nonexistent/icd.json");
    const auto withDevices = qScopeGuard([] { qunsetenv("VK_ICD_FILENAMES"); });
    const QString scene = writeFile(m_folder, u"b.corvane"_s, sphereScene);
    const ProgramRun run = runProgram(
        {u"export"_s, scene, u"--backend"_s, u"gpu"_s, u"-o"_s, m_folder.filePath(u"b.stl"_s)});
    QCOMPARE(run.status, 0);
    QVERIFY2(run.standardError.contains(u"Warning: GPU backend failed (GPU backend initialization "
                                        "failed), falling back to CPU\n"_s),
             qPrintable(run.standardError));
    QCOMPARE(run.standardError.count(u"\"success\""_s), 1);
}

void TstCommandLine::impossibleGridsAreRefused()
{
    const QString scene = writeFile(m_folder, u"g.corvane"_s, sphereScene);
    const ProgramRun run = runProgram({u"export"_s, scene, u"--cell-size"_s, u"1e-4"_s});
    QCOMPARE(run.status, 3);
    const QString error = closingLine(run).value("error"_L1).toString();
    QVERIFY2(error.contains(QRegularExpression(u"\\d{5,}"_s)), qPrintable(run.standardError));
}

void TstCommandLine::brokenDefinitionsAreToldByTheirLine_data()
{
    QTest::addColumn<QByteArray>("code"); // of a definition whose code begins on line 9
    QTest::addColumn<QByteArray>("used");
    QTest::addColumn<QString>("told");
    const QByteArray block =
        "|\n\n        float sdf_blob(vec3 p) {\n\n            return missing;\n"
        "        }";
    const QByteArray flow = "\"float sdf_blob(vec3 p) { return missing; }\"";
    const QByteArray discards = "|\n        float sdf_blob(vec3 p) {\n            if (p.x > 9.0) "
                                "discard;\n            return length(p) - 1.0;\n        }";
    const QString missing = u"line %1, definitions.blob.shaderCode: 'missing': undeclared "
                            "identifier. Declare the name before its first use, or correct its "
                            "spelling.\n"_s;
    const QString fails = u"Error: shader compilation failed\n  "_s;
    QTest::newRow("used") << block << QByteArray("blob") << fails + missing.arg(11);
    QTest::newRow("used, on the line of its key")
        << flow << QByteArray("blob") << fails + missing.arg(7);
    QTest::newRow("unused") << block << QByteArray("sphere\n      params: {radius: 2.0}")
                            << u"Warning: "_s + missing.arg(11);
    QTest::newRow("compiles, and has holes")
        << discards << QByteArray("blob")
        << u"Warning: line 9, definitions.blob.shaderCode: a point that reaches 'discard' has no "
           "distance and counts as outside. Return a large distance, such as 1e10, where nothing "
           "shall be.\n"_s;
}

void TstCommandLine::brokenDefinitionsAreToldByTheirLine()
{
    QFETCH(QByteArray, code);
    QFETCH(QByteArray, used);
    QFETCH(QString, told);
    const QByteArray text =
        "formatVersion: 1\ncorvane:\n  units: mm\n  definitions:\n    - id: blob\n"
        "      name: Blob\n      shaderCode: " +
        code + "\n  instances:\n    one:\n      type: " + used + "\n  roots: [one]\n";
    const QString scene = writeFile(m_folder, u"d.corvane"_s, text);
    const bool fails = told.startsWith(u"Error"_s);
    const ProgramRun run = runProgram({u"export"_s, scene, u"-o"_s, m_folder.filePath(u"d.stl"_s)});
    QCOMPARE(run.status, fails ? 3 : 0);
    QVERIFY2(run.standardError.contains(told), qPrintable(run.standardError));
    if (!fails)
        QCOMPARE(runProgram({u"validate"_s, scene}).standardError, told);
}

void TstCommandLine::theNodeThatMakesNoFieldIsNamed_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QString>("why");
    QTest::newRow("operator without children")
        << QByteArray("translate") << u"has no child: 'translate' needs one to act on"_s;
    QTest::newRow("unknown definition")
        << QByteArray("spere") << u"has no definition: there is none of the name 'spere'"_s;
}

void TstCommandLine::theNodeThatMakesNoFieldIsNamed()
{
    QFETCH(QByteArray, type);
    QFETCH(QString, why);
    const QByteArray text =
        "formatVersion: 1\ncorvane:\n  instances:\n    mine:\n      type: " + type +
        "\n  roots: [mine]\n";
    const ProgramRun run = runProgram({u"export"_s, writeFile(m_folder, u"o.corvane"_s, text)});
    QCOMPARE(run.status, 3);
    QCOMPARE(closingLine(run).value("error"_L1).toString(),
             u"CPU backend initialization failed: 'mine' "_s + why);
}

void TstCommandLine::aFailedExportKeepsTheOldFile()
{
    const QString out = writeFile(m_folder, u"keep.stl"_s, "what was there");
    QByteArray text = sphereScene;
    text.replace("cellSize: 0.5", "bounds:\n        minX: 4.9\n      cellSize: 0.5");
    const QString scene = writeFile(m_folder, u"k.corvane"_s, text);
    QCOMPARE(runProgram({u"export"_s, scene, u"-o"_s, out}).status, 3);
    QCOMPARE(support::contentOf(out), QByteArray("what was there"));
    QVERIFY(QDir(m_folder.path())
                .entryList({u"keep.stl*"_s, u".keep*"_s}, QDir::Files | QDir::Hidden)
                .size() == 1);
}

QTEST_GUILESS_MAIN(TstCommandLine)
#include "tst_CommandLine.moc"
