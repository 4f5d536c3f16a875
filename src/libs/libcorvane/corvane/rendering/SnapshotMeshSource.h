#pragma once

#include <mesh/Mesh.h>

#include <QHash>
#include <QUuid>

namespace corvane::rendering {

using SurfaceMesh = ::mesh::Mesh<float>;

/// Where layers get the geometry of items that are no field. What it hands out are values whose
/// lists are shared: the same lists mean that nothing changed.
class ISceneMeshSource
{
public:
    virtual ~ISceneMeshSource() = default;

    virtual bool hasRenderMesh(const QUuid &itemId) const = 0;
    virtual SurfaceMesh renderMesh(const QUuid &itemId) const = 0; ///< empty for an unknown id
    virtual bool hasProxyMesh(const QUuid &itemId) const = 0;
    virtual SurfaceMesh proxyMesh(const QUuid &itemId) const = 0;
    virtual int proxyVersion(const QUuid &itemId) const = 0; ///< 0 without one
    virtual bool hasTetData(const QUuid &itemId) const = 0;
    virtual SurfaceMesh tetData(const QUuid &itemId) const = 0;
};

/// The geometry of one snapshot of a scene, in tables. Copies share it.
class SnapshotMeshSource : public ISceneMeshSource
{
public:
    struct Proxy
    {
        SurfaceMesh mesh{};
        int version = 0; ///< rises with each change
    };

    QHash<QUuid, SurfaceMesh> renderMeshes;
    QHash<QUuid, Proxy> proxies;
    QHash<QUuid, SurfaceMesh> tetVolumes;

    bool hasRenderMesh(const QUuid &itemId) const override { return renderMeshes.contains(itemId); }
    SurfaceMesh renderMesh(const QUuid &itemId) const override
    {
        return renderMeshes.value(itemId);
    }
    bool hasProxyMesh(const QUuid &itemId) const override { return proxies.contains(itemId); }
    SurfaceMesh proxyMesh(const QUuid &itemId) const override { return proxies.value(itemId).mesh; }
    int proxyVersion(const QUuid &itemId) const override { return proxies.value(itemId).version; }
    bool hasTetData(const QUuid &itemId) const override { return tetVolumes.contains(itemId); }
    SurfaceMesh tetData(const QUuid &itemId) const override { return tetVolumes.value(itemId); }
};

} // namespace corvane::rendering
