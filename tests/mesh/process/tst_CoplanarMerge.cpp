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

enum class Cut { OneWay, OtherWay, InFour };

// A square with two sides that are one above the other and share its corners, and nothing else.
FloatMesh makePillow(Cut top, Cut bottom)
{
    FloatMesh pillow;
    pillow.vertices = {{-1, 0, 0}, {0, -1, 0}, {1, 0, 0}, {0, 1, 0}};
    const auto addSide = [&](Cut cut, const std::array<int, 4> &ring) {
        const int middle = int(pillow.vertices.size());
        if (cut == Cut::InFour)
            pillow.vertices.append({0, 0, 0});
        for (size_t i = cut == Cut::OtherWay ? 1 : 0; i < 4; i += cut == Cut::InFour ? 1 : 2)
            pillow.addElement(
                ElementType::Triangle,
                {ring[i], ring[(i + 1) % 4], cut == Cut::InFour ? middle : ring[(i + 2) % 4]});
    };
    addSide(top, {0, 1, 2, 3});
    addSide(bottom, {0, 3, 2, 1});
    return pillow;
}

// Two boxes that stand edge to edge and share the ends of that edge; of what is between the ends
// each has its own.
FloatMesh makeBoxesEdgeToEdge(bool isOtherInCells)
{
    const auto solid = [](int, int, int) { return true; };
    FloatMesh boxes = support::makeVoxelSurface({4, 4, 4}, solid);
    FloatMesh other = isOtherInCells ? support::makeVoxelSurface({4, 4, 4}, solid)
                                     : support::makeCube(2, {2, 2, 2});
    QList<int> numbers;
    for (Point p : std::as_const(other.vertices)) {
        p -= Point{4, 4, 0};
        const bool isShared = p == Point{0, 0, 0} || p == Point{0, 0, 4};
        numbers.append(int(isShared ? boxes.vertices.indexOf(p) : boxes.vertices.size()));
        if (!isShared)
            boxes.vertices.append(p);
    }
    for (const auto &element : std::as_const(other.elements))
        boxes.addElement(ElementType::Triangle,
                         {numbers.at(element.nodes[0]), numbers.at(element.nodes[1]),
                          numbers.at(element.nodes[2])});
    return boxes;
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

    // Two faces may want the same edge: then it would have four sides.
    void noEdgeIsDrawnTwice_data()
    {
        QTest::addColumn<FloatMesh>("surface");
        QTest::addColumn<int>("triangles");
        QTest::newRow("between corners that the other side joins")
            << makePillow(Cut::InFour, Cut::OneWay) << 4;
        QTest::newRow("between the other two corners")
            << makePillow(Cut::InFour, Cut::OtherWay) << 4;
        QTest::newRow("by the side below") << makePillow(Cut::OneWay, Cut::InFour) << 4;
        QTest::newRow("by the side below, the other two corners")
            << makePillow(Cut::OtherWay, Cut::InFour) << 4;
        QTest::newRow("by both sides") << makePillow(Cut::InFour, Cut::InFour) << 4;
        QTest::newRow("where two borders get straight") << makeBoxesEdgeToEdge(true) << 36;
        QTest::newRow("where a border gets straight beside an edge")
            << makeBoxesEdgeToEdge(false) << 36;
    }

    void noEdgeIsDrawnTwice()
    {
        QFETCH(FloatMesh, surface);
        QFETCH(const int, triangles);
        const double volume = support::signedVolume(surface);
        QVERIFY(support::hasPairedEdges(surface));
        QCOMPARE(merge(surface), QString());
        QVERIFY(support::hasPairedEdges(surface));
        QVERIFY(isClose(support::signedVolume(surface), volume));
        QVERIFY2(surface.elements.size() <= triangles,
                 qPrintable(QString::number(surface.elements.size())));
    }

    // A disc whose rim goes up and down, flat by a large tolerance: across the steep places of the
    // rim there is nothing to fill that would look the way of the disc.
    void whatCanOnlyBeFilledSteeplyStays()
    {
        constexpr int rings = 12, segments = 60;
        FloatMesh ruffle;
        ruffle.vertices.append({0, 0, 0});
        for (int ring = 1; ring <= rings; ++ring)
            for (int i = 0; i < segments; ++i) {
                const double r = double(ring) / rings, a = 2 * std::numbers::pi * i / segments;
                ruffle.vertices.append({float(r * std::cos(a)), float(r * std::sin(a)),
                                        float(r * r * std::sin(3 * a))});
            }
        const auto at = [](int ring, int i) {
            return ring == 0 ? 0 : 1 + (ring - 1) * segments + i % segments;
        };
        for (int ring = 0; ring < rings; ++ring)
            for (int i = 0; i < segments; ++i) {
                ruffle.addElement(ElementType::Triangle,
                                  {at(ring, i), at(ring + 1, i), at(ring + 1, i + 1)});
                if (ring > 0)
                    ruffle.addElement(ElementType::Triangle,
                                      {at(ring, i), at(ring + 1, i + 1), at(ring, i + 1)});
            }
        const auto before = ruffle.elements;
        QCOMPARE(merge(ruffle, 89), QString());
        QCOMPARE(ruffle.elements, before);
    }

    void aFaceWithNothingToGainStays()
    {
        FloatMesh box = support::makeCube();
        QCOMPARE(merge(box), QString());
        QCOMPARE(box.elements, support::makeCube().elements);
    }

    void materialsAreNotMerged_data()
    {
        QTest::addColumn<int>("step"); // of the border between the two, at one row of cells
        QTest::addColumn<int>("most");
        QTest::newRow("straight border") << 0 << 2 * 2 + 4 * 4;
        QTest::newRow("border in steps") << 1 << 60;
    }

    void materialsAreNotMerged()
    {
        QFETCH(const int, step);
        QFETCH(const int, most);
        FloatMesh box = support::makeVoxelSurface({4, 4, 4}, [](int, int, int) { return true; });
        const auto &vertices = box.vertices;
        for (auto &element : box.elements) {
            Point middle;
            for (const int node : element.nodes)
                middle += vertices.at(node) / 3;
            const int border = 2 + (int(std::floor(middle.y)) == 1 ? step : 0);
            element.materialId = middle.x > float(border) ? 1 : 0;
        }
        const auto areaOfOne = [](FloatMesh surface) {
            surface.elements.removeIf([](const auto &e) { return e.materialId != 1; });
            return support::surfaceArea(surface);
        };
        const double areaBefore = areaOfOne(box);
        QCOMPARE(merge(box), QString());
        QVERIFY(isClose(areaBefore, areaOfOne(box)));
        QVERIFY2(box.elements.size() <= most, qPrintable(QString::number(box.elements.size())));
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
