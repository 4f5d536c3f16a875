#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/MaterialLibrary.h>
#include <corvane/registry/Registry.h>

#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::model;
using component::ComponentDefinition;
using component::ComponentPromotion;

namespace {

/// A scene, its document, and the compiler between them.
struct Bench
{
    Bench()
    {
        compiler.setSource(&scene);
        compiler.setTarget(&document);
    }

    Instance core(const QUuid &id) const
    {
        return document.instance(compiler.mappings().value(id).coreId);
    }
    Instance outer(const QUuid &id) const
    {
        return document.instance(compiler.mappings().value(id).outerId);
    }
    Instance wrapper(const QUuid &id, const QString &wrapperId) const
    {
        return document.instance(compiler.mappings().value(id).wrapperIds.value(wrapperId));
    }
    /// The nodes whose outer items a core refers to.
    QList<QUuid> children(const QUuid &id) const
    {
        return nodesOf(document.childInstanceIds(core(id).id));
    }
    QList<QUuid> roots() const { return nodesOf(document.roots()); }
    QList<QUuid> nodesOf(const QList<QUuid> &items) const
    {
        QList<QUuid> nodes;
        for (const QUuid &item : items)
            nodes.append(document.instance(item).provenance().sourceItemId);
        return nodes;
    }
    double number(const QUuid &id, const QString &param) const
    {
        return core(id).parameter(param).toDouble();
    }
    /// Evaluates all expressions after each compile, as an editor does.
    void follow(expr::ExpressionManager &expressions) const
    {
        QObject::connect(&compiler, &LogicalSceneCompiler::compiled, &expressions,
                         &expr::ExpressionManager::evaluateAll);
    }
    /// The synthetic node that a node of the definition is in an instance.
    static QUuid inside(const QUuid &instanceId, const QUuid &nodeId)
    {
        return QUuid::createUuidV5(instanceId, nodeId.toString(QUuid::WithoutBraces));
    }

    LogicalScene scene;
    Corvane document;
    LogicalSceneCompiler compiler;
};

/// An onion around a box, or around an instance of another component.
struct Part
{
    explicit Part(const QString &id, const QString &innerComponent = {}, int copies = 1)
    {
        root.definitionId = u"union"_s;
        root.wrappers = {{u"translate"_s, {}}};
        QVariantList nodes;
        for (int i = 0; i < copies; ++i) {
            LogicalInstance node;
            node.componentDefId = innerComponent;
            if (innerComponent.isEmpty())
                node.definitionId = u"box"_s;
            node.params = {{innerComponent.isEmpty() ? u"width"_s : u"size"_s, 3.0}};
            root.children.append(node.id);
            inner = node;
            nodes.append(node.toVariantMap());
        }
        nodes.append(root.toVariantMap());
        definition.id = id;
        definition.structure = {{u"root"_s, root.id.toString()}, {u"instances"_s, nodes}};
        definition.promotions = {{.alias = u"size"_s,
                                  .displayName = {},
                                  .targetNode = inner.id,
                                  .targetParam = innerComponent.isEmpty() ? u"width"_s : u"size"_s,
                                  .binding = ComponentPromotion::Passthrough,
                                  .expression = {}}};
    }

    LogicalInstance root;
    LogicalInstance inner;
    ComponentDefinition definition;
};

} // namespace

class TstLogicalSceneCompiler : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void aNodeBecomesAChain();
    void wrapperParametersAndConnectedTransform();
    void groupsAreSplicedIntoTheirParents();
    void hiddenBranchesLeaveGaps();
    void soloCompilesOneBranch();
    void recompilingChangesNothing();
    void itemsOfOtherSortsStay();
    void sharedDigitsDoNotMixNodesUp();
    void edits_data();
    void edits();
    void keptItemsAreWhatWouldBeMade_data();
    void keptItemsAreWhatWouldBeMade();
    void aBatchIsCompiledOnce_data();
    void aBatchIsCompiledOnce();
    void aParameterThatIsRemovedIsGone();
    void expressionsKeepTheirValues();
    void selectionFollows();
    void nodesTakeTheLibrarysMaterial();
    void componentsExpand();
    void aComponentOfAGroupIsOneOperand();
    void nestedComponentsPassValuesOn();
    void editingADefinitionChangesAllInstances();
    void promotions_data();
    void promotions();
    void promotedExpressionsFollowVariables();
    void degenerateComponents_data();
    void degenerateComponents();
    void contradictoryStructuresBecomeTrees();
    void deepTreesCompile();
    void renamedVariablesAreFollowed();
    void theTraceTellsWhereItemsComeFrom();
};

void TstLogicalSceneCompiler::aNodeBecomesAChain()
{
    Bench bench;
    const QUuid id = bench.scene.addInstance(u"box"_s);
    bench.scene.setInstanceParameter(id, u"width"_s, 2.5);
    const CompiledInstanceMapping mapping = bench.compiler.mappings().value(id);
    QCOMPARE(bench.document.items().size(), 4);
    QCOMPARE(bench.document.roots(), QList<QUuid>{mapping.outerId});

    // From the outside in: translate over rotate over scale over core.
    QUuid at = mapping.outerId;
    QString above;
    for (const QString &suffix : {u"translate"_s, u"rotate"_s, u"scale"_s, u"core"_s}) {
        const Instance item = bench.document.instance(at);
        QCOMPARE(item.name, LogicalSceneCompiler::instanceName(id, suffix));
        QVERIFY(item.hasTag(ItemTags::Compiled));
        const SDFNodeProvenance from = item.provenance();
        QCOMPARE(from.compiledId, at);
        QCOMPARE(from.sourceItemId, id);
        QCOMPARE(from.sourceItemName, u"Box 1"_s);
        QCOMPARE(from.role, classifyRoleForSuffix(suffix));
        QCOMPARE(from.roleDetail, suffix == u"core"_s ? QString() : suffix);
        QCOMPARE(from.parentCompiledId, above);
        QCOMPARE(bench.compiler.compiledToSource().value(at), id);
        above = item.name;
        at = bench.document.childInstanceIds(at).value(0);
    }
    QVERIFY(at.isNull());
    QCOMPARE(bench.core(id).definitionId(), u"box"_s);
    QCOMPARE(bench.number(id, u"width"_s), 2.5);
    QVERIFY(!bench.core(id).hasParameter(u"children"_s));
}

