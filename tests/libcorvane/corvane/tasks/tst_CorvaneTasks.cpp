#include "TaskFixture.h"

#include <corvane/compile/ItemsToNodes.h>
#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/model/NodeCompilation.h>

#include <QTest>
#include <QUndoStack>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::zirn;

namespace {

/// What a window offers to the tasks on the camera.
class Bridge : public QObject
{
    Q_OBJECT

public:
    QStringList calls;

    Q_INVOKABLE void requestReset() { calls.append(u"reset"_s); }
    Q_INVOKABLE void requestFitContent() { calls.append(u"content"_s); }
    Q_INVOKABLE void requestFitSelection() { calls.append(u"selection"_s); }
};

QUuid builtInMaterial()
{
    const auto materials = model::MaterialLibrary::instance().allMaterials();
    const auto found = std::find_if(materials.cbegin(), materials.cend(),
                                    [](const auto &material) { return material.isBuiltIn; });
    return found == materials.cend() ? QUuid() : found->id;
}

QVariant nested(int levels)
{
    QVariant value = 1;
    for (int i = 0; i < levels; ++i)
        value = QVariantList{value};
    return value;
}

const char *const validationText = "^Failed to .+: .+ State: .+\\.( Suggestion: .+\\.)?$";

} // namespace

class TstCorvaneTasks : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareTasks(m_home); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void catalogueIsRegisteredOnce();
    void rowsDescribeThemselves_data();
    void rowsDescribeThemselves();
    void examplesRun_data();
    void examplesRun();
    void failuresSayWhatRemains_data();
    void failuresSayWhatRemains();
    void axesThatAreNotGivenStay();
    void idsWorkForBothStores();
    void itemsOfTheFieldFollow();
    void variablesKeepWhatIsNotGiven();
    void variablesAreDerived_data();
    void variablesAreDerived();
    void expressionsPlaceItems_data();
    void expressionsPlaceItems();
    void wrappersTakeExpressions();
    void parametersAreThoseOfTheDefinition();
    void groupThatMovesNothingSaysSo();
    void theCameraFollows();

private:
    QVariantMap exampleArguments(TaskFixture &fixture, const TaskRow &row);

    QTemporaryDir m_home;
};

void TstCorvaneTasks::catalogueIsRegisteredOnce()
{
    TaskFixture fixture;
    const auto first = fixture.registry.task(u"corvane.item.add"_s);
    QCOMPARE(fixture.registry.count(), taskCatalogue().size());
    registerCorvaneTasks(&fixture.registry);
    QCOMPARE(fixture.registry.count(), taskCatalogue().size());
    QCOMPARE(fixture.registry.task(u"corvane.item.add"_s), first);
}

void TstCorvaneTasks::rowsDescribeThemselves_data()
{
    QTest::addColumn<const TaskRow *>("row");
    for (const TaskRow *row : taskCatalogue())
        QTest::newRow(row->name.data()) << row;
}

void TstCorvaneTasks::rowsDescribeThemselves()
{
    QFETCH(const TaskRow *, row);
    TaskFixture fixture;
    const ZirnTask &task = *fixture.registry.task(row->name);
    QVERIFY(!task.description.isEmpty() && !task.tags.isEmpty() && !task.scopes.isEmpty());
    QCOMPARE(task.requiredCaps, QSet<QString>{u"cad-editing"_s});
    const bool isCamera = task.tags.contains(u"camera"_s);
    const bool isRead = row->kind == TaskKind::Query || isCamera ||
                        task.name == "mesh.bench.query"_L1 || task.name == "mesh.bench.compare"_L1;
    QCOMPARE(dangerOf(&task), isRead ? TaskDanger::Safe : TaskDanger::Unsafe);
    QCOMPARE(task.readOnly, isRead);
    const QJsonObject example = QJsonDocument::fromJson(task.example.toUtf8()).object();
    QCOMPARE(example.value("task"_L1).toString(), task.name);
    const bool isMesh = task.name.startsWith("mesh."_L1);
    QCOMPARE(task.params.isEmpty() && isMesh, isMesh);
    const QJsonObject arguments = example.value(isMesh ? "params"_L1 : "args"_L1).toObject();
    for (const ZirnTaskParamDescriptor &param : task.params) {
        QVERIFY2(!param.description.isEmpty(), qPrintable(param.name));
        QVERIFY2(!param.required || arguments.contains(param.name), qPrintable(param.name));
    }
}

