#pragma once

#include <eval/Interval.h>

/// The scalar functions of the language over intervals. Each answers an interval that holds what
/// the function of the same name in LaneMath.h or LaneOps.h answers for any arguments from the
/// given ones, to the last bit.
///
/// Rounding to the nearest float never turns an order around. So a function that is rising (or
/// falling) in each argument and is rounded once a step, as + - * / sqrt and floor are, has its
/// extremes, rounded alike, at the ends of the arguments, and nothing need be widened. What comes
/// out of the C library may be off by less than a unit in the last place and is widened by one.
namespace eval::internal::interval {

Interval negated(const Interval &x);
Interval absolute(const Interval &x);
Interval sum(const Interval &a, const Interval &b);
Interval difference(const Interval &a, const Interval &b);
Interval product(const Interval &a, const Interval &b);
/// x * x of one and the same x.
Interval square(const Interval &x);
/// @param nonZero  divisors of zero do not occur (they end in a fault)
Interval quotient(const Interval &a, const Interval &b, bool nonZero);
Interval remainder(const Interval &a, const Interval &b);
Interval fusedProduct(const Interval &a, const Interval &b, const Interval &c);

// As in the language the second operand is preferred only where it is truly smaller (or larger): no
// number in it leaves the first one.
Interval minimum(const Interval &a, const Interval &b);
Interval maximum(const Interval &a, const Interval &b);
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

/// The smallest interval that holds both.
Interval hull(const Interval &a, const Interval &b);

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
