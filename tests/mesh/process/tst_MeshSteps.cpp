// What all steps promise: whatever the mesh is, it does not become worse, and a cancel is heard.

#include <support/MeshChecks.h>
#include <support/VoxelSurface.h>

#include <mesh/process/CoplanarMerge.h>
#include <mesh/process/IsotropicRemesh.h>
#include <mesh/process/QuadricSimplification.h>
#include <mesh/process/SdfProjection.h>
#include <mesh/process/predicates.h>

#include <QRandomGenerator>
#include <QRegularExpression>

#include <limits>
#include <memory>

using namespace Qt::StringLiterals;
using namespace mesh::process;
using mesh::ElementType;
using support::FloatMesh;
using support::Point;
using support::shaken;
using StepPointer = std::shared_ptr<MeshProcessor<float>>;

Q_DECLARE_METATYPE(StepPointer)

namespace {

struct NamedStep
{
    const char *name;
    StepPointer step;
    QVariantMap parameters{};
};

SdfSample<float> sphereField(const Point &p)
{
    return {p.length() - 1, p.normalized()};
}

QList<NamedStep> allSteps()
{
    using Remesh = IsotropicRemesh<float>;
    return {
        {"sdfProject", std::make_shared<SdfProjection<float>>(
                           SdfProjectionSettings<float>{.sampler = sphereField})},
        {"coplanarMerge", std::make_shared<CoplanarMerge<float>>()},
        {"qemDecimate", std::make_shared<QuadricSimplification<float>>()},
        {"qemDecimate to the last",
         std::make_shared<QuadricSimplification<float>>(),
         {{u"targetFaceCount"_s, 1}}},
        {"qemDecimate with free outline",
         std::make_shared<QuadricSimplification<float>>(
             QuadricSimplificationSettings{.preserveBoundary = false}),
         {{u"targetFaceCount"_s, 1}}},
        {"remesh", std::make_shared<Remesh>()},
        {"remesh finer", std::make_shared<Remesh>(), {{u"targetEdgeLength"_s, 0.4}}},
        {"remesh coarser", std::make_shared<Remesh>(), {{u"targetEdgeLength"_s, 3.0}}},
    };
}

struct NamedMesh
{
    const char *name;
    FloatMesh mesh;
};

FloatMesh trianglesOf(const QList<Point> &vertices, const QList<mesh::NodeList> &faces)
{
    FloatMesh surface;
    surface.vertices = vertices;
    for (const mesh::NodeList &nodes : faces)
        surface.addElement(ElementType::Triangle, nodes);
    return surface;
}

// A flat disc of triangles about one vertex; with an apex on both sides when closed.
FloatMesh makeFan(int sides, bool closed)
{
    FloatMesh fan;
    fan.vertices = {{0, 0, 0.5f}, {0, 0, -0.5f}};
    for (int i = 0; i < sides; ++i) {
        const double angle = 2 * std::numbers::pi * i / sides;
        fan.vertices.append({float(std::cos(angle)), float(std::sin(angle)), 0});
    }
    for (int i = 0; i < sides; ++i) {
        const int a = 2 + i, b = 2 + (i + 1) % sides;
        fan.addElement(ElementType::Triangle, {0, a, b});
        if (closed)
            fan.addElement(ElementType::Triangle, {1, b, a});
    }
    return fan;
}

FloatMesh randomTriangles(quint32 seed, int vertices, int faces)
{
    QRandomGenerator random(seed);
    FloatMesh surface;
    for (int i = 0; i < vertices; ++i)
        surface.vertices.append(
            {float(random.bounded(8)), float(random.bounded(8)), float(random.bounded(8))});
    for (int i = 0; i < faces; ++i) {
        const auto node = [&] { return int(random.bounded(vertices)); };
        surface.addElement(ElementType::Triangle, {node(), node(), node()});
    }
    return surface;
}

// Cells at random, which touch along edges and in corners.
FloatMesh randomVoxels(quint32 seed)
{
    QRandomGenerator random(seed);
    QList<bool> isSolid;
    for (int i = 0; i < 6 * 6 * 6; ++i)
        isSolid.append(random.bounded(2) == 0);
    return support::makeVoxelSurface(
        {6, 6, 6}, [&](int x, int y, int z) { return isSolid.at(x + 6 * (y + 6 * z)); });
}

QList<NamedMesh> badMeshes()
{
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinite = std::numeric_limits<float>::infinity();
    FloatMesh twice = support::makeCube();
    twice.elements += support::makeCube().elements;
    FloatMesh holed = support::makeSphere(1, 12, 20);
    holed.elements.remove(40, 30);
    FloatMesh unknown = support::makeCube();
    unknown.vertices[3].x = nan;
    unknown.vertices[5].z = infinite;
    FloatMesh wrongWay = support::makeSphere(1, 10, 16);
    for (int i = 0; i < 50; ++i)
        std::swap(wrongWay.elements[i * 3].nodes[0], wrongWay.elements[i * 3].nodes[1]);
    const QList<Point> corners = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 1}};
    return {
        {"nothing", {}},
        {"one triangle", trianglesOf(corners, {{0, 1, 2}})},
        {"one point thrice", trianglesOf({{1, 1, 1}, {1, 1, 1}, {1, 1, 1}}, {{0, 1, 2}})},
        {"a vertex twice", trianglesOf(corners, {{0, 0, 1}, {1, 2, 3}})},
        {"back to back", trianglesOf(corners, {{0, 1, 2}, {0, 2, 1}})},
        {"three on an edge", trianglesOf(corners, {{0, 1, 2}, {1, 0, 3}, {0, 1, 4}})},
        {"the same face twice", trianglesOf(corners, {{0, 1, 2}, {0, 1, 2}, {1, 3, 2}})},
        {"tetrahedron", support::makeTetrahedronSurface()},
        {"cube", support::makeCube()},
        {"cube twice", twice},
        {"sphere", support::makeSphere(1, 16, 24)},
        {"holed sphere", holed},
        {"faces wound wrongly", wrongWay},
        {"fan", makeFan(5000, false)},
        {"double fan", makeFan(5000, true)},
        {"no numbers", unknown},
        {"far away", shaken(support::makeSphere(1e6f, 10, 12), 1e4f)},
        {"random triangles", randomTriangles(3, 12, 40)},
        {"random tangle", randomTriangles(4, 300, 900)},
        {"random voxels", randomVoxels(5)},
        {"shaken voxels", shaken(randomVoxels(6), 0.3f)},
        {"nearly flat voxels", shaken(randomVoxels(7), 0.004f)},
    };
}

} // namespace