/// The arguments of the example, with what its sample ids stand for.
QVariantMap TstCorvaneTasks::exampleArguments(TaskFixture &fixture, const TaskRow &row)
{
    const QJsonObject example = QJsonDocument::fromJson(row.example.toString().toUtf8()).object();
    QVariantMap arguments = example.value("args"_L1).toObject().toVariantMap();
    const QString name = row.name;
    QString id = fixture.add(u"box"_s, {{u"name"_s, u"MySphere"_s}});
    if (name.startsWith("corvane.material."_L1)) {
        id = fixture.call(u"corvane.material.add"_s, {{u"name"_s, u"Chrome"_s}})
                 .outputs.value(u"materialId"_s);
    } else if (name == "corvane.undo_batch"_L1) {
        const QVariantMap tree = mapOf(R"({"instances": {"a": {"definition": "sphere"}}})");
        id = fixture.call(u"corvane.scene.build_tree"_s, {{u"tree"_s, tree}})
                 .outputs.value(u"batchId"_s);
    } else if (name.startsWith("corvane.varset."_L1)) {
        fixture.call(u"corvane.varset.set_variable"_s,
                     {{u"name"_s, u"radius"_s}, {u"value"_s, 1.0}});
        const bool needsVarset = name.endsWith("remove_named"_L1) || name.endsWith("entry"_L1);
        if (needsVarset)
            fixture.call(u"corvane.varset.add_named"_s, {{u"varsetName"_s, u"Sizes"_s}});
    } else if (name.endsWith("definition.remove"_L1) || name.endsWith("definition.update"_L1)) {
        const ZirnTask &add = *fixture.registry.task(u"corvane.definition.add"_s);
        fixture.call(add.name, QJsonDocument::fromJson(add.example.toUtf8())
                                   .object()
                                   .value("args"_L1)
                                   .toObject()
                                   .toVariantMap());
    }
    for (QVariant &value : arguments) {
        if (value == u"abc-123"_s)
            value = id;
    }
    return arguments;
}

void TstCorvaneTasks::examplesRun_data()
{
    rowsDescribeThemselves_data();
}

void TstCorvaneTasks::examplesRun()
{
    QFETCH(const TaskRow *, row);
    TaskFixture fixture;
    const QVariantMap arguments = exampleArguments(fixture, *row);
    const int steps = fixture.executor.undoStack()->index();
    const ZirnTaskResult result = fixture.call(row->name, arguments);
    if (row->kind == TaskKind::Plain) {
        // Without a window, files and a queue they say what they lack.
        QVERIFY(!result.success);
        QVERIFY2(QRegularExpression(
                     u"^Failed to .+ State: unchanged\\.|^mesh.bench.run needs 'scenesDir'. "
                     u"State: unchanged\\."_s)
                     .match(result.message)
                     .hasMatch(),
                 qPrintable(result.message));
        return;
    }
    QVERIFY2(result.success, qPrintable(result.message));
    QStringList promised = fixture.registry.task(row->name)->outputs;
    if (row->kind == TaskKind::Mutation)
        promised += {u"error_count"_s, u"number_of_new_errors"_s};
    for (const QString &key : promised)
        QVERIFY2(result.outputs.contains(key), qPrintable(key));
    QVERIFY2(!result.message.contains(u'{') || row->query, qPrintable(result.message));
    const bool undoes = row->name == "corvane.undo_batch"_L1;
    const bool edits = row->kind == TaskKind::Mutation;
    const bool mayBeNoChange = row->name == "corvane.item.set_parent"_L1 ||
                               row->name == "corvane.varset.move_entry"_L1 ||
                               row->name == "corvane.varset.reorder"_L1;
    if (!mayBeNoChange)
        QCOMPARE(fixture.executor.undoStack()->index() - steps, undoes ? -1 : edits ? 1 : 0);
}

