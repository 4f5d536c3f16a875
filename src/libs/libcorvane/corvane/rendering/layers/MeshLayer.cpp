#include <corvane/rendering/layers/MeshLayer.h>

#include <corvane/model/SceneItem.h>

namespace corvane::rendering {

MeshLayer::MeshLayer()
    : SurfaceLayer(LayerType::Mesh)
{}

QStringList MeshLayer::acceptedSceneItemTypes() const
{
    return {model::ItemTypes::Mesh};
}

QList<SurfaceItem> MeshLayer::collectItems(const model::Corvane &scene) const
{
    return shownItems(scene, model::ItemTypes::Mesh);
}

bool MeshLayer::hasMesh(const ISceneMeshSource &source, const QUuid &itemId) const
{
    return source.hasRenderMesh(itemId);
}

SurfaceMesh MeshLayer::meshOf(const ISceneMeshSource &source, const QUuid &itemId) const
{
    return source.renderMesh(itemId);
}

void MeshLayer::finishItem(MeshGPUData &item) const
{
    item.vertexColorShare = item.vertices && item.vertices->hasColors ? 1.0f : 0.0f;
}

} // namespace corvane::rendering
