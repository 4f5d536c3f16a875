#include <corvane/render/SDFNodeBuilder.h>

#include "SceneFixture.h"

#include <corvane/render/GroupTransforms.h>
#include <corvane/render/SDFNodePacker.h>
#include <corvane/shader/SDFShaderGenerator.h>

#include <QColor>
#include <QRegularExpression>
#include <QTest>
#include <QVector4D>

using namespace corvane::render;
using namespace testing;
using namespace Qt::StringLiterals;
using corvane::shader::GpuNodeType;
using corvane::shader::SDFNode;
namespace ItemTypes = corvane::model::ItemTypes;

namespace {

/// "ball(10) move(ball(10))": the tree by names of definitions, and the first parameter of each.
QString described(const QList<SDFNode> &nodes, const corvane::shader::SDFShaderGenerator &generator,
                  int index)
{
    QStringList siblings;
    for (; index >= 0; index = nodes.at(index).nextSibling) {
        const SDFNode &node = nodes.at(index);
        const QString id = generator.indices().idAt(node.type(), node.definitionIndex);
        const QString inner = node.firstChild >= 0 ? described(nodes, generator, node.firstChild)
                                                   : QString::number(node.params[0]);
        siblings.append((id.isEmpty() ? u"?"_s : id) + u'(' + inner + u')');
    }
    return siblings.join(u' ');
}

/// Parents stand before children, links agree in both directions, counts are those of the links.
bool linksAgree(const QList<SDFNode> &nodes, int root)
{
    int reached = 0;
    const std::function<bool(int, int, int)> walk = [&](int first, int parent, int expected) {
        int count = 0;
        for (int i = first; i >= 0; i = nodes.at(i).nextSibling, ++count) {
            const SDFNode &node = nodes.at(i);
            ++reached;
            if (node.parentIndex != parent || i <= parent ||
                !walk(node.firstChild, i, node.childCount))
                return false;
        }
        return expected < 0 || count == expected;
    };
    return walk(root, -1, -1) && reached == nodes.size();
}

} // namespace

class TstSDFNodeBuilder : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void scenesBecomeTrees_data();
    void scenesBecomeTrees();
    void rootsDecideWhatIsDrawn();
    void cycleCutsOnlyThatEdge();
    void unknownDefinitionIsFarAway();
    void doublingChildrenAreRefused();
    void deepChainsNeedNoStack();
    void domainsPickTheirRoots();
    void groupsMoveTheirInstances();
    void outerGroupsTurnWhatInnerOnesMove();
    void parentsInACircleEnd();
    void proxiedInstancesAreLeftOut();
    void valuesBecomeFloats_data();
    void valuesBecomeFloats();
    void parametersFillTheSlotsInOrder();
    void materialAndModifiersAreCopied();
    void smoothnessHasAFloor_data();
    void smoothnessHasAFloor();

private:
    QString tree(const SDFNodeBuilder &builder, int root) const
    {
        return described(builder.nodes(), m_generator, root);
    }

    FilledRegistry m_registry;
    corvane::shader::SDFShaderGenerator m_generator{&m_registry};
};

struct Item
{
    QString name;
    QString definition;
    QStringList children{};
};
using Items = QList<Item>;
Q_DECLARE_METATYPE(Items)

void TstSDFNodeBuilder::scenesBecomeTrees_data()
{
    QTest::addColumn<Items>("items");
    QTest::addColumn<QStringList>("roots");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char *name, const Items &items, const QStringList &roots,
                        const char *expected) {
        QTest::newRow(name) << items << roots << QString::fromLatin1(expected);
    };
    row("one primitive", {{u"a"_s, u"ball"_s}}, {u"a"_s}, "ball(10)");
    row("two roots in order", {{u"a"_s, u"ball"_s}, {u"b"_s, u"box"_s}}, {u"b"_s, u"a"_s},
        "box(1) ball(10)");
    row("operator",
        {{u"a"_s, u"ball"_s}, {u"b"_s, u"box"_s}, {u"j"_s, u"join"_s, {u"b"_s, u"a"_s}}}, {u"j"_s},
        "join(box(1) ball(10))");
    row("chain",
        {{u"a"_s, u"ball"_s}, {u"m"_s, u"move"_s, {u"a"_s}}, {u"g"_s, u"grow"_s, {u"m"_s}}},
        {u"g"_s}, "grow(move(ball(10)))");
    row("shared child stands twice", {{u"a"_s, u"ball"_s}, {u"j"_s, u"join"_s, {u"a"_s, u"a"_s}}},
        {u"j"_s}, "join(ball(10) ball(10))");
    row("missing children leave no gap",
        {{u"a"_s, u"ball"_s}, {u"j"_s, u"join"_s, {u"no"_s, u"a"_s, QString(), u"nor"_s, u"a"_s}}},
        {u"j"_s}, "join(ball(10) ball(10))");
    row("no children", {{u"j"_s, u"join"_s}}, {u"j"_s}, "join(0.25)");
    row("children of a primitive are none", {{u"a"_s, u"ball"_s, {u"b"_s}}, {u"b"_s, u"box"_s}},
        {u"a"_s}, "ball(10)");
}

