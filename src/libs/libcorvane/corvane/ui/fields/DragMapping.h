#pragma once

#include <corvane/registry/ParameterDef.h>

#include <optional>

namespace corvane::ui {

/// What a drag may do to a number, beside how.
struct DragRange
{
    std::optional<double> minimum{}; ///< where the mapping's curve begins, clamp or not
    std::optional<double> maximum{};
    std::optional<double> step{}; ///< the result is a whole number of these
};

/// The value that a drag of so many pixels makes of a start value.
///
/// The way is that of the mapping, and depends on the start and the distance alone: what is dragged
/// out and back again is where it was. The result is rounded to a digit that one pixel moves, so
/// that a drag gives "12.4" and not "12.3879".
/// @param pixels  to the right is more; Shift and Alt are the caller's factors
double dragged(const registry::DragSpec &spec, const DragRange &range, double start, double pixels);

} // namespace corvane::ui
