#include <support/MeshChecks.h>

#include <mesh/process/predicates.h>

#include <QRandomGenerator>
#include <QRegularExpression>

using namespace Qt::StringLiterals;
using mesh::ElementType;
using mesh::process::TopologySnapshot;
using support::FloatMesh;

namespace {

TopologySnapshot byHalfedges(const FloatMesh &surface)
{
    const auto halfedges = mesh::topology::HalfedgeMesh<float>::fromMesh(surface);
    return {halfedges.isClosed(), halfedges.isManifold(), halfedges.isOrientable()};
}

FloatMesh trianglesOf(const QList<mesh::NodeList> &faces)
{
    FloatMesh surface;
    surface.vertices.resize(8);
    for (const mesh::NodeList &nodes : faces)
        surface.addElement(ElementType::Triangle, nodes);
    return surface;
}

} // namespace

class TstPredicates : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void knowsTheKindsOfSurface_data()
    {
        QTest::addColumn<FloatMesh>("surface");
        QTest::addColumn<bool>("closed");
        QTest::addColumn<bool>("manifold");
        QTest::addColumn<bool>("orientable");
        FloatMesh quad = trianglesOf({{0, 1, 2}});
        quad.addElement(ElementType::Quad, {2, 1, 3, 4});
        QTest::newRow("nothing") << FloatMesh{} << true << true << true;
        QTest::newRow("cube") << support::makeCube() << true << true << true;
        QTest::newRow("one triangle") << trianglesOf({{0, 1, 2}}) << false << true << true;
        QTest::newRow("with a quad") << quad << false << true << true;
        QTest::newRow("two the same way")
            << trianglesOf({{0, 1, 2}, {0, 1, 3}}) << false << false << false;
        QTest::newRow("three on an edge")
            << trianglesOf({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}}) << false << false << true;
        QTest::newRow("two fans at a vertex")
            << trianglesOf({{0, 1, 2}, {0, 3, 4}}) << false << false << true;
        QTest::newRow("back to back")
            << trianglesOf({{0, 1, 2}, {0, 2, 1}}) << true << true << true;
        QTest::newRow("a vertex twice") << trianglesOf({{0, 0, 1}}) << false << true << true;
    }

    void knowsTheKindsOfSurface()
    {
        QFETCH(const FloatMesh, surface);
        QFETCH(const bool, closed);
        QFETCH(const bool, manifold);
        QFETCH(const bool, orientable);
        const auto is = TopologySnapshot::of(surface);
        QCOMPARE(is.closed, closed);
        QCOMPARE(is.manifold, manifold);
        QCOMPARE(is.orientable, orientable);
        QVERIFY(is == byHalfedges(surface));
    }

    // What counting finds is what the halfedge mesh says, whatever the triangles are.
    void agreesWithTheHalfedgeMesh()
    {
        QRandomGenerator random(11);
        for (int round = 0; round < 3000; ++round) {
            FloatMesh surface;
            surface.vertices.resize(6);
            const auto node = [&] { return int(random.bounded(6)); };
            for (int faces = 1 + random.bounded(8); faces > 0; --faces)
                surface.addElement(ElementType::Triangle, {node(), node(), node()});
            QVERIFY2(TopologySnapshot::of(surface) == byHalfedges(surface),
                     qPrintable(u"round %1"_s.arg(round)));
        }
    }

    void onlyWhatHeldCanBeLost()
    {
        const TopologySnapshot all{true, true, true}, none{}, open{false, true, true};
        QVERIFY(open.isWorseThan(all));
        QVERIFY(none.isWorseThan(open));
        QVERIFY(!all.isWorseThan(none));
        QVERIFY(!none.isWorseThan(none));
    }
};

QTEST_GUILESS_MAIN(TstPredicates)
#include "tst_predicates.moc"
