// The field that the shaders draw is the field that is exported.
#include <corvane/eval/FieldCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Registry.h>
#include <corvane/render/SDFLayer.h>
#include <corvane/shader/ShaderTemplates.h>
#include <rhi/OffscreenRhi.h>
#include <support/FieldPicture.h>
#include <support/NodeTree.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <cstring>
#include <random>

using namespace Qt::StringLiterals;
using namespace corvane;
using shader::SDFNode;
using shader::SDFShaderGenerator;

namespace {

constexpr int side = 48;
constexpr int pointCount = side * side;
/// Of the size of the value, but not below a hundred thousandth of a unit.
constexpr float tolerance = 2e-5f;
/// An edge of a cell, a tooth or a sector may lie on the other side of a point.
constexpr int mostBesideAnEdge = 3;

struct ProbeUniforms
{
    float unused[48]{};
    qint32 nodeCount = 0;
    qint32 rootNodeIndex = 0;
    qint32 width = side;
    qint32 count = pointCount;
};

struct Probe
{
    float distance, material, secondary, blend;

    bool isAs(const Probe &other, float reach) const
    {
        return material == other.material && secondary == other.secondary &&
               std::abs(blend - other.blend) < 1e-3f &&
               std::abs(distance - other.distance) <=
                   tolerance * std::max(reach, std::abs(other.distance));
    }
    QString text() const
    {
        return u"%1 (nodes %2 and %3, %4)"_s.arg(distance).arg(material).arg(secondary).arg(blend);
    }
};

struct Differences
{
    int count = 0;
    QString first{};

    void add(const QString &what, const QVector4D &point)
    {
        if (count++ == 0)
            first = what + u" at %1, %2, %3"_s.arg(point.x()).arg(point.y()).arg(point.z());
    }
    QString text() const { return u"%1 points, first %2"_s.arg(count).arg(first); }
};

QString probeSource(const SDFShaderGenerator &generator)
{
    QFile file(QStringLiteral(CORVANE_PROBE_TEMPLATE));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return generator.filledScene(QString::fromUtf8(file.readAll()));
}

QList<QVector4D> pointsIn(float reach)
{
    std::mt19937 random(20260101);
    std::uniform_real_distribution<float> unit(-1, 1);
    QList<QVector4D> points;
    for (int i = 0; i < pointCount; ++i) {
        const float x = unit(random), y = unit(random), z = unit(random);
        points.append(QVector4D(x, y, z, 0) * (i % 8 == 7 ? 10.0f * reach : reach));
    }
    return points;
}

struct FieldScene
{
    QList<SDFNode> nodes;
    int rootIndex = 0;
    float reach = 4.0f; ///< most points lie within
};

QString repeated(const QString &text, int count)
{
    return QString(text).repeated(count);
}

} // namespace

class TstFieldOnGpu : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void treesAreWhatIsExported_data();
    void treesAreWhatIsExported();
    void samplesAreWhatIsExported_data();
    void samplesAreWhatIsExported();

private:
    QList<Probe> probed(const FieldScene &scene, SDFShaderGenerator &generator,
                        const QList<QVector4D> &points, const QByteArray &parameters = {});
    void compareWithExport(const FieldScene &scene, SDFShaderGenerator &generator);

    rhi::RhiPointer m_rhi;
};

void TstFieldOnGpu::initTestCase()
{
    registry::Registry::instance().loadBuiltinPrimitives();
    support::addShape(u"test_mean"_s,
                      u"float op_test_mean(float d1, float d2) { return 0.3 * d1 + 0.7 * d2; }"_s);
    m_rhi = rhi::createOffscreenRhi(nullptr);
    QVERIFY2(m_rhi, "No Vulkan driver is installed: scripts/test.sh installs mesa-vulkan-drivers");
}

QList<Probe> TstFieldOnGpu::probed(const FieldScene &scene, SDFShaderGenerator &generator,
                                   const QList<QVector4D> &points, const QByteArray &parameters)
{
    generator.setActiveDefinitionIds(render::SDFLayer::usedDefinitionIds(scene.nodes, generator));
    ProbeUniforms uniforms;
    uniforms.nodeCount = qint32(scene.nodes.size());
    uniforms.rootNodeIndex = scene.rootIndex;
    QString error;
    support::FieldPicture picture(
        m_rhi.get(),
        {.fragmentSource = probeSource(generator),
         .uniforms = QByteArray(reinterpret_cast<const char *>(&uniforms), sizeof uniforms),
         .nodes = scene.nodes,
         .size = {side, side},
         .points = points,
         .sceneParameters = parameters},
        error);
    if (!error.isEmpty()) {
        qWarning().noquote() << error;
        return {};
    }
    const QByteArray bytes = picture.draw().first();
    QList<Probe> probes(pointCount);
    if (bytes.size() != qsizetype(pointCount * sizeof(Probe)))
        return {};
    std::memcpy(probes.data(), bytes.constData(), std::size_t(bytes.size()));
    return probes;
}

