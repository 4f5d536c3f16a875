// First along the normal that the crossings give, since that takes one value of the field a step
// and mostly one step (the method of secants). What is not there then, because the surface turns or
// the box ends, goes down the field's own gradient; at a wall of the box it slides along.

#include "SurfaceSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace corvane::mesh {

namespace {

constexpr int secantRounds = 3;
constexpr int gradientRounds = 6;
constexpr float nearEnough = 0.002f; // in edge lengths
constexpr float leastSlopeShare = 0.1f;
constexpr float longestStep = 0.5f; // in edge lengths

class SurfaceSearch
{
public:
    SurfaceSearch(std::span<SurfacePoint> points, const CrossingRule &rule);
    void run();

private:
    struct Search
    {
        SurfacePoint *goal = nullptr;
        QVector3D at;          ///< where the field is asked
        float distance = 0.0f; ///< there
        QVector3D start;       ///< where the secants begin
        float along = 0.0f;    ///< from there along the normal
        float lastAlong = 0.0f, lastDistance = 0.0f;
        float best = std::numeric_limits<float>::infinity(); ///< the distance of the goal's point
    };

    void takePoints();
    void ask();
    void stepAlongNormal(Search &search) const;
    void stepDownGradient(Search &search, const QVector3D &gradient) const;

    const CrossingRule &m_rule;
    std::vector<Search> m_open;
    std::vector<QVector3D> m_points;
    std::vector<float> m_distances;
    std::vector<QVector3D> m_gradients;
};

SurfaceSearch::SurfaceSearch(std::span<SurfacePoint> points, const CrossingRule &rule)
    : m_rule(rule)
{
    for (SurfacePoint &point : points) {
        Search search;
        search.goal = &point;
        search.at = search.start = point.region->clamped(point.point);
        m_open.push_back(search);
    }
}

void SurfaceSearch::run()
{
    ask();
    for (int round = 0; round < secantRounds && !m_open.empty(); ++round) {
        for (Search &search : m_open)
            stepAlongNormal(search);
        ask();
    }
    for (Search &search : m_open) {
        search.at = search.goal->point;
        search.distance = search.best;
    }
    for (int round = 0; round < gradientRounds && !m_open.empty(); ++round) {
        m_gradients.resize(m_open.size());
        takePoints();
        m_rule.gradient(m_points, m_gradients);
        for (size_t n = 0; n < m_open.size(); ++n)
            stepDownGradient(m_open[n], m_gradients[n]);
        ask();
    }
}

void SurfaceSearch::takePoints()
{
    m_points.clear();
    for (const Search &search : m_open)
        m_points.push_back(search.at);
}

// Searches that have come near enough are done.
void SurfaceSearch::ask()
{
    takePoints();
    m_distances.resize(m_points.size());
    m_rule.field(m_points, m_distances);
    size_t n = 0;
    std::erase_if(m_open, [&](Search &search) {
        search.distance = m_distances[n++] - m_rule.iso;
        if (std::fabs(search.distance) < std::fabs(search.best)) {
            search.best = search.distance;
            search.goal->point = search.at;
        }
        return std::fabs(search.best) <= nearEnough * m_rule.edgeLength * search.goal->slope;
    });
}

void SurfaceSearch::stepAlongNormal(Search &search) const
{
    float slope = search.goal->slope;
    if (search.along != search.lastAlong) {
        const float secant =
            (search.distance - search.lastDistance) / (search.along - search.lastAlong);
        slope = std::max(secant, leastSlopeShare * slope);
    }
    search.lastAlong = search.along;
    search.lastDistance = search.distance;
    search.along -= std::clamp(search.distance / slope, -m_rule.edgeLength, m_rule.edgeLength);
    search.at = search.goal->region->clamped(search.start + search.goal->normal * search.along);
}

void SurfaceSearch::stepDownGradient(Search &search, const QVector3D &gradient) const
{
    const VertexRegion &box = *search.goal->region;
    QVector3D free = gradient;
    for (int axis = 0; axis < 3; ++axis) {
        const float towards = -search.distance * gradient[axis];
        if ((towards < 0.0f && search.at[axis] <= box.low[axis]) ||
            (towards > 0.0f && search.at[axis] >= box.high[axis]))
            free[axis] = 0.0f;
    }
    const float squared = free.lengthSquared();
    if (squared > 0.0f) {
        const float longest = longestStep * m_rule.edgeLength / std::sqrt(squared);
        search.at = box.clamped(search.at -
                                free * std::clamp(search.distance / squared, -longest, longest));
    }
}

} // namespace

void putOnSurface(std::span<SurfacePoint> points, const CrossingRule &rule)
{
    SurfaceSearch(points, rule).run();
}

} // namespace corvane::mesh
