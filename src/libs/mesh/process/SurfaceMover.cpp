#include "SurfaceMover.h"

namespace mesh::process {

template<typename T>
SurfaceMover<T>::SurfaceMover(Mesh<T> &mesh, const FeatureAnalysis<T> &features,
                              const BlockSampler<T> &sampler,
                              const SurfaceMoveSettings<T> &settings)
    : m_mesh(mesh)
    , m_features(features)
    , m_sampler(sampler)
    , m_settings(settings)
{
    arrangeGroups();
}

template<typename T>
QList<bool> SurfaceMover<T>::pinned() const
{
    QList<bool> isPinned(m_mesh.vertices.size(), false);
    for (qsizetype v = 0; v < isPinned.size(); ++v)
        isPinned[v] = m_features.vertexFaces[v].empty() ||
                      m_features.vertexClass.at(v) == VertexClass::Corner ||
                      !m_mesh.vertices.at(v).isFinite();
    for (const ElementData<T> &element : std::as_const(m_mesh.elements))
        if (element.type != ElementType::Triangle || element.nodes.size() != 3)
            for (const int node : element.nodes)
                isPinned[node] = true;
    return isPinned;
}

// A vertex comes a group after the last of those neighbours that stand before it in the mesh. Two
// of a group are no neighbours then, and each finds its neighbours where it would have found them
// had all moved one by one.
template<typename T>
void SurfaceMover<T>::arrangeGroups()
{
    const QList<bool> isPinned = pinned();
    QList<int> groups(isPinned.size(), -1);
    QList<int> sizes;
    for (int v = 0; v < int(isPinned.size()); ++v) {
        if (isPinned.at(v))
            continue;
        int last = -1;
        for (const int other : m_features.neighbours[v])
            last = other < v ? std::max(last, groups.at(other)) : last;
        groups[v] = last + 1;
        if (groups.at(v) == sizes.size())
            sizes.append(0);
        ++sizes[groups.at(v)];
    }
    m_groups = AdjacencyList(sizes);
    for (int v = 0; v < int(isPinned.size()); ++v)
        if (groups.at(v) >= 0)
            m_groups.append(groups.at(v), v);
    m_pinnedCount = isPinned.count(true);
}

template<typename T>
bool SurfaceMover<T>::moveAll(StepProgress &watch)
{
    constexpr size_t blockSize = 256; // points between two questions whether to go on
    if (!watch.advance(m_pinnedCount))
        return false;
    for (qsizetype group = 0; group < m_groups.size(); ++group) {
        const std::span<const int> vertices = m_groups[group];
        for (size_t first = 0; first < vertices.size(); first += blockSize) {
            const auto block =
                vertices.subspan(first, std::min(blockSize, vertices.size() - first));
            moveTogether(block);
            if (!watch.advance(qint64(block.size())))
                return false;
        }
    }
    return true;
}

template<typename T>
void SurfaceMover<T>::moveTogether(std::span<const int> vertices)
{
    std::vector<Move> moves;
    moves.reserve(vertices.size());
    for (const int vertex : vertices)
        moves.push_back(planned(vertex));
    if (m_sampler) {
        std::vector<Move *> open;
        for (Move &move : moves)
            open.push_back(&move);
        sample(open);
        std::erase_if(open, [this](Move *move) { return takeOffset(*move); });
        // On a crease with no two sides to meet between, like anywhere else.
        sample(open);
        for (Move *const move : std::as_const(open))
            takeFieldOffset(*move);
    }
    for (const Move &move : std::as_const(moves))
        apply(move);
}

template<typename T>
auto SurfaceMover<T>::planned(int vertex) const -> Move
{
    Move move{.vertex = vertex, .position = m_mesh.vertices.at(vertex) + tangentialOffset(vertex)};
    if (!m_sampler || m_features.vertexClass.at(vertex) != VertexClass::Crease)
        return move;
    const int edge = m_features.edges.find(vertex, m_features.creaseNeighbours.at(vertex)[1]);
    const auto faces = m_features.edges.faces(edge);
    move.hasSides = faces.size() == 2;
    const Vector3<T> along = alongCrease(vertex);
    for (size_t side = 0; move.hasSides && side < 2; ++side) {
        Vector3<T> into;
        for (const int node : m_mesh.elements.at(faces[side]).nodes)
            into += m_mesh.vertices.at(node) - m_mesh.vertices.at(vertex);
        move.sides[side] = (into - along * along.dot(into)).normalized() * m_settings.probeDistance;
    }
    return move;
}

// Asks the field for all that the moves have to know next.
template<typename T>
void SurfaceMover<T>::sample(const std::vector<Move *> &moves) const
{
    std::vector<Vector3<T>> points;
    for (const Move *const move : moves) {
        points.push_back(move->hasSides ? move->position + move->sides[0] : move->position);
        if (move->hasSides)
            points.push_back(move->position + move->sides[1]);
    }
    if (points.empty())
        return;
    std::vector<SdfSample<T>> samples(points.size());
    m_sampler(points, samples);
    size_t next = 0;
    for (Move *const move : moves)
        for (int i = 0; i < (move->hasSides ? 2 : 1); ++i)
            move->samples[i] = samples[next++];
}

// False when another sample is needed.
template<typename T>
bool SurfaceMover<T>::takeOffset(Move &move) const
{
    if (!move.hasSides) {
        takeFieldOffset(move);
        return true;
    }
    move.hasSides = false;
    return takeSharpOffset(move);
}

template<typename T>
void SurfaceMover<T>::apply(const Move &move)
{
    const Vector3<T> from = m_mesh.vertices.at(move.vertex);
    const Vector3<T> way = move.position - from;
    const T length = way.length();
    const Vector3<T> to = length > m_settings.moveLimit
                              ? from + way * (m_settings.moveLimit / length)
                              : move.position;
    if (!move.isRefused && to.isFinite() && to != from &&
        !moveFlipsFace(m_mesh, m_features, move.vertex, to))
        m_mesh.vertices[move.vertex] = to;
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

// Towards the field, on a crease at right angles to it. Where the field gives no answer a vertex
// had better stay on the surface that it is on.
template<typename T>
void SurfaceMover<T>::takeFieldOffset(Move &move) const
{
    const SdfSample<T> &sample = move.samples[0];
    move.isRefused = !isUsable(sample);
    const T squared = sample.gradient.lengthSquared();
    if (move.isRefused || !(squared > m_settings.leastGradientSquared))
        return;
    if (m_features.vertexClass.at(move.vertex) != VertexClass::Crease) {
        move.position -= sample.gradient * (sample.distance / squared);
        return;
    }
    const Vector3<T> projected = move.position - sample.gradient * (sample.distance / squared);
    const Vector3<T> along = alongCrease(move.vertex);
    const Vector3<T> offset = projected - move.position;
    move.position += offset - along * along.dot(offset);
}

// On the edge itself the gradient is that of one side or of the other. The planes of both sides are
// taken a little beside it, and the vertex goes to where they meet, by the shortest way. False
// unless there are two sides that differ.
template<typename T>
bool SurfaceMover<T>::takeSharpOffset(Move &move) const
{
    constexpr T largestCosine = T(0.97);
    Vector3<T> normals[2];
    T wanted[2];
    for (size_t side = 0; side < 2; ++side) {
        const SdfSample<T> &sample = move.samples[side];
        const T length = sample.gradient.length();
        if (!isUsable(sample) || !(length * length > m_settings.leastGradientSquared))
            return false;
        normals[side] = sample.gradient / length;
        wanted[side] = normals[side].dot(move.sides[side]) - sample.distance / length;
    }
    const T cosine = normals[0].dot(normals[1]);
    if (std::abs(cosine) > largestCosine)
        return false;
    const T scale = 1 / (1 - cosine * cosine);
    move.position += normals[0] * ((wanted[0] - cosine * wanted[1]) * scale) +
                     normals[1] * ((wanted[1] - cosine * wanted[0]) * scale);
    return true;
}

template class SurfaceMover<float>;

} // namespace mesh::process
