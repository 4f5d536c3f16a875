#pragma once

#include <mesh/process/MeshProcessor.h>

namespace mesh::process {

/// Welds vertices that lie within a tolerance of each other, so that a soup of triangles becomes an
/// indexed mesh.
///
/// Of a cluster the first vertex survives, unmoved, and the order of vertices is kept; normals and
/// attributes go with the vertex. Triangles that name a vertex twice afterwards are dropped, with
/// their per-element values. Vertices that no element uses are treated like all others.
///
/// Parameter "tolerance": scene units, default 1e-6; 0 welds equal positions only; negative or not
/// finite is an error. Linear time: positions equal to a kept one are found by one look into a hash
/// table, which in a soup settles five of six.
template<typename T>
class VertexMerger : public MeshProcessor<T>
{
public:
    static constexpr double defaultTolerance = 1e-6;

    QString name() const override;
    QString flag() const override;
    io::Result<void> process(Mesh<T> &mesh, const ProcessOptions &options) const override;
};

extern template class VertexMerger<float>;

} // namespace mesh::process
