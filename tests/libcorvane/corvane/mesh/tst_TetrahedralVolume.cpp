// The tetrahedra in a solid fit together without a crack or an overlap, whatever the solid: put
// together at random, from a fixed seed, and pure noise, where every cell stands beside every
// other.

#include <corvane/mesh/TetrahedralVolume.h>
#include <corvane/xport/VolumeMesh.h>
#include <support/RandomSolid.h>

#include <QHash>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::mesh::Tetrahedron;
using support::Field;

namespace {

using Face = std::array<int, 3>;

/// The faces of tetrahedra, by the numbers of their vertices; equal positions have one number.
class FaceTable
{
public:
    explicit FaceTable(const QList<Tetrahedron> &tetrahedra)
    {
        for (const Tetrahedron &tetrahedron : tetrahedra) {
            const auto &c = tetrahedron.corners;
            m_volume += corvane::mesh::signedVolume6(c[0], c[1], c[2], c[3]) / 6;
            const int n[4] = {numberOf(c[0]), numberOf(c[1]), numberOf(c[2]), numberOf(c[3])};
            for (const Face &face : {Face{n[0], n[2], n[1]}, Face{n[0], n[1], n[3]},
                                     Face{n[1], n[2], n[3]}, Face{n[0], n[3], n[2]}})
                add(face);
        }
    }

    double volume() const { return m_volume; }
    /// Faces that more than two tetrahedra have, or two of them from the same side.
    int overlaps() const { return m_overlaps; }
    /// Those of one tetrahedron: the outside, if all is well.
    QList<Face> outside() const { return m_open.values(); }
    const QVector3D &position(int number) const { return m_positions.at(number); }

private:
    int numberOf(const QVector3D &p)
    {
        const QByteArray key(reinterpret_cast<const char *>(&p), sizeof p);
        const auto known = m_numbers.constFind(key);
        if (known != m_numbers.constEnd())
            return *known;
        m_positions.append(p);
        return *m_numbers.insert(key, int(m_positions.size()) - 1);
    }

    void add(Face face)
    {
        std::rotate(face.begin(), std::min_element(face.begin(), face.end()), face.end());
        const Face back{face[0], face[2], face[1]};
        const auto key = [](const Face &f) { return QList<int>(f.begin(), f.end()); };
        if (m_open.remove(key(back)))
            return;
        m_overlaps += m_seen.contains(key(face)) || m_seen.contains(key(back)) ? 1 : 0;
        m_seen.insert(key(face));
        m_open.insert(key(face), face);
    }

    QHash<QByteArray, int> m_numbers;
    QList<QVector3D> m_positions;
    QHash<QList<int>, Face> m_open;
    QSet<QList<int>> m_seen;
    double m_volume = 0;
    int m_overlaps = 0;
};

/// Pairs of outer faces that meet in an edge and lie on each other: between them is a crack, as
/// when two neighbours split their common quad by different diagonals.
int cracks(const FaceTable &faces)
{
    struct Side
    {
        QVector3D normal;
        QVector3D into; ///< from the edge to the third vertex, at right angles to the edge
    };
    QHash<std::pair<int, int>, QList<Side>> byEdge;
    for (const Face &face : faces.outside()) {
        for (std::size_t n = 0; n < 3; ++n) {
            const int from = face[n];
            const int to = face[(n + 1) % 3];
            const QVector3D edge = (faces.position(to) - faces.position(from)).normalized();
            const QVector3D third = faces.position(face[(n + 2) % 3]) - faces.position(from);
            const QVector3D into = (third - edge * QVector3D::dotProduct(edge, third)).normalized();
            byEdge[std::minmax(from, to)].append({QVector3D::crossProduct(edge, into), into});
        }
    }
    int count = 0;
    for (const QList<Side> &sides : std::as_const(byEdge)) {
        for (qsizetype one = 0; one < sides.size(); ++one) {
            for (qsizetype other = 0; other < one; ++other)
                count +=
                    QVector3D::dotProduct(sides[one].normal, sides[other].normal) < -0.99999f &&
                            QVector3D::dotProduct(sides[one].into, sides[other].into) > 0.99999f
                        ? 1
                        : 0;
        }
    }
    return count;
}

/// By the divergence theorem over the outer faces.
double enclosed(const FaceTable &faces)
{
    double six = 0;
    for (const Face &face : faces.outside())
        six += corvane::mesh::signedVolume6({}, faces.position(face[0]), faces.position(face[1]),
                                            faces.position(face[2]));
    return six / 6;
}

FaceTable facesOf(const Field &field)
{
    const std::vector<float> values = support::sampled(field);
    QList<Tetrahedron> tetrahedra;
    corvane::mesh::tetrahedralVolume(support::gridOf(values), tetrahedra);
    return FaceTable(tetrahedra);
}

} // namespace

