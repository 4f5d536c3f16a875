#include <support/MeshChecks.h>

#include <mesh/topology/HalfedgeMesh.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using mesh::ElementType;
using mesh::NodeList;
using support::FloatMesh;
using support::Point;
using HalfedgeMesh = mesh::topology::HalfedgeMesh<float>;

Q_DECLARE_METATYPE(FloatMesh)

namespace {

FloatMesh faces(std::initializer_list<NodeList> list)
{
    FloatMesh surface;
    for (const NodeList &nodes : list) {
        for (const int node : nodes)
            if (node >= surface.vertices.size())
                surface.vertices.resize(node + 1);
        surface.addElement(nodes.size() == 4 ? ElementType::Quad : ElementType::Triangle, nodes);
    }
    return surface;
}

FloatMesh moebiusStrip(int quads)
{
    FloatMesh strip;
    strip.vertices.resize(2 * quads);
    for (int i = 0; i < quads; ++i) {
        const int a = 2 * i, b = 2 * i + 1;
        const bool closes = i + 1 == quads;
        const int c = closes ? 0 : b + 2, d = closes ? 1 : a + 2;
        strip.addElement(ElementType::Quad, {a, b, c, d});
    }
    return strip;
}

} // namespace

class TstHalfedgeMesh : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void predicatesTellSurfacesApart_data()
    {
        QTest::addColumn<FloatMesh>("surface");
        QTest::addColumn<bool>("closed");
        QTest::addColumn<bool>("manifold");
        QTest::addColumn<bool>("orientable");
        QTest::newRow("nothing") << FloatMesh() << true << true << true;
        QTest::newRow("one triangle") << faces({{0, 1, 2}}) << false << true << true;
        QTest::newRow("one quad") << faces({{0, 1, 2, 3}}) << false << true << true;
        QTest::newRow("two triangles") << faces({{0, 1, 2}, {2, 1, 3}}) << false << true << true;
        QTest::newRow("cube") << support::makeCube() << true << true << true;
        QTest::newRow("sphere") << support::makeSphere(1, 9, 12) << true << true << true;
        QTest::newRow("soup") << support::asSoup(support::makeCube()) << false << true << true;
        QTest::newRow("same direction on an edge")
            << faces({{0, 1, 2}, {0, 1, 3}}) << false << false << false;
        QTest::newRow("three triangles on an edge")
            << faces({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}) << false << false << true;
        QTest::newRow("two fans in one vertex")
            << faces({{0, 1, 2}, {0, 3, 4}}) << false << false << true;
        QTest::newRow("strip turned once") << moebiusStrip(5) << false << false << false;
        QTest::newRow("degenerate triangle") << faces({{0, 0, 1}}) << false << true << true;
    }

    void predicatesTellSurfacesApart()
    {
        QFETCH(const FloatMesh, surface);
        const auto halfedges = HalfedgeMesh::fromMesh(surface);
        QTEST(halfedges.isClosed(), "closed");
        QTEST(halfedges.isManifold(), "manifold");
        QTEST(halfedges.isOrientable(), "orientable");
    }

    void twoClosedSurfacesThatTouchInAVertexAreNotManifold()
    {
        FloatMesh both = support::makeCube(1, {-1, -1, -1});
        const FloatMesh other = support::makeCube(1, {1, 1, 1});
        for (const auto &element : other.elements)
            both.addElement(element.type,
                            {element.nodes[0] + 8, element.nodes[1] + 8, element.nodes[2] + 8});
        both.vertices += other.vertices;
        QVERIFY(support::isClosedManifold(both)); // two apart
        QVERIFY(!support::isClosedManifold(support::welded(both)));
    }

    void linksAreConsistent_data()
    {
        QTest::addColumn<FloatMesh>("surface");
        QTest::newRow("triangle") << faces({{0, 1, 2}});
        QTest::newRow("cube") << support::makeCube();
        QTest::newRow("open fan") << faces({{0, 1, 2}, {0, 2, 3}, {0, 3, 4}});
        QTest::newRow("non-manifold") << faces({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}, {0, 1, 5}});
        QTest::newRow("strip turned once") << moebiusStrip(7);
    }

    void linksAreConsistent()
    {
        QFETCH(const FloatMesh, surface);
        const auto mesh = HalfedgeMesh::fromMesh(surface);
        for (quint32 h = 0; h < quint32(mesh.halfedges.size()); ++h) {
            const auto &edge = mesh.halfedges.at(h);
            const auto &twin = mesh.halfedges.at(edge.twin.index);
            QCOMPARE(twin.twin.index, h);
            const auto previous = mesh.prev({h});
            QCOMPARE(mesh.halfedges.at(previous.index).next.index, h);
            QCOMPARE(mesh.halfedges.at(previous.index).face, edge.face);
            QCOMPARE(mesh.halfedges.at(previous.index).to, twin.to); // its start
        }
        for (const auto &vertex : mesh.vertices)
            QVERIFY(mesh.halfedges.at(vertex.halfedge.index).face.isValid());
    }

    void otherElementsAreLeftOut()
    {
        FloatMesh volume;
        volume.vertices.resize(5);
        volume.addElement(ElementType::Tetrahedron, {0, 1, 2, 3});
        volume.addElement(ElementType::Line, {0, 1});
        const auto mesh = HalfedgeMesh::fromMesh(volume);
        QCOMPARE(mesh.vertices.size(), 5);
        QVERIFY(mesh.halfedges.isEmpty());
        QVERIFY(mesh.isManifold());
    }

    void aVertexOfVeryManyFacesIsNoTrouble()
    {
        constexpr int count = 200'000; // would not end in quadratic time
        FloatMesh fan;
        fan.vertices.resize(count + 1);
        for (int i = 1; i <= count; ++i)
            fan.addElement(ElementType::Triangle, {0, i, i % count + 1});
        const auto mesh = HalfedgeMesh::fromMesh(fan);
        QVERIFY(mesh.isManifold());
        QVERIFY(mesh.isOrientable());
        QVERIFY(!mesh.isClosed());
    }
};

QTEST_GUILESS_MAIN(TstHalfedgeMesh)
#include "tst_HalfedgeMesh.moc"
