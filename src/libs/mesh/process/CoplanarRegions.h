#pragma once

#include <mesh/process/FeatureAnalysis.h>
#include <mesh/process/StepProgress.h>

#include <vector>

namespace mesh::process {

/// The flat parts of a surface, and where they border on each other.
///
/// A corner is 3 * face + place and stands for the edge from it to the next corner of its face.
template<typename T>
class CoplanarRegions
{
public:
    static constexpr int none = -1;

    /// Each face joins the region of a neighbour when its normal leans at most an angle against
    /// that of the region's first face, across edges that are no features, within one material. A
    /// degenerate face joins any neighbour.
    /// The mesh, of triangles, and its features are borrowed.
    CoplanarRegions(const Mesh<T> &mesh, const FeatureAnalysis<T> &features,
                    double angleToleranceDegrees, StepProgress &watch);

    int count() const { return int(m_faces.size()); }
    int regionOf(int face) const { return m_region.at(face); }
    std::span<const int> faces(int region) const { return m_faces[region]; } ///< ascending
    Vector3<double> normal(int region) const; ///< unit, of all its faces by area

    int node(int corner) const { return m_mesh.elements.at(corner / 3).nodes[corner % 3]; }
    static int next(int corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }
    int edgeOf(int corner) const { return m_edgeOfCorner.at(corner); } ///< -1 for no edge

    /// Whether an edge has anything else than two faces of one region.
    bool isBorder(int edge) const { return interiorRegion(edge) == none; }
    /// The region that an edge lies within; none on a border.
    int interiorRegion(int edge) const;
    /// The border of a region as loops of vertices, the region to the left of each.
    std::vector<std::vector<int>> loops(int region) const;

private:
    void flood(int seed, int region, T cosine);
    bool joins(int edge, int from, int to, const Vector3<T> &seedNormal, T cosine) const;
    int twin(int corner) const;

    const Mesh<T> &m_mesh;
    const FeatureAnalysis<T> &m_features;
    QList<int> m_edgeOfCorner;
    QList<int> m_region; ///< by face
    AdjacencyList m_faces;
    std::vector<int> m_stack;
};

extern template class CoplanarRegions<float>;

} // namespace mesh::process
