// A ring of up to eight corners, four and those that part its sides, is cut in the best of all ways
// by the table of its pieces: the best cut of the corners from one to another follows from those of
// shorter pieces (Klincsek 1980). The field is asked once for all diagonals and once for all
// triangles that the rings may have. Where each way leaves a fault, a fan around a vertex in the
// middle is tried too.

#include "RingCuts.h"

#include "CreaseSides.h"
#include "SurfaceSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

namespace corvane::mesh {

namespace {

// A triangle with a smaller cross product, in squared edge lengths, faces nowhere.
constexpr float thinShare = 1e-3f;
// A ring whose triangles turn less against each other is as good either way.
constexpr float plainCosine = 0.98f;
constexpr size_t batchSize = 512;
constexpr size_t most = 8; ///< corners
// More than all triangles of a ring can have.
constexpr int forbidden = 100;

using Quad = std::array<int, 4>;
using Corners = std::array<QVector3D, 3>;

struct Cost
{
    int faults = 0;
    float off = 0.0f; ///< of the diagonals' middles from the surface, together

    Cost operator+(const Cost &other) const { return {faults + other.faults, off + other.off}; }
    bool operator<(const Cost &other) const
    {
        return faults != other.faults ? faults < other.faults : off < other.off;
    }
};

struct Ring
{
    size_t quad = 0; ///< that it comes from
    size_t count = 0;
    std::array<int, most> corners{};
    std::array<QVector3D, most> at{};
    std::array<bool, most> isPart{};                   ///< of a side
    std::array<std::array<Cost, most>, most> cost{};   ///< of the piece from one to another
    std::array<std::array<size_t, most>, most> apex{}; ///< of the triangle upon that diagonal
    std::optional<QVector3D> middle;                   ///< of a fan that is better than any cut

