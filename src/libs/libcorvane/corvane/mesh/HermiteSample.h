#pragma once

#include <QVector3D>

#include <functional>

namespace corvane::mesh {

class QefSolver;

/// The distance at a point in scene units.
using FieldFunction = std::function<float(const QVector3D &)>;
/// The gradient of the distance at a point; of any length.
using GradientFunction = std::function<QVector3D(const QVector3D &)>;

/// Where a grid edge crosses the surface, and which way the surface faces there.
struct HermiteSample
{
    QVector3D point{};
    QVector3D normal{}; ///< of unit length, or zero where the field has no direction
};

/// The crossing of a grid edge whose ends have values of different sign.
/// @param start   the end of lower index; the other is `length` further along `axis`
/// @param d0, d1  the values at the ends, less the iso level
/// @param field   when given, ten rounds of bisection with the exact field place the crossing
HermiteSample hermiteSample(const QVector3D &start, int axis, float length, float d0, float d1,
                            float iso, const FieldFunction &field,
                            const GradientFunction &gradient);

/// Adds the tangent plane of a sample; one without a direction adds nothing.
void addSample(const HermiteSample &sample, QefSolver &solver);

} // namespace corvane::mesh
