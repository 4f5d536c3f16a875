#include "GlslAsCpp.h"

#include <corvane/shader/WalkDepth.h>

#include <QTest>

using corvane::shader::GpuNodeType;
using corvane::shader::SDFNode;

namespace {

/// A tree by its parts, parents before children.
struct Part
{
    GpuNodeType type = GpuNodeType::Primitive;
    float parameter = 0.0f;
    QList<Part> children{};
    quint32 operation = 0;
    quint32 definition = 0;
    float smoothRadius = 0.1f;
    float densityScale = 1.0f;
    float shellThickness = 0.0f;
    quint32 materialMode = 2;
};
using Parts = QList<Part>;

Part plane(float height)
{
    return {.parameter = height};
}

Part csg(quint32 operation, const Parts &children, float smoothRadius = 0.1f,
         quint32 definition = 0)
{
    return {.type = GpuNodeType::CsgOp,
            .children = children,
            .operation = operation,
            .definition = definition,
            .smoothRadius = smoothRadius};
}

Part wrap(GpuNodeType type, float parameter, const Part &child)
{
    return {.type = type, .parameter = parameter, .children = {child}};
}

int append(QList<SDFNode> &nodes, const Part &part, int parent = -1)
{
    const int index = int(nodes.size());
    SDFNode node;
    node.nodeType = quint32(part.type);
    node.definitionIndex = part.definition;
    node.operationType = part.operation;
    node.params[0] = part.parameter;
    node.smoothRadius = part.smoothRadius;
    node.densityScale = part.densityScale;
    node.shellThickness = part.shellThickness;
    node.materialMode = part.materialMode;
    node.parentIndex = parent;
    nodes.append(node);
    int previous = -1;
    for (const Part &child : part.children) {
        const int childIndex = append(nodes, child, index);
        (previous < 0 ? nodes[index].firstChild : nodes[previous].nextSibling) = childIndex;
        previous = childIndex;
    }
    return index;
}

QList<SDFNode> nodesOf(const Parts &roots)
{
    QList<SDFNode> nodes;
    int previous = -1;
    for (const Part &root : roots) {
        const int index = append(nodes, root);
        if (previous >= 0)
            nodes[previous].nextSibling = index;
        previous = index;
    }
    return nodes;
}

void load(const Parts &roots)
{
    const QList<SDFNode> nodes = nodesOf(roots);
    glsl::nodes.clear();
    for (const SDFNode &node : nodes)
        glsl::nodes.emplace_back(node);
    glsl::nodeCount = int(nodes.size());
    glsl::rootNodeIndex = 0;
}

constexpr auto transform = GpuNodeType::PositionTransform;
constexpr auto modifier = GpuNodeType::DistanceModifier;
constexpr auto positionAware = GpuNodeType::PositionAwareModifier;
constexpr float noValue = 1e10f;

Part chainOf(int length, GpuNodeType type, const Part &end)
{
    Part part = end;
    for (int i = 0; i < length; ++i)
        part = wrap(type, 1.0f, part);
    return part;
}

/// Each operator is the last child of the next.
Part laterChildren(int length, const Part &end)
{
    Part part = end;
    for (int i = 0; i < length; ++i)
        part = csg(0, {plane(1), part});
    return part;
}

} // namespace

Q_DECLARE_METATYPE(Parts)

class TstSDFTreeEvaluator : public QObject
{
    Q_OBJECT

private slots:
    void operationsFollowTheirFormulas_data();
    void operationsFollowTheirFormulas();
    void treesFold_data();
    void treesFold();
    void materialsFollowTheBlend_data();
    void materialsFollowTheBlend();
    void materialsComeFromTheSideThatShows_data();
    void materialsComeFromTheSideThatShows();
    void neededDepthIsThatOfTheWalk_data();
    void neededDepthIsThatOfTheWalk();
    void earlierRootWinsATie();
    void linksOutOfRangeEndTheWalk();
};

void TstSDFTreeEvaluator::operationsFollowTheirFormulas_data()
{
    QTest::addColumn<quint32>("operation");
    QTest::addColumn<float>("expected"); // of d1 = 1, d2 = 1.5, k = 2

    QTest::newRow("union") << 0u << 1.0f;
    QTest::newRow("subtraction") << 1u << 1.5f;
    QTest::newRow("intersection") << 2u << 1.5f;
    QTest::newRow("smooth union") << 3u << 0.71875f;
    QTest::newRow("smooth subtraction") << 4u << 1.5f;
    QTest::newRow("smooth intersection") << 5u << 1.78125f;
    QTest::newRow("additive blend") << 6u << 4.0f / 3.0f;
    QTest::newRow("chamfer union") << 7u << 0.5f * 0.70710678f;
    QTest::newRow("chamfer intersection") << 8u << 4.5f * 0.70710678f;
    QTest::newRow("exclusive or") << 9u << 1.0f;
    QTest::newRow("unknown") << 10u << 1.0f;
}

