#include "OpFixture.h"

#include <corvane/ops/CorvaneOpDescriber.h>
#include <corvane/ops/CorvaneServiceLocator.h>
#include <corvane/ops/OpCatalogue.h>

#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane;
namespace OpKind = ops::OpKind;

namespace {

void expectWarning(const QString &pattern)
{
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(pattern));
}

QVariantMap moveTo(const QUuid &id, double x)
{
    return {{u"itemId"_s, id}, {u"translate"_s, QVariantList{x, 0, 0}}};
}

} // namespace

class TstCorvaneOpExecutor : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void refusedOpSaysWhyAndChangesNothing_data();
    void refusedOpSaysWhyAndChangesNothing();
    void stepsHaveTheirTexts_data();
    void stepsHaveTheirTexts();
    void describesBeforehand_data();
    void describesBeforehand();
    void everyRowIsComplete();
    void dragIsOneStep_data();
    void dragIsOneStep();
    void batchIsOneStepWithAMarker();
    void batchIsCompiledOnceWhenUndoneAndRedone();
    void batchThatWasOverwrittenIsGone();
    void opThatChangesNothingLeavesNoStep();
    void locatorForgetsWhatIsGone();
};

void TstCorvaneOpExecutor::refusedOpSaysWhyAndChangesNothing_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<QString>("warning");
    const auto row = [](const char *name, QLatin1StringView kind, const QVariantMap &args,
                        const char *warning) {
        QTest::newRow(name) << QString(kind) << args << QString::fromUtf8(warning);
    };
    const QVariantMap nobody{{u"itemId"_s, QUuid::createUuid()}};
    const auto with = [](QVariantMap map, const QString &key, const QVariant &value) {
        map.insert(key, value);
        return map;
    };
    QTest::newRow("unknown kind") << u"item.paint"_s << QVariantMap()
                                  << u"CorvaneOpExecutor::apply: unknown op kind: item.paint"_s;
    row("add nothing", OpKind::ItemAdd, {}, "item.add: missing itemType");
    row("add sdf", OpKind::ItemAdd, {{u"itemType"_s, u"sdf"_s}},
        "item.add\\(sdf\\): missing definitionId");
    row("add unknown", OpKind::ItemAdd,
        {{u"itemType"_s, u"sdf"_s}, {u"definitionId"_s, u"teapot"_s}},
        "item.add\\(sdf\\): unknown definition: teapot");
    row("add to nowhere", OpKind::ItemAdd,
        {{u"itemType"_s, u"mesh"_s}, {u"parentId"_s, QUuid::createUuid()}},
        "item.add: parent not found: ");
    row("remove nothing", OpKind::ItemRemove, {}, "item.remove: missing itemId");
    row("remove nobody", OpKind::ItemRemove, nobody, "item.remove: item not found: ");
    row("move nothing", OpKind::ItemSetParent, {}, "item.set_parent: missing itemId");
    row("parameter", OpKind::SdfSetParameter, nobody,
        "sdf.set_parameter: missing itemId or paramName");
    row("modifier", OpKind::SdfSetModifier,
        with(with(nobody, u"modifier"_s, u"colour"_s), u"value"_s, 1),
        "sdf.set_modifier: unknown modifier: colour");
    row("modifier of NaN", OpKind::SdfSetModifier,
        with(with(nobody, u"modifier"_s, u"densityScale"_s), u"value"_s, qQNaN()),
        "sdf.set_modifier: value is no finite number");
    row("variable", OpKind::VarsetSetVariable, {}, "varset.set_variable: missing name");
    row("known varset", OpKind::VarsetAddNamed, {{u"varsetName"_s, u"size"_s}},
        "varset.add_named: already exists: size");
    row("rename onto another", OpKind::VarsetRenameVar,
        {{u"oldName"_s, u"a"_s}, {u"newName"_s, u"b"_s}},
        "varset.rename_variable: already exists: b");
    row("setting", OpKind::SettingsSet, {{u"value"_s, 1}}, "settings.set: missing path");
    row("settings", OpKind::SettingsSetBulk, {{u"settings"_s, QVariantMap()}},
        "settings.set_bulk: empty settings map");
    row("definition", OpKind::DefinitionAdd, {}, "definition.add: missing definition data");
    row("definition without code", OpKind::DefinitionAdd,
        {{u"definition"_s, QVariantMap{{u"id"_s, u"ball"_s}}}},
        "definition.add: failed to parse definition");
    row("known definition", OpKind::DefinitionAdd,
        {{u"definition"_s,
          QVariantMap{{u"id"_s, u"box"_s},
                      {u"name"_s, u"Box"_s},
                      {u"shaderCode"_s, u"float sdf_box(vec3 p) { return p.x; }"_s}}}},
        "definition.add: already exists: box");
    row("nest nobody", OpKind::ComponentNest, nobody, "component.nest: branch root not found: ");
    row("nest one", OpKind::ComponentNestMulti, {{u"itemIds"_s, QVariantList{QUuid()}}},
        "component.nest_multi: need >= 2 valid items, got 0");
    row("commit without a session", OpKind::ComponentEditCommit,
        {{u"definitionId"_s, u"x"_s}, {u"branchRootId"_s, QUuid::createUuid()}},
        "component.edit_commit: session state missing");
}

