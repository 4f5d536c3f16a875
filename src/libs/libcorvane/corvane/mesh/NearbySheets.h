#pragma once

#include <corvane/mesh/Sheets.h>

#include <span>
#include <vector>

namespace corvane::mesh {

/// The sheets of each region: those of its crossings, and those that come so near to its cell that
/// they may meet these in it, though they cross none of its edges. The rule must have a field.
std::vector<Sheets> sheetsOfRegions(std::span<const VertexRegion> regions,
                                    const CrossingRule &rule);

} // namespace corvane::mesh