void TstSDFNodeBuilder::scenesBecomeTrees()
{
    QFETCH(const Items, items);
    QFETCH(const QStringList, roots);
    SceneFixture fixture;
    for (const Item &item : items)
        fixture.add(item.name, item.definition, item.children);
    QList<QUuid> rootIds;
    for (const QString &root : roots)
        rootIds.append(fixture.scene.instanceIdByName(root));
    fixture.scene.setRoots(rootIds);

    SDFNodeBuilder builder(&m_generator);
    for (const bool domains : {false, true}) {
        const int root = domains ? builder.buildFromDomain(&fixture.scene, QUuid())
                                 : builder.buildWithoutDomains(&fixture.scene);
        QCOMPARE(root, 0);
        QTEST(tree(builder, root), "expected");
        QVERIFY(linksAgree(builder.nodes(), root));
        QCOMPARE(builder.itemIds().size(), builder.nodes().size());
        QCOMPARE(builder.nodeIndexById().value(rootIds.first()), 0);
    }
}

void TstSDFNodeBuilder::rootsDecideWhatIsDrawn()
{
    SceneFixture fixture;
    fixture.add(u"a"_s, u"ball"_s);
    fixture.addItem(ItemTypes::Group);
    fixture.add(u"m"_s, u"move"_s, {u"a"_s});
    SDFNodeBuilder builder(&m_generator);
    QCOMPARE(tree(builder, builder.buildWithoutDomains(&fixture.scene)),
             u"ball(10) move(ball(10))"_s);

    fixture.scene.setRoots({});
    QCOMPARE(builder.buildWithoutDomains(&fixture.scene), -1);
    QCOMPARE(builder.buildFromDomain(&fixture.scene, QUuid()), -1);
    QVERIFY(builder.nodes().isEmpty());
    QCOMPARE(builder.buildWithoutDomains(nullptr), -1);
    QCOMPARE(SDFNodeBuilder(nullptr).buildFromDomain(&fixture.scene, QUuid()), -1);
}

void TstSDFNodeBuilder::cycleCutsOnlyThatEdge()
{
    SceneFixture fixture;
    fixture.add(u"a"_s, u"ball"_s);
    const QUuid outer = fixture.add(u"outer"_s, u"join"_s, {u"inner"_s, u"a"_s});
    fixture.add(u"inner"_s, u"join"_s, {u"outer"_s, u"a"_s, u"outer"_s});
    fixture.scene.setRoots({outer});
    QTest::ignoreMessage(
        QtWarningMsg,
        qPrintable(u"SDFNodeBuilder: Circular reference detected for "_s + outer.toString()));
    SDFNodeBuilder builder(&m_generator);
    const int root = builder.buildFromDomain(&fixture.scene, QUuid());
    QCOMPARE(tree(builder, root), u"join(join(ball(10)) ball(10))"_s);
    QVERIFY(linksAgree(builder.nodes(), root));
}

void TstSDFNodeBuilder::unknownDefinitionIsFarAway()
{
    SceneFixture fixture;
    fixture.add(u"a"_s, u"no_such"_s, {u"a"_s});
    fixture.add(u"b"_s, u"no_such"_s);
    QTest::ignoreMessage(QtWarningMsg, "SDFLayer: Unknown node type for no_such");
    SDFNodeBuilder builder(&m_generator);
    const int root = builder.buildWithoutDomains(&fixture.scene);
    QCOMPARE(tree(builder, root), u"?(0) ?(0)"_s);
    QCOMPARE(builder.nodes().first().definitionIndex, corvane::shader::noDefinitionIndex);
}

