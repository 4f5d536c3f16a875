#include "CoplanarMerge.h"

#include "BorderChains.h"
#include "CoplanarRegions.h"
#include "ProcessLog.h"
#include "StepProgress.h"
#include "earClip.h"
#include "removeUnusedVertices.h"

#include <QSet>

// Faces become flat regions, the borders between them chains. Which vertices of a chain go is
// decided once for the chain, before any region is triangulated, so that both of its sides agree
// and no vertex of one lies on an edge of the other. When a region then cannot be triangulated, its
// chains take all their vertices back and the regions on their other sides are done again; at last,
// with all chains whole, each region is on its own and may simply keep its faces.
//
// A new edge must not join two vertices that are joined already elsewhere: the edge would have four
// faces. Edges of the input are looked up in its table, new ones are kept in a set.

using namespace Qt::StringLiterals;

namespace mesh::process {

namespace {

constexpr double featureAngleDegrees = 30;

template<typename T>
class Merger
{
public:
    using Position = Vector3<double>;

    Merger(const Mesh<T> &mesh, const FeatureAnalysis<T> &features,
           const CoplanarRegions<T> &regions, int budget)
        : m_mesh(mesh)
        , m_features(features)
        , m_regions(regions)
        , m_budget(budget)
        , m_chains(borderChains(mesh, features, regions))
        , m_results(size_t(regions.count()))
        , m_isDropped(size_t(mesh.vertices.size()), 0)
    {}

    /// False when cancelled.
    bool run(StepProgress &watch);
    Mesh<T> result() const;

private:
    struct Result
    {
        bool isReplaced = false; // by these triangles, which may be none
        std::vector<std::array<int, 3>> triangles;
        std::vector<std::array<int, 2>> joined;
    };
    bool isCandidate(int region) const { return region >= 0 && m_regions.faces(region).size() > 1; }
    Position position(int v) const;
    void straightenChains();
    void straighten(BorderChain &chain, double tolerance);
    void restore(BorderChain &chain);
    bool hasDropped(const BorderChain &chain) const;
    void forget(Result &result);
    bool triangulate(int region);
    bool triangulate(int region, std::vector<Polygon> loops, Result &result);
    std::vector<Polygon> keptLoops(int region) const;
    void project(std::vector<Polygon> &loops, const Position &x, const Position &y) const;
    bool mayJoin(int region, int a, int b) const;
    bool mayFill(const Position &normal, int a, int b, int c) const;
    std::vector<int> settleFailed(const std::vector<int> &failed, bool all);

