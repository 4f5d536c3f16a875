#include "HalfedgeMesh.h"

#include "../FlatIndex.h"

namespace mesh::topology {

namespace {

quint64 directedHash(quint32 a, quint32 b)
{
    return FlatIndex::mixed(quint64(a) << 32 | b);
}

// Builds the rings, twins and boundary loops of one mesh.
template<typename T>
class Builder
{
public:
    Builder(HalfedgeMesh<T> &target, qsizetype expectedHalfedges)
        : m_target(target)
        , m_byEnds(expectedHalfedges)
    {
        m_from.reserve(expectedHalfedges);
        m_target.halfedges.reserve(expectedHalfedges);
    }

    void addFace(const NodeList &nodes);
    void addBoundary();

private:
    using Halfedge = typename HalfedgeMesh<T>::Halfedge;

    quint64 hashOf(quint32 h) const
    {
        return directedHash(m_from.at(h), m_target.halfedges.at(h).to.index);
    }
    quint32 find(quint32 a, quint32 b) const;
    void addHalfedge(quint32 a, quint32 b, quint32 next, quint32 face);
    void linkBoundary(quint32 firstBoundary);

    HalfedgeMesh<T> &m_target;
    QList<quint32> m_from; // start vertex of each halfedge
    FlatIndex m_byEnds;    // the first halfedge of each directed pair of vertices
};

template<typename T>
quint32 Builder<T>::find(quint32 a, quint32 b) const
{
    return m_byEnds.find(directedHash(a, b), [&](quint32 h) {
        return m_from.at(h) == a && m_target.halfedges.at(h).to.index == b;
    });
}

template<typename T>
void Builder<T>::addHalfedge(quint32 a, quint32 b, quint32 next, quint32 face)
{
    const auto h = quint32(m_target.halfedges.size());
    m_target.halfedges.append(Halfedge{{b}, {}, {next}, {face}});
    m_from.append(a);
    if (auto &vertex = m_target.vertices[a]; !vertex.halfedge.isValid())
        vertex.halfedge = {h};
    const quint32 opposite = find(b, a);
    if (find(a, b) != FlatIndex::none)
        return; // used twice in one direction: no twin, which is what isManifold finds
    m_byEnds.insert(h, [this](quint32 other) { return hashOf(other); });
    if (opposite != FlatIndex::none && !m_target.halfedges.at(opposite).twin.isValid()) {
        m_target.halfedges[h].twin = {opposite};
        m_target.halfedges[opposite].twin = {h};
    }
}

template<typename T>
void Builder<T>::addFace(const NodeList &nodes)
{
    const auto first = quint32(m_target.halfedges.size());
    const auto face = quint32(m_target.faces.size());
    const int count = nodes.size();
    m_target.faces.append(typename HalfedgeMesh<T>::Face{{first}});
    for (int i = 0; i < count; ++i)
        addHalfedge(quint32(nodes[i]), quint32(nodes[(i + 1) % count]),
                    first + quint32((i + 1) % count), face);
}

template<typename T>
void Builder<T>::addBoundary()
{
    const auto realCount = quint32(m_target.halfedges.size());
    for (quint32 h = 0; h < realCount; ++h) {
        if (m_target.halfedges.at(h).twin.isValid())
            continue;
        const auto boundary = quint32(m_target.halfedges.size());
        m_target.halfedges[h].twin = {boundary};
        m_target.halfedges.append(Halfedge{{m_from.at(h)}, {h}, {}, {}});
    }
    linkBoundary(realCount);
}

// Where several loops touch in a vertex any pairing will do: that vertex is no manifold one
// whichever is taken.
template<typename T>
void Builder<T>::linkBoundary(quint32 firstBoundary)
{
    auto &halfedges = m_target.halfedges;
    QList<quint32> leaving(m_target.vertices.size(),
                           FlatIndex::none); // a chain of them for each vertex
    QList<quint32> nextLeaving(halfedges.size() - firstBoundary, FlatIndex::none);
    for (auto h = quint32(halfedges.size()); h-- > firstBoundary;) {
        const quint32 start = halfedges.at(halfedges.at(h).twin.index).to.index;
        nextLeaving[h - firstBoundary] = std::exchange(leaving[start], h);
    }
    for (auto h = firstBoundary; h < quint32(halfedges.size()); ++h) {
        quint32 &head = leaving[halfedges.at(h).to.index];
        halfedges[h].next = {head};
        head = nextLeaving.at(head - firstBoundary);
    }
}

} // namespace

template<typename T>
HalfedgeMesh<T> HalfedgeMesh<T>::fromMesh(const Mesh<T> &mesh)
{
    HalfedgeMesh result;
    result.vertices.reserve(mesh.vertices.size());
    for (const Vector3<T> &position : mesh.vertices)
        result.vertices.append({position, {}});
    const auto isFace = [](const ElementData<T> &element) {
        return dimension(element.type) == 2 && element.nodes.size() >= 3;
    };
    qsizetype halfedgeCount = 0, faceCount = 0;
    for (const ElementData<T> &element : mesh.elements)
        if (isFace(element)) {
            halfedgeCount += element.nodes.size();
            ++faceCount;
        }
    result.faces.reserve(faceCount);
    Builder<T> builder(result, halfedgeCount);
    for (const ElementData<T> &element : mesh.elements)
        if (isFace(element))
            builder.addFace(element.nodes);
    builder.addBoundary();
    return result;
}

template<typename T>
HalfedgeHandle HalfedgeMesh<T>::prev(HalfedgeHandle h) const
{
    HalfedgeHandle at = h;
    while (halfedges.at(at.index).next != h)
        at = halfedges.at(at.index).next;
    return at;
}

// All at once: asked one by one around a face of very many corners they would cost its square.
template<typename T>
QList<quint32> HalfedgeMesh<T>::predecessors() const
{
    QList<quint32> previous(halfedges.size(), HalfedgeHandle::invalidIndex);
    for (quint32 h = 0; h < quint32(halfedges.size()); ++h)
        previous[halfedges.at(h).next.index] = h;
    return previous;
}

// Whether the fan that begins at `start` holds all `leaving` halfedges of its vertex. It turns one
// way until it is round or meets a boundary, then from the start the other way.
template<typename T>
bool HalfedgeMesh<T>::isFan(quint32 start, quint32 leaving, const QList<quint32> &previous) const
{
    quint32 covered = 1;
    quint32 h = start;
    while (covered <= leaving) {
        const quint32 twin = halfedges.at(h).twin.index;
        if (isBoundary(twin))
            break;
        h = halfedges.at(twin).next.index;
        if (h == start)
            return covered == leaving;
        ++covered;
    }
    h = start;
    while (covered <= leaving && !isBoundary(h)) {
        h = halfedges.at(previous.at(h)).twin.index;
        ++covered;
    }
    return covered == leaving && isBoundary(h);
}

template<typename T>
bool HalfedgeMesh<T>::isManifold() const
{
    QList<quint32> leaving(vertices.size(), 0);
    for (quint32 h = 0; h < quint32(halfedges.size()); ++h)
        ++leaving[from(h)];
    const QList<quint32> previous = predecessors();
    for (qsizetype v = 0; v < vertices.size(); ++v) {
        const HalfedgeHandle start = vertices.at(v).halfedge;
        if (start.isValid() && !isFan(start.index, leaving.at(v), previous))
            return false;
    }
    return true;
}

// Twins run opposite ways by construction, so a pair that runs the same way is an edge used twice
// in one direction with no use in the other that could be a twin: two more uses one way than the
// other.
template<typename T>
bool HalfedgeMesh<T>::isOrientable() const
{
    const auto lower = [this](quint32 h) { return std::min(from(h), halfedges.at(h).to.index); };
    const auto upper = [this](quint32 h) { return std::max(from(h), halfedges.at(h).to.index); };
    const auto hashOf = [&](quint32 h) { return directedHash(lower(h), upper(h)); };
    // Only halfedges without a real twin can tip the balance.
    FlatIndex edges;
    QList<int> balance(halfedges.size(), 0);
    for (quint32 h = 0; h < quint32(halfedges.size()); ++h) {
        if (isBoundary(h) || !isBoundary(halfedges.at(h).twin.index) ||
            from(h) == halfedges.at(h).to.index)
            continue;
        quint32 edge = edges.find(hashOf(h), [&](quint32 other) {
            return lower(other) == lower(h) && upper(other) == upper(h);
        });
        if (edge == FlatIndex::none)
            edges.insert(edge = h, hashOf);
        balance[edge] += from(h) < halfedges.at(h).to.index ? 1 : -1;
    }
    return std::all_of(balance.cbegin(), balance.cend(), [](int b) { return std::abs(b) < 2; });
}

template<typename T>
bool HalfedgeMesh<T>::isClosed() const
{
    return std::all_of(halfedges.cbegin(), halfedges.cend(),
                       [](const Halfedge &h) { return h.face.isValid(); });
}

template class HalfedgeMesh<float>;

} // namespace mesh::topology
