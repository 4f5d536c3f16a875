#include <corvane/bench/BenchScore.h>

#include <cmath>

namespace corvane::bench {

namespace {

constexpr double best = 100.0;
constexpr double surfaceWeight = 2.0;
constexpr double featureWeight = 2.0;
constexpr double normalDegrees = 15.0;
constexpr double gateShare = 0.5;

// A mesh may have no sharp edges, or no triangle to take a normal of.
double orNone(double value)
{
    return std::isnan(value) ? 0.0 : value;
}

} // namespace

bool passesGate(const MeshMetrics &metrics)
{
    return metrics.triangleCount > 0 && metrics.closed == 1 && metrics.manifold == 1 &&
           metrics.orientable == 1 && metrics.boundaryEdges == 0 &&
           metrics.surfaceP95 < gateSurfaceCells * metrics.cellSize;
}

double score(const MeshMetrics &metrics)
{
    const double surface = metrics.surfaceP95 / metrics.cellSize;
    if (!std::isfinite(surface) || !(metrics.cellSize > 0))
        return 0.0;
    const double feature = orNone(metrics.featureP95) / metrics.cellSize;
    const double normal = orNone(metrics.normalP95Deg) / normalDegrees;
    const double full = best / (1.0 + surfaceWeight * surface + featureWeight * feature + normal);
    return passesGate(metrics) ? full : full * gateShare;
}

} // namespace corvane::bench
