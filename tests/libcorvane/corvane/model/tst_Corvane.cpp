#include <corvane/model/Corvane.h>

#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace corvane::model;

namespace {

SceneItem namedItem(const QString &name, const QUuid &parent = {})
{
    Instance item(u"sphere"_s);
    item.name = name;
    item.parentId = parent;
    return item;
}

} // namespace

class TstCorvane : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void sharedNamePassesOn();
    void sceneChangesWithStructureOnly_data();
    void sceneChangesWithStructureOnly();
    void unknownItemIsNotUpdated();
    void removedItemLeavesReferencesBehind();
    void addingAnExistingItemKeepsIt();
    void childrenResolveByNameAndId();
    void itemNeverStandsUnderItself();
    void itemsMoveAmongTheirSiblings_data();
    void itemsMoveAmongTheirSiblings();
    void proxiesNeverNest();
    void selectionSpeaksOnce();
    void settingsAreNested();
    void animationClockHasDefaults_data();
    void animationClockHasDefaults();
    void frameStepLeavesTheSceneAlone();
    void fingerprintFollowsContentAndSelection();
    void resetLeavesANewDocument();
    void materialsAreIndexedByName();
};

void TstCorvane::sharedNamePassesOn()
{
    Corvane scene;
    const QUuid first = scene.addItem(namedItem(u"a"_s));
    const QUuid second = scene.addItem(namedItem(u"a"_s));
    QCOMPARE(scene.instanceIdByName(u"a"_s), first);
    scene.removeItem(first);
    QCOMPARE(scene.instanceIdByName(u"a"_s), second);
    SceneItem renamed = scene.item(second);
    renamed.name = u"b"_s;
    scene.updateItem(renamed);
    QVERIFY(scene.instanceIdByName(u"a"_s).isNull());
    QCOMPARE(scene.instanceIdByName(u"b"_s), second);
}

void TstCorvane::sceneChangesWithStructureOnly_data()
{
    using Edit = std::function<void(Instance &)>;
    QTest::addColumn<Edit>("edit");
    QTest::addColumn<bool>("structural");
    QTest::newRow("parameter") << Edit([](Instance &i) { i.setParameter(u"radius"_s, 2); })
                               << false;
    QTest::newRow("tag") << Edit([](Instance &i) { i.tags.insert(ItemTags::Hidden); }) << false;
    QTest::newRow("material") << Edit([](Instance &i) { i.material.metallic = 1; }) << false;
    QTest::newRow("name") << Edit([](Instance &i) { i.name = u"other"_s; }) << true;
    QTest::newRow("type") << Edit([](Instance &i) { i.itemType = ItemTypes::Group; }) << true;
    QTest::newRow("order") << Edit([](Instance &i) { i.sortOrder = 3; }) << true;
    QTest::newRow("parent") << Edit([](Instance &i) { i.parentId = QUuid::createUuid(); }) << true;
    QTest::newRow("children") << Edit([](Instance &i) {
        i.setParameter(u"children"_s, QVariantList{u"@x"_s});
    }) << true;
}

void TstCorvane::sceneChangesWithStructureOnly()
{
    QFETCH(const std::function<void(Instance &)>, edit);
    QFETCH(const bool, structural);
    Corvane scene;
    const QUuid id = scene.addItem(namedItem(u"ball"_s));
    QSignalSpy updated(&scene, &Corvane::instanceUpdated);
    QSignalSpy renamed(&scene, &Corvane::instanceRenamed);
    QSignalSpy changed(&scene, &Corvane::sceneChanged);
    Instance item = scene.instance(id);
    edit(item);
    scene.updateItem(item);
    QCOMPARE(updated.size(), 1);
    QCOMPARE(changed.size(), structural ? 1 : 0);
    QCOMPARE(renamed.size(), item.name == u"ball"_s ? 0 : 1);
    QCOMPARE(scene.item(id), static_cast<const SceneItem &>(item));
}

void TstCorvane::unknownItemIsNotUpdated()
{
    Corvane scene;
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(u"^Corvane::updateItem: Item not found:"_s));
    scene.updateItem(namedItem(u"ghost"_s));
    QVERIFY(scene.items().isEmpty());
}

void TstCorvane::removedItemLeavesReferencesBehind()
{
    Corvane scene;
    const QUuid child = scene.addItem(namedItem(u"child"_s));
    Instance parent(u"union"_s);
    parent.setParameter(u"children"_s, QVariantList{u"@child"_s});
    scene.addItem(parent);
    const QUuid below = scene.addItem(namedItem(u"below"_s, child));
    scene.setRoots({child, parent.id});
    scene.setSelectedInstance(child);

    QSignalSpy removed(&scene, &Corvane::itemRemoved);
    scene.removeItem(child);
    scene.removeItem(child);
    QCOMPARE(removed.size(), 1);
    QCOMPARE(scene.roots(), QList<QUuid>{parent.id});
    QVERIFY(scene.selectedInstances().isEmpty());
    QVERIFY(scene.childInstanceIds(parent.id).isEmpty());
    QCOMPARE(scene.instance(parent.id).childReferences(), QStringList{u"@child"_s});
    QCOMPARE(scene.parentInstanceId(below), child);
    QVERIFY(scene.hierarchyRootIds().contains(below));
}