void TstSDFNodeBuilder::doublingChildrenAreRefused()
{
    const auto doubling = [this](int levels) {
        SceneFixture fixture;
        fixture.add(u"n0"_s, u"ball"_s);
        for (int level = 1; level <= levels; ++level) {
            const QString below = u"n%1"_s.arg(level - 1);
            fixture.add(u"n%1"_s.arg(level), u"join"_s, {below, below});
        }
        fixture.scene.setRoots({fixture.scene.instanceIdByName(u"n%1"_s.arg(levels))});
        SDFNodeBuilder builder(&m_generator);
        builder.buildWithoutDomains(&fixture.scene);
        return std::pair(builder.nodes().size(), builder.error());
    };
    QCOMPARE(doubling(15), std::pair(qsizetype(65535), QString()));
    QCOMPARE(doubling(40), std::pair(qsizetype(0), SDFNodeBuilder::tooManyNodesError()));
    QVERIFY(SDFNodeBuilder::tooManyNodesError().startsWith(
        "scene expands to more than 65536 nodes"_L1));
}

void TstSDFNodeBuilder::deepChainsNeedNoStack()
{
    constexpr int depth = 20000;
    SceneFixture fixture;
    fixture.add(u"n0"_s, u"ball"_s);
    for (int i = 1; i <= depth; ++i)
        fixture.add(u"n%1"_s.arg(i), u"grow"_s, {u"n%1"_s.arg(i - 1)});
    fixture.scene.setRoots({fixture.scene.instanceIdByName(u"n%1"_s.arg(depth))});
    SDFNodeBuilder builder(&m_generator);
    QCOMPARE(builder.buildWithoutDomains(&fixture.scene), 0);
    QCOMPARE(builder.nodes().size(), depth + 1);
    QVERIFY(builder.error().isEmpty());
}

void TstSDFNodeBuilder::domainsPickTheirRoots()
{
    SceneFixture fixture;
    const QUuid domain = fixture.addItem(ItemTypes::SdfDomain);
    const QUuid group = fixture.addItem(ItemTypes::Group, {}, domain);
    const QUuid outside = fixture.add(u"outside"_s, u"ball"_s, {}, {{u"radius"_s, 1}});
    const QUuid inside = fixture.add(u"inside"_s, u"ball"_s, {}, {{u"radius"_s, 2}});
    const QUuid wrapper = fixture.add(u"wrapper"_s, u"grow"_s, {u"inside"_s});
    for (const QUuid &id : {inside, wrapper})
        fixture.change(id, [&](Instance &item) { item.parentId = group; });

    SDFNodeBuilder builder(&m_generator);
    const auto domainTree = [&] {
        return tree(builder, builder.buildFromDomain(&fixture.scene, domain));
    };
    QCOMPARE(domainTree(), u"ball(2) grow(ball(2))"_s);
    fixture.scene.setRoots({outside, inside});
    QCOMPARE(domainTree(), u"ball(2)"_s);
    QCOMPARE(tree(builder, builder.buildFromDomain(&fixture.scene, QUuid())), u"ball(1)"_s);
    fixture.scene.setRoots({outside}); // none in the domain: what nobody there lists
    QCOMPARE(domainTree(), u"grow(ball(2))"_s);
    QCOMPARE(builder.buildFromDomain(&fixture.scene, group), -1);
}

void TstSDFNodeBuilder::groupsMoveTheirInstances()
{
    SceneFixture fixture;
    const QUuid above = fixture.addItem(ItemTypes::Group, {1000, 0, 0});
    const QUuid domain = fixture.addItem(ItemTypes::SdfDomain, {100, 0, 0}, above);
    const QUuid group = fixture.addItem(ItemTypes::Group, {0, 20, 0}, domain);
    const QUuid wrapper = fixture.add(u"w"_s, u"move"_s, {u"a"_s});
    const QUuid ball = fixture.add(u"a"_s, u"ball"_s);
    fixture.change(wrapper, [&](Instance &item) {
        item.parentId = group;
        item.translate = {0, 0, 7};
    });
    fixture.change(ball, [&](Instance &item) {
        item.parentId = wrapper;
        item.translate = {0, 0, 7};
    });
    fixture.scene.setRoots({wrapper});

    SDFNodeBuilder builder(&m_generator);
    QCOMPARE(builder.buildFromDomain(&fixture.scene, domain), 0);
    for (const SDFNode &node : builder.nodes()) {
        QCOMPARE(QVector3D(node.transform[12], node.transform[13], node.transform[14]),
                 QVector3D(100, 20, 0));
        QCOMPARE(QVector3D(node.invTransform[12], node.invTransform[13], node.invTransform[14]),
                 QVector3D(-100, -20, 0));
    }
    QCOMPARE(builder.buildWithoutDomains(&fixture.scene), 0);
    QCOMPARE(builder.nodes().first().transform, SDFNode().transform);
}

