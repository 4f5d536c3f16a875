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
/// cycle. One vertex for each cycle makes the dual surface manifold (Nielson 2004, "Dual marching
/// cubes"), where one vertex for each cell would pinch two sheets together.
struct CellCycles
{
    static constexpr int most = 4;

    int count = 0;
    std::array<std::int8_t, 12> cycleOfEdge{}; ///< -1 for an edge that is not crossed
    /// The face through which this cell's one cycle passes twice, or -1. Inside corners that lie
    /// across a face from each other count as separate, so that cycles of two cells agree on their
    /// common face.
    int tunnelFace = -1;
};

constexpr int cellEdge(int axis, int offsets)
{
    return 4 * axis + offsets;
}

/// @param insideMask  bit n is set when corner n is inside
const CellCycles &cellCycles(unsigned insideMask);
/// The cycles when the inside corners on the tunnel face count as connected.
const CellCycles &cellCyclesJoined(unsigned insideMask);

/// The mask of the cell whose lowest node is (i, j, k).
/// @param isInside  called as isInside(i, j, k), about nodes
template<class IsInside>
unsigned cellMask(int i, int j, int k, const IsInside &isInside)
{
    unsigned mask = 0;
    for (int corner = 0; corner < 8; ++corner) {
        if (isInside(i + (corner & 1), j + (corner >> 1 & 1), k + (corner >> 2)))
            mask |= 1u << corner;
    }
    return mask;
}

/// The cycles of a cell of a grid. Where the cycles of two neighbours both pass twice through their
/// common face, their two vertices would be joined by two edges at the same place; the face is then
/// decided the other way, by both of them (Wenger 2013, "Isosurfaces").
/// @param isInside  also asked about nodes of the cell beyond the tunnel face, which may lie
/// outside the
///                  grid
template<class IsInside>
const CellCycles &cyclesInGrid(int i, int j, int k, const IsInside &isInside)
{
    const unsigned mask = cellMask(i, j, k, isInside);
    const CellCycles &cycles = cellCycles(mask);
    if (cycles.tunnelFace < 0)
        return cycles;
    int beyond[3] = {i, j, k};
    beyond[cycles.tunnelFace / 2] += cycles.tunnelFace % 2 == 0 ? -1 : 1;
    const CellCycles &other = cellCycles(cellMask(beyond[0], beyond[1], beyond[2], isInside));
    return other.tunnelFace == (cycles.tunnelFace ^ 1) ? cellCyclesJoined(mask) : cycles;
}

} // namespace corvane::mesh
