#pragma once

#include <corvane/gizmo/GizmoHandleSpec.h>

namespace corvane::gizmo {

/// The keys that change how a drag counts.
struct DragModifiers
{
    bool snap = false; ///< to whole steps
    bool fine = false; ///< a tenth of the way

    bool operator==(const DragModifiers &) const = default;
};

/// The number that a handle has after a drag.
///
/// Along an axis the number goes so that the grip stays under the cursor. Where the parameter's
/// drag is multiplicative the number is scaled by how much farther the grip is from where its axis
/// begins, which for a grip that stands at the number is the same and never changes the sign. Of a
/// parameter whose drag is bounded, or that has none, the range holds.
/// @param gripDistance  world distance of the grip from its origin when the drag began
/// @param delta         world distance dragged along the axis, or degrees round it
/// @param worldPerUnit  of the number; 0 or less reads as 1
[[nodiscard]] double draggedNumber(const GizmoHandleSpec &handle, double startNumber,
                                   double gripDistance, double delta, double worldPerUnit,
                                   const DragModifiers &modifiers);

} // namespace corvane::gizmo
