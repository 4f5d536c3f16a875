#include <corvane/gizmo/GizmoStyle.h>

#include <algorithm>
#include <cmath>

namespace corvane::gizmo::GizmoStyle {

namespace {

constexpr float smallestEyeDistance = 0.01f;
constexpr float lengthPerDistance = 0.15f;
constexpr int highlightPercent = 135;

} // namespace

QColor xAxisColor()
{
    return {226, 82, 82};
}

QColor yAxisColor()
{
    return {104, 184, 74};
}

QColor zAxisColor()
{
    return {72, 132, 232};
}

QColor colorForAxis(const QVector3D &direction)
{
    const float x = std::abs(direction.x());
    const float y = std::abs(direction.y());
    const float z = std::abs(direction.z());
    if (x >= y && x >= z)
        return xAxisColor();
    return y >= z ? yAxisColor() : zAxisColor();
}

QColor highlighted(const QColor &color)
{
    return color.lighter(highlightPercent);
}

float computeHandleLength(const QVector3D &eye, const QVector3D &origin)
{
    return std::max((eye - origin).length(), smallestEyeDistance) * lengthPerDistance;
}

} // namespace corvane::gizmo::GizmoStyle
