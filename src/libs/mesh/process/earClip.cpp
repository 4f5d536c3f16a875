#include "earClip.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <queue>
#include <utility>

namespace mesh::process {

namespace {

double cross(const PolygonPoint &a, const PolygonPoint &b, const PolygonPoint &c)
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

double squaredDistance(const PolygonPoint &a, const PolygonPoint &b)
{
    return (b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y);
}

// The borders belong to the triangle, and a little more: a corner on a cut would lie between two
// triangles that do not have it.
bool isInTriangle(const PolygonPoint &p, const PolygonPoint &a, const PolygonPoint &b,
                  const PolygonPoint &c, double slack)
{
    return cross(a, b, p) >= -slack && cross(b, c, p) >= -slack && cross(c, a, p) >= -slack;
}

// The places of points by the cell of a grid that they lie in, about one a cell.
class PointGrid
{
public:
    explicit PointGrid(const Polygon &points);

    /// Visits the points in all cells that a triangle touches, until the visit answers false.
    template<typename Visit>
    void visit(const PolygonPoint &a, const PolygonPoint &b, const PolygonPoint &c,
               const Visit &visit) const;

private:
    int column(double x) const { return std::clamp(int((x - m_minX) * m_scale), 0, m_columns - 1); }
    int row(double y) const { return std::clamp(int((y - m_minY) * m_scale), 0, m_rows - 1); }

    double m_minX = 0, m_minY = 0, m_scale = 0; // cells a unit
    int m_columns = 1, m_rows = 1;
    std::vector<int> m_first, m_points;
};

PointGrid::PointGrid(const Polygon &points)
{
    double maxX = std::numeric_limits<double>::lowest(), maxY = maxX;
    m_minX = m_minY = std::numeric_limits<double>::max();
    for (const PolygonPoint &p : points) {
        m_minX = std::min(m_minX, p.x), maxX = std::max(maxX, p.x);
        m_minY = std::min(m_minY, p.y), maxY = std::max(maxY, p.y);
    }
    const double width = maxX - m_minX, height = maxY - m_minY;
    const double count = double(points.size());
    // Of a long strip the cells are cut along its length only.
    const double cell =
        std::max({std::sqrt(width * height / count), std::max(width, height) / count, 1e-300});
    m_scale = 1 / cell;
    m_columns = int(width * m_scale) + 1;
    m_rows = int(height * m_scale) + 1;
    m_first.assign(size_t(m_columns) * size_t(m_rows) + 1, 0);
    const auto cellOf = [&](const PolygonPoint &p) {
        return size_t(row(p.y)) * size_t(m_columns) + size_t(column(p.x));
    };
    for (const PolygonPoint &p : points)
        ++m_first[cellOf(p) + 1];
    for (size_t i = 1; i < m_first.size(); ++i)
        m_first[i] += m_first[i - 1];
    m_points.resize(points.size());
    std::vector<int> place(m_first.begin(), m_first.end() - 1);
    for (size_t i = 0; i < points.size(); ++i)
        m_points[size_t(place[cellOf(points[i])]++)] = int(i);
}

template<typename Visit>
void PointGrid::visit(const PolygonPoint &a, const PolygonPoint &b, const PolygonPoint &c,
                      const Visit &visit) const
{
    const int lowRow = row(std::min({a.y, b.y, c.y})), highRow = row(std::max({a.y, b.y, c.y}));
    for (int r = lowRow; r <= highRow; ++r) {
        // The part of each side within the row, with room for what lies on the very line.
        const double low = m_minY + (r - 0.01) / m_scale, high = m_minY + (r + 1.01) / m_scale;
        double left = std::numeric_limits<double>::max(), right = -left;
        const auto addSide = [&](const PolygonPoint &p, const PolygonPoint &q) {
            if (std::max(p.y, q.y) < low || std::min(p.y, q.y) > high)
                return;
            const auto at = [&](double y) {
                return p.y == q.y ? q.x : p.x + (q.x - p.x) * ((y - p.y) / (q.y - p.y));
            };
            for (const double x :
                 {std::clamp(p.y, low, high) == p.y ? p.x : at(std::clamp(p.y, low, high)),
                  std::clamp(q.y, low, high) == q.y ? q.x : at(std::clamp(q.y, low, high))}) {
                left = std::min(left, x);
                right = std::max(right, x);
            }
        };
        addSide(a, b);
        addSide(b, c);
        addSide(c, a);
        if (left > right)
            continue;
        const size_t base = size_t(r) * size_t(m_columns);
        const int end = m_first[base + size_t(column(right + 0.01 / m_scale)) + 1];
        for (int i = m_first[base + size_t(column(left - 0.01 / m_scale))]; i < end; ++i)
            if (!visit(m_points[size_t(i)]))
                return;
    }
}

class EarClipper
{
public:
    EarClipper(const Polygon &polygon, const ClipRules &rules,
               std::vector<std::array<int, 2>> &joined);

