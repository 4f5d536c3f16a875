#include "CellVertices.h"

#include <algorithm>

namespace corvane::mesh {

namespace {

// How far one of several sheets may bulge out of the box of its crossings, as a share of the cell.
constexpr float bulgeShare = 0.2f;

} // namespace

CellVertices::CellVertices(const CellCycles &cycles, const GridCell &cell, float margin)
    : m_shape(cycles)
    , m_cell(cell)
    , m_low(cell.corner(0) + QVector3D(margin, margin, margin))
    , m_high(cell.corner(7) - QVector3D(margin, margin, margin))
{}

void CellVertices::add(int edge, const HermiteSample &crossing)
{
    VertexRegion &cycle =
        m_cycles[static_cast<std::size_t>(m_shape.cycleOfEdge[static_cast<std::size_t>(edge)])];
    for (int axis = 0; axis < 3; ++axis) {
        const float at = crossing.point[axis];
        cycle.low[axis] = cycle.count == 0 ? at : std::min(cycle.low[axis], at);
        cycle.high[axis] = cycle.count == 0 ? at : std::max(cycle.high[axis], at);
    }
    cycle.crossings[static_cast<std::size_t>(cycle.count++)] = crossing;
}

VertexRegion CellVertices::region(int cycle) const
{
    VertexRegion region = m_cycles[static_cast<std::size_t>(cycle)];
    const VertexRegion whole{m_cell, m_low, m_high};
    const float bulge = bulgeShare * m_cell.size;
    const QVector3D grown{bulge, bulge, bulge};
    region.cell = m_cell;
    region.values = m_values;
    region.low = m_shape.count < 2 ? m_low : whole.clamped(region.low - grown);
    region.high = m_shape.count < 2 ? m_high : whole.clamped(region.high + grown);
    return region;
}

QefSolver CellVertices::planes() const
{
    QefSolver solver;
    for (const HermiteSample &crossing : m_cycles[0].samples())
        addSample(crossing, solver);
    return solver;
}

} // namespace corvane::mesh
