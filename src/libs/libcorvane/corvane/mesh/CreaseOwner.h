#pragma once

#include <corvane/mesh/CreaseSearch.h>

#include <span>

namespace corvane::mesh {

/// Decides about creases that were found outside the boxes of the regions that look for them: those
/// stay found which lie in a cell without a vertex, and belong to the region's cell.
///
/// A sharp edge ends in cells that none of their corners shows: the solid is thinner there than the
/// grid. Such a piece of the edge belongs to the nearest crossed cell that the edge itself does not
/// pass through, so that each of its points has one owner.
void keepOwnCreases(std::span<CreaseCandidate> candidates, const CrossingRule &rule);

} // namespace corvane::mesh
