// Both dual contouring extractors, over fields that are given as formulas.

#include <corvane/mesh/QuadTriangles.h>
#include <support/FormulaFields.h>

#include <QQuaternion>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::mesh;
using support::ball;
using support::box;
using support::cut;
using support::distanceOf;
using support::Field;
using support::gradientOf;
using support::gridOf;
using support::octree;
using support::sampled;
using support::uniform;

namespace {

constexpr int nodes = support::gridNodes;
using Along = float (*)(float);

// On the axes, with one of its corners given; its edges run along diagonals.
Field tetrahedron(const QVector3D &corner)
{
    return [=](const QVector3D &p) {
        const QVector3D q = p / corner;
        const float planes = std::max({-q.x() - q.y() - q.z(), q.x() + q.y() - q.z(),
                                       q.x() - q.y() + q.z(), q.y() + q.z() - q.x()});
        return (planes - 1.0f) * std::abs(corner.x()) / std::sqrt(3.0f);
    };
}

// About the line through (1, 2, 3), in degrees.
Field turned(Field field, float angle)
{
    const auto turn = QQuaternion::fromAxisAndAngle({1, 2, 3}, -angle);
    return [=](const QVector3D &p) { return field(turn.rotatedVector(p)); };
}

// The triangles that face against the field at their centre; needles face nowhere.
int turnedCount(const QList<Triangle> &triangles, const Field &field)
{
    const auto gradient = gradientOf(field);
    return int(std::ranges::count_if(triangles, [&](const Triangle &triangle) {
        const auto &[a, b, c] = triangle.vertices;
        const QVector3D centre = (a + b + c) / 3.0f;
        QVector3D along;
        gradient({&centre, 1}, {&along, 1});
        return QVector3D::crossProduct(b - a, c - a).length() >
                   1e-3f * support::gridCell * support::gridCell &&
               QVector3D::dotProduct(triangle.normal, along) < -0.1f;
    }));
}

} // namespace

Q_DECLARE_METATYPE(Field)

class TstSharpSurfaces : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void flatFacesTakeFewTriangles();
    void chunksMeetWithoutASeam_data();
    void chunksMeetWithoutASeam();
    void mergedCellsDoNotFold();
    void ridgesAlongDiagonalsAreOnePiece_data();
    void ridgesAlongDiagonalsAreOnePiece();
    void theMinimumOfPlanesIsTheirCommonPoint();
    void aFlippedQuadLooksTheOtherWay();
    void crossingsAreFoundInFewRounds_data();
    void crossingsAreFoundInFewRounds();
};

void TstSharpSurfaces::flatFacesTakeFewTriangles()
{
    const Field field = box({1.1f, 0.8f, 1.0f});
    QVERIFY(octree(field).size() * 4 < uniform(field).size());
}

void TstSharpSurfaces::mergedCellsDoNotFold()
{
    for (int angle = 5; angle < 90; angle += 5) {
        const Field field = turned(box({1.1f, 0.8f, 1.0f}), float(angle));
        QVERIFY2(turnedCount(octree(field), field) <= turnedCount(uniform(field), field),
                 qPrintable(u"%1 degrees"_s.arg(angle)));
    }
}

void TstSharpSurfaces::chunksMeetWithoutASeam_data()
{
    QTest::addColumn<Field>("field");
    QTest::newRow("cut box") << cut(box({1.1f, 0.8f, 1.0f}), ball({0.1f, 0.8f, 0.2f}, 0.7f));
    QTest::newRow("tetrahedron") << tetrahedron({1.53f, 1.53f, 1.53f});
}

void TstSharpSurfaces::chunksMeetWithoutASeam()
{
    QFETCH(Field, field);
    // The grid in two halves along x, the second padded by one cell on its low side.
    const std::vector<float> whole = sampled(field);
    QList<Triangle> halves;
    for (const auto &[first, count] : {std::pair(0, 18), std::pair(16, 17)}) {
        std::vector<float> part;
        for (int row = 0; row < nodes * nodes; ++row)
            part.insert(part.end(), whole.begin() + row * nodes + first,
                        whole.begin() + row * nodes + first + count);
        ScalarField3D grid = gridOf(part);
        grid.nx = count;
        grid.firstX = first;
        DcState state(grid, distanceOf(field), gradientOf(field));
        QList<Triangle> out;
        state.extract(0, out);
        for (const Triangle &triangle : std::as_const(out))
            halves.append(triangle);
    }
    // The first column of the second part belongs to the first: what both made is there twice.
    QSet<QByteArray> distinct;
    for (const Triangle &triangle : std::as_const(halves))
        distinct.insert(QByteArray(reinterpret_cast<const char *>(&triangle), sizeof triangle));
    QSet<QByteArray> expected;
    const QList<Triangle> atOnce = uniform(field);
    for (const Triangle &triangle : atOnce)
        expected.insert(QByteArray(reinterpret_cast<const char *>(&triangle), sizeof triangle));
    QCOMPARE(distinct, expected);
}

