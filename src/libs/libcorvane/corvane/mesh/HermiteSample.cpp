// The crossing of an edge is known by the step of it, of 1024, whose ends differ in sign: what ten
// rounds of bisection find. Where the field is smooth, guesses by the line through the values at
// the ends of the bracket come to that step in three rounds instead (regula falsi); a bracket that
// resists is halved, so that no field takes more than fourteen. A field with one crossing on the
// edge has but one such step, whichever way it is found.

#include "HermiteSample.h"

#include "QefSolver.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace corvane::mesh {

namespace {

constexpr int steps = 1024;         // of an edge, in one of which its crossing is looked for
constexpr int guessedRounds = 4;    // before the bracket is halved each round
constexpr float overshoot = 0.125f; // of a guess, of what it has moved since the last one
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

/// The steps of an edge between which its crossing lies.
class Bracket
{
public:
    Bracket(size_t edge, float low, float high)
        : m_edge(edge)
        , m_lowValue(low)
        , m_highValue(high)
    {}

    size_t edge() const { return m_edge; }
    bool isDone() const { return m_high - m_low == 1; }
    float middle() const { return (float(m_low) + 0.5f) / steps; }
    /// The share of the edge that is asked about next.
    float probe(int round)
    {
        m_probe = round < guessedRounds ? guess() : (m_low + m_high) / 2;
        return float(m_probe) / steps;
    }
    void take(float value, bool isLow)
    {
        (isLow ? m_low : m_high) = m_probe;
        (isLow ? m_lowValue : m_highValue) = value;
        m_lowIsNew = isLow;
    }

private:
    int guess();

    size_t m_edge;
    int m_low = 0, m_high = steps, m_probe = 0;
    float m_lowValue, m_highValue;
    float m_guess = -1.0f; ///< the last one, in steps
    bool m_lowIsNew = false;
};

// Where the line through the values at both ends crosses, and after the first time a little beyond,
// so that the crossing comes to lie between two guesses.
int Bracket::guess()
{
    const float share = m_lowValue / (m_lowValue - m_highValue);
    if (!std::isfinite(share))
        return (m_low + m_high) / 2;
    const float at = float(m_low) + share * float(m_high - m_low);
    float wanted = std::round(at);
    if (m_guess >= 0.0f) {
        const float beyond = overshoot * std::fabs(at - m_guess);
        wanted = m_lowIsNew ? std::floor(at + beyond) + 1.0f : std::ceil(at - beyond) - 1.0f;
    }
    m_guess = at;
    return int(std::clamp(wanted, float(m_low + 1), float(m_high - 1)));
}

/// The share of each edge at which its crossing lies, by the field itself.
std::vector<float> searchedShares(std::span<const CrossedEdge> edges, const CrossingRule &rule)
{
    std::vector<Bracket> open;
    for (size_t i = 0; i < edges.size(); ++i)
        open.emplace_back(i, edges[i].d0, edges[i].d1);
    std::vector<float> shares(edges.size());
    std::vector<QVector3D> points;
    std::vector<float> distances;
    for (int round = 0; !open.empty(); ++round) {
        points.clear();
        for (Bracket &bracket : open)
            points.push_back(
                pointOn(edges[bracket.edge()], bracket.probe(round) * rule.edgeLength));
        distances.resize(points.size());
        rule.field(points, distances);
        size_t next = 0;
        std::erase_if(open, [&](Bracket &bracket) {
            const float value = distances[next++] - rule.iso;
            bracket.take(value, (value < 0.0f) == (edges[bracket.edge()].d0 < 0.0f));
            if (bracket.isDone())
                shares[bracket.edge()] = bracket.middle();
            return bracket.isDone();
        });
    }
    return shares;
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
        rule.field ? searchedShares(edges, rule) : linearShares(edges);
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
