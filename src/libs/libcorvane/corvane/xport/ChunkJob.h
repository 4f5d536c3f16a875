#pragma once

#include <QVector3D>

namespace corvane::xport {

/// The faces of a chunk at which the surface is to be closed, as bits of ChunkJob::sealFaces.
enum SealFace : unsigned {
    SealLowX = 1,
    SealHighX = 2,
    SealLowY = 4,
    SealHighY = 8,
    SealLowZ = 16,
    SealHighZ = 32,
};

/// A piece of the grid that one thread samples and meshes. Neighbours share a plane of nodes.
struct ChunkJob
{
    QVector3D origin{};                        ///< position of node (0, 0, 0), scene units
    QVector3D maxCorner{};                     ///< position of the last node
    qint64 firstX = 0, firstY = 0, firstZ = 0; ///< index of node (0, 0, 0) in the whole grid
    int nx = 0, ny = 0, nz = 0;                ///< node counts: cells plus one
    float cellSize = 0.1f;                     ///< spacing of nodes, scene units
    unsigned sealFaces = 0; ///< SealFace bits: faces at the end of the whole grid

    bool operator==(const ChunkJob &) const = default;
};

} // namespace corvane::xport
