#pragma once

#include <corvane/xport/ExportRequest.h>

#include <atomic>

namespace corvane::eval {
class DefinitionTable;
}

namespace corvane::xport {

/// Replaces the box of a request by one around its part: found by probing the field, proved to hold
/// the part by interval evaluation, and grown by a cell and a half (see bv::findPartBounds). The
/// same box for any number of threads, on any machine.
///
/// A part that has no end, or no beginning, leaves the box as it is. Where the proof is too hard
/// the box is the larger one of what was probed and what was requested. Both are told in warnings.
/// @param threads  tasks that probe at the same time
QList<model::SceneWarning> applyAutoBounds(ExportRequest &request,
                                           const eval::DefinitionTable &definitions, int threads,
                                           const std::atomic_bool &cancelFlag);

} // namespace corvane::xport
