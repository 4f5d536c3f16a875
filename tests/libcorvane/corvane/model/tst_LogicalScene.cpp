#include <corvane/model/LogicalScene.h>
#include <corvane/model/SDFNodeProvenance.h>
#include <support/LogicalSceneMaker.h>

#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace corvane::model;
using corvane::component::ComponentDefinition;

namespace {

/// A group with four boxes.
struct FourBoxes
{
    LogicalScene scene;
    QUuid group = scene.addContainer(u"Group"_s);
    QList<QUuid> boxes{
        scene.addInstance(u"box"_s, group),
        scene.addInstance(u"box"_s, group),
        scene.addInstance(u"box"_s, group),
        scene.addInstance(u"box"_s, group),
    };
};

ComponentDefinition simpleComponent(const QString &id, const QString &placed = {})
{
    LogicalInstance root;
    root.definitionId = placed.isEmpty() ? u"sphere"_s : QString();
    root.componentDefId = placed;
    return {.id = id,
            .name = u"Knob"_s,
            .structure = {{u"instances"_s, QVariantList{root.toVariantMap()}},
                          {u"root"_s, root.id.toString()}}};
}

} // namespace

class TstLogicalScene : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void addedNodeIsComplete();
    void componentInstanceIsComplete();
    void namesAreUnique();
    void removalTakesTheSubtree();
    void moves_data();
    void moves();
    void refusedMovesChangeNothing_data();
    void refusedMovesChangeNothing();
    void restoreRefuses();
    void replaceTellsWhatDiffers_data();
    void replaceTellsWhatDiffers();
    void batchTellsOnce();
    void contradictoryStateBecomesATree();
    void randomEditsKeepTheTree();
    void manyChildrenComeAndGo();
    void rolesHaveNames();
};

void TstLogicalScene::addedNodeIsComplete()
{
    const QUuid material = QUuid::createUuid();
    LogicalScene::setDefaultMaterialSource([&material] { return material; });
    const auto forget = qScopeGuard([] { LogicalScene::setDefaultMaterialSource({}); });
    LogicalScene scene;
    QSignalSpy added(&scene, &LogicalScene::instanceAdded);
    QSignalSpy structure(&scene, &LogicalScene::structureChanged);
    const QUuid id = scene.addInstance(u"box"_s);
    QCOMPARE(added, QList<QVariantList>({{id}}));
    QCOMPARE(structure.size(), 1);
    QCOMPARE(scene.roots(), QList<QUuid>{id});
    const LogicalInstance &box = *scene.instance(id);
    QCOMPARE(box.name, u"Box 1"_s);
    QCOMPARE(box.materialId, material);
    QCOMPARE(box.wrappers,
             QList<WrapperValues>({{u"translate"_s, {}}, {u"rotate"_s, {}}, {u"scale"_s, {}}}));
    // A parent that does not exist is the top.
    QVERIFY(scene.isRoot(scene.addInstance(u"sphere"_s, QUuid::createUuid())));
    const QUuid child = scene.addInstance(u"no such thing"_s, id);
    QCOMPARE(scene.parentOf(child), id);
    QCOMPARE(scene.instance(child)->name, u"no such thing 1"_s);
    QVERIFY(scene.instance(child)->wrappers.isEmpty());
}

void TstLogicalScene::componentInstanceIsComplete()
{
    LogicalScene scene;
    QVERIFY(scene.componentRegistry()->registerDefinition(simpleComponent(u"knob"_s)));
    const QUuid box = scene.addInstance(u"box"_s);
    const QUuid first = scene.addInstance(u"knob"_s);
    const QUuid second = scene.addComponentInstance(u"knob"_s, {}, 0);
    QCOMPARE(scene.roots(), QList<QUuid>({second, box, first}));
    QCOMPARE(scene.componentDefIdOf(first), u"knob"_s);
    QVERIFY(scene.instance(first)->definitionId.isEmpty());
    QCOMPARE(scene.instance(second)->name, u"Knob 2"_s);
    QCOMPARE(scene.instance(first)->wrappers.size(), 3);
    QVERIFY(scene.addComponentInstance(u"nothing"_s).isNull());
    QTest::ignoreMessage(QtWarningMsg, "LogicalScene::addInstance: refused \u2014 cannot add into "
                                       "a component instance");
    QVERIFY(scene.addInstance(u"box"_s, first).isNull());
    QCOMPARE(scene.instances().size(), 3);
}

