#include "predicates.h"

#include "FeatureAnalysis.h"

#include <mesh/topology/HalfedgeMesh.h>

#include <vector>

// Steps ask this twice of meshes of millions of triangles. A halfedge mesh answers it for whatever
// there is; where all elements are triangles and no edge is used twice in one direction, which is
// nearly always, the twin of each side of a face is enough, and is found by counting instead of by
// hashing.

namespace mesh::process {

namespace {

constexpr int noTwin = -1;

int next(int corner)
{
    return corner % 3 == 2 ? corner - 2 : corner + 1;
}

int prev(int corner)
{
    return corner % 3 == 0 ? corner + 2 : corner - 1;
}

class Twins
{
public:
    Twins(const QList<int> &nodes, qsizetype vertexCount)
        : m_nodes(nodes)
        , m_cornerCount(size_t(vertexCount), 0)
    {}

    /// False when an edge is used twice in one direction, or has one end, or when cancelled.
    bool link(const io::Progress &progress);
    bool isClosed() const
    {
        return std::find(m_twin.cbegin(), m_twin.cend(), noTwin) == m_twin.cend();
    }
    bool isManifold() const;

private:
    bool linkBucket(quint64 *from, quint64 *to);
    int fanSize(int start) const;

    const QList<int> &m_nodes; // by corner
    std::vector<int> m_twin;   // by corner: the one at the other end of its edge, in the other face
    std::vector<int> m_cornerCount; // by vertex
};

// The sides between one vertex and larger ones: (larger vertex, corner).
bool Twins::linkBucket(quint64 *from, quint64 *to)
{
    std::sort(from, to);
    for (quint64 *it = from; it != to;) {
        quint64 *const first = it;
        while (it != to && *it >> 32 == *first >> 32)
            ++it;
        const auto a = int(quint32(*first)), b = int(quint32(*(it - 1)));
        if (it - first > 2 || (it - first == 2 && m_nodes.at(a) == m_nodes.at(b)))
            return false;
        if (it - first == 2) {
            m_twin[size_t(a)] = b;
            m_twin[size_t(b)] = a;
        }
    }
    return true;
}

bool Twins::link(const io::Progress &progress)
{
    constexpr size_t progressInterval = 65'536;
    const int corners = int(m_nodes.size());
    m_twin.assign(size_t(corners), noTwin);
    std::vector<int> place(m_cornerCount.size() + 1, 0);
    for (int c = 0; c < corners; ++c) {
        const int a = m_nodes.at(c), b = m_nodes.at(next(c));
        if (a == b)
            return false;
        ++place[size_t(std::min(a, b)) + 1];
        ++m_cornerCount[size_t(a)];
    }
    for (size_t v = 1; v < place.size(); ++v)
        place[v] += place[v - 1];
    std::vector<quint64> sides(size_t(corners), 0);
    for (int c = 0; c < corners; ++c) {
        const int a = m_nodes.at(c), b = m_nodes.at(next(c));
        sides[size_t(place[size_t(std::min(a, b))]++)] = quint64(std::max(a, b)) << 32 | quint32(c);
    }
    // place[v] now is where the sides of v end.
    for (size_t v = 0; v < m_cornerCount.size(); ++v) {
        if (!linkBucket(sides.data() + (v == 0 ? 0 : place[v - 1]), sides.data() + place[v]))
            return false;
        if (progress && v % progressInterval == 0 && !progress(0, 0))
            return false;
    }
    return true;
}

// The corners that turning about the vertex of one meets, both ways.
int Twins::fanSize(int start) const
{
    int size = 1;
    int corner = start;
    for (;;) {
        const int across = m_twin[size_t(prev(corner))];
        if (across == start)
            return size;
        if (across == noTwin)
            break;
        corner = across;
        ++size;
    }
    for (corner = start; m_twin[size_t(corner)] != noTwin; ++size)
        corner = next(m_twin[size_t(corner)]);
    return size;
}

bool Twins::isManifold() const
{
    std::vector<char> isDone(m_cornerCount.size(), 0);
    for (int corner = 0; corner < int(m_nodes.size()); ++corner) {
        const auto v = size_t(m_nodes.at(corner));
        if (!std::exchange(isDone[v], char(1)) && fanSize(corner) != m_cornerCount[v])
            return false;
    }
    return true;
}

} // namespace

template<typename T>
void predicates(const Mesh<T> &mesh, bool &closed, bool &manifold, bool &orientable,
                const io::Progress &progress)
{
    if (isTriangleMesh(mesh)) {
        const QList<int> nodes = triangleNodes(mesh);
        Twins twins(nodes, mesh.vertices.size());
        if (twins.link(progress)) {
            closed = twins.isClosed();
            manifold = twins.isManifold();
            orientable = true; // both sides of each edge run opposite ways
            return;
        }
        if (progress && !progress(0, 0))
            return;
    }
    const auto halfedges = topology::HalfedgeMesh<T>::fromMesh(mesh);
    closed = halfedges.isClosed();
    manifold = halfedges.isManifold();
    orientable = halfedges.isOrientable();
}

template void predicates(const Mesh<float> &, bool &, bool &, bool &, const io::Progress &);

} // namespace mesh::process