void TstFieldOnGpu::compareWithExport(const FieldScene &scene, SDFShaderGenerator &generator)
{
    const QList<QVector4D> points = pointsIn(scene.reach);
    const QList<Probe> drawn = probed(scene, generator, points);
    QCOMPARE(drawn.size(), pointCount);
    auto graph = corvane::eval::SdfSceneGraphBuilder::build(
        scene.nodes, scene.rootIndex, registry::Registry::instance(), generator.indices());
    const auto compiled = corvane::eval::compileField(graph, ::eval::Backend::Interpreted);
    QVERIFY2(compiled.program, qPrintable(graph.error + compiled.error));
    corvane::eval::EvalFieldEvaluator field(compiled.program, compiled.positionHandle,
                                            compiled.distanceHandle);
    Differences exported;
    for (int i = 0; i < pointCount; ++i) {
        const QVector4D &p = points.at(i);
        const float wanted = field.evaluate(p.x(), p.y(), p.z());
        const float found = drawn.at(i).distance;
        if (std::abs(found - wanted) > tolerance * std::max(scene.reach, std::abs(wanted)))
            exported.add(u"%1 instead of %2"_s.arg(found).arg(wanted), p);
    }
    QVERIFY2(exported.count <= mostBesideAnEdge, qPrintable(exported.text()));

    const auto own = generator.specialisedScene(scene.nodes, {scene.rootIndex});
    QVERIFY(!own.isNull());
    generator.setSpecialisedScene(own);
    const QList<Probe> specialised =
        probed(scene, generator, points, own.parameterBytes(scene.nodes));
    QCOMPARE(specialised.size(), pointCount);
    Differences evaluators;
    for (int i = 0; i < pointCount; ++i) {
        if (!specialised.at(i).isAs(drawn.at(i), scene.reach))
            evaluators.add(u"%1 instead of %2"_s.arg(specialised.at(i).text(), drawn.at(i).text()),
                           points.at(i));
    }
    QVERIFY2(evaluators.count <= mostBesideAnEdge, qPrintable(evaluators.text()));
}

void TstFieldOnGpu::treesAreWhatIsExported_data()
{
    QTest::addColumn<QString>("roots");

    const QString ball = u"(translate 1 0 0 (sphere 1))"_s;
    QTest::newRow("primitive") << u"(torus 1.5 0.4)"_s;
    const char *const operators[] = {"union",
                                     "subtract",
                                     "intersect",
                                     "smooth_union",
                                     "smooth_subtract",
                                     "smooth_intersect",
                                     "additive_blend",
                                     "chamfer_union",
                                     "chamfer_intersect",
                                     "xor"};
    for (const char *const id : operators) {
        QTest::newRow(id) << u"(%1 0.4 (box 1.2 0.7 1) %2)"_s.arg(QLatin1StringView(id), ball);
    }
    QTest::newRow("a user's operator")
        << u"(test_mean (box 1.2 0.7 1) %1 (sphere 0.5))"_s.arg(ball);
    QTest::newRow("operator as a later child")
        << u"(subtract 0 (box 2 2 2) (intersect 0 (sphere 1.5) (box 1 1 3)) %1)"_s.arg(ball);
    QTest::newRow("modifier in a modifier, as a later child")
        << u"(smooth_union 0.3 (box 1 1 1) (round 0.2 (onion 0.1 %1)))"_s.arg(ball);
    QTest::newRow("position after a transform")
        << u"(union 0 (twist 0.7 (box 1 2 0.4)) (extrude 0.6 %1))"_s.arg(ball);
    QTest::newRow("operator without children") << u"(union 0 (sphere 1) (union 0) %1)"_s.arg(ball);
    QTest::newRow("smooth union with an empty operator")
        << u"(smooth_union 0.2 (union 0) %1)"_s.arg(ball);
    QTest::newRow("forty children")
        << u"(smooth_union 0.2 %1)"_s.arg(repeated(ball, 39) + "(box 1 2 1)"_L1);
    QTest::newRow("a hundred roots") << repeated(ball, 99) + "(box 1 2 1)"_L1;
    QTest::newRow("thirty transforms")
        << repeated(u"(translate 0.1 0 0 "_s, 30) + "(sphere 1)"_L1 + repeated(u")"_s, 30);
    QTest::newRow("thirty later children")
        << repeated(u"(subtract 0 (box 2 2 2) "_s, 30) + "(sphere 1)"_L1 + repeated(u")"_s, 30);
}

void TstFieldOnGpu::treesAreWhatIsExported()
{
    QFETCH(const QString, roots);
    support::NodeTree tree;
    // All roots are the children of one operator in the text, which is then taken away.
    const int all = tree.read(u"(union 0 %1)"_s.arg(roots));
    const int root = tree.nodes.last().firstChild;
    for (int child = root; child >= 0; child = tree.nodes.at(child).nextSibling)
        tree.nodes[child].parentIndex = -1;
    tree.nodes.removeAt(all);
    SDFShaderGenerator generator(&registry::Registry::instance());
    compareWithExport({.nodes = tree.nodes, .rootIndex = root}, generator);
}

void TstFieldOnGpu::samplesAreWhatIsExported_data()
{
    QTest::addColumn<QString>("path");
    const QDir samples(QStringLiteral(CORVANE_SAMPLES));
    const QStringList names = samples.entryList({u"*.corvane"_s}, QDir::Files, QDir::Name);
    for (const QString &name : names)
        QTest::newRow(name.toUtf8()) << samples.filePath(name);
}

void TstFieldOnGpu::samplesAreWhatIsExported()
{
    QFETCH(const QString, path);
    const auto document = model::Corvane::loadFromFile(path);
    QVERIFY(document);
    expr::ExpressionManager expressions(document.data());
    expressions.evaluateAll();
    render::SDFLayer layer;
    layer.setScene(document.data());
    const auto field = layer.nodesAsOneField();
    compareWithExport({.nodes = field.nodes, .rootIndex = field.rootIndex, .reach = 40.0f},
                      layer.generator());
    document->unregisterFileScopedDefinitions();
}

QTEST_GUILESS_MAIN(TstFieldOnGpu)
#include "tst_FieldOnGpu.moc"
