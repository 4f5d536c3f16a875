#include <support/MeshChecks.h>
#include <support/VoxelSurface.h>

#include <mesh/process/CoplanarMerge.h>

#include <QRandomGenerator>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using mesh::ElementType;
using mesh::process::CoplanarMerge;
using support::FloatMesh;
using support::Point;

namespace {

QString merge(FloatMesh &surface, const QVariant &degrees = 1.0)
{
    const auto done = CoplanarMerge<float>().process(
        surface, {.parameters = {{u"angleToleranceDeg"_s, degrees}}});
    return done ? QString() : done.error().message;
}

bool isClose(double a, double b)
{
    return std::abs(a - b) <= 1e-4 * std::max(std::abs(a), 1.0);
}

} // namespace

class TstCoplanarMerge : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void flatFacesBecomeFewTriangles_data()
    {
        QTest::addColumn<FloatMesh>("surface");
        QTest::addColumn<int>("triangles");
        const auto box = [](int, int, int) { return true; };
        const auto plate = [](int x, int y, int) { return x % 4 != 2 || y % 4 != 2; };
        const auto stair = [](int x, int, int z) { return x >= z; };
        QTest::newRow("one cell") << support::makeVoxelSurface({1, 1, 1}, box) << 12;
        QTest::newRow("box") << support::makeVoxelSurface({9, 7, 5}, box) << 12;
        // Top and bottom: 4 + 16 corners and 4 holes: 26 triangles; walls: 2 * (4 + 16).
        QTest::newRow("plate with four holes")
            << support::makeVoxelSurface({9, 9, 2}, plate) << 2 * 26 + 2 * 20;
        // Two staircases of 10 + 2 corners, 10 steps of them, a back and a bottom.
        QTest::newRow("stairs") << support::makeVoxelSurface({5, 3, 5}, stair) << 2 * 10 + 2 * 12;
    }

    void flatFacesBecomeFewTriangles()
    {
        QFETCH(FloatMesh, surface);
        QFETCH(const int, triangles);
        const double volume = support::signedVolume(surface), area = support::surfaceArea(surface);
        QCOMPARE(merge(surface), QString());
        QVERIFY(support::isClosedManifold(surface));
        QCOMPARE(surface.elements.size(), triangles);
        QVERIFY(isClose(support::signedVolume(surface), volume));
        QVERIFY(isClose(support::surfaceArea(surface), area));
    }
};

QTEST_GUILESS_MAIN(TstCoplanarMerge)
#include "tst_CoplanarMerge.moc"
