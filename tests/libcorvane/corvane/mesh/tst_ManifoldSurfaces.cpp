// What must hold of every surface, whatever the solid: closed, manifold, wound outwards, around the
// right volume. The solids are put together at random, from a fixed seed, so that sheets meet in
// cells and on faces in every way there is.

#include <corvane/mesh/CellCycles.h>
#include <support/FormulaFields.h>

#include <QMatrix4x4>
#include <QRegularExpression>
#include <QTest>

#include <random>

using namespace Qt::StringLiterals;
using support::Field;

namespace {

using Extractor = QList<corvane::mesh::Triangle> (*)(const Field &);

class RandomSolid
{
public:
    explicit RandomSolid(unsigned seed)
        : m_random(seed)
    {}

    Field make()
    {
        Field solid = part();
        const int count = 2 + int(number(0, 6));
        for (int i = 0; i < count; ++i) {
            const float choice = number(0, 1);
            solid = choice < 0.45f  ? support::unite(solid, part())
                    : choice < 0.9f ? support::cut(solid, part())
                                    : support::intersect(solid, part());
        }
        // Well within the grid.
        return support::intersect(solid, support::box({1.4f, 1.4f, 1.4f}));
    }

private:
    float number(float low, float high)
    {
        return low + (high - low) * float(m_random() & 0xffffff) / float(0x1000000);
    }

    QVector3D point(float reach)
    {
        return {number(-reach, reach), number(-reach, reach), number(-reach, reach)};
    }

    // On nodes of the grid, where every tie is.
    QVector3D nodePoint()
    {
        QVector3D p;
        for (int axis = 0; axis < 3; ++axis)
            p[axis] = corvane::mesh::nodeCoordinate(support::gridOrigin[axis], support::gridCell,
                                                    qint64(number(4, 28)));
        return p;
    }

    Field moved(const Field &field, const QVector3D &to, const QVector3D &axis, float degrees)
    {
        QMatrix4x4 place;
        place.translate(to);
        place.rotate(degrees, axis);
        const QMatrix4x4 back = place.inverted();
        return [=](const QVector3D &p) { return field(back.map(p)); };
    }

    Field part()
    {
        const float choice = number(0, 1);
        if (choice < 0.25f)
            return support::ball(point(1), number(0.15f, 1));
        if (choice < 0.4f)
            return moved(support::box(QVector3D(0.1f, 0.1f, 0.1f) * std::round(number(1, 9))),
                         nodePoint(), {0, 0, 1}, 0);
        if (choice < 0.55f)
            return moved(support::box(point(0.4f) + QVector3D(0.5f, 0.5f, 0.5f)), point(1),
                         {0, 0, 1}, 45);
        if (choice < 0.8f)
            return moved(support::box(point(0.4f) + QVector3D(0.5f, 0.5f, 0.5f)), point(1),
                         point(1) + QVector3D(0, 0, 1.1f), number(0, 360));
        const float wide = number(0.2f, 0.8f);
        const float thin = number(0.05f, 0.3f);
        const Field ring = [=](const QVector3D &p) {
            return std::hypot(std::hypot(p.x(), p.z()) - wide, p.y()) - thin;
        };
        return moved(ring, point(1), point(1) + QVector3D(0, 0, 1.1f), number(0, 360));
    }

    std::mt19937 m_random;
};

// A value at each node, at random, and linear between: every one of the 256 cells beside every
// other.
Field noise(unsigned seed)
{
    return [seed](const QVector3D &p) {
        const auto valueAt = [seed](const int(&node)[3]) {
            unsigned bits = seed * 2654435769u ^ unsigned(node[0]) * 73856093u ^
                            unsigned(node[1]) * 19349663u ^ unsigned(node[2]) * 83492791u;
            for (int round = 0; round < 3; ++round)
                bits = (bits ^ bits >> 15) * 2246822519u;
            bool inner = true;
            for (const int n : node)
                inner = inner && n > 1 && n < support::gridNodes - 2;
            const float value = float(bits >> 16) / 65536.0f - 0.5f;
            return inner ? value : 0.5f;
        };
        int low[3];
        float share[3];
        for (int axis = 0; axis < 3; ++axis) {
            const float at = (p[axis] - support::gridOrigin[axis]) / support::gridCell;
            // A node's own place must give the node's own value, rounded as it may be.
            const float nearest = std::round(at);
            const float exact = std::fabs(at - nearest) < 1e-4f ? nearest : at;
            low[axis] = int(std::floor(exact));
            share[axis] = exact - float(low[axis]);
        }
        float sum = 0;
        for (int corner = 0; corner < 8; ++corner) {
            const int bits[3] = {corner & 1, corner >> 1 & 1, corner >> 2};
            float weight = 1;
            int node[3];
            for (int axis = 0; axis < 3; ++axis) {
                node[axis] = low[axis] + bits[axis];
                weight *= bits[axis] ? share[axis] : 1 - share[axis];
            }
            if (weight > 0)
                sum += weight * valueAt(node);
        }
        return sum;
    };
}

// By points between the nodes of the grid, so that a face on nodes is not counted to one side.
double insideVolume(const Field &field)
{
    constexpr int perAxis = 48;
    constexpr float reach = 1.43f;
    constexpr float spacing = 2 * reach / float(perAxis);
    const auto at = [](int i) { return -reach + (float(i) + 0.5f) * spacing; };
    qint64 count = 0;
    for (int k = 0; k < perAxis; ++k)
        for (int j = 0; j < perAxis; ++j)
            for (int i = 0; i < perAxis; ++i)
                count += field({at(i), at(j), at(k)}) < 0.0f ? 1 : 0;
    return double(count) * std::pow(double(spacing), 3.0);
}

} // namespace

