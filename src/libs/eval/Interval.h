#pragma once

#include <limits>

namespace eval {

/// All values that a float may have: the numbers from `low` to `high`, infinities among them, and
/// no number (NaN) where `mayBeNan`. A default one knows nothing. No number at all is `low` above
/// `high`. Which of the two zeros a zero is, is never known.
struct Interval
{
    float low = -std::numeric_limits<float>::infinity();
    float high = std::numeric_limits<float>::infinity();
    bool mayBeNan = true;

    static constexpr Interval of(float low, float high) { return {low, high, false}; }
    bool isEmpty() const { return !(low <= high); }

    bool operator==(const Interval &) const = default;
};

/// What an evaluation over a box of points has to say.
struct IntervalResult
{
    Interval value;        ///< of all points that have one; empty when every point faults
    bool mayFault = false; ///< some points may end in a fault and have no value
    /// The instructions that it took: the same on every machine, so that a budget counted in them
    /// makes the same decisions everywhere.
    long long steps = 0;
};

} // namespace eval
