#pragma once

#include <QVector3D>

#include <cstddef>

namespace corvane::mesh {

/// Where a grid node lies on one axis. The one formula for all who sample and all who mesh: two
/// chunks that share a plane of nodes must get bit-identical coordinates, or the seam between them
/// opens.
inline float nodeCoordinate(float origin, float cellSize, qint64 index)
{
    return origin + cellSize * static_cast<float>(index);
}

/// A borrowed array of field values on a regular grid, or on a piece of one.
///
/// Node (i, j, k) is at values[i + (j + k * ny) * nx] and lies at origin + cellSize * (first + (i,
/// j, k)). For a piece of a larger grid `origin` is that of the whole grid, and `first` says where
/// the piece begins.
struct ScalarField3D
{
    const float *values = nullptr;
    int nx = 0, ny = 0, nz = 0; ///< node counts
    QVector3D origin{};         ///< scene units
    float cellSize = 0.1f;      ///< spacing of nodes, scene units
    qint64 firstX = 0, firstY = 0, firstZ = 0;
    /// The share of an edge next to each of its ends that crossings keep clear of, 0 to 0.25. With
    /// 0 a crossing may fall on a node, and the triangles around it lose an edge or their area.
    float crossingMargin = 0.0f;

    std::size_t index(int i, int j, int k) const
    {
        return static_cast<std::size_t>(i) +
               (static_cast<std::size_t>(j) + static_cast<std::size_t>(k) * ny) * nx;
    }
    float x(int i) const { return nodeCoordinate(origin.x(), cellSize, firstX + i); }
    float y(int j) const { return nodeCoordinate(origin.y(), cellSize, firstY + j); }
    float z(int k) const { return nodeCoordinate(origin.z(), cellSize, firstZ + k); }
};

} // namespace corvane::mesh