void TstCorvaneOpExecutor::refusedOpSaysWhyAndChangesNothing()
{
    QFETCH(const QString, kind);
    QFETCH(const QVariantMap, args);
    QFETCH(const QString, warning);
    OpFixture fixture;
    fixture.addNode(u"box"_s);
    for (const auto &name : {u"a"_s, u"b"_s})
        fixture.apply(OpKind::VarsetSetVariable, {{u"name"_s, name}, {u"value"_s, 1}});
    fixture.apply(OpKind::VarsetAddNamed, {{u"varsetName"_s, u"size"_s}});
    const QByteArray before = fixture.state();
    const int index = fixture.stack().index();
    expectWarning(u"^"_s + warning);
    QVERIFY(!fixture.executor.apply({kind, args}));
    QCOMPARE(fixture.state(), before);
    QCOMPARE(fixture.stack().index(), index);
}

void TstCorvaneOpExecutor::stepsHaveTheirTexts_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<QString>("text");
    const auto row = [](QLatin1StringView kind, const QVariantMap &args, const QString &text) {
        QTest::newRow(kind.data()) << QString(kind) << args << text;
    };
    row(OpKind::ItemAdd, {{u"itemType"_s, u"sdf"_s}, {u"definitionId"_s, u"box"_s}}, u"Add Box"_s);
    row(OpKind::ItemRename, {{u"newName"_s, u"%2 Lid"_s}}, u"Rename to \"%2 Lid\""_s);
    row(OpKind::ItemRemove, {}, u"Remove Box 1"_s);
    row(OpKind::SdfSetParameter, {{u"paramName"_s, u"width"_s}, {u"value"_s, 3}}, u"Set width"_s);
    row(OpKind::SdfSetDefinition, {{u"definitionId"_s, u"sphere"_s}},
        u"Change Definition to sphere"_s);
    row(OpKind::VarsetRenameVar, {{u"oldName"_s, u"a"_s}, {u"newName"_s, u"z"_s}},
        u"Rename \"a\" → \"z\""_s);
    row(OpKind::VarsetMoveEntry, {{u"entryName"_s, u"w"_s}, {u"srcVarset"_s, u"size"_s}},
        u"Move \"w\" to Default"_s);
    row(OpKind::ComponentNest, {{u"name"_s, u"Door"_s}}, u"Nest \"Door\""_s);
    row(OpKind::ComponentExplode, {{u"definitionId"_s, u"twice"_s}},
        u"Explode component (2 instances)"_s);
    row(OpKind::SettingsSet, {{u"path"_s, u"export.cellSize"_s}, {u"value"_s, 1}},
        u"Set export.cellSize"_s);
}

