#include <corvane/eval/AnalyticGradient.h>
#include <corvane/eval/CPUFieldEvaluator.h>

#include <support/NodeTree.h>

#include <QMatrix4x4>
#include <QTest>

#include <functional>
#include <random>

using namespace Qt::StringLiterals;
using namespace corvane::eval;
using support::NodeTree;
using Scene = std::function<int(NodeTree &)>;

Q_DECLARE_METATYPE(Scene)

namespace {

int two(NodeTree &tree, QLatin1String operation, std::initializer_list<float> parameters)
{
    const int box =
        tree.add("translate"_L1, {0.5f, 0.25f, -0.5f}, {tree.add("box"_L1, {1, 1.5f, 2})});
    return tree.add(operation, parameters, {tree.add("sphere"_L1, {1.75f}), box});
}

} // namespace

class TstAnalyticGradient : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_registry.loadBuiltinPrimitives(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void agreesWithTheField_data();
    void agreesWithTheField();
    void boxCentreIsNoTrouble();
    void saysWhatStoppedIt_data();
    void saysWhatStoppedIt();
    void overrideOfABuiltinIsNotTrusted();

private:
    corvane::registry::Registry m_registry;
};

void TstAnalyticGradient::agreesWithTheField_data()
{
    QTest::addColumn<Scene>("scene");
    const auto shape = [](const char *id, std::initializer_list<float> parameters) {
        const QList<float> list(parameters);
        QTest::newRow(id) << Scene([id, list](NodeTree &t) {
            const int node = t.add(QLatin1String(id));
            std::array<float, 8> packed{};
            std::copy(list.begin(), list.end(), packed.begin());
            t.nodes[node].setParameterSlots(packed);
            return node;
        });
    };
    shape("sphere", {1.5f});
    shape("box", {1, 1.5f, 0.5f});
    shape("round_box", {1, 1.5f, 0.75f, 0.25f});
    shape("cylinder", {1, 1.5f});
    shape("torus", {1.5f, 0.5f});
    shape("capsule", {0.5f, 1});
    shape("plane", {1, 2, -2, 0.5f});
    for (const char *operation : {"union", "subtract", "intersect"})
        QTest::newRow(operation) << Scene(
            [operation](NodeTree &t) { return two(t, QLatin1String(operation), {}); });
    for (const char *operation : {"smooth_union", "smooth_subtract", "smooth_intersect"})
        QTest::newRow(operation) << Scene(
            [operation](NodeTree &t) { return two(t, QLatin1String(operation), {0.75f}); });
    QTest::newRow("rotate") << Scene([](NodeTree &t) {
        return t.add("rotate"_L1, {30, -50, 70}, {t.add("box"_L1, {1, 1.5f, 0.5f})});
    });
    QTest::newRow("matrix, inflated and hollow") << Scene([](NodeTree &t) {
        const int node = t.add("torus"_L1, {1.5f, 0.5f});
        QMatrix4x4 matrix;
        matrix.translate(0.5f, -0.25f, 0.125f);
        matrix.rotate(40, 1, 2, 3);
        t.nodes[node].setTransform(matrix);
        t.nodes[node].densityScale = 0.9f;
        t.nodes[node].shellThickness = 0.1f;
        return node;
    });
    QTest::newRow("several roots") << Scene([](NodeTree &t) {
        const int first = t.add("sphere"_L1, {1});
        const int second = t.add("translate"_L1, {2, 0, 0}, {t.add("sphere"_L1, {1})});
        t.nodes[first].nextSibling = second;
        return first;
    });
}

void TstAnalyticGradient::agreesWithTheField()
{
    QFETCH(Scene, scene);
    NodeTree tree(m_registry);
    const int root = scene(tree);
    CPUFieldEvaluator field(tree.nodes, root, tree.definitions());
    QVERIFY2(field.isValid(), qPrintable(field.lastError()));
    const AnalyticGradient &gradient = field.analyticGradient();
    QVERIFY2(gradient.isValid(), qPrintable(gradient.reason()));
    std::mt19937 random(7);
    int kinks = 0;
    for (int i = 0; i < 500; ++i) {
        const auto coordinate = [&] {
            return static_cast<float>(random() % 6001) / 1000.0f - 3.0f;
        };
        const float x = coordinate(), y = coordinate(), z = coordinate();
        const DistanceGradient exact = field.evaluateWithGradient(x, y, z);
        const DistanceGradient sampled = field.IFieldEvaluator::evaluateWithGradient(x, y, z);
        QVERIFY(std::fabs(exact.distance - sampled.distance) < 1e-5f);
        const float miss = std::max({std::fabs(exact.gradientX - sampled.gradientX),
                                     std::fabs(exact.gradientY - sampled.gradientY),
                                     std::fabs(exact.gradientZ - sampled.gradientZ)});
        // The stencil straddles an edge of the field now and then.
        if (miss > 0.01f)
            ++kinks;
    }
    QVERIFY2(kinks < 10, qPrintable(QString::number(kinks)));
}

