#include <corvane/eval/FieldCompiler.h>
#include <corvane/eval/SdfSceneGraphBuilder.h>

#include <support/NodeTree.h>

#include <QMatrix4x4>
#include <QTest>

#include <functional>
#include <limits>

using namespace Qt::StringLiterals;
namespace registry = corvane::registry;
using corvane::eval::EvalFieldEvaluator;
using corvane::eval::SdfSceneGraphBuilder;
using support::NodeTree;

namespace {

/// Fills a tree and answers its root.
using Scene = std::function<int(NodeTree &)>;

struct ValueCase
{
    Scene scene;
    QVector3D point;
    float distance = 0.0f;
};

struct ErrorCase
{
    Scene scene;
    QString error;
};

EvalFieldEvaluator evaluatorOf(SdfSceneGraphBuilder::Result &result)
{
    const auto field = corvane::eval::compileField(result, ::eval::Backend::Auto);
    if (!field.program)
        qWarning().noquote() << field.error << result.source;
    return {field.program, field.positionHandle, field.distanceHandle};
}

/// A user's shape with one parameter.
registry::DefinitionPtr definition(const QString &code)
{
    auto made = registry::DefinitionPtr::create();
    made->id = u"own"_s;
    made->name = u"Own"_s;
    made->shaderCode = code;
    made->primaryFunctionName = u"sdf_sphere"_s;
    made->parameters.resize(1);
    return made;
}

int sphereAt(NodeTree &tree, float x, float y, float z, float radius)
{
    return tree.add("translate"_L1, {x, y, z}, {tree.add("sphere"_L1, {radius})});
}

int chainOf(NodeTree &tree, QLatin1String id, std::initializer_list<float> parameters, int length)
{
    int node = tree.add("sphere"_L1, {1});
    for (int i = 0; i < length; ++i)
        node = tree.add(id, parameters, {node});
    return node;
}

} // namespace

Q_DECLARE_METATYPE(ValueCase)
Q_DECLARE_METATYPE(ErrorCase)

class TstSdfSceneGraphBuilder : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_registry.loadBuiltinPrimitives(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void smallSceneIsOneExpression();
    void codeIsEmittedOnce();
    void distanceIsThatOfTheScene_data();
    void distanceIsThatOfTheScene();
    void bothFormsOfTheTextAgree();
    void deepTreesEvaluate_data();
    void deepTreesEvaluate();
    void textGrowsWithTheNodes();
    void brokenTreesAreFarAway_data();
    void brokenTreesAreFarAway();
    void definitionsOfUsersKeepTheirNames();
    void numbersAreFloatLiterals_data();
    void numbersAreFloatLiterals();
    void colourFollowsTheSignature_data();
    void colourFollowsTheSignature();
    void codeLosesCommentsAndConst_data();
    void codeLosesCommentsAndConst();

private:
    SdfSceneGraphBuilder::Result build(const NodeTree &tree, int root) const
    {
        return SdfSceneGraphBuilder::build(tree.nodes, root, tree.definitions());
    }

    registry::Registry m_registry;
};

void TstSdfSceneGraphBuilder::smallSceneIsOneExpression()
{
    NodeTree tree(m_registry);
    const int root = tree.add("sphere"_L1, {4});
    const auto result = build(tree, root);
    QCOMPARE(result.error, QString());
    const QString code = m_registry.getDefinition(u"sphere"_s)->shaderCode;
    QCOMPARE(result.source, SdfSceneGraphBuilder::fieldCode(code) + u"\n\nsdf_sphere(p, 4.0f)"_s);
}

void TstSdfSceneGraphBuilder::codeIsEmittedOnce()
{
    NodeTree tree(m_registry);
    const int root =
        tree.add("union"_L1, {}, {tree.add("sphere"_L1, {1}), sphereAt(tree, 2, 0, 0, 1)});
    const QString source = build(tree, root).source;
    QCOMPARE(source.count(u"float sdf_sphere("_s), 1);
    QVERIFY(source.endsWith(u"op_union(sdf_sphere(op_translate(p, vec3(2.0f, 0.0f, 0.0f)), 1.0f), "
                            "sdf_sphere(p, 1.0f))"_s));
}