void TstLogicalSceneCompiler::wrapperParametersAndConnectedTransform()
{
    Bench bench;
    const QUuid id = bench.scene.addInstance(u"sphere"_s);
    LogicalInstance node = *std::as_const(bench.scene).instance(id);
    node.wrappers = {{u"onion"_s, {{u"thickness"_s, 0.25}, {u"children"_s, u"@x"_s}}},
                     {u"scale"_s, {{u"factor"_s, 9.0}}},
                     {u"no such thing"_s, {}}};
    node.scale = {0, 2, 2};
    node.params.insert(u"children"_s, QStringList{u"@somebody"_s});
    bench.scene.replaceInstance(node);
    // The transform wins over the wrapper's values, and a factor of 0 would be no field.
    QCOMPARE(bench.wrapper(id, u"scale"_s).parameter(u"factor"_s).toFloat(), 1.0f);
    QCOMPARE(bench.wrapper(id, u"onion"_s).parameter(u"thickness"_s).toDouble(), 0.25);
    QCOMPARE(bench.outer(id).id, bench.wrapper(id, u"onion"_s).id);
    QCOMPARE(bench.wrapper(id, u"no such thing"_s).rawParams().keys(), QStringList{u"children"_s});
    QVERIFY(!bench.core(id).hasParameter(u"children"_s));
    const auto defaults =
        registry::Registry::instance().getDefinition(u"translate"_s)->getDefaultParameters();
    bench.scene.setWrappers(id, {{u"translate"_s, {}}});
    for (auto it = defaults.cbegin(); it != defaults.cend(); ++it)
        QVERIFY2(bench.outer(id).hasParameter(it.key()) || it.key() == u"children"_s,
                 qPrintable(it.key()));
}

void TstLogicalSceneCompiler::groupsAreSplicedIntoTheirParents()
{
    Bench bench;
    const QUuid top = bench.scene.addContainer(u"Group"_s);
    const QUuid sum = bench.scene.addInstance(u"union"_s, top);
    const QUuid first = bench.scene.addInstance(u"box"_s, sum);
    const QUuid group = bench.scene.addContainer(u"Group"_s, sum);
    const QUuid nested = bench.scene.addContainer(u"Group"_s, group);
    const QUuid second = bench.scene.addInstance(u"box"_s, nested);
    const QUuid third = bench.scene.addInstance(u"box"_s, group);
    const QUuid last = bench.scene.addInstance(u"box"_s, sum);
    QCOMPARE(bench.roots(), QList<QUuid>{sum});
    QCOMPARE(bench.children(sum), QList<QUuid>({first, second, third, last}));
    QVERIFY(!bench.compiler.mappings().contains(group));
    QVERIFY(bench.compiler.nodeIsContainer(nested));
    QCOMPARE(bench.outer(third).provenance().parentCompiledId, bench.core(sum).name);
    bench.scene.moveInstance(last, sum, 0);
    QCOMPARE(bench.children(sum), QList<QUuid>({last, first, second, third}));
}

void TstLogicalSceneCompiler::hiddenBranchesLeaveGaps()
{
    Bench bench;
    const QUuid sum = bench.scene.addInstance(u"union"_s);
    const QUuid group = bench.scene.addContainer(u"Group"_s, sum);
    const QUuid inGroup = bench.scene.addInstance(u"box"_s, group);
    const QUuid beside = bench.scene.addInstance(u"box"_s, sum);
    QSignalSpy changes(&bench.document, &Corvane::sceneChanged);
    bench.scene.setInstanceTag(group, InstanceTags::Hidden, true);
    QCOMPARE(changes.size(), 1);
    QCOMPARE(bench.children(sum), QList<QUuid>{beside});
    QVERIFY(!bench.compiler.mappings().contains(inGroup));
    QVERIFY(bench.compiler.hiddenInChain(inGroup));
    QVERIFY(!bench.compiler.hiddenInChain(beside));
    QCOMPARE(bench.document.items().size(), 8);
    bench.scene.setInstanceTag(sum, InstanceTags::Hidden, true);
    QVERIFY(bench.document.items().isEmpty());
    QVERIFY(bench.document.roots().isEmpty());
    QVERIFY(!bench.document.drawsAllItems());
}

void TstLogicalSceneCompiler::soloCompilesOneBranch()
{
    Bench bench;
    const QUuid sum = bench.scene.addInstance(u"union"_s);
    const QUuid group = bench.scene.addContainer(u"Group"_s, sum);
    const QUuid inGroup = bench.scene.addInstance(u"box"_s, group);
    bench.scene.addInstance(u"box"_s, sum);
    bench.compiler.setSoloRootId(group);
    bench.compiler.fullCompile();
    QCOMPARE(bench.roots(), QList<QUuid>{inGroup});
    QCOMPARE(bench.compiler.mappings().keys(), QList<QUuid>{inGroup});
    QVERIFY(bench.compiler.inSoloScope(inGroup));
    QVERIFY(!bench.compiler.inSoloScope(sum));
    bench.compiler.setSoloRootId({});
    bench.compiler.fullCompile();
    QCOMPARE(bench.roots(), QList<QUuid>{sum});
}

