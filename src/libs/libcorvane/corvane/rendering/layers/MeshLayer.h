#pragma once

#include <corvane/rendering/layers/SurfaceLayer.h>

namespace corvane::rendering {

/// Draws the imported meshes of a document: its items of type "mesh". Meshes that bring colours of
/// their vertices are drawn in these.
class MeshLayer : public SurfaceLayer
{
public:
    using SharedVertexBuffer = rendering::SharedVertexBuffer;

    MeshLayer();

    QString typeName() const override { return QStringLiteral("MeshLayer"); }
    QString name() const override { return QStringLiteral("Meshes"); }
    QStringList acceptedSceneItemTypes() const override;

protected:
    QList<SurfaceItem> collectItems(const model::Corvane &scene) const override;
    bool hasMesh(const ISceneMeshSource &source, const QUuid &itemId) const override;
    SurfaceMesh meshOf(const ISceneMeshSource &source, const QUuid &itemId) const override;
    void finishItem(MeshGPUData &item) const override;
};

} // namespace corvane::rendering
