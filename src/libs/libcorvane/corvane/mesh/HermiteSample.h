#pragma once

#include <QVector3D>

#include <functional>
#include <span>

namespace corvane::mesh {

class QefSolver;

/// Writes the distance at each point, in scene units. Many points are asked for at a time, because
/// a field that computes them side by side takes a fraction of the time.
using FieldFunction = std::function<void(std::span<const QVector3D>, std::span<float>)>;
/// Writes the gradient of the distance at each point; of any length.
using GradientFunction = std::function<void(std::span<const QVector3D>, std::span<QVector3D>)>;

/// Where a grid edge crosses the surface, and which way the surface faces there.
struct HermiteSample
{
    QVector3D point{};
    QVector3D normal{}; ///< of unit length, or zero where the field has no direction
    float slope = 0.0f; ///< length of the field's gradient; 0 where it has no direction
};

/// A grid edge whose ends have values of different sign.
struct CrossedEdge
{
    QVector3D start{}; ///< the end of lower index; the other is one edge length along the axis
    int axis = 0;
    float d0 = 0.0f, d1 = 0.0f; ///< the values at the ends, less the iso level
};

/// What the crossings of one grid are computed from.
struct CrossingRule
{
    float edgeLength = 0.0f;
    float iso = 0.0f;
    FieldFunction field; ///< when given, it places the crossing, to 1/2048 of an edge
    GradientFunction gradient;
};

/// The crossing of each edge. The edges are worked on in step with each other; the result of one
/// does not depend on which others there are.
void hermiteSamples(std::span<const CrossedEdge> edges, const CrossingRule &rule,
                    std::span<HermiteSample> out);

/// Adds the tangent plane of a sample; one without a direction adds nothing.
void addSample(const HermiteSample &sample, QefSolver &solver);

} // namespace corvane::mesh
