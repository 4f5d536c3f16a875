#pragma once

#include <corvane/rendering/layers/SurfaceLayer.h>

namespace corvane::rendering {

/// Draws the triangles that stand in for parts of the field: the items with the tag "proxied", of
/// which the source has a proxy mesh. The mesh is in the world's space, and its version says when
/// it is another one.
class ProxyLayer : public SurfaceLayer
{
public:
    ProxyLayer();

    QString typeName() const override { return QStringLiteral("ProxyLayer"); }
    QString name() const override { return QStringLiteral("Proxies"); }
    QStringList acceptedSceneItemTypes() const override;

protected:
    QList<SurfaceItem> collectItems(const model::Corvane &scene) const override;
    bool hasMesh(const ISceneMeshSource &source, const QUuid &itemId) const override;
    SurfaceMesh meshOf(const ISceneMeshSource &source, const QUuid &itemId) const override;
    int meshVersion(const ISceneMeshSource &source, const QUuid &itemId) const override;
};

} // namespace corvane::rendering
