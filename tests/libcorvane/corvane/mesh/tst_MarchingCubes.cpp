#include <corvane/mesh/MarchingCubes.h>
#include <corvane/mesh/MarchingCubesTables.h>

#include <support/FormulaFields.h>

#include <QTest>

#include <functional>
#include <limits>
#include <numbers>

using namespace Qt::StringLiterals;
using corvane::mesh::marchingCubes;
using corvane::mesh::ScalarField3D;
using corvane::mesh::Triangle;

namespace {

using Field = std::function<float(float, float, float)>;

/// A cubic grid about the origin with its samples.
struct Grid
{
    explicit Grid(int nodes, float cellSize)
    {
        field.nx = field.ny = field.nz = nodes;
        field.cellSize = cellSize;
        const float half = cellSize * static_cast<float>(nodes - 1) / 2.0f;
        field.origin = {-half, -half, -half};
    }

    void fill(const Field &f)
    {
        samples.resize(field.index(0, 0, field.nz));
        for (int k = 0; k < field.nz; ++k)
            for (int j = 0; j < field.ny; ++j)
                for (int i = 0; i < field.nx; ++i)
                    samples[field.index(i, j, k)] = f(field.x(i), field.y(j), field.z(k));
        field.values = samples.data();
    }

    QList<Triangle> mesh(float iso = 0.0f) const
    {
        QList<Triangle> triangles;
        marchingCubes(field, triangles, iso);
        return triangles;
    }

    ScalarField3D field;
    std::vector<float> samples;
};

float sphere(float x, float y, float z)
{
    return std::sqrt(x * x + y * y + z * z) - 1.0f;
}

float box(float x, float y, float z)
{
    return std::max({std::fabs(x), std::fabs(y), std::fabs(z)}) - 0.5f;
}

} // namespace

class TstMarchingCubes : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void tablesAgree();
    void surfaceIsClosedAndPointsOut_data();
    void surfaceIsClosedAndPointsOut();
    void longRowsAreWhole();
    void piecesMeetExactly_data();
    void piecesMeetExactly();
    void crossingFollowsTheValues_data();
    void crossingFollowsTheValues();
    void isoMovesTheSurface();
    void oddValuesDoNoHarm_data();
    void oddValuesDoNoHarm();
    void gridsWithoutCellsGiveNothing_data();
    void gridsWithoutCellsGiveNothing();
    void cancelEndsEarly();
};

void TstMarchingCubes::tablesAgree()
{
    using namespace corvane::mesh;
    for (unsigned corners = 0; corners < 256; ++corners) {
        unsigned crossed = 0;
        for (std::size_t e = 0; e < cellEdges.size(); ++e) {
            const bool low = corners >> cellEdges[e].low & 1;
            const bool high = corners >> cellEdges[e].high & 1;
            crossed |= unsigned(low != high) << e;
        }
        unsigned used = 0;
        for (const std::int8_t *t = marchingCubesTriangles[corners]; *t >= 0; ++t)
            used |= 1u << *t;
        QCOMPARE(marchingCubesEdges[corners], crossed);
        QCOMPARE(used, crossed);
    }
}

void TstMarchingCubes::surfaceIsClosedAndPointsOut_data()
{
    QTest::addColumn<Field>("field");
    QTest::addColumn<float>("margin");
    QTest::addColumn<double>("volume");
    const double ball = 4.0 / 3.0 * std::numbers::pi;
    QTest::newRow("sphere") << Field(sphere) << 0.0f << ball;
    QTest::newRow("sphere, crossings off the nodes") << Field(sphere) << 0.001f << ball;
    // Its faces lie on nodes, where the samples are exactly 0.
    QTest::newRow("box on the nodes") << Field(box) << 0.0f << 1.0;
    QTest::newRow("box on the nodes, crossings off them") << Field(box) << 0.001f << 1.0;
}

void TstMarchingCubes::surfaceIsClosedAndPointsOut()
{
    QFETCH(Field, field);
    QFETCH(float, margin);
    QFETCH(double, volume);
    Grid grid(49, 0.0625f);
    grid.field.crossingMargin = margin;
    grid.fill(field);
    const QList<Triangle> triangles = grid.mesh();
    const auto mesh = support::welded(support::soupOf(triangles));
    QVERIFY(support::isClosedManifold(mesh));
    QVERIFY(std::fabs(support::signedVolume(mesh) - volume) < 0.03 * volume);
    for (const Triangle &triangle : triangles) {
        const auto &v = triangle.vertices;
        QVERIFY(std::fabs(triangle.normal.length() - 1.0f) < 1e-5f);
        QVERIFY(QVector3D::dotProduct(triangle.normal, v[0] + v[1] + v[2]) > 0.0f);
    }
}

/// A face between the 64th node and the next: signs of nodes are kept 64 to a word.
void TstMarchingCubes::longRowsAreWhole()
{
    Grid grid(9, 1.0f);
    grid.field.nx = 140;
    grid.field.origin = {0, -4, -4};
    grid.fill([](float x, float y, float z) {
        return std::max({std::fabs(x - 95.5f) - 32.0f, std::fabs(y) - 2.5f, std::fabs(z) - 2.5f});
    });
    const support::FloatMesh bar = support::meshOf(grid.mesh());
    QVERIFY(support::isClosedManifold(bar));
    QVERIFY(std::abs(support::signedVolume(bar) - 64 * 25) < 80);
}

