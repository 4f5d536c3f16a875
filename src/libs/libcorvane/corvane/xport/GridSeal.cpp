#include <corvane/xport/GridSeal.h>

#include <corvane/xport/ExportGrid.h>

#include <cmath>

namespace corvane::xport {

GridSeal::GridSeal(const ExportRequest &request)
    : m_closed(request.sealed)
    , m_outside(request.cellSize)
{
    const ExportGrid grid = ExportGrid::of(request);
    for (int axis = 0; axis < 3; ++axis) {
        m_last[static_cast<std::size_t>(axis)] = grid.cells(axis);
        const float low = request.boundsMin[axis];
        const float high = grid.last(axis);
        m_centre[axis] = (low + high) * 0.5f;
        m_half[axis] = (high - low) * 0.5f - request.cellSize * 0.5f;
    }
}

bool GridSeal::isEnd(int axis, qint64 index) const
{
    return index <= 0 || index >= m_last[static_cast<std::size_t>(axis)];
}

void GridSeal::raiseRow(std::span<float> row, qint64 firstX, qint64 y, qint64 z) const
{
    if (!m_closed)
        return;
    const bool whole = isEnd(1, y) || isEnd(2, z);
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (whole || isEnd(0, firstX + static_cast<qint64>(i)))
            row[i] = std::max(row[i], m_outside);
    }
}

// By the largest coordinate, not by length: its faces are all that matters, and its gradient jumps
// at their edges, which makes them sharp.
float GridSeal::boxDistance(const QVector3D &point, int &axis) const
{
    float largest = -eval::farDistance;
    for (int a = 0; a < 3; ++a) {
        const float d = std::fabs(point[a] - m_centre[a]) - m_half[a];
        if (d > largest) {
            largest = d;
            axis = a;
        }
    }
    return largest;
}

float GridSeal::distance(const QVector3D &point, float own) const
{
    int axis = 0;
    return m_closed ? std::max(own, boxDistance(point, axis)) : own;
}

QVector3D GridSeal::gradient(const QVector3D &point, const eval::DistanceGradient &own) const
{
    int axis = 0;
    if (!m_closed || boxDistance(point, axis) < own.distance)
        return {own.gradientX, own.gradientY, own.gradientZ};
    QVector3D normal;
    normal[axis] = point[axis] < m_centre[axis] ? -1.0f : 1.0f;
    return normal;
}

} // namespace corvane::xport
