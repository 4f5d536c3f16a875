// A sharp edge that runs between the nodes of the grid passes through cells without a vertex, and
// no choice of places for the vertices that there are follows it everywhere: where both ends of a
// side lie on smooth sheets, one on each, the side is a short cut through the solid, or through the
// air. Parted at a point of the edge it follows both sheets. A side whose ends lie on one smooth
// sheet is not looked at. The cost is one value of the field for each of the others; the few that
// are off the surface take some more.

#include "CreaseSides.h"

#include "CreaseSearch.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace corvane::mesh {

namespace {

constexpr float offShare = 0.15f;      // of a side's middle from the surface, in edge lengths
constexpr float leastSlope = 0.5f;     // of a field that is looked at more closely
constexpr float creaseCosine = 0.839f; // 33 degrees
constexpr float smoothCosine = 0.9f;   // above which two smooth ends are on one sheet
constexpr float reachShare = 1.0f; // of the edge beyond the box of a side's ends, in edge lengths
constexpr float keptOff = 0.5f;    // what a half may be off the surface, of what the whole side is
constexpr float shortestShare = 0.03f; // of a half, in edge lengths
constexpr size_t batchSize = 1024;

struct Side
{
    quint64 key = 0;
    std::array<QVector3D, 2> ends;
    float off = 0.0f; ///< of the middle, by the field
};

quint64 keyOf(int one, int other)
{
    return quint64(quint32(std::min(one, other))) << 32 | quint32(std::max(one, other));
}

// Those that may cross a crease.
std::vector<quint64> sidesOf(std::span<const std::array<int, 4>> rings,
                             std::span<const QVector3D> normals)
{
    std::vector<quint64> sides;
    for (const auto &ring : rings) {
        for (size_t n = 0; n < 4; ++n) {
            const int one = ring[n];
            const int other = ring[(n + 1) % 4];
            if (one != other &&
                QVector3D::dotProduct(normals[size_t(one)], normals[size_t(other)]) < smoothCosine)
                sides.push_back(keyOf(one, other));
        }
    }
    std::sort(sides.begin(), sides.end());
    sides.erase(std::unique(sides.begin(), sides.end()), sides.end());
    return sides;
}

// The numbers of vertices differ between chunks; their places do not.
Side sideOf(quint64 key, std::span<const QVector3D> vertices)
{
    const auto first = size_t(key >> 32);
    const auto second = size_t(quint32(key));
    const auto place = [](const QVector3D &at) { return std::tuple(at.x(), at.y(), at.z()); };
    Side side{key, {vertices[first], vertices[second]}};
    if (place(side.ends[1]) < place(side.ends[0]))
        std::swap(side.ends[0], side.ends[1]);
    return side;
}

// Those of a batch whose middles are off the surface.
void addOffSurface(std::span<const quint64> keys, std::span<const QVector3D> vertices,
                   const CrossingRule &rule, std::vector<Side> &out)
{
    std::vector<QVector3D> middles;
    for (const quint64 key : keys)
        middles.push_back((vertices[size_t(key >> 32)] + vertices[size_t(quint32(key))]) * 0.5f);
    std::vector<float> distances(middles.size());
    rule.field(middles, distances);
    for (size_t n = 0; n < keys.size(); ++n) {
        const float off = std::fabs(distances[n] - rule.iso);
        if (off > leastSlope * offShare * rule.edgeLength) {
            out.push_back(sideOf(keys[n], vertices));
            out.back().off = off;
        }
    }
}

VertexRegion regionOf(const Side &side, float reach)
{
    VertexRegion region;
    for (int axis = 0; axis < 3; ++axis) {
        region.low[axis] = std::min(side.ends[0][axis], side.ends[1][axis]) - reach;
        region.high[axis] = std::max(side.ends[0][axis], side.ends[1][axis]) + reach;
    }
    return region;
}

// Where the sheets at the two ends of a side may meet; nothing if they are one.
bool makeCandidate(const Side &side, std::span<const QVector3D, 2> gradients,
                   const CrossingRule &rule, CreaseCandidate &candidate)
{
    float slopes = 0.0f;
    for (size_t n = 0; n < 2; ++n) {
        const float slope = gradients[n].length();
        candidate.sheets[n] = {side.ends[n], gradients[n] / slope, slope};
        slopes += slope;
        if (!(slope > 0.0f) || !std::isfinite(slope))
            return false;
    }
    candidate.count = 2;
    return side.off > offShare * rule.edgeLength * slopes / 2.0f &&
           QVector3D::dotProduct(candidate.sheets[0].normal, candidate.sheets[1].normal) <
               creaseCosine;
}

// The numbers of the found ones are kept.
std::vector<CreaseCandidate> candidatesOf(std::vector<Side> &sides, const CrossingRule &rule,
                                          std::vector<VertexRegion> &regions)
{
    std::vector<QVector3D> ends;
    for (const Side &side : sides)
        ends.insert(ends.end(), side.ends.begin(), side.ends.end());
    std::vector<QVector3D> gradients(ends.size());
    rule.gradient(ends, gradients);
    std::vector<CreaseCandidate> candidates;
    size_t n = 0;
    std::erase_if(sides, [&](const Side &side) {
        CreaseCandidate candidate;
        const std::span<const QVector3D, 2> own(gradients.data() + 2 * n++, 2);
        const bool isCrease = makeCandidate(side, own, rule, candidate);
        if (isCrease)
            candidates.push_back(candidate);
        return !isCrease;
    });
    for (size_t c = 0; c < candidates.size(); ++c)
        regions.push_back(regionOf(sides[c], reachShare * rule.edgeLength));
    for (size_t c = 0; c < candidates.size(); ++c)
        candidates[c].region = &regions[c];
    return candidates;
}

// Whether both halves follow the surface better than the whole side does.
std::vector<bool> areBetter(std::span<const Side> sides,
                            std::span<const CreaseCandidate> candidates, const CrossingRule &rule)
{
    std::vector<QVector3D> middles;
    for (size_t n = 0; n < sides.size(); ++n) {
        for (const QVector3D &end : sides[n].ends)
            middles.push_back((end + candidates[n].point) * 0.5f);
    }
    std::vector<float> distances(middles.size());
    rule.field(middles, distances);
    std::vector<bool> better(sides.size());
    for (size_t n = 0; n < sides.size(); ++n) {
        better[n] = candidates[n].found && candidates[n].isInside && !candidates[n].isBlunt;
        for (size_t half = 0; half < 2; ++half) {
            const float off = std::fabs(distances[2 * n + half] - rule.iso);
            const float length = (sides[n].ends[half] - candidates[n].point).length();
            better[n] = better[n] && off < keptOff * sides[n].off &&
                        length > shortestShare * rule.edgeLength;
        }
    }
    return better;
}

} // namespace

