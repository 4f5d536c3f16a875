#pragma once

#include <array>
#include <cstdint>

namespace corvane::mesh {

/// How the surface runs through one cell of a grid: the crossed edges of the cell, in closed
/// cycles.
///
/// Corner n of a cell lies at the upper end of X, Y, Z for bits 0, 1, 2 of n. Edge 4 * axis + b
/// runs along an axis, at the upper end of the next axis for bit 0 of b and of the one after for
/// bit 1. Face 2 * axis + s is the lower one for s = 0, the upper one for s = 1.
///
/// A cell whose inside corners are connected along its edges, and its outside corners too, has one
/// cycle; what others have depends on their ambiguous faces (see GridCycles). One vertex for each
/// cycle makes the dual surface manifold (Nielson 2004, "Dual marching cubes"), where one vertex
/// for each cell would pinch two sheets together.
struct CellCycles
{
    static constexpr int most = 4;

    int count = 0;
    std::array<std::int8_t, 12> cycleOfEdge{}; ///< -1 for an edge that is not crossed
    unsigned doubledFaces = 0; ///< a bit for each face through which one cycle passes twice
};

constexpr int cellEdge(int axis, int offsets)
{
    return 4 * axis + offsets;
}

/// A bit for each face whose inside corners are two that lie across from each other: two lines of
/// the surface cross it, around these corners or around the others.
/// @param insideMask  bit n is set when corner n is inside
unsigned ambiguousFaces(unsigned insideMask);

/// @param joinedFaces  a bit for each ambiguous face on which the inside corners are connected, so
///                     that the lines run around the outside ones
const CellCycles &cellCycles(unsigned insideMask, unsigned joinedFaces = 0);

} // namespace corvane::mesh
