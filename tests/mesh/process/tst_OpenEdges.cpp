#include <mesh/process/OpenEdges.h>

#include <support/MeshChecks.h>

#include <QTest>

#include <functional>

using mesh::ElementType;
using mesh::process::findOpenEdges;
using support::FloatMesh;

namespace {

using Change = std::function<void(FloatMesh &)>;

/// The eight triangles of an octahedron, each with vertices of its own.
FloatMesh octahedron()
{
    FloatMesh mesh;
    for (int octant = 0; octant < 8; ++octant) {
        const auto sign = [octant](int axis) { return octant >> axis & 1 ? -1.0f : 1.0f; };
        const int first = int(mesh.vertices.size());
        // With zeros of either sign, as arithmetic leaves them.
        mesh.vertices += {{sign(0), 0.0f * sign(1), 0}, {0, sign(1), 0}, {0, 0, sign(2)}};
        const bool isTurned = sign(0) * sign(1) * sign(2) < 0;
        mesh.addElement(ElementType::Triangle,
                        {first, first + (isTurned ? 2 : 1), first + (isTurned ? 1 : 2)});
    }
    return mesh;
}

} // namespace

Q_DECLARE_METATYPE(Change)

class TstOpenEdges : public QObject
{
    Q_OBJECT

private slots:
    void edgesThatDoNotPairOffAreCounted_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<int>("count");
        const Change none = [](FloatMesh &) {};
        const Change hole = [](FloatMesh &mesh) { mesh.elements.removeFirst(); };
        QTest::newRow("closed") << none << 0;
        QTest::newRow("nothing") << Change([](FloatMesh &mesh) { mesh = {}; }) << 0;
        QTest::newRow("triangle is missing") << hole << 3;
        QTest::newRow("triangle is turned") << Change([](FloatMesh &mesh) {
            std::swap(mesh.elements.first().nodes[0], mesh.elements.first().nodes[1]);
        }) << 6;
        QTest::newRow("vertex is off by a little")
            << Change([](FloatMesh &mesh) { mesh.vertices.first().x += 1e-6f; }) << 4;
        QTest::newRow("triangle without area") << Change([](FloatMesh &mesh) {
            mesh.addElement(ElementType::Triangle, {0, 1, 0});
        }) << 0;
    }
    void edgesThatDoNotPairOffAreCounted()
    {
        QFETCH(Change, change);
        QFETCH(int, count);
        FloatMesh mesh = octahedron();
        change(mesh);
        const auto open = findOpenEdges(mesh, 2);
        QCOMPARE(open.count, count);
        if (count > 0)
            QCOMPARE(open.example.lengthSquared(), 1.0f);
    }
};

QTEST_APPLESS_MAIN(TstOpenEdges)
#include "tst_OpenEdges.moc"
