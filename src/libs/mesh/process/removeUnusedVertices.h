#pragma once

#include <mesh/Mesh.h>

namespace mesh::process {

/// Takes away the vertices that no element uses, with their normals and attributes; the others keep
/// their order.
template<typename T>
void removeUnusedVertices(Mesh<T> &mesh);

} // namespace mesh::process
