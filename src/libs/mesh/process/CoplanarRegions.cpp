#include "CoplanarRegions.h"

#include <numbers>

namespace mesh::process {

template<typename T>
CoplanarRegions<T>::CoplanarRegions(const Mesh<T> &mesh, const FeatureAnalysis<T> &features,
                                    double angleToleranceDegrees, StepProgress &watch)
    : m_mesh(mesh)
    , m_features(features)
    , m_region(mesh.elements.size(), none)
{
    const int faceCount = int(mesh.elements.size());
    m_edgeOfCorner.reserve(qsizetype(faceCount) * 3);
    for (int corner = 0; corner < faceCount * 3 && watch.advance(); ++corner)
        m_edgeOfCorner.append(features.edges.find(node(corner), node(next(corner))));
    if (watch.isCancelled())
        return;
    const T cosine = T(std::cos(angleToleranceDegrees * std::numbers::pi / 180));
    int regions = 0;
    for (int face = 0; face < faceCount; ++face)
        if (m_region.at(face) == none && features.faceNormals.at(face) != Vector3<T>{})
            flood(face, regions++, cosine);
    // Degenerate faces with no flat neighbour.
    for (int &region : m_region)
        if (region == none)
            region = regions++;
    QList<int> counts(regions, 0);
    for (const int region : std::as_const(m_region))
        ++counts[region];
    m_faces = AdjacencyList(counts);
    for (int face = 0; face < faceCount; ++face)
        m_faces.append(m_region.at(face), face);
}

template<typename T>
bool CoplanarRegions<T>::joins(int edge, int from, int to, const Vector3<T> &seedNormal,
                               T cosine) const
{
    const auto &normals = m_features.faceNormals;
    if (m_region.at(to) != none ||
        m_mesh.elements.at(from).materialId != m_mesh.elements.at(to).materialId)
        return false;
    if (normals.at(to) == Vector3<T>{})
        return true;
    // What has no normal makes all its edges features: no sharp ones.
    const bool isSharp = m_features.featureEdges.at(edge) && normals.at(from) != Vector3<T>{};
    return !isSharp && normals.at(to).dot(seedNormal) >= cosine;
}

template<typename T>
void CoplanarRegions<T>::flood(int seed, int region, T cosine)
{
    const Vector3<T> seedNormal = m_features.faceNormals.at(seed);
    m_region[seed] = region;
    m_stack.assign(1, seed);
    while (!m_stack.empty()) {
        const int face = m_stack.back();
        m_stack.pop_back();
        for (int corner = face * 3; corner < face * 3 + 3; ++corner) {
            const int other = twin(corner);
            if (other >= 0 && joins(edgeOf(corner), face, other / 3, seedNormal, cosine)) {
                m_region[other / 3] = region;
                m_stack.push_back(other / 3);
            }
        }
    }
}

// The corner of the one other face at the same edge that runs the other way; -1 for none.
template<typename T>
int CoplanarRegions<T>::twin(int corner) const
{
    const int edge = edgeOf(corner);
    if (edge < 0 || m_features.edges.faces(edge).size() != 2)
        return -1;
    const auto faces = m_features.edges.faces(edge);
    const int face = faces[0] == corner / 3 ? faces[1] : faces[0];
    for (int other = face * 3; face != corner / 3 && other < face * 3 + 3; ++other)
        if (edgeOf(other) == edge)
            return node(other) == node(next(corner)) ? other : -1;
    return -1;
}

template<typename T>
int CoplanarRegions<T>::interiorRegion(int edge) const
{
    const auto faces = m_features.edges.faces(edge);
    const bool isInterior = faces.size() == 2 && m_region.at(faces[0]) == m_region.at(faces[1]);
    return isInterior ? m_region.at(faces[0]) : none;
}

template<typename T>
Vector3<double> CoplanarRegions<T>::normal(int region) const
{
    Vector3<double> sum;
    for (const int face : faces(region)) {
        Vector3<double> p[3];
        for (int i = 0; i < 3; ++i) {
            const Vector3<T> &v = m_mesh.vertices.at(node(face * 3 + i));
            p[i] = {double(v.x), double(v.y), double(v.z)};
        }
        sum += (p[1] - p[0]).cross(p[2] - p[0]);
    }
    return sum.normalized();
}

// From one border edge to the next: around the vertex between them, through the faces of the
// region. Where a region touches itself in a vertex this keeps its loops apart.
template<typename T>
std::vector<std::vector<int>> CoplanarRegions<T>::loops(int region) const
{
    std::vector<int> borders;
    for (const int face : faces(region))
        for (int corner = face * 3; corner < face * 3 + 3; ++corner)
            if (edgeOf(corner) >= 0 && isBorder(edgeOf(corner)))
                borders.push_back(corner);
    std::vector<char> isDone(borders.size(), 0);
    const auto place = [&](int corner) {
        return size_t(std::lower_bound(borders.begin(), borders.end(), corner) - borders.begin());
    };
    std::vector<std::vector<int>> result;
    for (size_t i = 0; i < borders.size(); ++i) {
        if (isDone[i])
            continue;
        std::vector<int> loop;
        for (size_t at = i; !isDone[at];) {
            isDone[at] = 1;
            int corner = borders[at];
            loop.push_back(node(corner));
            corner = next(corner);
            while (edgeOf(corner) >= 0 && !isBorder(edgeOf(corner))) {
                const int across = twin(corner);
                if (across < 0)
                    return {}; // faces that wind against each other
                corner = next(across);
            }
            if (edgeOf(corner) < 0)
                return {}; // a face with a vertex twice
            at = place(corner);
        }
        result.push_back(std::move(loop));
    }
    return result;
}

template class CoplanarRegions<float>;

} // namespace mesh::process
