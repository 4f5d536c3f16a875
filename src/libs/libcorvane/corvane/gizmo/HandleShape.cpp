#include <corvane/gizmo/HandleShape.h>

#include <corvane/gizmo/GizmoProjection.h>
#include <corvane/gizmo/GizmoStyle.h>

#include <QtMath>

#include <algorithm>
#include <cmath>

namespace corvane::gizmo {

namespace {

constexpr int ringSegments = 64;
/// A grip this close to its origin, in arrow lengths, could not be told from it.
constexpr float nearestGrip = 0.1f;

QList<QVector3D> arc(const HandleShape &shape, double fromDegrees, double toDegrees)
{
    const QVector3D x = referenceDirection(shape.axis) * shape.size;
    const QVector3D y = QVector3D::crossProduct(shape.axis, x);
    const int segments = std::clamp(
        int(std::ceil(std::abs(toDegrees - fromDegrees) / 360.0 * ringSegments)), 1, ringSegments);
    QList<QVector3D> points;
    for (int i = 0; i <= segments; ++i) {
        const double angle =
            qDegreesToRadians(fromDegrees + (toDegrees - fromDegrees) * i / segments);
        points.append(shape.origin + x * float(std::cos(angle)) + y * float(std::sin(angle)));
    }
    return points;
}

void addRing(HandleShape &shape, const GizmoHandleSpec &handle)
{
    const bool isArc = handle.type == HandleType::AngleArc;
    const double value = std::isfinite(handle.number()) ? handle.number() : 0.0;
    const double end = isArc ? std::clamp(value, -360.0, 360.0) : 360.0;
    shape.line = arc(shape, 0.0, end);
    shape.tip = isArc ? shape.line.last() : shape.origin;
}

void addArrow(HandleShape &shape, const GizmoHandleSpec &handle)
{
    const bool standsAtValue = handle.type == HandleType::Axis || handle.type == HandleType::Radius;
    float length = shape.size;
    if (standsAtValue && shape.worldPerUnit > 0.0f && std::isfinite(handle.number())) {
        const float reach = float(handle.number()) * shape.worldPerUnit;
        length = std::copysign(std::max(std::abs(reach), nearestGrip * shape.size), reach);
    }
    shape.tip = shape.origin + shape.axis * length;
    shape.line = {shape.origin, shape.tip};
    if (handle.symmetric)
        shape.mirror = {shape.origin, shape.origin - shape.axis * length};
}

} // namespace

HandleShape shapeOf(const GizmoHandleSpec &handle, const QMatrix4x4 &placement,
                    const camera::Camera &camera)
{
    HandleShape shape;
    shape.origin = handle.effectiveWorldOrigin(handle.anchor(), placement);
    shape.axis = handle.effectiveWorldAxis(placement);
    shape.worldPerUnit = handle.worldDistancePerUnit(placement);
    shape.size = camera.projectionType() == camera::Camera::ProjectionType::Orthographic
                     ? GizmoStyle::computeHandleLength({0, 0, camera.heightAtTarget()}, {})
                     : GizmoStyle::computeHandleLength(camera.position(), shape.origin);
    if (isAngular(handle.type))
        addRing(shape, handle);
    else
        addArrow(shape, handle);
    return shape;
}

} // namespace corvane::gizmo