class TstTetrahedralVolume : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void randomSolidsAreFilledOnce();
    void noiseIsFilledOnce();
    void meshNumbersVerticesAsTheyAreNamed_data();
    void meshNumbersVerticesAsTheyAreNamed();
};

void TstTetrahedralVolume::randomSolidsAreFilledOnce()
{
    for (unsigned seed = 1; seed <= 25; ++seed) {
        const Field field = support::RandomSolid(seed).make();
        const QByteArray name = "seed " + QByteArray::number(seed);
        const FaceTable faces = facesOf(field);
        QVERIFY2(faces.overlaps() == 0, name);
        QVERIFY2(cracks(faces) == 0, name);
        QVERIFY2(std::abs(enclosed(faces) - faces.volume()) < 1e-5 * (faces.volume() + 1), name);
        // The surface is moved to nodes by up to a third of an edge.
        double area = 0;
        for (const Face &face : faces.outside())
            area +=
                double(QVector3D::crossProduct(faces.position(face[1]) - faces.position(face[0]),
                                               faces.position(face[2]) - faces.position(face[0]))
                           .length()) /
                2;
        const double tolerance = 0.3 * area * double(support::gridCell) + 0.05;
        QVERIFY2(std::abs(faces.volume() - support::insideVolume(field)) < tolerance, name);
    }
}

void TstTetrahedralVolume::noiseIsFilledOnce()
{
    for (unsigned seed = 1; seed <= 3; ++seed) {
        const FaceTable faces = facesOf(support::noise(seed));
        QVERIFY(faces.outside().size() > 10000);
        QCOMPARE(faces.overlaps(), 0);
        QCOMPARE(cracks(faces), 0);
        QVERIFY(std::abs(enclosed(faces) / faces.volume() - 1) < 1e-5);
    }
}

void TstTetrahedralVolume::meshNumbersVerticesAsTheyAreNamed_data()
{
    QTest::addColumn<float>("distance"); // of the grid from the origin
    QTest::addColumn<int>("threads");
    QTest::newRow("one thread") << 0.0f << 1;
    QTest::newRow("three threads") << 0.0f << 3;
    // Coordinates have steps of more than a cell there, and planes of nodes fall together.
    QTest::newRow("far out") << 2e6f << 1;
    QTest::newRow("far out, by threads") << 2e6f << 3;
}

void TstTetrahedralVolume::meshNumbersVerticesAsTheyAreNamed()
{
    QFETCH(float, distance);
    QFETCH(int, threads);
    const std::vector<float> values = support::sampled(support::noise(7));
    corvane::mesh::ScalarField3D grid = support::gridOf(values);
    grid.origin += QVector3D(distance, distance, distance);
    const std::atomic_bool never = false;
    corvane::xport::VolumeMesh volume(grid, threads, never);
    const qint64 skipped = volume.skippedCount();
    const auto mesh = std::move(volume).take();

    QList<Tetrahedron> tetrahedra;
    corvane::mesh::tetrahedralVolume(grid, tetrahedra);
    QCOMPARE(mesh.elements.size() + skipped, tetrahedra.size());
    QHash<QList<double>, int> numbers;
    qsizetype element = 0;
    for (const Tetrahedron &tetrahedron : std::as_const(tetrahedra)) {
        QList<int> nodes;
        for (const QVector3D &corner : tetrahedron.corners) {
            QList<double> cube;
            for (int axis = 0; axis < 3; ++axis)
                cube.append(std::floor(double(corner[axis]) / (0.002 * double(grid.cellSize))));
            nodes.append(numbers.value(cube, int(numbers.size())));
            numbers.insert(cube, nodes.last());
        }
        if (QSet<int>(nodes.begin(), nodes.end()).size() < 4)
            continue;
        QCOMPARE(mesh.elements.at(element).id, int(element));
        QCOMPARE(mesh.elements.at(element++).nodes.toList(), nodes);
    }
    QCOMPARE(mesh.vertices.size(), numbers.size());
}

QTEST_GUILESS_MAIN(TstTetrahedralVolume)
#include "tst_TetrahedralVolume.moc"
