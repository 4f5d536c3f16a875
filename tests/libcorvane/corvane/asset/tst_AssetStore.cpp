#include <support/MeshChecks.h>

#include <corvane/asset/AssetStore.h>
#include <mesh/process/MeshVertexExpander.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using corvane::asset::AssetStore;
using mesh::process::MeshVertexExpander;
using support::FloatMesh;

namespace {

QSharedPointer<const FloatMesh> shared(const FloatMesh &mesh)
{
    return QSharedPointer<FloatMesh>::create(mesh);
}

} // namespace

class TstAssetStore : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void renderDataMadeAheadAreHandedOutOnce()
    {
        AssetStore store;
        const QUuid id = QUuid::createUuid();
        QVERIFY(!store.hasRenderMesh(id));
        QVERIFY(!store.renderMesh(id).isValid());
        store.storeMeshData(id, shared(support::makeCube(1)));
        const auto other = MeshVertexExpander::expand(support::makeCube(5));
        store.storeRenderMesh(id, other);
        QVERIFY(store.renderMesh(id) == other);
        QVERIFY(store.renderMesh(id) == MeshVertexExpander::expand(support::makeCube(1)));
        store.storeRenderMesh(id, other);
        store.storeLODSet(id, {.levels = {{other, 1.0}}});
        store.storeMeshData(id, shared(support::makeCube(2))); // what was made of the old one goes
        QVERIFY(store.renderMesh(id) == MeshVertexExpander::expand(support::makeCube(2)));
        QCOMPARE(store.lodSet(id).levels.size(), 0);
    }

    void theLastUsedComesFirst()
    {
        AssetStore store;
        const QUuid a = QUuid::createUuid(), b = QUuid::createUuid(), c = QUuid::createUuid();
        for (const QUuid &id : {a, b, c})
            store.storeMeshData(id, shared(support::makeCube()));
        QCOMPARE(store.recentlyUsed(), (QList<QUuid>{c, b, a}));
        store.renderMesh(a);
        store.touchLRU(b);
        store.touchLRU(QUuid::createUuid());
        QCOMPARE(store.recentlyUsed(), (QList<QUuid>{b, a, c}));
        store.storeMeshData(a, {});
        QCOMPARE(store.recentlyUsed(), (QList<QUuid>{b, c}));
        QVERIFY(!store.meshData(a));
        store.clear();
        QCOMPARE(store.recentlyUsed(), QList<QUuid>());
        QVERIFY(!store.hasRenderMesh(b));
    }

    void tetrahedraAreKnown()
    {
        AssetStore store;
        const QUuid id = QUuid::createUuid();
        FloatMesh volume = support::makeTetrahedronSurface();
        store.storeMeshData(id, shared(volume));
        QVERIFY(!store.hasTetData(id));
        volume.addElement(mesh::ElementType::Tetrahedron, {0, 1, 2, 3});
        store.storeMeshData(id, shared(volume));
        QVERIFY(store.hasTetData(id));
        QCOMPARE(store.tetData(id)->elements.size(), 5);
        store.storeMeshData(id, shared(support::makeCube()));
        QVERIFY(!store.hasTetData(id));
    }

    void proxyVersionsRise()
    {
        AssetStore store;
        const QUuid id = QUuid::createUuid();
        QCOMPARE(store.proxyVersion(id), 0);
        const auto data = MeshVertexExpander::expand(support::makeCube());
        store.storeProxyMesh(id, data);
        store.storeProxyMesh(id, data);
        QCOMPARE(store.proxyVersion(id), 2);
        QVERIFY(store.hasProxyMesh(id) && store.proxyMesh(id) == data);
        store.remove(id);
        QVERIFY(!store.hasProxyMesh(id));
        QCOMPARE(store.proxyVersion(id), 3);
    }
};

QTEST_GUILESS_MAIN(TstAssetStore)
#include "tst_AssetStore.moc"
