// Plans as a script runs them: by the program itself.
#include "Program.h"

#include <mesh/io/MeshLoader.h>
#include <support/Files.h>
#include <support/MeshChecks.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace Qt::StringLiterals;
using support::contentOf;

namespace {

QJsonObject step(const QString &task, const QJsonObject &arguments = {},
                 const QJsonObject &produces = {})
{
    return {{u"task"_s, task}, {u"args"_s, arguments}, {u"produces"_s, produces}};
}

QByteArray planOf(const QJsonArray &steps)
{
    return QJsonDocument(QJsonObject{{u"description"_s, u"test"_s}, {u"steps"_s, steps}}).toJson();
}

const QByteArray version1Scene = R"(formatVersion: 1
corvane:
  varset:
    size: 1.0
  instances:
    ball:
      type: sphere
      params:
        radius: "=size"
)";

QByteArray sceneOf(const QByteArray &roots)
{
    return version1Scene + roots;
}

const QByteArray version2Scene = R"(formatVersion: 2
corvane:
  varset:
    size: 1.0
  instances:
    6fa1c2e4-0000-4000-8000-000000000001:
      name: Ball
      type: sphere
      params:
        radius: "=size"
  roots:
    - Ball
)";

/// The largest x of a mesh file; 0 when it can't be read.
float widthOf(const QString &path)
{
    QString error;
    const auto mesh = mesh::io::MeshLoader::loadFromFile(path, &error);
    float most = 0.0f;
    if (mesh) {
        for (const auto &vertex : mesh->vertices)
            most = std::max(most, vertex.x);
    }
    return most;
}

/// Of a mesh file; 0 when it can't be read.
double volumeOf(const QString &path)
{
    QString error;
    const auto mesh = mesh::io::MeshLoader::loadFromFile(path, &error);
    return mesh ? support::signedVolume(*mesh) : 0.0;
}

/// A difference with a box in it, and a ball beside it.
const QByteArray version1Difference = R"(formatVersion: 1
corvane:
  instances:
    part:
      type: subtract
      id: 6fa1c2e4-0000-4000-8000-000000000001
      params:
        children: ["@block"]
    block:
      type: box
      params: {width: 1.0, height: 1.0, depth: 1.0}
    ball:
      type: sphere
      id: 6fa1c2e4-0000-4000-8000-000000000002
      params: {radius: 1.2}
  roots: [part, ball]
)";

const QByteArray version2Difference = R"(formatVersion: 2
corvane:
  instances:
    6fa1c2e4-0000-4000-8000-000000000001:
      name: Part
      type: subtract
      children: [Block]
    Block:
      type: box
      params: {width: 1.0, height: 1.0, depth: 1.0}
    6fa1c2e4-0000-4000-8000-000000000002:
      name: Ball
      type: sphere
      params: {radius: 1.2}
  roots: [Part, Ball]
)";

} // namespace

class TstZirnCommand : public QObject
{
    Q_OBJECT

private slots:
    void refusals_data();
    void refusals();
    void gearIsAuthoredExportedAndResized();
    void nothingIsLost_data();
    void nothingIsLost();
    void version2FilesAreKept();
    void editsShowInTheGeometry_data();
    void editsShowInTheGeometry();
    void thePlaceDecidesWhatIsCut_data();
    void thePlaceDecidesWhatIsCut();
    void whatOthersSavedIsNotSavedOver();
    void failedPlansSaveNothing();
    void failedJobsFailTheRun();

private:
    ProgramRun zirn(const QByteArray &plan, const QStringList &more)
    {
        return runProgram(QStringList{u"zirn"_s, writeFile(m_folder, u"plan.json"_s, plan)} + more);
    }

    QTemporaryDir m_folder;
};

