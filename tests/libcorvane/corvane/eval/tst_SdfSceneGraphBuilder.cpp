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

/// What a text can't say of a scene.
using Change = std::function<void(NodeTree &, int &root)>;

struct SceneCase
{
    QString scene; ///< as NodeTree::read() takes it
    QVector3D point;
    float distance = 0.0f;
    QString error{};
    Change change{};
};

int made(NodeTree &tree, const SceneCase &c)
{
    int root = tree.read(c.scene);
    if (c.change)
        c.change(tree, root);
    return root;
}

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

QString nested(const QString &node, qsizetype levels, const QString &inner = u"(sphere 1)"_s)
{
    return (u'(' + node + u' ').repeated(levels) + inner + u")"_s.repeated(levels);
}

} // namespace

Q_DECLARE_METATYPE(SceneCase)

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
    const auto result = build(tree, tree.read(u"(sphere 4)"_s));
    QCOMPARE(result.error, QString());
    const QString code = m_registry.getDefinition(u"sphere"_s)->shaderCode;
    QCOMPARE(result.source, SdfSceneGraphBuilder::fieldCode(code) + u"\n\nsdf_sphere(p, 4.0f)"_s);
}

void TstSdfSceneGraphBuilder::codeIsEmittedOnce()
{
    NodeTree tree(m_registry);
    const QString source =
        build(tree, tree.read(u"(union (sphere 1) (translate 2 0 0 (sphere 1)))"_s)).source;
    QCOMPARE(source.count(u"float sdf_sphere("_s), 1);
    QVERIFY(source.endsWith(u"op_union(sdf_sphere(op_translate(p, vec3(2.0f, 0.0f, 0.0f)), 1.0f), "
                            "sdf_sphere(p, 1.0f))"_s));
}

void TstSdfSceneGraphBuilder::distanceIsThatOfTheScene_data()
{
    QTest::addColumn<SceneCase>("c");
    const auto row = [](const char *name, const QString &scene, const QVector3D &point, float d,
                        const Change &change = {}) {
        QTest::newRow(name) << SceneCase{scene, point, d, {}, change};
    };
    const QString ball = u"(sphere 1)"_s;
    row("no node", {}, {}, 1e10f);
    row("root below the list", ball, {}, 1e10f, [](NodeTree &, int &root) { root = -2; });
    row("root past the list", ball, {}, 1e10f, [](NodeTree &, int &root) { ++root; });
    row("sphere", u"(sphere 4)"_s, {0, 6, 0}, 2);
    row("translate moves the child", u"(translate 1 2 3 (sphere 1))"_s, {1, 2, 5}, 1);
    row("inner transform acts last on the child", u"(scale 2 (translate 2 0 0 (sphere 1)))"_s,
        {4, 0, 0}, -1);
    row("later child is cut out of the first", u"(subtract (sphere 3) (sphere 1))"_s, {0.5f, 0, 0},
        0.5f);
    row("every later child is cut out",
        u"(subtract (sphere 3) (sphere 1) (translate 2 0 0 (sphere 0.5)))"_s, {2, 0, 0}, 0.5f);
    row("strength weighs the base", u"(additive_blend 3 (sphere 1) (sphere 5))"_s, {7, 0, 0},
        (2.0f + 6.0f * 3.0f) / 4.0f);
    row("single child passes through an operator", u"(union (sphere 1))"_s, {3, 0, 0}, 2);
    row("operator without children", u"(union)"_s, {}, 1e10f);
    row("modifier acts on the distance", u"(round 0.25 (sphere 1))"_s, {3, 0, 0}, 1.75f);
    row("extrusion sees the position", u"(extrude 2 (sphere 10))"_s, {0, 6, 0}, 4);
    row("scalar field", u"(linear_gradient 0 1 0 2)"_s, {7, 5, 9}, 3);
    row("inflated", ball, {3, 0, 0}, 2.5f,
        [](NodeTree &t, int &root) { t.nodes[root].densityScale = 1.5f; });
    row("hollow after inflation", ball, {0, 0, 0}, 0.25f, [](NodeTree &t, int &root) {
        t.nodes[root].densityScale = 1.5f;
        t.nodes[root].shellThickness = 0.25f;
    });
    row("matrix of a group", u"(box 1 2 3)"_s, {10, 4, 0}, 3, [](NodeTree &t, int &root) {
        QMatrix4x4 matrix;
        matrix.translate(10, 0, 0);
        matrix.rotate(90, 0, 0, 1);
        t.nodes[root].setTransform(matrix);
    });
    row("modifier leaves the matrix to the shapes", u"(round 0.5 (sphere 1))"_s, {13, 0, 0}, 1.5f,
        [](NodeTree &t, int &) {
            QMatrix4x4 matrix;
            matrix.translate(10, 0, 0);
            for (auto &node : t.nodes)
                node.setTransform(matrix);
        });
    row("roots are a union", u"(translate -5 0 0 (sphere 1))"_s, {5, 0, 3}, 1,
        [](NodeTree &t, int &root) {
            const int second = t.read(u"(translate 5 0 0 (sphere 2))"_s);
            t.nodes[root].nextSibling = second;
        });
    row("250 transforms", nested(u"translate 0.5 0 0"_s, 250), {125, 0, 3}, 2);
    row("250 modifiers", nested(u"dilate 0.25"_s, 250), {0, 0, 100}, 36.5f);
    row("250 nested operators", nested(u"union (sphere 0.5)"_s, 250), {0, 0, 3}, 2);
    QString children;
    for (int i = 0; i < 3000; ++i)
        children += u"(translate %1 0 0 (sphere 1))"_s.arg(i);
    row("3000 children", u"(union "_s + children + u')', {1500, 4, 0}, 3);
    row("1024 roots", ball, {0, 0, 2000}, 976, [](NodeTree &t, int &root) {
        for (int i = 2; i <= 1024; ++i) {
            const int next = root;
            root = t.add("sphere"_L1, {static_cast<float>(i)});
            t.nodes[root].nextSibling = next;
        }
    });
}

