#pragma once

#include <corvane/camera/Camera.h>
#include <corvane/gizmo/DragValue.h>
#include <corvane/gizmo/GizmoHandleSpec.h>
#include <corvane/gizmo/HandleShape.h>

#include <QObject>
#include <QPointF>
#include <QSize>

#include <optional>

namespace corvane::gizmo {

/// Finds the handle under the cursor, and turns a drag of it into values of its parameter.
///
/// Every step of a drag is a parameterDragUpdate(); its end is one parameterDragFinished(), the
/// change that can be undone. The handles are as they were when the drag began for as long as it
/// lasts, so that a part that moves under its own handle does not run away from the cursor. Points
/// are pixels from the left and top. On the main thread.
class GizmoInteractor : public QObject
{
    Q_OBJECT

public:
    static constexpr double hitTolerancePixels = 8.0;

    using QObject::QObject;

    /// Shows the handles of an item.
    /// @param placement  from the item's space to the world
    void setActiveHandles(const GizmoSpec &spec, const QMatrix4x4 &placement);
    void clearActiveHandles();
    [[nodiscard]] const GizmoSpec &handles() const { return m_spec; }
    [[nodiscard]] const QMatrix4x4 &placement() const { return m_placement; }

    /// The handle nearest to a point, within the tolerance; of those the nearest to the eye.
    [[nodiscard]] GizmoHitResult hitTest(const QPointF &point, const camera::Camera &camera,
                                         const QSize &size) const;

    /// False for what is no hit, or while a drag is under way.
    bool beginDrag(const GizmoHitResult &hit, const QPointF &point, const camera::Camera &camera,
                   const QSize &size);
    void updateDrag(const QPointF &point, const camera::Camera &camera, const QSize &size,
                    const DragModifiers &modifiers = {});
    void endDrag();
    /// Takes the drag back: an update with the value that it began with, and no end.
    void cancelDrag();
    [[nodiscard]] bool isDragging() const { return m_drag.has_value(); }
    /// The handle that is dragged; -1 for none.
    [[nodiscard]] int draggedHandle() const { return m_drag ? m_drag->handle : -1; }

    /// The point of a line that lies nearest to what is seen at `point`.
    [[nodiscard]] static std::optional<QVector3D>
    screenToWorldOnAxis(const QPointF &point, const camera::Camera &camera, const QSize &size,
                        const QVector3D &origin, const QVector3D &axis);
    /// Degrees round a ring, as angleOnPlane() counts them.
    [[nodiscard]] static std::optional<double>
    screenToAngleOnPlane(const QPointF &point, const camera::Camera &camera, const QSize &size,
                         const QVector3D &origin, const QVector3D &normal);

signals:
    void parameterDragUpdate(const QUuid &instance, const QString &parameter,
                             const QVariant &value);
    void parameterDragFinished(const QUuid &instance, const QString &parameter,
                               const QVariant &value);

private:
    struct Drag
    {
        int handle = -1;
        HandleShape shape{};
        QVariant startValue{};
        double startNumber = 0.0;
        double at = 0.0;      ///< along the axis or round it, where the last point was
        double dragged = 0.0; ///< since the beginning
    };

    [[nodiscard]] std::optional<double> position(const HandleShape &shape, HandleType type,
                                                 const QPointF &point, const camera::Camera &camera,
                                                 const QSize &size) const;
    void setValue(const QVariant &value);

    GizmoSpec m_spec;
    QMatrix4x4 m_placement;
    std::optional<Drag> m_drag;
};

} // namespace corvane::gizmo