class TstMeshSteps : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void noMeshBecomesWorse_data()
    {
        QTest::addColumn<StepPointer>("step");
        QTest::addColumn<QVariantMap>("parameters");
        QTest::addColumn<FloatMesh>("surface");
        const auto steps = allSteps();
        const auto meshes = badMeshes();
        for (const NamedStep &step : steps)
            for (const NamedMesh &mesh : meshes)
                QTest::addRow("%s: %s", step.name, mesh.name)
                    << step.step << step.parameters << mesh.mesh;
    }

    void noMeshBecomesWorse()
    {
        QFETCH(const StepPointer, step);
        QFETCH(const QVariantMap, parameters);
        QFETCH(FloatMesh, surface);
        const auto before = TopologySnapshot::of(surface);
        const double volume = support::signedVolume(surface);
        const bool isSolid = support::isClosedManifold(surface) && volume > 0;
        surface.vertexAttributes[u"weight"_s].fill(1, surface.vertices.size());
        surface.elementAttributes[u"group"_s].fill(2, surface.elements.size());
        // Two faces that cover each other share all edges, and would share the new ones too.
        if (qstrcmp(QTest::currentDataTag(), "remesh finer: back to back") == 0)
            QTest::ignoreMessage(
                QtWarningMsg,
                "IsotropicRemesh: topology predicate regressed — restoring input mesh");
        const auto done = step->process(surface, {.parameters = parameters});
        if (!done)
            QCOMPARE(done.error().code, int(mesh::io::LimitExceeded)); // far too fine for it
        QVERIFY(!TopologySnapshot::of(surface).isWorseThan(before));
        QCOMPARE(surface.vertexAttributes[u"weight"_s].size(), surface.vertices.size());
        QCOMPARE(surface.elementAttributes[u"group"_s].size(), surface.elements.size());
        for (const auto &element : std::as_const(surface.elements))
            for (const int node : element.nodes)
                QVERIFY(node >= 0 && node < surface.vertices.size());
        if (isSolid && !surface.elements.isEmpty())
            QVERIFY(support::signedVolume(surface) > 0);
    }

    // Found by trying many tangles: each collapse keeps the topology around it, which is none.
    void whatWouldBecomeWorseIsGivenBack()
    {
        const FloatMesh tangle = randomTriangles(111, 6, 8);
        FloatMesh surface = tangle;
        QTest::ignoreMessage(
            QtWarningMsg,
            QRegularExpression(u"^QuadricSimplification: topology predicate regressed .* "
                               "restoring input mesh$"_s));
        const QuadricSimplification<float> step({.preserveBoundary = false, .featureAngle = 180});
        QVERIFY(step.process(surface, {.parameters = {{u"targetFaceCount"_s, 1}}}).isOk());
        QCOMPARE(surface.elements, tangle.elements);
    }

    void otherElementsAreLeftAlone_data()
    {
        QTest::addColumn<int>("number");
        for (int i = 0; i < allSteps().size(); ++i)
            QTest::addRow("%s", allSteps().at(i).name) << i;
    }

    void otherElementsAreLeftAlone()
    {
        QFETCH(const int, number);
        const NamedStep step = allSteps().at(number);
        FloatMesh volume;
        volume.vertices = {{0, 0, 0}, {3, 0, 0}, {0, 3, 0}, {0, 0, 3}};
        volume.addElement(ElementType::Tetrahedron, {0, 1, 2, 3});
        FloatMesh mixed = support::makeCube(3);
        mixed.addElement(ElementType::Quad, {0, 2, 3, 1});
        for (const FloatMesh &input : {volume, mixed}) {
            FloatMesh surface = input;
            const QString name = step.step->name().remove(u' ');
            if (step.step->flag() != u"sdfProject"_s)
                QTest::ignoreMessage(
                    QtWarningMsg,
                    QRegularExpression(
                        u"^%1: non-Tri3 element present, mesh left untouched$"_s.arg(name)));
            QVERIFY(step.step->process(surface, {.parameters = step.parameters}).isOk());
            QCOMPARE(surface.elements, input.elements);
            if (step.step->flag() != u"sdfProject"_s || input.elements == volume.elements)
                QCOMPARE(surface.vertices, input.vertices);
        }
    }

    // Cancelled at each question in turn, until it comes through.
    void aCancelLeavesAWholeMesh_data() { otherElementsAreLeftAlone_data(); }

    void aCancelLeavesAWholeMesh()
    {
        QFETCH(const int, number);
        const NamedStep step = allSteps().at(number);
        const FloatMesh input = support::makeSphere(2, 12, 20);
        for (int limit = 0;; ++limit) {
            FloatMesh surface = input;
            int asked = 0;
            const auto progress = [&](qint64, qint64) { return ++asked <= limit; };
            QVERIFY(
                step.step->process(surface, {.parameters = step.parameters, .progress = progress})
                    .isOk());
            QVERIFY(support::isClosedManifold(surface));
            if (limit == 0)
                QCOMPARE(surface.vertices, input.vertices);
            if (asked <= limit)
                break;
        }
    }

    void parametersThatMakeNoSenseAreErrors_data()
    {
        constexpr double nan = std::numeric_limits<double>::quiet_NaN();
        QTest::addColumn<int>("number");
        QTest::addColumn<QVariantMap>("parameters");
        QTest::addColumn<QString>("error");
        const QString angle = u"coplanarMerge tolerance must be an angle from 0 to 90 degrees"_s;
        const QString target = u"qemDecimate target must be a number above 0"_s;
        QTest::newRow("negative angle") << 1 << QVariantMap{{u"angleToleranceDeg"_s, -1}} << angle;
        QTest::newRow("angle nan") << 1 << QVariantMap{{u"angleToleranceDeg"_s, nan}} << angle;
        QTest::newRow("ratio 0") << 2 << QVariantMap{{u"targetRatio"_s, 0}} << target;
        QTest::newRow("ratio text") << 2 << QVariantMap{{u"targetRatio"_s, u"x"_s}} << target;
        QTest::newRow("count text") << 2 << QVariantMap{{u"targetFaceCount"_s, u"x"_s}} << target;
        QTest::newRow("length nan") << 5 << QVariantMap{{u"targetEdgeLength"_s, nan}}
                                    << u"remesh edge length must be a number"_s;
        QTest::newRow("length too small")
            << 5 << QVariantMap{{u"targetEdgeLength"_s, 1e-6}}
            << u"remesh to an edge length of 1e-06 needs about 5.54e+13 triangles, more than 20000000"_s;
    }

    void parametersThatMakeNoSenseAreErrors()
    {
        QFETCH(const int, number);
        QFETCH(const QVariantMap, parameters);
        QFETCH(const QString, error);
        FloatMesh surface = support::makeCube();
        const auto done = allSteps().at(number).step->process(surface, {.parameters = parameters});
        QVERIFY(!done.isOk());
        QCOMPARE(done.error().message, error);
        QCOMPARE(surface.vertices, support::makeCube().vertices);
    }
};

QTEST_GUILESS_MAIN(TstMeshSteps)
#include "tst_MeshSteps.moc"
