#pragma once

#include <QImage>

namespace corvane::rendering {

/// Each square of `side` pixels becomes one: colours are averaged as light, by their share of the
/// square, so that edges against nothing have no dark or bright rim.
/// @param samples  RGBA8888, sRGB; sides are multiples of `side`
/// @return         RGBA8888, not premultiplied
[[nodiscard]] QImage averaged(const QImage &samples, int side);

} // namespace corvane::rendering