Q_DECLARE_METATYPE(Extractor)

class TstManifoldSurfaces : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void randomSolidsAreClosedAndManifold_data();
    void randomSolidsAreClosedAndManifold();
    void noiseIsClosedAndManifold_data();
    void noiseIsClosedAndManifold();
    void cyclesCoverTheCrossedEdges();
};

void TstManifoldSurfaces::randomSolidsAreClosedAndManifold_data()
{
    QTest::addColumn<Extractor>("extract");
    QTest::newRow("marching cubes") << Extractor(support::marching);
    QTest::newRow("dual contouring") << Extractor(support::uniform);
    QTest::newRow("octree dual contouring") << Extractor(support::octree);
}

void TstManifoldSurfaces::randomSolidsAreClosedAndManifold()
{
    QFETCH(Extractor, extract);
    for (unsigned seed = 1; seed <= 40; ++seed) {
        const Field field = RandomSolid(seed).make();
        const double inside = insideVolume(field);
        const QByteArray name = "seed " + QByteArray::number(seed);
        const support::FloatMesh mesh = support::meshOf(extract(field));
        QVERIFY2(mesh.elements.isEmpty() || support::isClosedManifold(mesh), name);
        // A wall thinner than a cell may be lost, and a thin rest of a solid altogether.
        const double tolerance =
            0.3 * support::surfaceArea(mesh) * double(support::gridCell) + 0.05;
        QVERIFY2(std::abs(support::signedVolume(mesh) - inside) < tolerance, name);
    }
}

void TstManifoldSurfaces::noiseIsClosedAndManifold_data()
{
    randomSolidsAreClosedAndManifold_data();
}

void TstManifoldSurfaces::noiseIsClosedAndManifold()
{
    QFETCH(Extractor, extract);
    for (unsigned seed = 1; seed <= 3; ++seed) {
        const Field field = noise(seed);
        const support::FloatMesh mesh = support::meshOf(extract(field));
        QVERIFY(mesh.elements.size() > 10000);
        QVERIFY(support::isClosedManifold(mesh));
        QVERIFY(support::signedVolume(mesh) > 0);
    }
}

void TstManifoldSurfaces::cyclesCoverTheCrossedEdges()
{
    using namespace corvane::mesh;
    for (unsigned mask = 0; mask < 256; ++mask) {
        for (const CellCycles &cycles : {cellCycles(mask), cellCyclesJoined(mask)}) {
            std::array<int, CellCycles::most> lengths{};
            for (int axis = 0; axis < 3; ++axis) {
                for (int offsets = 0; offsets < 4; ++offsets) {
                    const unsigned low = unsigned((offsets & 1) << (axis + 1) % 3 |
                                                  (offsets >> 1) << (axis + 2) % 3);
                    const bool crossed = (mask >> low & 1) != (mask >> (low | 1u << axis) & 1);
                    const int cycle = cycles.cycleOfEdge[size_t(cellEdge(axis, offsets))];
                    QCOMPARE(cycle >= 0, crossed);
                    if (crossed)
                        ++lengths[size_t(cycle)];
                }
            }
            for (int cycle = 0; cycle < CellCycles::most; ++cycle)
                QCOMPARE(lengths[size_t(cycle)] >= 3, cycle < cycles.count);
            if (simpleConfig(mask))
                QCOMPARE(cycles.count, mask == 0 || mask == 255 ? 0 : 1);
        }
        QCOMPARE(cellCyclesJoined(mask).tunnelFace, -1);
    }
}

QTEST_GUILESS_MAIN(TstManifoldSurfaces)
#include "tst_ManifoldSurfaces.moc"
