#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/item/ScenePanelItemModel.h>
#include <corvane/item/ScenePanelModelAdapter.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <support/KeptRows.h>
#include <support/LogicalSceneMaker.h>

#include <QAbstractItemModelTester>
#include <QMimeData>
#include <QRegularExpression>
#include <QScopedPointer>
#include <QSignalSpy>
#include <QUndoStack>

using namespace Qt::StringLiterals;
using namespace corvane::item;
using namespace corvane::model;
using corvane::component::ComponentDefinition;

namespace {

/// A component of a union with two spheres in it.
ComponentDefinition knob(const QString &id, const QString &placed = {})
{
    LogicalInstance root;
    root.definitionId = u"union"_s;
    root.name = u"root"_s;
    QVariantList nodes;
    for (const auto &name : {u"left"_s, u"right"_s}) {
        LogicalInstance part;
        part.definitionId = placed.isEmpty() ? u"sphere"_s : QString();
        part.componentDefId = placed;
        part.name = name;
        root.children.append(part.id);
        nodes.append(part.toVariantMap());
    }
    nodes.append(root.toVariantMap());
    return {.id = id,
            .name = u"Knob"_s,
            .structure = {{u"instances"_s, nodes}, {u"root"_s, root.id.toString()}}};
}

/// A tree and a document with all that stands between them, and the panel.
struct World
{
    QSharedPointer<Corvane> scene = Corvane::create();
    LogicalScene tree;
    LogicalSceneCompiler compiler;
    corvane::ops::CorvaneOpExecutor executor{scene};
    ScenePanelModelAdapter panel;
    ScenePanelItemModel model;

    World()
    {
        compiler.setSource(&tree);
        compiler.setTarget(scene.data());
        executor.setLogicalScene(&tree);
        panel.setExecutor(&executor, &compiler);
        model.setPanel(&panel);
    }
    QUuid addItem(const QString &type, const QString &name, int order, const QUuid &parent = {})
    {
        SceneItem item;
        item.itemType = type;
        item.name = name;
        item.sortOrder = order;
        item.parentId = parent;
        return scene->addItem(item);
    }
    QUuid addNode(const QString &definitionId, const QString &name, const QUuid &parent = {})
    {
        const QUuid id = definitionId.isEmpty() ? tree.addContainer(u"Group"_s, parent)
                                                : tree.addInstance(definitionId, parent);
        tree.setInstanceName(id, name);
        return id;
    }
    QUuid idOf(const QString &name) const
    {
        const auto &nodes = tree.instances();
        const auto it =
            std::find_if(nodes.cbegin(), nodes.cend(),
                         [&](const LogicalInstance &node) { return node.name == name; });
        return it == nodes.cend() ? scene->instanceIdByName(name) : it.key();
    }
    QList<QUuid> idsOf(const QString &names) const
    {
        QList<QUuid> ids;
        for (const QString &name : names.split(u' '))
            ids.append(idOf(name));
        return ids;
    }
    QString fingerprint() const
    {
        const QVariant state = tree.toVariantMap();
        return scene->stateFingerprint() + QString::number(qHash(QDebug::toString(state)));
    }
};

/// "a(b c) d"
QString outline(const World &world, const QList<SceneItemView> &views)
{
    QStringList texts;
    for (const SceneItemView &view : views) {
        const QString below = outline(world, world.panel.childrenOf(view.id()));
        texts.append(view.name() + (below.isEmpty() ? below : u'(' + below + u')'));
    }
    return texts.join(u' ');
}

QString outline(const World &world)
{
    return outline(world, world.panel.rootItems());
}

/// "group(a b) op(c) cam folder(mesh) end"
void fill(World &world)
{
    const QUuid group = world.addNode({}, u"group"_s);
    world.addNode(u"box"_s, u"a"_s, group);
    world.addNode(u"box"_s, u"b"_s, group);
    world.addNode(u"box"_s, u"c"_s, world.addNode(u"union"_s, u"op"_s));
    world.addItem(ItemTypes::Camera, u"cam"_s, 0);
    const QUuid folder = world.addItem(ItemTypes::Group, u"folder"_s, 1);
    world.addItem(ItemTypes::Mesh, u"mesh"_s, 0, folder);
    world.addItem(ItemTypes::Camera, u"end"_s, 2);
}

} // namespace