void TstSdfSceneGraphBuilder::distanceIsThatOfTheScene()
{
    QFETCH(SceneCase, c);
    NodeTree tree(m_registry);
    const int root = made(tree, c);
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
        QString children;
        for (int i = 0; i < parts; ++i)
            children += u"(smooth_subtract 0.3 (translate %1 0 0 (sphere 0.75)) "
                        "(round 0.1 (box 0.2 5 0.2)))"_s.arg((trees.size() == 1 ? i + 15 : i) % 30);
        roots << tree.read(u"(smooth_union 0.0625 "_s + children + u')');
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

void TstSdfSceneGraphBuilder::textGrowsWithTheNodes()
{
    // Deep transforms above many shapes, each of which is moved by all of them.
    NodeTree tree(m_registry);
    const int root = tree.read(
        nested(u"translate 0.5 0 0"_s, 200, u"(union "_s + u"(sphere 1)"_s.repeated(20000) + u')'));
    const auto result = build(tree, root);
    QCOMPARE(result.error, QString());
    QVERIFY(result.source.size() < 100 * tree.nodes.size());
}

void TstSdfSceneGraphBuilder::brokenTreesAreFarAway_data()
{
    QTest::addColumn<SceneCase>("c");
    const auto row = [](const char *name, const QString &scene, const QString &error,
                        const Change &change = {}) {
        QTest::newRow(name) << SceneCase{scene, {}, 1e10f, error, change};
    };
    const Change unknown = [](NodeTree &t, int &root) { t.nodes[root].definitionIndex = 9999; };
    row("shape of no definition", u"(sphere 1)"_s,
        u"Primitive node has no Definition (definitionIndex=9999)"_s, unknown);
    row("operator of no definition", u"(union (sphere 1))"_s,
        u"CSG operator at node index 1 has no Definition (definitionIndex=9999)"_s, unknown);
    row("transform of no definition", u"(translate 1 0 0 (sphere 1))"_s,
        u"PositionTransform node has no Definition"_s, unknown);
    row("modifier of no definition", u"(round 1 (sphere 1))"_s,
        u"DistanceModifier node has no Definition"_s, unknown);
    row("transform of nothing", u"(translate)"_s,
        u"PositionTransform node has no child: 'translate' needs one to act on"_s);
    row("modifier of nothing", u"(round)"_s,
        u"DistanceModifier node has no child: 'round' needs one to act on"_s);
    row("extrusion of nothing", u"(extrude)"_s,
        u"PositionAwareModifier node has no child: 'extrude' needs one to act on"_s);
    row("unknown type", u"(sphere 1)"_s, u"Unknown node type 77"_s,
        [](NodeTree &t, int &root) { t.nodes[root].nodeType = 77; });
    const QString deep = u"SDF tree depth exceeds 256 — likely a cycle"_s;
    row("257 levels", nested(u"dilate 0.1"_s, 257), deep);
    row("child of itself", u"(union (sphere 1))"_s, deep,
        [](NodeTree &t, int &root) { t.nodes[root].firstChild = root; });
    row("sibling of itself", u"(union (sphere 1))"_s,
        u"Children of node index 1 do not end — likely a cycle"_s,
        [](NodeTree &t, int &) { t.nodes[0].nextSibling = 0; });
    row("doubling at every level", u"(sphere 1)"_s, u"SDF tree expands to more than 65536 nodes"_s,
        [](NodeTree &t, int &root) {
            for (int i = 0; i < 40; ++i) {
                const int twin = t.add("translate"_L1, {1, 0, 0}, {root});
                const int other = t.add("translate"_L1, {0, 1, 0}, {root});
                root = t.add("union"_L1, {}, {twin, other});
            }
        });
    row("parameter that is no number", u"(sphere nan)"_s,
        u"A parameter of 'sphere' is not a finite number"_s);
    row("infinite parameter of an operator", u"(smooth_union inf (sphere 1) (sphere 2))"_s,
        u"A parameter of 'smooth_union' is not a finite number"_s);
    row("matrix that is no number", u"(sphere 1)"_s,
        u"The placement of 'sphere' is not a finite number"_s, [](NodeTree &t, int &root) {
            t.nodes[root].invTransform[3] = std::numeric_limits<float>::quiet_NaN();
        });
}

void TstSdfSceneGraphBuilder::brokenTreesAreFarAway()
{
    QFETCH(SceneCase, c);
    NodeTree tree(m_registry);
    const int root = made(tree, c);
    auto result = build(tree, root);
    QCOMPARE(result.error, c.error);
    QCOMPARE(evaluatorOf(result).evaluate(0, 0, 0), c.distance);
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