    bool run(int budget);
    std::vector<std::array<int, 3>> triangles;

private:
    struct Ear
    {
        double quality = 0;
        int tip = 0;
        int version = 0;

        bool operator<(const Ear &o) const
        {
            return quality != o.quality ? quality < o.quality : tip > o.tip;
        }
    };

    const PolygonPoint &point(int i) const { return m_points[size_t(i)]; }
    int prev(int i) const { return m_prev[size_t(i)]; }
    int next(int i) const { return m_next[size_t(i)]; }
    double quality(int tip) const;
    bool isConvex(int tip) const { return quality(tip) > leastQuality; }
    int blocker(int tip) const;
    void push(int tip);
    void wake(int i);
    void changed(int i);
    void clip(int tip);
    bool tryClip(const Ear &ear);

    // Twice the area over the square of the longest side: below this a triangle is a line.
    static constexpr double leastQuality = 1e-6;

    const Polygon &m_points;
    const ClipRules &m_rules;
    std::vector<std::array<int, 2>> &m_joined;
    PointGrid m_grid;
    std::vector<int> m_prev, m_next, m_version;
    std::vector<char> m_isAlive, m_isReflex; // reflex: not convex, straight ones too
    std::vector<std::vector<int>> m_waiting; // ears, by the corner within them
    std::priority_queue<Ear> m_ears;
    int m_left = 0;
};

EarClipper::EarClipper(const Polygon &polygon, const ClipRules &rules,
                       std::vector<std::array<int, 2>> &joined)
    : m_points(polygon)
    , m_rules(rules)
    , m_joined(joined)
    , m_grid(polygon)
    , m_prev(polygon.size())
    , m_next(polygon.size())
    , m_version(polygon.size(), 0)
    , m_isAlive(polygon.size(), 1)
    , m_isReflex(polygon.size(), 0)
    , m_waiting(polygon.size())
    , m_left(int(polygon.size()))
{
    for (int i = 0; i < m_left; ++i) {
        m_prev[size_t(i)] = (i + m_left - 1) % m_left;
        m_next[size_t(i)] = (i + 1) % m_left;
    }
    for (int i = 0; i < m_left; ++i) {
        m_isReflex[size_t(i)] = !isConvex(i);
        push(i);
    }
}

double EarClipper::quality(int tip) const
{
    const PolygonPoint &a = point(prev(tip)), &b = point(tip), &c = point(next(tip));
    const double longest =
        std::max({squaredDistance(a, b), squaredDistance(b, c), squaredDistance(c, a)});
    return longest > 0 ? cross(a, b, c) / longest : 0;
}

void EarClipper::push(int tip)
{
    if (!m_isReflex[size_t(tip)])
        m_ears.push({quality(tip), tip, m_version[size_t(tip)]});
}

// A corner that lies within an ear; -1 for none. Where any does, one that is not convex does.
int EarClipper::blocker(int tip) const
{
    const PolygonPoint &a = point(prev(tip)), &b = point(tip), &c = point(next(tip));
    // Near by as well: a cut that passes a corner closely leaves a needle that cannot be cut off.
    const double slack =
        1e-5 * std::max({squaredDistance(a, b), squaredDistance(b, c), squaredDistance(c, a)});
    int found = -1;
    m_grid.visit(a, b, c, [&](int i) {
        const PolygonPoint &p = point(i);
        const bool blocks = m_isAlive[size_t(i)] && m_isReflex[size_t(i)] && p.id != a.id &&
                            p.id != b.id && p.id != c.id && isInTriangle(p, a, b, c, slack);
        found = blocks ? i : -1;
        return !blocks;
    });
    return found;
}

void EarClipper::wake(int i)
{
    for (const int tip : std::exchange(m_waiting[size_t(i)], {}))
        if (m_isAlive[size_t(tip)])
            push(tip);
}

void EarClipper::changed(int i)
{
    ++m_version[size_t(i)];
    const bool wasReflex = m_isReflex[size_t(i)] != 0;
    m_isReflex[size_t(i)] = !isConvex(i);
    push(i);
    if (wasReflex && !m_isReflex[size_t(i)])
        wake(i);
}

void EarClipper::clip(int tip)
{
    const int before = prev(tip), after = next(tip);
    triangles.push_back({point(before).id, point(tip).id, point(after).id});
    m_isAlive[size_t(tip)] = 0;
    m_next[size_t(before)] = after;
    m_prev[size_t(after)] = before;
    --m_left;
    changed(before);
    changed(after);
    wake(tip);
}

bool EarClipper::tryClip(const Ear &ear)
{
    const int tip = ear.tip;
    if (!m_isAlive[size_t(tip)] || m_isReflex[size_t(tip)] || m_version[size_t(tip)] != ear.version)
        return false;
    const PolygonPoint &a = point(prev(tip)), &c = point(next(tip));
    if (a.id == c.id || !m_rules.mayFill(a.id, point(tip).id, c.id))
        return false;
    if (const int inside = blocker(tip); inside >= 0) {
        m_waiting[size_t(inside)].push_back(tip);
        return false;
    }
    if (m_left > 3) {
        if (!m_rules.mayJoin(a.id, c.id))
            return false;
        m_joined.push_back({a.id, c.id});
    }
    clip(tip);
    return true;
}

bool EarClipper::run(int budget)
{
    while (m_left >= 3 && !m_ears.empty() && budget > 0) {
        const Ear ear = m_ears.top();
        m_ears.pop();
        budget -= tryClip(ear) ? 1 : 0;
    }
    return m_left == 2;
}

// ------------------------------------------------------------------ holes

size_t leftmost(const Polygon &polygon)
{
    const auto isLeft = [](const PolygonPoint &a, const PolygonPoint &b) {
        return a.x != b.x ? a.x < b.x : a.y < b.y;
    };
    return size_t(std::min_element(polygon.begin(), polygon.end(), isLeft) - polygon.begin());
}

// Whether the way from a corner of a ring to a point begins inside of it.
bool beginsInside(const Polygon &ring, size_t corner, const PolygonPoint &to)
{
    const PolygonPoint &a = ring[corner];
    const PolygonPoint &before = ring[(corner + ring.size() - 1) % ring.size()];
    const PolygonPoint &after = ring[(corner + 1) % ring.size()];
    const double left = cross(a, after, to), right = cross(before, a, to);
    return cross(before, a, after) > 0 ? left >= 0 && right >= 0 : left > 0 || right > 0;
}

// The corner of the ring to which a straight cut from `from`, the leftmost point of a hole, can go:
// the nearer end of the edge to the left of it, or what stands between.
size_t visibleCorner(const Polygon &ring, const PolygonPoint &from)
{
    size_t best = ring.size();
    double hitX = std::numeric_limits<double>::lowest();
    for (size_t i = 0; i < ring.size(); ++i) {
        const PolygonPoint &p = ring[i], &q = ring[(i + 1) % ring.size()];
        if (!(p.y >= from.y && q.y <= from.y && p.y != q.y)) // the ring is to the right of these
            continue;
        const double x = p.x + (from.y - p.y) * (q.x - p.x) / (q.y - p.y);
        if (x <= from.x && x > hitX) {
            hitX = x;
            best = p.x < q.x ? i : (i + 1) % ring.size();
        }
    }
    if (best == ring.size())
        return best;
    const PolygonPoint hit{hitX, from.y, -1}, corner = ring[best];
    double bestSlope = std::numeric_limits<double>::max();
    for (size_t i = 0; i < ring.size(); ++i) {
        const PolygonPoint &p = ring[i];
        const bool isBetween = p.x < from.x && p.x >= corner.x &&
                               (corner.y < from.y ? isInTriangle(p, from, hit, corner, 0)
                                                  : isInTriangle(p, from, corner, hit, 0));
        if (!isBetween || !beginsInside(ring, i, from))
            continue;
        const double slope = std::abs(p.y - from.y) / (from.x - p.x);
        if (slope < bestSlope || (slope == bestSlope && p.x > ring[best].x)) {
            bestSlope = slope;
            best = i;
        }
    }
    return best;
}

} // namespace

Polygon bridgeHoles(const Polygon &outer, std::vector<Polygon> holes, const ClipRules &rules,
                    std::vector<std::array<int, 2>> &joined)
{
    for (Polygon &hole : holes)
        std::rotate(hole.begin(), hole.begin() + std::ptrdiff_t(leftmost(hole)), hole.end());
    // From left to right: what is left of a hole then belongs to the ring already.
    std::sort(holes.begin(), holes.end(), [](const Polygon &a, const Polygon &b) {
        return a[0].x != b[0].x ? a[0].x < b[0].x : a[0].y < b[0].y;
    });
    Polygon ring = outer;
    for (const Polygon &hole : holes) {
        const size_t at = visibleCorner(ring, hole[0]);
        if (at == ring.size() || ring[at].id == hole[0].id ||
            !rules.mayJoin(ring[at].id, hole[0].id))
            return {};
        joined.push_back({ring[at].id, hole[0].id});
        Polygon detour = hole;
        detour.push_back(hole[0]);
        detour.push_back(ring[at]);
        ring.insert(ring.begin() + std::ptrdiff_t(at) + 1, detour.begin(), detour.end());
    }
    return ring;
}

std::vector<std::array<int, 3>> earClip(const Polygon &polygon, const ClipRules &rules, int budget,
                                        std::vector<std::array<int, 2>> &joined)
{
    if (polygon.size() < 3)
        return {};
    EarClipper clipper(polygon, rules, joined);
    return clipper.run(budget) ? std::move(clipper.triangles) : std::vector<std::array<int, 3>>{};
}

} // namespace mesh::process