class TstScenePanel : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void showsTreeAndDocument();
    void documentAloneIsShownWhole();
    void viewHasWhatExpressionsGave();
    void componentShowsItsStructure();
    void structureRowsAreReadOnly();
    void nestedComponentsEnd();
    void moves_data();
    void moves();
    void refusedMovesChangeNothing_data();
    void refusedMovesChangeNothing();
    void createsWhereItIsWanted();
    void copiesAreNumbered();
    void tagsAreOneStep();
    void selectionIsOfBoth();
    void signalsName_data();
    void signalsName();
    void followsWhatIsToldInOneGo();
    void rowsCanBeDragged();
    void randomEditsKeepTheModelSound();
};

/// Random edits are refused every now and then, and random components warn.
void TstScenePanel::init()
{
    if (qstrcmp(QTest::currentTestFunction(), "randomEditsKeepTheModelSound") != 0)
        QTest::failOnWarning(QRegularExpression(u".*"_s));
}

void TstScenePanel::showsTreeAndDocument()
{
    World world;
    fill(world);
    QCOMPARE(outline(world), u"group(a b) op(c) cam folder(mesh) end"_s);
    const auto group = world.panel.itemFor(world.idOf(u"group"_s));
    QVERIFY(group->isContainer() && group->itemType() == ItemTypes::Group);
    const auto box = world.panel.itemFor(world.idOf(u"a"_s));
    QCOMPARE(box->definitionId(), u"box"_s);
    QVERIFY(!box->isContainer() && !box->isComponent());
    QVERIFY(!world.panel.itemFor(QUuid::createUuid()));
    QVERIFY(world.panel.childrenOf(QUuid::createUuid()).isEmpty());
}

void TstScenePanel::documentAloneIsShownWhole()
{
    World world;
    world.executor.setLogicalScene(nullptr);
    world.panel.setExecutor(&world.executor);
    world.scene->addItem(Instance(u"box"_s));
    QCOMPARE(world.panel.rootItems().value(0, SceneItemView(SceneItem())).definitionId(), u"box"_s);
    const QUuid group = world.panel.createGroupItem({}, {});
    QCOMPARE(world.scene->item(group).itemType, ItemTypes::Group);
    world.panel.setExecutor(nullptr);
    QVERIFY(world.panel.rootItems().isEmpty());
    QVERIFY(!world.panel.deleteItem(group));
}

void TstScenePanel::viewHasWhatExpressionsGave()
{
    World world;
    const QUuid box = world.addNode(u"union"_s, u"u"_s);
    world.addNode(u"box"_s, u"below"_s, box);
    world.tree.setInstanceParameter(box, u"k"_s, u"=a*2"_s);
    Instance core = world.scene->instance(world.compiler.mappings().value(box).coreId);
    core.setExpression(u"k"_s, u"a*2"_s, 4.5);
    world.scene->updateItem(core);
    const auto view = world.panel.itemFor(box);
    QCOMPARE(view->id(), box);
    QCOMPARE(view->name(), u"u"_s);
    QCOMPARE(ParameterValue::fromVariant(view->params().value(u"k"_s)).value(), QVariant(4.5));
    QVERIFY(!view->params().contains(u"children"_s));
}

void TstScenePanel::componentShowsItsStructure()
{
    World world;
    QVERIFY(world.tree.componentRegistry()->registerDefinition(knob(u"knob"_s)));
    QVERIFY(world.tree.componentRegistry()->registerDefinition(knob(u"pair"_s, u"knob"_s)));
    const QUuid placed = world.tree.addComponentInstance(u"pair"_s);
    QCOMPARE(outline(world), u"Knob 1(root(left(root(left right)) right(root(left right))))"_s);
    QVERIFY(world.panel.itemFor(placed)->isComponent());
    QList<SceneItemView> open = world.panel.childrenOf(placed);
    int rows = 0;
    while (!open.isEmpty()) {
        const SceneItemView row = open.takeLast();
        QVERIFY(world.compiler.syntheticNodes().contains(row.id()));
        QVERIFY(world.panel.isReadOnly(row.id()));
        open += world.panel.childrenOf(row.id());
        ++rows;
    }
    QCOMPARE(rows, int(world.compiler.syntheticNodes().size()));
}

