#include <corvane/xport/ExportGrid.h>

#include <corvane/mesh/ScalarField3D.h>

#include <algorithm>
#include <cmath>

namespace corvane::xport {

std::array<double, 3> ExportGrid::wantedNodes(const ExportRequest &request)
{
    std::array<double, 3> counts{};
    for (int axis = 0; axis < 3; ++axis) {
        // In single precision, as the request is: 10 / 0.1f is 100 there, and a little less in
        // double.
        const float cells = (request.boundsMax[axis] - request.boundsMin[axis]) / request.cellSize;
        counts[std::size_t(axis)] = std::max(std::ceil(static_cast<double>(cells)) + 1.0, 2.0);
    }
    return counts;
}

ExportGrid ExportGrid::of(const ExportRequest &request)
{
    ExportGrid grid{.origin = request.boundsMin, .cellSize = request.cellSize};
    std::ranges::transform(wantedNodes(request), grid.nodes.begin(), [](double count) {
        return static_cast<int>(std::min(count, static_cast<double>(maxNodesPerAxis)));
    });
    return grid;
}

int ExportGrid::mostCells() const
{
    return *std::ranges::max_element(nodes) - 1;
}

float ExportGrid::coordinate(int axis, qint64 index) const
{
    return mesh::nodeCoordinate(origin[axis], cellSize, index);
}

} // namespace corvane::xport