void TstZirnCommand::refusals_data()
{
    const QString plan =
        writeFile(m_folder, u"good.json"_s, planOf({step(u"corvane.scene.list_items"_s)}));
    const QString scene = writeFile(m_folder, u"s.corvane"_s, version1Scene);
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("error");
    const auto row = [](const char *name, const QStringList &arguments, int status,
                        const QString &error) {
        QTest::newRow(name) << arguments << status << error;
    };
    row("no plan", {}, 2, u"Usage: corvane zirn <plan.json> [<file.corvane>] [-o <out.corvane>]"_s);
    row("an option that is none", {plan, u"--fast"_s}, 2,
        u"Error: unrecognised argument '--fast'"_s);
    row("-o without a value", {plan, u"-o"_s}, 2, u"Error: unrecognised argument '-o'"_s);
    row("two scenes", {plan, scene, u"b.corvane"_s}, 2,
        u"Error: unexpected extra argument 'b.corvane'"_s);
    row("plan not there", {u"/nowhere.json"_s}, 1, u"Error: cannot open plan file /nowhere.json"_s);
    row("plan is a folder", {m_folder.path()}, 1,
        u"Error: cannot open plan file "_s + m_folder.path());
    row("plan is no JSON", {writeFile(m_folder, u"bad.json"_s, "{")}, 2,
        u"Error: invalid plan: "_s);
    row("scene not there", {plan, u"/nowhere.corvane"_s}, 1,
        u"Error: failed to load scene from /nowhere.corvane"_s);
    row("output is a folder", {plan, u"-o"_s, m_folder.path()}, 1,
        u"Error: failed to write scene to "_s + m_folder.path());
    row("unknown task", {writeFile(m_folder, u"unknown.json"_s, planOf({step(u"no.task"_s)}))}, 3,
        u"task 'no.task' not found in registry"_s);
    row("a task whose name has a slip",
        {writeFile(m_folder, u"slip.json"_s, planOf({step(u"corvane.item.ad"_s)}))}, 3,
        u"Did you mean \"corvane.item.add\"?"_s);
}

void TstZirnCommand::refusals()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, error);
    const ProgramRun run = runProgram(QStringList{u"zirn"_s} + arguments);
    QCOMPARE(run.status, status);
    QVERIFY2(run.standardError.contains(error), qPrintable(run.standardError));
}

void TstZirnCommand::gearIsAuthoredExportedAndResized()
{
    const QString plans = QStringLiteral(CORVANE_SAMPLES) + u"/plans/"_s;
    const QString scene = m_folder.filePath(u"gear.corvane"_s);
    const ProgramRun made = runProgram({u"zirn"_s, plans + u"gear.json"_s, u"-o"_s, scene});
    QVERIFY2(made.status == 0, qPrintable(made.standardError));
    QVERIFY(made.standardError.contains(u"the scene is clean"_s));
    QCOMPARE(made.lastErrorLine(), u"Saved scene to "_s + scene);
    const auto width = [&](const QString &name) {
        const QString mesh = m_folder.filePath(name);
        return runProgram({u"export"_s, scene, u"-o"_s, mesh}).status == 0 ? widthOf(mesh) : 0.0f;
    };
    const float before = width(u"before.stl"_s);
    QVERIFY2(std::abs(before - 20.0f) < 0.6f, qPrintable(QString::number(before)));
    const ProgramRun resized = runProgram({u"zirn"_s, plans + u"gear_resize.json"_s, scene});
    QVERIFY2(resized.status == 0, qPrintable(resized.standardError));
    const float after = width(u"after.stl"_s);
    QVERIFY2(std::abs(after - 26.0f) < 0.6f, qPrintable(QString::number(after)));
}

void TstZirnCommand::nothingIsLost_data()
{
    QTest::addColumn<QByteArray>("scene");
    QTest::addColumn<QJsonArray>("steps");
    QTest::addColumn<QString>("summary");
    const QByteArray withRoots = sceneOf("  roots:\n    - ball\n");
    const QByteArray without = sceneOf({});
    const QJsonArray variable{
        step(u"corvane.varset.set_variable"_s, {{u"name"_s, u"size"_s}, {u"value"_s, 2.0}})};
    const QJsonArray node{
        step(u"corvane.scene.build_tree"_s,
             {{u"tree"_s,
               QJsonDocument::fromJson(R"({"instances":{"b":{"definition":"box"}}})").object()}})};
    // Of the node a core and three wrappers.
    QTest::newRow("a variable") << withRoots << variable << u"ok: 1 vars, 1 instances, 1 roots"_s;
    QTest::newRow("a variable, no roots")
        << without << variable << u"ok: 1 vars, 1 instances, 0 roots"_s;
    QTest::newRow("a node") << withRoots << node << u"ok: 1 vars, 5 instances, 2 roots"_s;
    QTest::newRow("a node, no roots") << without << node << u"ok: 1 vars, 5 instances, 2 roots"_s;
    QTest::newRow("version 2: a variable")
        << version2Scene << variable << u"ok: 1 vars, 4 instances, 1 roots"_s;
    QTest::newRow("version 2: a node")
        << version2Scene << node << u"ok: 1 vars, 8 instances, 2 roots"_s;
}