void TstScenePanel::structureRowsAreReadOnly()
{
    World world;
    fill(world);
    QVERIFY(world.tree.componentRegistry()->registerDefinition(knob(u"knob"_s)));
    const QUuid placed = world.tree.addComponentInstance(u"knob"_s);
    const QUuid root = world.panel.childrenOf(placed).constFirst().id();
    const QUuid left = world.panel.childrenOf(root).constFirst().id();
    const QUuid box = world.idOf(u"a"_s);
    const QString before = world.fingerprint();
    const auto refused = [] {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"can't be edited where"_s));
    };
    const std::function<bool()> edits[] = {
        [&] { return world.panel.moveItem(left, root, 1); },
        [&] { return world.panel.moveItem(box, root, 0); },
        [&] {
            return world.panel.moveItems({box, left}, {}, 0);
        },
        [&] { return world.panel.renameItem(left, u"x"_s); },
        [&] { return world.panel.deleteItem(root); },
        [&] { return world.panel.setItemHidden(left, true); },
        [&] { return !world.panel.duplicateItem(left).isNull(); },
        [&] { return !world.panel.createGroupItem({}, root).isNull(); },
        [&] { return !world.panel.createSdfInstance(u"box"_s, left).isNull(); },
    };
    for (const auto &edit : edits) {
        refused();
        QVERIFY(!edit());
    }
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"component instance"_s));
    QVERIFY(!world.panel.moveItems({box}, placed, 0) || world.tree.children(placed).isEmpty());
    QCOMPARE(world.fingerprint(), before);
    QVERIFY(!world.panel.canHaveChildren(placed) && !world.panel.canHaveChildren(root));
    QCOMPARE(world.panel.effectiveCreateParent(left), QUuid());
    world.panel.selectItem(left);
    QCOMPARE(world.panel.selectedIds(), QList<QUuid>{placed});
}

/// A file may hold components that contain themselves.
void TstScenePanel::nestedComponentsEnd()
{
    World world;
    world.executor.setLogicalScene(&world.tree);
    ComponentDefinition loop = knob(u"loop"_s, u"loop"_s);
    QVERIFY(world.tree.componentRegistry()->restoreDefinition(loop));
    world.compiler.setSource(nullptr);
    QUuid at = world.tree.addComponentInstance(u"loop"_s);
    int depth = 0;
    for (; depth < 1000 && !world.panel.childrenOf(at).isEmpty(); ++depth)
        at = world.panel.childrenOf(at).constFirst().id();
    QCOMPARE(depth, 64); // a root and a part at each of 32 levels
}

void TstScenePanel::moves_data()
{
    QTest::addColumn<QString>("moved");
    QTest::addColumn<QString>("parent");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char *name, const QString &moved, const QString &parent, int index,
                        const QString &expected) {
        QTest::newRow(name) << moved << parent << index << expected;
    };
    row("into a group", u"c"_s, u"group"_s, 1, u"group(a c b) op cam folder(mesh) end"_s);
    row("to the top", u"a"_s, {}, 1, u"group(b) a op(c) cam folder(mesh) end"_s);
    row("down in its list", u"a"_s, u"group"_s, 2, u"group(b a) op(c) cam folder(mesh) end"_s);
    row("up in its list", u"b"_s, u"group"_s, 0, u"group(b a) op(c) cam folder(mesh) end"_s);
    row("several, in the order given", u"b c"_s, u"group"_s, 0,
        u"group(b c a) op cam folder(mesh) end"_s);
    row("several of one list", u"a b"_s, u"op"_s, -1, u"group op(c a b) cam folder(mesh) end"_s);
    row("with what stands below", u"group a"_s, u"op"_s, 0,
        u"op(group(a b) c) cam folder(mesh) end"_s);
    row("an item into a group", u"cam"_s, u"folder"_s, 0,
        u"group(a b) op(c) folder(cam mesh) end"_s);
    row("an item behind another", u"cam"_s, {}, 4, u"group(a b) op(c) folder(mesh) cam end"_s);
    row("an item to the front", u"end"_s, {}, 2, u"group(a b) op(c) end cam folder(mesh)"_s);
    row("an item out of its group", u"mesh"_s, {}, 3, u"group(a b) op(c) cam mesh folder end"_s);
}

