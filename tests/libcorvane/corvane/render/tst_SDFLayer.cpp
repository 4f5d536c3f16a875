#include <corvane/render/SDFLayer.h>

#include "SceneFixture.h"

#include <corvane/render/SDFNodeBuilder.h>

#include <QCoreApplication>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace corvane::render;
using namespace testing;
using namespace Qt::StringLiterals;
using corvane::shader::SDFNode;
namespace ItemTypes = corvane::model::ItemTypes;

namespace {

/// The masks that a layer asked for since the last call.
QList<quint32> takeActions(QSignalSpy &spy)
{
    QList<quint32> masks;
    for (const QVariantList &arguments : std::as_const(spy))
        masks.append(arguments.first().value<RenderActions>().toInt());
    spy.clear();
    return masks;
}

} // namespace

class TstSDFLayer : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void sceneIsBuiltAtOnce();
    void manySignalsRebuildOnce();
    void parameterChangeRepacksInPlace();
    void sharedInstanceIsRepackedEverywhere();
    void otherDefinitionOrNoNodeRebuilds();
    void registryChangeRenumbers();
    void unchangedActiveSetAsksForNoCompile();
    void domainsFollowOneAnother();
    void emptySceneHasNoDefinitions();
    void exportVolumeCutsOneDomain();
    void exportVolumeCutsTheUnionOfRoots();
    void exportVolumeLeavesTwoDomainsAlone();
    void refusedSceneHasAnErrorAndNoNodes();
    void formerSceneIsForgotten();

private:
    struct Bench
    {
        FilledRegistry registry;
        SceneFixture fixture;
        SDFLayer layer{&registry};
        QSignalSpy actions{&layer, &SDFLayer::actionsRequested};
    };
};

void TstSDFLayer::sceneIsBuiltAtOnce()
{
    Bench bench;
    QVERIFY(bench.layer.generatedNodes().isEmpty());
    const QUuid ball = bench.fixture.add(u"a"_s, u"ball"_s);
    bench.layer.setScene(&bench.fixture.scene);
    QCOMPARE(bench.layer.generatedNodes().size(), 1);
    QCOMPARE(bench.layer.domains(), QList<SDFLayer::DomainEntry>({{QUuid(), 0, 1}}));
    QCOMPARE(bench.layer.uniforms().nodeCount, 1);
    QCOMPARE(bench.layer.itemIdForNodeIndex(0), ball);
    QCOMPARE(bench.layer.itemIdForNodeIndex(1), QUuid());
    QVERIFY(bench.layer.nodesDirty());
    QCOMPARE(takeActions(bench.actions), QList<quint32>({1107}));
}

