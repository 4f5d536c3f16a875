#include "DocumentMaker.h"

#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/item/SceneManager.h>
#include <corvane/ops/CorvaneOpExecutor.h>

#include <QRegularExpression>
#include <QSignalSpy>
#include <QUndoStack>

using namespace Qt::StringLiterals;
using namespace corvane::model;
using corvane::item::SceneManager;

namespace {

/// A smooth union of three in a subtraction, which is the root.
struct Operators
{
    QSharedPointer<Corvane> scene = Corvane::create();
    DocumentMaker make{*scene};
    corvane::ops::CorvaneOpExecutor executor{scene};
    SceneManager manager;

    Operators()
    {
        for (const auto &name : {u"a"_s, u"b"_s, u"c"_s})
            make.add(name, u"sphere"_s);
        make.add(u"blend"_s, u"smooth_union"_s, {u"a"_s, u"b"_s, u"c"_s});
        make.add(u"top"_s, u"subtract"_s, {u"blend"_s, u"a"_s});
        scene->setRoots({make.id(u"top"_s)});
        manager.setScene(scene.data());
        manager.setExecutor(&executor);
    }
};

} // namespace

class TstSceneManager : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void namesCountFromOne();
    void copyIsANewInstance();
    void copyIsRefused_data();
    void copyIsRefused();
    void swapKeepsWhatBothHave();
    void swappedRootIsARoot();
    void swapIsRefused_data();
    void swapIsRefused();
    void nodeIsSwappedInTheTree();
};

void TstSceneManager::namesCountFromOne()
{
    Operators world;
    QCOMPARE(world.manager.generateUniqueName(u"new"_s), u"new_1"_s);
    world.make.add(u"new_1"_s, u"box"_s);
    world.make.add(u"new_3"_s, u"box"_s);
    QCOMPARE(world.manager.generateUniqueName(u"new"_s), u"new_2"_s);
    world.make.add(u"new_2"_s, u"box"_s);
    QCOMPARE(world.manager.generateUniqueName(u"new"_s), u"new_4"_s);
    QCOMPARE(world.manager.generateUniqueName(u"new"_s, u" "_s), u"new 1"_s);
    world.scene->removeItem(world.make.id(u"new_1"_s));
    QCOMPARE(world.manager.generateUniqueName(u"new"_s), u"new_1"_s);
    QCOMPARE(SceneManager().generateUniqueName(u"new"_s), u"new_1"_s);
}

void TstSceneManager::copyIsANewInstance()
{
    Operators world;
    const QUuid source = world.make.id(u"top"_s);
    world.scene->setSelectedInstance(source);
    const QString before = world.scene->stateFingerprint();
    QSignalSpy done(&world.manager, &SceneManager::instanceDuplicated);
    const Instance copy = world.scene->instance(world.manager.duplicateInstance(source));
    QCOMPARE(copy.name, u"top_copy_1"_s);
    QCOMPARE(world.make.children(copy.name), u"blend a"_s);
    QCOMPARE(world.make.roots(), u"top top_copy_1"_s);
    QCOMPARE(world.scene->selectedInstances(), QList<QUuid>{source});
    QCOMPARE(done.size(), 1);
    world.executor.undoStack()->undo();
    QCOMPARE(world.scene->stateFingerprint(), before);
}

void TstSceneManager::copyIsRefused_data()
{
    QTest::addColumn<bool>("hasScene");
    QTest::addColumn<bool>("isKnown");
    QTest::addColumn<QString>("reason");

    QTest::newRow("no scene") << false << false << u"No scene available"_s;
    QTest::newRow("unknown") << true << false << u"Source instance not found"_s;
    QTest::newRow("a camera") << true << true << u"Source instance is invalid"_s;
}

void TstSceneManager::copyIsRefused()
{
    QFETCH(bool, hasScene);
    QFETCH(bool, isKnown);
    Operators world;
    SceneItem camera;
    camera.itemType = ItemTypes::Camera;
    if (isKnown)
        world.scene->addItem(camera);
    if (!hasScene)
        world.manager.setScene(nullptr);
    QSignalSpy failed(&world.manager, &SceneManager::duplicateFailed);
    QVERIFY(world.manager.duplicateInstance(camera.id).isNull());
    QTEST(failed.value(0).value(1).toString(), "reason");
}