void TstSharpSurfaces::ridgesAlongDiagonalsAreOnePiece_data()
{
    QTest::addColumn<Field>("field");
    for (int n = 0; n < 8; ++n) {
        const float s = 1.2f + 0.013f * float(n);
        QTest::addRow("corner %d at %g", n, double(s))
            << tetrahedron({n & 1 ? s : -s, n & 2 ? s : -s, n & 4 ? s : -s});
    }
}

// By the signs of the nodes alone a ridge over the diagonals of cells is a row of crumbs.
void TstSharpSurfaces::ridgesAlongDiagonalsAreOnePiece()
{
    QFETCH(Field, field);
    for (const auto &triangles : {uniform(field), octree(field)}) {
        const support::FloatMesh mesh = support::meshOf(triangles);
        QVERIFY(support::isClosedManifold(mesh));
        QCOMPARE(qsizetype(mesh.vertices.size()) - mesh.elements.size() / 2, 2); // Euler
    }
}

void TstSharpSurfaces::theMinimumOfPlanesIsTheirCommonPoint()
{
    const QVector3D corner{50.3f, 20.6f, -70.4f};
    QefSolver solver;
    QefSolver other;
    solver.add(corner + QVector3D(0, 0.4f, 0.1f), {1, 0, 0});
    solver.add(corner + QVector3D(0.2f, 0, -0.3f), {0, 1, 0});
    other.add(corner + QVector3D(-0.1f, 0.4f, -0.3f), {0, 0.6f, 0.8f});
    solver += other;
    const QefResult inside = solver.solve(corner - QVector3D(1, 1, 1), corner + QVector3D(1, 1, 1));
    QVERIFY((inside.position - corner).length() < 1e-4f);
    QCOMPARE(inside.rank, 3);
    QVERIFY(!inside.clamped && !inside.fellBack);
    const QefResult clamped =
        solver.solve(corner + QVector3D(0.5f, -1, -1), corner + QVector3D(1, 1, 1));
    QVERIFY(clamped.clamped);
    const QefResult none = QefSolver().solve({0, 0, 0}, {2, 2, 2});
    QVERIFY(none.fellBack);
    QCOMPARE(none.position, QVector3D(1, 1, 1));
}

void TstSharpSurfaces::aFlippedQuadLooksTheOtherWay()
{
    QList<corvane::mesh::Triangle> triangles;
    for (const bool flip : {false, true})
        corvane::mesh::emitQuad(triangles, {0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, flip);
    QCOMPARE(triangles.size(), 4);
    for (qsizetype i = 0; i < 4; ++i)
        QCOMPARE(triangles.at(i).normal, QVector3D(0, 0, i < 2 ? 1 : -1));
}

void TstSharpSurfaces::crossingsAreFoundInFewRounds_data()
{
    QTest::addColumn<Along>("field"); // by x; the edge is from 0 to 2
    QTest::addColumn<double>("crossing");
    QTest::addColumn<int>("mostRounds");
    const auto row = [](const char *name, Along field, double crossing, int mostRounds) {
        QTest::newRow(name) << field << crossing << mostRounds;
    };
    constexpr int worst = 14;
    row(
        "plane", [](float x) { return x - 0.617f; }, 0.617, 2);
    row(
        "at the start", [](float x) { return x - 1e-6f; }, 0.0, 2);
    row(
        "at the end", [](float x) { return x - 2.0f; }, 2.0, 2);
    row(
        "bent", [](float x) { return std::hypot(x + 4, 2.0f) - 5.6f; }, 1.2307, 4);
    row(
        "falling", [](float x) { return 5.6f - std::hypot(x + 4, 2.0f); }, 1.2307, 4);
    row(
        "flat", [](float x) { return std::pow(x - 1.3f, 9.0f); }, 1.3, worst);
    row(
        "jump", [](float x) { return x < 0.3f ? -1.0f : 1e10f; }, 0.3, worst);
    row(
        "no number", [](float x) { return x < 1.7f ? -1.0f : NAN; }, 1.7, worst);
    row(
        "infinite", [](float x) { return x < 1.1f ? -INFINITY : INFINITY; }, 1.1, worst);
}

void TstSharpSurfaces::crossingsAreFoundInFewRounds()
{
    QFETCH(Along, field);
    QFETCH(double, crossing);
    QFETCH(int, mostRounds);
    int rounds = 0;
    CrossingRule rule;
    rule.edgeLength = 2.0f;
    rule.field = [&](std::span<const QVector3D> points, std::span<float> out) {
        ++rounds;
        std::ranges::transform(points, out.begin(), [&](const auto &p) { return field(p.x()); });
    };
    rule.gradient = [](auto points, auto out) {
        std::fill_n(out.begin(), points.size(), QVector3D(1, 0, 0));
    };
    const CrossedEdge edge{{}, 0, field(0.0f), field(2.0f)};
    HermiteSample sample;
    hermiteSamples({&edge, 1}, rule, {&sample, 1});
    QVERIFY2(std::fabs(double(sample.point.x()) - crossing) <= 2.0 / 2048 + 1e-5,
             qPrintable(QString::number(double(sample.point.x()))));
    QVERIFY2(rounds <= mostRounds, qPrintable(QString::number(rounds)));
}

QTEST_GUILESS_MAIN(TstSharpSurfaces)
#include "tst_SharpSurfaces.moc"