void TstLogicalScene::namesAreUnique()
{
    LogicalScene scene;
    QCOMPARE(scene.generateUniqueName(u"Box"_s), u"Box 1"_s);
    const QUuid id = scene.addInstance(u"sphere"_s);
    QSignalSpy renamed(&scene, &LogicalScene::instanceNameChanged);
    QSignalSpy structure(&scene, &LogicalScene::structureChanged);
    scene.setInstanceName(id, u"Box 1"_s);
    QCOMPARE(renamed, QList<QVariantList>({{id, u"Box 1"_s}}));
    QCOMPARE(structure.size(), 0); // names mean nothing to the field
    QCOMPARE(scene.generateUniqueName(u"Box"_s), u"Box 2"_s);
    QCOMPARE(scene.generateUniqueName(u"Sphere"_s), u"Sphere 1"_s);

    FourBoxes made;
    made.scene.removeInstance(made.boxes.at(1));
    QCOMPARE(made.scene.generateUniqueName(u"Box"_s), u"Box 2"_s);
    made.scene.setInstanceName(made.boxes.at(0), u"Lid"_s);
    QCOMPARE(made.scene.instance(made.scene.addInstance(u"box"_s))->name, u"Box 1"_s);
    QCOMPARE(made.scene.instance(made.scene.addInstance(u"box"_s))->name, u"Box 2"_s);
    QCOMPARE(made.scene.generateUniqueName(u"Box"_s), u"Box 5"_s);
}

void TstLogicalScene::removalTakesTheSubtree()
{
    FourBoxes made;
    const QUuid below = made.scene.addInstance(u"sphere"_s, made.boxes.at(2));
    QSignalSpy structure(&made.scene, &LogicalScene::structureChanged);
    QList<QUuid> removed;
    connect(&made.scene, &LogicalScene::instanceRemoved, this, [&](const QUuid &id) {
        removed.append(id);
        QVERIFY(!made.scene.contains(id));
        QCOMPARE(support::treeFaults(made.scene), QStringList());
    });
    made.scene.removeInstance(made.group);
    QCOMPARE(removed.size(), 6);
    QVERIFY(removed.indexOf(below) < removed.indexOf(made.boxes.at(2)));
    QCOMPARE(removed.last(), made.group);
    QCOMPARE(structure.size(), 1);
    QVERIFY(made.scene.instances().isEmpty());
    QVERIFY(made.scene.roots().isEmpty());
    made.scene.removeInstance(made.group);
    QCOMPARE(structure.size(), 1);
}

void TstLogicalScene::moves_data()
{
    QTest::addColumn<int>("moved");
    QTest::addColumn<int>("index");
    QTest::addColumn<QList<int>>("order");
    QTest::newRow("forward") << 1 << 3 << QList<int>{0, 2, 1, 3};
    QTest::newRow("back") << 2 << 0 << QList<int>{2, 0, 1, 3};
    QTest::newRow("to where it is") << 1 << 1 << QList<int>{0, 1, 2, 3};
    QTest::newRow("behind itself") << 1 << 2 << QList<int>{0, 1, 2, 3};
    QTest::newRow("to the end") << 0 << -1 << QList<int>{1, 2, 3, 0};
    QTest::newRow("past the end") << 0 << 99 << QList<int>{1, 2, 3, 0};
}

void TstLogicalScene::moves()
{
    QFETCH(const int, moved);
    QFETCH(const int, index);
    QFETCH(const QList<int>, order);
    FourBoxes made;
    QSignalSpy told(&made.scene, &LogicalScene::instanceMoved);
    QVERIFY(made.scene.moveInstance(made.boxes.at(moved), made.group, index));
    QCOMPARE(told.size(), 1);
    QList<QUuid> expected;
    for (const int box : order)
        expected.append(made.boxes.at(box));
    QCOMPARE(made.scene.children(made.group), expected);
    QCOMPARE(made.scene.indexOf(made.boxes.at(moved)), order.indexOf(moved));

    // To the top and back again.
    QVERIFY(made.scene.moveInstance(made.boxes.at(moved), {}, 0));
    QVERIFY(made.scene.parentOf(made.boxes.at(moved)).isNull());
    QCOMPARE(made.scene.roots(), QList<QUuid>({made.boxes.at(moved), made.group}));
    QVERIFY(made.scene.moveInstance(made.boxes.at(moved), made.group, order.indexOf(moved)));
    QCOMPARE(made.scene.children(made.group), expected);
    QCOMPARE(support::treeFaults(made.scene), QStringList());
}

void TstLogicalScene::refusedMovesChangeNothing_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("reason");
    QTest::newRow("itself") << u"group"_s << u"would create a cycle"_s;
    QTest::newRow("below itself") << u"box"_s << u"would create a cycle"_s;
    QTest::newRow("component") << u"component"_s << u"cannot move into a component instance"_s;
    QTest::newRow("nowhere") << u"nowhere"_s << u"no such node"_s;
}

