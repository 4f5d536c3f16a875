#pragma once

#include <corvane/model/SceneWarning.h>
#include <corvane/xport/ExportRequest.h>

#include <atomic>
#include <optional>

namespace corvane::eval {
class DefinitionTable;
}

namespace corvane::xport {

/// Whether the box of a request cuts its surface off: what a person is told before the meshing.
/// Nothing when the box is clear of the surface, or when the field can't be built.
///
/// Nothing either for a request that is `sealed` and has a box of its own: whoever wants the
/// surface closed at the box means it to end there. With `autoBounds` the box is not the user's,
/// and a cut is one that nobody asked for.
///
/// Costs less than three hundredths of the meshing of the same request. Any thread.
std::optional<model::SceneWarning> checkBox(const ExportRequest &request,
                                            const eval::DefinitionTable &definitions,
                                            const std::atomic_bool *cancelFlag = nullptr);

} // namespace corvane::xport