void TstCorvaneOpExecutor::stepsHaveTheirTexts()
{
    QFETCH(const QString, kind);
    QFETCH(QVariantMap, args);
    OpFixture fixture;
    args.insert(u"itemId"_s, fixture.addNode(u"box"_s));
    fixture.apply(OpKind::ComponentNest,
                  {{u"itemId"_s, fixture.addNode(u"sphere"_s)}, {u"definitionId"_s, u"twice"_s}});
    fixture.addNode(u"twice"_s);
    fixture.apply(OpKind::VarsetSetVariable, {{u"name"_s, u"a"_s}, {u"value"_s, 1}});
    fixture.apply(OpKind::VarsetAddNamed, {{u"varsetName"_s, u"size"_s}});
    fixture.apply(OpKind::VarsetSetVariable, {{u"name"_s, u"size.w"_s}, {u"value"_s, 1}});
    QVERIFY(fixture.executor.apply({kind, args}));
    QTEST(fixture.stack().undoText(), "text");
}

void TstCorvaneOpExecutor::describesBeforehand_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QVariantMap>("args");
    QTest::addColumn<QString>("line");
    const auto row = [](const QString &kind, const QVariantMap &args, const QString &line) {
        QTest::newRow(qPrintable(line)) << kind << args << line;
    };
    row(OpKind::ItemAdd, {{u"itemType"_s, u"mesh"_s}, {u"name"_s, u"Lid"_s}},
        u"Add mesh \"Lid\""_s);
    row(OpKind::ItemRemove, {}, u"Remove item"_s);
    row(OpKind::ComponentNest, {}, u"Nest into component"_s);
    row(OpKind::ComponentNest, {{u"name"_s, u"Door"_s}}, u"Nest \"Door\""_s);
    row(OpKind::ComponentUnnest, {}, u"Unnest component"_s);
    row(OpKind::VarsetMoveEntry, {{u"entryName"_s, u"w"_s}}, u"Move \"w\" to Default"_s);
    row(u"item.paint"_s, {}, u"item.paint"_s);
}

void TstCorvaneOpExecutor::describesBeforehand()
{
    QFETCH(const QString, kind);
    QFETCH(const QVariantMap, args);
    QTEST(ops::CorvaneOpDescriber::describe({kind, args}), "line");
}

void TstCorvaneOpExecutor::everyRowIsComplete()
{
    QSet<QString> kinds;
    for (const ops::OpEntry &entry : ops::opCatalogue()) {
        const QString kind = entry.kind;
        QVERIFY2(!kinds.contains(kind), qPrintable(kind));
        kinds.insert(kind);
        QCOMPARE(ops::findOp(kind), &entry);
        QVERIFY2(!ops::CorvaneOpDescriber::describe({kind, {}}).isEmpty(), qPrintable(kind));
        // Whatever is required is asked for in words that name it.
        for (const ops::ArgKey &key : entry.arguments())
            QVERIFY2(!key.isRequired || !ops::checkArguments(entry, {}).isEmpty(),
                     qPrintable(kind));
    }
    QCOMPARE(kinds.size(), 38);
}

void TstCorvaneOpExecutor::dragIsOneStep_data()
{
    QTest::addColumn<int>("moves");
    QTest::addColumn<int>("things");
    QTest::addColumn<int>("steps");
    QTest::newRow("a hundred moves") << 100 << 1 << 1;
    QTest::newRow("of three things at once") << 100 << 3 << 1;
    QTest::newRow("no move at all") << 0 << 1 << 0;
}

void TstCorvaneOpExecutor::dragIsOneStep()
{
    QFETCH(const int, moves);
    QFETCH(const int, things);
    QFETCH(const int, steps);
    OpFixture fixture;
    QList<QUuid> nodes;
    for (int i = 0; i < things; ++i)
        nodes.append(fixture.addNode(u"box"_s));
    const int index = fixture.stack().index();
    const QByteArray before = fixture.state();
    fixture.executor.beginCoalescing(u"Drag Box 1"_s);
    for (int move = 1; move <= moves; ++move) {
        for (const QUuid &node : nodes) {
            fixture.apply(OpKind::ItemSetTransform, moveTo(node, move));
            QCOMPARE(fixture.tree.instance(node)->translate.x(), float(move));
        }
    }
    QCOMPARE(fixture.stack().index(), index);
    fixture.executor.endCoalescing();
    QCOMPARE(fixture.stack().index(), index + steps);
    if (steps == 0)
        return;
    QCOMPARE(fixture.stack().undoText(), u"Drag Box 1"_s);
    const QByteArray after = fixture.state();
    fixture.stack().undo();
    QCOMPARE(fixture.state(), before);
    fixture.stack().redo();
    QCOMPARE(fixture.state(), after);
}

