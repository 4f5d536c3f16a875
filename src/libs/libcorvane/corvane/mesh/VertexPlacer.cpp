#include "VertexPlacer.h"

#include "CreaseEnds.h"
#include "CreaseOwner.h"
#include "NearbySheets.h"
#include "SurfaceSearch.h"

#include <algorithm>
#include <utility>

namespace corvane::mesh {

namespace {

// Enough to fill the lanes of any field, few enough to stay in the cache.
constexpr size_t batchSize = 512;
// Two vertices of a cell that are nearer to each other than this share of it do not hold its sheets
// apart.
constexpr float togetherShare = 0.01f;

void addCandidates(const VertexRegion &region, const Sheets &sheets,
                   std::vector<CreaseCandidate> &candidates)
{
    const auto add = [&](std::initializer_list<int> members) {
        CreaseCandidate candidate;
        candidate.region = &region;
        candidate.areOwn = true;
        for (const int member : members) {
            candidate.sheets[size_t(candidate.count++)] = sheets.list[size_t(member)];
            candidate.areOwn = candidate.areOwn && member < sheets.ownCount;
        }
        candidates.push_back(candidate);
    };
    // The lowest one is a sheet of the cell's own.
    for (int a = 0; a < sheets.ownCount; ++a) {
        for (int b = a + 1; b < sheets.count; ++b) {
            add({a, b});
            for (int c = b + 1; c < sheets.count; ++c)
                add({a, b, c});
        }
    }
}

// A corner outside the box that no other cell has.
bool isTip(const CreaseCandidate &candidate)
{
    return candidate.count == 3 && !candidate.isInside && !candidate.isBlunt;
}

// Corners before creases, what lies in the box before what does not except tips, and then what is
// nearer to the middle of the crossings.
const CreaseCandidate *bestOf(std::span<const CreaseCandidate> candidates,
                              const VertexRegion &region)
{
    const QVector3D middle = region.middle();
    const CreaseCandidate *best = nullptr;
    const auto isBetter = [&](const CreaseCandidate &one, const CreaseCandidate &other) {
        if (isTip(one) != isTip(other))
            return isTip(one);
        if (one.isInside != other.isInside)
            return one.isInside;
        if (one.isBlunt != other.isBlunt)
            return other.isBlunt;
        if (one.count != other.count)
            return one.count > other.count;
        return (one.point - middle).lengthSquared() < (other.point - middle).lengthSquared();
    };
    for (const CreaseCandidate &candidate : candidates) {
        if (candidate.found && (!best || isBetter(candidate, *best)))
            best = &candidate;
    }
    return best;
}

// The surface next to the middle of its crossings. On a bent sheet the crossings lie as far to one
// side of it there as their tangent planes do to the other: exactly so, on the mean, on a quadric.
QVector3D estimatedPoint(const VertexRegion &region, const Sheet &sheet)
{
    float height = 0.0f;
    for (const HermiteSample &crossing : region.samples())
        height += QVector3D::dotProduct(crossing.normal, crossing.point - sheet.middle);
    return sheet.middle + sheet.normal * (0.5f * height / float(region.count));
}

// On the way along the mean of the normals of all crossings.
SurfacePoint towardsSurface(const VertexRegion &region)
{
    SurfacePoint point{&region, region.middle(), {}, 0.0f};
    int directions = 0;
    for (const HermiteSample &crossing : region.samples()) {
        point.normal += crossing.normal;
        point.slope += crossing.slope;
        directions += crossing.normal.isNull() ? 0 : 1;
    }
    point.normal.normalize();
    point.slope = directions > 0 ? point.slope / float(directions) : 1.0f;
    return point;
}

QVector3D minimumOfPlanes(const VertexRegion &region)
{
    QefSolver planes;
    for (const HermiteSample &crossing : region.samples())
        addSample(crossing, planes);
    return planes.solve(region.low, region.high).position;
}

} // namespace

VertexPlacer::VertexPlacer(CrossingRule rule)
    : m_rule(std::move(rule))
{}

int VertexPlacer::add(const CellVertices &cell)
{
    if (m_open.size() >= batchSize)
        finish();
    const auto first = int(m_vertices.size() + m_open.size());
    for (int cycle = 0; cycle < cell.count(); ++cycle)
        m_open.push_back(cell.region(cycle));
    m_openCells.push_back(size_t(cell.count()));
    return first;
}

void VertexPlacer::finish()
{
    if (m_rule.field) {
        placeOnField();
    } else {
        for (const VertexRegion &region : m_open)
            m_vertices.push_back(minimumOfPlanes(region));
        m_normals.resize(m_vertices.size());
        m_isHidden.resize(m_vertices.size());
    }
    keepApart();
    m_open.clear();
    m_openCells.clear();
}

void VertexPlacer::placeOnField()
{
    const std::vector<Sheets> sheets = sheetsOfRegions(m_open, m_rule);
    std::vector<CreaseCandidate> candidates;
    for (size_t n = 0; n < m_open.size(); ++n)
        addCandidates(m_open[n], sheets[n], candidates);
    searchCreases(candidates, m_rule);
    std::vector<CreaseCandidate> corners = creaseEnds(candidates, m_rule);
    searchCreases(corners, m_rule);
    candidates.insert(candidates.end(), corners.begin(), corners.end());
    keepOwnCreases(candidates, m_rule);
    std::ranges::stable_sort(candidates, {}, &CreaseCandidate::region);

    std::vector<SurfacePoint> others;
    std::vector<size_t> numbers;
    auto next = candidates.cbegin();
    for (size_t n = 0; n < m_open.size(); ++n) {
        const auto first = next;
        next = std::find_if(first, candidates.cend(), [&](const CreaseCandidate &candidate) {
            return candidate.region != &m_open[n];
        });
        const CreaseCandidate *crease = bestOf(std::span(first, next), m_open[n]);
        const bool isSmooth = !crease && sheets[n].count == 1;
        if (isSmooth) {
            const Sheet &sheet = sheets[n].list[0];
            others.push_back(
                {&m_open[n], estimatedPoint(m_open[n], sheet), sheet.normal, sheet.slope});
        } else if (!crease) {
            others.push_back(towardsSurface(m_open[n]));
        }
        if (!crease)
            numbers.push_back(m_vertices.size());
        m_vertices.push_back(crease ? crease->point : QVector3D());
        m_isHidden.push_back(crease && (!crease->isInside || crease->isEnd));
        m_normals.push_back(isSmooth ? sheets[n].list[0].normal : QVector3D());
    }
    putOnSurface(others, m_rule);
    for (size_t n = 0; n < others.size(); ++n)
        m_vertices[numbers[n]] = others[n].point;
}

// Vertices of one cell that fell together, as those of two sheets on one crease, go back to their
// own sheets, or if that does not part them to the middles of their crossings.
void VertexPlacer::keepApart()
{
    std::vector<SurfacePoint> points;
    std::vector<size_t> numbers;
    for (const size_t n : fallenTogether()) {
        points.push_back(towardsSurface(m_open[n]));
        numbers.push_back(n);
    }
    const size_t first = m_vertices.size() - m_open.size();
    if (m_rule.field)
        putOnSurface(points, m_rule);
    for (size_t n = 0; n < points.size(); ++n) {
        m_vertices[first + numbers[n]] = points[n].point;
        m_normals[first + numbers[n]] = {};
    }
    for (const size_t n : fallenTogether())
        m_vertices[first + n] = m_open[n].clamped(m_open[n].middle());
}

std::vector<size_t> VertexPlacer::fallenTogether() const
{
    const QVector3D *const vertices = m_vertices.data() + (m_vertices.size() - m_open.size());
    std::vector<size_t> result;
    size_t first = 0;
    for (const size_t count : m_openCells) {
        bool together = false;
        for (size_t one = first + 1; one < first + count; ++one) {
            for (size_t other = first; other < one; ++other)
                together = together || (vertices[one] - vertices[other]).length() <
                                           togetherShare * m_rule.edgeLength;
        }
        for (size_t n = first; together && n < first + count; ++n)
            result.push_back(n);
        first += count;
    }
    return result;
}

} // namespace corvane::mesh
