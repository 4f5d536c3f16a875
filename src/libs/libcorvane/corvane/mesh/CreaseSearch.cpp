// The tangent planes at the crossings of a cell meet in the crease only where its sheets are flat.
// Where they are bent, planes that touch the sheets close to the crease are better: a probe next to
// the point that was found, on the side of each sheet, is put onto the surface, and its tangent
// plane takes the place of the sheet's plane. With probes at a quarter of the way the error is a
// sixteenth of what it was before; after two rounds it is below what an edge of the mesh can show.
//
// The probes also tell a crease from a surface that is only bent: between the probes a bend turns
// by a quarter of what it does between the crossings, and a crease by all of it.

#include "CreaseSearch.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace corvane::mesh {

namespace {

constexpr int rounds = 3;
constexpr int bluntRounds = 3;
constexpr int projections = 16;
constexpr float probeShare = 0.25f;   // of the way from the crease to the crossings
constexpr float bendShare = 0.12f;    // of where tangent planes meet off a surface, likewise
constexpr float nearEnough = 0.003f;  // distance of a crease from the surface, in edge lengths
constexpr float outsideShare = 0.06f; // how far a crease may lie outside its box, in edge lengths
constexpr float farthestReach = 3.0f; // beyond which probes say nothing of the cell
constexpr float keptTurn = 0.6f;      // the share of the turn between sheets that a crease keeps
constexpr float likeSheetCosine = 0.8f;

struct Search
{
    CreaseCandidate *candidate = nullptr;
    std::array<TangentPlane, 3> planes{};
    bool isConfirmed = false; ///< each probe came out on its own sheet

    std::span<const TangentPlane> all() const
    {
        return std::span(planes).first(size_t(candidate->count));
    }
};

// By turns the nearest point of the planes and of the box; where they have none in common, the one
// of the planes that is nearest to the crossings, so that neighbours find points apart.
bool meet(Search &search, float tolerance)
{
    CreaseCandidate &candidate = *search.candidate;
    const VertexRegion &region = *candidate.region;
    const auto nearest = commonPoint(search.all(), region.middle());
    if (!nearest)
        return false;
    QVector3D meeting = *nearest;
    QVector3D within = region.clamped(meeting);
    for (int n = 0; n < projections && candidate.count == 2 && within != meeting; ++n) {
        meeting = *commonPoint(search.all(), within);
        within = region.clamped(meeting);
    }
    candidate.isInside = (meeting - within).length() <= tolerance;
    candidate.point = candidate.isInside ? within : *nearest;
    return true;
}

class CreaseSearch
{
public:
    CreaseSearch(std::span<CreaseCandidate> candidates, const CrossingRule &rule);
    void run();

private:
    void dropFar();
    void ask();
    void dropBends();
    void dropFound();
    void bluntEnds();
    void placeProbes();
    void pullProbes();
    void takePlanes();
    bool keepsItsTurns(const Search &search) const;

