#include <corvane/rendering/layers/TetVolumeLayer.h>

#include <corvane/model/SceneItem.h>
#include <corvane/rendering/layers/TetGeometry.h>

#include <cmath>

namespace corvane::rendering {

namespace {

constexpr int fixedLight = 2; ///< `lighting` in surface_frame.glsl

/// Flat triangles in the colours of their tetrahedra, as many as can be drawn.
void append(SurfaceVertices &result, const QList<TetGeometry::Face> &faces,
            const QList<float> &quality, bool isCut)
{
    result.trianglesInMesh += faces.size();
    for (const TetGeometry::Face &face : faces) {
        if (result.triangleCount() >= SurfaceVertices::maxTriangles)
            return;
        const QVector3D normal =
            QVector3D::normal(face.corners[0], face.corners[1], face.corners[2]);
        auto color = TetGeometry::qualityColor(quality[face.element]);
        color[3] = isCut ? 0 : 255;
        for (const QVector3D &corner : face.corners) {
            result.vertices.append({.position = {corner.x(), corner.y(), corner.z()},
                                    .normal = {normal.x(), normal.y(), normal.z()},
                                    .color = color});
            result.bounds.expand(corner);
        }
    }
}

} // namespace

TetVolumeLayer::TetVolumeLayer()
    : SurfaceLayer(LayerType::TetVolume)
{}

void TetVolumeLayer::setCutPlane(const QVector3D &point, const QVector3D &normal)
{
    const float length = normal.length();
    const bool isPlane = std::isfinite(length) && length > 0 && std::isfinite(point.length());
    const QVector3D unit = isPlane ? normal / length : QVector3D();
    if (m_cutNormal == unit && m_cutPoint == point)
        return;
    m_cutPoint = isPlane ? point : QVector3D();
    m_cutNormal = unit;
    invalidateVertices();
}

void TetVolumeLayer::setQualityShown(bool shown)
{
    m_isQualityShown = shown;
    markAllDirty();
}

QStringList TetVolumeLayer::acceptedSceneItemTypes() const
{
    return {model::ItemTypes::TetVolume};
}

QList<SurfaceItem> TetVolumeLayer::collectItems(const model::Corvane &scene) const
{
    return shownItems(scene, model::ItemTypes::TetVolume);
}

bool TetVolumeLayer::hasMesh(const ISceneMeshSource &source, const QUuid &itemId) const
{
    return source.hasTetData(itemId);
}

SurfaceMesh TetVolumeLayer::meshOf(const ISceneMeshSource &source, const QUuid &itemId) const
{
    return source.tetData(itemId);
}

SurfaceVertices TetVolumeLayer::verticesOf(const SurfaceMesh &mesh) const
{
    SurfaceVertices result{.hasColors = true};
    const QList<float> quality = TetGeometry::computeTetQuality(mesh);
    append(result, TetGeometry::extractBoundaryFaces(mesh), quality, false);
    if (!m_cutNormal.isNull())
        append(result, TetGeometry::extractCrossSectionFaces(mesh, m_cutPoint, m_cutNormal),
               quality, true);
    return result;
}

void TetVolumeLayer::finishItem(MeshGPUData &item) const
{
    item.vertexColorShare = m_isQualityShown ? 1.0f : 0.0f;
    item.cutPlane = QVector4D(m_cutNormal, m_cutNormal.isNull() ? 0.0f : 1.0f);
    item.cutPlanePoint = m_cutPoint;
}

int TetVolumeLayer::lightingModel() const
{
    return fixedLight;
}

} // namespace corvane::rendering