void TstSDFLayer::manySignalsRebuildOnce()
{
    Bench bench;
    bench.layer.setScene(&bench.fixture.scene);
    for (int i = 0; i < 20; ++i)
        bench.fixture.add(u"n%1"_s.arg(i), u"ball"_s);
    QVERIFY(bench.layer.generatedNodes().isEmpty());
    QVERIFY(takeActions(bench.actions).isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(bench.layer.generatedNodes().size(), 20);
    QCOMPARE(takeActions(bench.actions), QList<quint32>({1107, 1104}));
}

void TstSDFLayer::parameterChangeRepacksInPlace()
{
    Bench bench;
    const QUuid ball = bench.fixture.add(u"a"_s, u"ball"_s);
    const QUuid move = bench.fixture.add(u"m"_s, u"move"_s, {u"a"_s});
    bench.fixture.scene.setRoots({move});
    bench.layer.setScene(&bench.fixture.scene);
    bench.layer.clearNodesDirty();
    takeActions(bench.actions);
    const SDFNode before = bench.layer.generatedNodes().at(1);

    bench.fixture.change(ball, [](Instance &item) {
        item.setLiteral(u"radius"_s, 4.0);
        item.setModifiers({.shellThickness = 0.5f});
        item.material.metallic = 1.0f;
    });
    SDFNode expected = before;
    expected.params[0] = 4.0f;
    expected.shellThickness = 0.5f;
    expected.material.metallic = 1.0f;
    QCOMPARE(bench.layer.generatedNodes().at(1), expected);
    QVERIFY(bench.layer.nodesDirty());
    QCOMPARE(takeActions(bench.actions), QList<quint32>({1104}));
    bench.fixture.scene.setSceneSetting(u"export.cellSize"_s, 0.5);
    bench.fixture.scene.setVariableEntry(u"unread"_s, {});
    QCoreApplication::processEvents();
    QVERIFY2(takeActions(bench.actions).isEmpty(), "nothing was rebuilt");

    bench.fixture.change(move,
                         [](Instance &item) { item.setLiteral(u"children"_s, QStringList()); });
    QCoreApplication::processEvents();
    QCOMPARE(bench.layer.generatedNodes().size(), 1);
}

void TstSDFLayer::sharedInstanceIsRepackedEverywhere()
{
    Bench bench;
    const QUuid ball = bench.fixture.add(u"a"_s, u"ball"_s);
    const QUuid join = bench.fixture.add(u"j"_s, u"join"_s, {u"a"_s, u"a"_s});
    bench.fixture.scene.setRoots({join});
    bench.layer.setScene(&bench.fixture.scene);
    bench.fixture.change(ball, [](Instance &item) { item.setLiteral(u"radius"_s, 4.0); });
    QCOMPARE(bench.layer.generatedNodes().at(1).params[0], 4.0f);
    QCOMPARE(bench.layer.generatedNodes().at(2).params[0], 4.0f);
}

void TstSDFLayer::otherDefinitionOrNoNodeRebuilds()
{
    Bench bench;
    const QUuid ball = bench.fixture.add(u"a"_s, u"ball"_s);
    const QUuid spare = bench.fixture.add(u"b"_s, u"ball"_s);
    bench.fixture.scene.setRoots({ball});
    bench.layer.setScene(&bench.fixture.scene);
    takeActions(bench.actions);

    bench.layer.updateInstanceParameters(spare);
    QVERIFY(takeActions(bench.actions).isEmpty());
    QCoreApplication::processEvents();
    QCOMPARE(takeActions(bench.actions), QList<quint32>({1104}));

    bench.fixture.change(ball, [](Instance &item) { item.setDefinitionId(u"box"_s); });
    QCoreApplication::processEvents();
    QCOMPARE(SDFLayer::usedDefinitionIds(bench.layer.generatedNodes(), bench.layer.generator()),
             QSet<QString>({u"box"_s}));
    QCOMPARE(takeActions(bench.actions), QList<quint32>({1107, 1104}));
}

void TstSDFLayer::registryChangeRenumbers()
{
    Bench bench;
    bench.fixture.add(u"a"_s, u"ball"_s);
    bench.layer.setScene(&bench.fixture.scene);
    const auto indexOfBall = [&] { return bench.layer.generatedNodes().first().definitionIndex; };
    QCOMPARE(indexOfBall(), 0u);
    takeActions(bench.actions);

    const auto first = shipped(
        definition(u"aaa"_s, NodeType::Primitive, u"float sdf_aaa(vec3 p) { return p.x; }"_s));
    bench.registry.registerPrimitive(first);
    QCoreApplication::processEvents();
    QCOMPARE(indexOfBall(), 1u);
    QCOMPARE(takeActions(bench.actions), QList<quint32>({1107, 1104}));
    bench.registry.unregisterPrimitive(u"aaa"_s);
    QCoreApplication::processEvents();
    QCOMPARE(indexOfBall(), 0u);
}

void TstSDFLayer::unchangedActiveSetAsksForNoCompile()
{
    Bench bench;
    bench.fixture.add(u"a"_s, u"ball"_s);
    bench.layer.setScene(&bench.fixture.scene);
    takeActions(bench.actions);
    bench.fixture.add(u"b"_s, u"ball"_s);
    QCoreApplication::processEvents();
    QCOMPARE(takeActions(bench.actions), QList<quint32>({1104}));
    QVERIFY(!bench.layer.generator().generateSDFFunctions().contains("sdf_box"_L1));

    const QList<SDFNode> stray{SDFNode{.nodeType = 77}, SDFNode{.definitionIndex = 1000}};
    QVERIFY(SDFLayer::usedDefinitionIds(stray, bench.layer.generator()).isEmpty());
}

void TstSDFLayer::domainsFollowOneAnother()
{
    Bench bench;
    const QUuid domain = bench.fixture.addItem(ItemTypes::SdfDomain);
    const QUuid outside = bench.fixture.add(u"outside"_s, u"ball"_s);
    const QUuid ball = bench.fixture.add(u"a"_s, u"ball"_s);
    const QUuid move = bench.fixture.add(u"m"_s, u"move"_s, {u"a"_s});
    for (const QUuid &id : {ball, move})
        bench.fixture.change(id, [&](Instance &item) { item.parentId = domain; });
    bench.fixture.scene.setRoots({outside, move});
    bench.layer.setScene(&bench.fixture.scene);

    const QList<SDFNode> &nodes = bench.layer.generatedNodes();
    QCOMPARE(bench.layer.domains(),
             QList<SDFLayer::DomainEntry>({{QUuid(), 0, 1}, {domain, 1, 2}}));
    QCOMPARE(nodes.at(1).firstChild, 2);
    QCOMPARE(nodes.at(2).parentIndex, 1);
    QCOMPARE(nodes.at(0).nextSibling, -1);
    QCOMPARE(bench.layer.nodeIndexForItem(ball), 2);
    QCOMPARE(bench.layer.itemIdForNodeIndex(2), ball);
    QCOMPARE(bench.layer.uniforms().rootNodeIndex, 0);

    const auto field = bench.layer.nodesAsOneField();
    QCOMPARE(field.rootIndex, 0);
    QCOMPARE(field.nodes.at(0).nextSibling, 1);
    QCOMPARE(field.nodes.at(1).nextSibling, -1);
}

void TstSDFLayer::emptySceneHasNoDefinitions()
{
    Bench bench;
    bench.layer.setScene(&bench.fixture.scene);
    QVERIFY(!bench.layer.generator().generateFragmentShader().contains("sdf_ball"_L1));
}

void TstSDFLayer::exportVolumeCutsOneDomain()
{
    Bench bench;
    bench.fixture.add(u"a"_s, u"ball"_s);
    bench.layer.setScene(&bench.fixture.scene);
    bench.layer.setExportVolumeBounds({-1, -2, -3}, {3, 2, 3});
    bench.layer.setExportVolumeEnabled(true);
    QCoreApplication::processEvents();

    const QList<SDFNode> &nodes = bench.layer.generatedNodes();
    QCOMPARE(nodes.size(), 3);
    const SDFNode &box = nodes.at(1);
    const SDFNode &intersect = nodes.at(2);
    QCOMPARE(box.params, (std::array<float, 4>{2, 2, 3, 0}));
    QCOMPARE(box.transform[12], 1.0f);
    QCOMPARE(box.material.emission, 0.15f);
    QCOMPARE(intersect.operationType, 2u);
    QCOMPARE(intersect.firstChild, 0);
    QCOMPARE(intersect.childCount, 2);
    QCOMPARE(nodes.at(0).nextSibling, 1);
    QCOMPARE(nodes.at(0).parentIndex, 2);
    QCOMPARE(box.parentIndex, 2);
    QCOMPARE(bench.layer.uniforms().rootNodeIndex, 2);
    QCOMPARE(bench.layer.itemIdForNodeIndex(2), QUuid());
    QVERIFY(bench.layer.generator().indices().isActive(u"intersect"_s));

    bench.layer.setExportVolumeEnabled(false);
    QCoreApplication::processEvents();
    QCOMPARE(bench.layer.generatedNodes().size(), 1);
}

void TstSDFLayer::exportVolumeCutsTheUnionOfRoots()
{
    Bench bench;
    bench.fixture.add(u"a"_s, u"ball"_s);
    bench.fixture.add(u"b"_s, u"ball"_s);
    bench.layer.setExportVolumeEnabled(true);
    bench.layer.setScene(&bench.fixture.scene);

    // Balls 0 and 1 below the union 2, which the intersection 4 has together with the box 3.
    const QList<SDFNode> &nodes = bench.layer.generatedNodes();
    QCOMPARE(nodes.size(), 5);
    QCOMPARE(bench.layer.uniforms().rootNodeIndex, 4);
    QCOMPARE(nodes.at(4).firstChild, 2);
    QCOMPARE(nodes.at(4).operationType, 2u);
    QCOMPARE(nodes.at(2).nextSibling, 3);
    QCOMPARE(nodes.at(2).operationType, 0u);
    QCOMPARE(nodes.at(2).firstChild, 0);
    QCOMPARE(nodes.at(0).nextSibling, 1);
    QCOMPARE(nodes.at(1).nextSibling, -1);
    const int parents[] = {2, 2, 4, 4, -1};
    for (int i = 0; i < 5; ++i)
        QCOMPARE(nodes.at(i).parentIndex, parents[i]);
    QCOMPARE(bench.layer.domains().first().nodeCount, 5);
}

void TstSDFLayer::exportVolumeLeavesTwoDomainsAlone()
{
    Bench bench;
    const QUuid domain = bench.fixture.addItem(ItemTypes::SdfDomain);
    bench.fixture.add(u"a"_s, u"ball"_s);
    bench.fixture.change(bench.fixture.add(u"b"_s, u"ball"_s),
                         [&](Instance &item) { item.parentId = domain; });
    bench.layer.setExportVolumeEnabled(true);
    bench.layer.setScene(&bench.fixture.scene);
    QCOMPARE(bench.layer.domains().size(), 2);
    QCOMPARE(bench.layer.generatedNodes().size(), 2);
}

void TstSDFLayer::refusedSceneHasAnErrorAndNoNodes()
{
    Bench bench;
    bench.fixture.add(u"n0"_s, u"ball"_s);
    for (int i = 1; i <= 40; ++i)
        bench.fixture.add(u"n%1"_s.arg(i), u"join"_s, {u"n%1"_s.arg(i - 1), u"n%1"_s.arg(i - 1)});
    QTest::ignoreMessage(QtWarningMsg,
                         QRegularExpression(u"scene expands to more than 65536 nodes"_s));
    bench.layer.setScene(&bench.fixture.scene);
    QVERIFY(bench.layer.generatedNodes().isEmpty());
    QCOMPARE(bench.layer.buildError(), SDFNodeBuilder::tooManyNodesError());

    bench.fixture.scene.setRoots({numberedId(1)});
    QCoreApplication::processEvents();
    QCOMPARE(bench.layer.buildError(), QString());
    QCOMPARE(bench.layer.generatedNodes().size(), 1);
}

void TstSDFLayer::formerSceneIsForgotten()
{
    Bench bench;
    SceneFixture other;
    bench.fixture.add(u"a"_s, u"ball"_s);
    bench.layer.setScene(&bench.fixture.scene);
    bench.layer.setScene(&other.scene);
    QVERIFY(bench.layer.generatedNodes().isEmpty());
    takeActions(bench.actions);
    bench.fixture.add(u"b"_s, u"ball"_s);
    QCoreApplication::processEvents();
    QVERIFY(takeActions(bench.actions).isEmpty());
    bench.layer.setScene(nullptr);
    QCOMPARE(bench.layer.scene(), nullptr);
    QCOMPARE(bench.layer.uniforms().nodeCount, 0);
}

QTEST_GUILESS_MAIN(TstSDFLayer)
#include "tst_SDFLayer.moc"
