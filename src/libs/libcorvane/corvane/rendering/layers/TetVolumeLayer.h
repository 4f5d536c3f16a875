#pragma once

#include <corvane/rendering/layers/SurfaceLayer.h>

#include <QVector3D>

namespace corvane::rendering {

/// Draws the volumes of tetrahedra of a document: its items of type "tet_volume". What is seen are
/// the outer faces and, with a cut, the tetrahedra that it goes through.
class TetVolumeLayer : public SurfaceLayer
{
public:
    TetVolumeLayer();

    /// Takes away what lies ahead of a plane, in each item's own space. A normal of no length takes
    /// the cut back.
    void setCutPlane(const QVector3D &point, const QVector3D &normal);
    /// Colours by the quality of the tetrahedra, red to green, instead of the material.
    void setQualityShown(bool shown);

    QString typeName() const override { return QStringLiteral("TetVolumeLayer"); }
    QString name() const override { return QStringLiteral("Volumes"); }
    QStringList acceptedSceneItemTypes() const override;

protected:
    QList<SurfaceItem> collectItems(const model::Corvane &scene) const override;
    bool hasMesh(const ISceneMeshSource &source, const QUuid &itemId) const override;
    SurfaceMesh meshOf(const ISceneMeshSource &source, const QUuid &itemId) const override;
    SurfaceVertices verticesOf(const SurfaceMesh &mesh) const override;
    void finishItem(MeshGPUData &item) const override;
    int lightingModel() const override;

private:
    QVector3D m_cutPoint;
    QVector3D m_cutNormal; ///< null: no cut
    bool m_isQualityShown = false;
};

} // namespace corvane::rendering