void TstSDFNodeBuilder::outerGroupsTurnWhatInnerOnesMove()
{
    SceneFixture fixture;
    const QUuid outer = fixture.addItem(ItemTypes::Group, {0, 0, 5});
    const QUuid inner = fixture.addItem(ItemTypes::Group, {1, 0, 0}, outer);
    SceneItem turned = fixture.scene.item(outer);
    turned.rotate = {0, 0, 90};
    fixture.scene.updateItem(turned);
    const QVector3D moved = GroupTransforms(fixture.scene).below(inner).map(QVector3D());
    QVERIFY((moved - QVector3D(0, 1, 5)).length() < 1e-5f);
}

void TstSDFNodeBuilder::parentsInACircleEnd()
{
    SceneFixture fixture;
    const QUuid a = fixture.addItem(ItemTypes::Group, {1, 0, 0}, numberedId(2));
    const QUuid b = fixture.addItem(ItemTypes::Group, {0, 1, 0}, a);
    GroupTransforms transforms(fixture.scene);
    QCOMPARE(transforms.below(a).map(QVector3D()), QVector3D(1, 1, 0));
    QCOMPARE(transforms.below(numberedId(99)), QMatrix4x4());
    QVERIFY(!b.isNull());
}

void TstSDFNodeBuilder::proxiedInstancesAreLeftOut()
{
    SceneFixture fixture;
    const QUuid ball = fixture.add(u"a"_s, u"ball"_s);
    const QUuid join = fixture.add(u"j"_s, u"join"_s, {u"a"_s, u"b"_s});
    fixture.add(u"b"_s, u"box"_s);
    fixture.scene.setRoots({join, ball});
    fixture.scene.setProxied(ball, true);
    SDFNodeBuilder builder(&m_generator);
    QCOMPARE(tree(builder, builder.buildWithoutDomains(&fixture.scene)), u"join(box(1))"_s);
    QCOMPARE(tree(builder, builder.buildFromDomain(&fixture.scene, QUuid())),
             u"join(ball(10) box(1))"_s);
}

void TstSDFNodeBuilder::valuesBecomeFloats_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QList<float>>("expected");

    QTest::newRow("number") << QVariant(2.5) << QList<float>{2.5f};
    QTest::newRow("bool") << QVariant(true) << QList<float>{1};
    QTest::newRow("number in text") << QVariant(u"3"_s) << QList<float>{3};
    QTest::newRow("text") << QVariant(u"x"_s) << QList<float>{0};
    QTest::newRow("number for a vector") << QVariant(2) << QList<float>{2, 0, 0};
    QTest::newRow("two components") << QVariant(QVector2D(1, 2)) << QList<float>{1, 2, 0};
    QTest::newRow("three") << QVariant(QVector3D(1, 2, 3)) << QList<float>{1, 2, 3};
    QTest::newRow("four") << QVariant(QVector4D(1, 2, 3, 4)) << QList<float>{1, 2, 3, 4};
    QTest::newRow("too many") << QVariant(QVector4D(1, 2, 3, 4)) << QList<float>{1, 2};
    QTest::newRow("list") << QVariant(QVariantList{1, 2.5, u"3"_s}) << QList<float>{1, 2.5f, 3, 0};
    QTest::newRow("colour") << QVariant(QColor::fromRgbF(1.0f, 0.0f, 0.2f, 0.6f))
                            << QList<float>{1, 0, 0.2f, 0.6f};
    QTest::newRow("nothing") << QVariant() << QList<float>{0, 0};
}

