#include "predicates.h"

#include <mesh/topology/HalfedgeMesh.h>

namespace mesh::process {

template<typename T>
void predicates(const Mesh<T> &mesh, bool &closed, bool &manifold, bool &orientable)
{
    const auto halfedges = topology::HalfedgeMesh<T>::fromMesh(mesh);
    closed = halfedges.isClosed();
    manifold = halfedges.isManifold();
    orientable = halfedges.isOrientable();
}

template void predicates(const Mesh<float> &, bool &, bool &, bool &);

} // namespace mesh::process
