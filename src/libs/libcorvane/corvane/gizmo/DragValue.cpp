#include <corvane/gizmo/DragValue.h>

#include <algorithm>
#include <cmath>

namespace corvane::gizmo {

using registry::DragSpec;

namespace {

constexpr double fineFactor = 0.1;
constexpr double smallestRatio = 1e-3;  ///< of one drag that scales
constexpr double smallestNumber = 1e-6; ///< that a drag with a locked sign starts from

double scaled(double start, double gripDistance, double delta)
{
    const double base = std::max(std::abs(gripDistance), smallestNumber);
    const double ratio = std::max((base + delta) / base, smallestRatio);
    return (start == 0.0 ? smallestNumber : start) * ratio;
}

double kept(const GizmoHandleSpec &handle, double start, double number)
{
    if (!handle.drag || handle.drag->bounded)
        return std::clamp(number, std::min(handle.minimum, handle.maximum),
                          std::max(handle.minimum, handle.maximum));
    if (!handle.drag->signLock || start == 0.0)
        return number;
    const double nearest = std::abs(start) * smallestRatio;
    return start > 0.0 ? std::max(number, nearest) : std::min(number, -nearest);
}

} // namespace

double draggedNumber(const GizmoHandleSpec &handle, double startNumber, double gripDistance,
                     double delta, double worldPerUnit, const DragModifiers &modifiers)
{
    const double way = modifiers.fine ? delta * fineFactor : delta;
    double number = startNumber;
    if (isAngular(handle.type))
        number += way;
    else if (handle.type == HandleType::Scale ||
             (handle.drag && handle.drag->mapping == DragSpec::Mapping::Multiplicative))
        number = scaled(startNumber, gripDistance, way);
    else
        number += way / (worldPerUnit > 0.0 ? worldPerUnit : 1.0);
    if (!std::isfinite(number))
        return startNumber;
    if (modifiers.snap && handle.step > 0.0)
        number = std::round(number / handle.step) * handle.step;
    return kept(handle, startNumber, number);
}

} // namespace corvane::gizmo