void TstLogicalScene::refusedMovesChangeNothing()
{
    QFETCH(const QString, target);
    QFETCH(const QString, reason);
    FourBoxes made;
    QVERIFY(made.scene.componentRegistry()->registerDefinition(simpleComponent(u"knob"_s)));
    const QUuid knob = made.scene.addInstance(u"knob"_s);
    const QHash<QString, QUuid> targets{{u"group"_s, made.group},
                                        {u"box"_s, made.boxes.at(3)},
                                        {u"component"_s, knob},
                                        {u"nowhere"_s, QUuid::createUuid()}};
    const QVariantMap before = made.scene.toVariantMap();
    QSignalSpy structure(&made.scene, &LogicalScene::structureChanged);
    QTest::ignoreMessage(QtWarningMsg,
                         qPrintable(u"LogicalScene::moveInstance: refused \u2014 "_s + reason));
    QVERIFY(!made.scene.moveInstance(made.group, targets.value(target)));
    QVERIFY(
        !made.scene.moveInstance(QUuid::createUuid(), {})); // of nothing there is nothing to say
    QCOMPARE(made.scene.toVariantMap(), before);
    QCOMPARE(structure.size(), 0);
    // A component instance may go anywhere itself.
    QVERIFY(made.scene.moveInstance(knob, made.group, 1));
    QCOMPARE(made.scene.indexOf(knob), 1);
}

void TstLogicalScene::restoreRefuses()
{
    FourBoxes made;
    const QVariantMap before = made.scene.toVariantMap();
    QVERIFY(made.scene.restoreInstance({}).isNull());
    QVERIFY(made.scene.restoreInstance({{u"id"_s, u"no id"_s}, {u"type"_s, u"box"_s}}).isNull());
    QVERIFY(made.scene.restoreInstance(made.scene.instance(made.group)->toVariantMap()).isNull());
    QCOMPARE(made.scene.toVariantMap(), before);
    // Children that stand elsewhere stay there.
    LogicalInstance thief;
    thief.children = {made.boxes.first(), QUuid::createUuid()};
    QVERIFY(!made.scene.restoreInstance(thief.toVariantMap()).isNull());
    QCOMPARE(made.scene.children(thief.id), QList<QUuid>());
    QCOMPARE(support::treeFaults(made.scene), QStringList());
}

void TstLogicalScene::replaceTellsWhatDiffers_data()
{
    QTest::addColumn<QVariantMap>("change");
    QTest::addColumn<QStringList>("told");
    const auto row = [](const QString &key, const QVariant &value, const QStringList &told) {
        QTest::newRow(qPrintable(told.join(u' ') + u' ' + key))
            << QVariantMap{{key, value}} << told;
    };
    QTest::newRow("nothing") << QVariantMap() << QStringList();
    row(u"name"_s, u"x"_s, {u"name"_s});
    row(u"params"_s, QVariantMap{{u"a"_s, 1}}, {u"parameter"_s});
    row(u"shellThickness"_s, 2, {u"parameter"_s});
    row(u"rotate"_s, QVariantList{1, 2, 3}, {u"transform"_s});
    row(u"type"_s, u"torus"_s, {u"structure"_s});
    row(u"tags"_s, u"hidden"_s, {u"visibility"_s});
    row(u"tags"_s, u"selected"_s, {u"selection"_s});
    row(u"wrappers"_s, QVariantMap{{u"onion"_s, QVariantMap()}}, {u"wrapper"_s, u"structure"_s});
}

void TstLogicalScene::replaceTellsWhatDiffers()
{
    QFETCH(const QVariantMap, change);
    LogicalScene scene;
    const QUuid id = scene.addInstance(u"box"_s);
    const QUuid child = scene.addInstance(u"box"_s, id);
    QStringList told;
    connect(&scene, &LogicalScene::instanceNameChanged, this, [&] { told += u"name"_s; });
    connect(&scene, &LogicalScene::instanceParameterChanged, this, [&] { told += u"parameter"_s; });
    connect(&scene, &LogicalScene::instanceTransformChanged, this, [&] { told += u"transform"_s; });
    connect(&scene, &LogicalScene::wrapperParameterChanged, this, [&] { told += u"wrapper"_s; });
    connect(&scene, &LogicalScene::visibilityChanged, this, [&] { told += u"visibility"_s; });
    connect(&scene, &LogicalScene::selectionChanged, this, [&] { told += u"selection"_s; });
    connect(&scene, &LogicalScene::structureChanged, this, [&] { told += u"structure"_s; });
    QVariantMap map = scene.instance(id)->toVariantMap();
    map.insert(change);
    map.remove(u"children"_s);
    const auto replacement = LogicalInstance::fromVariantMap(map);
    QVERIFY(scene.replaceInstance(replacement));
    QTEST(told, "told");
    QCOMPARE(scene.children(id), QList<QUuid>{child});
    QVERIFY(scene.hasName(replacement.name));
    QVERIFY(!scene.replaceInstance(LogicalInstance()));
}