void TstLogicalSceneCompiler::recompilingChangesNothing()
{
    Bench bench;
    const Part part(u"part"_s);
    QVERIFY(bench.scene.componentRegistry()->registerDefinition(part.definition));
    const QUuid sum = bench.scene.addInstance(u"union"_s);
    for (int i = 0; i < 20; ++i)
        bench.scene.addInstance(i % 3 ? u"box"_s : u"part"_s, sum);
    const QString before = bench.document.stateFingerprint();
    QSignalSpy changes(&bench.document, &Corvane::sceneChanged);
    QSignalSpy added(&bench.document, &Corvane::itemAdded);
    bench.compiler.fullCompile();
    QCOMPARE(bench.document.stateFingerprint(), before);
    QCOMPARE(changes.size(), 1);
    QVERIFY(added.isEmpty());
    bench.scene.clear();
    QVERIFY(bench.document.items().isEmpty());
    QVERIFY(bench.compiler.compiledToSource().isEmpty());
}

void TstLogicalSceneCompiler::itemsOfOtherSortsStay()
{
    Bench bench;
    const QUuid id = bench.scene.addInstance(u"box"_s);
    // The display hierarchy has an item of the node's own id.
    bench.document.addGroupItem(id, u"Box 1"_s);
    const QString name = LogicalSceneCompiler::instanceName(id, u"core"_s);
    SceneItem mesh;
    mesh.itemType = ItemTypes::Mesh;
    bench.document.addItem(mesh);
    bench.scene.clear();
    QCOMPARE(bench.document.items().keys().size(), 2);
    // An item may even have a name that a compiled one would get.
    mesh.name = name;
    bench.document.updateItem(mesh);
    bench.scene.fromVariantMap(
        {{u"instances"_s,
          QVariantList{QVariantMap{{u"id"_s, id.toString()}, {u"type"_s, u"box"_s}}}}});
    QCOMPARE(bench.document.childInstanceIds(bench.wrapper(id, u"scale"_s).id),
             QList<QUuid>{bench.core(id).id});
    QCOMPARE(bench.document.instanceIdByName(name), mesh.id);
}

void TstLogicalSceneCompiler::sharedDigitsDoNotMixNodesUp()
{
    Bench bench;
    const QList<QUuid> ids{QUuid(u"11111111-0000-4000-8000-000000000001"_s),
                           QUuid(u"11111111-0000-4000-8000-000000000002"_s),
                           QUuid(u"11111111-0000-4000-8000-000000000003"_s)};
    QVariantList nodes;
    for (const QUuid &id : ids) {
        LogicalInstance node(id);
        node.definitionId = id == ids.first() ? u"union"_s : u"box"_s;
        node.wrappers = {{u"translate"_s, {}}, {u"core"_s, {}}};
        if (id == ids.first())
            node.children = ids.mid(1);
        nodes.append(node.toVariantMap());
    }
    bench.scene.fromVariantMap({{u"instances"_s, nodes}});
    QCOMPARE(bench.children(ids.first()), ids.mid(1));
    QCOMPARE(bench.document.nameIndex().size(), 9);
    for (const QUuid &id : ids) {
        const QUuid inner = bench.document.childInstanceIds(bench.wrapper(id, u"core"_s).id)[0];
        QCOMPARE(inner, bench.core(id).id);
    }
}

using Edit = void (*)(LogicalScene &, const QUuid &);

void TstLogicalSceneCompiler::edits_data()
{
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<int>("updates");
    QTest::addColumn<bool>("isStructural");
    const auto row = [](const char *name, int updates, bool isStructural, Edit edit) {
        QTest::newRow(name) << edit << updates << isStructural;
    };
    row("parameter", 1, false, [](LogicalScene &scene, const QUuid &id) {
        scene.setInstanceParameter(id, u"width"_s, 7.0);
    });
    row("material", 1, false, [](LogicalScene &scene, const QUuid &id) {
        Material red;
        red.albedo = {1, 0, 0, 1};
        scene.setInstanceMaterial(id, red, {});
    });
    row("translation", 1, false, [](LogicalScene &scene, const QUuid &id) {
        scene.setInstanceTransform(id, {1, 2, 3}, {}, {1, 1, 1});
    });
    row("whole transform", 3, false, [](LogicalScene &scene, const QUuid &id) {
        scene.setInstanceTransform(id, {1, 2, 3}, {4, 5, 6}, {7, 7, 7});
    });
    row("wrapper", 1, false, [](LogicalScene &scene, const QUuid &id) {
        scene.setWrapperParameter(id, u"translate"_s, u"note"_s, 5.0);
    });
    row("name", 4, false,
        [](LogicalScene &scene, const QUuid &id) { scene.setInstanceName(id, u"Lid"_s); });
    row("tag", 1, false, [](LogicalScene &scene, const QUuid &id) {
        scene.setInstanceTag(id, InstanceTags::Ghost, true);
    });
    row("new wrapper", 0, true, [](LogicalScene &scene, const QUuid &id) {
        scene.setWrapperParameter(id, u"onion"_s, u"thickness"_s, 0.5);
    });
    row("definition", 0, true,
        [](LogicalScene &scene, const QUuid &id) { scene.setInstanceDefinition(id, u"sphere"_s); });
}