void TstSdfSceneGraphBuilder::distanceIsThatOfTheScene_data()
{
    QTest::addColumn<ValueCase>("c");
    const auto row = [](const char *name, const Scene &scene, const QVector3D &point, float d) {
        QTest::newRow(name) << ValueCase{scene, point, d};
    };
    row(
        "no node", [](NodeTree &) { return 0; }, {}, 1e10f);
    row(
        "root below the list", [](NodeTree &t) { return t.add("sphere"_L1, {1}) - 2; }, {}, 1e10f);
    row(
        "root past the list", [](NodeTree &t) { return t.add("sphere"_L1, {1}) + 1; }, {}, 1e10f);
    row(
        "sphere", [](NodeTree &t) { return t.add("sphere"_L1, {4}); }, {0, 6, 0}, 2);
    row(
        "translate moves the child", [](NodeTree &t) { return sphereAt(t, 1, 2, 3, 1); }, {1, 2, 5},
        1);
    row(
        "inner transform acts last on the child",
        [](NodeTree &t) {
            const int inner = sphereAt(t, 2, 0, 0, 1);
            return t.add("scale"_L1, {2}, {inner});
        },
        {4, 0, 0}, -1);
    row(
        "later child is cut out of the first",
        [](NodeTree &t) {
            return t.add("subtract"_L1, {}, {t.add("sphere"_L1, {3}), t.add("sphere"_L1, {1})});
        },
        {0.5f, 0, 0}, 0.5f);
    row(
        "every later child is cut out",
        [](NodeTree &t) {
            const int cut = sphereAt(t, 2, 0, 0, 0.5f);
            return t.add("subtract"_L1, {},
                         {t.add("sphere"_L1, {3}), t.add("sphere"_L1, {1}), cut});
        },
        {2, 0, 0}, 0.5f);
    row(
        "strength weighs the base",
        [](NodeTree &t) {
            return t.add("additive_blend"_L1, {3},
                         {t.add("sphere"_L1, {1}), t.add("sphere"_L1, {5})});
        },
        {7, 0, 0}, (2.0f + 6.0f * 3.0f) / 4.0f);
    row(
        "single child passes through an operator",
        [](NodeTree &t) { return t.add("union"_L1, {}, {t.add("sphere"_L1, {1})}); }, {3, 0, 0}, 2);
    row(
        "operator without children", [](NodeTree &t) { return t.add("union"_L1); }, {}, 1e10f);
    row(
        "modifier acts on the distance",
        [](NodeTree &t) { return t.add("round"_L1, {0.25f}, {t.add("sphere"_L1, {1})}); },
        {3, 0, 0}, 1.75f);
    row(
        "extrusion sees the position",
        [](NodeTree &t) { return t.add("extrude"_L1, {2}, {t.add("sphere"_L1, {10})}); }, {0, 6, 0},
        4);
    row(
        "scalar field",
        [](NodeTree &t) {
            return t.add("linear_gradient"_L1, {0, 1, 0, 2});
        },
        {7, 5, 9}, 3);
    row(
        "inflated",
        [](NodeTree &t) {
            const int node = t.add("sphere"_L1, {1});
            t.nodes[node].densityScale = 1.5f;
            return node;
        },
        {3, 0, 0}, 2.5f);
    row(
        "hollow after inflation",
        [](NodeTree &t) {
            const int node = t.add("sphere"_L1, {1});
            t.nodes[node].densityScale = 1.5f;
            t.nodes[node].shellThickness = 0.25f;
            return node;
        },
        {0, 0, 0}, 0.25f);
    row(
        "matrix of a group",
        [](NodeTree &t) {
            const int node = t.add("box"_L1, {1, 2, 3});
            QMatrix4x4 matrix;
            matrix.translate(10, 0, 0);
            matrix.rotate(90, 0, 0, 1);
            t.nodes[node].setTransform(matrix);
            return node;
        },
        {10, 4, 0}, 3);
    row(
        "modifier leaves the matrix to the shapes",
        [](NodeTree &t) {
            const int shape = t.add("sphere"_L1, {1});
            const int node = t.add("round"_L1, {0.5f}, {shape});
            QMatrix4x4 matrix;
            matrix.translate(10, 0, 0);
            t.nodes[shape].setTransform(matrix);
            t.nodes[node].setTransform(matrix);
            return node;
        },
        {13, 0, 0}, 1.5f);
    row(
        "roots are a union",
        [](NodeTree &t) {
            const int first = sphereAt(t, -5, 0, 0, 1);
            const int second = sphereAt(t, 5, 0, 0, 2);
            t.nodes[first].nextSibling = second;
            return first;
        },
        {5, 0, 3}, 1);
}