void TstAnalyticGradient::boxCentreIsNoTrouble()
{
    NodeTree tree(m_registry);
    const int root = tree.add("box"_L1, {1, 1, 1});
    const auto gradient = AnalyticGradient::compile(tree.nodes, root, tree.definitions());
    QCOMPARE(gradient.evalCompiled(0, 0, 0), DistanceGradient{.distance = -1});
    const DistanceGradient tie{.distance = -0.5f, .gradientX = -1};
    QCOMPARE(gradient.evalCompiled(-0.5f, 0.5f, 0.5f), tie);
}

void TstAnalyticGradient::saysWhatStoppedIt_data()
{
    QTest::addColumn<Scene>("scene");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *name, const Scene &scene, const QString &reason) {
        QTest::newRow(name) << scene << reason;
    };
    row(
        "nothing", [](NodeTree &) { return 0; }, u"<malformed tree>"_s);
    row(
        "other shape",
        [](NodeTree &t) {
            return t.add("gyroid"_L1, {10, 1});
        },
        u"<primitive gyroid>"_s);
    row(
        "other operator", [](NodeTree &t) { return two(t, "xor"_L1, {}); }, u"<csg xor>"_s);
    row(
        "other transform",
        [](NodeTree &t) { return t.add("twist"_L1, {1}, {t.add("sphere"_L1, {1})}); },
        u"<transform twist>"_s);
    row(
        "modifier", [](NodeTree &t) { return t.add("round"_L1, {1}, {t.add("sphere"_L1, {1})}); },
        u"<nodeType 3>"_s);
    row(
        "operator of nothing", [](NodeTree &t) { return t.add("union"_L1); },
        u"<csg union> (no children)"_s);
    row(
        "transform of nothing", [](NodeTree &t) { return t.add("rotate"_L1); },
        u"<transform rotate> (no child)"_s);
    row(
        "no width", [](NodeTree &t) { return two(t, "smooth_union"_L1, {0}); },
        u"<csg smooth_union> (k≈0)"_s);
    row(
        "cycle",
        [](NodeTree &t) {
            const int node = t.add("translate"_L1, {1, 0, 0}, {t.add("sphere"_L1, {1})});
            t.nodes[node].firstChild = node;
            return node;
        },
        u"<malformed tree>"_s);
}

void TstAnalyticGradient::saysWhatStoppedIt()
{
    QFETCH(Scene, scene);
    NodeTree tree(m_registry);
    const int root = scene(tree);
    const auto gradient = AnalyticGradient::compile(tree.nodes, root, tree.definitions());
    QVERIFY(!gradient.isValid());
    QTEST(gradient.reason(), "reason");
    QCOMPARE(gradient.evalCompiled(0, 0, 0), DistanceGradient{});
}

void TstAnalyticGradient::overrideOfABuiltinIsNotTrusted()
{
    corvane::registry::Registry registry;
    registry.loadBuiltinPrimitives();
    auto cube = corvane::registry::DefinitionPtr::create(*registry.getDefinition(u"box"_s));
    cube->id = u"sphere"_s;
    cube->shaderCode.replace(u"sdf_box"_s, u"sdf_sphere"_s);
    cube->sourcePath.clear();
    registry.registerPrimitive(cube);
    NodeTree tree(registry);
    const int root = tree.add("sphere"_L1, {1, 1, 1});
    QCOMPARE(AnalyticGradient::compile(tree.nodes, root, tree.definitions()).reason(),
             u"<primitive sphere>"_s);
}

QTEST_GUILESS_MAIN(TstAnalyticGradient)
#include "tst_AnalyticGradient.moc"
