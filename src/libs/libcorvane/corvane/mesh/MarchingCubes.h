#pragma once

#include <corvane/mesh/ScalarField3D.h>
#include <corvane/mesh/Triangle.h>

#include <QList>

#include <atomic>

namespace corvane::mesh {

/// Appends the surface where `field` crosses `iso` (Lorensen and Cline 1987, the 256-case tables).
///
/// A value below `iso` is inside; normals point outside. Each crossing is computed from the two
/// nodes of its edge in one fixed order, so that all cells and all chunks that share the edge get
/// the same bits.
/// @param out     three fresh vertices a triangle; what has a cross product shorter than 1e-20 is
/// left out
/// @param cancel  read once a slice; when it turns true the rest of the grid is left out
/// @param rowEnds if given, gets the length of `out` after each row of cells: ny - 1 numbers a
/// slice A grid of fewer than two nodes on an axis gives nothing. A value that is no number reads
/// as outside. Pure and re-entrant: the chunk threads call it at the same time.
void marchingCubes(const ScalarField3D &field, QList<Triangle> &out, float iso = 0.0f,
                   const std::atomic_bool *cancel = nullptr, QList<int> *rowEnds = nullptr);

} // namespace corvane::mesh
