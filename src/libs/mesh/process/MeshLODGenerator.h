#pragma once

#include <mesh/Mesh.h>
#include <mesh/io/Options.h>
#include <mesh/process/ExpandedVertexData.h>

namespace mesh::process {

/// One level of detail, laid out for a renderer.
struct MeshLOD
{
    ExpandedVertexData data;
    double ratio = 1; ///< share of the triangles that this level was to have
};

/// Levels of detail, finest first.
struct MeshLODSet
{
    QList<MeshLOD> levels;
};

/// Coarser and coarser versions of a surface for drawing from farther and farther away.
class MeshLODGenerator
{
public:
    /// No level is made that would have fewer faces than this.
    static constexpr int minFaceCount = 32;

    /// Level 0 is the mesh, level n has about 0.5^n of its triangles, by clustering vertices in the
    /// cells of a grid. At most `levels` levels; fewer where the faces run out. Clusters may join
    /// what only lies near each other: for looking at, not for making.
    /// @param progress  false makes the result end with the level before
    static MeshLODSet generate(const Mesh<float> &mesh, int levels,
                               const io::Progress &progress = {});

    /// The triangles of a surface with the vertices of each cell of a grid at their mean.
    /// @param cellSize  scene units, above 0
    static Mesh<float> cluster(const Mesh<float> &mesh, float cellSize);
};

} // namespace mesh::process
