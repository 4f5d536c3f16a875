// What the steps are for: a surface nearer to its field, with fewer or better triangles, sharp
// where it was sharp.

#include <support/MeshChecks.h>
#include <support/VoxelSurface.h>

#include <mesh/process/IsotropicRemesh.h>
#include <mesh/process/QuadricSimplification.h>
#include <mesh/process/SdfProjection.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace mesh::process;
using support::FloatMesh;
using support::Point;
using support::shaken;

namespace {

constexpr int boxSide = 8;

FloatMesh gridBox()
{
    return support::makeVoxelSurface({boxSide, boxSide, boxSide},
                                     [](int, int, int) { return true; });
}

// Distance to the box of gridBox(); outside of edges too small, as the maximum of planes is.
SdfSample<float> boxField(const Point &p)
{
    const float half = boxSide / 2.0f;
    const float c[3] = {p.x - half, p.y - half, p.z - half};
    int axis = 0;
    for (int i = 1; i < 3; ++i)
        if (std::abs(c[i]) > std::abs(c[axis]))
            axis = i;
    const float sign = c[axis] < 0 ? -1.0f : 1.0f;
    return {std::abs(c[axis]) - half,
            {axis == 0 ? sign : 0, axis == 1 ? sign : 0, axis == 2 ? sign : 0}};
}

SdfSample<float> sphereField(const Point &p)
{
    return {p.length() - 1, p.normalized()};
}

double largestDistance(const FloatMesh &surface, SdfSample<float> (*field)(const Point &))
{
    double largest = 0;
    for (const Point &p : surface.vertices)
        largest = std::max(largest, double(std::abs(field(p).distance)));
    return largest;
}

bool hasBoxCorners(const FloatMesh &surface)
{
    for (int i = 0; i < 8; ++i)
        if (!surface.vertices.contains(Point{i & 1 ? float(boxSide) : 0, i & 2 ? float(boxSide) : 0,
                                             i & 4 ? float(boxSide) : 0}))
            return false;
    return true;
}

} // namespace

