#pragma once

#include <corvane/rendering/layers/SurfaceItem.h>
#include <corvane/rendering/layers/SurfaceVertices.h>
#include <rhi/QRhiCompat.h>

#include <QVector4D>

#include <memory>

namespace corvane::rendering {

/// The triangles of one mesh on the device. Items that show the same mesh share it.
struct SharedVertexBuffer
{
    SurfaceMesh mesh{}; ///< kept, so that its lists are known again by where they lie
    std::unique_ptr<QRhiBuffer> buffer{}; ///< null for a mesh without triangles
    quint32 vertexCount = 0;
    BoundingVolume bounds{}; ///< in the mesh's own space
    bool hasColors = false;

    /// Whether the lists are the same, not only equal.
    bool isOf(const SurfaceMesh &other) const
    {
        return mesh.vertices.constData() == other.vertices.constData() &&
               mesh.elements.constData() == other.elements.constData() &&
               mesh.vertices.size() == other.vertices.size() &&
               mesh.elements.size() == other.elements.size();
    }
};

/// One item of a layer of triangles, as it is drawn.
struct MeshGPUData
{
    SurfaceItem item{};
    std::shared_ptr<SharedVertexBuffer> vertices{}; ///< null until it is uploaded
    bool isDirty = true;                            ///< its mesh is to be looked at
    int version = 0;                                ///< of the proxy that was uploaded
    float vertexColorShare = 0.0f; ///< 1: colours of the vertices, not the material
    QVector4D cutPlane{}; ///< xyz normal in the item's own space, w 1: what lies ahead is cut
    QVector3D cutPlanePoint{};

    bool isDrawable() const { return vertices && vertices->buffer; }
};

} // namespace corvane::rendering
