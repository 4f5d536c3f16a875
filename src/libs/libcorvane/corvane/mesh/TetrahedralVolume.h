#pragma once

#include <corvane/mesh/ScalarField3D.h>
#include <corvane/mesh/Tetrahedron.h>

#include <QList>

#include <atomic>

namespace corvane::mesh {

/// Appends tetrahedra that fill the inside of a sampled field, clipped to its surface.
///
/// A value at or below 0 is inside. Cells split into five tetrahedra by the parity of their place,
/// so that neighbours agree on their common face; a clipped tetrahedron is split by the order of
/// its vertices in the whole grid, so that the pieces of neighbours agree too: there is no crack
/// and no overlap.
/// @param cancel  read once a slice; when it turns true the rest is left out
void tetrahedralVolume(const ScalarField3D &field, QList<Tetrahedron> &out,
                       const std::atomic_bool *cancel = nullptr);

/// The part of it that lies in the row of cells (0, j, k) to (nx - 2, j, k). Rows may be taken in
/// any order and on any thread.
void tetrahedraInRow(const ScalarField3D &field, int j, int k, QList<Tetrahedron> &out);

/// How many cells between the slices of nodes k and k + 1 have a corner inside.
qint64 cellsWithInside(const ScalarField3D &field, int k);

} // namespace corvane::mesh
