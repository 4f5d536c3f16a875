// Whole exports of scenes that NodeTree::read() takes. Needs corvane_field, mesh and Qt Test.
#pragma once

#include <support/MeshChecks.h>
#include <support/NodeTree.h>
#include <support/QueuedSpy.h>

#include <corvane/xport/ExportPipeline.h>
#include <mesh/io/IORegistry.h>

namespace support {

using corvane::xport::ExportPipeline;
using corvane::xport::ExportRequest;
using corvane::xport::ExportResult;

/// From -3 to 3 on each axis.
inline ExportRequest requestFor(const QString &scene, const QString &outputPath, float cellSize)
{
    NodeTree tree;
    ExportRequest request;
    request.rootNodeIndex = tree.read(scene);
    request.nodes = tree.nodes;
    request.boundsMin = {-3, -3, -3};
    request.boundsMax = {3, 3, 3};
    request.cellSize = cellSize;
    request.outputPath = outputPath;
    return request;
}

inline ExportResult exported(const ExportRequest &request)
{
    ExportPipeline pipeline;
    QueuedSpy finished(&pipeline, &ExportPipeline::finished);
    pipeline.run(request);
    if (finished.isEmpty() && !finished.wait(120000))
        return ExportResult::failed(QStringLiteral("no end"));
    return finished.size() == 1 ? finished.first().first().value<ExportResult>()
                                : ExportResult::failed(QStringLiteral("several ends"));
}

/// The mesh that was made, welded; an empty one when it can't be read.
inline FloatMesh meshOf(const ExportRequest &request)
{
    const auto mesh = mesh::io::IORegistry<float>::instance().load(request.outputPath);
    return mesh ? welded(mesh.value()) : FloatMesh();
}

} // namespace support