void TstSdfSceneGraphBuilder::distanceIsThatOfTheScene()
{
    QFETCH(ValueCase, c);
    NodeTree tree(m_registry);
    const int root = c.scene(tree);
    auto result = build(tree, root);
    QCOMPARE(result.error, QString());
    auto evaluator = evaluatorOf(result);
    QCOMPARE(evaluator.evaluate(c.point.x(), c.point.y(), c.point.z()), c.distance);
    QCOMPARE(evaluator.lastError(), QString());
}

void TstSdfSceneGraphBuilder::bothFormsOfTheTextAgree()
{
    // The same parts once as two small scenes and once as one that is too large for an expression.
    QList<NodeTree> trees;
    QList<int> roots;
    for (const int parts : {15, 15, 30}) {
        NodeTree tree(m_registry);
        QList<int> children;
        for (int i = 0; i < parts; ++i) {
            const float x = static_cast<float>((trees.size() == 1 ? i + 15 : i) % 30);
            const int base = sphereAt(tree, x, 0, 0, 0.75f);
            const int hole = tree.add("round"_L1, {0.1f}, {tree.add("box"_L1, {0.2f, 5, 0.2f})});
            children << tree.add("smooth_subtract"_L1, {0.3f}, {base, hole});
        }
        roots << tree.addNode(u"smooth_union"_s, {0.0625f}, children);
        trees << tree;
    }
    auto whole = build(trees.at(2), roots.at(2));
    QVERIFY(whole.source.contains(u"corvaneScene"_s));
    auto evaluator = evaluatorOf(whole);
    for (int half = 0; half < 2; ++half) {
        NodeTree &tree = trees[half];
        auto result = build(tree, roots.at(half));
        auto part = evaluatorOf(result);
        // Far enough from the seam between the halves that the other one plays no part.
        for (float x = 0.1f; x < 12.0f; x += 0.37f) {
            const float at = half == 0 ? x : 29.0f - x;
            QCOMPARE(evaluator.evaluate(at, 0.3f, -0.2f), part.evaluate(at, 0.3f, -0.2f));
        }
    }
}

void TstSdfSceneGraphBuilder::deepTreesEvaluate_data()
{
    QTest::addColumn<ValueCase>("c");
    QTest::newRow("250 transforms")
        << ValueCase{[](NodeTree &t) {
                         return chainOf(t, "translate"_L1, {0.5f, 0, 0}, 250);
                     },
                     {125, 0, 3},
                     2};
    QTest::newRow("250 modifiers") << ValueCase{
        [](NodeTree &t) { return chainOf(t, "dilate"_L1, {0.25f}, 250); }, {0, 0, 100}, 36.5f};
    QTest::newRow("250 nested operators")
        << ValueCase{[](NodeTree &t) {
                         int node = t.add("sphere"_L1, {1});
                         for (int i = 0; i < 250; ++i)
                             node = t.add("union"_L1, {}, {t.add("sphere"_L1, {0.5f}), node});
                         return node;
                     },
                     {0, 0, 3},
                     2};
    QTest::newRow("3000 children")
        << ValueCase{[](NodeTree &t) {
                         QList<int> children;
                         for (int i = 0; i < 3000; ++i)
                             children << sphereAt(t, static_cast<float>(i), 0, 0, 1);
                         return t.addNode(u"union"_s, {}, children);
                     },
                     {1500, 4, 0},
                     3};
    QTest::newRow("1024 roots") << ValueCase{
        [](NodeTree &t) {
            int next = -1;
            for (int i = 0; i < 1024; ++i) {
                const int root = t.add("sphere"_L1, {1.0f + static_cast<float>(i)});
                t.nodes[root].nextSibling = next;
                next = root;
            }
            return next;
        },
        {0, 0, 2000},
        976};
}

void TstSdfSceneGraphBuilder::deepTreesEvaluate()
{
    distanceIsThatOfTheScene();
}

void TstSdfSceneGraphBuilder::textGrowsWithTheNodes()
{
    // Deep transforms above many shapes, each of which is moved by all of them.
    NodeTree tree(m_registry);
    QList<int> children;
    for (int i = 0; i < 20000; ++i)
        children << tree.add("sphere"_L1, {1});
    int node = tree.addNode(u"union"_s, {}, children);
    for (int i = 0; i < 200; ++i)
        node = tree.add("translate"_L1, {0.5f, 0, 0}, {node});
    const auto result = build(tree, node);
    QCOMPARE(result.error, QString());
    QVERIFY(result.source.size() < 100 * tree.nodes.size());
}

