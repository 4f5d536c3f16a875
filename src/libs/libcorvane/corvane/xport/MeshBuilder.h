#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/xport/ExportRequest.h>
#include <corvane/xport/GridSurface.h>

#include <mesh/Mesh.h>

#include <atomic>

namespace corvane::xport {

/// The last steps of a surface export: from triangles to a file.
class MeshBuilder
{
public:
    /// One mesh of all triangles, each with three vertices of its own. Triangles with a coordinate
    /// that is not finite, or with no area, are left out and counted in the log.
    /// @param surface  is released before the mesh is returned
    /// @param threads  how many may work; the mesh is the same for any number
    /// @param cancel   when it turns true the mesh is empty
    static ::mesh::Mesh<float> assemble(GridSurface &&surface, int threads = 1,
                                        const std::atomic_bool *cancel = nullptr);

    /// What a triangle costs while its mesh is assembled, in bytes: where it comes from, its
    /// vertices and its element.
    static double bytesEach();

    /// Assembles, runs the request's post-processing steps and saves by the extension of the output
    /// path.
    /// @param definitions  of the nodes in the request, for the steps that need its field
    /// @param isCut        the box cuts the surface: that the mesh is open there is no news
    static ExportResult buildAndSaveMesh(GridSurface &&surface, const ExportRequest &request,
                                         const std::atomic_bool &cancelFlag,
                                         const eval::DefinitionTable &definitions = {},
                                         bool isCut = false);
};

} // namespace corvane::xport
