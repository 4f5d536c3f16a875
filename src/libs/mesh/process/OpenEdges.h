#pragma once

#include <mesh/Mesh.h>

namespace mesh::process {

/// Edges at which the triangles of a mesh do not close, and where one of them is.
struct OpenEdges
{
    qint64 count = 0;
    Vector3<float> example{}; ///< an end of the first one, in the order of the triangles
};

/// Finds the edges that triangles pass more often in one direction than in the other. Positions
/// count, not indices, so that a soup of triangles is judged by its shape.
///
/// A closed mesh costs one pass without any memory; only one that is not has its edges listed,
/// which takes 48 bytes a triangle.
OpenEdges findOpenEdges(const Mesh<float> &mesh, int threads);

} // namespace mesh::process
