#include <corvane/camera/Camera.h>

#include <QtMath>

#include <algorithm>
#include <cmath>

// The axes of a view are computed in double precision and without QMatrix4x4::lookAt, which leaves
// its matrix alone where eye, target and up give no direction: a picture that silently keeps an
// older view is worse than one with a direction chosen here.

namespace corvane::camera {

namespace {

using namespace CameraLimits;

constexpr double parallelSine = 1e-4; ///< below it two directions count as one

struct Vector
{
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    Vector(double ofX, double ofY, double ofZ)
        : x(ofX)
        , y(ofY)
        , z(ofZ)
    {}
    explicit Vector(const QVector3D &v)
        : Vector(v.x(), v.y(), v.z())
    {}
    [[nodiscard]] double length() const { return std::sqrt(x * x + y * y + z * z); }
    [[nodiscard]] Vector scaled(double factor) const
    {
        return {x * factor, y * factor, z * factor};
    }
    [[nodiscard]] Vector normalized() const { return scaled(1.0 / length()); }
    [[nodiscard]] QVector3D toFloat() const { return {float(x), float(y), float(z)}; }
};

Vector cross(const Vector &a, const Vector &b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double dot(const Vector &a, const Vector &b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

bool isFinite(const QVector3D &v)
{
    return std::isfinite(v.x()) && std::isfinite(v.y()) && std::isfinite(v.z());
}

QVector3D withinReach(const QVector3D &v)
{
    const double length = Vector(v).length();
    return length <= largestCoordinate ? v : Vector(v).scaled(largestCoordinate / length).toFloat();
}

Vector forwardOf(const CameraPose &pose)
{
    const Vector way =
        Vector(pose.target.x() - double(pose.eye.x()), pose.target.y() - double(pose.eye.y()),
               pose.target.z() - double(pose.eye.z()));
    return way.length() > 0.0 ? way.normalized() : Vector(0, 0, -1);
}

/// What is up where the up vector says nothing.
Vector substituteUp(const Vector &forward)
{
    const bool alongY = std::abs(forward.y) > 0.9;
    return alongY ? Vector(0, 0, forward.y < 0.0 ? -1 : 1) : Vector(0, 1, 0);
}

Vector upOf(const CameraPose &pose, const Vector &forward)
{
    const Vector given(pose.up);
    const Vector up = given.length() > 0.0 ? given.normalized() : Vector(0, 1, 0);
    return cross(forward, up).length() > parallelSine ? up : substituteUp(forward);
}

CameraAxes axesOf(const CameraPose &pose)
{
    const Vector forward = forwardOf(pose);
    const Vector right = cross(forward, upOf(pose, forward)).normalized();
    return {right.toFloat(), cross(right, forward).toFloat(), forward.toFloat()};
}

/// Puts two ends in order, apart and within reach.
void tidyInterval(float &low, float &high)
{
    low = std::clamp(low, -largestExtent, largestExtent);
    high = std::clamp(high, -largestExtent, largestExtent);
    if (low > high)
        std::swap(low, high);
    // Relative as well: a rectangle far off to one side must not round to none.
    const float apart = std::max(smallestExtent, 1e-5f * std::max(std::abs(low), std::abs(high)));
    if (high - low < apart) {
        const float middle = low + (high - low) * 0.5f;
        low = middle - apart * 0.5f;
        high = middle + apart * 0.5f;
    }
}

} // namespace

Camera::Camera()
{
    updateViewMatrix();
    updateProjectionMatrix();
}

bool Camera::setPosition(const QVector3D &position)
{
    return setPose({position, m_pose.target, m_pose.up});
}

bool Camera::setTarget(const QVector3D &target)
{
    return setPose({m_pose.eye, target, m_pose.up});
}

bool Camera::setUpVector(const QVector3D &up)
{
    return setPose({m_pose.eye, m_pose.target, up});
}

bool Camera::setPose(const CameraPose &pose)
{
    if (!isFinite(pose.eye) || !isFinite(pose.target) || !isFinite(pose.up))
        return false;
    m_pose = {withinReach(pose.eye), withinReach(pose.target), withinReach(pose.up)};
    updateViewMatrix();
    return true;
}

bool Camera::setFieldOfView(float degrees)
{
    if (!std::isfinite(degrees))
        return false;
    m_fieldOfView = std::clamp(degrees, smallestFieldOfView, largestFieldOfView);
    updateProjectionMatrix();
    return true;
}

bool Camera::setPlanes(float nearPlane, float farPlane)
{
    if (!std::isfinite(nearPlane) || !std::isfinite(farPlane))
        return false;
    m_nearPlane = std::clamp(nearPlane, smallestNearPlane, largestFarPlane / smallestPlaneRatio);
    m_farPlane = std::clamp(farPlane, m_nearPlane * smallestPlaneRatio, largestFarPlane);
    updateProjectionMatrix();
    return true;
}

bool Camera::setAspectRatio(float widthOverHeight)
{
    if (!std::isfinite(widthOverHeight))
        return false;
    m_aspectRatio = std::clamp(widthOverHeight, smallestAspectRatio, largestAspectRatio);
    const float half = 0.5f * m_extents.height() * m_aspectRatio;
    m_extents.left = -half;
    m_extents.right = half;
    tidyInterval(m_extents.left, m_extents.right);
    updateProjectionMatrix();
    return true;
}

bool Camera::setOrthographicExtents(const OrthographicExtents &extents)
{
    OrthographicExtents tidy = extents;
    for (const float side : {tidy.left, tidy.right, tidy.bottom, tidy.top})
        if (!std::isfinite(side))
            return false;
    tidyInterval(tidy.left, tidy.right);
    tidyInterval(tidy.bottom, tidy.top);
    m_extents = tidy;
    updateProjectionMatrix();
    return true;
}

bool Camera::setOrthographic(float left, float right, float bottom, float top)
{
    if (!setOrthographicExtents({left, right, bottom, top}))
        return false;
    m_projectionType = ProjectionType::Orthographic;
    updateProjectionMatrix();
    return true;
}

void Camera::setProjectionType(ProjectionType type)
{
    if (type == m_projectionType)
        return;
    const float height = heightAtTarget();
    const float distance = viewingDistance();
    m_projectionType = type;
    if (type == ProjectionType::Orthographic) {
        const float halfWidth = 0.5f * height * m_aspectRatio;
        setOrthographic(-halfWidth, halfWidth, -0.5f * height, 0.5f * height);
    } else {
        placeAtDistance(distance);
        updateProjectionMatrix();
    }
}

void Camera::reset()
{
    const float aspectRatio = m_aspectRatio;
    *this = Camera();
    setAspectRatio(aspectRatio);
}

float Camera::distanceToTarget() const
{
    return (m_pose.target - m_pose.eye).length();
}

float Camera::heightAtTarget() const
{
    if (m_projectionType == ProjectionType::Orthographic)
        return m_extents.height();
    return 2.0f * distanceToTarget() * std::tan(0.5f * qDegreesToRadians(m_fieldOfView));
}

float Camera::viewingDistance() const
{
    return 0.5f * heightAtTarget() / std::tan(0.5f * qDegreesToRadians(m_fieldOfView));
}

void Camera::dolly(float amount)
{
    if (!std::isfinite(amount))
        return;
    const float factor = std::exp(-std::clamp(amount, -20.0f, 20.0f));
    if (m_projectionType == ProjectionType::Orthographic)
        setOrthographicExtents({m_extents.left * factor, m_extents.right * factor,
                                m_extents.bottom * factor, m_extents.top * factor});
    else
        placeAtDistance(std::max(distanceToTarget(), smallestDistance) * factor);
}

void Camera::placeAtDistance(float distance)
{
    const float allowed = std::clamp(distance, smallestDistance, largestCoordinate);
    setPosition(m_pose.target - m_axes.forward * allowed);
}

QMatrix4x4 Camera::viewProjectionMatrix() const
{
    return m_projectionMatrix * m_viewMatrix;
}

QMatrix4x4 Camera::inverseViewProjectionMatrix() const
{
    // Each by itself is far from singular, which their product need not be in single precision.
    return m_viewMatrix.inverted() * m_projectionMatrix.inverted();
}

Ray Camera::screenToRay(const QPointF &point, const QSize &size, bool yUp) const
{
    const double x = point.x() / std::max(size.width(), 1) * 2.0 - 1.0;
    const double y = point.y() / std::max(size.height(), 1) * 2.0 - 1.0;
    return rayThrough(float(x), float(yUp ? y : -y));
}

Ray Camera::rayThrough(float ndcX, float ndcY) const
{
    // Bounded, so that a hostile point gives a direction and not NaN.
    const float x = std::isfinite(ndcX) ? std::clamp(ndcX, -1e4f, 1e4f) : 0.0f;
    const float y = std::isfinite(ndcY) ? std::clamp(ndcY, -1e4f, 1e4f) : 0.0f;
    if (m_projectionType == ProjectionType::Perspective) {
        const float slope = std::tan(0.5f * qDegreesToRadians(m_fieldOfView));
        const QVector3D way =
            m_axes.forward + m_axes.right * (x * slope * m_aspectRatio) + m_axes.up * (y * slope);
        return {m_pose.eye, Vector(way).normalized().toFloat()};
    }
    const float along = m_extents.left + m_extents.width() * (x + 1.0f) * 0.5f;
    const float above = m_extents.bottom + m_extents.height() * (y + 1.0f) * 0.5f;
    return {m_pose.eye + m_axes.right * along + m_axes.up * above, m_axes.forward};
}

void Camera::updateViewMatrix()
{
    m_axes = axesOf(m_pose);
    const auto row = [this](int index, const QVector3D &axis) {
        const double offset = -dot(Vector(axis), Vector(m_pose.eye));
        m_viewMatrix.setRow(index, QVector4D(axis, float(offset)));
    };
    m_viewMatrix.setToIdentity();
    row(0, m_axes.right);
    row(1, m_axes.up);
    row(2, -m_axes.forward);
    m_viewMatrix.optimize();
}

void Camera::updateProjectionMatrix()
{
    m_projectionMatrix.setToIdentity();
    if (m_projectionType == ProjectionType::Perspective)
        m_projectionMatrix.perspective(m_fieldOfView, m_aspectRatio, m_nearPlane, m_farPlane);
    else
        m_projectionMatrix.ortho(m_extents.left, m_extents.right, m_extents.bottom, m_extents.top,
                                 m_nearPlane, m_farPlane);
}

} // namespace corvane::camera