void TstCorvaneTasks::failuresSayWhatRemains_data()
{
    QTest::addColumn<QString>("task");
    QTest::addColumn<QVariantMap>("arguments");
    QTest::addColumn<QString>("message"); // empty: any that has the form
    const auto rowOf = [](const char *name, const QString &task, const QVariantMap &arguments,
                          const QString &message) {
        QTest::newRow(name) << task << arguments << message;
    };
    // What failed, and what is suggested.
    const auto row = [&](const char *name, const QString &task, const char *arguments,
                         const QString &what, const QString &suggestion) {
        rowOf(name, u"corvane."_s + task, mapOf(arguments),
              u"Failed to "_s + what + u" State: unchanged. Suggestion: "_s + suggestion);
    };
    const auto anyOf = [&](const char *name, const QString &task, const char *arguments) {
        rowOf(name, task, mapOf(arguments), {});
    };
    row("remove: nothing given", u"item.remove"_s, "{}", u"remove item: itemId is required."_s,
        u"provide the UUID of the item to remove."_s);
    row("remove: unknown", u"item.remove"_s,
        R"({"itemId": "{00000000-0000-0000-0000-000000000001}"})",
        u"remove item {00000000-0000-0000-0000-000000000001}: not found."_s,
        u"check itemId or run corvane.scene.list_items."_s);
    row("a list as the parent", u"item.add"_s, R"({"itemType": "group", "parentId": [1]})",
        u"add item: parentId must be a text, not '[1]'."_s,
        u"provide the UUID of the parent; empty for the top."_s);
    row("a map as a filter", u"scene.list_definitions"_s, R"({"category": {}})",
        u"execute corvane.scene.list_definitions: category must be a text, not '{}'."_s,
        u"provide the category, or one of primitives, operators, modifiers; empty for all."_s);
    row("a name that can't be saved", u"varset.set_variable"_s, R"({"name": "a: b", "value": 1})",
        u"set variable: name 'a: b' can't be held by a scene file, whose names are without ':', "
        u"'#', ',', brackets, quotes and line breaks, and begin with no '-' or blank."_s,
        u"provide the name of the variable."_s);
    row("a key that can't be saved", u"settings.set"_s,
        R"({"path": "a", "value": [{"b": {"#c": 1}}]})",
        u"set setting: value has a key that a scene file can't hold: '#c'."_s,
        u"provide the new value."_s);
    rowOf("a value that is nested too deep", u"corvane.settings.set"_s,
          {{u"path"_s, u"a"_s}, {u"value"_s, nested(101)}},
          u"Failed to set setting: value is nested deeper than 100 levels. State: unchanged. "
          u"Suggestion: provide the new value."_s);
    rowOf("a path that nests the value too deep", u"corvane.settings.set"_s,
          {{u"path"_s, QStringList(11, u"a"_s).join(u'.')}, {u"value"_s, nested(90)}},
          u"Failed to set setting: value is nested deeper than 100 levels. State: unchanged. "
          u"Suggestion: check parameters and try again."_s);
    for (const QString &key : {u"-a"_s, u" a"_s, u"- a"_s})
        rowOf(qPrintable(u"a part of a path that can't be saved: "_s + key),
              u"corvane.settings.set_bulk"_s, {{u"settings"_s, QVariantMap{{u"x."_s + key, 1}}}},
              u"Failed to update settings: 'x.%1' can't be held by a scene file, whose names are "
              u"without ':', '#', ',', brackets, quotes and line breaks, and begin with no '-' or "
              u"blank. State: unchanged. Suggestion: check parameters and try again."_s.arg(key));
    row("an argument that nothing reads", u"varset.set_variable"_s,
        R"({"name": "w", "value": 1, "expresion": "2*3"})",
        u"set variable: unknown argument 'expresion'."_s,
        u"provide \"expression\" instead; the task takes name, value, type, varsetName, "
        u"description, unit, min, max, step, expression."_s);
    row("a query's argument that nothing reads", u"scene.list_items"_s, R"({"depth": 2})",
        u"execute corvane.scene.list_items: unknown argument 'depth'."_s,
        u"leave it out; the task takes no arguments."_s);
    row("a key of a tree that nothing reads", u"scene.build_tree"_s,
        R"({"tree": {"instances": {"a": {"definition": "box", "parms": {}}}}})",
        u"build tree: instance 'a' has an unknown key 'parms'. Did you mean \"params\"?"_s,
        u"fix the tree description and retry."_s);
    row("an expression without its sign", u"varset.set_variable"_s,
        R"({"name": "w", "value": "2*3", "type": "number"})",
        u"set variable: value '2*3' is no number, and an expression begins with \"=\"."_s,
        u"check parameters and try again."_s);
    row("add: unknown definition", u"item.add"_s,
        R"({"itemType": "sdf", "definitionId": "nothing"})",
        u"add item: definition 'nothing' not found."_s,
        u"check definitionId or run corvane.scene.list_definitions."_s);
    row("variable: unknown", u"varset.remove_variable"_s, R"({"name": "w"})",
        u"remove variable w: not found."_s, u"check name or run corvane.varset.list."_s);
    row("variable: unknown varset", u"varset.set_variable"_s,
        R"({"name": "w", "value": 1, "varsetName": "Sizes"})",
        u"set variable: varset 'Sizes' not found."_s,
        u"check varsetName or run corvane.varset.list."_s);
    const QString builtIn = builtInMaterial().toString(QUuid::WithoutBraces);
    row("material: built-in", u"material.remove"_s,
        qPrintable(uR"({"materialId": "%1"})"_s.arg(builtIn)),
        u"remove material %1: not found or built-in."_s.arg(builtIn),
        u"check materialId or run corvane.material.list."_s);
    row("search: no filter", u"scene.search_items"_s, "{}",
        u"search items: at least one of namePattern, type, or tag is required."_s,
        u"provide a search criterion."_s);
    row("item: nothing given", u"scene.get_item"_s, "{}",
        u"get item: itemId or name is required."_s, u"provide one of itemId or name."_s);
    row("batch: unknown", u"undo_batch"_s, R"({"batchId": "x"})",
        u"undo batch x: batch not found or already undone."_s,
        u"check batchId or run corvane.list_batches."_s);
    row("camera: no window", u"camera.reset"_s, "{}",
        u"reset camera: Corvane UI not available (no camera bridge registered)."_s,
        u"open Corvane first."_s);
    anyOf("a list as id", u"corvane.item.rename"_s, R"({"itemId": [1], "newName": {"a": 1}})");
    anyOf("two numbers as a colour", u"corvane.material.add"_s, R"({"albedo": [1, 0]})");
    anyOf("nothing to set", u"corvane.settings.set_bulk"_s, R"({"settings": {}})");
    anyOf("add: unknown type", u"corvane.item.add"_s, R"({"itemType": "lamp"})");
    anyOf("transform: a text as number", u"corvane.item.set_transform"_s,
          R"({"itemId": "abc", "tx": "wide"})");
    anyOf("bench: no results", u"mesh.bench.query"_s, R"({"dbPath": "/nowhere/b.db"})");
    anyOf("export: no scene", u"mesh.export"_s,
          R"({"scenePath": "/nowhere/a.corvane", "outputPath": "/x.stl"})");
    rowOf("bench: a parameter missing", u"mesh.bench.run"_s,
          mapOf(R"({"scenesDir": "a", "definitionsDir": "b"})"),
          u"mesh.bench.run needs 'dbPath'. State: unchanged."_s);
    rowOf("bench: unknown argument of a run", u"mesh.bench.run"_s, mapOf(R"({"sceneDir": "a"})"),
          u"Failed to queue bench set: unknown argument 'sceneDir'. State: unchanged. Suggestion: "
          u"provide \"scenesDir\" instead; the task takes scenesDir, definitionsDir, dbPath, "
          u"artifactsDir, testSetName, scenePaths, definitionPaths, exportTimeoutMs."_s);
    rowOf("bench: unknown argument of a query", u"mesh.bench.query"_s,
          mapOf(R"({"dbPath": "a.db", "scenes": "b"})"),
          u"Failed to query bench results: unknown argument 'scenes'. State: unchanged. "
          u"Suggestion: provide \"scene\" instead; the task takes dbPath, testSetId, scene, "
          u"definition."_s);
    rowOf("bench: unknown argument of a comparison", u"mesh.bench.compare"_s,
          mapOf(R"({"dbPath": "a.db", "left": "b"})"),
          u"Failed to compare bench definitions: unknown argument 'left'. State: unchanged. "
          u"Suggestion: leave it out; the task takes dbPath, definitionA, definitionB, testSetId, "
          u"scene."_s);
    rowOf("export: steps in a map", u"mesh.export"_s,
          mapOf(R"({"scenePath": "a", "outputPath": "/x.stl", "postprocess": {"weld": 1}})"),
          u"Failed to export mesh: \"postprocess\" must be a list of texts. State: unchanged. "
          u"Suggestion: check extractor, cellSize, backend and postprocess."_s);
    rowOf("export: over the scene", u"mesh.export"_s,
          mapOf(R"({"scenePath": "/etc/passwd", "outputPath": "/etc/../etc/passwd"})"),
          u"Failed to export mesh: /etc/../etc/passwd is the scene itself. State: unchanged. "
          u"Suggestion: choose another outputPath."_s);
    rowOf("export: to a device", u"mesh.export"_s,
          mapOf(R"({"scenePath": "a", "outputPath": "/dev/null"})"),
          u"Failed to export mesh: /dev/null is no regular file. State: unchanged. "
          u"Suggestion: choose another outputPath."_s);
}

