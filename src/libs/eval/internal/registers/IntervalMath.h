#pragma once

#include <eval/Interval.h>

#include <algorithm>
#include <cmath>

/// The scalar functions of the language over intervals. Each answers an interval that holds what
/// the function of the same name in LaneMath.h or LaneOps.h answers for any arguments from the
/// given ones, to the last bit.
///
/// Rounding to the nearest float never turns an order around. So a function that is rising (or
/// falling) in each argument and is rounded once a step, as + - * / sqrt and floor are, has its
/// extremes, rounded alike, at the ends of the arguments, and nothing need be widened. What comes
/// out of the C library may be off by less than a unit in the last place and is widened by one.
namespace eval::internal::interval {

inline constexpr float infinity = std::numeric_limits<float>::infinity();

inline bool holdsZero(const Interval &x)
{
    return x.low <= 0.0f && x.high >= 0.0f;
}
/// Not of an empty one: what takes bounds for numbers had better not see its ends.
inline bool isBounded(const Interval &x)
{
    return x.low > -infinity && x.high < infinity && !x.isEmpty();
}
/// Whether infinity minus infinity may come up.
inline bool mayCancel(const Interval &a, const Interval &b)
{
    return (a.high == infinity && b.low == -infinity) || (a.low == -infinity && b.high == infinity);
}
/// An end that is no number stands for an operation such as infinity minus infinity on the way.
inline Interval between(float low, float high, bool mayBeNan)
{
    if (low != low || high != high)
        return {};
    return {low, high, mayBeNan};
}

/// The smallest interval that holds both.
inline Interval hull(const Interval &a, const Interval &b)
{
    return {std::min(a.low, b.low), std::max(a.high, b.high), a.mayBeNan || b.mayBeNan};
}

inline Interval negated(const Interval &x)
{
    return {-x.high, -x.low, x.mayBeNan};
}

inline Interval absolute(const Interval &x)
{
    const float low = std::fabs(x.low);
    const float high = std::fabs(x.high);
    return {holdsZero(x) ? 0.0f : std::min(low, high), std::max(low, high), x.mayBeNan};
}

inline Interval sum(const Interval &a, const Interval &b)
{
    return between(a.low + b.low, a.high + b.high, a.mayBeNan || b.mayBeNan || mayCancel(a, b));
}

inline Interval difference(const Interval &a, const Interval &b)
{
    return sum(a, negated(b));
}

inline Interval product(const Interval &a, const Interval &b)
{
    if ((holdsZero(a) && !isBounded(b)) || (holdsZero(b) && !isBounded(a)))
        return {};
    const float values[] = {a.low * b.low, a.low * b.high, a.high * b.low, a.high * b.high};
    return between(std::min(std::min(values[0], values[1]), std::min(values[2], values[3])),
                   std::max(std::max(values[0], values[1]), std::max(values[2], values[3])),
                   a.mayBeNan || b.mayBeNan);
}

/// x * x of one and the same x.
inline Interval square(const Interval &x)
{
    const Interval size = absolute(x);
    return {size.low * size.low, size.high * size.high, x.mayBeNan};
}

// As in the language the second operand is preferred only where it is truly smaller (or larger): no
// number in it leaves the first one.

inline Interval minimum(const Interval &a, const Interval &b)
{
    const float high = b.mayBeNan ? a.high : std::min(a.high, b.high);
    return {std::min(a.low, b.low), high, a.mayBeNan};
}

inline Interval maximum(const Interval &a, const Interval &b)
{
    const float low = b.mayBeNan ? a.low : std::max(a.low, b.low);
    return {low, std::max(a.high, b.high), a.mayBeNan};
}

/// @param nonZero  divisors of zero do not occur (they end in a fault)
Interval quotient(const Interval &a, const Interval &b, bool nonZero);
Interval remainder(const Interval &a, const Interval &b);
Interval fusedProduct(const Interval &a, const Interval &b, const Interval &c);

Interval clamp(const Interval &x, const Interval &low, const Interval &high);
Interval mix(const Interval &a, const Interval &b, const Interval &t);
Interval smoothstep(const Interval &e0, const Interval &e1, const Interval &x);

Interval fract(const Interval &x);
Interval sign(const Interval &x);
Interval squareRoot(const Interval &x);
Interval inverseSquareRoot(const Interval &x);
Interval sine(const Interval &x);
Interval cosine(const Interval &x);
Interval tangent(const Interval &x);
Interval arcTangent2(const Interval &y, const Interval &x);
Interval power(const Interval &base, const Interval &exponent);

/// A rising function that rounds once, such as floor.
Interval rising(const Interval &x, float (*function)(float));
/// A rising function of the C library, which is no number outside of [domainLow, domainHigh].
Interval risingInDouble(const Interval &x, double (*function)(double),
                        double domainLow = -std::numeric_limits<double>::infinity(),
                        double domainHigh = std::numeric_limits<double>::infinity());
Interval hyperbolicCosine(const Interval &x);
Interval arcCosine(const Interval &x);

/// What a comparison may answer.
struct Truth
{
    bool mayBeFalse = true;
    bool mayBeTrue = true;
};
Truth isLess(const Interval &a, const Interval &b);
Truth isLessOrEqual(const Interval &a, const Interval &b);
Truth isEqual(const Interval &a, const Interval &b);

} // namespace eval::internal::interval
