#pragma once

#include <QColor>
#include <QVector3D>

namespace corvane::gizmo::GizmoStyle {

/// Red, green and blue by custom, muted so that they lie well on both themes.
[[nodiscard]] QColor xAxisColor();
[[nodiscard]] QColor yAxisColor();
[[nodiscard]] QColor zAxisColor();
/// That of the axis that a direction is nearest to.
[[nodiscard]] QColor colorForAxis(const QVector3D &direction);
[[nodiscard]] QColor highlighted(const QColor &color); ///< under the cursor, or being dragged

/// World length of an arrow at `origin`, so that it keeps its size in the picture.
[[nodiscard]] float computeHandleLength(const QVector3D &eye, const QVector3D &origin);

} // namespace corvane::gizmo::GizmoStyle