void TstCorvaneOpExecutor::batchIsOneStepWithAMarker()
{
    OpFixture fixture;
    const QByteArray before = fixture.state();
    const QString id = fixture.executor.beginBatch(u"Build SDF Tree"_s);
    const QUuid top = fixture.addNode(u"union"_s);
    QCOMPARE(fixture.executor.beginBatch(u"inner"_s), id);
    fixture.addNode(u"box"_s, top);
    QVERIFY(fixture.executor.endBatch());
    QVERIFY(fixture.executor.endBatch());
    QVERIFY(!fixture.executor.endBatch());
    QCOMPARE(fixture.stack().count(), 1);
    QCOMPARE(fixture.stack().undoText(), u"Build SDF Tree"_s);
    const ops::BatchMarker marker{
        .batchId = id, .label = u"Build SDF Tree"_s, .startIndex = 0, .endIndex = 1};
    QCOMPARE(fixture.executor.batches(), QList<ops::BatchMarker>{marker});
    QVERIFY(fixture.executor.undoBatch(id));
    QCOMPARE(fixture.state(), before);
    QVERIFY(!fixture.executor.undoBatch(id));
    QVERIFY(!fixture.executor.undoBatch(u"another"_s));
}

void TstCorvaneOpExecutor::batchIsCompiledOnceWhenUndoneAndRedone()
{
    OpFixture fixture;
    const EditorFollowers followers(fixture);
    const QUuid top = fixture.addNode(u"union"_s);
    const QString id = fixture.executor.beginBatch(u"Build SDF Tree"_s);
    for (int i = 0; i < 5; ++i)
        fixture.addNode(u"box"_s, top);
    fixture.executor.endBatch();
    const QByteArray after = fixture.state();
    QSignalSpy compiled(&followers.compiler, &model::LogicalSceneCompiler::compiled);
    QVERIFY(fixture.executor.undoBatch(id));
    QCOMPARE(compiled.size(), 1);
    QCOMPARE(followers.compiler.mappings().size(), 1);
    fixture.stack().redo();
    QCOMPARE(compiled.size(), 2);
    QCOMPARE(fixture.state(), after);
    // The step below it as well: to any place on the stack at once.
    fixture.stack().setIndex(0);
    QCOMPARE(compiled.size(), 3);
    QVERIFY(followers.compiler.mappings().isEmpty());
}

void TstCorvaneOpExecutor::batchThatWasOverwrittenIsGone()
{
    OpFixture fixture;
    const QString id = fixture.executor.beginBatch(u"Import"_s);
    fixture.addNode(u"box"_s);
    fixture.executor.endBatch();
    fixture.stack().undo();
    const QUuid kept = fixture.addNode(u"sphere"_s);
    QVERIFY(!fixture.executor.undoBatch(id));
    QVERIFY(fixture.tree.contains(kept));
}

void TstCorvaneOpExecutor::opThatChangesNothingLeavesNoStep()
{
    OpFixture fixture;
    const QUuid node = fixture.addNode(u"box"_s);
    QVERIFY(fixture.apply(OpKind::ItemSetTransform, moveTo(node, 0)));
    QVERIFY(fixture.apply(OpKind::ItemRename, {{u"itemId"_s, node}, {u"newName"_s, u"Box 1"_s}}));
    QCOMPARE(fixture.stack().count(), 1);
}

void TstCorvaneOpExecutor::locatorForgetsWhatIsGone()
{
    auto &locator = ops::CorvaneServiceLocator::instance();
    {
        OpFixture fixture;
        locator.setExecutor(&fixture.executor);
        locator.setScene(fixture.document);
        QCOMPARE(locator.executor(), &fixture.executor);
    }
    QVERIFY(!locator.executor());
    QVERIFY(locator.scene());
    locator.clear();
    QVERIFY(!locator.scene());
}

QTEST_GUILESS_MAIN(TstCorvaneOpExecutor)
#include "tst_CorvaneOpExecutor.moc"
