#pragma once

#include <corvane/mesh/HermiteSample.h>

#include <QVector3D>

#include <array>
#include <span>
#include <vector>

namespace corvane::mesh {

/// Cuts rings of four vertices along diagonals, so that a-c comes first: what is left of each are
/// the triangles (a, b, c) and (a, c, d). A ring that names a vertex twice is a triangle. Where a
/// ring has sides that are parted (see CreaseSides), or no diagonal is good, several triangles take
/// its place, with vertices that are appended.
///
/// A triangle must have an area, and must not face against the field at its centre. Of the ways
/// that leave as few such triangles, the one is taken whose diagonals lie nearest to the surface:
/// along a crease, not across it. What becomes of one ring depends on nothing but its four
/// vertices. Without a field the rings stay as they are.
///
/// @param normals  of the surface at those vertices where it is known to be smooth, else zero (see
///                 VertexPlacer)
/// @param ends     numbers of rings, in rising order, which are brought up to date
void cutRings(std::vector<std::array<int, 4>> &rings, std::vector<QVector3D> &vertices,
              std::span<const QVector3D> normals, const CrossingRule &rule,
              std::span<std::size_t> ends = {});

} // namespace corvane::mesh
