#pragma once

#include <mesh/Mesh.h>
#include <mesh/io/Options.h>
#include <mesh/process/ExpandedVertexData.h>

namespace mesh::process {

/// Lays a surface out for a renderer.
class MeshVertexExpander
{
public:
    /// Faces around a vertex whose normals have at least this dot product with a face's share its
    /// normal there; beyond it the edge is hard.
    static constexpr float hardEdgeCosine = 0.99f;

    /// Triangles and quads (as two triangles); other elements have no part. Normals are those of
    /// the faces around the corner that are not across a hard edge, larger ones weighing more; a
    /// degenerate face gets the y axis.
    /// @param progress  asked about ten times a second; false makes the result empty
    static ExpandedVertexData expand(const Mesh<float> &mesh, const io::Progress &progress = {});
};

} // namespace mesh::process
