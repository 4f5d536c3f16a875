#include <corvane/gizmo/GizmoProjection.h>

#include <QVector4D>
#include <QtMath>

#include <algorithm>
#include <cmath>

namespace corvane::gizmo {

namespace {

constexpr float smallestW = 1e-6f;
/// Sines of angles below which a line is taken to lie in a plane, or along another.
constexpr float flatSine = 1e-3f;

} // namespace

std::optional<QPointF> projectWorldToScreen(const QVector3D &world,
                                            const QMatrix4x4 &viewProjection, const QSize &size)
{
    const QVector4D clip = viewProjection * QVector4D(world, 1.0f);
    if (!(clip.w() > smallestW))
        return std::nullopt;
    const double x = (double(clip.x()) / clip.w() + 1.0) * 0.5 * size.width();
    const double y = (1.0 - double(clip.y()) / clip.w()) * 0.5 * size.height();
    if (!std::isfinite(x) || !std::isfinite(y))
        return std::nullopt;
    return QPointF(x, y);
}

std::optional<float> nearestAlongAxis(const camera::Ray &sight, const QVector3D &origin,
                                      const QVector3D &axis)
{
    const float cosine = QVector3D::dotProduct(sight.direction, axis);
    const float sineSquared = 1.0f - cosine * cosine;
    if (!(sineSquared > flatSine * flatSine))
        return std::nullopt;
    const QVector3D between = origin - sight.origin;
    const float alongSight = QVector3D::dotProduct(between, sight.direction);
    const float alongAxis = QVector3D::dotProduct(between, axis);
    const float onSight = (alongSight - cosine * alongAxis) / sineSquared;
    if (onSight < 0.0f)
        return std::nullopt;
    return (cosine * alongSight - alongAxis) / sineSquared;
}

std::optional<double> angleOnPlane(const camera::Ray &sight, const QVector3D &origin,
                                   const QVector3D &normal)
{
    const float slope = QVector3D::dotProduct(sight.direction, normal);
    if (std::abs(slope) < flatSine)
        return std::nullopt;
    const float distance = QVector3D::dotProduct(origin - sight.origin, normal) / slope;
    if (distance < 0.0f)
        return std::nullopt;
    const QVector3D offset = sight.at(distance) - origin;
    const QVector3D x = referenceDirection(normal);
    const QVector3D y = QVector3D::crossProduct(normal, x);
    return qRadiansToDegrees(std::atan2(double(QVector3D::dotProduct(offset, y)),
                                        double(QVector3D::dotProduct(offset, x))));
}

QVector3D referenceDirection(const QVector3D &normal)
{
    // The coordinate axis that the vector is squarest on makes a cross product of good length.
    QVector3D other(1, 0, 0);
    if (std::abs(normal.x()) > std::abs(normal.y()))
        other = QVector3D(0, 1, 0);
    if (std::abs(normal.z()) < std::min(std::abs(normal.x()), std::abs(normal.y())))
        other = QVector3D(0, 0, 1);
    return QVector3D::crossProduct(normal, other).normalized();
}

double nearestOnSegment(const QPointF &point, const QPointF &from, const QPointF &to)
{
    const QPointF along = to - from;
    const double lengthSquared = QPointF::dotProduct(along, along);
    return lengthSquared > 0.0
               ? std::clamp(QPointF::dotProduct(point - from, along) / lengthSquared, 0.0, 1.0)
               : 0.0;
}

} // namespace corvane::gizmo