void TstCorvaneTasks::failuresSayWhatRemains()
{
    QFETCH(QString, task);
    QFETCH(QVariantMap, arguments);
    QFETCH(QString, message);
    TaskFixture fixture;
    const QString before = fixture.document->stateFingerprint();
    const ZirnTaskResult result = fixture.call(task, arguments);
    QVERIFY(!result.success);
    if (!message.isEmpty())
        QCOMPARE(result.message, message);
    if (task != "mesh.bench.run"_L1)
        QVERIFY2(QRegularExpression(QLatin1String(validationText)).match(result.message).hasMatch(),
                 qPrintable(result.message));
    QCOMPARE(fixture.document->stateFingerprint(), before);
    QVERIFY(fixture.tree.instances().isEmpty());
}

void TstCorvaneTasks::axesThatAreNotGivenStay()
{
    TaskFixture fixture;
    const QString id = fixture.add(u"sphere"_s);
    const auto move = [&](const QVariantMap &axes) {
        QVariantMap arguments = axes;
        arguments.insert(u"itemId"_s, id);
        QVERIFY(fixture.call(u"corvane.item.set_transform"_s, arguments).success);
    };
    move({{u"tx"_s, 1}, {u"ty"_s, 2}, {u"sx"_s, 3}});
    move({{u"ty"_s, 5}, {u"rz"_s, 90}});
    QCOMPARE(fixture.item(id).value("translate"_L1).toArray(), (QJsonArray{1, 5, 0}));
    QCOMPARE(fixture.item(id).value("rotate"_L1).toArray(), (QJsonArray{0, 0, 90}));
    QCOMPARE(fixture.item(id).value("scale"_L1).toArray(), (QJsonArray{3, 1, 1}));
}

