#pragma once

#include <corvane/mesh/CellVertices.h>

#include <QVector3D>

#include <vector>

namespace corvane::mesh {

/// Places the vertices of dual contouring, many cells at a time.
///
/// A vertex lies where the sheets of its region meet: in a corner if there is one in the region's
/// box, else on a crease, else on the one sheet, next to the middle of its crossings. The field
/// decides what there is, and puts every vertex onto its surface. Without a field the minimum of
/// the error function of the crossings' planes is taken.
///
/// A vertex leaves its cell for a sharp edge, or the tip in which such edges end, that lies in
/// cells without a vertex for it, because the solid is thinner there than the grid (see
/// CreaseOwner).
///
/// The place of a vertex depends on nothing but its own cell: two chunks that both hold the cell
/// get the same bits.
class VertexPlacer
{
public:
    VertexPlacer() = default;
    explicit VertexPlacer(CrossingRule rule);

    /// Numbers the vertices of a cell, one after the other, and returns the number of the first.
    /// They are placed together with others, at the latest by finish().
    int add(const CellVertices &cell);
    void finish();

    /// Those that are placed.
    const std::vector<QVector3D> &vertices() const { return m_vertices; }
    /// For each of them the normal of the surface where its crossings show one smooth sheet and
    /// nothing else comes near, else zero.
    const std::vector<QVector3D> &normals() const { return m_normals; }
    /// Whether a vertex lies on an edge or a corner that the crossings of its cell do not show.
    const std::vector<bool> &isHidden() const { return m_isHidden; }

private:
    void placeOnField();
    void keepApart();
    std::vector<std::size_t> fallenTogether() const; ///< numbers in m_open

    CrossingRule m_rule;
    std::vector<VertexRegion> m_open;
    std::vector<std::size_t> m_openCells; ///< how many regions each has
    std::vector<QVector3D> m_vertices;
    std::vector<QVector3D> m_normals;
    std::vector<bool> m_isHidden;
};

} // namespace corvane::mesh
