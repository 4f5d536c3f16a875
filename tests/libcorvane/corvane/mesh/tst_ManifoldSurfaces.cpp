// What must hold of every surface, whatever the solid: closed, manifold, wound outwards, around the
// right volume. The solids are put together at random, from a fixed seed, so that sheets meet in
// cells and on faces in every way there is.

#include <corvane/mesh/CellCycles.h>
#include <support/RandomSolid.h>

#include <QRegularExpression>
#include <QTest>

#include <bit>
#include <numeric>

using namespace Qt::StringLiterals;
using support::Field;

namespace {

using Extractor = QList<corvane::mesh::Triangle> (*)(const Field &);

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
    QList<unsigned> seeds(40);
    std::iota(seeds.begin(), seeds.end(), 1u);
    seeds.append(535); // all that is left of this one lies between the nodes
    for (const unsigned seed : std::as_const(seeds)) {
        const Field field = support::RandomSolid(seed).make();
        const double inside = support::insideVolume(field);
        const QByteArray name = "seed " + QByteArray::number(seed);
        const support::FloatMesh mesh = support::meshOf(extract(field));
        const std::vector<float> samples = support::sampled(field);
        const bool isSeen =
            std::any_of(samples.begin(), samples.end(), [](float value) { return value < 0.0f; });
        QVERIFY2(mesh.elements.isEmpty() != isSeen, name);
        QVERIFY2(!isSeen || support::isClosedManifold(mesh), name);
        // A wall thinner than a cell may be lost.
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
        const Field field = support::noise(seed);
        const support::FloatMesh mesh = support::meshOf(extract(field));
        QVERIFY(mesh.elements.size() > 10000);
        QVERIFY(support::isClosedManifold(mesh));
        QVERIFY(support::signedVolume(mesh) > 0);
    }
}

void TstManifoldSurfaces::cyclesCoverTheCrossedEdges()
{
    using namespace corvane::mesh;
    for (unsigned number = 0; number < 256 * 64; ++number) {
        const unsigned mask = number / 64;
        const unsigned joined = number % 64 & ambiguousFaces(mask);
        const CellCycles &cycles = cellCycles(mask, joined);
        std::array<int, CellCycles::most> lengths{};
        for (int axis = 0; axis < 3; ++axis) {
            for (int offsets = 0; offsets < 4; ++offsets) {
                const unsigned low =
                    unsigned((offsets & 1) << (axis + 1) % 3 | (offsets >> 1) << (axis + 2) % 3);
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
        // What is decided the other way parts the cycle that passes twice, and joins none.
        for (unsigned face = 0; face < 6; ++face) {
            if (cycles.doubledFaces >> face & 1)
                QCOMPARE(cellCycles(mask, joined ^ 1u << face).count, cycles.count + 1);
        }
        if (joined == 0)
            QVERIFY(std::popcount(cycles.doubledFaces) < 2);
    }
}

QTEST_GUILESS_MAIN(TstManifoldSurfaces)
#include "tst_ManifoldSurfaces.moc"
