#pragma once

#include <corvane/xport/ExportRequest.h>

#include <array>

namespace corvane::xport {

/// The grid of a request: found once, and the same for all who sample, seal and mesh.
struct ExportGrid
{
    static constexpr qint64 maxNodesPerAxis = 2147483646; ///< 2^31 - 2

    QVector3D origin{};
    float cellSize = 0.1f;
    std::array<int, 3> nodes{}; ///< max(ceil((max - min) / cellSize) + 1, 2), within the limit

    static ExportGrid of(const ExportRequest &request);
    /// The counts as real numbers: they may be beyond what an integer holds.
    static std::array<double, 3> wantedNodes(const ExportRequest &request);

    int cells(int axis) const { return nodes[std::size_t(axis)] - 1; }
    int mostCells() const;
    float coordinate(int axis, qint64 index) const;
    /// That of the last node, on the upper side of the box or a little beyond.
    float last(int axis) const { return coordinate(axis, cells(axis)); }
};

} // namespace corvane::xport
