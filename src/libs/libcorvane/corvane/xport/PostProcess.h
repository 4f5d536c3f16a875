#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/xport/ExportRequest.h>

#include <mesh/Mesh.h>

#include <atomic>

namespace corvane::xport {

/// Runs the post-processing steps of a request over a mesh, in their order.
///
/// Steps that hold on to the field get one evaluator of the request's scene. A cancel ends the
/// steps soon, with the mesh in between.
/// @param definitions  of the nodes in the request
/// @return what went wrong; empty when all went well, or after a cancel
QString postProcess(::mesh::Mesh<float> &mesh, const ExportRequest &request,
                    const eval::DefinitionTable &definitions, const std::atomic_bool &cancelFlag);

} // namespace corvane::xport