/// An edit and a full compile of what it leaves give the same document.
void TstLogicalSceneCompiler::edits()
{
    QFETCH(const Edit, edit);
    QFETCH(const bool, isStructural);
    Bench bench;
    const QUuid sum = bench.scene.addInstance(u"union"_s);
    const QUuid id = bench.scene.addInstance(u"box"_s, sum);
    bench.scene.addInstance(u"box"_s, id);
    bench.scene.setInstanceTransform(id, {9, 9, 9}, {}, {1, 1, 1});
    QSignalSpy changes(&bench.document, &Corvane::sceneChanged);
    QSignalSpy updated(&bench.document, &Corvane::instanceUpdated);
    const QVariantMap before = bench.document.toVariantMap();
    edit(bench.scene, id);
    QCOMPARE(changes.size(), isStructural ? 1 : 0);
    QTEST(int(updated.size()), "updates");
    const QVariantMap edited = bench.document.toVariantMap();
    QVERIFY(edited != before);
    bench.compiler.fullCompile();
    QCOMPARE(bench.document.toVariantMap(), edited);
    QCOMPARE(bench.children(id).size(), 1);
}

using BenchEdit = void (*)(Bench &, const QList<QUuid> &);

void TstLogicalSceneCompiler::keptItemsAreWhatWouldBeMade_data()
{
    QTest::addColumn<BenchEdit>("edit");
    const auto row = [](const char *name, BenchEdit edit) { QTest::newRow(name) << edit; };
    row("nothing", [](Bench &, const QList<QUuid> &) {});
    row("order of children", [](Bench &bench, const QList<QUuid> &ids) {
        bench.scene.moveInstance(ids[1], ids[0], -1);
    });
    row("to the top",
        [](Bench &bench, const QList<QUuid> &ids) { bench.scene.moveInstance(ids[1], {}, 0); });
    row("below another",
        [](Bench &bench, const QList<QUuid> &ids) { bench.scene.moveInstance(ids[1], ids[2], 0); });
    row("the only child goes",
        [](Bench &bench, const QList<QUuid> &ids) { bench.scene.removeInstance(ids[3]); });
    row("a parent goes, and comes back", [](Bench &bench, const QList<QUuid> &ids) {
        const QVariantMap all = bench.scene.toVariantMap();
        bench.scene.removeInstance(ids[0]);
        bench.scene.fromVariantMap(all);
    });
    row("one alone", [](Bench &bench, const QList<QUuid> &ids) {
        bench.compiler.setSoloRootId(ids[2]);
        bench.compiler.fullCompile();
        bench.compiler.setSoloRootId({});
    });
    row("hidden, and shown", [](Bench &bench, const QList<QUuid> &ids) {
        bench.scene.setInstanceTag(ids[0], InstanceTags::Hidden, true);
        bench.scene.setInstanceTag(ids[0], InstanceTags::Hidden, false);
    });
    row("another stack", [](Bench &bench, const QList<QUuid> &ids) {
        bench.scene.setWrappers(ids[1], {{u"scale"_s, {}}, {u"translate"_s, {}}});
    });
    row("an item is changed by hand", [](Bench &bench, const QList<QUuid> &ids) {
        Instance item = bench.core(ids[1]);
        item.setParameter(u"width"_s, 77.0);
        bench.document.updateItem(item);
    });
    row("an item is taken out by hand", [](Bench &bench, const QList<QUuid> &ids) {
        bench.document.removeItem(bench.outer(ids[1]).id);
    });
    row("a name is taken", [](Bench &bench, const QList<QUuid> &ids) {
        LogicalInstance twin(QUuid(ids[1].data1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1));
        twin.definitionId = u"box"_s;
        bench.scene.restoreInstance(twin.toVariantMap(), {}, 0);
    });
}

/// A compile keeps the items of nodes that did not change.
void TstLogicalSceneCompiler::keptItemsAreWhatWouldBeMade()
{
    QFETCH(const BenchEdit, edit);
    Bench bench;
    const QUuid sum = bench.scene.addInstance(u"union"_s);
    const QUuid box = bench.scene.addInstance(u"box"_s, sum);
    const QUuid onion = bench.scene.addInstance(u"onion"_s, sum);
    const QUuid ball = bench.scene.addInstance(u"sphere"_s, onion);
    bench.scene.addInstance(u"box"_s);
    bench.scene.setInstanceTransform(box, {1, 2, 3}, {}, {1, 1, 1});
    edit(bench, {sum, box, onion, ball});
    bench.compiler.fullCompile();
    Corvane fresh;
    LogicalSceneCompiler compiler;
    compiler.setSource(&bench.scene);
    compiler.setTarget(&fresh);
    compiler.fullCompile();
    QCOMPARE(bench.document.toVariantMap(), fresh.toVariantMap());
    QCOMPARE(bench.compiler.mappings(), compiler.mappings());
}

void TstLogicalSceneCompiler::aBatchIsCompiledOnce_data()
{
    QTest::addColumn<Edit>("edit");
    QTest::newRow("visibility") << Edit([](LogicalScene &scene, const QUuid &id) {
        scene.setInstanceTag(id, InstanceTags::Hidden, true);
    });
    QTest::newRow("value of a component") << Edit([](LogicalScene &scene, const QUuid &id) {
        scene.setInstanceParameter(id, u"size"_s, 8.0);
    });
    QTest::newRow("both, and a new node") << Edit([](LogicalScene &scene, const QUuid &id) {
        scene.setInstanceTag(id, InstanceTags::Hidden, true);
        scene.setInstanceParameter(id, u"size"_s, 8.0);
        scene.addInstance(u"box"_s);
    });
}

