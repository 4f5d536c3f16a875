#pragma once

#include <corvane/mesh/Triangle.h>
#include <corvane/xport/ExportRequest.h>

#include <mesh/Mesh.h>

#include <QList>

#include <atomic>

namespace corvane::xport {

/// The triangles of an export, chunk by chunk in the order of the chunks.
using TriangleChunks = QList<QList<mesh::Triangle>>;

/// The last steps of a surface export: from triangles to a file.
class MeshBuilder
{
public:
    /// More triangles than this have more vertices than an index can number.
    static constexpr qint64 maxTriangles = 2147483647 / 3;

    /// One mesh of all triangles, each with three vertices of its own. Triangles with a coordinate
    /// that is not finite, or with no area, are left out and counted in the log. The chunks are
    /// emptied on the way, so that triangles and mesh are not in memory twice.
    static ::mesh::Mesh<float> assemble(TriangleChunks &&chunks);

    /// Assembles, runs the request's post-processing steps and saves by the extension of the output
    /// path.
    static ExportResult buildAndSaveMesh(TriangleChunks &&chunks, const ExportRequest &request,
                                         const std::atomic_bool &cancelFlag);

private:
    static QString postProcess(::mesh::Mesh<float> &mesh, const ExportRequest &request,
                               const std::atomic_bool &cancelFlag);
};

} // namespace corvane::xport
