#pragma once

#include <corvane/bench/MeshMetrics.h>

namespace corvane::bench {

/// The largest 95th percentile of the vertices' distance that passes the gate, in cells. A vertex
/// farther off is nearer to the next node of the grid than to where it belongs.
inline constexpr double gateSurfaceCells = 0.5;

/// Whether a mesh is fit to ship at all: it has triangles, is closed, manifold and orientable, has
/// no boundary edge, and surface_p95 is below half a cell. What was not measured does not pass.
bool passesGate(const MeshMetrics &metrics);

/// How good a mesh is, from 0 to 100; 100 is a mesh without any error.
///
///     s = surface_p95 / cell    f = feature_p95 / cell    n = normal_p95_deg / 15
///
///     score = 100 / (1 + 2 s + 2 f + n)     halved for a mesh that does not pass the gate
///
/// So it falls with each of the three and is the same for a scene twice as large on a grid twice as
/// coarse. Half a cell off, on the surface or at its edges, costs as much as normals that are 15
/// degrees off: with 20 cells on a quarter of a circle a faceted surface has 2 degrees. A mesh
/// without sharp edges has f = 0. A mesh whose surface could not be measured, or has no cell size,
/// scores 0.
double score(const MeshMetrics &metrics);

} // namespace corvane::bench