void TstLogicalSceneCompiler::aBatchIsCompiledOnce()
{
    QFETCH(const Edit, edit);
    Bench bench;
    QVERIFY(bench.scene.componentRegistry()->registerDefinition(Part(u"part"_s).definition));
    QList<QUuid> ids;
    for (int i = 0; i < 5; ++i)
        ids.append(bench.scene.addInstance(u"part"_s));
    const QVariantMap before = bench.document.toVariantMap();
    QSignalSpy changes(&bench.document, &Corvane::sceneChanged);
    {
        const LogicalScene::Batch batch(bench.scene);
        for (const QUuid &id : std::as_const(ids))
            edit(bench.scene, id);
        QCOMPARE(changes.size(), 0);
    }
    QCOMPARE(changes.size(), 1);
    QVERIFY(bench.document.toVariantMap() != before);
    // Outside of a batch each is seen at once.
    edit(bench.scene, bench.scene.addInstance(u"part"_s));
    QVERIFY(changes.size() >= 3);
}

void TstLogicalSceneCompiler::aParameterThatIsRemovedIsGone()
{
    Bench bench;
    const QUuid sum = bench.scene.addInstance(u"union"_s);
    const QUuid id = bench.scene.addInstance(u"box"_s, sum);
    bench.scene.setInstanceParameter(sum, u"k"_s, 1.0);
    bench.scene.removeInstanceParameter(sum, u"k"_s);
    QVERIFY(!bench.core(sum).hasParameter(u"k"_s));
    QCOMPARE(bench.children(sum), QList<QUuid>{id});
}

void TstLogicalSceneCompiler::expressionsKeepTheirValues()
{
    Bench bench;
    bench.document.setVariableEntry(u"w"_s, {.value = 2.0});
    expr::ExpressionManager expressions(&bench.document);
    bench.follow(expressions);
    const QUuid id = bench.scene.addInstance(u"box"_s);
    bench.scene.setInstanceParameter(id, u"width"_s, u"=w*3"_s);
    QCOMPARE(bench.number(id, u"width"_s), 6.0);
    // Nobody evaluates it again when its neighbour changes.
    bench.scene.setInstanceParameter(id, u"height"_s, 1.0);
    QCOMPARE(bench.number(id, u"width"_s), 6.0);
    disconnect(&bench.compiler, nullptr, &expressions, nullptr);
    bench.compiler.fullCompile();
    QCOMPARE(bench.number(id, u"width"_s), 6.0);
    bench.document.setVariableEntry(u"w"_s, {.value = 5.0});
    QCOMPARE(bench.number(id, u"width"_s), 15.0);
    QVERIFY(expressions.errors().isEmpty());
}

void TstLogicalSceneCompiler::selectionFollows()
{
    Bench bench;
    const QUuid a = bench.scene.addInstance(u"box"_s);
    const QUuid b = bench.scene.addInstance(u"box"_s);
    bench.document.addGroupItem(a, u"shown"_s);
    SceneItem camera;
    camera.itemType = ItemTypes::Camera;
    bench.document.addItem(camera);
    bench.document.addToSelection(camera.id);
    bench.document.addToSelection(a);
    bench.scene.setSelectedInstance(a);
    const QUuid outerOfA = bench.outer(a).id;
    QCOMPARE(bench.document.selectedInstances().size(), 2);
    QVERIFY(bench.document.item(outerOfA).hasTag(ItemTags::Selected));
    QVERIFY(bench.document.item(camera.id).hasTag(ItemTags::Selected));
    QSignalSpy told(&bench.document, &Corvane::selectionChanged);
    bench.scene.setSelectedInstance(b);
    QCOMPARE(told.size(), 1);
    QVERIFY(!bench.document.item(outerOfA).hasTag(ItemTags::Selected));
    // It outlives a compile.
    bench.scene.addInstance(u"box"_s);
    QVERIFY(bench.outer(b).hasTag(ItemTags::Selected));
    QVERIFY(!bench.core(b).hasTag(ItemTags::Selected));
}

void TstLogicalSceneCompiler::nodesTakeTheLibrarysMaterial()
{
    Bench bench;
    const QUuid id = bench.scene.addInstance(u"box"_s);
    const MaterialLibrary &library = MaterialLibrary::instance();
    QCOMPARE(bench.core(id).materialId, library.defaultMaterialId());
    const QUuid gold = library.idByName(u"Gold"_s);
    bench.scene.setInstanceMaterial(id, {}, gold);
    QCOMPARE(bench.core(id).material, library.material(gold)->material);
    // The scene's own catalogue wins.
    CatalogMaterial tuned = *library.material(gold);
    tuned.setRoughness(0.75f);
    bench.document.addMaterial(tuned);
    bench.compiler.fullCompile();
    QCOMPARE(bench.core(id).material.roughness, 0.75f);
    tuned.setRoughness(0.25f);
    bench.document.updateMaterial(tuned);
    QCOMPARE(bench.core(id).material.roughness, 0.25f);
}

