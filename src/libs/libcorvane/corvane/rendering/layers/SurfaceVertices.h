#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/rendering/SnapshotMeshSource.h>

#include <QList>

#include <array>

namespace corvane::rendering {

/// A corner of a triangle as the device reads it: 28 bytes.
struct SurfaceVertex
{
    std::array<float, 3> position{};
    std::array<float, 3> normal{};                   ///< unit, or zero where there is none
    std::array<quint8, 4> color{255, 255, 255, 255}; ///< alpha 0: no cut plane cuts it

    bool operator==(const SurfaceVertex &) const = default;
};
static_assert(sizeof(SurfaceVertex) == 28);

/// Triangles to draw, three vertices each, and what had to be done to the mesh for it.
struct SurfaceVertices
{
    /// The most triangles that one mesh is drawn with: 168 MB of the device's memory.
    static constexpr qint64 maxTriangles = 2000000;

    QList<SurfaceVertex> vertices{};
    BoundingVolume bounds{};
    bool hasColors = false;
    qint64 trianglesInMesh = 0;  ///< those that can be drawn
    qint64 unusableElements = 0; ///< with corners that are no numbers or are not there

    qint64 triangleCount() const { return vertices.size() / 3; }
    /// It had more triangles than can be drawn, and is shown coarser.
    bool isSimplified() const { return triangleCount() < trianglesInMesh; }

    /// The triangles and quads of a mesh; other elements have no surface of their own. Takes
    /// anything: elements with unusable corners are left out, triangles that are a line or a point
    /// too, and a mesh of more than `most` triangles is simplified by clustering its vertices,
    /// until it has no more.
    static SurfaceVertices fromMesh(const SurfaceMesh &mesh, qint64 most = maxTriangles);
};

} // namespace corvane::rendering
