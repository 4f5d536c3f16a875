#include <corvane/eval/CPUFieldEvaluator.h>
#include <corvane/eval/FieldCompiler.h>

#include <support/NodeTree.h>

#include <QTest>

#include <numeric>

using namespace Qt::StringLiterals;
using namespace corvane::eval;
using support::NodeTree;

namespace {

/// A field in the field language itself.
EvalFieldEvaluator evaluatorOf(const QString &source)
{
    SdfSceneGraphBuilder::Result scene;
    scene.positionHandle = scene.graph.declareInput(u"p"_s, ::eval::Type::Vec3);
    scene.distanceHandle = scene.graph.declareOutput(u"d"_s, source);
    const CompiledField field = compileField(scene, ::eval::Backend::Interpreted);
    return {field.program, field.positionHandle, field.distanceHandle};
}

/// Counts how a base class asks for samples.
class LinearField : public IFieldEvaluator
{
public:
    bool isValid() const override { return true; }
    QString lastError() const override { return {}; }
    float evaluate(float x, float y, float z) override
    {
        ++samples;
        return 2 * x - 3 * y + 0.5f * z + 1;
    }
    QString backendName() const override { return u"linear"_s; }
    float gradientStep() const override { return 0.25f; }

    int samples = 0;
};

} // namespace