void TstZirnCommand::nothingIsLost()
{
    QFETCH(QByteArray, scene);
    QFETCH(QJsonArray, steps);
    QFETCH(QString, summary);
    const QString path = writeFile(m_folder, u"kept.corvane"_s, scene);
    const ProgramRun run = zirn(planOf(steps), {path});
    QVERIFY2(run.status == 0, qPrintable(run.standardError));
    const ProgramRun validated = runProgram({u"validate"_s, path});
    QCOMPARE(validated.standardOutput.trimmed(), summary);
}

void TstZirnCommand::version2FilesAreKept()
{
    const QString path = writeFile(m_folder, u"two.corvane"_s, version2Scene);
    // Under the id that the file gives.
    const QByteArray plan = planOf(
        {step(u"corvane.item.rename"_s, {{u"itemId"_s, u"6fa1c2e4-0000-4000-8000-000000000001"_s},
                                         {u"newName"_s, u"Globe"_s}})});
    const QString copy = m_folder.filePath(u"copy.corvane"_s);
    QCOMPARE(zirn(plan, {path, u"-o"_s, copy}).status, 0);
    QVERIFY(!QFile::exists(copy + u".bak"_s) && !QFile::exists(path + u".bak"_s));
    const ProgramRun run = zirn(plan, {path});
    QVERIFY2(run.status == 0, qPrintable(run.standardError));
    QVERIFY(run.standardError.contains(path + u".bak"_s));
    QCOMPARE(contentOf(path + u".bak"_s), version2Scene);
    QVERIFY(contentOf(path) != version2Scene);
    // The id still names it in the compiled file.
    const ProgramRun again =
        zirn(planOf({step(u"corvane.scene.get_item"_s,
                          {{u"itemId"_s, u"6fa1c2e4-0000-4000-8000-000000000001"_s}})}),
             {path, u"-o"_s, copy});
    QVERIFY2(again.standardError.contains(u"Item 'Globe'"_s), qPrintable(again.standardError));
}

void TstZirnCommand::editsShowInTheGeometry_data()
{
    QTest::addColumn<QByteArray>("scene");
    const QByteArray byHand = sceneOf("      id: 6fa1c2e4-0000-4000-8000-000000000001\n"
                                      "  roots: [ball]\n");
    QTest::newRow("an item by hand") << byHand;
    QTest::newRow("a node") << version2Scene;
}

/// Of a node the second plan finds what the first one compiled.
void TstZirnCommand::editsShowInTheGeometry()
{
    QFETCH(QByteArray, scene);
    const QString id = u"6fa1c2e4-0000-4000-8000-000000000001"_s;
    const QString path = writeFile(m_folder, u"moved.corvane"_s, scene);
    const auto moved = [&](const QJsonObject &by, float width) {
        QJsonObject arguments = by;
        arguments.insert(u"itemId"_s, id);
        const ProgramRun run =
            zirn(planOf({step(u"corvane.item.set_transform"_s, arguments)}), {path});
        QVERIFY2(run.status == 0, qPrintable(run.standardError));
        const QString mesh = m_folder.filePath(u"moved.stl"_s);
        QCOMPARE(runProgram({u"export"_s, path, u"-o"_s, mesh}).status, 0);
        QVERIFY2(std::abs(widthOf(mesh) - width) < 0.05f,
                 qPrintable(QString::number(widthOf(mesh))));
    };
    moved({{u"tx"_s, 2}}, 3.0f);
    moved({{u"sx"_s, 2}}, 4.0f);
    const ProgramRun asked = zirn(planOf({step(u"corvane.scene.get_item"_s, {{u"itemId"_s, id}})}),
                                  {path, u"-o"_s, u"/dev/null"_s});
    QVERIFY2(asked.standardError.contains(u"\"translate\":[2,0,0]"_s),
             qPrintable(asked.standardError));
    moved({{u"tx"_s, u"=size*2.5"_s}}, 4.5f);
    moved({{u"sx"_s, 1}}, 3.5f); // what one plan derived, the next one finds
}

