#pragma once

#include <corvane/xport/ExportRequest.h>

#include <atomic>

namespace corvane::eval {
class DefinitionTable;
}

namespace corvane::xport {

/// Replaces the box of a request by one around its surface, found by probing the field and padded
/// on each axis. A surface that has no end, or no beginning, leaves the box as it is, with a
/// warning in the log.
/// @param threads  tasks that probe at the same time
void applyAutoBounds(ExportRequest &request, const eval::DefinitionTable &definitions, int threads,
                     const std::atomic_bool &cancelFlag);

} // namespace corvane::xport
