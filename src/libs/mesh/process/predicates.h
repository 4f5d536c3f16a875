#pragma once

#include <mesh/Mesh.h>
#include <mesh/io/Options.h>

namespace mesh::process {

/// What is true of the surface elements of a mesh (see topology::HalfedgeMesh): every edge has two
/// faces; one fan of faces around each vertex; neighbours wind the same way. Linear time. A
/// progress that answers false ends it early, with answers of no use.
template<typename T>
void predicates(const Mesh<T> &mesh, bool &closed, bool &manifold, bool &orientable,
                const io::Progress &progress = {});

/// The three together, to compare a mesh before and after a step.
struct TopologySnapshot
{
    bool closed = false, manifold = false, orientable = false;

    template<typename T>
    static TopologySnapshot of(const Mesh<T> &mesh, const io::Progress &progress = {})
    {
        TopologySnapshot snapshot;
        predicates(mesh, snapshot.closed, snapshot.manifold, snapshot.orientable, progress);
        return snapshot;
    }
    /// Whether something that held in `before` holds no more.
    bool isWorseThan(const TopologySnapshot &before) const
    {
        return (before.closed && !closed) || (before.manifold && !manifold) ||
               (before.orientable && !orientable);
    }
    bool operator==(const TopologySnapshot &) const = default;
};

} // namespace mesh::process
