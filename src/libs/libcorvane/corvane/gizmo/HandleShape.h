#pragma once

#include <corvane/camera/Camera.h>
#include <corvane/gizmo/GizmoHandleSpec.h>

#include <QList>
#include <QVector3D>

namespace corvane::gizmo {

/// How a handle lies in the world as seen by a camera: what is drawn is what is hit.
struct HandleShape
{
    QVector3D origin;          ///< where the axis begins, the centre of a ring
    QVector3D axis;            ///< of unit length
    QVector3D tip;             ///< the grip; the origin of a ring
    QList<QVector3D> line;     ///< from the origin to the tip, or round the ring
    QList<QVector3D> mirror;   ///< the same on the other side of a symmetric handle
    float size = 1.0f;         ///< world length of an arrow here
    float worldPerUnit = 0.0f; ///< of the value, along the axis; 0 where it can't be told
};

[[nodiscard]] HandleShape shapeOf(const GizmoHandleSpec &handle, const QMatrix4x4 &placement,
                                  const camera::Camera &camera);

} // namespace corvane::gizmo
