// Both dual contouring extractors, over fields that are given as formulas.

#include <support/FormulaFields.h>

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

} // namespace

class TstSharpSurfaces : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void flatFacesTakeFewTriangles();
    void chunksMeetWithoutASeam();
    void theMinimumOfPlanesIsTheirCommonPoint();
};

void TstSharpSurfaces::flatFacesTakeFewTriangles()
{
    const Field field = box({1.1f, 0.8f, 1.0f});
    QVERIFY(octree(field).size() * 4 < uniform(field).size());
}

void TstSharpSurfaces::chunksMeetWithoutASeam()
{
    // The grid in two halves along x, the second padded by one cell on its low side.
    const Field field = cut(box({1.1f, 0.8f, 1.0f}), ball({0.1f, 0.8f, 0.2f}, 0.7f));
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

void TstSharpSurfaces::theMinimumOfPlanesIsTheirCommonPoint()
{
    const QVector3D corner{50.3f, 20.6f, -70.4f};
    QefSolver solver;
    QefSolver other;
    solver.add(corner + QVector3D(0, 0.4f, 0.1f), {1, 0, 0});
    solver.add(corner + QVector3D(0.2f, 0, -0.3f), {0, 1, 0});
    other.add(corner + QVector3D(-0.1f, 0.3f, 0), {0, 0, 1});
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

QTEST_GUILESS_MAIN(TstSharpSurfaces)
#include "tst_SharpSurfaces.moc"