void TstSDFTreeEvaluator::operationsFollowTheirFormulas()
{
    QFETCH(const quint32, operation);
    QTEST(glsl::applyCsgOp(operation, 1.0f, 1.5f, 2.0f), "expected");
}

void TstSDFTreeEvaluator::treesFold_data()
{
    QTest::addColumn<Parts>("roots");
    QTest::addColumn<float>("expected"); // at (2, 10, 0): a plane at h is 10 - h away

    QTest::newRow("nothing") << Parts{} << noValue;
    QTest::newRow("primitive") << Parts{plane(3)} << 7.0f;
    QTest::newRow("inflated shell")
        << Parts{{.parameter = 13, .densityScale = 1.5f, .shellThickness = 0.25f}} << 2.25f;
    QTest::newRow("later child is cut out of the first")
        << Parts{csg(1, {plane(3), plane(20)})} << 10.0f;
    QTest::newRow("children fold in order")
        << Parts{csg(1, {plane(8), plane(13), plane(14)})} << 4.0f;
    QTest::newRow("blend width of the operator")
        << Parts{csg(3, {plane(9), plane(8.5f)}, 2.0f)} << 0.71875f;
    QTest::newRow("operator first")
        << Parts{csg(2, {csg(0, {plane(3), plane(4)}), plane(1)})} << 9.0f;
    QTest::newRow("operator as a later child")
        << Parts{csg(1, {plane(3), csg(2, {plane(12), plane(14)})})} << 7.0f;
    QTest::newRow("modifier as a later child")
        << Parts{csg(2, {plane(9), wrap(modifier, -2, plane(8))})} << 4.0f;
    QTest::newRow("modifier in a modifier, as a later child")
        << Parts{csg(2, {plane(9), wrap(modifier, -2, wrap(modifier, -1, plane(8)))})} << 5.0f;
    QTest::newRow("operator without children is nowhere")
        << Parts{csg(0, {plane(3), csg(0, {})})} << 7.0f;
    QTest::newRow("smooth union with what is nowhere")
        << Parts{csg(3, {csg(0, {}), plane(3)})} << 7.0f;
    QTest::newRow("transform") << Parts{wrap(transform, 2, plane(3))} << 5.0f;
    QTest::newRow("transform of a later child")
        << Parts{csg(2, {plane(3), wrap(transform, -5, plane(1))})} << 14.0f;
    QTest::newRow("position after a transform is the one before")
        << Parts{csg(2, {wrap(transform, -5, plane(9)), plane(1)})} << 9.0f;
    QTest::newRow("transform without a child") << Parts{{.type = transform}} << noValue;
    QTest::newRow("modifier") << Parts{wrap(modifier, 2, plane(3))} << 5.0f;
    QTest::newRow("modifier of an operator")
        << Parts{wrap(modifier, 2, csg(0, {plane(3), plane(4)}))} << 4.0f;
    QTest::newRow("modifier without a child") << Parts{{.type = modifier}} << noValue;
    QTest::newRow("modifier under a transform")
        << Parts{wrap(transform, 2, wrap(modifier, 1, plane(3)))} << 4.0f;
    QTest::newRow("position-aware modifier sees its own position")
        << Parts{wrap(positionAware, 3, wrap(transform, 2, plane(3)))} << 11.0f;
    QTest::newRow("nearest root") << Parts{plane(3), plane(7), plane(5)} << 3.0f;

    Parts forty(40, plane(1));
    forty.last() = plane(9);
    QTest::newRow("forty children") << Parts{csg(0, forty)} << 1.0f;
    Parts hundred(100, plane(1));
    hundred.last() = plane(9);
    QTest::newRow("a hundred roots") << hundred << 1.0f;
    QTest::newRow("modifiers to any depth") << Parts{chainOf(300, modifier, plane(3))} << -293.0f;
    QTest::newRow("transforms to the stack's end")
        << Parts{chainOf(32, transform, plane(3))} << -25.0f;
    QTest::newRow("a transform beyond the stack is left out")
        << Parts{chainOf(33, transform, plane(3)), plane(2)} << 8.0f;
    QTest::newRow("later children to the stack's end")
        << Parts{laterChildren(32, plane(9))} << 1.0f;
    QTest::newRow("a later child beyond the stack is left out")
        << Parts{laterChildren(33, plane(9))} << 9.0f;
}

void TstSDFTreeEvaluator::treesFold()
{
    QFETCH(const Parts, roots);
    QFETCH(const float, expected);
    load(roots);
    QCOMPARE(glsl::sceneSDF({2, 10, 0}), expected);
}

void TstSDFTreeEvaluator::materialsFollowTheBlend_data()
{
    QTest::addColumn<quint32>("definition");
    QTest::addColumn<int>("material");
    QTest::addColumn<int>("secondary");
    QTest::addColumn<float>("blend");

    // Nodes: 0 the operator, 1 the base at 3, 2 the operand at 1.
    QTest::newRow("nearer") << 0u << 1 << -1 << 0.0f;
    QTest::newRow("accumulated") << 1u << 1 << -1 << 0.0f;
    QTest::newRow("both") << 2u << 2 << 1 << 0.5f;
}

