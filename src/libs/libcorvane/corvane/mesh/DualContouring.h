#pragma once

#include <corvane/mesh/HermiteSample.h>
#include <corvane/mesh/ScalarField3D.h>
#include <corvane/mesh/Triangle.h>

#include <QHash>
#include <QList>

#include <atomic>
#include <vector>

namespace corvane::mesh {

/// Appends a quad as the triangles (a, b, c) and (a, c, d), the other way round with `flip`. What
/// has a cross product shorter than 1e-20 is left out.
void emitQuad(QList<Triangle> &out, const QVector3D &a, const QVector3D &b, const QVector3D &c,
              const QVector3D &d, bool flip);

/// Dual contouring of a uniform grid (Ju et al. 2002): one vertex for each cell that the surface
/// crosses, placed by the tangent planes of its crossings, so that edges and corners stay sharp.
///
/// Crossings and vertices are computed from global grid coordinates: two chunks that both hold a
/// cell get the same bits. One instance serves one call of extract() on one thread; the field's
/// values are borrowed.
class DcState
{
public:
    DcState(const ScalarField3D &field, FieldFunction distance, GradientFunction gradient,
            float iso = 0.0f);

    /// Appends one quad for each crossing edge that begins at a node from `firstNode` up to the
    /// last but one on every axis. A chunk with a padding of one cell on its low sides passes 1:
    /// then each grid edge belongs to exactly one chunk.
    /// @param cancel  read once a slice; when it turns true the rest is left out
    void extract(int firstNode, QList<Triangle> &out, const std::atomic_bool *cancel = nullptr);

    /// The number of the cell's vertex, which is made when first asked for.
    int vertexForCell(int i, int j, int k);
    /// Whether the edge from a node to the next along `axis` changes sign; d0 and d1 are then its
    /// values.
    bool edgeCrosses(int axis, int i, int j, int k, float &d0, float &d1) const;

private:
    const HermiteSample &sampleOf(int axis, int i, int j, int k, float d0, float d1);
    void addCellEdges(int axis, int i, int j, int k, QefSolver &solver);
    void emitEdge(int axis, const int (&node)[3], bool startsInside, QList<Triangle> &out);
    QVector3D nodePosition(int i, int j, int k) const;

    ScalarField3D m_field;
    FieldFunction m_distance;
    GradientFunction m_gradient;
    float m_iso;
    QHash<quint64, HermiteSample>
        m_samples; ///< by edge: the axis in the top four bits, then i, j, k in 16 each
    std::vector<int> m_cellVertex; ///< -1 where there is none yet
    QList<QVector3D> m_vertices;
};

} // namespace corvane::mesh
