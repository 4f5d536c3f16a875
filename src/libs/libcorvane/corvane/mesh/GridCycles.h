// On an ambiguous face the signs of the corners leave open which of them are connected. The field
// at the middle of the face tells; where it is not heard, the inside corners count as separate, and
// a ridge along the diagonals of cells falls apart.
//
// The surface stays manifold unless the cycles of two neighbours both pass twice through their
// common face: their two vertices would be joined by two edges at the same place. A face decided
// the other way parts a cycle that passes twice through it (Wenger 2013, "Isosurfaces"). But one
// that is decided the other way may also join cycles, and make another face of the cell pinched. So
// the field is heard only where nothing else can change what was found: at a face that is the only
// ambiguous one of both its cells, and in a cell of several that has no doubled face then, if each
// of its neighbours across them has no other. Everywhere else inside corners are separate: then no
// cell has two doubled faces.

#pragma once

#include <corvane/mesh/CellCycles.h>

#include <array>
#include <bit>

namespace corvane::mesh {

/// A face of a grid's cells, by its lowest and its highest node.
struct GridFace
{
    std::array<int, 3> low{}, high{};
};

/// The cycles of the cells of one grid. Cells on both sides of a face agree on it, whatever part of
/// the grid is at hand.
template<class IsInside, class IsMiddleInside>
class GridCycles
{
public:
    using Cell = std::array<int, 3>; ///< its lowest node

    /// @param isInside        called as isInside(i, j, k), about nodes up to two cells beyond the
    ///                        one in question, which may lie outside the grid
    /// @param isMiddleInside  called as isMiddleInside(face), about the field in the middle
    GridCycles(const IsInside &isInside, const IsMiddleInside &isMiddleInside)
        : m_isInside(isInside)
        , m_isMiddleInside(isMiddleInside)
    {}

    const CellCycles &of(const Cell &cell) const
    {
        const unsigned mask = maskOf(cell);
        const unsigned faces = ambiguousFaces(mask);
        unsigned joined = 0;
        for (unsigned left = faces; left != 0; left &= left - 1)
            joined |= isJoined(cell, mask, std::countr_zero(left)) ? left & -left : 0;
        return cellCycles(mask, joined);
    }

private:
    unsigned maskOf(const Cell &cell) const
    {
        unsigned mask = 0;
        for (int corner = 0; corner < 8; ++corner) {
            if (m_isInside(cell[0] + (corner & 1), cell[1] + (corner >> 1 & 1),
                           cell[2] + (corner >> 2)))
                mask |= 1u << corner;
        }
        return mask;
    }

    static Cell beyond(Cell cell, int face)
    {
        cell[static_cast<std::size_t>(face / 2)] += face % 2 == 0 ? -1 : 1;
        return cell;
    }

    bool isMiddleInside(const Cell &cell, int face) const
    {
        const auto axis = static_cast<std::size_t>(face / 2);
        GridFace result{cell, {cell[0] + 1, cell[1] + 1, cell[2] + 1}};
        result.low[axis] = result.high[axis] = cell[axis] + face % 2;
        return m_isMiddleInside(result);
    }

    bool isJoined(const Cell &cell, unsigned mask, int face) const
    {
        const Cell other = beyond(cell, face);
        const unsigned otherMask = maskOf(other);
        const bool isOnly = std::has_single_bit(ambiguousFaces(mask));
        const bool isOthersOnly = std::has_single_bit(ambiguousFaces(otherMask));
        const auto isPinched = [&](unsigned joined, unsigned otherJoined) {
            return (cellCycles(mask, joined).doubledFaces >> face & 1) != 0 &&
                   (cellCycles(otherMask, otherJoined).doubledFaces >> (face ^ 1) & 1) != 0;
        };
        const bool isHeard = isOnly ? isOthersOnly || isSettled(other, otherMask)
                                    : isOthersOnly && isSettled(cell, mask);
        if (!isHeard)
            return isPinched(0, 0);
        const bool isInside = isMiddleInside(cell, face);
        if (!isOnly || !isOthersOnly)
            return isInside;
        return isInside != isPinched(isInside ? 1u << face : 0, isInside ? 1u << (face ^ 1) : 0);
    }

    // Whether a cell with several ambiguous faces may have the field decide them all.
    bool isSettled(const Cell &cell, unsigned mask) const
    {
        const unsigned faces = ambiguousFaces(mask);
        unsigned joined = 0;
        for (unsigned left = faces; left != 0; left &= left - 1) {
            const int face = std::countr_zero(left);
            if (!std::has_single_bit(ambiguousFaces(maskOf(beyond(cell, face)))))
                return false;
            joined |= isMiddleInside(cell, face) ? 1u << face : 0;
        }
        return cellCycles(mask, joined).doubledFaces == 0;
    }

    const IsInside &m_isInside;
    const IsMiddleInside &m_isMiddleInside;
};

} // namespace corvane::mesh