void TstCorvane::addingAnExistingItemKeepsIt()
{
    Corvane scene;
    const QUuid id = QUuid::createUuid();
    QCOMPARE(scene.addSdfItem(id, u"a"_s), id);
    QCOMPARE(scene.addGroupItem(id, u"b"_s), id);
    QCOMPARE(scene.item(id).name, u"a"_s);
    QCOMPARE(scene.item(id).capabilities, 3u);
    const QUuid group = scene.addGroupItem(QUuid::createUuid(), u"g"_s);
    QCOMPARE(scene.item(group).capabilities, 65555u);
    QCOMPARE(scene.item(group).itemType, ItemTypes::Group);
}

void TstCorvane::childrenResolveByNameAndId()
{
    Corvane scene;
    const QUuid a = scene.addItem(namedItem(u"a"_s));
    const QUuid b = scene.addItem(namedItem(u"b"_s));
    Instance parent(u"union"_s);
    parent.setParameter(u"children"_s,
                        QVariantList{u"@b"_s, u'@' + a.toString(), u"@nobody"_s,
                                     b.toString(QUuid::WithoutBraces), u"a"_s, QString()});
    scene.addItem(parent);
    QCOMPARE(scene.childInstanceIds(parent.id), QList<QUuid>({b, a, b}));
}

void TstCorvane::itemNeverStandsUnderItself()
{
    Corvane scene;
    const QUuid top = scene.addItem(namedItem(u"top"_s));
    const QUuid middle = scene.addItem(namedItem(u"middle"_s, top));
    const QUuid leaf = scene.addItem(namedItem(u"leaf"_s, middle));
    const auto before = scene.items();
    for (const QUuid &descendant : {top, middle, leaf}) {
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"^Corvane::setParent: refused"_s));
        QVERIFY(!scene.setParent(top, descendant));
    }
    QVERIFY(!scene.setParent(top, QUuid::createUuid()));
    QVERIFY(!scene.setParent(QUuid::createUuid(), top));
    QCOMPARE(scene.items(), before);
    QCOMPARE(scene.depth(leaf), 2);
    QVERIFY(scene.setParent(leaf, {}));
    QCOMPARE(scene.depth(leaf), 0);
}

void TstCorvane::itemsMoveAmongTheirSiblings_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("order");
    QTest::newRow("where it is") << 0 << u"abcd"_s;
    QTest::newRow("to the middle") << 2 << u"bcad"_s;
    QTest::newRow("to the last place") << 3 << u"bcda"_s;
    QTest::newRow("beyond") << 4 << u"bcda"_s;
    QTest::newRow("to the end") << -1 << u"bcda"_s;
}

void TstCorvane::itemsMoveAmongTheirSiblings()
{
    QFETCH(const int, index);
    Corvane scene;
    const QUuid top = scene.addItem(namedItem(u"top"_s));
    for (const QString &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s}) {
        SceneItem item = namedItem(name, top);
        item.sortOrder = qint32(name.front().unicode());
        scene.addItem(item);
    }
    const QUuid moved = scene.instanceIdByName(u"a"_s);
    QVERIFY(scene.moveHierarchyItem(moved, top, index));
    QString order;
    const QList<QUuid> children = scene.hierarchyChildIds(top);
    for (const QUuid &id : children) {
        order += scene.item(id).name;
        QCOMPARE(scene.item(id).sortOrder, qint32(order.size() - 1));
    }
    QTEST(order, "order");
}

void TstCorvane::proxiesNeverNest()
{
    Corvane scene;
    const QUuid top = scene.addItem(namedItem(u"top"_s));
    const QUuid middle = scene.addItem(namedItem(u"middle"_s, top));
    const QUuid leaf = scene.addItem(namedItem(u"leaf"_s, middle));
    scene.setProxied(leaf, true);
    QVERIFY(scene.isProxyRoot(leaf));
    QSignalSpy changed(&scene, &Corvane::proxyStateChanged);
    scene.setProxied(top, true);
    scene.setProxied(top, true);
    QCOMPARE(changed.size(), 2);
    QVERIFY(!scene.isProxyRoot(leaf));
    QVERIFY(scene.isProxied(leaf));
    scene.setProxied(top, false);
    QVERIFY(!scene.isProxied(leaf));
}

