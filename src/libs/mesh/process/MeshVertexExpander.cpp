#include "MeshVertexExpander.h"

#include "EdgeTable.h"

#include <chrono>

namespace mesh::process {

namespace {

using Position = Vector3<double>;

// Asks about ten times a second, and once at the start.
class TimedProgress
{
public:
    TimedProgress(const io::Progress &progress, qint64 total)
        : m_progress(progress)
        , m_total(total)
    {
        ask();
    }

    bool goesOn()
    {
        constexpr qint64 looks = 4096; // at the clock, which costs more than an item of work
        constexpr std::chrono::milliseconds interval{100};
        if (++m_done % looks == 0 && Clock::now() - m_asked > interval)
            ask();
        return !m_isCancelled;
    }

private:
    using Clock = std::chrono::steady_clock;

    void ask()
    {
        m_asked = Clock::now();
        m_isCancelled = m_isCancelled || (m_progress && !m_progress(m_done, m_total));
    }

    const io::Progress &m_progress;
    qint64 m_total;
    qint64 m_done = 0;
    bool m_isCancelled = false;
    Clock::time_point m_asked;
};

// The triangles of a surface, with quads in two.
QList<int> surfaceTriangles(const Mesh<float> &mesh)
{
    QList<int> nodes;
    nodes.reserve(mesh.elements.size() * 3);
    for (const ElementData<float> &element : mesh.elements) {
        const NodeList &n = element.nodes;
        if (element.type == ElementType::Triangle && n.size() == 3)
            nodes << n[0] << n[1] << n[2];
        else if (element.type == ElementType::Quad && n.size() == 4)
            nodes << n[0] << n[1] << n[2] << n[0] << n[2] << n[3];
    }
    return nodes;
}

class Expander
{
public:
    explicit Expander(const Mesh<float> &mesh)
        : m_mesh(mesh)
        , m_nodes(surfaceTriangles(mesh))
        , m_u(mesh.vertexAttributes.value(QStringLiteral("texCoordU")))
        , m_v(mesh.vertexAttributes.value(QStringLiteral("texCoordV")))
    {}

    ExpandedVertexData run(const io::Progress &progress);

private:
    void computeFaceNormals();
    void computeNormalsAt(int vertex);
    void groupNormalsAt(std::span<const int> corners);
    void appendCorner(int corner);
    void computeBounds();

    const Mesh<float> &m_mesh;
    QList<int> m_nodes;
    QList<float> m_u, m_v;
    AdjacencyList m_corners;    // by vertex
    QList<Position> m_crosses;  // by face
    QList<Position> m_normals;  // by face, unit
    QList<Position> m_smoothed; // by corner
    ExpandedVertexData m_data;
};

void Expander::computeFaceNormals()
{
    constexpr double least = 1e-8;
    const auto at = [this](qsizetype corner) {
        const Vector3<float> &v = m_mesh.vertices.at(m_nodes.at(corner));
        return Position{double(v.x), double(v.y), double(v.z)};
    };
    for (qsizetype c = 0; c < m_nodes.size(); c += 3) {
        const Position cross = (at(c + 1) - at(c)).cross(at(c + 2) - at(c));
        const double length = cross.length();
        const bool hasNormal = length > least && std::isfinite(length);
        m_crosses.append(hasNormal ? cross : Position{});
        m_normals.append(hasNormal ? cross / length : Position{0, 1, 0});
    }
}

void Expander::computeNormalsAt(int vertex)
{
    constexpr size_t few = 64;
    const auto corners = m_corners[vertex];
    if (corners.size() > few)
        return groupNormalsAt(corners);
    for (const int corner : corners) {
        Position sum = m_crosses.at(corner / 3);
        for (const int other : corners)
            if (other != corner && m_normals.at(other / 3).dot(m_normals.at(corner / 3)) >=
                                       double(MeshVertexExpander::hardEdgeCosine))
                sum += m_crosses.at(other / 3);
        m_smoothed[corner] = sum.length() > 0 ? sum.normalized() : m_normals.at(corner / 3);
    }
}

// Each face against each other would cost the square at a hub of very many. There are only so many
// directions that differ: faces are gathered around the first one of each.
void Expander::groupNormalsAt(std::span<const int> corners)
{
    QList<Position> directions, sums;
    QList<qsizetype> groups;
    for (const int corner : corners) {
        const Position &normal = m_normals.at(corner / 3);
        qsizetype group = 0;
        while (group < directions.size() &&
               directions.at(group).dot(normal) < double(MeshVertexExpander::hardEdgeCosine))
            ++group;
        if (group == directions.size()) {
            directions.append(normal);
            sums.append(Position{});
        }
        sums[group] += m_crosses.at(corner / 3);
        groups.append(group);
    }
    for (size_t i = 0; i < corners.size(); ++i) {
        const Position &sum = sums.at(groups.at(qsizetype(i)));
        m_smoothed[corners[i]] = sum.length() > 0 ? sum.normalized() : m_normals.at(corners[i] / 3);
    }
}

void Expander::appendCorner(int corner)
{
    const int node = m_nodes.at(corner);
    const Vector3<float> &p = m_mesh.vertices.at(node);
    const Position &n = m_smoothed.at(corner);
    m_data.vertices << p.x << p.y << p.z << float(n.x) << float(n.y) << float(n.z)
                    << m_u.value(node) << m_v.value(node);
}

void Expander::computeBounds()
{
    constexpr float margin = 1.1f;
    Vector3<float> low = m_mesh.vertices.at(m_nodes.first()), high = low;
    for (const int node : std::as_const(m_nodes)) {
        const Vector3<float> &p = m_mesh.vertices.at(node);
        low = {std::fmin(low.x, p.x), std::fmin(low.y, p.y), std::fmin(low.z, p.z)};
        high = {std::fmax(high.x, p.x), std::fmax(high.y, p.y), std::fmax(high.z, p.z)};
    }
    const Vector3<float> centre = (low + high) * 0.5f, half = (high - low) * (0.5f * margin);
    m_data.boundsMin = centre - half;
    m_data.boundsMax = centre + half;
}

ExpandedVertexData Expander::run(const io::Progress &progress)
{
    if (m_nodes.isEmpty())
        return {};
    TimedProgress watch(progress, m_nodes.size() + m_mesh.vertices.size());
    computeFaceNormals();
    QList<int> counts(m_mesh.vertices.size(), 0);
    for (const int node : std::as_const(m_nodes))
        ++counts[node];
    m_corners = AdjacencyList(counts);
    for (int corner = 0; corner < int(m_nodes.size()); ++corner)
        m_corners.append(m_nodes.at(corner), corner);
    m_smoothed.resize(m_nodes.size());
    for (int v = 0; v < int(m_mesh.vertices.size()); ++v) {
        computeNormalsAt(v);
        if (!watch.goesOn())
            return {};
    }
    m_data.vertices.reserve(m_nodes.size() * ExpandedVertexData::floatsPerVertex);
    for (int corner = 0; corner < int(m_nodes.size()); ++corner) {
        appendCorner(corner);
        if (!watch.goesOn())
            return {};
    }
    m_data.vertexCount = int(m_nodes.size());
    m_data.triangleCount = m_data.vertexCount / 3;
    computeBounds();
    return std::move(m_data);
}

} // namespace

ExpandedVertexData MeshVertexExpander::expand(const Mesh<float> &mesh, const io::Progress &progress)
{
    return Expander(mesh).run(progress);
}

} // namespace mesh::process