void TstSceneManager::swapKeepsWhatBothHave()
{
    Operators world;
    const QUuid id = world.make.id(u"blend"_s);
    Instance blend = world.scene->instance(id);
    blend.setParameter(u"smoothness"_s, 0.75);
    blend.setParameter(u"no such"_s, 1);
    blend.setModifiers({.blendSharpness = 0.25f});
    blend.translate = {1, 2, 3};
    world.scene->updateItem(blend);
    const QString before = world.scene->stateFingerprint();

    QSignalSpy swaps(&world.manager, &SceneManager::operatorSwapped);
    const QUuid newId = world.manager.swapOperator(id, u"smooth_intersect"_s);
    const Instance swapped = world.scene->instance(newId);
    QCOMPARE(swapped.name, u"smooth_intersect_1"_s);
    QCOMPARE(world.make.children(swapped.name), u"a b c"_s);
    QCOMPARE(world.make.children(u"top"_s), u"smooth_intersect_1 a"_s);
    QCOMPARE(swapped.parameter(u"smoothness"_s), QVariant(0.75));
    QVERIFY(!swapped.hasParameter(u"no such"_s));
    QCOMPARE(swapped.modifiers().blendSharpness, 0.25f);
    QCOMPARE(swapped.translate, QVector3D(1, 2, 3));
    QVERIFY(!world.scene->hasItem(id));
    QCOMPARE(swaps.value(0), (QVariantList{QVariant(id), QVariant(newId)}));
    const QString after = world.scene->stateFingerprint();
    world.executor.undoStack()->undo();
    QCOMPARE(world.scene->stateFingerprint(), before);
    world.executor.undoStack()->redo();
    QCOMPARE(world.scene->stateFingerprint(), after);
}

void TstSceneManager::swappedRootIsARoot()
{
    Operators world;
    world.scene->addRoot(world.make.id(u"b"_s));
    QVERIFY(!world.manager.swapOperator(world.make.id(u"top"_s), u"intersect"_s).isNull());
    QCOMPARE(world.make.roots(), u"intersect_1 b"_s);
}

void TstSceneManager::swapIsRefused_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("reason");

    QTest::newRow("unknown") << u"none"_s << u"union"_s << u"Source instance not found"_s;
    QTest::newRow("source without slots")
        << u"a"_s << u"union"_s << u"Source is not an operator (no slots)"_s;
    QTest::newRow("target without slots")
        << u"blend"_s << u"sphere"_s << u"Target is not an operator (no slots)"_s;
    QTest::newRow("unknown target")
        << u"blend"_s << u"no such thing"_s << u"Target is not an operator (no slots)"_s;
    QTest::newRow("same") << u"blend"_s << u"smooth_union"_s
                          << u"Cannot swap to the same operator type"_s;
    QTest::newRow("too few slots")
        << u"blend"_s << u"additive_blend"_s
        << u"Target operator has fewer slots than needed (3 filled, 2 available)"_s;
}

void TstSceneManager::swapIsRefused()
{
    QFETCH(QString, source);
    QFETCH(QString, target);
    Operators world;
    const QString before = world.scene->stateFingerprint();
    QSignalSpy failed(&world.manager, &SceneManager::swapFailed);
    QVERIFY(world.manager.swapOperator(world.make.id(source), target).isNull());
    QTEST(failed.value(0).value(1).toString(), "reason");
    QCOMPARE(world.scene->stateFingerprint(), before);
    world.manager.setScene(nullptr);
    QVERIFY(world.manager.swapOperator(world.make.id(source), target).isNull());
    QCOMPARE(failed.value(1).value(1).toString(), u"No scene available"_s);
}

void TstSceneManager::nodeIsSwappedInTheTree()
{
    Operators world;
    LogicalScene tree;
    LogicalSceneCompiler compiler;
    compiler.setSource(&tree);
    compiler.setTarget(world.scene.data());
    world.executor.setLogicalScene(&tree);
    const QUuid node = tree.addInstance(u"smooth_union"_s);
    const QUuid group = tree.addContainer(u"Group"_s, node);
    for (int i = 0; i < 3; ++i)
        tree.addInstance(u"box"_s, group);

    QSignalSpy failed(&world.manager, &SceneManager::swapFailed);
    QVERIFY(world.manager.swapOperator(node, u"additive_blend"_s).isNull());
    QCOMPARE(failed.value(0).value(1).toString(),
             u"Target operator has fewer slots than needed (3 filled, 2 available)"_s);
    const QUuid core = compiler.mappings().value(node).coreId;
    QCOMPARE(world.manager.swapOperator(core, u"intersect"_s), node);
    QCOMPARE(tree.instance(node)->definitionId, u"intersect"_s);
    QCOMPARE(tree.children(node), QList<QUuid>{group});
    world.executor.undoStack()->undo();
    QCOMPARE(tree.instance(node)->definitionId, u"smooth_union"_s);
    QVERIFY(tree.contains(world.manager.duplicateInstance(node)));
}

QTEST_GUILESS_MAIN(TstSceneManager)
#include "tst_SceneManager.moc"
