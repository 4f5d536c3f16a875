#include <corvane/gizmo/GizmoInteractor.h>

#include <corvane/gizmo/GizmoProjection.h>

#include <QLineF>

#include <cmath>

namespace corvane::gizmo {

namespace {

constexpr double fullTurn = 360.0;

struct LineHit
{
    double pixels = 0.0; ///< from the point to the line
    QVector3D point;
};

/// The nearest segment of a line in the picture.
std::optional<LineHit> hitLine(const QList<QVector3D> &line, const QPointF &point,
                               const QMatrix4x4 &viewProjection, const QSize &size)
{
    std::optional<LineHit> nearest;
    for (qsizetype i = 1; i < line.size(); ++i) {
        const auto from = projectWorldToScreen(line.at(i - 1), viewProjection, size);
        const auto to = projectWorldToScreen(line.at(i), viewProjection, size);
        if (!from || !to)
            continue;
        const double at = nearestOnSegment(point, *from, *to);
        const double pixels = QLineF(point, *from + at * (*to - *from)).length();
        const QVector3D along = line.at(i) - line.at(i - 1);
        if (!nearest || pixels < nearest->pixels)
            nearest = LineHit{.pixels = pixels, .point = line.at(i - 1) + float(at) * along};
    }
    return nearest;
}

} // namespace

void GizmoInteractor::setActiveHandles(const GizmoSpec &spec, const QMatrix4x4 &placement)
{
    if (m_drag)
        return; // what a drag shows is what it began with
    m_spec = spec;
    m_placement = placement;
}

void GizmoInteractor::clearActiveHandles()
{
    m_drag.reset();
    m_spec = {};
}

GizmoHitResult GizmoInteractor::hitTest(const QPointF &point, const camera::Camera &camera,
                                        const QSize &size) const
{
    const QMatrix4x4 viewProjection = camera.viewProjectionMatrix();
    GizmoHitResult best;
    double bestPixels = hitTolerancePixels;
    for (int i = 0; i < m_spec.handles.size(); ++i) {
        const HandleShape shape = shapeOf(m_spec.handles.at(i), m_placement, camera);
        for (const QList<QVector3D> &line : {shape.line, shape.mirror}) {
            const auto hit = hitLine(line, point, viewProjection, size);
            if (!hit || hit->pixels > bestPixels)
                continue;
            const float distance = (hit->point - camera.position()).length();
            if (best.isHit() && hit->pixels == bestPixels && distance >= best.distance)
                continue;
            best = {.handle = i, .point = hit->point, .distance = distance};
            bestPixels = hit->pixels;
        }
    }
    return best;
}

bool GizmoInteractor::beginDrag(const GizmoHitResult &hit, const QPointF &point,
                                const camera::Camera &camera, const QSize &size)
{
    if (m_drag || hit.handle < 0 || hit.handle >= m_spec.handles.size())
        return false;
    const GizmoHandleSpec &handle = m_spec.handles.at(hit.handle);
    const HandleShape shape = shapeOf(handle, m_placement, camera);
    const auto at = position(shape, handle.type, point, camera, size);
    if (!at)
        return false;
    m_drag = Drag{.handle = hit.handle,
                  .shape = shape,
                  .startValue = handle.value,
                  .startNumber = handle.number(),
                  .at = *at};
    return true;
}

void GizmoInteractor::updateDrag(const QPointF &point, const camera::Camera &camera,
                                 const QSize &size, const DragModifiers &modifiers)
{
    if (!m_drag)
        return;
    const GizmoHandleSpec &handle = m_spec.handles.at(m_drag->handle);
    const auto at = position(m_drag->shape, handle.type, point, camera, size);
    if (!at)
        return; // the cursor is where the handle can't be followed; it stays until it is back
    double moved = *at - m_drag->at;
    if (isAngular(handle.type))
        moved = std::remainder(moved, fullTurn);
    m_drag->at = *at;
    m_drag->dragged += moved;

    const double grip =
        QVector3D::dotProduct(m_drag->shape.tip - m_drag->shape.origin, m_drag->shape.axis);
    // A grip on the negative side goes farther when it is dragged against its axis.
    const double outwards = grip < 0.0 && handle.type != HandleType::Translate ? -1.0 : 1.0;
    const bool scales =
        handle.drag && handle.drag->mapping == registry::DragSpec::Mapping::Multiplicative;
    setValue(handle.withNumber(draggedNumber(handle, m_drag->startNumber, grip,
                                             scales ? outwards * m_drag->dragged : m_drag->dragged,
                                             m_drag->shape.worldPerUnit, modifiers)));
}

void GizmoInteractor::endDrag()
{
    if (!m_drag)
        return;
    const GizmoHandleSpec handle = m_spec.handles.at(m_drag->handle);
    m_drag.reset();
    emit parameterDragFinished(handle.targetInstance, handle.parameter, handle.value);
}

void GizmoInteractor::cancelDrag()
{
    if (!m_drag)
        return;
    setValue(m_drag->startValue);
    m_drag.reset();
}

std::optional<QVector3D> GizmoInteractor::screenToWorldOnAxis(const QPointF &point,
                                                              const camera::Camera &camera,
                                                              const QSize &size,
                                                              const QVector3D &origin,
                                                              const QVector3D &axis)
{
    const auto along = nearestAlongAxis(camera.screenToRay(point, size), origin, axis);
    if (!along)
        return std::nullopt;
    return origin + *along * axis;
}

std::optional<double> GizmoInteractor::screenToAngleOnPlane(const QPointF &point,
                                                            const camera::Camera &camera,
                                                            const QSize &size,
                                                            const QVector3D &origin,
                                                            const QVector3D &normal)
{
    return angleOnPlane(camera.screenToRay(point, size), origin, normal);
}

std::optional<double> GizmoInteractor::position(const HandleShape &shape, HandleType type,
                                                const QPointF &point, const camera::Camera &camera,
                                                const QSize &size) const
{
    if (isAngular(type))
        return screenToAngleOnPlane(point, camera, size, shape.origin, shape.axis);
    const auto along = nearestAlongAxis(camera.screenToRay(point, size), shape.origin, shape.axis);
    return along ? std::optional<double>(*along) : std::nullopt;
}

/// All handles of the parameter show the value that is dragged.
void GizmoInteractor::setValue(const QVariant &value)
{
    const GizmoHandleSpec dragged = m_spec.handles.at(m_drag->handle);
    for (GizmoHandleSpec &handle : m_spec.handles) {
        if (handle.parameter == dragged.parameter &&
            handle.targetInstance == dragged.targetInstance)
            handle.value = value;
    }
    emit parameterDragUpdate(dragged.targetInstance, dragged.parameter, value);
}

} // namespace corvane::gizmo
