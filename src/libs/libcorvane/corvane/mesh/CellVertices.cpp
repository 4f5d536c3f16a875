#include "CellVertices.h"

#include <algorithm>

namespace corvane::mesh {

namespace {

// Two vertices of a cell that are nearer to each other than this share of it do not hold its sheets
// apart.
constexpr float togetherShare = 0.01f;

QVector3D clamped(const QVector3D &point, const QVector3D &low, const QVector3D &high)
{
    QVector3D result;
    for (int axis = 0; axis < 3; ++axis)
        result[axis] = std::clamp(point[axis], low[axis], high[axis]);
    return result;
}

} // namespace

CellVertices::CellVertices(const CellCycles &cycles, const QVector3D &low, const QVector3D &high,
                           float margin)
    : m_shape(cycles)
    , m_low(low + QVector3D(margin, margin, margin))
    , m_high(high - QVector3D(margin, margin, margin))
{}

void CellVertices::add(int edge, const HermiteSample &crossing)
{
    Cycle &cycle =
        m_cycles[static_cast<std::size_t>(m_shape.cycleOfEdge[static_cast<std::size_t>(edge)])];
    addSample(crossing, cycle.planes);
    for (int axis = 0; axis < 3; ++axis) {
        const float at = crossing.point[axis];
        cycle.low[axis] = cycle.count == 0 ? at : std::min(cycle.low[axis], at);
        cycle.high[axis] = cycle.count == 0 ? at : std::max(cycle.high[axis], at);
    }
    cycle.sum += crossing.point;
    ++cycle.count;
}

QVector3D CellVertices::minimum(const Cycle &cycle) const
{
    if (m_shape.count < 2)
        return cycle.planes.solve(m_low, m_high).position;
    return cycle.planes.solve(clamped(cycle.low, m_low, m_high), clamped(cycle.high, m_low, m_high))
        .position;
}

bool CellVertices::twoFallTogether() const
{
    const float nearest = togetherShare * (m_high.x() - m_low.x());
    for (int one = 0; one < m_shape.count; ++one) {
        for (int other = 0; other < one; ++other) {
            const QVector3D apart = minimum(m_cycles[static_cast<std::size_t>(one)]) -
                                    minimum(m_cycles[static_cast<std::size_t>(other)]);
            if (apart.length() < nearest)
                return true;
        }
    }
    return false;
}

QVector3D CellVertices::position(int cycle) const
{
    const Cycle &own = m_cycles[static_cast<std::size_t>(cycle)];
    if (twoFallTogether())
        return clamped(own.sum / static_cast<float>(own.count), m_low, m_high);
    return minimum(own);
}

} // namespace corvane::mesh
