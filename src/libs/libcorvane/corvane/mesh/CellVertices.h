#pragma once

#include <corvane/mesh/CellCycles.h>
#include <corvane/mesh/HermiteSample.h>
#include <corvane/mesh/QefSolver.h>

namespace corvane::mesh {

/// Places the vertices of one cell: one for each cycle of its crossed edges.
///
/// A vertex stays a little inside its cell, so that vertices of two cells never fall together: such
/// a pair would be welded into a pinch. In a cell of several cycles each vertex stays within the
/// box of its own crossings, so that the sheets keep apart.
class CellVertices
{
public:
    /// @param low, high  the corners of the cell, scene units
    /// @param margin     how far vertices keep from the faces, scene units
    CellVertices(const CellCycles &cycles, const QVector3D &low, const QVector3D &high,
                 float margin);

    /// Adds the crossing of an edge that the cycles hold.
    void add(int edge, const HermiteSample &crossing);

    /// After the last add().
    QVector3D position(int cycle) const;
    /// The planes of the first cycle: of the whole cell when that is the only one.
    const QefSolver &planes() const { return m_cycles[0].planes; }

private:
    struct Cycle
    {
        QefSolver planes;
        QVector3D low, high; ///< the box of the crossings
        QVector3D sum;
        int count = 0;
    };

    QVector3D minimum(const Cycle &cycle) const;
    bool twoFallTogether() const;

    const CellCycles &m_shape;
    QVector3D m_low;
    QVector3D m_high;
    std::array<Cycle, CellCycles::most> m_cycles;
};

} // namespace corvane::mesh
