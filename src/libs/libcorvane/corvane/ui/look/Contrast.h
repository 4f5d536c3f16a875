#pragma once

#include <QColor>

namespace corvane::ui {

/// Contrast as the Web Content Accessibility Guidelines 2.1 measure it: relative luminance of
/// linear sRGB, and the ratio (lighter + 0.05) / (darker + 0.05), which lies between 1 and 21.

inline constexpr double textContrast = 4.5;    ///< the least for text
inline constexpr double controlContrast = 3.0; ///< the least for controls and focus rings

double relativeLuminance(const QColor &color); ///< 0 for black, 1 for white; alpha does not count
double contrastRatio(const QColor &a, const QColor &b);

/// The colour itself where it stands out from the background by that ratio, else the nearest
/// lightness of its hue and saturation that does. Where none does, black or white, whichever stands
/// out more.
QColor withContrast(const QColor &color, const QColor &background, double ratio);

} // namespace corvane::ui