void TstLogicalSceneCompiler::componentsExpand()
{
    Bench bench;
    const Part part(u"part"_s);
    QVERIFY(bench.scene.componentRegistry()->registerDefinition(part.definition));
    const QUuid a = bench.scene.addInstance(u"part"_s);
    const QUuid b = bench.scene.addInstance(u"part"_s);
    bench.scene.setInstanceParameter(b, u"size"_s, 5.0);
    bench.scene.setInstanceTransform(b, {1, 2, 3}, {}, {1, 1, 1});
    QCOMPARE(bench.roots(), QList<QUuid>({a, b}));

    const QUuid root = Bench::inside(b, part.root.id);
    const QUuid box = Bench::inside(b, part.inner.id);
    QCOMPARE(bench.compiler.componentStructureRoots().value(b), root);
    QCOMPARE(bench.compiler.syntheticParents().value(root), b);
    QCOMPARE(bench.compiler.syntheticParents().value(box), root);
    QCOMPARE(bench.compiler.syntheticNodes().size(), 4);
    QCOMPARE(bench.number(box, u"width"_s), 5.0);
    QCOMPARE(bench.number(Bench::inside(a, part.inner.id), u"width"_s), 3.0);
    // The instance's own wrappers stand around the structure's root.
    QCOMPARE(bench.wrapper(b, u"translate"_s).parameter(u"offset"_s).value<QVector3D>(),
             QVector3D(1, 2, 3));
    QCOMPARE(bench.document.childInstanceIds(bench.wrapper(b, u"scale"_s).id),
             QList<QUuid>{bench.outer(root).id});
    QCOMPARE(bench.children(root), QList<QUuid>{box});
    // Whoever picks a part gets the component.
    const QMap<QUuid, QUuid> sources = bench.compiler.compiledToSource();
    QCOMPARE(sources.size(), bench.document.items().size());
    for (const QUuid &source : sources)
        QVERIFY(source == a || source == b);
    bench.scene.setInstanceTag(b, InstanceTags::Hidden, true);
    QCOMPARE(bench.roots(), QList<QUuid>{a});
    QVERIFY(!bench.compiler.mappings().contains(box));
}

void TstLogicalSceneCompiler::aComponentOfAGroupIsOneOperand()
{
    Bench bench;
    Part part(u"part"_s);
    part.root.definitionId.clear();
    part.definition.structure = {
        {u"root"_s, part.root.id.toString()},
        {u"instances"_s, QVariantList{part.inner.toVariantMap(), part.root.toVariantMap()}}};
    QVERIFY(bench.scene.componentRegistry()->registerDefinition(part.definition));
    const QUuid id = bench.scene.addInstance(u"part"_s);
    QCOMPARE(bench.roots(), QList<QUuid>{id});
    QCOMPARE(bench.core(id).definitionId(), u"union"_s);
}

void TstLogicalSceneCompiler::nestedComponentsPassValuesOn()
{
    Bench bench;
    const Part inner(u"inner"_s);
    Part outer(u"outer"_s, u"inner"_s);
    // A component may be the root of another, too.
    Part shell(u"shell"_s, u"outer"_s);
    shell.definition.structure = {{u"root"_s, shell.inner.id.toString()},
                                  {u"instances"_s, QVariantList{shell.inner.toVariantMap()}}};
    auto *components = bench.scene.componentRegistry();
    for (const Part &part : {inner, outer, shell})
        QVERIFY(components->registerDefinition(part.definition));
    const QUuid id = bench.scene.addInstance(u"shell"_s);
    bench.scene.setInstanceParameter(id, u"size"_s, 8.0);
    const QUuid first = Bench::inside(id, shell.inner.id);
    const QUuid second = Bench::inside(first, outer.inner.id);
    const QUuid box = Bench::inside(second, inner.inner.id);
    QCOMPARE(bench.number(box, u"width"_s), 8.0);
    QCOMPARE(bench.compiler.syntheticOwners().value(box), id);
    QCOMPARE(bench.compiler.compiledToSource().value(bench.core(box).id), id);
    QCOMPARE(bench.compiler.expandedComponentInstances(), QList<QUuid>({id, first, second}));
    QCOMPARE(bench.roots(), QList<QUuid>{id});
    QCOMPARE(bench.document.childInstanceIds(bench.wrapper(id, u"scale"_s).id).value(0),
             bench.outer(first).id);
}

void TstLogicalSceneCompiler::editingADefinitionChangesAllInstances()
{
    Bench bench;
    Part part(u"part"_s);
    QVERIFY(bench.scene.componentRegistry()->registerDefinition(part.definition));
    const QUuid a = bench.scene.addInstance(u"part"_s);
    const QUuid b = bench.scene.addInstance(u"part"_s);
    part.inner.params = {{u"width"_s, 11.0}};
    part.definition.structure.insert(
        u"instances"_s, QVariantList{part.inner.toVariantMap(), part.root.toVariantMap()});
    QSignalSpy changes(&bench.document, &Corvane::sceneChanged);
    QVERIFY(bench.scene.componentRegistry()->applyDefinition(part.definition));
    QCOMPARE(changes.size(), 1);
    for (const QUuid &id : {a, b})
        QCOMPARE(bench.number(Bench::inside(id, part.inner.id), u"width"_s), 11.0);
}