void TstSdfSceneGraphBuilder::brokenTreesAreFarAway_data()
{
    QTest::addColumn<ErrorCase>("c");
    const auto row = [](const char *name, const Scene &scene, const QString &error) {
        QTest::newRow(name) << ErrorCase{scene, error};
    };
    const auto unknown = [](QLatin1String id) {
        return [id](NodeTree &t) {
            const int node = t.add(id, {}, {t.add("sphere"_L1, {1})});
            t.nodes[node].definitionIndex = 9999;
            return node;
        };
    };
    row("shape of no definition", unknown("sphere"_L1),
        u"Primitive node has no Definition (definitionIndex=9999)"_s);
    row("operator of no definition", unknown("union"_L1),
        u"CSG operator at node index 1 has no Definition (definitionIndex=9999)"_s);
    row("transform of no definition", unknown("translate"_L1),
        u"PositionTransform node has no Definition"_s);
    row("modifier of no definition", unknown("round"_L1),
        u"DistanceModifier node has no Definition"_s);
    row(
        "transform of nothing", [](NodeTree &t) { return t.add("translate"_L1); },
        u"PositionTransform node has no child"_s);
    row(
        "modifier of nothing", [](NodeTree &t) { return t.add("round"_L1); },
        u"DistanceModifier node has no child"_s);
    row(
        "extrusion of nothing", [](NodeTree &t) { return t.add("extrude"_L1); },
        u"PositionAwareModifier node has no child"_s);
    row(
        "unknown type",
        [](NodeTree &t) {
            const int node = t.add("sphere"_L1, {1});
            t.nodes[node].nodeType = 77;
            return node;
        },
        u"Unknown node type 77"_s);
    row(
        "257 levels", [](NodeTree &t) { return chainOf(t, "dilate"_L1, {0.1f}, 257); },
        u"SDF tree depth exceeds 256 — likely a cycle"_s);
    row(
        "child of itself",
        [](NodeTree &t) {
            const int node = t.add("union"_L1, {}, {t.add("sphere"_L1, {1})});
            t.nodes[node].firstChild = node;
            return node;
        },
        u"SDF tree depth exceeds 256 — likely a cycle"_s);
    row(
        "sibling of itself",
        [](NodeTree &t) {
            const int child = t.add("sphere"_L1, {1});
            t.nodes[child].nextSibling = child;
            return t.add("union"_L1, {}, {child});
        },
        u"Children of node index 1 do not end — likely a cycle"_s);
    row(
        "doubling at every level",
        [](NodeTree &t) {
            int node = t.add("sphere"_L1, {1});
            for (int i = 0; i < 40; ++i) {
                const int twin = t.add("translate"_L1, {1, 0, 0}, {node});
                const int other = t.add("translate"_L1, {0, 1, 0}, {node});
                node = t.add("union"_L1, {}, {twin, other});
            }
            return node;
        },
        u"SDF tree expands to more than 65536 nodes"_s);
    row(
        "parameter that is no number",
        [](NodeTree &t) { return t.add("sphere"_L1, {std::numeric_limits<float>::quiet_NaN()}); },
        u"A parameter of 'sphere' is not a finite number"_s);
    row(
        "infinite parameter of an operator",
        [](NodeTree &t) {
            return t.add("smooth_union"_L1, {std::numeric_limits<float>::infinity()},
                         {t.add("sphere"_L1, {1}), t.add("sphere"_L1, {2})});
        },
        u"A parameter of 'smooth_union' is not a finite number"_s);
    row(
        "matrix that is no number",
        [](NodeTree &t) {
            const int node = t.add("sphere"_L1, {1});
            t.nodes[node].invTransform[3] = std::numeric_limits<float>::quiet_NaN();
            return node;
        },
        u"The placement of 'sphere' is not a finite number"_s);
}

void TstSdfSceneGraphBuilder::brokenTreesAreFarAway()
{
    QFETCH(ErrorCase, c);
    NodeTree tree(m_registry);
    const int root = c.scene(tree);
    auto result = build(tree, root);
    QCOMPARE(result.error, c.error);
    QCOMPARE(evaluatorOf(result).evaluate(0, 0, 0), 1e10f);
}

