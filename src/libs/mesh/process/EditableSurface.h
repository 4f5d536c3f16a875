#pragma once

#include <mesh/process/FeatureAnalysis.h>

#include <vector>

namespace mesh::process {

/// The triangles of a surface while edges collapse, split and flip.
///
/// A corner is 3 * face + place; the corners at a vertex are linked into a ring, so that merging
/// two vertices joins two rings. A face knows of each of its edges whether it is a feature: the
/// edge of a corner is the one that leads from it to the next corner.
///
///          o = prev(c)
///         / \             The number of faces at an edge is not limited to two: it is found by
///        /   \            looking through the ring of the vertex with fewer faces.
///       a --> b
///       c     next(c)
///
/// Positions are wide, but hold values of T only: what is checked is what will be written.
/// Triangles that name a vertex twice are left out. About 90 bytes a triangle.
template<typename T>
class EditableSurface
{
public:
    using Position = Vector3<double>;

    /// A vertex with more faces than this is no end of a collapse: looking at a hub of a million
    /// for each of its spokes would take its square.
    static constexpr int maxDegree = 100;

    /// The corners whose edge joins two given vertices, in either direction.
    struct EdgeCorners
    {
        int count = 0; ///< all of them, the first two of which are known
        int corner[2] = {-1, -1};
    };

    /// Which end of an edge a collapse keeps.
    struct Collapse
    {
        bool isAllowed = false;
        bool isPinned = false; ///< the kept end stays where it is
        int keep = -1, gone = -1;
    };

    /// The mesh is of triangles; the features are its own.
    EditableSurface(const Mesh<T> &mesh, const FeatureAnalysis<T> &features);

    static int next(int corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }
    static int prev(int corner) { return corner % 3 == 0 ? corner + 2 : corner - 1; }

    int vertexCount() const { return int(m_position.size()); }
    int faceSlots() const { return int(m_vertex.size() / 3); } ///< of which some may be gone
    int faceCount() const { return m_liveFaces; }
    bool isLive(int face) const { return m_vertex[size_t(face) * 3] >= 0; }
    int vertex(int corner) const { return m_vertex[size_t(corner)]; }
    bool isFeature(int corner) const { return m_isFeature[size_t(corner)] != 0; }
    int degree(int v) const { return m_degree[size_t(v)]; } ///< faces around a vertex
    bool isBorder(int v) const { return m_isBorder[size_t(v)] != 0; }
    VertexClass vertexClass(int v) const { return m_class[size_t(v)]; }
    const Position &position(int v) const { return m_position[size_t(v)]; }
    Position rounded(const Position &p) const;

    template<typename Visit>
    void forEachCorner(int v, const Visit &visit) const
    {
        const int first = m_corner[size_t(v)];
        for (int c = first; c >= 0;) {
            visit(c);
            c = m_nextCorner[size_t(c)];
            if (c == first)
                break;
        }
    }

    EdgeCorners edgeCorners(int a, int b) const;
    bool hasEdge(int a, int b) const { return edgeCorners(a, b).count > 0; }

    /// What the classes of the ends allow: corners stay; two vertices that are not smooth join
    /// along a feature edge only; a smooth one goes to one that is not.
    Collapse planCollapse(int a, int b) const;
    /// Whether a collapse of the edge leaves the surface the same up to bending: the link
    /// condition, and that no border closes up and no two creases become one.
    bool keepsTopology(int a, int b) const;
    /// Whether no face around the ends turns over or becomes a sliver when they meet at a point.
    bool keepsShape(int a, int b, const Position &target) const;
    void collapse(int keep, int gone, const Position &target);

    /// Puts a vertex in the middle of the edge of a corner and answers it; -1, with nothing done,
    /// where the middle is one of its ends.
    int split(int corner);

    /// Turns the edge of a corner, which must have two faces, to join the vertices opposite to it.
    void flip(int corner);

    /// The surface as a mesh: live faces and the vertices they use, in order. What is not geometry
    /// comes from `source`, the mesh that this was made of.
    Mesh<T> toMesh(const Mesh<T> &source) const;
    /// For each vertex of toMesh() the one it was here.
    std::vector<int> usedVertices() const;

private:
    void link(int corner, int v);
    void unlink(int corner);
    void setVertex(int corner, int v)
    {
        unlink(corner);
        link(corner, v);
    }
    std::vector<int> allEdgeCorners(int a, int b) const;
    int addVertexBetween(int a, int b);
    int addFace(int a, int b, int c, int origin);
    void removeFace(int face);
    void markEdge(int a, int b);
    int commonNeighbours(int a, int b) const;
    bool keepsShapeAt(int v, int other, const Position &target) const;

    std::vector<Position> m_position;
    std::vector<VertexClass> m_class;
    std::vector<char> m_isBorder;
    std::vector<int> m_corner; ///< by vertex: one of its corners; -1 for none
    std::vector<int> m_degree;
    std::vector<int> m_vertex; ///< by corner; -1 when its face is gone
    std::vector<int> m_nextCorner, m_prevCorner;
    std::vector<char> m_isFeature; ///< by corner
    std::vector<int> m_origin;     ///< by face: the element it came from
    int m_liveFaces = 0;
    typename Mesh<T>::Attributes m_attributes; ///< by vertex, as in the mesh
    mutable std::vector<quint32> m_mark;       ///< by vertex, for counting neighbours once
    mutable quint32 m_lastMark = 0;
};

extern template class EditableSurface<float>;

} // namespace mesh::process
