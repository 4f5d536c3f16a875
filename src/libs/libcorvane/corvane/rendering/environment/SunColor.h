#pragma once

#include <QColor>

namespace corvane::rendering {

/// The sun's colour by its elevation in degrees: white from 15 degrees up, and (255, 168, 110) at
/// the horizon and below.
[[nodiscard]] QColor sunColorAt(double elevation);

} // namespace corvane::rendering