void TstSDFNodeBuilder::valuesBecomeFloats()
{
    QFETCH(const QVariant, value);
    QFETCH(const QList<float>, expected);
    QList<float> floats(expected.size() + 1, -1.0f);
    SDFNodePacker::writeFloats(value, floats.data(), int(expected.size()));
    for (qsizetype i = 0; i < expected.size(); ++i)
        QVERIFY2(qAbs(floats.at(i) - expected.at(i)) < 1e-4f,
                 qPrintable(QString::number(floats.at(i))));
    QCOMPARE(floats.last(), -1.0f);
}

void TstSDFNodeBuilder::parametersFillTheSlotsInOrder()
{
    using enum SDFParameterType;
    const auto many =
        definition(u"many"_s, NodeType::Primitive, u"float sdf_many(vec3 p)"_s,
                   {parameter(u"a"_s, Float, 1.0), testing::children(), parameter(u"b"_s, Vec2),
                    parameter(u"c"_s, Vec3, QVariantList{4, 5, 6}),
                    parameter(u"d"_s, Vec3, QVariantList{7, 8, 9}), parameter(u"e"_s, Float, 10)});
    Instance instance(u"many"_s);
    instance.setParameter(u"b"_s, QVariantList{2, 3, 99});
    instance.setExpression(u"e"_s, u"x + 1"_s, 11);
    const SDFNodePacker::ParameterSlots expected{1, 2, 3, 4, 5, 6, 7, 8};
    QCOMPARE(SDFNodePacker::packParameters(instance, *many), expected);

    instance.setExpression(u"a"_s, u"x"_s, 0.5);
    instance.setExpression(u"c"_s, u"y"_s); // not evaluated yet: the default stands
    QCOMPARE(SDFNodePacker::packParameters(instance, *many),
             SDFNodePacker::ParameterSlots({0.5f, 2, 3, 4, 5, 6, 7, 8}));
}

void TstSDFNodeBuilder::materialAndModifiersAreCopied()
{
    SceneFixture fixture;
    corvane::model::CatalogMaterial catalogued;
    catalogued.material.metallic = 0.75f;
    const QUuid materialId = fixture.scene.addMaterial(catalogued);
    const QUuid id = fixture.add(u"a"_s, u"ball"_s);
    fixture.change(id, [](Instance &item) {
        item.material.albedo = {0.1f, 0.2f, 0.3f, 0.4f};
        item.material.roughness = 0.9f;
        item.setModifiers({.densityScale = 1.5f,
                           .shellThickness = 0.25f,
                           .blendSharpness = 0.125f,
                           .materialMode = 1});
    });
    SDFNodeBuilder builder(&m_generator);
    builder.buildWithoutDomains(&fixture.scene);
    const SDFNode node = builder.nodes().first();
    QCOMPARE(node.material.albedo, (std::array<float, 4>{0.1f, 0.2f, 0.3f, 0.4f}));
    QCOMPARE(node.material.roughness, 0.9f);
    QCOMPARE(node.densityScale, 1.5f);
    QCOMPARE(node.shellThickness, 0.25f);
    QCOMPARE(node.blendSharpness, 0.125f);
    QCOMPARE(node.materialMode, 1u);

    fixture.change(id, [&](Instance &item) { item.materialId = materialId; });
    builder.buildWithoutDomains(&fixture.scene);
    QCOMPARE(builder.nodes().first().material.metallic, 0.75f);
}

void TstSDFNodeBuilder::smoothnessHasAFloor_data()
{
    QTest::addColumn<QVariant>("smoothness");
    QTest::addColumn<float>("radius");

    QTest::newRow("given") << QVariant(0.5) << 0.5f;
    QTest::newRow("default of the definition") << QVariant() << 0.25f;
    QTest::newRow("zero") << QVariant(0) << 0.1f;
    QTest::newRow("negative") << QVariant(-1.0) << 0.1f;
    QTest::newRow("no number") << QVariant(qQNaN()) << 0.1f;
}

void TstSDFNodeBuilder::smoothnessHasAFloor()
{
    QFETCH(const QVariant, smoothness);
    SceneFixture fixture;
    fixture.add(u"j"_s, u"join"_s, {},
                smoothness.isValid() ? QVariantMap{{u"smoothness"_s, smoothness}} : QVariantMap{});
    SDFNodeBuilder builder(&m_generator);
    builder.buildWithoutDomains(&fixture.scene);
    QTEST(builder.nodes().first().smoothRadius, "radius");
}

QTEST_GUILESS_MAIN(TstSDFNodeBuilder)
#include "tst_SDFNodeBuilder.moc"
