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

    // Turned, no number is round any more; shaken by less than the tolerance, nothing quite flat.
    void facesAskewAreFlatToo_data()
    {
        QTest::addColumn<double>("degrees");
        QTest::addColumn<float>("shake");
        QTest::newRow("turned") << 29.0 << 0.0f;
        QTest::newRow("turned and shaken") << 71.0 << 0.002f;
    }

    void facesAskewAreFlatToo()
    {
        QFETCH(const double, degrees);
        QFETCH(const float, shake);
        FloatMesh surface = support::makeVoxelSurface(
            {21, 21, 3}, [](int x, int y, int) { return x % 5 != 3 || y % 5 != 3; });
        QRandomGenerator random(9);
        const auto c = float(std::cos(degrees)), s = float(std::sin(degrees));
        for (Point &p : surface.vertices) {
            p = {c * p.x - s * p.y, s * p.x + c * p.y, p.z};
            p = {p.x, c * p.y - s * p.z, s * p.y + c * p.z};
            p += Point{1, 1, 1} * (shake * (float(random.bounded(2001)) / 1000 - 1));
        }
        const double volume = support::signedVolume(surface);
        const qsizetype before = surface.elements.size();
        QCOMPARE(merge(surface), QString());
        QVERIFY(support::isClosedManifold(surface));
        QVERIFY2(surface.elements.size() < before / 5,
                 qPrintable(u"%1 of %2"_s.arg(surface.elements.size()).arg(before)));
        QVERIFY(std::abs(support::signedVolume(surface) - volume) < 0.002 * volume);
    }

    void shapesAtRandomStayWhole()
    {
        QRandomGenerator random(21);
        for (int round = 0; round < 60; ++round) {
            QList<bool> isSolid;
            for (int i = 0; i < 8 * 8; ++i)
                isSolid.append(random.bounded(3) > 0);
            // Towers of cells: they touch along edges, which no triangulation may make worse.
            FloatMesh surface = support::makeVoxelSurface({8, 8, 4}, [&](int x, int y, int z) {
                return z == 0 || isSolid.at(x + 8 * ((y + z) % 8));
            });
            const double volume = support::signedVolume(surface);
            const qsizetype before = surface.elements.size();
            QCOMPARE(merge(surface), QString());
            QVERIFY(surface.elements.size() < before);
            QVERIFY(isClose(support::signedVolume(surface), volume));
        }
    }

    void materialsAreNotMerged()
    {
        FloatMesh box = support::makeVoxelSurface({4, 4, 4}, [](int, int, int) { return true; });
        const auto &vertices = box.vertices;
        for (auto &element : box.elements)
            element.materialId = vertices.at(element.nodes[0]).x + vertices.at(element.nodes[1]).x +
                                             vertices.at(element.nodes[2]).x >
                                         6
                                     ? 1
                                     : 0;
        double areaBefore = 0, areaAfter = 0;
        const auto areaOfOne = [](FloatMesh surface) {
            surface.elements.removeIf([](const auto &e) { return e.materialId != 1; });
            return support::surfaceArea(surface);
        };
        areaBefore = areaOfOne(box);
        QCOMPARE(merge(box), QString());
        areaAfter = areaOfOne(box);
        QVERIFY(isClose(areaBefore, areaAfter));
        QCOMPARE(box.elements.size(), 2 * 2 + 4 * 4);
        QVERIFY(support::isClosedManifold(box));
    }

    void aBorderBeyondTheBudgetKeepsItsFaces()
    {
        const auto plate = [](int x, int y, int) { return x % 4 != 2 || y % 4 != 2; };
        FloatMesh surface = support::makeVoxelSurface({9, 9, 2}, plate);
        QVERIFY(CoplanarMerge<float>(23).process(surface, {}).isOk());
        QVERIFY(support::isClosedManifold(surface));
        QVERIFY(surface.elements.size() > 2 * 26 + 2 * 20);
    }
};

QTEST_GUILESS_MAIN(TstCoplanarMerge)
#include "tst_CoplanarMerge.moc"
