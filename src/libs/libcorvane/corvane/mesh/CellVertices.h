#pragma once

#include <corvane/mesh/CellCycles.h>
#include <corvane/mesh/QefSolver.h>
#include <corvane/mesh/VertexRegion.h>

#include <algorithm>

namespace corvane::mesh {

/// Gathers what the vertices of one cell are placed by: one for each cycle of its crossed edges.
///
/// A vertex stays a little inside its cell, so that vertices of two cells never fall together: such
/// a pair would be welded into a pinch. (VertexPlacer says when one may leave it.) In a cell of
/// several cycles each vertex stays next to the box of its own crossings, so that the sheets keep
/// apart.
class CellVertices
{
public:
    /// @param margin  how far vertices keep from the faces, scene units
    CellVertices(const CellCycles &cycles, const GridCell &cell, float margin);

    /// Adds the crossing of an edge that the cycles hold.
    void add(int edge, const HermiteSample &crossing);

    /// The field at the corners, for who has it at hand.
    void setCornerValues(const std::array<float, 8> &values) { m_values = values; }

    /// After the last add(). One region for each cycle; a cell that the surface does not cross has
    /// one, without crossings.
    int count() const { return std::max(m_shape.count, 1); }
    VertexRegion region(int cycle) const;
    /// The planes of the first cycle: of the whole cell when that is the only one.
    QefSolver planes() const;

private:
    const CellCycles &m_shape;
    GridCell m_cell;
    QVector3D m_low;
    QVector3D m_high;
    std::optional<std::array<float, 8>> m_values;
    std::array<VertexRegion, CellCycles::most> m_cycles; ///< with the boxes of their crossings
};

} // namespace corvane::mesh