void TstScenePanel::moves()
{
    QFETCH(QString, moved);
    QFETCH(QString, parent);
    QFETCH(int, index);
    World world;
    fill(world);
    const QAbstractItemModelTester tester(&world.model);
    const QString before = world.fingerprint();
    const support::KeptRows rows(world.model, ScenePanelItemModel::UuidRole);
    QVERIFY(world.panel.moveItems(world.idsOf(moved), world.idOf(parent), index));
    QTEST(outline(world), "expected");
    QCOMPARE(rows.lost(), QStringList());
    QCOMPARE(world.executor.undoStack()->index(), 1);
    world.executor.undoStack()->undo();
    QCOMPARE(world.fingerprint(), before);
}

void TstScenePanel::refusedMovesChangeNothing_data()
{
    QTest::addColumn<QString>("moved");
    QTest::addColumn<QString>("parent");

    QTest::newRow("below itself") << u"group"_s << u"a"_s;
    QTest::newRow("one of them below itself") << u"c group"_s << u"a"_s;
    QTest::newRow("a node into a folder") << u"a"_s << u"folder"_s;
    QTest::newRow("an item into a node") << u"cam"_s << u"group"_s;
    QTest::newRow("a folder into itself") << u"folder"_s << u"folder"_s;
}

void TstScenePanel::refusedMovesChangeNothing()
{
    QFETCH(QString, moved);
    QFETCH(QString, parent);
    World world;
    fill(world);
    const QString before = world.fingerprint();
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"move refused"_s));
    QVERIFY(!world.panel.moveItems(world.idsOf(moved), world.idOf(parent), 0));
    QCOMPARE(world.fingerprint(), before);
    QCOMPARE(world.executor.undoStack()->count(), 0);
}

void TstScenePanel::createsWhereItIsWanted()
{
    World world;
    fill(world);
    const auto parentFor = [&world](const QString &selected) {
        return world.panel.effectiveCreateParent(world.idOf(selected));
    };
    QCOMPARE(parentFor(u"group"_s), world.idOf(u"group"_s));
    QCOMPARE(parentFor(u"a"_s), world.idOf(u"group"_s));
    QCOMPARE(parentFor(u"op"_s), QUuid());
    QCOMPARE(parentFor(u"mesh"_s), world.idOf(u"folder"_s));
    QCOMPARE(parentFor(u"none"_s), QUuid());

    world.panel.createGroupItem({}, {});
    world.panel.createGroupItem(u"parts"_s, world.idOf(u"group"_s));
    world.panel.createGroupItem(u"meshes"_s, world.idOf(u"folder"_s));
    const QUuid ball = world.panel.createSdfInstance(u"sphere"_s, world.idOf(u"parts"_s));
    QVERIFY(world.panel.renameItem(ball, u" ball "_s));
    QVERIFY(!world.panel.renameItem(ball, u"  "_s));
    QCOMPARE(outline(world), u"group(a b parts(ball)) op(c) Group 1 cam folder(mesh meshes) end"_s);
}

