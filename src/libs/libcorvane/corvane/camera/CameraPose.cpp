#include <corvane/camera/CameraPose.h>

#include <corvane/camera/Camera.h>

#include <QQuaternion>

#include <algorithm>
#include <cmath>

namespace corvane::camera {

namespace {

CameraAxes axesOf(const CameraPose &pose)
{
    Camera camera; // knows what to do with poses that give no direction
    camera.setPose(pose);
    return camera.axes();
}

QQuaternion rotationOf(const CameraAxes &axes)
{
    return QQuaternion::fromAxes(axes.right, axes.up, -axes.forward);
}

float distanceBetween(float from, float to, float t)
{
    if (from <= 0.0f || to <= 0.0f)
        return from + (to - from) * t; // no factor leads away from 0
    return from * std::pow(to / from, t);
}

} // namespace

CameraPose interpolated(const CameraPose &from, const CameraPose &to, float t)
{
    if (!(t > 0.0f))
        return from;
    if (t >= 1.0f)
        return to;
    const QQuaternion rotation =
        QQuaternion::slerp(rotationOf(axesOf(from)), rotationOf(axesOf(to)), t);
    const QVector3D target = from.target + (to.target - from.target) * t;
    const float distance = distanceBetween(from.offset().length(), to.offset().length(), t);
    return {target + rotation.rotatedVector({0, 0, distance}), target,
            rotation.rotatedVector({0, 1, 0})};
}

float eased(float t)
{
    const float inside = std::clamp(t, 0.0f, 1.0f);
    return inside * inside * (3.0f - 2.0f * inside);
}

CameraPose turned(const CameraPose &pose, const QVector3D &about, const QVector3D &axis,
                  float degrees)
{
    const QQuaternion rotation = QQuaternion::fromAxisAndAngle(axis, degrees);
    return {about + rotation.rotatedVector(pose.eye - about),
            about + rotation.rotatedVector(pose.target - about), rotation.rotatedVector(pose.up)};
}

} // namespace corvane::camera
