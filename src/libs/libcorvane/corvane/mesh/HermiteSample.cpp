#include "HermiteSample.h"

#include "QefSolver.h"

#include <algorithm>
#include <cmath>

namespace corvane::mesh {

namespace {

constexpr int bisectionRounds = 10;
constexpr float equalValues = 1e-20f;
constexpr float shortestGradient = 1e-12f;

QVector3D pointOnEdge(QVector3D start, int axis, float distance)
{
    start[axis] += distance;
    return start;
}

} // namespace

HermiteSample hermiteSample(const QVector3D &start, int axis, float length, float d0, float d1,
                            float iso, const FieldFunction &field, const GradientFunction &gradient)
{
    float t = std::abs(d1 - d0) <= equalValues ? 0.5f : std::clamp(d0 / (d0 - d1), 0.0f, 1.0f);
    if (field) {
        float low = 0.0f;
        float high = 1.0f;
        for (int round = 0; round < bisectionRounds; ++round) {
            const float middle = (low + high) * 0.5f;
            const bool inside = field(pointOnEdge(start, axis, middle * length)) - iso < 0.0f;
            (inside == (d0 < 0.0f) ? low : high) = middle;
        }
        t = (low + high) * 0.5f;
    }
    HermiteSample sample;
    sample.point = pointOnEdge(start, axis, t * length);
    const QVector3D direction = gradient(sample.point);
    const float size = direction.length();
    if (size >= shortestGradient && std::isfinite(size))
        sample.normal = direction / size;
    return sample;
}

void addSample(const HermiteSample &sample, QefSolver &solver)
{
    if (!sample.normal.isNull())
        solver.add(sample.point, sample.normal);
}

} // namespace corvane::mesh
