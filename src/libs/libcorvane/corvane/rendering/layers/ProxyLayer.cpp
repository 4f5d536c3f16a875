#include <corvane/rendering/layers/ProxyLayer.h>

#include <corvane/model/SceneItem.h>

namespace corvane::rendering {

ProxyLayer::ProxyLayer()
    : SurfaceLayer(LayerType::Proxy)
{}

QStringList ProxyLayer::acceptedSceneItemTypes() const
{
    return {model::ItemTypes::Sdf};
}

QList<SurfaceItem> ProxyLayer::collectItems(const model::Corvane &scene) const
{
    return shownProxies(scene);
}

bool ProxyLayer::hasMesh(const ISceneMeshSource &source, const QUuid &itemId) const
{
    return source.hasProxyMesh(itemId);
}

SurfaceMesh ProxyLayer::meshOf(const ISceneMeshSource &source, const QUuid &itemId) const
{
    return source.proxyMesh(itemId);
}

int ProxyLayer::meshVersion(const ISceneMeshSource &source, const QUuid &itemId) const
{
    return source.proxyVersion(itemId);
}

} // namespace corvane::rendering