    const CrossingRule &m_rule;
    std::vector<Search> m_open;
    std::vector<QVector3D> m_points; ///< of the candidates
    std::vector<QVector3D> m_probes; ///< those of one candidate after the other
    std::vector<float> m_distances;
    std::vector<QVector3D> m_gradients;
};

CreaseSearch::CreaseSearch(std::span<CreaseCandidate> candidates, const CrossingRule &rule)
    : m_rule(rule)
{
    for (CreaseCandidate &candidate : candidates) {
        Search search{&candidate, {}, false};
        for (size_t n = 0; n < size_t(candidate.count); ++n)
            search.planes[n] = {candidate.sheets[n].middle, candidate.sheets[n].normal};
        m_open.push_back(search);
    }
}

void CreaseSearch::run()
{
    for (int round = 0; round <= rounds && !m_open.empty(); ++round) {
        dropFar();
        if (round == 0)
            dropBends();
        else
            dropFound();
        if (round == rounds)
            break;
        placeProbes();
        pullProbes();
        pullProbes();
        takePlanes();
    }
    std::erase_if(m_open, [](const Search &search) { return search.candidate->isInside; });
    bluntEnds();
}

// Outside its box a region looks only for what its own crossings show: what it sees nearby is
// nearer to others there.
void CreaseSearch::dropFar()
{
    std::erase_if(m_open, [this](Search &search) {
        const CreaseCandidate &candidate = *search.candidate;
        return !meet(search, outsideShare * m_rule.edgeLength) ||
               (!candidate.isInside && !candidate.areOwn) ||
               (candidate.point - candidate.region->middle()).length() >
                   farthestReach * m_rule.edgeLength;
    });
}

void CreaseSearch::ask()
{
    m_points.clear();
    for (const Search &search : m_open)
        m_points.push_back(search.candidate->point);
    m_distances.resize(m_points.size());
    m_rule.field(m_points, m_distances);
}

// Where a surface only bends, the planes at its crossings meet well off it. A corner, or the end of
// a blade, is given more room.
void CreaseSearch::dropBends()
{
    ask();
    size_t n = 0;
    std::erase_if(m_open, [&](const Search &search) {
        const CreaseCandidate &candidate = *search.candidate;
        const float off = std::fabs(m_distances[n++] - m_rule.iso) / candidate.sheets[0].slope;
        return off > bendShare * m_rule.edgeLength &&
               !(candidate.areOwn && (candidate.count == 3 || !candidate.isInside));
    });
}

// Those that lie on the surface are done.
void CreaseSearch::dropFound()
{
    ask();
    size_t n = 0;
    std::erase_if(m_open, [&](const Search &search) {
        CreaseCandidate &candidate = *search.candidate;
        const float distance = std::fabs(m_distances[n++] - m_rule.iso) / candidate.sheets[0].slope;
        candidate.found =
            distance <= nearEnough * m_rule.edgeLength && (search.isConfirmed || candidate.isBlunt);
        return candidate.found;
    });
}

void CreaseSearch::placeProbes()
{
    m_probes.clear();
    for (const Search &search : m_open) {
        for (size_t n = 0; n < size_t(search.candidate->count); ++n)
            m_probes.push_back(search.candidate->point +
                               (search.candidate->sheets[n].middle - search.candidate->point) *
                                   probeShare);
    }
}

void CreaseSearch::pullProbes()
{
    m_distances.resize(m_probes.size());
    m_rule.field(m_probes, m_distances);
    size_t probe = 0;
    for (const Search &search : m_open) {
        for (size_t n = 0; n < size_t(search.candidate->count); ++n, ++probe) {
            const Sheet &sheet = search.candidate->sheets[n];
            m_probes[probe] -=
                search.planes[n].normal * ((m_distances[probe] - m_rule.iso) / sheet.slope);
        }
    }
}

// A probe that came out on another sheet leaves its plane as it was.
void CreaseSearch::takePlanes()
{
    m_gradients.resize(m_probes.size());
    m_rule.gradient(m_probes, m_gradients);
    size_t probe = 0;
    std::erase_if(m_open, [&](Search &search) {
        search.isConfirmed = true;
        for (size_t n = 0; n < size_t(search.candidate->count); ++n, ++probe) {
            const QVector3D normal = m_gradients[probe].normalized();
            if (QVector3D::dotProduct(normal, search.candidate->sheets[n].normal) > likeSheetCosine)
                search.planes[n] = {m_probes[probe], normal};
            else
                search.isConfirmed = false;
        }
        return !keepsItsTurns(search);
    });
}

bool CreaseSearch::keepsItsTurns(const Search &search) const
{
    const auto &sheets = search.candidate->sheets;
    for (size_t a = 1; a < size_t(search.candidate->count); ++a) {
        for (size_t b = 0; b < a; ++b) {
            const float before = (sheets[a].normal - sheets[b].normal).length();
            const float now = (search.planes[a].normal - search.planes[b].normal).length();
            if (now < keptTurn * before)
                return false;
        }
    }
    return true;
}

// From where the sheets would meet to the nearest point of the surface.
void CreaseSearch::bluntEnds()
{
    for (Search &search : m_open)
        search.candidate->isBlunt = true;
    for (int round = 0; round < bluntRounds && !m_open.empty(); ++round) {
        ask();
        m_gradients.resize(m_points.size());
        m_rule.gradient(m_points, m_gradients);
        for (size_t n = 0; n < m_open.size(); ++n) {
            const float squared = m_gradients[n].lengthSquared();
            const float longest = m_rule.edgeLength / std::sqrt(squared);
            if (squared > 0.0f)
                m_open[n].candidate->point -=
                    m_gradients[n] *
                    std::clamp((m_distances[n] - m_rule.iso) / squared, -longest, longest);
        }
    }
    dropFound();
}

} // namespace

void searchCreases(std::span<CreaseCandidate> candidates, const CrossingRule &rule)
{
    CreaseSearch(candidates, rule).run();
}

} // namespace corvane::mesh