CreaseSides::CreaseSides(std::span<const std::array<int, 4>> rings,
                         std::vector<QVector3D> &vertices, std::span<const QVector3D> normals,
                         const CrossingRule &rule)
    : m_isEnd(vertices.size())
{
    const std::vector<quint64> keys = sidesOf(rings, normals);
    std::vector<Side> sides;
    for (size_t first = 0; first < keys.size(); first += batchSize)
        addOffSurface(std::span(keys).subspan(first, std::min(batchSize, keys.size() - first)),
                      vertices, rule, sides);
    std::vector<VertexRegion> regions;
    std::vector<CreaseCandidate> candidates = candidatesOf(sides, rule, regions);
    searchCreases(candidates, rule);
    const std::vector<bool> better = areBetter(sides, candidates, rule);
    for (size_t n = 0; n < sides.size(); ++n) {
        if (better[n]) {
            m_parts.emplace(sides[n].key, int(vertices.size()));
            m_isEnd[size_t(sides[n].key >> 32)] = true;
            m_isEnd[size_t(quint32(sides[n].key))] = true;
            vertices.push_back(candidates[n].point);
        }
    }
}

int CreaseSides::between(int one, int other) const
{
    if (!m_isEnd[size_t(one)] || !m_isEnd[size_t(other)])
        return -1;
    const auto part = m_parts.find(keyOf(one, other));
    return part == m_parts.end() ? -1 : part->second;
}

} // namespace corvane::mesh