void TstLogicalSceneCompiler::promotions_data()
{
    QTest::addColumn<QVariant>("given");
    QTest::addColumn<QString>("expression");
    QTest::addColumn<double>("width");
    QTest::addColumn<QString>("warning");
    const QVariant none;
    QTest::newRow("value") << QVariant(4.0) << QString() << 4.0 << QString();
    QTest::newRow("default") << none << QString() << 3.0 << QString();
    QTest::newRow("expression of the value") << QVariant(4.0) << u"size*2"_s << 8.0 << QString();
    QTest::newRow("expression of variables")
        << none << u"w + sizes.depth + derived"_s << 10.0 + 20.0 + 30.0 << QString();
    QTest::newRow("variable and value of one name")
        << QVariant(4.0) << u"w+size"_s << 14.0 << QString();
    QTest::newRow("expression with no value")
        << none << u"size*2"_s << 3.0 << u"expression failed to compile: Unknown name: size"_s;
    QTest::newRow("no expression at all")
        << QVariant(4.0) << u"1 +"_s << 4.0 << u"expression failed to compile: "_s;
    QTest::newRow("no value at run time")
        << QVariant(4.0) << u"position.x"_s << 4.0 << u"expression failed to evaluate: "_s;
    QTest::newRow("expression as value, not evaluated")
        << QVariant(u"=w"_s) << QString() << 3.0 << QString();
}

void TstLogicalSceneCompiler::promotions()
{
    QFETCH(const QVariant, given);
    QFETCH(const QString, expression);
    QFETCH(const QString, warning);
    Bench bench;
    bench.document.setVariableEntry(u"w"_s, {.value = 10.0});
    bench.document.setNamedVarset(u"sizes"_s, {{u"depth"_s, {.value = 20.0}}});
    VarsetEntry derived;
    derived.value = 0.0;
    derived.expression = u"w*3"_s;
    bench.document.setVariableEntry(u"derived"_s, derived);
    Part part(u"part"_s);
    if (!expression.isEmpty()) {
        part.definition.promotions[0].binding = ComponentPromotion::Expression;
        part.definition.promotions[0].expression = expression;
    }
    QVERIFY(bench.scene.componentRegistry()->registerDefinition(part.definition));
    QVariantMap node{{u"id"_s, QUuid::createUuid().toString()}, {u"component"_s, u"part"_s}};
    if (given.isValid())
        node.insert(u"params"_s, QVariantMap{{u"size"_s, given}});
    if (!warning.isEmpty())
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(u"^Component part promotion size : "_s +
                                                QRegularExpression::escape(warning) +
                                                u".*captured value left in place$"_s));
    const QUuid id = bench.scene.restoreInstance(node);
    QTEST(bench.number(Bench::inside(id, part.inner.id), u"width"_s), "width");
}

void TstLogicalSceneCompiler::promotedExpressionsFollowVariables()
{
    Bench bench;
    bench.document.setVariableEntry(u"w"_s, {.value = 10.0});
    Part part(u"part"_s);
    QVERIFY(bench.scene.componentRegistry()->registerDefinition(part.definition));
    const QUuid id = bench.scene.addInstance(u"part"_s);
    const QUuid box = Bench::inside(id, part.inner.id);
    // An expression that is given to a component is evaluated where it ends up.
    expr::ExpressionManager expressions(&bench.document);
    bench.follow(expressions);
    bench.scene.setInstanceParameter(id, u"size"_s, u"=w"_s);
    QCOMPARE(bench.number(box, u"width"_s), 10.0);
    bench.document.setVariableEntry(u"w"_s, {.value = 12.0});
    QCOMPARE(bench.number(box, u"width"_s), 12.0);
    // One of a definition is evaluated by the compile.
    part.definition.promotions[0].binding = ComponentPromotion::Expression;
    part.definition.promotions[0].expression = u"w + 1"_s;
    QVERIFY(bench.scene.componentRegistry()->applyDefinition(part.definition));
    bench.document.setVariableEntry(u"w"_s, {.value = 20.0});
    QCOMPARE(bench.number(box, u"width"_s), 21.0);
}

void TstLogicalSceneCompiler::degenerateComponents_data()
{
    QTest::addColumn<int>("levels"); // each places the one below twice
    QTest::addColumn<int>("copies");
    QTest::addColumn<bool>("isCyclic");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<int>("syntheticNodes");
    QTest::newRow("doubles three times") << 3 << 2 << false << QString() << 3 + 2 * 3 + 4 * 3;
    QTest::newRow("doubles forty times")
        << 40 << 2 << false << u"would expand to more than 65536 nodes"_s << 0;
    QTest::newRow("contains itself")
        << 1 << 1 << true << u"component expansion depth cap hit at .*cyclic or degenerate"_s << 64;
    QTest::newRow("contains itself twice")
        << 1 << 2 << true << u"would expand to more than 65536 nodes"_s << 0;
}

void TstLogicalSceneCompiler::degenerateComponents()
{
    QFETCH(const int, levels);
    QFETCH(const int, copies);
    QFETCH(const bool, isCyclic);
    QFETCH(const QString, warning);
    Bench bench;
    bench.compiler.setSource(nullptr);
    for (int level = 0; level < levels; ++level) {
        const bool isLast = level == levels - 1;
        const QString below = !isLast ? QString::number(level + 1) : isCyclic ? u"0"_s : QString();
        const Part part(QString::number(level), below, copies);
        QVERIFY(bench.scene.componentRegistry()->restoreDefinition(part.definition));
    }
    bench.scene.addInstance(u"0"_s);
    if (!warning.isEmpty())
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(warning));
    bench.compiler.setSource(&bench.scene);
    bench.compiler.fullCompile();
    QTEST(int(bench.compiler.syntheticNodes().size()), "syntheticNodes");
    QVERIFY(bench.document.items().size() < 300000);
}