class TstFieldEvaluators : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { m_registry.loadBuiltinPrimitives(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void stencilFindsTheGradientOfALinearField();
    void withoutAProgramAllIsFar_data();
    void withoutAProgramAllIsFar();
    void faultIsFarAndKept();
    void rowsAndPointsAreWhatEachIs();
    void cancelEndsALoop();
    void ownedFieldAnswers();
    void ownedFieldSaysWhatFailed_data();
    void ownedFieldSaysWhatFailed();

private:
    corvane::registry::Registry m_registry;
};

void TstFieldEvaluators::stencilFindsTheGradientOfALinearField()
{
    LinearField field;
    const DistanceGradient expected{
        .distance = 0.5f, .gradientX = 2, .gradientY = -3, .gradientZ = 0.5f};
    QCOMPARE(field.evaluateWithGradient(1, 1, 1), expected);
    QCOMPARE(field.samples, 5);
    const std::vector<float> ones(3, 1.0f);
    std::vector<DistanceGradient> gradients(3);
    field.evaluateWithGradients(ones, ones, ones, gradients);
    QCOMPARE(gradients, std::vector<DistanceGradient>(3, expected));
}

void TstFieldEvaluators::withoutAProgramAllIsFar_data()
{
    QTest::addColumn<bool>("hasProgram");
    QTest::addColumn<quint32>("position");
    QTest::addColumn<quint32>("distance");
    QTest::addColumn<QString>("error");
    const QString handles = u"EvalFieldEvaluator: invalid sample-position or distance handle"_s;
    QTest::newRow("no program") << false << 1u << 2u << u"EvalFieldEvaluator: null program"_s;
    QTest::newRow("no position") << true << 0u << 2u << handles;
    QTest::newRow("no distance") << true << 1u << 0u << handles;
}

void TstFieldEvaluators::withoutAProgramAllIsFar()
{
    QFETCH(bool, hasProgram);
    QFETCH(quint32, position);
    QFETCH(quint32, distance);
    ::eval::Graph graph;
    graph.declareInput(u"p"_s, ::eval::Type::Vec3);
    graph.declareOutput(u"d"_s, u"p.x"_s);
    const auto compiled = graph.compile(::eval::Backend::Interpreted);
    QVERIFY(compiled);
    QSharedPointer<const ::eval::Program> program;
    if (hasProgram)
        program = QSharedPointer<const ::eval::Program>::create(compiled.value());
    EvalFieldEvaluator evaluator(program, position, distance);
    QVERIFY(!evaluator.isValid());
    QTEST(evaluator.lastError(), "error");
    QCOMPARE(evaluator.evaluate(1, 2, 3), farDistance);
    std::array<float, 3> row{};
    evaluator.evaluateRow(std::array{1.0f, 2.0f, 3.0f}, 0, 0, row);
    QCOMPARE(row, (std::array{farDistance, farDistance, farDistance}));
}

void TstFieldEvaluators::faultIsFarAndKept()
{
    auto evaluator = evaluatorOf(u"1.0 / p.x"_s);
    QVERIFY(evaluator.isValid());
    QCOMPARE(evaluator.backendName(), u"libeval (Interpreted)"_s);
    QCOMPARE(evaluator.evaluate(4, 0, 0), 0.25f);
    QCOMPARE(evaluator.lastError(), QString());
    QCOMPARE(evaluator.evaluate(0, 0, 0), farDistance);
    QCOMPARE(evaluator.evaluate(2, 0, 0), 0.5f);
    QCOMPARE(evaluator.lastError(), u"division by zero"_s);
}

void TstFieldEvaluators::rowsAndPointsAreWhatEachIs()
{
    const QString source = u"length(p) - 1.0 / (p.x * p.y) + sin(p.z)"_s;
    auto together = evaluatorOf(source);
    auto each = evaluatorOf(source);
    std::vector<float> xs(301), ys(301), zs(301);
    std::iota(xs.begin(), xs.end(), -150.0f);
    std::iota(ys.begin(), ys.end(), -20.0f);
    std::iota(zs.begin(), zs.end(), 3.0f);
    std::vector<DistanceGradient> gradients(xs.size());
    together.evaluateWithGradients(xs, ys, zs, gradients);
    std::vector<float> distances(xs.size());
    together.evaluatePoints(xs, ys, zs, distances);
    std::vector<float> row(xs.size());
    together.evaluateRow(xs, 2.0f, -0.5f, row);
    for (std::size_t i = 0; i < xs.size(); ++i) {
        QCOMPARE(std::bit_cast<quint32>(row[i]),
                 std::bit_cast<quint32>(each.evaluate(xs[i], 2.0f, -0.5f)));
        QCOMPARE(gradients[i], each.evaluateWithGradient(xs[i], ys[i], zs[i]));
        QCOMPARE(distances[i], gradients[i].distance);
    }
    QCOMPARE(together.lastError(), u"division by zero"_s);
}

void TstFieldEvaluators::cancelEndsALoop()
{
    auto evaluator = evaluatorOf(u"float f(vec3 q) { float s = 0.0; while (true) { while (true) { "
                                 u"s = s + 1.0; } } return s; }\n"
                                 "f(p)"_s);
    const std::atomic_bool cancelled = true;
    evaluator.setCancelFlag(&cancelled);
    QCOMPARE(evaluator.evaluate(0, 0, 0), farDistance);
    QCOMPARE(evaluator.lastError(), u"evaluation cancelled"_s);
}

void TstFieldEvaluators::ownedFieldAnswers()
{
    NodeTree tree(m_registry);
    const int root = tree.add("gyroid"_L1, {10, 0.5f});
    CPUFieldEvaluator evaluator(tree.nodes, root, tree.definitions());
    QVERIFY(evaluator.isValid());
    QCOMPARE(evaluator.backendName(), u"libeval (CPUFieldEvaluator)"_s);
    const DistanceGradient sample = evaluator.evaluateWithGradient(1, 2, 3);
    QCOMPARE(sample.distance, evaluator.evaluate(1, 2, 3));
    std::array<float, 1> row{};
    evaluator.evaluateRow(std::array{1.0f}, 2, 3, row);
    QCOMPARE(row[0], sample.distance);
    // No analytic form: the gradient comes from samples and still points along the field.
    QVERIFY(!evaluator.analyticGradient().isValid());
    const float ahead = evaluator.evaluate(
        1 + 0.01f * sample.gradientX, 2 + 0.01f * sample.gradientY, 3 + 0.01f * sample.gradientZ);
    QVERIFY(ahead > sample.distance);
}

void TstFieldEvaluators::ownedFieldSaysWhatFailed_data()
{
    QTest::addColumn<bool>("broken");
    QTest::addColumn<QString>("error");
    QTest::newRow("text")
        << false
        << u"CPUFieldEvaluator: SdfSceneGraphBuilder failed: PositionTransform node "
           "has no child: 'translate' needs one to act on"_s;
    QTest::newRow("code")
        << true << u"CPUFieldEvaluator: eval compile failed: unknown function 'nowhere'"_s;
}

void TstFieldEvaluators::ownedFieldSaysWhatFailed()
{
    QFETCH(bool, broken);
    corvane::registry::Registry registry;
    registry.loadBuiltinPrimitives();
    auto definition = corvane::registry::DefinitionPtr::create();
    definition->id = u"lost"_s;
    definition->name = u"Lost"_s;
    definition->nodeType = corvane::registry::NodeType::Primitive;
    definition->primaryFunctionName = u"sdf_lost"_s;
    definition->shaderCode = u"float sdf_lost(vec3 p) { return nowhere(p); }"_s;
    registry.registerPrimitive(definition);
    NodeTree tree(registry);
    const int root = broken ? tree.add("lost"_L1) : tree.add("translate"_L1);
    CPUFieldEvaluator evaluator(tree.nodes, root, tree.definitions());
    QVERIFY(!evaluator.isValid());
    QTEST(evaluator.lastError(), "error");
    QCOMPARE(evaluator.evaluate(0, 0, 0), farDistance);
    QCOMPARE(evaluator.evaluateWithGradient(0, 0, 0), DistanceGradient{});
}

QTEST_GUILESS_MAIN(TstFieldEvaluators)
#include "tst_FieldEvaluators.moc"