void TstScenePanel::copiesAreNumbered()
{
    World world;
    fill(world);
    QVERIFY(!world.panel.duplicateItem(world.idOf(u"op"_s)).isNull());
    QVERIFY(!world.panel.duplicateItem(world.idOf(u"mesh"_s)).isNull());
    QVERIFY(!world.panel.duplicateItem(world.idOf(u"mesh 1"_s)).isNull());
    QCOMPARE(outline(world), u"group(a b) op(c) op 1(c 1) cam folder(mesh mesh 1 mesh 2) end"_s);
    QCOMPARE(world.executor.undoStack()->count(), 3);
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"item not found"_s));
    QVERIFY(world.panel.duplicateItem(QUuid::createUuid()).isNull());
    QCOMPARE(world.executor.undoStack()->count(), 3);
    QVERIFY(world.panel.deleteItem(world.idOf(u"op"_s)));
    QCOMPARE(outline(world), u"group(a b) op 1(c 1) cam folder(mesh mesh 1 mesh 2) end"_s);
}

void TstScenePanel::tagsAreOneStep()
{
    World world;
    fill(world);
    for (const auto &name : {u"a"_s, u"cam"_s}) {
        const QUuid id = world.idOf(name);
        QVERIFY(world.panel.setItemHidden(id, true));
        QVERIFY(world.panel.setItemIsolated(id, true));
        QVERIFY(world.panel.itemFor(id)->isHidden() && world.panel.itemFor(id)->isIsolated());
        world.executor.undoStack()->undo();
        QVERIFY(world.panel.itemFor(id)->isHidden() && !world.panel.itemFor(id)->isIsolated());
        QVERIFY(world.panel.setItemHidden(id, false));
        QVERIFY(!world.panel.itemFor(id)->isHidden());
    }
    QVERIFY(!world.tree.isIsolated(world.idOf(u"a"_s)));
}

void TstScenePanel::selectionIsOfBoth()
{
    World world;
    fill(world);
    const QUuid box = world.idOf(u"a"_s);
    const QUuid camera = world.idOf(u"cam"_s);
    QSignalSpy changed(&world.panel, &IScenePanelModel::selectionChanged);
    world.panel.selectItem(box);
    QCOMPARE(world.panel.selectedIds(), QList<QUuid>{box});
    QVERIFY(!world.scene->selectedInstances().isEmpty()); // what it is compiled into
    world.panel.addToSelection(camera);
    QCOMPARE(world.panel.selectedIds(), (QList<QUuid>{box, camera}));
    QCOMPARE(world.panel.selectedId(), camera);
    world.panel.addToSelection(box);
    QCOMPARE(world.panel.selectedId(), box);
    world.panel.removeFromSelection(box);
    QCOMPARE(world.panel.selectedId(), camera);
    world.panel.selectItem(box);
    QCOMPARE(world.panel.selectedIds(), QList<QUuid>{box});
    world.panel.selectItem(camera);
    QCOMPARE(world.panel.selectedIds(), QList<QUuid>{camera});
    world.panel.selectItem({});
    QVERIFY(world.panel.selectedIds().isEmpty() && world.scene->selectedInstances().isEmpty());
    QVERIFY(changed.size() >= 6);
}

void TstScenePanel::signalsName_data()
{
    QTest::addColumn<QString>("name");

    QTest::newRow("node") << u"a"_s;
    QTest::newRow("item") << u"mesh"_s;
}

void TstScenePanel::signalsName()
{
    QFETCH(QString, name);
    World world;
    fill(world);
    const QUuid id = world.idOf(name);
    QSignalSpy added(&world.panel, &IScenePanelModel::itemAdded);
    QSignalSpy removed(&world.panel, &IScenePanelModel::itemRemoved);
    QSignalSpy renamed(&world.panel, &IScenePanelModel::itemRenamed);
    QSignalSpy updated(&world.panel, &IScenePanelModel::itemUpdated);
    QSignalSpy structure(&world.panel, &IScenePanelModel::structureChanged);
    QVERIFY(world.panel.renameItem(id, u"other"_s));
    QCOMPARE(renamed.value(0), (QVariantList{QVariant(id), QVariant(u"other"_s)}));
    QCOMPARE(structure.size(), 0);
    QVERIFY(world.panel.setItemIsolated(id, true));
    QVERIFY(updated.contains(QVariantList{QVariant(id)}));
    const QUuid copy = world.panel.duplicateItem(id);
    QVERIFY(added.contains(QVariantList{QVariant(copy)}));
    QVERIFY(structure.size() >= 1);
    structure.clear();
    QVERIFY(world.panel.deleteItem(copy));
    QVERIFY(removed.contains(QVariantList{QVariant(copy)}));
    QVERIFY(structure.size() >= 1);
}