void TstCorvaneTasks::idsWorkForBothStores()
{
    TaskFixture fixture;
    const QString node = fixture.add(u"union"_s);
    const QString child =
        fixture.add(u"sphere"_s, {{u"parentId"_s, node},
                                  {u"typeData"_s, mapOf(R"({"parameters": {"radius": 4}})")}});
    const QString group = fixture.call(u"corvane.item.add"_s, {{u"itemType"_s, u"group"_s}})
                              .outputs.value(u"itemId"_s);
    QCOMPARE(fixture.item(child).value("parameters"_L1).toObject().value("radius"_L1).toInt(), 4);
    for (const QString &id : {node, child, group}) {
        const ZirnTaskResult renamed = fixture.call(
            u"corvane.item.rename"_s, {{u"itemId"_s, id}, {u"newName"_s, u"N"_s + id.left(4)}});
        QCOMPARE(renamed.message, u"Renamed item %1 to 'N%2'"_s.arg(id, id.left(4)));
        QCOMPARE(fixture.item(id).value("name"_L1).toString(), u"N"_s + id.left(4));
    }
    QCOMPARE(fixture.call(u"corvane.scene.list_items"_s).outputs.value(u"count"_s), u"3"_s);
    const auto children = fixture.call(u"corvane.scene.get_children"_s, {{u"parentId"_s, node}});
    QVERIFY(children.outputs.value(u"children"_s).contains(child));
    QVERIFY(fixture
                .call(u"corvane.item.set_parent"_s,
                      {{u"itemId"_s, child}, {u"newParentId"_s, QString()}})
                .success);
    QCOMPARE(fixture.call(u"corvane.scene.get_children"_s).outputs.value(u"count"_s), u"3"_s);
}

/// Items by hand: what a task says it did shows in the expression.
void TstCorvaneTasks::itemsOfTheFieldFollow()
{
    TaskFixture fixture;
    model::Corvane &document = *fixture.document;
    model::LogicalSceneCompiler compiler;
    compiler.setSource(&fixture.tree);
    compiler.setTarget(&document);
    const QUuid ball = document.addItem(model::Instance(u"sphere"_s));
    model::Instance united(u"union"_s);
    united.setParameter(u"children"_s, QVariantList{u'@' + ball.toString()});
    const QUuid top = document.addItem(united);
    document.setRoots({top});
    QVERIFY(model::itemsToNodes(document, fixture.tree).isEmpty());
    const QString ballText = ball.toString(QUuid::WithoutBraces);
    const QString topText = top.toString(QUuid::WithoutBraces);

    // Around it and in its place, and seen by nobody.
    const auto moved = fixture.call(u"corvane.item.set_transform"_s,
                                    {{u"itemId"_s, ballText}, {u"tx"_s, 3}, {u"sx"_s, 2}});
    QVERIFY2(moved.success, qPrintable(moved.message));
    const model::Instance wrapper = document.instance(document.childInstanceIds(top).value(0));
    QCOMPARE(wrapper.definitionId(), u"translate"_s);
    QCOMPARE(wrapper.parameter(u"offset"_s).value<QVector3D>(), QVector3D(3, 0, 0));
    QCOMPARE(document.instance(document.childInstanceIds(wrapper.id).value(0)).definitionId(),
             u"scale"_s);
    QCOMPARE(fixture.item(ballText)[u"translate"_s], (QJsonArray{3, 0, 0}));
    QCOMPARE(fixture.item(ballText)[u"parentId"_s], topText);
    QCOMPARE(fixture.item(topText)[u"children"_s], QJsonArray{ballText});

    const QString below = fixture.add(u"box"_s, {{u"parentId"_s, topText}});
    QCOMPARE(document.childInstanceIds(top), (QList<QUuid>{wrapper.id, QUuid(below)}));
    const auto toTop = fixture.call(u"corvane.item.set_parent"_s,
                                    {{u"itemId"_s, ballText}, {u"newParentId"_s, QString()}});
    QVERIFY2(toTop.success, qPrintable(toTop.message));
    QCOMPARE(document.childInstanceIds(top), QList<QUuid>{QUuid(below)});
    QCOMPARE(document.roots(), (QList<QUuid>{top, wrapper.id}));

    const auto copied = fixture.call(u"corvane.item.duplicate"_s, {{u"sourceId"_s, ballText}});
    QCOMPARE(fixture.item(copied.outputs.value(u"newItemId"_s))[u"translate"_s],
             (QJsonArray{3, 0, 0}));
    QCOMPARE(document.roots().size(), 3);

    QVERIFY(fixture.call(u"corvane.item.remove"_s, {{u"itemId"_s, ballText}}).success);
    QVERIFY(!document.hasItem(wrapper.id));
    for (int step = 0; step < 5; ++step)
        fixture.executor.undoStack()->undo();
    QCOMPARE(document.items().size(), 2);
    QCOMPARE(document.childInstanceIds(top), QList<QUuid>{ball});

    // With other nodes they can be put together, under the ids that they have.
    const QString tool = fixture.add(u"subtract"_s);
    QVERIFY(
        fixture
            .call(u"corvane.item.set_parent"_s, {{u"itemId"_s, topText}, {u"newParentId"_s, tool}})
            .success);
    QCOMPARE(fixture.tree.children(QUuid(tool)), QList<QUuid>{top});
    QCOMPARE(fixture.tree.children(top), QList<QUuid>{ball});
    QCOMPARE(document.roots().size(), 1);
}

