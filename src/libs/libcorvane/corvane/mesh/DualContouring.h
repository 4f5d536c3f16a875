#pragma once

#include <corvane/mesh/CrossingTable.h>
#include <corvane/mesh/HermiteSample.h>
#include <corvane/mesh/ScalarField3D.h>
#include <corvane/mesh/Triangle.h>
#include <corvane/mesh/VertexPlacer.h>

#include <QList>

#include <array>
#include <atomic>
#include <vector>

namespace corvane::mesh {

/// Dual contouring of a uniform grid (Ju et al. 2002): one vertex for each cell that the surface
/// crosses, placed where the sheets of the surface meet, so that edges and corners stay sharp (see
/// VertexPlacer). A cell that several sheets cross has a vertex for each (see CellCycles), so that
/// the surface is manifold. Vertices keep the field's crossing margin from the faces of their
/// cells.
///
/// Crossings and vertices are computed from global grid coordinates: two chunks that both hold a
/// cell get the same bits. One instance serves one call of extract() on one thread; the field's
/// values are borrowed.
class DcState
{
public:
    /// @param distance  places crossings exactly, and is asked about nodes beyond the array where
    /// two
    ///                  sheets meet at its end; must have the signs that the array has. May be
    ///                  empty.
    DcState(const ScalarField3D &field, FieldFunction distance, GradientFunction gradient,
            float iso = 0.0f);

    /// Appends one quad for each crossing edge that begins at a node from `firstNode` up to the
    /// last but one on every axis. A chunk with a padding of one cell on its low sides passes 1:
    /// then each grid edge belongs to exactly one chunk.
    /// @param cancel   read once a slice; when it turns true the rest is left out
    /// @param rowEnds  if given, gets the length of `out` after each row of nodes
    void extract(int firstNode, QList<Triangle> &out, const std::atomic_bool *cancel = nullptr,
                 QList<int> *rowEnds = nullptr);

    /// The number of the cell's vertex, which is made when first asked for. A cell of several
    /// cycles has as many vertices, one after the other.
    int vertexForCell(int i, int j, int k);
    /// Whether the edge from a node to the next along `axis` changes sign; d0 and d1 are then its
    /// values.
    bool edgeCrosses(int axis, int i, int j, int k, float &d0, float &d1) const;

private:
    /// A crossed edge by the node of its row that it begins at.
    struct RowEdge
    {
        int i = 0;
        int axis = 0;
    };

    bool findCrossings(const std::atomic_bool *cancel);
    void findRowCrossings(int j, int k);
    void addCrossing(int axis, int i, int j, int k);
    const HermiteSample &sampleOf(int axis, int i, int j, int k);
    void addRowQuads(int firstNode, int j, int k);
    void addQuad(int axis, const int (&node)[3], bool startsInside);
    bool isInside(int i, int j, int k) const;
    bool isFieldInside(const QVector3D &point) const;
    const CellCycles &cyclesOf(int i, int j, int k) const;
    QVector3D nodePosition(int i, int j, int k) const;

    ScalarField3D m_field;
    CrossingRule m_rule;
    std::vector<quint8> m_inside;   ///< by node: 1 or 0
    std::vector<RowEdge> m_edges;   ///< row after row
    std::vector<size_t> m_rowEdges; ///< where in m_edges each row of nodes begins; and the end
    CrossingTable m_samples; ///< by edge: the axis in the top four bits, then i, j, k in 16 each
    std::vector<int> m_cellVertex; ///< the first one of each cell; -1 where there is none yet
    VertexPlacer m_placer;
    std::vector<std::array<int, 4>> m_quads; ///< vertices in a ring, normals out
};

} // namespace corvane::mesh