    const Mesh<T> &m_mesh;
    const FeatureAnalysis<T> &m_features;
    const CoplanarRegions<T> &m_regions;
    int m_budget;
    std::vector<BorderChain> m_chains;
    AdjacencyList m_chainsOfRegion;
    std::vector<Result> m_results;
    std::vector<char> m_isDropped; // by vertex: within a chain, and not needed
    QSet<quint64> m_newEdges;
};

template<typename T>
auto Merger<T>::position(int v) const -> Position
{
    const Vector3<T> &p = m_mesh.vertices.at(v);
    return {double(p.x), double(p.y), double(p.z)};
}

// ------------------------------------------------------------------ chains

template<typename T>
void Merger<T>::straighten(BorderChain &chain, double tolerance)
{
    for (const int region : chain.regions)
        if (region >= 0 && !isCandidate(region))
            chain.isFixed = true;
    if (chain.isFixed || chain.vertices.size() < 3)
        return;
    const std::vector<size_t> kept = straightened(m_mesh, chain.vertices, tolerance);
    for (size_t i = 1; i < kept.size(); ++i)
        for (size_t at = kept[i - 1] + 1; at < kept[i]; ++at)
            m_isDropped[size_t(chain.vertices[at])] = 1;
    for (size_t i = 1; i < kept.size(); ++i) {
        const int a = chain.vertices[kept[i - 1]], b = chain.vertices[kept[i]];
        const quint64 key = EdgeTable::pack(a, b);
        if (kept[i] == kept[i - 1] + 1)
            continue;
        if (a == b || m_features.edges.find(a, b) >= 0 || m_newEdges.contains(key))
            return restore(chain);
        m_newEdges.insert(key);
    }
}

// Gives a chain all its vertices back, for good.
template<typename T>
void Merger<T>::restore(BorderChain &chain)
{
    int lastKept = chain.vertices.front();
    bool isGap = false;
    for (size_t i = 1; i < chain.vertices.size(); ++i) {
        const int v = chain.vertices[i];
        const bool isEnd = i + 1 == chain.vertices.size();
        if (!isEnd && m_isDropped[size_t(v)]) {
            m_isDropped[size_t(v)] = 0;
            isGap = true;
            continue;
        }
        if (isGap)
            m_newEdges.remove(EdgeTable::pack(lastKept, v));
        lastKept = v;
        isGap = false;
    }
    chain.isFixed = true;
}

template<typename T>
bool Merger<T>::hasDropped(const BorderChain &chain) const
{
    return !chain.isFixed && std::any_of(chain.vertices.begin(), chain.vertices.end(),
                                         [this](int v) { return m_isDropped[size_t(v)] != 0; });
}

template<typename T>
void Merger<T>::straightenChains()
{
    constexpr double toleranceInEdges = 0.01;
    const double tolerance = toleranceInEdges * double(meanEdgeLength(m_mesh, m_features.edges));
    QList<int> counts(m_regions.count(), 0);
    for (BorderChain &chain : m_chains) {
        straighten(chain, tolerance);
        for (const int region : chain.regions)
            if (region >= 0)
                ++counts[region];
    }
    m_chainsOfRegion = AdjacencyList(counts);
    for (size_t i = 0; i < m_chains.size(); ++i)
        for (const int region : m_chains[i].regions)
            if (region >= 0)
                m_chainsOfRegion.append(region, int(i));
}

// ------------------------------------------------------------------ regions

template<typename T>
void Merger<T>::forget(Result &result)
{
    for (const auto &edge : result.joined)
        m_newEdges.remove(EdgeTable::pack(edge[0], edge[1]));
    result = {};
}

template<typename T>
std::vector<Polygon> Merger<T>::keptLoops(int region) const
{
    std::vector<Polygon> kept;
    for (const std::vector<int> &loop : m_regions.loops(region)) {
        Polygon polygon;
        for (const int v : loop)
            if (!m_isDropped[size_t(v)])
                polygon.push_back({0, 0, v});
        kept.push_back(std::move(polygon));
    }
    return kept;
}

template<typename T>
void Merger<T>::project(std::vector<Polygon> &loops, const Position &x, const Position &y) const
{
    const Position origin = position(loops.front().front().id);
    for (Polygon &polygon : loops)
        for (PolygonPoint &p : polygon) {
            const Position offset = position(p.id) - origin;
            p.x = x.dot(offset);
            p.y = y.dot(offset);
        }
}

template<typename T>
bool Merger<T>::mayJoin(int region, int a, int b) const
{
    const int edge = m_features.edges.find(a, b);
    return a != b && (edge < 0 || m_regions.interiorRegion(edge) == region) &&
           !m_newEdges.contains(EdgeTable::pack(a, b));
}

template<typename T>
bool Merger<T>::mayFill(const Position &normal, int a, int b, int c) const
{
    constexpr double leastCosine = 0.5;
    const Position cross = (position(b) - position(a)).cross(position(c) - position(a));
    return normal.dot(cross) > leastCosine * cross.length();
}

double signedArea(const Polygon &polygon)
{
    double twice = 0;
    for (size_t i = 0; i < polygon.size(); ++i) {
        const PolygonPoint &p = polygon[i], &q = polygon[(i + 1) % polygon.size()];
        twice += p.x * q.y - q.x * p.y;
    }
    return twice / 2;
}

// One polygon that runs round the region; the others, its holes, the other way.
bool putOuterFirst(std::vector<Polygon> &loops)
{
    const auto isOuter = [](const Polygon &polygon) { return signedArea(polygon) > 0; };
    if (std::count_if(loops.begin(), loops.end(), isOuter) != 1)
        return false;
    std::iter_swap(loops.begin(), std::find_if(loops.begin(), loops.end(), isOuter));
    return true;
}

// True also when the faces as they are have nothing to gain.
template<typename T>
bool Merger<T>::triangulate(int region)
{
    Result &result = m_results[size_t(region)];
    forget(result);
    std::vector<Polygon> loops = keptLoops(region);
    size_t corners = 0;
    for (const Polygon &polygon : loops) {
        if (polygon.size() < 3)
            return false;
        corners += polygon.size();
    }
    // Too many corners are known beforehand: no use in beginning.
    const size_t ears = loops.empty() ? 0 : corners + 2 * loops.size() - 4;
    if (loops.empty() || ears > size_t(m_budget))
        return false;
    const auto chains = m_chainsOfRegion[region];
    const bool isWhole = std::none_of(chains.begin(), chains.end(), [this](int chain) {
        return hasDropped(m_chains[size_t(chain)]);
    });
    if (isWhole && ears >= m_regions.faces(region).size())
        return true;
    if (triangulate(region, std::move(loops), result))
        return true;
    forget(result);
    return false;
}

template<typename T>
bool Merger<T>::triangulate(int region, std::vector<Polygon> loops, Result &result)
{
    const Position n = m_regions.normal(region);
    const Position helper = std::abs(n.x) < 0.6 ? Position{1, 0, 0} : Position{0, 1, 0};
    const Position x = helper.cross(n).normalized();
    project(loops, x, n.cross(x));
    if (!putOuterFirst(loops))
        return false;
    // Each edge is entered as it is drawn, so that none is drawn twice.
    const ClipRules rules = {
        .mayJoin =
            [&](int a, int b) {
                if (!mayJoin(region, a, b))
                    return false;
                m_newEdges.insert(EdgeTable::pack(a, b));
                return true;
            },
        .mayFill = [&](int a, int b, int c) { return mayFill(n, a, b, c); },
    };
    const Polygon outer = std::move(loops.front());
    loops.erase(loops.begin());
    const Polygon ring = bridgeHoles(outer, std::move(loops), rules, result.joined);
    result.triangles = earClip(ring, rules, m_budget, result.joined);
    result.isReplaced = !result.triangles.empty();
    return result.isReplaced;
}

// Takes the chains of failed regions back and answers which regions are to be done again.
template<typename T>
std::vector<int> Merger<T>::settleFailed(const std::vector<int> &failed, bool all)
{
    std::vector<int> again;
    const auto takeBack = [&](BorderChain &chain) {
        if (!hasDropped(chain))
            return;
        restore(chain);
        for (const int region : chain.regions)
            if (region >= 0)
                again.push_back(region);
    };
    if (all && !failed.empty())
        for (BorderChain &chain : m_chains)
            takeBack(chain);
    for (const int region : failed)
        for (const int chain : m_chainsOfRegion[region])
            takeBack(m_chains[size_t(chain)]);
    std::sort(again.begin(), again.end());
    again.erase(std::unique(again.begin(), again.end()), again.end());
    return again;
}

template<typename T>
bool Merger<T>::run(StepProgress &watch)
{
    constexpr int roundsByRegion = 8;
    straightenChains();
    std::vector<int> pending;
    for (int region = 0; region < m_regions.count(); ++region)
        if (isCandidate(region))
            pending.push_back(region);
    for (int round = 0; !pending.empty(); ++round) {
        std::vector<int> failed;
        for (const int region : pending) {
            if (!triangulate(region))
                failed.push_back(region);
            if (!watch.advance(qint64(m_regions.faces(region).size())))
                return false;
        }
        pending = settleFailed(failed, round >= roundsByRegion);
    }
    return true;
}

template<typename T>
Mesh<T> Merger<T>::result() const
{
    Mesh<T> merged = m_mesh;
    merged.elements.clear();
    QList<int> origins;
    const auto add = [&](int face, const NodeList &nodes) {
        ElementData<T> element = m_mesh.elements.at(face);
        element.nodes = nodes;
        merged.elements.append(element);
        origins.append(face);
    };
    for (int face = 0; face < int(m_mesh.elements.size()); ++face) {
        const int region = m_regions.regionOf(face);
        const Result &result = m_results[size_t(region)];
        if (!result.isReplaced) {
            add(face, m_mesh.elements.at(face).nodes);
        } else if (const auto faces = m_regions.faces(region); faces[0] == face) {
            for (size_t i = 0; i < result.triangles.size(); ++i) {
                const auto &t = result.triangles[i];
                add(faces[i], {t[0], t[1], t[2]});
            }
        }
    }
    for (auto it = merged.elementAttributes.begin(); it != merged.elementAttributes.end(); ++it) {
        const QList<T> all = std::exchange(*it, {});
        const qsizetype perElement = all.size() / m_mesh.elements.size();
        for (const int face : std::as_const(origins))
            it->append(all.mid(face * perElement, perElement));
    }
    removeUnusedVertices(merged);
    if (!merged.normals.isEmpty())
        merged.recalculateNormals();
    return merged;
}

} // namespace

template<typename T>
QString CoplanarMerge<T>::name() const
{
    return u"Coplanar Merge"_s;
}

template<typename T>
QString CoplanarMerge<T>::flag() const
{
    return u"coplanarMerge"_s;
}

template<typename T>
io::Result<void> CoplanarMerge<T>::process(Mesh<T> &mesh, const ProcessOptions &options) const
{
    bool isNumber = false;
    const double tolerance =
        options.parameters.value(u"angleToleranceDeg"_s, defaultAngleToleranceDegrees)
            .toDouble(&isNumber);
    if (!isNumber || !(tolerance >= 0 && tolerance <= 90))
        return io::Error{u"coplanarMerge tolerance must be an angle from 0 to 90 degrees"_s,
                         io::MalformedData};
    if (mesh.elements.isEmpty() || !acceptsTriangles(mesh, "CoplanarMerge"))
        return {};
    StepProgress watch(options.progress, mesh.elements.size() * 6);
    const auto before = TopologySnapshot::of(mesh, options.progress);
    if (!goesOn(options.progress))
        return {};
    const auto features = analyzeFeatures(mesh, featureAngleDegrees, options.progress);
    if (!goesOn(options.progress))
        return {};
    const CoplanarRegions<T> regions(mesh, features, tolerance, watch);
    if (watch.isCancelled())
        return {};
    Merger<T> merger(mesh, features, regions, m_budget);
    if (!merger.run(watch))
        return {};
    Mesh<T> result = merger.result();
    if (TopologySnapshot::of(result, options.progress).isWorseThan(before)) {
        if (goesOn(options.progress))
            qCWarning(lcProcess,
                      "CoplanarMerge: topology predicate regressed — restoring input mesh");
        return {};
    }
    mesh = std::move(result);
    return {};
}

template class CoplanarMerge<float>;

} // namespace mesh::process