void TstCorvaneTasks::variablesKeepWhatIsNotGiven()
{
    TaskFixture fixture;
    const QString task = u"corvane.varset.set_variable"_s;
    QVERIFY(
        fixture.call(task, mapOf(R"({"name": "w", "value": 4, "unit": "mm", "min": 1})")).success);
    QVERIFY(fixture.call(task, mapOf(R"({"name": "w", "value": "=2*3", "max": 9})")).success);
    model::VarsetEntry entry = fixture.document->variableEntry(u"w"_s);
    QCOMPARE(entry.expression, u"2*3"_s);
    QCOMPARE(entry.unit, u"mm"_s);
    QCOMPARE(entry.constraints.min.toDouble(), 1.0);
    QCOMPARE(entry.constraints.max.toDouble(), 9.0);
    QVERIFY(fixture.call(task, mapOf(R"({"name": "w", "value": 5})")).success);
    entry = fixture.document->variableEntry(u"w"_s);
    QVERIFY(entry.expression.isEmpty());
    QCOMPARE(entry.value.toDouble(), 5.0);
    // As the list of varsets has it.
    QVERIFY(
        fixture.call(task, mapOf(R"({"name": "w", "value": 6, "varsetName": "Default"})")).success);
    QCOMPARE(fixture.document->variableEntry(u"w"_s).value.toDouble(), 6.0);
}

void TstCorvaneTasks::variablesAreDerived_data()
{
    QTest::addColumn<QByteArray>("arguments");
    QTest::addColumn<double>("value");
    QTest::newRow("in the value") << QByteArray(R"("value": "=2*w")") << 0.0;
    QTest::newRow("by itself") << QByteArray(R"("expression": "2*w")") << 0.0;
    QTest::newRow("by itself, with its sign") << QByteArray(R"("expression": "=2*w")") << 0.0;
    QTest::newRow("beside a value") << QByteArray(R"("expression": "2*w", "value": 5)") << 5.0;
    QTest::newRow("as scene files have it")
        << QByteArray(R"("value": {"expr": "2*w", "fallback": 7})") << 7.0;
}

void TstCorvaneTasks::variablesAreDerived()
{
    QFETCH(const QByteArray, arguments);
    QFETCH(const double, value);
    TaskFixture fixture;
    const QByteArray json = R"({"name": "d", )" + arguments + '}';
    const ZirnTaskResult result =
        fixture.call(u"corvane.varset.set_variable"_s, mapOf(json.constData()));
    QVERIFY2(result.success, qPrintable(result.message));
    QCOMPARE(result.outputs.value(u"error_count"_s), u"1"_s); // there is no w yet
    QCOMPARE(fixture.document->variableEntry(u"d"_s).expression, u"2*w"_s);
    QCOMPARE(fixture.document->variableEntry(u"d"_s).value.toDouble(), value);
}

