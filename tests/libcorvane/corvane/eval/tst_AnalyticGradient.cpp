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
using Change = std::function<void(NodeTree &, int &root)>;

Q_DECLARE_METATYPE(Change)

namespace {

/// "%1" with a ball and a box as its children.
QString two(const QString &operation)
{
    return u"(%1 (sphere 1.75) (translate 0.5 0.25 -0.5 (box 1 1.5 2)))"_s.arg(operation);
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
    QTest::addColumn<QString>("scene");
    QTest::addColumn<Change>("change");
    const auto row = [](const QString &scene, const Change &change = {}) {
        QTest::newRow(qPrintable(scene.left(40))) << scene << change;
    };
    for (const QString &shape :
         {u"(sphere 1.5)"_s, u"(box 1 1.5 0.5)"_s, u"(round_box 1 1.5 0.75 0.25)"_s,
          u"(cylinder 1 1.5)"_s, u"(torus 1.5 0.5)"_s, u"(capsule 0.5 1)"_s,
          u"(plane 1 2 -2 0.5)"_s, u"(rotate 30 -50 70 (box 1 1.5 0.5))"_s})
        row(shape);
    for (const QString &operation :
         {u"union"_s, u"subtract"_s, u"intersect"_s, u"smooth_union 0.75"_s,
          u"smooth_subtract 0.75"_s, u"smooth_intersect 0.75"_s})
        row(two(operation));
    // By a matrix, inflated and hollow.
    row(u"(torus 1.5 0.5 )"_s, [](NodeTree &t, int &root) {
        QMatrix4x4 matrix;
        matrix.translate(0.5f, -0.25f, 0.125f);
        matrix.rotate(40, 1, 2, 3);
        t.nodes[root].setTransform(matrix);
        t.nodes[root].densityScale = 0.9f;
        t.nodes[root].shellThickness = 0.1f;
    });
    // Several roots.
    row(u"(sphere 1)"_s, [](NodeTree &t, int &root) {
        const int second = t.read(u"(translate 2 0 0 (sphere 1))"_s);
        t.nodes[root].nextSibling = second;
    });
}

void TstAnalyticGradient::agreesWithTheField()
{
    QFETCH(QString, scene);
    QFETCH(Change, change);
    NodeTree tree(m_registry);
    int root = tree.read(scene);
    if (change)
        change(tree, root);
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
    QTest::addColumn<QString>("scene");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *name, const QString &scene, const QString &reason) {
        QTest::newRow(name) << scene << reason;
    };
    row("nothing", {}, u"<malformed tree>"_s);
    row("other shape", u"(gyroid 10 1)"_s, u"<primitive gyroid>"_s);
    row("other operator", two(u"xor"_s), u"<csg xor>"_s);
    row("other transform", u"(twist 1 (sphere 1))"_s, u"<transform twist>"_s);
    row("modifier", u"(round 1 (sphere 1))"_s, u"<nodeType 3>"_s);
    row("operator of nothing", u"(union)"_s, u"<csg union> (no children)"_s);
    row("transform of nothing", u"(rotate)"_s, u"<transform rotate> (no child)"_s);
    row("no width", two(u"smooth_union 0"_s), u"<csg smooth_union> (k≈0)"_s);
    row("cycle", u"(translate 1 0 0 (sphere 1))"_s, u"<malformed tree>"_s);
}

void TstAnalyticGradient::saysWhatStoppedIt()
{
    QFETCH(QString, scene);
    NodeTree tree(m_registry);
    const int root = tree.read(scene);
    if (qstrcmp(QTest::currentDataTag(), "cycle") == 0)
        tree.nodes[root].firstChild = root;
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
