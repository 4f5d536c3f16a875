#pragma once

#include <mesh/Mesh.h>
#include <mesh/process/ExpandedVertexData.h>
#include <mesh/process/MeshLODGenerator.h>

#include <QHash>
#include <QSharedPointer>
#include <QUuid>

#include <list>

namespace corvane::asset {

/// The in-memory home of imported geometry, by asset id.
///
/// Lives on one thread. What it hands out are values or shared meshes that nobody changes, so that
/// they can go to other threads.
class AssetStore
{
public:
    using SurfaceMesh = ::mesh::Mesh<float>;
    using VertexData = ::mesh::process::ExpandedVertexData;
    using LODSet = ::mesh::process::MeshLODSet;

    /// Files a mesh, as the most recently used. Render data and levels of an older mesh of this id
    /// are dropped; a mesh with tetrahedra is tetrahedral data too. Null removes the id.
    void storeMeshData(const QUuid &id, const QSharedPointer<const SurfaceMesh> &mesh);
    /// Null for an id that is not known.
    QSharedPointer<const SurfaceMesh> meshData(const QUuid &id) const;
    /// Render data made ahead of time, for the next renderMesh().
    void storeRenderMesh(const QUuid &id, const VertexData &data);
    /// The mesh as a renderer takes it: what was made ahead, once, else made now. Not valid for an
    /// id that is not known.
    VertexData renderMesh(const QUuid &id);
    bool hasRenderMesh(const QUuid &id) const;

    void storeLODSet(const QUuid &id, const LODSet &set);
    LODSet lodSet(const QUuid &id) const; ///< without levels for an id that has none

    /// The mesh when it has tetrahedra, else null.
    QSharedPointer<const SurfaceMesh> tetData(const QUuid &id) const;
    bool hasTetData(const QUuid &id) const;

    /// Files the triangle stand-in of a field, and counts its version up. Data that are not valid
    /// remove it.
    void storeProxyMesh(const QUuid &id, const VertexData &data);
    VertexData proxyMesh(const QUuid &id) const;
    bool hasProxyMesh(const QUuid &id) const;
    /// 0 before the first; rises with each change, over a removal too.
    int proxyVersion(const QUuid &id) const;

    /// Makes an id the most recently used. An id that holds no mesh is not listed.
    void touchLRU(const QUuid &id);
    QList<QUuid> recentlyUsed() const; ///< most recent first

    void remove(const QUuid &id); ///< all that is filed under an id, but its proxy version
    void clear();

private:
    struct Proxy
    {
        VertexData data;
        int version = 0;
    };

    std::list<QUuid> m_recent; ///< front the most recent
    QHash<QUuid, std::list<QUuid>::iterator> m_placeOf;
    QHash<QUuid, QSharedPointer<const SurfaceMesh>> m_meshes;
    QHash<QUuid, VertexData> m_pendingRenderData;
    QHash<QUuid, Proxy> m_proxies;
    QHash<QUuid, LODSet> m_lodSets;
    QHash<QUuid, QSharedPointer<const SurfaceMesh>> m_tetData;
};

} // namespace corvane::asset