/// Axis by axis and as a whole; the item of the document that is drawn follows the variable.
void TstCorvaneTasks::expressionsPlaceItems_data()
{
    QTest::addColumn<bool>("isNode");
    QTest::newRow("a node") << true;
    QTest::newRow("an item by hand") << false;
}

void TstCorvaneTasks::expressionsPlaceItems()
{
    QFETCH(const bool, isNode);
    TaskFixture fixture;
    model::LogicalSceneCompiler compiler;
    compiler.setSource(&fixture.tree);
    compiler.setTarget(fixture.document.data());
    model::VarsetEntry width;
    width.value = 4.0;
    fixture.document->setVariableEntry(u"w"_s, width);
    const QUuid ball = isNode ? QUuid() : fixture.document->addItem(model::Instance(u"sphere"_s));
    QVERIFY(model::itemsToNodes(*fixture.document, fixture.tree).isEmpty());
    const QString id = isNode ? fixture.add(u"sphere"_s) : ball.toString(QUuid::WithoutBraces);
    expr::ExpressionManager expressions(fixture.document.data());
    const auto move = [&](const QVariantMap &axes) {
        QVariantMap arguments = axes;
        arguments.insert(u"itemId"_s, id);
        const auto result = fixture.call(u"corvane.item.set_transform"_s, arguments);
        expressions.evaluateAll();
        return result;
    };
    const auto wrapped = [&](const QString &definitionId, const QString &param) {
        const auto items = fixture.document->itemsOfType(model::ItemTypes::Sdf);
        for (const model::SceneItem &item : items) {
            if (model::Instance(item).definitionId() == definitionId)
                return model::Instance(item).parameterValue(param);
        }
        return model::ParameterValue();
    };
    QVERIFY(move({{u"ty"_s, 3}}).success);
    const QVariantMap before = fixture.document->toVariantMap();
    QVERIFY(move({{u"tx"_s, u"=w/2.0"_s}, {u"rz"_s, u"=w*10.0"_s}, {u"sx"_s, u"=w"_s}}).success);
    QCOMPARE(wrapped(u"translate"_s, u"offset"_s).expression, u"vec3(w/2.0, 3.0, 0.0)"_s);
    QCOMPARE(wrapped(u"translate"_s, u"offset"_s).fallback.value<QVector3D>(), QVector3D(2, 3, 0));
    QCOMPARE(wrapped(u"rotate"_s, u"angles"_s).fallback.value<QVector3D>(), QVector3D(0, 0, 40));
    QCOMPARE(wrapped(u"scale"_s, u"factor"_s).fallback.toDouble(), 4.0);
    width.value = 6.0;
    fixture.document->setVariableEntry(u"w"_s, width);
    QCOMPARE(wrapped(u"translate"_s, u"offset"_s).fallback.value<QVector3D>(), QVector3D(3, 3, 0));
    QVERIFY(move({{u"tz"_s, 5}, {u"sx"_s, 2}}).success);
    QCOMPARE(wrapped(u"translate"_s, u"offset"_s).expression, u"vec3(w/2.0, 3.0, 5.0)"_s);
    QCOMPARE(wrapped(u"scale"_s, u"factor"_s).literal.toDouble(), 2.0);
    QVERIFY(move({{u"tx"_s, 1}}).success);
    QCOMPARE(wrapped(u"translate"_s, u"offset"_s).literal.value<QVector3D>(), QVector3D(1, 3, 5));
    QVERIFY(!move({{u"sy"_s, u"=w"_s}}).success);
    for (int step = 0; step < 3; ++step)
        fixture.executor.undoStack()->undo();
    width.value = 4.0;
    fixture.document->setVariableEntry(u"w"_s, width);
    QCOMPARE(fixture.document->toVariantMap(), before);
}

void TstCorvaneTasks::wrappersTakeExpressions()
{
    TaskFixture fixture;
    const QString id = fixture.add(u"sphere"_s);
    const auto result =
        fixture.call(u"corvane.sdf.set_parameter"_s, {{u"itemId"_s, id},
                                                      {u"paramName"_s, u"translate.offset"_s},
                                                      {u"value"_s, u"=vec3(w, 0.0, 0.0)"_s}});
    QVERIFY2(result.success, qPrintable(result.message));
    QCOMPARE(result.outputs.value(u"error_count"_s), u"1"_s); // there is no w
    const model::LogicalInstance node = *fixture.tree.instance(QUuid::fromString(id));
    QCOMPARE(model::NodeCompilation::connectedExpression(node, u"translate"_s),
             u"vec3(w, 0.0, 0.0)"_s);
    const auto again = model::LogicalInstance::fromVariantMap(node.toVariantMap());
    QCOMPARE(model::NodeCompilation::connectedExpression(again, u"translate"_s),
             u"vec3(w, 0.0, 0.0)"_s);
    QVERIFY(
        !fixture
             .call(u"corvane.sdf.set_parameter"_s,
                   {{u"itemId"_s, id}, {u"paramName"_s, u"translate.offset"_s}, {u"value"_s, 3}})
             .success);
}