void TstCorvane::selectionSpeaksOnce()
{
    Corvane scene;
    const QUuid a = scene.addItem(namedItem(u"a"_s));
    const QUuid b = scene.addItem(namedItem(u"b"_s));
    scene.addToSelection(a);
    scene.addToSelection(b);
    QSignalSpy updated(&scene, &Corvane::instanceUpdated);
    QSignalSpy selection(&scene, &Corvane::selectionChanged);
    QSignalSpy changed(&scene, &Corvane::sceneChanged);
    scene.clearSelection();
    QCOMPARE(updated.size(), 2);
    QCOMPARE(selection.size(), 1);
    scene.clearSelection();
    QCOMPARE(selection.size(), 1);
    scene.setSelectedInstance(b);
    QCOMPARE(scene.selectedInstances(), QList<QUuid>{b});
    scene.removeFromSelection(b);
    QVERIFY(scene.selectedInstances().isEmpty());
    QCOMPARE(changed.size(), 0);
}

void TstCorvane::settingsAreNested()
{
    Corvane scene;
    QSignalSpy changed(&scene, &Corvane::sceneSettingsChanged);
    scene.setSceneSetting(u"export.bounds.minX"_s, -2.5);
    scene.setSceneSetting(u"export.cellSize"_s, 0.1);
    QCOMPARE(changed.size(), 2);
    QCOMPARE(scene.sceneSetting(u"export.bounds"_s).toMap(), QVariantMap({{u"minX"_s, -2.5}}));
    QVERIFY(!scene.sceneSetting(u"export.cellSize.x"_s).isValid());
    QVERIFY(!scene.sceneSetting(u"nothing.here"_s).isValid());
    scene.setSceneSetting(u"export.cellSize.x"_s, 1);
    QCOMPARE(scene.sceneSetting(u"export.cellSize.x"_s).toInt(), 1);
}

void TstCorvane::animationClockHasDefaults_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<double>("fps");
    QTest::newRow("missing") << QVariant() << 30.0;
    QTest::newRow("zero") << QVariant(0) << 30.0;
    QTest::newRow("negative") << QVariant(-5.0) << 30.0;
    QTest::newRow("a word") << QVariant(u"fast"_s) << 30.0;
    QTest::newRow("a number") << QVariant(24) << 24.0;
}

void TstCorvane::animationClockHasDefaults()
{
    QFETCH(const QVariant, stored);
    QFETCH(const double, fps);
    Corvane scene;
    if (stored.isValid())
        scene.setSceneSetting(u"animation.fps"_s, stored);
    QCOMPARE(scene.animationFps(), fps);
    scene.setAnimationCurrentFrame(60);
    QCOMPARE(scene.animationTime(), 60 / fps);
    QVERIFY(!scene.animationPlaying());
}

void TstCorvane::frameStepLeavesTheSceneAlone()
{
    Corvane scene;
    QSignalSpy frame(&scene, &Corvane::animationFrameChanged);
    QSignalSpy changed(&scene, &Corvane::sceneChanged);
    scene.setAnimationCurrentFrame(1);
    scene.setAnimationCurrentFrame(1);
    QCOMPARE(frame.size(), 1);
    QCOMPARE(changed.size(), 0);
}

void TstCorvane::fingerprintFollowsContentAndSelection()
{
    Corvane scene;
    QStringList prints{scene.stateFingerprint()};
    const QUuid id = scene.addItem(namedItem(u"a"_s));
    prints << scene.stateFingerprint();
    scene.setSelectedInstance(id);
    prints << scene.stateFingerprint();
    scene.setUnits(u"cm"_s);
    prints << scene.stateFingerprint();
    QCOMPARE(prints.removeDuplicates(), 0);
    QCOMPARE(scene.stateFingerprint(), prints.last());
    QCOMPARE(prints.last().size(), 64);
}

void TstCorvane::resetLeavesANewDocument()
{
    Corvane scene;
    const QString fresh = scene.stateFingerprint();
    scene.setName(u"n"_s);
    scene.setRoots({scene.addItem(namedItem(u"a"_s))});
    scene.setVariableEntry(u"w"_s, {.value = 1});
    QSignalSpy changed(&scene, &Corvane::sceneChanged);
    scene.reset();
    QCOMPARE(changed.size(), 1);
    QCOMPARE(scene.stateFingerprint(), fresh);
    QVERIFY(scene.drawsAllItems());
}

void TstCorvane::materialsAreIndexedByName()
{
    Corvane scene;
    CatalogMaterial steel;
    steel.name = u"Steel"_s;
    QCOMPARE(scene.addMaterial(steel), steel.id);
    steel.name = u"Iron"_s;
    QVERIFY(scene.updateMaterial(steel));
    QVERIFY(scene.materialIdByName(u"Steel"_s).isNull());
    QCOMPARE(scene.materialIdByName(u"Iron"_s), steel.id);
    QVERIFY(!scene.updateMaterial(CatalogMaterial()));
    scene.removeMaterial(steel.id);
    QVERIFY(!scene.material(steel.id));
}

QTEST_GUILESS_MAIN(TstCorvane)
#include "tst_Corvane.moc"
