#include <corvane/camera/CameraController.h>

#include <QtMath>

#include <algorithm>
#include <cmath>

namespace corvane::camera {

namespace {

constexpr float levelSine = 0.0087f; ///< of half a degree
constexpr float poleSine = 0.9999f;  ///< beyond it the vertical says nothing about the roll
constexpr float keySpeed = 0.02f;    ///< share of the viewing distance
constexpr float roomAround = 1.2f;
constexpr float smallestNear = 0.01f;
constexpr float planeMargin = 1.05f;
/// Near over far at the least: depth buffers of 32 bits still tell a thousandth of a part apart.
constexpr float nearShare = 1e-4f;

bool isFinite(float a, float b)
{
    return std::isfinite(a) && std::isfinite(b);
}

float radiusOf(const BoundingVolume &volume)
{
    return volume.isEmpty() ? 0.0f : 0.5f * volume.extent().length();
}

/// Half the angle of the narrower side of a picture, in radians.
float narrowHalfAngle(float fieldOfView, float aspectRatio)
{
    const float vertical = 0.5f * qDegreesToRadians(fieldOfView);
    return std::min(vertical, std::atan(aspectRatio * std::tan(vertical)));
}

/// Far enough to see a ball with some room. Of wide angles the edge of the ball counts, which lies
/// before its middle.
float fittingDistance(float radius, float halfAngle)
{
    return std::max(radius * roomAround / std::tan(halfAngle),
                    radius * planeMargin / std::sin(halfAngle));
}

} // namespace

CameraController::CameraController(QObject *parent)
    : QObject(parent)
{}

void CameraController::setCamera(const Camera &camera)
{
    const Camera before = m_camera;
    m_camera = camera;
    finish(before);
}

void CameraController::setPose(const CameraPose &pose)
{
    const Camera before = m_camera;
    m_camera.setPose(pose);
    finish(before);
}

void CameraController::setTarget(const QVector3D &target)
{
    setPose({m_camera.position(), target, m_camera.upVector()});
}

void CameraController::setProjectionType(Camera::ProjectionType type)
{
    const Camera before = m_camera;
    m_camera.setProjectionType(type);
    finish(before);
}

void CameraController::setAspectRatio(float aspectRatio)
{
    const Camera before = m_camera;
    m_camera.setAspectRatio(aspectRatio);
    finish(before);
}

void CameraController::setViewportSize(const QSize &size)
{
    if (size.isEmpty())
        return;
    m_viewportSize = size;
    setAspectRatio(float(size.width()) / float(size.height()));
}

void CameraController::setOrthographicSize(float width, float height)
{
    const Camera before = m_camera;
    m_camera.setOrthographicExtents({-0.5f * width, 0.5f * width, -0.5f * height, 0.5f * height});
    finish(before);
}

void CameraController::setSceneBounds(const BoundingVolume &bounds)
{
    const Camera before = m_camera;
    m_sceneBounds = bounds;
    fitPlanes();
    if (m_camera != before)
        emit cameraChanged();
}

void CameraController::orbit(float dx, float dy)
{
    turn(m_pivot.value_or(m_camera.target()), dx, dy);
}

void CameraController::lookAround(float dx, float dy)
{
    turn(m_camera.position(), dx, dy);
}

void CameraController::turn(const QVector3D &about, float dx, float dy)
{
    if (!isFinite(dx, dy))
        return;
    const Camera before = m_camera;
    const float yaw = std::remainder(-dx * degreesPerPixel, 360.0f);
    // From the side of the eye: dragging down lifts it, to straight above at the most.
    const float sine = -QVector3D::dotProduct(m_camera.axes().forward, m_worldUp);
    const float elevation = qRadiansToDegrees(std::asin(std::clamp(sine, -1.0f, 1.0f)));
    const float pitch = std::clamp(elevation + dy * degreesPerPixel, -90.0f, 90.0f) - elevation;

    CameraPose pose{m_camera.position(), m_camera.target(), m_camera.axes().up};
    pose = turned(pose, about, m_worldUp, yaw);
    m_camera.setPose(pose);
    pose = turned(pose, about, m_camera.axes().right, -pitch);
    m_camera.setPose(levelled(pose));
    finish(before);
}

CameraPose CameraController::levelled(const CameraPose &pose) const
{
    Camera camera;
    camera.setPose(pose);
    const CameraAxes &axes = camera.axes();
    const bool nearPole = std::abs(QVector3D::dotProduct(axes.forward, m_worldUp)) > poleSine;
    const float lean = QVector3D::dotProduct(axes.right, m_worldUp);
    const bool upright = QVector3D::dotProduct(axes.up, m_worldUp) > 0.0f;
    if (nearPole || !upright || std::abs(lean) > levelSine)
        return {pose.eye, pose.target, axes.up};
    return {pose.eye, pose.target, m_worldUp};
}

void CameraController::pan(float dx, float dy)
{
    if (!isFinite(dx, dy))
        return;
    const Camera before = m_camera;
    const float unitsPerPixel = m_camera.heightAtTarget() / float(m_viewportSize.height());
    const QVector3D shift = (m_camera.axes().up * dy - m_camera.axes().right * dx) * unitsPerPixel;
    m_camera.setPose({m_camera.position() + shift, m_camera.target() + shift, m_camera.upVector()});
    finish(before);
}

void CameraController::move(const QVector3D &direction, float dt)
{
    const Camera before = m_camera;
    const CameraAxes &axes = m_camera.axes();
    const QVector3D way =
        axes.right * direction.x() + axes.up * direction.y() + axes.forward * direction.z();
    const QVector3D shift = way * (m_camera.viewingDistance() * keySpeed * dt);
    m_camera.setPose({m_camera.position() + shift, m_camera.target() + shift, m_camera.upVector()});
    finish(before);
}

void CameraController::dolly(float amount)
{
    const Camera before = m_camera;
    m_camera.dolly(amount);
    finish(before);
}

void CameraController::dollyTowards(const QPointF &pixel, float amount,
                                    const std::optional<QVector3D> &under)
{
    const Camera before = m_camera;
    const QVector3D point = under.value_or(pointUnder(pixel));
    const float height = m_camera.heightAtTarget();
    m_camera.dolly(amount);
    const float factor = m_camera.heightAtTarget() / height; // what the limits left of it
    if (!std::isfinite(factor))
        return;
    // The target moves as a picture that is scaled about the point: eye and target keep their line.
    const QVector3D aside = point - m_camera.target();
    const QVector3D shift =
        m_camera.projectionType() == Camera::ProjectionType::Perspective
            ? aside * (1.0f - factor)
            : (aside -
               m_camera.axes().forward * QVector3D::dotProduct(aside, m_camera.axes().forward)) *
                  (1.0f - factor);
    m_camera.setPose({m_camera.position() + shift, m_camera.target() + shift, m_camera.upVector()});
    finish(before);
}

QVector3D CameraController::pointUnder(const QPointF &pixel) const
{
    const Ray ray = m_camera.screenToRay(pixel, m_viewportSize);
    const QVector3D &forward = m_camera.axes().forward;
    const float along = QVector3D::dotProduct(ray.direction, forward);
    const float depth = QVector3D::dotProduct(m_camera.target() - ray.origin, forward);
    return along > 0.0f ? ray.at(depth / along) : m_camera.target();
}

void CameraController::reset()
{
    const Camera before = m_camera;
    m_camera.reset();
    m_pivot.reset();
    finish(before);
}

void CameraController::fitTo(const BoundingVolume &volume)
{
    fitTo(volume, m_camera.fieldOfView(), m_camera.aspectRatio());
}

void CameraController::fitTo(const BoundingVolume &volume, float fieldOfView, float aspectRatio)
{
    const float radius = radiusOf(volume);
    if (!(radius > 0.0f) || !isFinite(radius, volume.center().length()) ||
        !isFinite(fieldOfView, aspectRatio))
        return;
    const Camera before = m_camera;
    m_camera.setFieldOfView(fieldOfView);
    m_camera.setAspectRatio(aspectRatio);
    const float half = narrowHalfAngle(m_camera.fieldOfView(), m_camera.aspectRatio());
    const float distance = fittingDistance(radius, half);
    const QVector3D center = volume.center();
    m_camera.setPose({center - m_camera.axes().forward * distance, center, m_camera.axes().up});
    const float halfHeight = radius * roomAround / std::min(1.0f, m_camera.aspectRatio());
    const float halfWidth = halfHeight * m_camera.aspectRatio();
    m_camera.setOrthographicExtents({-halfWidth, halfWidth, -halfHeight, halfHeight});
    m_camera.setPlanes(std::max(distance - 2.0f * radius, smallestNear), distance + 4.0f * radius);
    if (m_camera != before)
        emit cameraChanged();
}

QRectF CameraController::normalizedRect(const QRectF &pixels) const
{
    const QRectF rect = pixels.normalized();
    const double width = m_viewportSize.width();
    const double height = m_viewportSize.height();
    return QRectF(QPointF(2.0 * rect.left() / width - 1.0, 1.0 - 2.0 * rect.bottom() / height),
                  QSizeF(2.0 * rect.width() / width, 2.0 * rect.height() / height));
}

void CameraController::finish(const Camera &before)
{
    if (m_camera == before)
        return;
    fitPlanes();
    emit cameraChanged();
}

void CameraController::fitPlanes()
{
    const float radius = radiusOf(m_sceneBounds) * planeMargin;
    if (!(radius > 0.0f) || !std::isfinite(radius))
        return;
    const QVector3D &forward = m_camera.axes().forward;
    float ahead = QVector3D::dotProduct(m_sceneBounds.center() - m_camera.position(), forward);
    if (m_camera.projectionType() == Camera::ProjectionType::Orthographic &&
        ahead < 2.0f * radius) {
        const QVector3D back = forward * (ahead - 2.0f * radius);
        m_camera.setPosition(m_camera.position() + back);
        ahead = 2.0f * radius;
    }
    // Behind the whole scene any planes do.
    const float farPlane = std::max(ahead + radius, radius);
    m_camera.setPlanes(std::max(ahead - radius, farPlane * nearShare), farPlane);
}

} // namespace corvane::camera