void TstLogicalScene::batchTellsOnce()
{
    LogicalScene scene;
    QSignalSpy structure(&scene, &LogicalScene::structureChanged);
    {
        const LogicalScene::Batch outer(scene);
        const LogicalScene::Batch inner(scene);
        scene.addInstance(u"box"_s);
        scene.addInstance(u"box"_s);
        QCOMPARE(structure.size(), 0);
    }
    QCOMPARE(structure.size(), 1);
    {
        const LogicalScene::Batch nothing(scene);
    }
    QCOMPARE(structure.size(), 1);
}

void TstLogicalScene::contradictoryStateBecomesATree()
{
    LogicalInstance a;
    LogicalInstance b;
    a.name = u"a"_s;
    b.name = u"b"_s;
    a.children = {b.id, a.id, QUuid::createUuid()};
    b.children = {a.id};
    const QVariantList nodes{a.toVariantMap(), b.toVariantMap(), a.toVariantMap(),
                             QVariantMap{{u"name"_s, u"nobody"_s}}, 5};
    LogicalScene scene;
    QStringList warnings;
    scene.fromVariantMap({{u"instances"_s, nodes}, {u"roots"_s, QVariantList{a.id.toString()}}},
                         &warnings);
    QCOMPARE(warnings.size(), 6);
    QVERIFY(warnings.contains(u"Instance \"a\" has the id of another one and was dropped"_s));
    QVERIFY(warnings.contains(u"Instance \"nobody\" has no id and was dropped"_s));
    QCOMPARE(scene.instances().size(), 2);
    QCOMPARE(scene.children(a.id), QList<QUuid>{b.id});
    QCOMPARE(support::treeFaults(scene), QStringList());
}

void TstLogicalScene::randomEditsKeepTheTree()
{
    QRandomGenerator random(7);
    LogicalScene scene;
    support::LogicalSceneMaker maker(7);
    for (int step = 0; step < 3000; ++step) {
        const QList<QUuid> ids = scene.instances().keys();
        const QUuid id = ids.isEmpty() ? QUuid() : ids.at(random.bounded(ids.size()));
        const QUuid other = ids.isEmpty() ? QUuid() : ids.at(random.bounded(ids.size()));
        switch (random.bounded(ids.size() > 60 ? 4 : 3)) {
        case 0:
            scene.addInstance(u"box"_s, other);
            break;
        case 1:
            if (scene.canMove(id, other))
                scene.moveInstance(id, other, random.bounded(5) - 1);
            break;
        case 2:
            scene.restoreInstance(maker.node().toVariantMap(), other, random.bounded(4) - 1);
            break;
        default:
            scene.removeInstance(id);
        }
        if (step % 50 == 0)
            QCOMPARE(support::treeFaults(scene), QStringList());
    }
    for (const LogicalInstance &node : scene.instances())
        QVERIFY(node.name.isEmpty() || scene.hasName(node.name));
    QCOMPARE(support::treeFaults(scene), QStringList());
}

void TstLogicalScene::manyChildrenComeAndGo()
{
    constexpr int count = 20000;
    LogicalScene scene;
    const QUuid group = scene.addContainer(u"Group"_s);
    QList<QUuid> ids;
    for (int i = 0; i < count; ++i)
        ids.append(scene.addInstance(u"box"_s, group));
    QCOMPARE(scene.instance(ids.last())->name, u"Box %1"_s.arg(count));
    for (int i = 0; i < count / 2; ++i) {
        scene.removeInstance(ids.at(i));
        scene.removeInstance(ids.at(count - 1 - i));
    }
    QVERIFY(scene.children(group).isEmpty());
    QCOMPARE(scene.generateUniqueName(u"Box"_s), u"Box 1"_s);
}

void TstLogicalScene::rolesHaveNames()
{
    using Role = SDFNodeProvenance::Role;
    const std::tuple<QString, int, QString> rows[] = {
        {u"core"_s, 1, u"core"_s},
        {u"translate"_s, 2, u"wrapper-translate"_s},
        {u"rotate"_s, 3, u"wrapper-rotate"_s},
        {u"scale"_s, 4, u"wrapper-scale"_s},
        {u"onion"_s, 7, u"convenience-wrapper"_s},
    };
    for (const auto &[suffix, role, name] : rows) {
        QCOMPARE(int(classifyRoleForSuffix(suffix)), role);
        QCOMPARE(roleToString(Role(role)), name);
    }
    QCOMPARE(roleToString(Role(5)), u"operator-slot"_s);
    QCOMPARE(roleToString(Role(6)), u"operator-slot-empty"_s);
    QCOMPARE(roleToString(Role(99)), u"unknown"_s);
    QCOMPARE(SDFNodeProvenance::fromVariantMap({{u"role"_s, 99}}), SDFNodeProvenance());
}

QTEST_GUILESS_MAIN(TstLogicalScene)
#include "tst_LogicalScene.moc"
