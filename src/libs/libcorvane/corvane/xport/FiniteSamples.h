#pragma once

#include <span>

namespace corvane::xport {

/// Makes what is no number, or beyond all numbers, a value that a crossing can be computed from:
/// plus or minus eval::farDistance. No sign changes, and no number is outside.
/// @return  whether any sample is that, or so far away that it is no value
bool makeFinite(std::span<float> samples);

} // namespace corvane::xport
