#include "HermiteSample.h"

#include "QefSolver.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace corvane::mesh {

namespace {

constexpr int bisectionRounds = 10;
constexpr float equalValues = 1e-20f;
constexpr float shortestGradient = 1e-12f;

QVector3D pointOn(const CrossedEdge &edge, float distance)
{
    QVector3D point = edge.start;
    point[edge.axis] += distance;
    return point;
}

float linearShare(const CrossedEdge &edge)
{
    return std::abs(edge.d1 - edge.d0) <= equalValues
               ? 0.5f
               : std::clamp(edge.d0 / (edge.d0 - edge.d1), 0.0f, 1.0f);
}

/// The share of each edge at which its crossing lies, by the field itself.
std::vector<float> bisectedShares(std::span<const CrossedEdge> edges, const CrossingRule &rule)
{
    struct Bracket
    {
        float low = 0.0f, high = 1.0f;
        float middle() const { return (low + high) * 0.5f; }
    };
    std::vector<Bracket> brackets(edges.size());
    std::vector<QVector3D> points(edges.size());
    std::vector<float> distances(edges.size());
    for (int round = 0; round < bisectionRounds; ++round) {
        for (size_t i = 0; i < edges.size(); ++i)
            points[i] = pointOn(edges[i], brackets[i].middle() * rule.edgeLength);
        rule.field(points, distances);
        for (size_t i = 0; i < edges.size(); ++i) {
            Bracket &bracket = brackets[i];
            const bool inside = distances[i] - rule.iso < 0.0f;
            (inside == (edges[i].d0 < 0.0f) ? bracket.low : bracket.high) = bracket.middle();
        }
    }
    std::ranges::transform(brackets, distances.begin(), &Bracket::middle);
    return distances;
}

std::vector<float> linearShares(std::span<const CrossedEdge> edges)
{
    std::vector<float> shares(edges.size());
    std::ranges::transform(edges, shares.begin(), linearShare);
    return shares;
}

} // namespace

void hermiteSamples(std::span<const CrossedEdge> edges, const CrossingRule &rule,
                    std::span<HermiteSample> out)
{
    const std::vector<float> shares =
        rule.field ? bisectedShares(edges, rule) : linearShares(edges);
    std::vector<QVector3D> points(edges.size());
    for (size_t i = 0; i < edges.size(); ++i)
        points[i] = pointOn(edges[i], shares[i] * rule.edgeLength);
    std::vector<QVector3D> gradients(edges.size());
    rule.gradient(points, gradients);
    for (size_t i = 0; i < edges.size(); ++i) {
        const float size = gradients[i].length();
        const bool hasDirection = size >= shortestGradient && std::isfinite(size);
        out[i] = hasDirection ? HermiteSample{points[i], gradients[i] / size, size}
                              : HermiteSample{points[i]};
    }
}

void addSample(const HermiteSample &sample, QefSolver &solver)
{
    if (!sample.normal.isNull())
        solver.add(sample.point, sample.normal);
}

} // namespace corvane::mesh