class TstSurfaceQuality : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void aBoxHasTheFeaturesOfABox()
    {
        const FloatMesh box = gridBox();
        const auto features = analyzeFeatures(box, 30);
        QCOMPARE(features.vertexClass.count(VertexClass::Corner), 8);
        QCOMPARE(features.vertexClass.count(VertexClass::Crease), 12 * (boxSide - 1));
        QCOMPARE(features.featureEdges.count(true), 12 * boxSide);
        QCOMPARE(features.edges.size(), box.elements.size() * 3 / 2);
        for (int e = 0; e < features.edges.size(); ++e) {
            QCOMPARE(features.edges.find(features.edges.upper(e), features.edges.lower(e)), e);
            QCOMPARE(features.edges.faces(e).size(), size_t(2));
        }
        QCOMPARE(features.edges.find(0, int(box.vertices.size()) - 1), -1);
    }

    // The steps of a grid look sharp; the field knows which are.
    void theFieldTakesFalseFeaturesBack_data()
    {
        QTest::addColumn<bool>("isBox");
        QTest::newRow("a rough sphere has none") << false;
        QTest::newRow("a box keeps them") << true;
    }

    void theFieldTakesFalseFeaturesBack()
    {
        QFETCH(const bool, isBox);
        const FloatMesh surface = isBox ? gridBox() : support::makeSphere(1, 6, 8);
        auto features = analyzeFeatures(surface, 30);
        const qsizetype before = features.featureEdges.count(true);
        QVERIFY(before > 0);
        QVERIFY(confirmFeaturesAgainstField<float>(
            surface, features, isBox ? boxField : sphereField, isBox ? 0.3f : 0.02f, 30));
        QCOMPARE(features.featureEdges.count(true), isBox ? before : 0);
    }

    void projectionPutsVerticesOnTheField_data()
    {
        QTest::addColumn<bool>("isBox");
        QTest::newRow("sphere") << false;
        QTest::newRow("box with its edges") << true;
    }

    void projectionPutsVerticesOnTheField()
    {
        QFETCH(const bool, isBox);
        const auto field = isBox ? boxField : sphereField;
        FloatMesh surface = shaken(isBox ? gridBox() : support::makeSphere(1, 30, 40), 0.01f);
        const double before = largestDistance(surface, field);
        const SdfProjection<float> step({.sampler = field, .tangentialStep = 0.2});
        QVERIFY(step.process(surface, {.parameters = {{u"iterations"_s, 4}}}).isOk());
        QVERIFY(support::isClosedManifold(surface));
        QVERIFY(before > 0.005);
        // Corners stay where they are, so on the box only they are off.
        QVERIFY(largestDistance(surface, field) < (isBox ? before * 1.01 : 1e-4));
        const auto isOnEdge = [](const Point &p) {
            int sides = 0;
            for (const float c : {p.x, p.y, p.z})
                sides += std::abs(std::abs(c - boxSide / 2.0f) - boxSide / 2.0f) < 1e-4f ? 1 : 0;
            return sides == 2;
        };
        if (isBox)
            QCOMPARE(std::count_if(surface.vertices.cbegin(), surface.vertices.cend(), isOnEdge),
                     12 * (boxSide - 1));
    }

    void aFieldWithoutAnswersMovesNothing_data()
    {
        QTest::addColumn<float>("distance");
        QTest::newRow("failed") << 1e10f;
        QTest::newRow("nan") << std::numeric_limits<float>::quiet_NaN();
        QTest::newRow("infinite") << std::numeric_limits<float>::infinity();
    }

    void aFieldWithoutAnswersMovesNothing()
    {
        QFETCH(const float, distance);
        FloatMesh surface = support::makeSphere(1, 10, 12);
        const auto field = [distance](const Point &) -> SdfSample<float> {
            return {distance, {1, 0, 0}};
        };
        QVERIFY(SdfProjection<float>({.sampler = field}).process(surface, {}).isOk());
        QCOMPARE(surface.vertices, support::makeSphere(1, 10, 12).vertices);
    }

    void decimationReachesItsTarget_data()
    {
        QTest::addColumn<QVariantMap>("parameters");
        QTest::addColumn<int>("faces");
        const int all = 12 * boxSide * boxSide;
        QTest::newRow("default") << QVariantMap{} << all / 2;
        QTest::newRow("ratio") << QVariantMap{{u"targetRatio"_s, 0.25}} << all / 4;
        QTest::newRow("ratio of all") << QVariantMap{{u"targetRatio"_s, 1.0}} << all;
        QTest::newRow("ratio above all") << QVariantMap{{u"targetRatio"_s, 5.0}} << all;
        QTest::newRow("count wins")
            << QVariantMap{{u"targetRatio"_s, 0.9}, {u"targetFaceCount"_s, 100}} << 100;
        QTest::newRow("as few as there can be") << QVariantMap{{u"targetFaceCount"_s, 1}} << 12;
    }

    void decimationReachesItsTarget()
    {
        QFETCH(const QVariantMap, parameters);
        QFETCH(const int, faces);
        FloatMesh box = gridBox();
        QVERIFY(QuadricSimplification<float>().process(box, {.parameters = parameters}).isOk());
        QCOMPARE(box.elements.size(), faces);
        QVERIFY(support::isClosedManifold(box));
        QVERIFY(hasBoxCorners(box));
        QVERIFY(std::abs(support::signedVolume(box) - boxSide * boxSide * boxSide) < 1e-3);
    }

    void decimationStaysNearACurvedSurface()
    {
        FloatMesh sphere = support::makeSphere(1, 60, 80);
        QVERIFY(QuadricSimplification<float>()
                    .process(sphere, {.parameters = {{u"targetRatio"_s, 0.1}}})
                    .isOk());
        QVERIFY(sphere.elements.size() <= 944);
        QVERIFY(support::isClosedManifold(sphere));
        QVERIFY(largestDistance(sphere, sphereField) < 0.01);
    }

    // A handle has loops that no face fills: an edge of such a loop of three must not collapse.
    void decimationKeepsHandles_data()
    {
        QTest::addColumn<FloatMesh>("surface");
        QTest::newRow("torus") << support::makeTorus(2, 0.7f, 40, 24);
        QTest::newRow("thin torus") << support::makeTorus(2, 0.2f, 60, 5);
        QTest::newRow("torus of three sides") << support::makeTorus(2, 0.5f, 30, 3);
        QTest::newRow("plate with four holes") << support::makeVoxelSurface(
            {9, 9, 2}, [](int x, int y, int) { return x % 4 != 2 || y % 4 != 2; });
    }

    void decimationKeepsHandles()
    {
        QFETCH(FloatMesh, surface);
        const qsizetype before = surface.elements.size();
        const qsizetype handles = support::eulerCharacteristic(surface);
        QVERIFY(handles <= 0);
        const QVariantMap toTheLast{{u"targetFaceCount"_s, 1}};
        const QuadricSimplification<float> step({.featureAngle = 180});
        QVERIFY(step.process(surface, {.parameters = toTheLast}).isOk());
        QVERIFY2(surface.elements.size() < before / 2,
                 qPrintable(u"%1 of %2"_s.arg(surface.elements.size()).arg(before)));
        QVERIFY(support::isClosedManifold(surface));
        QCOMPARE(support::eulerCharacteristic(surface), handles);
    }

    // An edge from one outline to the other, of which the outlines would touch in a vertex.
    void decimationKeepsOutlinesApart()
    {
        FloatMesh ring = support::makeTorus(2, 0.5f, 30, 4);
        // Of each section of four sides the first is left.
        for (qsizetype i = ring.elements.size() - 1; i >= 0; --i)
            if (i / 2 % 4 != 0)
                ring.elements.removeAt(i);
        const QuadricSimplification<float> step({.preserveBoundary = false, .featureAngle = 180});
        QVERIFY(step.process(ring, {.parameters = {{u"targetFaceCount"_s, 1}}}).isOk());
        QVERIFY(ring.elements.size() < 30);
        QCOMPARE(support::eulerCharacteristic(ring), 0);
    }

    // The creases of a thin part are near each other, and edges lead from one to the next.
    void decimationKeepsThinParts()
    {
        FloatMesh bar = support::makeVoxelSurface({20, 1, 1}, [](int, int, int) { return true; });
        QVERIFY(QuadricSimplification<float>()
                    .process(bar, {.parameters = {{u"targetFaceCount"_s, 1}}})
                    .isOk());
        QCOMPARE(bar.elements.size(), 12);
        QVERIFY(std::abs(support::signedVolume(bar) - 20) < 1e-3);
    }

    // Few vertices are left of the two rims, which then are nearer to each other than to the
    // circle.
    void decimationKeepsBothRimsOfACoin()
    {
        constexpr int sides = 96;
        constexpr float thickness = 0.01f;
        FloatMesh coin;
        coin.vertices = {{0, 0, thickness}, {0, 0, 0}};
        for (int i = 0; i < sides; ++i) {
            const double angle = 2 * std::numbers::pi * i / sides;
            for (const float z : {thickness, 0.0f})
                coin.vertices.append({float(std::cos(angle)), float(std::sin(angle)), z});
        }
        for (int i = 0; i < sides; ++i) {
            const int a = 2 + 2 * i, b = 2 + 2 * ((i + 1) % sides);
            for (const mesh::NodeList &nodes :
                 {mesh::NodeList{0, a, b}, mesh::NodeList{1, b + 1, a + 1},
                  mesh::NodeList{a, a + 1, b + 1}, mesh::NodeList{a, b + 1, b}})
                coin.addElement(mesh::ElementType::Triangle, nodes);
        }
        QVERIFY(support::isClosedManifold(coin));
        QVERIFY(QuadricSimplification<float>()
                    .process(coin, {.parameters = {{u"targetFaceCount"_s, 24}}})
                    .isOk());
        QVERIFY(coin.elements.size() < 100);
        for (const Point &p : std::as_const(coin.vertices))
            QVERIFY(std::abs(std::abs(p.z - thickness / 2) - thickness / 2) < 1e-5f);
    }

    // Faces that fold over within their plane enclose as much as before, but are larger.
    void decimationFoldsNoFlatFace()
    {
        FloatMesh plate = support::makeVoxelSurface(
            {17, 17, 2}, [](int x, int y, int) { return x % 4 != 2 || y % 4 != 2; });
        const double volume = support::signedVolume(plate), area = support::surfaceArea(plate);
        QVERIFY(QuadricSimplification<float>()
                    .process(plate, {.parameters = {{u"targetFaceCount"_s, 1}}})
                    .isOk());
        QVERIFY(std::abs(support::signedVolume(plate) - volume) < 1e-3 * volume);
        QVERIFY(std::abs(support::surfaceArea(plate) - area) < 1e-3 * area);
    }

    void decimationTurnsNothingOver_data()
    {
        QTest::addColumn<double>("ratio");
        QTest::newRow("half") << 0.5;
        QTest::newRow("a tenth") << 0.1;
        QTest::newRow("a hundredth") << 0.01;
    }

    void decimationTurnsNothingOver()
    {
        QFETCH(const double, ratio);
        FloatMesh ball = shaken(support::makeSphere(1, 20, 20), 0.01f);
        const QuadricSimplification<float> step({.featureAngle = 180});
        QVERIFY(step.process(ball, {.parameters = {{u"targetRatio"_s, ratio}}}).isOk());
        QVERIFY(support::isClosedManifold(ball));
        for (const auto &element : std::as_const(ball.elements)) {
            const Point a = ball.vertices.at(element.nodes[0]);
            const Point b = ball.vertices.at(element.nodes[1]);
            const Point c = ball.vertices.at(element.nodes[2]);
            QVERIFY((b - a).cross(c - a).dot(a + b + c) > 0);
        }
    }

    void remeshingMakesEvenTriangles_data()
    {
        QTest::addColumn<double>("length");
        QTest::newRow("as it is") << 0.0;
        QTest::newRow("finer") << 0.5;
        QTest::newRow("coarser") << 2.0;
    }

    void remeshingMakesEvenTriangles()
    {
        QFETCH(const double, length);
        FloatMesh box = gridBox();
        const double wanted =
            length > 0 ? length : double(meanEdgeLength(box, analyzeFeatures(box, 45).edges));
        const IsotropicRemesh<float> step({.sampler = boxField});
        QVERIFY(step.process(box, {.parameters = {{u"targetEdgeLength"_s, length}}}).isOk());
        QVERIFY(support::isClosedManifold(box));
        QVERIFY(hasBoxCorners(box));
        QVERIFY(std::abs(support::signedVolume(box) - boxSide * boxSide * boxSide) < 1e-2);
        const double mean = double(meanEdgeLength(box, analyzeFeatures(box, 45).edges));
        QVERIFY(mean > 0.7 * wanted && mean < 1.3 * wanted);
    }

    // The same numbers on every run: files are compared byte by byte.
    void theResultIsTheSameEachTime()
    {
        const FloatMesh input = shaken(support::makeSphere(1, 20, 30), 0.02f);
        QList<Point> first;
        for (int run = 0; run < 2; ++run) {
            FloatMesh surface = input;
            QVERIFY(IsotropicRemesh<float>({.sampler = sphereField}).process(surface, {}).isOk());
            QVERIFY(QuadricSimplification<float>().process(surface, {}).isOk());
            if (run == 1)
                QCOMPARE(surface.vertices, first);
            first = surface.vertices;
        }
    }
};

QTEST_GUILESS_MAIN(TstSurfaceQuality)
#include "tst_SurfaceQuality.moc"
