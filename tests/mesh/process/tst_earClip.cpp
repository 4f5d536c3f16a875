#include <mesh/process/earClip.h>

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;
using namespace mesh::process;

namespace {

Polygon ring(int corners, double radius, double x, double y, int firstId, bool clockwise,
             double roughness = 0)
{
    QRandomGenerator random(quint32(corners + firstId));
    Polygon polygon;
    for (int i = 0; i < corners; ++i) {
        const double angle = 2 * std::numbers::pi * (clockwise ? -i : i) / corners;
        const double r = radius * (1 - roughness * random.generateDouble());
        polygon.push_back({x + r * std::cos(angle), y + r * std::sin(angle), firstId + i});
    }
    return polygon;
}

double areaOf(const Polygon &polygon)
{
    double twice = 0;
    for (size_t i = 0; i < polygon.size(); ++i) {
        const PolygonPoint &p = polygon[i], &q = polygon[(i + 1) % polygon.size()];
        twice += p.x * q.y - q.x * p.y;
    }
    return twice / 2;
}

} // namespace

class TstEarClip : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void trianglesCoverThePolygon_data()
    {
        QTest::addColumn<int>("corners");
        QTest::addColumn<double>("roughness");
        QTest::addColumn<int>("holesASide");
        QTest::newRow("triangle") << 3 << 0.0 << 0;
        QTest::newRow("disc") << 500 << 0.0 << 0;
        QTest::newRow("star") << 400 << 0.9 << 0;
        QTest::newRow("one hole") << 40 << 0.0 << 1;
        QTest::newRow("a hundred holes") << 300 << 0.1 << 10;
    }

    void trianglesCoverThePolygon()
    {
        QFETCH(const int, corners);
        QFETCH(const double, roughness);
        QFETCH(const int, holesASide);
        const Polygon outer = ring(corners, 10, 0, 0, 0, false, roughness);
        std::vector<Polygon> holes;
        double area = areaOf(outer);
        int ids = corners;
        for (int i = 0; i < holesASide * holesASide; ++i) {
            const double step = 10.0 / holesASide;
            holes.push_back(ring(7, step / 3, -5 + step * (i % holesASide + 0.5),
                                 -5 + step * (i / holesASide + 0.5), ids, true));
            ids += 7;
            area += areaOf(holes.back());
        }
        Polygon points = outer;
        for (const Polygon &hole : holes)
            points.insert(points.end(), hole.begin(), hole.end());
        std::vector<std::array<int, 2>> joined;
        const ClipRules rules = {.mayJoin = [](int, int) { return true; },
                                 .mayFill = [](int, int, int) { return true; }};
        const Polygon whole = bridgeHoles(outer, holes, rules, joined);
        const auto triangles = earClip(whole, rules, 10'000, joined);
        QCOMPARE(int(triangles.size()), ids + 2 * holesASide * holesASide - 2);
        double covered = 0;
        for (const auto &t : triangles) {
            const double one =
                areaOf({points[size_t(t[0])], points[size_t(t[1])], points[size_t(t[2])]});
            QVERIFY(one > 0);
            covered += one;
        }
        QVERIFY(std::abs(covered - area) < 1e-9 * area);
    }

    void whatMayNotBeIsNotDone_data()
    {
        QTest::addColumn<int>("budget");
        QTest::addColumn<bool>("mayJoin");
        QTest::addColumn<bool>("mayFill");
        QTest::newRow("no budget") << 5 << true << true;
        QTest::newRow("no edge") << 100 << false << true;
        QTest::newRow("no triangle") << 100 << true << false;
    }

    void whatMayNotBeIsNotDone()
    {
        QFETCH(const int, budget);
        QFETCH(const bool, mayJoin);
        QFETCH(const bool, mayFill);
        std::vector<std::array<int, 2>> joined;
        const ClipRules rules = {.mayJoin = [mayJoin](int, int) { return mayJoin; },
                                 .mayFill = [mayFill](int, int, int) { return mayFill; }};
        QVERIFY(earClip(ring(20, 1, 0, 0, 0, false), rules, budget, joined).empty());
    }

    void aFlatPolygonHasNoTriangles()
    {
        std::vector<std::array<int, 2>> joined;
        const ClipRules rules = {.mayJoin = [](int, int) { return true; },
                                 .mayFill = [](int, int, int) { return true; }};
        QVERIFY(earClip({{0, 0, 0}, {1, 0, 1}, {2, 0, 2}, {3, 0, 3}}, rules, 10, joined).empty());
        QVERIFY(earClip({}, rules, 10, joined).empty());
    }
};

QTEST_GUILESS_MAIN(TstEarClip)
#include "tst_earClip.moc"