void TstMarchingCubes::piecesMeetExactly_data()
{
    QTest::addColumn<int>("cut");
    QTest::newRow("in the middle") << 20;
    QTest::newRow("one cell") << 1;
    QTest::newRow("at a word of signs") << 63;
    QTest::newRow("behind a word of signs") << 64;
}

void TstMarchingCubes::piecesMeetExactly()
{
    QFETCH(int, cut);
    Grid whole(70, 0.043f);
    whole.fill(sphere);
    QList<Triangle> joined;
    for (const auto &[first, nodes] : {std::pair(0, cut + 1), std::pair(cut, 70 - cut)}) {
        Grid piece(70, 0.043f);
        piece.field.nx = nodes;
        piece.field.firstX = first;
        piece.fill(sphere);
        joined += piece.mesh();
    }
    QCOMPARE(joined.size(), whole.mesh().size());
    QVERIFY(support::isClosedManifold(support::welded(support::soupOf(joined))));
}

void TstMarchingCubes::crossingFollowsTheValues_data()
{
    QTest::addColumn<float>("low");
    QTest::addColumn<float>("high");
    QTest::addColumn<float>("margin");
    QTest::addColumn<float>("crossing");
    QTest::newRow("half way") << -1.0f << 1.0f << 0.0f << 0.5f;
    QTest::newRow("a quarter") << -1.0f << 3.0f << 0.0f << 0.25f;
    QTest::newRow("from outside in") << 3.0f << -1.0f << 0.0f << 0.75f;
    QTest::newRow("at the far node") << -1.0f << 0.0f << 0.0f << 1.0f;
    QTest::newRow("kept off the far node") << -1.0f << 0.0f << 0.125f << 0.875f;
    QTest::newRow("kept off the near node") << 0.0f << -1.0f << 0.125f << 0.125f;
    QTest::newRow("too close to tell") << -1e-12f << 1e-12f << 0.0f << 0.5f;
}

void TstMarchingCubes::crossingFollowsTheValues()
{
    QFETCH(float, low);
    QFETCH(float, high);
    QFETCH(float, margin);
    QFETCH(float, crossing);
    Grid grid(2, 1.0f);
    grid.field.origin = {};
    grid.field.crossingMargin = margin;
    grid.fill([&](float x, float, float) { return x < 0.5f ? low : high; });
    const QList<Triangle> triangles = grid.mesh();
    QCOMPARE(triangles.size(), 2);
    for (const Triangle &triangle : triangles) {
        for (const QVector3D &v : triangle.vertices)
            QCOMPARE(v.x(), crossing);
        QCOMPARE(triangle.normal, QVector3D(low < high ? 1.0f : -1.0f, 0.0f, 0.0f));
    }
}

void TstMarchingCubes::isoMovesTheSurface()
{
    Grid grid(41, 0.1f);
    grid.fill(sphere);
    const QList<Triangle> triangles = grid.mesh(0.5f);
    QVERIFY(!triangles.isEmpty());
    for (const Triangle &triangle : triangles)
        QVERIFY(std::fabs(triangle.vertices[0].length() - 1.5f) < 0.01f);
}

void TstMarchingCubes::oddValuesDoNoHarm_data()
{
    QTest::addColumn<float>("value");
    QTest::newRow("no number") << std::numeric_limits<float>::quiet_NaN();
    QTest::newRow("infinite") << std::numeric_limits<float>::infinity();
    QTest::newRow("minus infinite") << -std::numeric_limits<float>::infinity();
    QTest::newRow("far away") << 1e10f;
}

void TstMarchingCubes::oddValuesDoNoHarm()
{
    QFETCH(float, value);
    Grid grid(21, 0.15f);
    grid.fill([&](float x, float y, float z) { return x > 0.4f ? value : sphere(x, y, z); });
    const QList<Triangle> triangles = grid.mesh();
    QVERIFY(!triangles.isEmpty());
    for (const Triangle &triangle : triangles)
        for (const QVector3D &v : triangle.vertices)
            QVERIFY(std::fabs(v.x()) <= 1.5f && std::fabs(v.y()) <= 1.5f &&
                    std::fabs(v.z()) <= 1.5f);
}

void TstMarchingCubes::gridsWithoutCellsGiveNothing_data()
{
    QTest::addColumn<QList<int>>("nodes");
    QTest::newRow("no node") << QList{0, 0, 0};
    QTest::newRow("flat in x") << QList{1, 5, 5};
    QTest::newRow("flat in y") << QList{5, 1, 5};
    QTest::newRow("flat in z") << QList{5, 5, 1};
}

void TstMarchingCubes::gridsWithoutCellsGiveNothing()
{
    QFETCH(QList<int>, nodes);
    Grid grid(5, 0.5f);
    grid.fill(box);
    grid.field.nx = nodes.at(0);
    grid.field.ny = nodes.at(1);
    grid.field.nz = nodes.at(2);
    QVERIFY(grid.mesh().isEmpty());
}

void TstMarchingCubes::cancelEndsEarly()
{
    Grid grid(21, 0.15f);
    grid.fill(sphere);
    const std::atomic_bool cancelled = true;
    QList<Triangle> triangles;
    marchingCubes(grid.field, triangles, 0.0f, &cancelled);
    QVERIFY(triangles.isEmpty());
}

QTEST_APPLESS_MAIN(TstMarchingCubes)
#include "tst_MarchingCubes.moc"
