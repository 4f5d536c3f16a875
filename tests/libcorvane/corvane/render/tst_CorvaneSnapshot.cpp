#include "SceneFixture.h"

#include <corvane/render/CorvaneSnapshot.h>
#include <corvane/render/ParameterPatch.h>
#include <corvane/render/SDFLayer.h>

#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::render;
using corvane::registry::Registry;

class TstCorvaneSnapshot : public QObject
{
    Q_OBJECT

private slots:
    void theCopyIsDrawnAsTheDocument()
    {
        testing::FilledRegistry registry;
        testing::SceneFixture fixture;
        const QUuid ball = fixture.add(u"ball"_s, u"ball"_s, {}, {{u"radius"_s, 3.0}});
        const QUuid moved = fixture.add(u"moved"_s, u"move"_s, {u"ball"_s});
        corvane::model::CatalogMaterial red;
        red.material.albedo = {1, 0, 0, 1};
        auto item = fixture.scene.item(ball);
        item.materialId = fixture.scene.addMaterial(red);
        fixture.scene.updateItem(item);
        fixture.scene.setRoots({moved});

        SnapshotTaker taker(registry);
        const CorvaneSnapshot snapshot = taker.take(fixture.scene);
        fixture.scene.removeItem(ball); // what comes later is not in it
        const auto copy = rebuildCorvaneFromSnapshot(snapshot);
        const auto table = Registry().withoutFileScoped();
        syncRegistry(*table, *snapshot.definitions);
        SDFLayer layer(table.get());
        layer.setScene(copy.data());
        QCOMPARE(layer.generatedNodes().size(), 2);
        QCOMPARE(layer.generatedNodes().at(1).params[0], 3.0f);
        QCOMPARE(layer.generatedNodes().at(1).material.albedo[1], 0.0f);
        QCOMPARE(layer.itemIdForNodeIndex(1), ball);
    }

    void noRootsAreNotAllItems()
    {
        testing::FilledRegistry registry;
        testing::SceneFixture fixture;
        fixture.add(u"ball"_s, u"ball"_s);
        SnapshotTaker taker(registry);
        QVERIFY(rebuildCorvaneFromSnapshot(taker.take(fixture.scene))->drawsAllItems());
        fixture.scene.setRoots({});
        QVERIFY(!rebuildCorvaneFromSnapshot(taker.take(fixture.scene))->drawsAllItems());
    }

    void definitionsAreCopiedWhenTheyChange()
    {
        testing::FilledRegistry registry;
        testing::SceneFixture fixture;
        SnapshotTaker taker(registry);
        const auto first = taker.take(fixture.scene);
        const auto second = taker.take(fixture.scene);
        QVERIFY(first.definitions == second.definitions);
        QVERIFY(first.version < second.version);

        const auto table = Registry().withoutFileScoped();
        syncRegistry(*table, *first.definitions);
        int registered = 0;
        connect(table.get(), &Registry::primitiveRegistered, this, [&] { ++registered; });
        registry.unregisterPrimitive(u"grow"_s);
        registry.registerPrimitive(testing::shipped(testing::definition(
            u"ball"_s, corvane::registry::NodeType::Primitive,
            u"float sdf_ball(vec3 p, float r) { return length(p) - 2.0 * r; }"_s)));
        const auto third = taker.take(fixture.scene);
        QVERIFY(third.definitions != second.definitions);
        syncRegistry(*table, *third.definitions);
        QCOMPARE(registered, 1);
        QVERIFY(!table->contains(u"grow"_s));
        QVERIFY(table->getDefinition(u"ball"_s)->shaderCode.contains(u"2.0"_s));
        QVERIFY(table->getDefinition(u"ball"_s) != registry.getDefinition(u"ball"_s));
    }

    void ofEachParameterTheLatestValueStays()
    {
        PatchMailbox mailbox;
        const QUuid a = testing::numberedId(1);
        const QUuid b = testing::numberedId(2);
        QVERIFY(mailbox.post({.item = a, .values = {{u"x"_s, 1}, {u"y"_s, 1}}, .version = 1}));
        QVERIFY(!mailbox.post({.item = b, .values = {{u"x"_s, 5}}, .version = 2}));
        QVERIFY(!mailbox.post({.item = a, .values = {{u"x"_s, 2}}, .version = 3}));
        const auto patches = mailbox.take();
        QCOMPARE(patches.size(), 3); // of one item and version each
        QCOMPARE(patches.at(0).item, a);
        QCOMPARE(patches.at(0).values, (QVariantMap{{u"x"_s, 2}}));
        QCOMPARE(patches.at(0).version, 3u);
        QCOMPARE(patches.at(1).values, (QVariantMap{{u"y"_s, 1}}));
        QCOMPARE(patches.at(1).version, 1u);
        QVERIFY(mailbox.take().isEmpty());

        PatchTable table;
        table.put({.item = a, .values = {{u"x"_s, 2}, {u"y"_s, 2}}, .version = 2});
        table.put({.item = a, .values = {{u"x"_s, 9}}, .version = 1}); // came late
        table.put({.item = a, .values = {{u"y"_s, 5}}, .version = 5});
        table.dropUpTo(2);
        QCOMPARE(table.patches().size(), 1);
        QCOMPARE(table.patches().at(0).values, (QVariantMap{{u"y"_s, 5}}));
    }

    void aPatchChangesValuesAndNoStructure()
    {
        testing::SceneFixture fixture;
        const QUuid ball = fixture.add(u"ball"_s, u"ball"_s, {}, {{u"radius"_s, 3.0}});
        const quint64 structure = fixture.scene.structureRevision();
        QVERIFY(applyPatch(fixture.scene, {.item = ball, .values = {{u"radius"_s, 7.5}}}));
        QCOMPARE(fixture.scene.instance(ball).parameter(u"radius"_s).toDouble(), 7.5);
        QCOMPARE(fixture.scene.structureRevision(), structure);
        QVERIFY(!applyPatch(fixture.scene, {.item = testing::numberedId(99)}));
    }
};

QTEST_GUILESS_MAIN(TstCorvaneSnapshot)
#include "tst_CorvaneSnapshot.moc"