void TstCorvaneTasks::parametersAreThoseOfTheDefinition()
{
    TaskFixture fixture;
    const QString id = fixture.add(u"sphere"_s);
    const auto set = [&](const QString &name, const QVariant &value) {
        return fixture.call(u"corvane.sdf.set_parameter"_s,
                            {{u"itemId"_s, id}, {u"paramName"_s, name}, {u"value"_s, value}});
    };
    QCOMPARE(set(u"radius"_s, u"big"_s).message,
             u"Failed to set parameter: radius must be a number, not 'big'. State: unchanged. "
             u"Suggestion: check parameters and try again."_s);
    const auto flawOf = [&](const QString &definition, const QString &name, const QVariant &value) {
        return fixture
            .call(u"corvane.sdf.set_parameter"_s, {{u"itemId"_s, fixture.add(definition)},
                                                   {u"paramName"_s, name},
                                                   {u"value"_s, value}})
            .message.section(u". "_s, 0, 0);
    };
    QCOMPARE(flawOf(u"plane"_s, u"normal"_s, QVariantList{0, 1, 0, 0}),
             u"Failed to set parameter: normal must be a list of 3 numbers, not '[0,1,0,0]'"_s);
    QCOMPARE(flawOf(u"box"_s, u"depth"_s, u"big"_s), // not the first of its parameters
             u"Failed to set parameter: depth must be a number, not 'big'"_s);
    QVERIFY(set(u"radius"_s, u"=time"_s).success);
    const auto radius = [&]() -> QJsonValue {
        return fixture.item(id)[u"parameters"_s].toObject()[u"radius"_s];
    };
    QCOMPARE(radius().toObject()[u"expr"_s].toString(), u"time"_s);
    QVERIFY(set(u"radius"_s, u"2.5"_s).success); // a text is read as what it holds
    QCOMPARE(radius().toDouble(), 2.5);
    QVERIFY(fixture
                .call(u"corvane.item.set_material"_s,
                      {{u"itemId"_s, id}, {u"albedo"_s, u"[1, 0, 0]"_s}})
                .success);
    QCOMPARE(
        set(u"size"_s, 2).message,
        u"Set size = 2 on item %1 NOTE: sphere has no parameter 'size'; it has radius."_s.arg(id));
}

void TstCorvaneTasks::groupThatMovesNothingSaysSo()
{
    TaskFixture fixture;
    const auto addItem = [&](const QString &itemType) {
        return fixture.call(u"corvane.item.add"_s, {{u"itemType"_s, itemType}})
            .outputs.value(u"itemId"_s);
    };
    const QString group = addItem(u"group"_s);
    const auto moved = [&] {
        return fixture.call(u"corvane.item.set_transform"_s, {{u"itemId"_s, group}, {u"tx"_s, 1}});
    };
    QCOMPARE(moved().message,
             u"Updated transform on item %1 NOTE: without an sdf_domain in the scene a group does "
             "not move the shapes in it."_s.arg(group));
    addItem(u"sdf_domain"_s);
    QCOMPARE(moved().message, u"Updated transform on item %1"_s.arg(group));
}

void TstCorvaneTasks::theCameraFollows()
{
    TaskFixture fixture;
    Bridge bridge;
    auto &locator = ops::CorvaneServiceLocator::instance();
    locator.setCameraBridge(&bridge);
    QCOMPARE(fixture.call(u"corvane.camera.reset"_s).message, u"Camera reset to default view"_s);
    QCOMPARE(fixture.call(u"corvane.camera.fit_content"_s).message,
             u"Camera reframed to fit scene content"_s);
    QCOMPARE(fixture.call(u"corvane.camera.fit_selection"_s).message,
             u"Camera reframed to fit selection"_s);
    fixture.call(u"corvane.scene.build_tree"_s,
                 {{u"tree"_s, mapOf(R"({"instances": {"a": {"definition": "sphere"}}})")}});
    QCOMPARE(bridge.calls, (QStringList{u"reset"_s, u"content"_s, u"selection"_s, u"content"_s}));
    QObject noBridge;
    locator.setCameraBridge(&noBridge);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"No such method"_s));
    QCOMPARE(fixture.call(u"corvane.camera.reset"_s).message,
             u"Failed to reset camera: bridge invocation failed. State: unchanged."_s);
}

QTEST_MAIN(TstCorvaneTasks)
#include "tst_CorvaneTasks.moc"
