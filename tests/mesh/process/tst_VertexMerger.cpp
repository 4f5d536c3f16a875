#include <support/MeshChecks.h>

#include <QRandomGenerator>
#include <QRegularExpression>

#include <limits>

using namespace Qt::StringLiterals;
using mesh::ElementType;
using mesh::process::VertexMerger;
using support::FloatMesh;
using support::Point;

namespace {

QString weld(FloatMesh &surface, const QVariant &tolerance)
{
    const auto done =
        VertexMerger<float>().process(surface, {.parameters = {{u"tolerance"_s, tolerance}}});
    return done ? QString() : done.error().message;
}

// The definition: each vertex against all kept ones before it.
QList<Point> keptByDefinition(const QList<Point> &points, double tolerance)
{
    QList<Point> kept;
    for (const Point &p : points) {
        const bool isNew = std::none_of(kept.cbegin(), kept.cend(), [&](const Point &k) {
            const double x = double(k.x) - p.x, y = double(k.y) - p.y, z = double(k.z) - p.z;
            return x * x + y * y + z * z <= tolerance * tolerance;
        });
        if (isNew)
            kept.append(p);
    }
    return kept;
}

} // namespace

class TstVertexMerger : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void keepsWhatTheDefinitionKeeps_data()
    {
        QTest::addColumn<double>("tolerance");
        QTest::addColumn<float>("spread");
        QTest::addColumn<float>("offset");
        QTest::newRow("sparse") << 0.01 << 1.0f << 0.0f;
        QTest::newRow("dense") << 0.2 << 1.0f << 0.0f;
        QTest::newRow("all in one") << 5.0 << 1.0f << 0.0f;
        QTest::newRow("far from the origin") << 0.3 << 4.0f << -1e6f;
        QTest::newRow("beyond the grid of cells") << 1e-9 << 2.0f << 16e6f;
        QTest::newRow("tolerance below all numbers") << 1e-320 << 1.0f << 0.0f;
    }

    void keepsWhatTheDefinitionKeeps()
    {
        QFETCH(const double, tolerance);
        QFETCH(const float, spread);
        QFETCH(const float, offset);
        QRandomGenerator random(7);
        FloatMesh surface;
        for (int i = 0; i < 1500; ++i) {
            const auto number = [&] { return offset + spread * float(random.bounded(64)) / 64; };
            surface.vertices.append({number(), number(), number()});
        }
        const QList<Point> expected = keptByDefinition(surface.vertices, tolerance);
        QCOMPARE(weld(surface, tolerance), QString());
        QCOMPARE(surface.vertices, expected);
    }

    void aVertexJoinsTheEarliestInReach()
    {
        FloatMesh surface;
        surface.vertices = {{0, 0, 0}, {1.5f, 0, 0}, {0.75f, 0, 0}, {0, 5, 0}, {5, 5, 0}};
        surface.addElement(ElementType::Triangle, {2, 3, 4});
        QCOMPARE(weld(surface, 1.0), QString());
        QCOMPARE(surface.vertices.at(surface.elements.first().nodes[0]), Point(0, 0, 0));
    }

    void zerosOfBothSignsAreOnePlace()
    {
        FloatMesh surface;
        surface.vertices = {{0.0f, 1, 0.0f}, {-0.0f, 1, -0.0f}};
        QCOMPARE(weld(surface, 0.0), QString());
        QCOMPARE(surface.vertices.size(), 1);
    }

    void verticesThatAreNoNumbersStay()
    {
        constexpr float nan = std::numeric_limits<float>::quiet_NaN();
        constexpr float infinite = std::numeric_limits<float>::infinity();
        FloatMesh surface;
        surface.vertices = {{nan, 0, 0}, {nan, 0, 0}, {infinite, 0, 0}, {1, 0, 0}, {1, 0, 0}};
        QCOMPARE(weld(surface, 1e-6), QString());
        QCOMPARE(surface.vertices.size(), 4);
    }

    void collapsedTrianglesGoWithTheirValues()
    {
        FloatMesh surface;
        surface.vertices = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1e-7f, 0, 0}};
        surface.normals = {{0, 0, 1}, {0, 0, 2}, {0, 0, 3}, {0, 0, 4}};
        surface.vertexAttributes[u"weight"_s] = {10, 11, 12, 13};
        surface.vertexAttributes[u"flow"_s] = {0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3};
        surface.addElement(ElementType::Triangle, {0, 1, 2});
        surface.addElement(ElementType::Triangle, {0, 1, 3});
        surface.addElement(ElementType::Quad, {3, 1, 2, 0}); // only triangles are dropped
        surface.elementAttributes[u"group"_s] = {5, 6, 7};
        QCOMPARE(weld(surface, 1e-6), QString());
        QCOMPARE(surface.normals, (QList<Point>{{0, 0, 1}, {0, 0, 2}, {0, 0, 3}}));
        QCOMPARE(surface.vertexAttributes[u"weight"_s], (QList<float>{10, 11, 12}));
        QCOMPARE(surface.vertexAttributes[u"flow"_s].size(), 9);
        QCOMPARE(surface.elementAttributes[u"group"_s], (QList<float>{5, 7}));
        QCOMPARE(surface.elements.size(), 2);
        QCOMPARE(surface.elements.at(1).id, 2);
        QCOMPARE(surface.elements.at(1).nodes.toList(), (QList<int>{0, 1, 2, 0}));
    }

    void aToleranceThatIsNoneIsRefused_data()
    {
        QTest::addColumn<QVariant>("tolerance");
        QTest::newRow("negative") << QVariant(-1e-6);
        QTest::newRow("nan") << QVariant(std::numeric_limits<double>::quiet_NaN());
        QTest::newRow("infinite") << QVariant(std::numeric_limits<double>::infinity());
        QTest::newRow("text") << QVariant(u"wide"_s);
    }

    void aToleranceThatIsNoneIsRefused()
    {
        QFETCH(const QVariant, tolerance);
        FloatMesh surface = support::asSoup(support::makeCube());
        QCOMPARE(weld(surface, tolerance), u"weld tolerance must be a number of at least 0"_s);
        QCOMPARE(surface.vertices.size(), 36);
    }

    void aCancelledWeldLeavesTheMesh()
    {
        FloatMesh surface = support::asSoup(support::makeCube());
        const auto done = VertexMerger<float>().process(
            surface, {.parameters = {}, .progress = [](qint64, qint64) { return false; }});
        QVERIFY(done.isOk());
        QCOMPARE(surface.vertices.size(), 36);
        QCOMPARE(VertexMerger<float>().flag(), u"weld"_s);
    }
};

QTEST_GUILESS_MAIN(TstVertexMerger)
#include "tst_VertexMerger.moc"