void TstSDFTreeEvaluator::materialsFollowTheBlend()
{
    QFETCH(const quint32, definition);
    load({csg(0, {plane(3), plane(1)}, 0.1f, definition)});
    glsl::sceneSDF({0, 10, 0});
    QTEST(glsl::g_resultMaterialNode, "material");
    QTEST(glsl::g_resultSecondaryMaterial, "secondary");
    QTEST(glsl::g_resultBlendFactor, "blend");
}

void TstSDFTreeEvaluator::materialsComeFromTheSideThatShows_data()
{
    QTest::addColumn<Parts>("roots");
    QTest::addColumn<int>("material");
    QTest::addColumn<int>("secondary");

    // Definition 2 mixes halves. Nodes: 0, 1 the first child, then what is below it, then the next.
    const Part mixed = csg(0, {plane(9), plane(8)}, 0.1f, 2);
    QTest::newRow("a mix that shows keeps both") << Parts{csg(0, {mixed, plane(1)})} << 3 << 2;
    QTest::newRow("a mix that is hidden leaves nothing")
        << Parts{csg(0, {mixed, plane(9.5f)})} << 4 << -1;
    QTest::newRow("a mix in a later child") << Parts{csg(0, {plane(1), mixed})} << 4 << 3;
    QTest::newRow("a mix of mixes has the main ones")
        << Parts{csg(0, {mixed, mixed}, 0.1f, 2)} << 6 << 3;
    QTest::newRow("a root that is hidden leaves nothing") << Parts{plane(9.5f), mixed} << 0 << -1;
    Part based = csg(0, {plane(3), plane(5)});
    based.materialMode = 0;
    QTest::newRow("the base wins") << Parts{based} << 1 << -1;
    based.children = {plane(5), plane(3)};
    based.materialMode = 1;
    QTest::newRow("the operand wins") << Parts{based} << 2 << -1;
}

void TstSDFTreeEvaluator::materialsComeFromTheSideThatShows()
{
    QFETCH(const Parts, roots);
    load(roots);
    glsl::sceneSDF({0, 10, 0});
    QTEST(glsl::g_resultMaterialNode, "material");
    QTEST(glsl::g_resultSecondaryMaterial, "secondary");
}

void TstSDFTreeEvaluator::neededDepthIsThatOfTheWalk_data()
{
    QTest::addColumn<Parts>("roots");
    QTest::addColumn<int>("depth");

    QTest::newRow("nothing") << Parts{} << 0;
    QTest::newRow("primitive") << Parts{plane(1)} << 0;
    QTest::newRow("modifiers") << Parts{chainOf(50, modifier, plane(1))} << 0;
    QTest::newRow("transforms") << Parts{chainOf(50, transform, plane(1))} << 50;
    QTest::newRow("transform without a child") << Parts{{.type = transform}} << 0;
    QTest::newRow("children side by side")
        << Parts{csg(0, {plane(1), chainOf(2, transform, plane(1)), plane(1)})} << 3;
    QTest::newRow("first children") << Parts{csg(0, {csg(0, {csg(0, {plane(1)})})})} << 0;
    QTest::newRow("later children") << Parts{laterChildren(40, plane(1))} << 40;
    QTest::newRow("deepest root") << Parts{plane(1), chainOf(3, transform, plane(1)),
                                           chainOf(2, transform, plane(1))}
                                  << 3;
}

void TstSDFTreeEvaluator::neededDepthIsThatOfTheWalk()
{
    QFETCH(const Parts, roots);
    QTEST(corvane::shader::neededWalkDepth(nodesOf(roots), 0), "depth");
    QCOMPARE(glsl::MAX_STACK_DEPTH, corvane::shader::walkStackDepth);
}

void TstSDFTreeEvaluator::earlierRootWinsATie()
{
    load({plane(1), plane(3), plane(3)});
    QCOMPARE(glsl::sceneSDF({0, 10, 0}), 7.0f);
    QCOMPARE(glsl::g_resultMaterialNode, 1);
}

void TstSDFTreeEvaluator::linksOutOfRangeEndTheWalk()
{
    load({plane(1), csg(0, {plane(2), plane(3)})});
    glsl::nodes[2].nextSibling = 77;
    glsl::nodes[0].nextSibling = 1;
    QCOMPARE(glsl::sceneSDF({0, 10, 0}), 8.0f);
    glsl::rootNodeIndex = -1;
    QCOMPARE(glsl::sceneSDF({0, 10, 0}), noValue);
    QCOMPARE(glsl::evaluateSceneTree({0, 10, 0}, 4), noValue);
}

QTEST_APPLESS_MAIN(TstSDFTreeEvaluator)
#include "tst_SDFTreeEvaluator.moc"
