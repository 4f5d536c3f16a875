#pragma once

#include <corvane/mesh/CreaseSearch.h>

#include <span>
#include <vector>

namespace corvane::mesh {

/// The corners in which creases that were found end, where a third sheet cuts them off that no
/// crossing and no corner of their cells shows. They are candidates, yet to be searched for. The
/// rule must have a field.
std::vector<CreaseCandidate> creaseEnds(std::span<const CreaseCandidate> creases,
                                        const CrossingRule &rule);

} // namespace corvane::mesh
