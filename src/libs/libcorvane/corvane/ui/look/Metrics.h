#pragma once

namespace corvane::ui {

/// The measures of the window, in pixels of a screen at scale 1. Distances are whole steps of the
/// grid.
namespace Metrics {
inline constexpr int grid = 4;
inline constexpr int spacing = 2 * grid; ///< between controls
inline constexpr int margin = 2 * grid;  ///< around the content of a panel
inline constexpr int controlHeight = 26;
inline constexpr int rowHeight = 24; ///< of trees, lists and menus
inline constexpr int corner = 5;
inline constexpr int ring = 2; ///< width of a focus ring
inline constexpr int iconSize = 16;
inline constexpr int indicator = 16; ///< check boxes and radio buttons
inline constexpr int scrollBar = 10;
inline constexpr int labelWidth = 96; ///< of the fields of a panel
} // namespace Metrics

/// The three sizes of text.
enum class TextSize { Small, Normal, Large };
/// @param percent  the user's choice of size; 100 is the design's
int textPixels(TextSize size, int percent = 100);

/// How long something moves, in milliseconds; 0 where the desktop asks for less motion.
int motionMs();

} // namespace corvane::ui
