#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

/// The scalar functions of the language, one lane at a time. The walk over the tree, the register
/// machine and its row form all compute with these, so that their results are equal to the last
/// bit.
///
/// What is written for double is computed in double and rounded once when the lane is float.
/// Templates give the same value for float either way: + - * / and sqrt by the double-rounding
/// theorem (53 >= 2 * 24 + 2, Figueroa 1995), and selection, floor and the like because they are
/// exact.
namespace eval::internal::lane {

// Which operand wins on equal values (zeros of both signs) and NaN is part of the result.
template<class T>
T minimum(T a, T b)
{
    return b < a ? b : a;
}
template<class T>
T maximum(T a, T b)
{
    return a < b ? b : a;
}
template<class T>
T clamp(T x, T low, T high)
{
    const T raised = low < x ? x : low;
    return raised < high ? raised : high;
}
template<class T>
T sign(T x)
{
    return static_cast<T>(static_cast<int>(x > T(0)) - static_cast<int>(x < T(0)));
}
// The library's rounding is a call a lane on machines that have no instruction for it. These are
// the same to the last bit (the sign of zero comes from the argument), and a compiler turns loops
// of them into vector code.
inline float truncated(float x)
{
    constexpr float wholeFrom = 8388608.0f; // 2^23: every float from here on is a whole number
    const float whole =
        static_cast<float>(static_cast<std::int32_t>(std::fabs(x) < wholeFrom ? x : 0.0f));
    return std::fabs(x) < wholeFrom ? std::copysign(whole, x) : x;
}
inline float floored(float x)
{
    const float whole = truncated(x);
    return whole > x ? whole - 1.0f : whole;
}
inline float raised(float x)
{
    const float whole = truncated(x);
    return whole < x ? std::copysign(whole + 1.0f, x) : whole;
}

template<class T>
T fract(T x)
{
    return x - std::floor(x);
}
template<class T>
T step(T edge, T x)
{
    return x < edge ? T(0) : T(1);
}

inline double radians(double x)
{
    return x * 0.017453292519943295;
}
inline double degrees(double x)
{
    return x * 57.29577951308232;
}
inline double inverseSqrt(double x)
{
    return 1.0 / std::sqrt(x);
}
inline double mix(double a, double b, double t)
{
    return std::fma(a, 1.0 - t, b * t);
}
inline double smoothstep(double e0, double e1, double x)
{
    const double t = clamp((x - e0) / (e1 - e0), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

// Sums in a fixed order, so that the machine can take them apart into single operations.
template<class T>
T dot(const T *a, const T *b, int count)
{
    T sum = a[0] * b[0];
    for (int i = 1; i < count; ++i)
        sum = sum + a[i] * b[i];
    return sum;
}
template<class T>
T length(const T *a, int count)
{
    return count == 1 ? std::fabs(a[0]) : std::sqrt(dot(a, a, count));
}

} // namespace eval::internal::lane