void TstLogicalSceneCompiler::contradictoryStructuresBecomeTrees()
{
    Bench bench;
    Part part(u"part"_s);
    LogicalInstance lost; // no root leads to it
    lost.definitionId = u"box"_s;
    part.inner.children = {part.root.id, part.inner.id, QUuid::createUuid()};
    part.root.children = {part.inner.id, part.inner.id};
    part.definition.structure.insert(
        u"instances"_s, QVariantList{part.inner.toVariantMap(), part.root.toVariantMap(),
                                     lost.toVariantMap(), QVariantMap(), u"nonsense"_s});
    part.definition.promotions[0].targetNode = QUuid::createUuid();
    QVERIFY(bench.scene.componentRegistry()->restoreDefinition(part.definition));
    const QUuid id = bench.scene.addInstance(u"part"_s);
    const QUuid root = Bench::inside(id, part.root.id);
    QCOMPARE(bench.children(root), QList<QUuid>{Bench::inside(id, part.inner.id)});
    QVERIFY(bench.children(Bench::inside(id, part.inner.id)).isEmpty());

    part.definition.structure.insert(u"root"_s, QUuid::createUuid().toString());
    QTest::ignoreMessage(QtWarningMsg, "LogicalSceneCompiler: definition part has no resolvable "
                                       "structure root");
    QVERIFY(bench.scene.componentRegistry()->restoreDefinition(part.definition));
    QVERIFY(bench.document.roots().isEmpty());
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(u"^LogicalSceneCompiler: unknown component definition "
                                            "part referenced by "_s));
    bench.scene.componentRegistry()->removeDefinition(u"part"_s);
    QVERIFY(bench.document.items().isEmpty());
}

void TstLogicalSceneCompiler::deepTreesCompile()
{
    Bench bench;
    QVariantList nodes;
    QUuid below;
    for (int i = 0; i < 20000; ++i) {
        LogicalInstance node;
        node.definitionId = i % 2 ? QString() : u"union"_s;
        node.wrappers = {};
        if (!below.isNull())
            node.children = {below};
        below = node.id;
        nodes.append(node.toVariantMap());
    }
    bench.scene.fromVariantMap({{u"instances"_s, nodes}});
    QCOMPARE(bench.compiler.mappings().size(), 10000);
    QCOMPARE(bench.document.roots().size(), 1);
    QVERIFY(!bench.compiler.hiddenInChain(
        QUuid::fromString(nodes.first().toMap().value(u"id"_s).toString())));
    bench.scene.setInstanceTag(below, InstanceTags::Hidden, true);
    QVERIFY(bench.document.items().isEmpty());
}

void TstLogicalSceneCompiler::renamedVariablesAreFollowed()
{
    Bench bench;
    bench.document.setVariableEntry(u"w"_s, {.value = 2.0});
    expr::ExpressionManager expressions(&bench.document);
    bench.follow(expressions);
    Part part(u"part"_s);
    part.definition.promotions[0].binding = ComponentPromotion::Expression;
    part.definition.promotions[0].expression = u"w*10"_s;
    QVERIFY(bench.scene.componentRegistry()->registerDefinition(part.definition));
    const QUuid placed = bench.scene.addInstance(u"part"_s);
    const QUuid id = bench.scene.addInstance(u"box"_s);
    bench.scene.setInstanceParameter(id, u"width"_s, u"=w*2 + sw"_s);
    bench.scene.setInstanceParameter(id, u"height"_s, u"=default.w*2"_s);
    bench.scene.setWrapperParameter(id, u"translate"_s, u"note"_s, u"$w"_s);

    QVERIFY(bench.document.renameVariable(u"w"_s, u"width"_s));
    const LogicalInstance &node = *std::as_const(bench.scene).instance(id);
    const auto text = [](const QVariant &stored) {
        return ParameterValue::fromVariant(stored).expression;
    };
    QCOMPARE(text(node.params.value(u"width"_s)), u"width*2 + sw"_s);
    QCOMPARE(text(node.params.value(u"height"_s)), u"default.width*2"_s);
    QCOMPARE(text(node.wrapper(u"translate"_s)->values.value(u"note"_s)), u"width"_s);
    QCOMPARE(bench.scene.componentRegistry()->find(u"part"_s)->promotions[0].expression,
             u"width*10"_s);
    bench.document.setVariableEntry(u"width"_s, {.value = 4.0});
    QCOMPARE(bench.number(id, u"height"_s), 8.0);
    QCOMPARE(bench.number(Bench::inside(placed, part.inner.id), u"width"_s), 40.0);
    // And back, to the letter.
    QVERIFY(bench.document.renameVariable(u"width"_s, u"w"_s));
    QCOMPARE(text(node.params.value(u"width"_s)), u"w*2 + sw"_s);
}

void TstLogicalSceneCompiler::theTraceTellsWhereItemsComeFrom()
{
    Bench bench;
    const QUuid id = bench.scene.addInstance(u"box"_s);
    bench.scene.setWrappers(id, {{u"translate"_s, {}}});
    LogicalSceneCompiler::setTraceSource([] { return true; });
    const auto quiet = qScopeGuard([] { LogicalSceneCompiler::setTraceSource({}); });
    const QString source = u"\\[compile-trace\\] sourceId="_s + id.toString(QUuid::WithoutBraces);
    const auto expect = [](const QString &pattern) {
        QTest::ignoreMessage(QtInfoMsg, QRegularExpression(pattern));
    };
    expect(u"=== begin compile dump ==="_s);
    expect(source + u" compiledId=.* role=core roleDetail= parent=__c_.*_translate"_s);
    expect(source +
           u" compiledId=.* role=wrapper-translate roleDetail=translate parent=\\(root\\)"_s);
    expect(u"=== end compile dump ==="_s);
    bench.compiler.fullCompile();
}

QTEST_GUILESS_MAIN(TstLogicalSceneCompiler)
#include "tst_LogicalSceneCompiler.moc"
