#pragma once

#include <array>
#include <cstdint>

namespace corvane::mesh {

/// The corners of a cell, as offsets of its low corner. Bit n of a case is set when corner n is
/// inside.
///
///        7-----6
///       /|    /|      z
///      4-----5 |      | y
///      | 3---|-2      |/
///      |/    |/       +--x
///      0-----1
struct CellCorner
{
    int x, y, z;
};
inline constexpr std::array<CellCorner, 8> cellCorners{{
    {0, 0, 0},
    {1, 0, 0},
    {1, 1, 0},
    {0, 1, 0},
    {0, 0, 1},
    {1, 0, 1},
    {1, 1, 1},
    {0, 1, 1},
}};

/// An edge of a cell from its lower to its upper corner along `axis`. Always in that order: a
/// crossing that is computed from either end differs in the last bit.
struct CellEdge
{
    int low, high, axis;
};
inline constexpr std::array<CellEdge, 12> cellEdges{{
    {0, 1, 0},
    {1, 2, 1},
    {3, 2, 0},
    {0, 3, 1},
    {4, 5, 0},
    {5, 6, 1},
    {7, 6, 0},
    {4, 7, 1},
    {0, 4, 2},
    {1, 5, 2},
    {2, 6, 2},
    {3, 7, 2},
}};

/// The edges that the surface crosses, one bit each.
extern const std::array<std::uint16_t, 256> marchingCubesEdges;
/// The triangles of each case as edge numbers, three a triangle, ended by -1. As published: their
/// normals point to the corners whose bit is set.
extern const std::int8_t marchingCubesTriangles[256][16];

} // namespace corvane::mesh
