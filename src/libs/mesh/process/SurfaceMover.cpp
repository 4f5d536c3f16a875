#include "SurfaceMover.h"

namespace mesh::process {

template<typename T>
SurfaceMover<T>::SurfaceMover(Mesh<T> &mesh, const FeatureAnalysis<T> &features,
                              const FieldSampler<T> &sampler,
                              const SurfaceMoveSettings<T> &settings)
    : m_mesh(mesh)
    , m_features(features)
    , m_sampler(sampler)
    , m_settings(settings)
    , m_isPinned(mesh.vertices.size(), false)
{
    for (qsizetype v = 0; v < m_isPinned.size(); ++v)
        m_isPinned[v] = features.vertexFaces[v].empty() ||
                        features.vertexClass.at(v) == VertexClass::Corner ||
                        !mesh.vertices.at(v).isFinite();
    for (const ElementData<T> &element : mesh.elements)
        if (element.type != ElementType::Triangle || element.nodes.size() != 3)
            for (const int node : element.nodes)
                m_isPinned[node] = true;
}

template<typename T>
bool SurfaceMover<T>::moveAll(StepProgress &watch)
{
    for (int v = 0; v < int(m_isPinned.size()); ++v) {
        if (!watch.advance())
            return false;
        if (m_isPinned.at(v))
            continue;
        const Vector3<T> position = target(v);
        if (position.isFinite() && position != m_mesh.vertices.at(v) &&
            !moveFlipsFace(m_mesh, m_features, v, position))
            m_mesh.vertices[v] = position;
    }
    return true;
}

template<typename T>
Vector3<T> SurfaceMover<T>::target(int vertex) const
{
    const Vector3<T> from = m_mesh.vertices.at(vertex);
    Vector3<T> to = from + tangentialOffset(vertex);
    const bool isCrease = m_features.vertexClass.at(vertex) == VertexClass::Crease;
    if (m_sampler && !(isCrease ? addCreaseOffset(vertex, to) : addFieldOffset(vertex, to)))
        return from;
    const Vector3<T> move = to - from;
    const T length = move.length();
    return length > m_settings.moveLimit ? from + move * (m_settings.moveLimit / length) : to;
}

template<typename T>
Vector3<T> SurfaceMover<T>::alongCrease(int vertex) const
{
    const auto &ends = m_features.creaseNeighbours.at(vertex);
    return (m_mesh.vertices.at(ends[1]) - m_mesh.vertices.at(ends[0])).normalized();
}

template<typename T>
Vector3<T> SurfaceMover<T>::tangentialOffset(int vertex) const
{
    const Vector3<T> from = m_mesh.vertices.at(vertex);
    if (m_features.vertexClass.at(vertex) == VertexClass::Crease) {
        const auto &ends = m_features.creaseNeighbours.at(vertex);
        const Vector3<T> middle =
            (m_mesh.vertices.at(ends[0]) + m_mesh.vertices.at(ends[1])) * T(0.5);
        const Vector3<T> along = alongCrease(vertex);
        return along * (along.dot(middle - from) * m_settings.tangentialStep);
    }
    const auto neighbours = m_features.neighbours[vertex];
    Vector3<T> sum;
    for (const int other : neighbours)
        sum += m_mesh.vertices.at(other) - from;
    const Vector3<T> offset = sum / T(neighbours.size());
    const Vector3<T> normal = m_features.vertexNormals.at(vertex);
    return (offset - normal * normal.dot(offset)) * m_settings.tangentialStep;
}

// False where the field gives no answer: then a vertex had better stay on the surface that it is
// on.
template<typename T>
bool SurfaceMover<T>::addFieldOffset(int vertex, Vector3<T> &position) const
{
    Q_UNUSED(vertex);
    const SdfSample<T> sample = m_sampler(position);
    if (!isUsable(sample))
        return false;
    const T squared = sample.gradient.lengthSquared();
    if (squared > m_settings.leastGradientSquared)
        position -= sample.gradient * (sample.distance / squared);
    return true;
}

template<typename T>
bool SurfaceMover<T>::addCreaseOffset(int vertex, Vector3<T> &position) const
{
    if (addSharpOffset(vertex, position))
        return true;
    Vector3<T> projected = position;
    if (!addFieldOffset(vertex, projected))
        return false;
    const Vector3<T> along = alongCrease(vertex);
    const Vector3<T> offset = projected - position;
    position += offset - along * along.dot(offset);
    return true;
}

// On the edge itself the gradient is that of one side or of the other. The planes of both sides are
// taken a little beside it, and the vertex goes to where they meet, by the shortest way. False
// unless there are two sides that differ.
template<typename T>
bool SurfaceMover<T>::addSharpOffset(int vertex, Vector3<T> &position) const
{
    constexpr T largestCosine = T(0.97);
    const int edge = m_features.edges.find(vertex, m_features.creaseNeighbours.at(vertex)[1]);
    const auto faces = m_features.edges.faces(edge);
    if (faces.size() != 2)
        return false;
    const Vector3<T> along = alongCrease(vertex);
    Vector3<T> normals[2];
    T wanted[2];
    for (size_t side = 0; side < 2; ++side) {
        Vector3<T> into;
        for (const int node : m_mesh.elements.at(faces[side]).nodes)
            into += m_mesh.vertices.at(node) - m_mesh.vertices.at(vertex);
        into = (into - along * along.dot(into)).normalized() * m_settings.probeDistance;
        const SdfSample<T> sample = m_sampler(position + into);
        const T length = sample.gradient.length();
        if (!isUsable(sample) || !(length * length > m_settings.leastGradientSquared))
            return false;
        normals[side] = sample.gradient / length;
        wanted[side] = normals[side].dot(into) - sample.distance / length;
    }
    const T cosine = normals[0].dot(normals[1]);
    if (std::abs(cosine) > largestCosine)
        return false;
    const T scale = 1 / (1 - cosine * cosine);
    position += normals[0] * ((wanted[0] - cosine * wanted[1]) * scale) +
                normals[1] * ((wanted[1] - cosine * wanted[0]) * scale);
    return true;
}

template class SurfaceMover<float>;

} // namespace mesh::process