void TstZirnCommand::thePlaceDecidesWhatIsCut_data()
{
    QTest::addColumn<QByteArray>("scene");
    QTest::addColumn<int>("index");
    QTest::addColumn<double>("volume");
    // Six caps of the ball stand out of the box.
    constexpr double caps = 0.854, boxWithoutBall = 1.616;
    QTest::newRow("an item to the front") << version1Difference << 0 << caps;
    QTest::newRow("an item to the end") << version1Difference << 1 << boxWithoutBall;
    QTest::newRow("a node to the front") << version2Difference << 0 << caps;
    QTest::newRow("a node to the end") << version2Difference << 1 << boxWithoutBall;
}

void TstZirnCommand::thePlaceDecidesWhatIsCut()
{
    QFETCH(QByteArray, scene);
    QFETCH(int, index);
    QFETCH(double, volume);
    const QString path = writeFile(m_folder, u"difference.corvane"_s, scene);
    const ProgramRun run =
        zirn(planOf({step(u"corvane.item.set_parent"_s,
                          {{u"itemId"_s, u"6fa1c2e4-0000-4000-8000-000000000002"_s},
                           {u"newParentId"_s, u"6fa1c2e4-0000-4000-8000-000000000001"_s},
                           {u"insertIndex"_s, index}}),
                     step(u"corvane.settings.set_bulk"_s,
                          {{u"settings"_s, QJsonObject{{u"export.autoBounds"_s, true},
                                                       {u"export.cellSize"_s, 0.1}}}})}),
             {path});
    QVERIFY2(run.status == 0, qPrintable(run.standardError));
    const QString mesh = m_folder.filePath(u"difference.stl"_s);
    QCOMPARE(runProgram({u"export"_s, path, u"-o"_s, mesh}).status, 0);
    QVERIFY2(std::abs(volumeOf(mesh) - volume) < 0.2, qPrintable(QString::number(volumeOf(mesh))));
}

void TstZirnCommand::whatOthersSavedIsNotSavedOver()
{
    // The plan itself stands for the others here.
    const QString path = writeFile(m_folder, u"taken.stl"_s, version2Scene);
    const QString other = writeFile(m_folder, u"other.corvane"_s, sceneOf({}));
    const ProgramRun run = zirn(
        planOf({step(u"mesh.export"_s,
                     {{u"scenePath"_s, other}, {u"outputPath"_s, path}, {u"cellSize"_s, 0.5}})}),
        {path});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.standardError.contains(
                 u"cannot save over %1: it was changed by another program while the plan ran"_s.arg(
                     path)),
             qPrintable(run.standardError));
    QVERIFY(!QFile::exists(path + u".bak"_s));
    QVERIFY(widthOf(path) > 0.9f);
}

void TstZirnCommand::failedPlansSaveNothing()
{
    const QString path = writeFile(m_folder, u"same.corvane"_s, sceneOf({}));
    const QString id = u"00000000-0000-0000-0000-000000000009"_s;
    const ProgramRun run =
        zirn(planOf({step(u"corvane.settings.set"_s, {{u"path"_s, u"a.b"_s}, {u"value"_s, 1}}),
                     step(u"corvane.item.remove"_s, {{u"itemId"_s, id}})}),
             {path});
    QCOMPARE(run.status, 3);
    QVERIFY(run.standardError.contains(u"Plan 'test' failed at step 2."_s));
    QVERIFY(
        run.standardError.contains(u"[1] FAIL: Failed to remove item %1: not found."_s.arg(id)));
    QCOMPARE(contentOf(path), sceneOf({}));
}

/// The plan is done by then, and what it did is saved.
void TstZirnCommand::failedJobsFailTheRun()
{
    const QString scene = m_folder.filePath(u"made.corvane"_s);
    const ProgramRun run =
        zirn(planOf({step(u"mesh.bench.run"_s, {{u"scenesDir"_s, u"/nowhere"_s},
                                                {u"definitionsDir"_s, u"/nowhere"_s},
                                                {u"dbPath"_s, m_folder.filePath(u"b.db"_s)},
                                                {u"artifactsDir"_s, m_folder.filePath(u"a"_s)}})}),
             {u"-o"_s, scene});
    QCOMPARE(run.status, 3);
    QVERIFY(run.standardError.startsWith(u"Plan 'test' completed successfully."_s));
    QVERIFY(run.standardError.contains(u"Saved scene to "_s + scene));
    QCOMPARE(run.lastErrorLine(),
             u"Job #1 (mesh-export-bench) failed: empty corpus or definitions"_s);
}

QTEST_GUILESS_MAIN(TstZirnCommand)
#include "tst_ZirnCommand.moc"