void TstSdfSceneGraphBuilder::definitionsOfUsersKeepTheirNames()
{
    // All three have a main function of the same name; two have helpers of the same name.
    constexpr quint32 first = 1001, second = 1002;
    for (const auto &[picked, distance] : {std::pair(0, 11.0f), {1, 12.0f}, {2, 90.0f}}) {
        NodeTree tree(m_registry);
        const QList<int> shapes{tree.add("sphere"_L1, {10}), tree.add("sphere"_L1, {10}),
                                tree.add("sphere"_L1, {10})};
        tree.nodes[shapes.at(0)].definitionIndex = first;
        tree.nodes[shapes.at(1)].definitionIndex = second;
        // All are in the text; weights far apart leave one of them.
        QList<int> children;
        for (int i = 0; i < 3; ++i)
            children << tree.add("erode"_L1, {i == picked ? 0.0f : 1000.0f}, {shapes.at(i)});
        const int root = tree.addNode(u"union"_s, {}, children);
        auto definitions = tree.definitions();
        definitions.insert(
            corvane::shader::GpuNodeType::Primitive, first,
            definition(u"float helper(float asm) { return asm + 1.0; }\n"
                       "float sdf_sphere(vec3 p, float main) { return helper(main); }"_s));
        definitions.insert(corvane::shader::GpuNodeType::Primitive, second,
                           definition(u"float helper(float length) { return length + 2.0; }\n"
                                      "float sdf_sphere(vec3 p, float int64_t) {\n"
                                      "    return helper(int64_t); // its own\n}"_s));
        auto result = SdfSceneGraphBuilder::build(tree.nodes, root, definitions);
        QCOMPARE(result.error, QString());
        QCOMPARE(evaluatorOf(result).evaluate(100, 0, 0), distance);
    }
}

void TstSdfSceneGraphBuilder::numbersAreFloatLiterals_data()
{
    QTest::addColumn<float>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("whole") << 4.0f << u"4.0f"_s;
    QTest::newRow("negative") << -0.5f << u"-0.5f"_s;
    QTest::newRow("nine digits") << 0.1f << u"0.100000001f"_s;
    QTest::newRow("tiny") << 1e-20f << u"9.99999968e-21f"_s;
    QTest::newRow("huge") << 1e20f << u"1.00000002e+20f"_s;
}

void TstSdfSceneGraphBuilder::numbersAreFloatLiterals()
{
    QFETCH(float, value);
    QTEST(SdfSceneGraphBuilder::floatLit(value), "text");
}

void TstSdfSceneGraphBuilder::colourFollowsTheSignature_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("text");
    QTest::newRow("four components") << u"vec4"_s << u"vec4(0.5f, 0.25f, 0.125f, 1.0f), 7.0f"_s;
    QTest::newRow("three components") << u"vec3"_s << u"vec3(0.5f, 0.25f, 0.125f), 7.0f"_s;
}

void TstSdfSceneGraphBuilder::colourFollowsTheSignature()
{
    QFETCH(QString, argument);
    registry::Definition tinted;
    tinted.parameterTypes = {u"vec3"_s, argument, u"float"_s};
    tinted.parameters.resize(3);
    tinted.parameters[0].type = registry::SDFParameterType::Color;
    tinted.parameters[1].type = registry::SDFParameterType::SDFChildren;
    const float values[] = {0.5f, 0.25f, 0.125f, 1, 7, 0, 0, 0};
    QTEST(SdfSceneGraphBuilder::formatParamsForCall(tinted, values), "text");
}

void TstSdfSceneGraphBuilder::codeLosesCommentsAndConst_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("line comment") << u"a; // b\nc;"_s << u"a; \nc;"_s;
    QTest::newRow("at the end") << u"a; // b"_s << u"a; "_s;
    QTest::newRow("block comment") << u"a/* const // */b"_s << u"a b"_s;
    QTest::newRow("block comment without an end") << u"a /* b"_s << u"a  "_s;
    QTest::newRow("const") << u"const float a; constant b;"_s << u"float a; constant b;"_s;
}

void TstSdfSceneGraphBuilder::codeLosesCommentsAndConst()
{
    QFETCH(QString, code);
    QTEST(SdfSceneGraphBuilder::fieldCode(code), "text");
}

QTEST_GUILESS_MAIN(TstSdfSceneGraphBuilder)
#include "tst_SdfSceneGraphBuilder.moc"
