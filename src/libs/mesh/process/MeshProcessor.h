#pragma once

#include <mesh/Mesh.h>
#include <mesh/io/Options.h>
#include <mesh/io/Result.h>

namespace mesh::process {

/// What a step is told: named parameters (each step documents its keys and defaults) and whom to
/// tell how far it is. A progress that answers false ends the step with the mesh as it stood after
/// the last finished pass.
struct ProcessOptions
{
    QVariantMap parameters{};
    io::Progress progress{};
};

/// One step of making a raw mesh fit to ship. A step never makes the topology worse: it leaves its
/// input rather.
template<typename T>
class MeshProcessor
{
public:
    virtual ~MeshProcessor() = default;

    virtual QString name() const = 0; ///< for people: "Vertex Merger"
    virtual QString flag() const = 0; ///< the word for the step in lists of steps: "weld"

    /// Changes `mesh` in place. An error means parameters that make no sense, and an untouched
    /// mesh; a cancelled step is no error.
    virtual io::Result<void> process(Mesh<T> &mesh, const ProcessOptions &options) const = 0;
};

} // namespace mesh::process
