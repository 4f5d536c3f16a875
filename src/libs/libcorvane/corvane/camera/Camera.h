#pragma once

#include <corvane/camera/CameraPose.h>

#include <QMatrix4x4>
#include <QPointF>
#include <QSize>
#include <QVector3D>

namespace corvane::camera {

/// A half-line in the scene.
struct Ray
{
    QVector3D origin;
    QVector3D direction; ///< unit length

    [[nodiscard]] QVector3D at(float distance) const { return origin + direction * distance; }
};

/// The rectangle that an orthographic picture shows, in scene units around the line of sight.
struct OrthographicExtents
{
    float left = -5.0f;
    float right = 5.0f;
    float bottom = -5.0f;
    float top = 5.0f;

    [[nodiscard]] float width() const { return right - left; }
    [[nodiscard]] float height() const { return top - bottom; }
    bool operator==(const OrthographicExtents &) const = default;
};

/// The directions of a picture in the scene: unit vectors, square on one another.
struct CameraAxes
{
    QVector3D right;
    QVector3D up;
    QVector3D forward;

    bool operator==(const CameraAxes &) const = default;
};

/// A view of the scene, as a value. Matrices are in the OpenGL convention on every device: the
/// camera looks along -z of its own space, y is up, and what it sees has x, y and z from -1 to 1.
///
/// Whatever it is given, all matrices are finite and can be inverted:
/// - NaN and infinity are refused: the setter answers false and changes nothing.
/// - Other numbers out of range become the nearest that is allowed (see CameraLimits).
/// - An eye at its target looks along -z; an up vector of no length is +y.
/// - A camera that looks along its up vector has -z up in the picture when it looks down the
///   y axis, +z when it looks up it, and +y otherwise: the usual top and bottom views.
/// - The eye may stand anywhere, inside of a solid as well.
///
/// The setters keep the matrices up to date. Not for use by several threads at a time.
class Camera
{
public:
    enum class ProjectionType { Perspective = 0, Orthographic = 1 };

    Camera();

    [[nodiscard]] const QVector3D &position() const { return m_pose.eye; }
    [[nodiscard]] const QVector3D &target() const { return m_pose.target; }
    [[nodiscard]] const QVector3D &upVector() const { return m_pose.up; }
    [[nodiscard]] const CameraPose &pose() const { return m_pose; }
    [[nodiscard]] float fieldOfView() const { return m_fieldOfView; } ///< vertical, degrees
    [[nodiscard]] float nearPlane() const { return m_nearPlane; }
    [[nodiscard]] float farPlane() const { return m_farPlane; }
    [[nodiscard]] float aspectRatio() const { return m_aspectRatio; } ///< width over height
    [[nodiscard]] ProjectionType projectionType() const { return m_projectionType; }
    [[nodiscard]] const OrthographicExtents &orthographicExtents() const { return m_extents; }

    bool setPosition(const QVector3D &position);
    bool setTarget(const QVector3D &target);
    bool setUpVector(const QVector3D &up);
    bool setPose(const CameraPose &pose);
    bool setFieldOfView(float degrees);
    /// Keeps near above 0 and far beyond near.
    bool setPlanes(float nearPlane, float farPlane);
    /// Keeps the height of the orthographic rectangle, and centres it sideways.
    bool setAspectRatio(float widthOverHeight);
    /// The rectangle of orthographic pictures. Sides that are exchanged are put in order.
    bool setOrthographicExtents(const OrthographicExtents &extents);
    /// Shows that rectangle orthographically.
    bool setOrthographic(float left, float right, float bottom, float top);
    /// The other projection with the same size of what is at the target: going to orthographic fits
    /// the rectangle, coming back moves the eye, which may have stood anywhere on its line.
    void setProjectionType(ProjectionType type);
    /// Eye (0, 0, 3), looking at the origin in perspective; keeps the aspect ratio.
    void reset();

    /// 0 of an eye at its target.
    [[nodiscard]] float distanceToTarget() const;
    /// Scene units that the picture is high at the target, in either projection.
    [[nodiscard]] float heightAtTarget() const;
    /// Scene units from the target to an eye that would show it, in perspective, as large as this
    /// picture shows it: distanceToTarget() itself in perspective.
    [[nodiscard]] float viewingDistance() const;
    /// Goes towards the target, to exp(-amount) of the distance: 0.7 halves it, -0.7 doubles it,
    /// and the target is never reached. An orthographic picture shows so much less or more instead,
    /// and its eye stays.
    void dolly(float amount);

    [[nodiscard]] const CameraAxes &axes() const { return m_axes; }
    [[nodiscard]] const QMatrix4x4 &viewMatrix() const { return m_viewMatrix; }
    [[nodiscard]] const QMatrix4x4 &projectionMatrix() const { return m_projectionMatrix; }
    [[nodiscard]] QMatrix4x4 viewProjectionMatrix() const;
    [[nodiscard]] QMatrix4x4 inverseViewProjectionMatrix() const;

    /// The line of sight through a point of the picture; of perspective from the eye, of an
    /// orthographic one from the plane through the eye. A size without area reads as one pixel.
    /// @param point  pixels from the left and top, (0, 0) the corner of the corner pixel
    /// @param yUp    the point counts from the bottom
    [[nodiscard]] Ray screenToRay(const QPointF &point, const QSize &size, bool yUp = false) const;
    /// The same of a point from -1 to 1, y up.
    [[nodiscard]] Ray rayThrough(float ndcX, float ndcY) const;

    void updateViewMatrix();
    void updateProjectionMatrix();

    bool operator==(const Camera &) const = default;

private:
    void placeAtDistance(float distance);

    CameraPose m_pose;
    float m_fieldOfView = 45.0f;
    float m_nearPlane = 0.1f;
    float m_farPlane = 100.0f;
    float m_aspectRatio = 1.0f;
    ProjectionType m_projectionType = ProjectionType::Perspective;
    OrthographicExtents m_extents;
    CameraAxes m_axes;
    QMatrix4x4 m_viewMatrix;
    QMatrix4x4 m_projectionMatrix;
};

/// The numbers that a Camera keeps to. Within them single precision neither overflows nor makes a
/// matrix singular, and they are far beyond any part.
namespace CameraLimits {
inline constexpr float largestCoordinate = 1e7f; ///< length of an eye's or target's vector
inline constexpr float smallestDistance = 1e-4f; ///< of an eye that goes towards its target
inline constexpr float smallestFieldOfView = 0.1f;
inline constexpr float largestFieldOfView = 179.0f;
inline constexpr float smallestAspectRatio = 1e-3f;
inline constexpr float largestAspectRatio = 1e3f;
inline constexpr float smallestNearPlane = 1e-5f;
inline constexpr float largestFarPlane = 1e8f;
inline constexpr float smallestPlaneRatio = 1.001f; ///< far over near
inline constexpr float smallestExtent = 1e-5f;      ///< side of an orthographic rectangle
inline constexpr float largestExtent = 1e8f;
} // namespace CameraLimits

} // namespace corvane::camera
