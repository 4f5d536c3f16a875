#include <corvane/asset/AssetStore.h>

#include <mesh/process/MeshVertexExpander.h>

namespace corvane::asset {

namespace {

bool isTetrahedron(const ::mesh::ElementData<float> &element)
{
    return element.type == ::mesh::ElementType::Tetrahedron ||
           element.type == ::mesh::ElementType::QuadraticTetrahedron;
}

} // namespace

void AssetStore::storeMeshData(const QUuid &id, const QSharedPointer<const SurfaceMesh> &mesh)
{
    m_pendingRenderData.remove(id);
    m_lodSets.remove(id);
    m_tetData.remove(id);
    if (!mesh)
        return remove(id);
    m_meshes.insert(id, mesh);
    if (std::any_of(mesh->elements.cbegin(), mesh->elements.cend(), isTetrahedron))
        m_tetData.insert(id, mesh);
    touchLRU(id);
}

QSharedPointer<const AssetStore::SurfaceMesh> AssetStore::meshData(const QUuid &id) const
{
    return m_meshes.value(id);
}

void AssetStore::storeRenderMesh(const QUuid &id, const VertexData &data)
{
    m_pendingRenderData.insert(id, data);
}

AssetStore::VertexData AssetStore::renderMesh(const QUuid &id)
{
    touchLRU(id);
    if (m_pendingRenderData.contains(id))
        return m_pendingRenderData.take(id);
    const auto mesh = m_meshes.value(id);
    return mesh ? ::mesh::process::MeshVertexExpander::expand(*mesh) : VertexData{};
}

bool AssetStore::hasRenderMesh(const QUuid &id) const
{
    return m_pendingRenderData.contains(id) || m_meshes.contains(id);
}

void AssetStore::storeLODSet(const QUuid &id, const LODSet &set)
{
    m_lodSets.insert(id, set);
}

AssetStore::LODSet AssetStore::lodSet(const QUuid &id) const
{
    return m_lodSets.value(id);
}

QSharedPointer<const AssetStore::SurfaceMesh> AssetStore::tetData(const QUuid &id) const
{
    return m_tetData.value(id);
}

bool AssetStore::hasTetData(const QUuid &id) const
{
    return m_tetData.contains(id);
}

void AssetStore::storeProxyMesh(const QUuid &id, const VertexData &data)
{
    Proxy &proxy = m_proxies[id];
    proxy.data = data;
    ++proxy.version;
}

AssetStore::VertexData AssetStore::proxyMesh(const QUuid &id) const
{
    return m_proxies.value(id).data;
}

bool AssetStore::hasProxyMesh(const QUuid &id) const
{
    return m_proxies.value(id).data.isValid();
}

int AssetStore::proxyVersion(const QUuid &id) const
{
    return m_proxies.value(id).version;
}

void AssetStore::touchLRU(const QUuid &id)
{
    if (!m_meshes.contains(id))
        return;
    if (const auto place = m_placeOf.constFind(id); place != m_placeOf.constEnd()) {
        m_recent.splice(m_recent.begin(), m_recent, *place);
        return;
    }
    m_recent.push_front(id);
    m_placeOf.insert(id, m_recent.begin());
}

QList<QUuid> AssetStore::recentlyUsed() const
{
    return QList<QUuid>(m_recent.cbegin(), m_recent.cend());
}

void AssetStore::remove(const QUuid &id)
{
    m_meshes.remove(id);
    m_pendingRenderData.remove(id);
    m_lodSets.remove(id);
    m_tetData.remove(id);
    if (hasProxyMesh(id))
        storeProxyMesh(id, {});
    if (const auto place = m_placeOf.constFind(id); place != m_placeOf.constEnd()) {
        m_recent.erase(*place);
        m_placeOf.erase(place);
    }
}

void AssetStore::clear()
{
    const QList<QUuid> proxies = m_proxies.keys();
    for (const QUuid &id : proxies)
        remove(id);
    m_recent.clear();
    m_placeOf.clear();
    m_meshes.clear();
    m_pendingRenderData.clear();
    m_lodSets.clear();
    m_tetData.clear();
}

} // namespace corvane::asset