    void add(int corner, const QVector3D &place, bool part)
    {
        corners[count] = corner;
        isPart[count] = part;
        at[count++] = place;
    }
    /// Whether a diagonal spans the two halves of a side: the ring across the side may have the
    /// same one.
    bool isWholeSide(size_t from, size_t to) const
    {
        return (to == from + 2 && isPart[from + 1]) ||
               (to == from + count - 2 && isPart[(to + 1) % count]);
    }
    bool isSide(size_t from, size_t to) const { return to == from + 1 || to == from + count - 1; }
};

QVector3D crossOf(const Corners &corners)
{
    return QVector3D::crossProduct(corners[1] - corners[0], corners[2] - corners[0]);
}

// Whether both cuts of a ring of four are as good: it is flat, and no triangle is thin or turned.
bool isPlain(const Ring &ring, float edgeLength)
{
    if (ring.count != 4)
        return false;
    const float leastSquared = std::pow(thinShare * edgeLength * edgeLength, 2.0f);
    const QVector3D normal =
        QVector3D::crossProduct(ring.at[2] - ring.at[0], ring.at[3] - ring.at[1]).normalized();
    for (size_t n = 0; n < 4; ++n) {
        const QVector3D cross = crossOf({ring.at[n], ring.at[(n + 1) % 4], ring.at[(n + 2) % 4]});
        const float along = QVector3D::dotProduct(cross, normal);
        if (along <= 0.0f || cross.lengthSquared() < leastSquared ||
            along * along < plainCosine * plainCosine * cross.lengthSquared())
            return false;
    }
    return true;
}

template<class Function>
void forEachTriangle(size_t count, const Function &function)
{
    for (size_t a = 0; a < count; ++a) {
        for (size_t b = a + 1; b < count; ++b) {
            for (size_t c = b + 1; c < count; ++c)
                function(a, b, c);
        }
    }
}

template<class Function>
void forEachDiagonal(const Ring &ring, const Function &function)
{
    for (size_t a = 0; a < ring.count; ++a) {
        for (size_t b = a + 1; b < ring.count; ++b) {
            if (!ring.isSide(a, b))
                function(a, b);
        }
    }
}

// For each triangle, whether it has no area or faces against the field at its centre.
std::vector<int> faultsOf(std::span<const Corners> triangles, const CrossingRule &rule)
{
    std::vector<QVector3D> centres;
    for (const Corners &corners : triangles)
        centres.push_back((corners[0] + corners[1] + corners[2]) / 3.0f);
    std::vector<QVector3D> gradients(centres.size());
    rule.gradient(centres, gradients);
    const float least = thinShare * rule.edgeLength * rule.edgeLength;
    std::vector<int> faults;
    for (size_t n = 0; n < triangles.size(); ++n) {
        const QVector3D cross = crossOf(triangles[n]);
        faults.push_back(
            cross.length() < least || QVector3D::dotProduct(cross, gradients[n]) <= 0.0f ? 1 : 0);
    }
    return faults;
}

void measureDiagonals(std::span<Ring> rings, const CrossingRule &rule)
{
    std::vector<QVector3D> middles;
    for (const Ring &ring : rings) {
        forEachDiagonal(
            ring, [&](size_t a, size_t b) { middles.push_back((ring.at[a] + ring.at[b]) * 0.5f); });
    }
    std::vector<float> distances(middles.size());
    rule.field(middles, distances);
    auto next = distances.cbegin();
    for (Ring &ring : rings) {
        forEachDiagonal(ring, [&](size_t a, size_t b) {
            ring.cost[a][b] = {ring.isWholeSide(a, b) ? forbidden : 0,
                               std::fabs(*next++ - rule.iso)};
        });
    }
}

// Fills the table, from the shortest pieces to the whole ring.
void findBest(Ring &ring, std::span<const int> faults)
{
    std::array<std::array<std::array<int, most>, most>, most> fault{};
    size_t next = 0;
    forEachTriangle(ring.count,
                    [&](size_t a, size_t b, size_t c) { fault[a][b][c] = faults[next++]; });
    for (size_t length = 2; length < ring.count; ++length) {
        for (size_t from = 0; from + length < ring.count; ++from) {
            const size_t to = from + length;
            Cost best{std::numeric_limits<int>::max(), 0.0f};
            for (size_t apex = from + 1; apex < to; ++apex) {
                const Cost cost =
                    ring.cost[from][apex] + ring.cost[apex][to] + Cost{fault[from][apex][to], 0.0f};
                if (cost < best) {
                    best = cost;
                    ring.apex[from][to] = apex;
                }
            }
            ring.cost[from][to] = best + ring.cost[from][to];
        }
    }
}

void findBest(std::span<Ring> rings, const CrossingRule &rule)
{
    measureDiagonals(rings, rule);
    std::vector<Corners> triangles;
    for (const Ring &ring : rings) {
        forEachTriangle(ring.count, [&](size_t a, size_t b, size_t c) {
            triangles.push_back({ring.at[a], ring.at[b], ring.at[c]});
        });
    }
    const std::vector<int> faults = faultsOf(triangles, rule);
    size_t first = 0;
    for (Ring &ring : rings) {
        const size_t count = ring.count * (ring.count - 1) * (ring.count - 2) / 6;
        findBest(ring, std::span(faults).subspan(first, count));
        first += count;
    }
}

VertexRegion boxOf(const Ring &ring)
{
    VertexRegion box;
    box.low = box.high = ring.at[0];
    for (size_t n = 1; n < ring.count; ++n) {
        for (int axis = 0; axis < 3; ++axis) {
            box.low[axis] = std::min(box.low[axis], ring.at[n][axis]);
            box.high[axis] = std::max(box.high[axis], ring.at[n][axis]);
        }
    }
    return box;
}

SurfacePoint middleOf(const Ring &ring, const VertexRegion &box)
{
    SurfacePoint middle{&box, {}, {}, 1.0f};
    for (size_t n = 0; n < ring.count; ++n) {
        middle.point += ring.at[n] / float(ring.count);
        middle.normal += QVector3D::crossProduct(ring.at[n], ring.at[(n + 1) % ring.count]);
    }
    middle.normal.normalize();
    return middle;
}

// Rings whose best cut has faults get a vertex in the middle if that leaves fewer.
void fanOut(std::span<Ring> rings, const CrossingRule &rule)
{
    std::vector<Ring *> faulty;
    for (Ring &ring : rings) {
        if (ring.cost[0][ring.count - 1].faults > 0)
            faulty.push_back(&ring);
    }
    std::vector<VertexRegion> boxes;
    for (const Ring *ring : faulty)
        boxes.push_back(boxOf(*ring));
    std::vector<SurfacePoint> middles;
    for (size_t n = 0; n < faulty.size(); ++n)
        middles.push_back(middleOf(*faulty[n], boxes[n]));
    putOnSurface(middles, rule);
    std::vector<Corners> triangles;
    for (size_t n = 0; n < faulty.size(); ++n) {
        const Ring &ring = *faulty[n];
        for (size_t side = 0; side < ring.count; ++side)
            triangles.push_back(
                {middles[n].point, ring.at[side], ring.at[(side + 1) % ring.count]});
    }
    const std::vector<int> faults = faultsOf(triangles, rule);
    auto first = faults.cbegin();
    for (size_t n = 0; n < faulty.size(); ++n) {
        Ring &ring = *faulty[n];
        const auto end = first + qsizetype(ring.count);
        if (std::accumulate(first, end, 0) < ring.cost[0][ring.count - 1].faults)
            ring.middle = middles[n].point;
        first = end;
    }
}

void addPiece(const Ring &ring, size_t from, size_t to, std::vector<Quad> &out)
{
    if (to < from + 2)
        return;
    const size_t apex = ring.apex[from][to];
    addPiece(ring, from, apex, out);
    out.push_back({ring.corners[from], ring.corners[apex], ring.corners[to], ring.corners[to]});
    addPiece(ring, apex, to, out);
}

void addCut(const Ring &ring, std::vector<QVector3D> &vertices, std::vector<Quad> &out)
{
    const auto &corners = ring.corners;
    if (ring.middle) {
        const int middle = int(vertices.size());
        vertices.push_back(*ring.middle);
        for (size_t n = 0; n < ring.count; ++n)
            out.push_back(
                {middle, corners[n], corners[(n + 1) % ring.count], corners[(n + 1) % ring.count]});
    } else if (ring.count > 4) {
        addPiece(ring, 0, ring.count - 1, out);
    } else if (ring.apex[0][3] == 2) { // a-c first
        out.push_back({corners[0], corners[1], corners[2], corners[3]});
    } else {
        out.push_back({corners[1], corners[2], corners[3], corners[0]});
    }
}

Ring ringOf(const Quad &quad, std::span<const QVector3D> vertices, const CreaseSides &sides)
{
    Ring ring;
    for (size_t n = 0; n < 4; ++n) {
        const int next = quad[(n + 1) % 4];
        if (quad[n] == next)
            continue;
        ring.add(quad[n], vertices[size_t(quad[n])], false);
        const int part = sides.between(quad[n], next);
        if (part >= 0)
            ring.add(part, vertices[size_t(part)], true);
    }
    return ring;
}

} // namespace

void cutRings(std::vector<Quad> &quads, std::vector<QVector3D> &vertices,
              std::span<const QVector3D> normals, const CrossingRule &rule, std::span<size_t> ends)
{
    if (!rule.field)
        return;
    const CreaseSides sides(quads, vertices, normals, rule);
    std::vector<Quad> cut;
    cut.reserve(quads.size());
    std::vector<Ring> rings;
    std::vector<size_t> moved{0}; // where each quad begins now, and the end
    for (size_t first = 0; first < quads.size(); first += batchSize) {
        const size_t last = std::min(first + batchSize, quads.size());
        rings.clear();
        for (size_t n = first; n < last; ++n) {
            Ring ring = ringOf(quads[n], vertices, sides);
            ring.quad = n;
            if (ring.count > 3 && !isPlain(ring, rule.edgeLength))
                rings.push_back(ring);
        }
        findBest(rings, rule);
        fanOut(rings, rule);
        auto ring = rings.cbegin();
        for (size_t n = first; n < last; ++n) {
            if (ring != rings.cend() && ring->quad == n)
                addCut(*ring++, vertices, cut);
            else
                cut.push_back(quads[n]);
            moved.push_back(cut.size());
        }
    }
    for (size_t &end : ends)
        end = moved[end];
    quads = std::move(cut);
}

} // namespace corvane::mesh
