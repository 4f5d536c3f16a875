#include <support/MeshChecks.h>

#include <mesh/process/predicates.h>
#include <mesh/topology/HalfedgeMesh.h>

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

} // namespace

class TstPredicates : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

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
            if (round % 4 == 0)
                surface.addElement(ElementType::Quad, {2, 1, 3, 4});
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