void TstScenePanel::followsWhatIsToldInOneGo()
{
    World world;
    fill(world);
    const QAbstractItemModelTester tester(&world.model);
    QCOMPARE(world.model.rowCount(), 5);
    QSignalSpy structure(&world.panel, &IScenePanelModel::structureChanged);
    world.scene->exchangeItems({world.idOf(u"cam"_s)}, {});
    QCOMPARE(structure.size(), 1);
    QCOMPARE(world.model.rowCount(), 4);
    world.compiler.fullCompile();
    QCOMPARE(structure.size(), 1);
    world.scene->reset();
    QCOMPARE(world.model.rowCount(), 2);
}

void TstScenePanel::rowsCanBeDragged()
{
    World world;
    fill(world);
    const QAbstractItemModelTester tester(&world.model);
    const QModelIndex group = world.model.index(0, 0);
    const QModelIndex op = world.model.index(1, 0);
    QCOMPARE(world.model.rowCount(group), 2);
    const QModelIndex box = world.model.index(0, 0, group);
    QVERIFY(world.model.flags(group) & Qt::ItemIsDropEnabled);
    QVERIFY(!(world.model.flags(box) & Qt::ItemIsDropEnabled));
    const QScopedPointer<QMimeData> mime(world.model.mimeData({box}));
    QVERIFY(world.model.dropMimeData(mime.data(), Qt::MoveAction, 0, 0, op));
    QCOMPARE(outline(world), u"group(b) op(a c) cam folder(mesh) end"_s);
    QVERIFY(world.model.setData(world.model.index(2, 0), u"eye"_s, Qt::EditRole));
    QCOMPARE(world.model.index(2, 0).data().toString(), u"eye"_s);
}

/// Made scenes with components, edited through the panel and back again.
void TstScenePanel::randomEditsKeepTheModelSound()
{
    World world;
    support::LogicalSceneMaker(11).fill(world.tree, 60);
    fill(world);
    world.compiler.fullCompile();
    const QAbstractItemModelTester tester(&world.model);
    const QString before = world.fingerprint();
    QRandomGenerator random(5);
    for (int i = 0; i < 150; ++i) {
        QList<QUuid> ids = world.tree.instances().keys();
        ids += {world.idOf(u"cam"_s), world.idOf(u"folder"_s), world.idOf(u"mesh"_s)};
        const QUuid id = ids.at(random.bounded(int(ids.size())));
        const QUuid other = ids.at(random.bounded(int(ids.size())));
        switch (random.bounded(6)) {
        case 0:
            world.panel.moveItems({id, other}, ids.at(random.bounded(int(ids.size()))), 1);
            break;
        case 1:
            world.panel.moveItem(id, {}, int(random.bounded(8)));
            break;
        case 2:
            world.panel.createSdfInstance(u"box"_s, world.panel.effectiveCreateParent(id));
            break;
        case 3:
            world.panel.setItemHidden(id, random.bounded(2) == 0);
            break;
        case 4:
            if (world.tree.children(id).isEmpty() && world.tree.contains(id))
                world.panel.deleteItem(id);
            break;
        case 5:
            world.executor.undoStack()->undo();
            break;
        }
        QCOMPARE(world.model.rowCount(), int(world.panel.rootItems().size()));
        QCOMPARE(support::treeFaults(world.tree), QStringList());
    }
    while (world.executor.undoStack()->canUndo())
        world.executor.undoStack()->undo();
    QCOMPARE(world.fingerprint(), before);
}

QTEST_MAIN(TstScenePanel)
#include "tst_ScenePanel.moc"
