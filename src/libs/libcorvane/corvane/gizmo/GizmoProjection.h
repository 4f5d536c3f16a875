#pragma once

#include <corvane/camera/Camera.h>

#include <QMatrix4x4>
#include <QPointF>
#include <QSize>
#include <QVector3D>

#include <optional>

namespace corvane::gizmo {

/// A point of the world in pixels from the left and top; nothing behind the eye.
/// @param viewProjection  in the OpenGL convention
[[nodiscard]] std::optional<QPointF>
projectWorldToScreen(const QVector3D &world, const QMatrix4x4 &viewProjection, const QSize &size);

/// Where along the line `origin + s * axis` the line of sight passes nearest; nothing when the two
/// run side by side, or when that place is behind the eye.
/// @param axis  of unit length, so that s is in scene units
[[nodiscard]] std::optional<float> nearestAlongAxis(const camera::Ray &sight,
                                                    const QVector3D &origin, const QVector3D &axis);

/// The angle in degrees at which the line of sight meets the plane of a ring, from -180 to 180,
/// counted by the right hand around `normal` from referenceDirection(); nothing when it misses it.
[[nodiscard]] std::optional<double> angleOnPlane(const camera::Ray &sight, const QVector3D &origin,
                                                 const QVector3D &normal);

/// Some direction square on a unit vector; the same one for the same vector.
[[nodiscard]] QVector3D referenceDirection(const QVector3D &normal);

/// How far along a segment, from 0 to 1, it is nearest to a point.
[[nodiscard]] double nearestOnSegment(const QPointF &point, const QPointF &from, const QPointF &to);

} // namespace corvane::gizmo
