#pragma once

#include <corvane/mesh/HermiteSample.h>

#include <QVector3D>

#include <array>
#include <cstddef>
#include <span>
#include <vector>

namespace corvane::mesh {

/// The numbers of the rings, in rising order, that lie folded: along either diagonal one of their
/// triangles faces against the field at its centre. A ring that names a vertex twice is a triangle.
/// Costs a gradient for each ring, and four more for those that are not plainly well.
std::vector<std::size_t> foldedRings(std::span<const std::array<int, 4>> rings,
                                     std::span<const QVector3D> vertices, const CrossingRule &rule);

} // namespace corvane::mesh
