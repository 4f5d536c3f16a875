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

} // namespace corvane::mesh
