#include "BorderChains.h"

#include <array>

namespace mesh::process {

namespace {

using Position = Vector3<double>;

template<typename T>
Position positionOf(const Mesh<T> &mesh, int v)
{
    const Vector3<T> &p = mesh.vertices.at(v);
    return {double(p.x), double(p.y), double(p.z)};
}

template<typename T>
class ChainBuilder
{
public:
    ChainBuilder(const Mesh<T> &mesh, const FeatureAnalysis<T> &features,
                 const CoplanarRegions<T> &regions)
        : m_mesh(mesh)
        , m_edges(features.edges)
        , m_regions(regions)
        , m_borderEdges(size_t(mesh.vertices.size()), {-1, -1})
        , m_borderCount(size_t(mesh.vertices.size()), 0)
        , m_isVisited(size_t(features.edges.size()), 0)
    {}

    std::vector<BorderChain> run();

private:
    std::array<int, 2> sides(int edge) const;
    bool isJunction(int v) const;
    void enter(int v, int edge);
    std::vector<int> walk(int from, int edge);
    void addChain(std::vector<int> vertices, int edge);
    void addLoop(std::vector<int> vertices, int edge);
    size_t farthest(const std::vector<int> &vertices, size_t from) const;

    const Mesh<T> &m_mesh;
    const EdgeTable &m_edges;
    const CoplanarRegions<T> &m_regions;
    std::vector<std::array<int, 2>> m_borderEdges; // by vertex: the first two
    std::vector<int> m_borderCount;                // by vertex
    std::vector<char> m_isVisited;                 // by edge
    std::vector<BorderChain> m_chains;
};

// The regions at an edge, in order; -2 for what is more than two.
template<typename T>
std::array<int, 2> ChainBuilder<T>::sides(int edge) const
{
    const auto faces = m_edges.faces(edge);
    if (faces.size() > 2)
        return {-2, -2};
    std::array<int, 2> both{-1, m_regions.regionOf(faces[0])};
    if (faces.size() == 2)
        both[0] = m_regions.regionOf(faces[1]);
    std::sort(both.begin(), both.end());
    return both;
}

template<typename T>
bool ChainBuilder<T>::isJunction(int v) const
{
    const auto &edges = m_borderEdges[size_t(v)];
    return m_borderCount[size_t(v)] != 2 || sides(edges[0])[0] < -1 ||
           sides(edges[0]) != sides(edges[1]);
}

template<typename T>
void ChainBuilder<T>::enter(int v, int edge)
{
    const int count = m_borderCount[size_t(v)]++;
    if (count < 2)
        m_borderEdges[size_t(v)][size_t(count)] = edge;
}

template<typename T>
std::vector<int> ChainBuilder<T>::walk(int from, int edge)
{
    std::vector<int> vertices{from};
    while (!m_isVisited[size_t(edge)]) {
        m_isVisited[size_t(edge)] = 1;
        const int to =
            m_edges.lower(edge) == vertices.back() ? m_edges.upper(edge) : m_edges.lower(edge);
        vertices.push_back(to);
        if (isJunction(to))
            break;
        const auto &both = m_borderEdges[size_t(to)];
        edge = both[0] == edge ? both[1] : both[0];
    }
    return vertices;
}

template<typename T>
void ChainBuilder<T>::addChain(std::vector<int> vertices, int edge)
{
    const auto regions = sides(edge);
    BorderChain chain{.vertices = std::move(vertices)};
    chain.regions[0] = regions[0];
    chain.regions[1] = regions[1];
    chain.isFixed = regions[0] < -1 || regions[0] == regions[1];
    m_chains.push_back(std::move(chain));
}

template<typename T>
size_t ChainBuilder<T>::farthest(const std::vector<int> &vertices, size_t from) const
{
    const Position origin = positionOf(m_mesh, vertices[from]);
    size_t best = from;
    double bestSquared = 0;
    for (size_t i = 0; i < vertices.size(); ++i) {
        const double squared = (positionOf(m_mesh, vertices[i]) - origin).lengthSquared();
        if (squared > bestSquared) {
            bestSquared = squared;
            best = i;
        }
    }
    return best;
}

// A loop has no ends of its own: two vertices far from each other become them.
template<typename T>
void ChainBuilder<T>::addLoop(std::vector<int> vertices, int edge)
{
    vertices.pop_back(); // the first again
    const size_t first = farthest(vertices, 0);
    std::rotate(vertices.begin(), vertices.begin() + qsizetype(first), vertices.end());
    const size_t half = farthest(vertices, 0);
    std::vector<int> back(vertices.begin() + qsizetype(half), vertices.end());
    back.push_back(vertices.front());
    vertices.resize(half + 1);
    addChain(std::move(vertices), edge);
    addChain(std::move(back), edge);
}

template<typename T>
std::vector<BorderChain> ChainBuilder<T>::run()
{
    for (int e = 0; e < m_edges.size(); ++e)
        if (m_regions.isBorder(e)) {
            enter(m_edges.lower(e), e);
            enter(m_edges.upper(e), e);
        }
    for (int e = 0; e < m_edges.size(); ++e)
        for (const int end : {m_edges.lower(e), m_edges.upper(e)})
            if (!m_isVisited[size_t(e)] && m_regions.isBorder(e) && isJunction(end))
                addChain(walk(end, e), e);
    for (int e = 0; e < m_edges.size(); ++e)
        if (!m_isVisited[size_t(e)] && m_regions.isBorder(e))
            addLoop(walk(m_edges.lower(e), e), e);
    return std::move(m_chains);
}

double squaredDistanceToSegment(const Position &p, const Position &a, const Position &b)
{
    const Position along = b - a;
    const double squared = along.lengthSquared();
    const double t = squared > 0 ? std::clamp((p - a).dot(along) / squared, 0.0, 1.0) : 0.0;
    return (p - (a + along * t)).lengthSquared();
}

} // namespace

template<typename T>
std::vector<BorderChain> borderChains(const Mesh<T> &mesh, const FeatureAnalysis<T> &features,
                                      const CoplanarRegions<T> &regions)
{
    return ChainBuilder<T>(mesh, features, regions).run();
}

// Doubling steps, then halving ones: a stretch of n vertices is found with about log n looks at it.
template<typename T>
std::vector<size_t> straightened(const Mesh<T> &mesh, const std::vector<int> &chain,
                                 double tolerance)
{
    const size_t last = chain.size() - 1;
    const auto isStraight = [&](size_t from, size_t to) {
        const Position a = positionOf(mesh, chain[from]), b = positionOf(mesh, chain[to]);
        for (size_t i = from + 1; i < to; ++i)
            if (!(squaredDistanceToSegment(positionOf(mesh, chain[i]), a, b) <=
                  tolerance * tolerance))
                return false;
        return true;
    };
    std::vector<size_t> kept{0};
    while (kept.back() < last) {
        const size_t from = kept.back();
        size_t good = from + 1, step = 1;
        while (good < last && isStraight(from, std::min(last, good + step))) {
            good = std::min(last, good + step);
            step *= 2;
        }
        for (; step > 0; step /= 2)
            if (good + step <= last && isStraight(from, good + step))
                good += step;
        kept.push_back(good);
    }
    return kept;
}

template std::vector<BorderChain> borderChains(const Mesh<float> &, const FeatureAnalysis<float> &,
                                               const CoplanarRegions<float> &);
template std::vector<size_t> straightened(const Mesh<float> &, const std::vector<int> &, double);

} // namespace mesh::process
