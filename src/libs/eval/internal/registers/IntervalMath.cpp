// Interval functions, each exact or widened by what its float function may be off: see the
// header for why monotonic functions need no widening. Periodic ones ask whether a crest lies
// within, with slack for the rounding of the crests themselves.

#include <eval/internal/registers/IntervalMath.h>

#include <eval/internal/interpreter/LaneMath.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <numbers>

namespace eval::internal::interval {

namespace {

constexpr float tiny = std::numeric_limits<float>::denorm_min();

float below(float x)
{
    return std::nextafter(x, -infinity);
}
float above(float x)
{
    return std::nextafter(x, infinity);
}

Interval none(bool mayBeNan)
{
    return {infinity, -infinity, mayBeNan};
}

Interval hullOf(std::initializer_list<float> values, bool mayBeNan)
{
    float low = infinity;
    float high = -infinity;
    for (const float value : values) {
        if (std::isnan(value))
            return {};
        low = std::min(low, value);
        high = std::max(high, value);
    }
    return {low, high, mayBeNan};
}

Interval widened(const Interval &x)
{
    return {below(x.low), above(x.high), x.mayBeNan};
}

bool isPoint(const Interval &x)
{
    return x.low == x.high;
}
/// A wave between -1 and 1 with a crest at `crest` and every full turn from there.
Interval wave(const Interval &x, double (*function)(double), double crest)
{
    constexpr double turn = 2.0 * std::numbers::pi;
    constexpr double farAway = 1e7;
    constexpr double slack = 1e-7; // more than the rounding of the crests, in turns
    const double low = double(x.low);
    const double high = double(x.high);
    if (!isBounded(x) || high - low >= turn || low < -farAway || high > farAway)
        return {-1.0f, 1.0f, x.mayBeNan || !isBounded(x)};
    const auto first = static_cast<float>(function(low));
    if (isPoint(x))
        return {first, first, x.mayBeNan};
    const auto holds = [&](double place) {
        const double next = std::ceil((low - place) / turn - slack);
        return place + next * turn <= high + slack;
    };
    const auto last = static_cast<float>(function(high));
    const float least = holds(crest + std::numbers::pi) ? -1.0f : below(std::min(first, last));
    const float most = holds(crest) ? 1.0f : above(std::max(first, last));
    return {least, most, x.mayBeNan};
}

float asFloat(double x)
{
    return static_cast<float>(x);
}

} // namespace

Interval quotient(const Interval &a, const Interval &b, bool nonZero)
{
    Interval divisor = b;
    if (holdsZero(b)) {
        // One over zero is an infinity of either sign.
        if (!nonZero || (b.low < 0.0f && b.high > 0.0f))
            return {};
        if (b.low == 0.0f)
            divisor.low = tiny;
        if (b.high == 0.0f)
            divisor.high = -tiny;
        if (divisor.isEmpty())
            return none(a.mayBeNan || b.mayBeNan);
    }
    return hullOf(
        {a.low / divisor.low, a.low / divisor.high, a.high / divisor.low, a.high / divisor.high},
        a.mayBeNan || b.mayBeNan);
}

Interval remainder(const Interval &a, const Interval &b)
{
    if (!isBounded(a) || holdsZero(b))
        return {};
    const bool mayBeNan = a.mayBeNan || b.mayBeNan;
    const double low = double(a.low);
    const double high = double(a.high);
    // Within one period it is a with a shift, and exact, as fmod always is.
    const double period = std::fabs(double(b.low));
    const bool isOneSided = low >= 0.0 || high <= 0.0;
    const bool isExact = std::fabs(low) < period * 0x1p50 && std::fabs(high) < period * 0x1p50;
    if (isPoint(b) && isOneSided && isExact) {
        const double first = std::fmod(low, period);
        const double last = std::fmod(high, period);
        if (high - low < period && first <= last)
            return between(asFloat(first), asFloat(last), mayBeNan);
    }
    const float most = std::max(std::fabs(b.low), std::fabs(b.high));
    return {a.low >= 0.0f ? 0.0f : std::max(a.low, -most),
            a.high <= 0.0f ? 0.0f : std::min(a.high, most), mayBeNan};
}

Interval fusedProduct(const Interval &a, const Interval &b, const Interval &c)
{
    if (!isBounded(a) || !isBounded(b) || !isBounded(c))
        return {};
    const auto at = [](float x, float y, float z) {
        return asFloat(std::fma(double(x), double(y), double(z)));
    };
    const float low = std::min({at(a.low, b.low, c.low), at(a.low, b.high, c.low),
                                at(a.high, b.low, c.low), at(a.high, b.high, c.low)});
    const float high = std::max({at(a.low, b.low, c.high), at(a.low, b.high, c.high),
                                 at(a.high, b.low, c.high), at(a.high, b.high, c.high)});
    return between(low, high, a.mayBeNan || b.mayBeNan || c.mayBeNan);
}

Interval clamp(const Interval &x, const Interval &low, const Interval &high)
{
    return minimum(high, maximum(low, x));
}

namespace {

float mixedEnd(float a, float b, const Interval &t, bool isLow)
{
    const float unknown = isLow ? -infinity : infinity;
    if (std::isinf(a) || std::isinf(b))
        return unknown;
    const auto at = [a, b](float share) {
        return double(a) * (1.0 - double(share)) + double(b) * double(share);
    };
    const double slack = 1e-15 * (std::fabs(double(a)) + std::fabs(double(b)));
    return isLow ? asFloat(std::min(at(t.low), at(t.high)) - slack)
                 : asFloat(std::max(at(t.low), at(t.high)) + slack);
}

/// Of a share from 0 to 1: the low end comes of the low ends alone, however large the high ones
/// are, and so does its rounding, since neither of the two terms falls when its value rises. An
/// infinity of which nothing is taken is no number.
Interval mixOfShares(const Interval &a, const Interval &b, const Interval &t)
{
    const bool mayBeNan = a.mayBeNan || b.mayBeNan || t.mayBeNan;
    return {mixedEnd(a.low, b.low, t, true), mixedEnd(a.high, b.high, t, false),
            mayBeNan || !isBounded(a) || !isBounded(b)};
}

} // namespace

/// Linear in each of the three, so that the extremes are at the corners. Rounded in double, of
/// which the largest term decides.
Interval mix(const Interval &a, const Interval &b, const Interval &t)
{
    const auto isAll = [&t](float share) { return t.low == share && t.high == share; };
    // All of one and nothing of the other, be that what it may: only an infinity of it shows.
    if (isAll(0.0f) && isBounded(a) && !isBounded(b))
        return {a.low, a.high, true};
    if (isAll(1.0f) && isBounded(b) && !isBounded(a))
        return {b.low, b.high, true};
    const bool isShare = t.low >= 0.0f && t.high <= 1.0f && !t.isEmpty();
    if (isShare && !a.isEmpty() && !b.isEmpty())
        return mixOfShares(a, b, t);
    if (!isBounded(a) || !isBounded(b) || !isBounded(t))
        return {};
    const auto at = [](float first, float second, float share) {
        return double(first) * (1.0 - double(share)) + double(second) * double(share);
    };
    double low = double(infinity);
    double high = -low;
    for (const float share : {t.low, t.high}) {
        const std::array corners{at(a.low, b.low, share), at(a.low, b.high, share),
                                 at(a.high, b.low, share), at(a.high, b.high, share)};
        low = std::min(low, std::ranges::min(corners));
        high = std::max(high, std::ranges::max(corners));
    }
    const float sizes = absolute(a).high + absolute(b).high;
    const double slack = 1e-15 * double(sizes) * (1.0 + double(absolute(t).high));
    return between(asFloat(low - slack), asFloat(high + slack),
                   a.mayBeNan || b.mayBeNan || t.mayBeNan);
}

Interval smoothstep(const Interval &e0, const Interval &e1, const Interval &x)
{
    const bool isRamp = isPoint(e0) && isPoint(e1) && e0.low != e1.low && isBounded(e0) &&
                        isBounded(e1) && !e0.mayBeNan && !e1.mayBeNan && !x.mayBeNan;
    if (!isRamp)
        return {0.0f, 1.0f, false};
    const auto at = [&](float place) {
        return asFloat(lane::smoothstep(double(e0.low), double(e1.low), double(place)));
    };
    const float first = at(x.low);
    const float last = at(x.high);
    return {std::max(0.0f, below(std::min(first, last))),
            std::min(1.0f, above(std::max(first, last))), false};
}

Interval fract(const Interval &x)
{
    if (!isBounded(x))
        return {};
    const float whole = lane::floored(x.low);
    if (whole != lane::floored(x.high))
        return {0.0f, 1.0f, x.mayBeNan};
    return between(x.low - whole, x.high - whole, x.mayBeNan);
}

Interval sign(const Interval &x)
{
    const float low = x.mayBeNan ? std::min(0.0f, lane::sign(x.low)) : lane::sign(x.low);
    const float high = x.mayBeNan ? std::max(0.0f, lane::sign(x.high)) : lane::sign(x.high);
    return {low, high, false};
}

Interval squareRoot(const Interval &x)
{
    if (x.high < 0.0f)
        return none(true);
    return {std::sqrt(std::max(x.low, 0.0f)), std::sqrt(x.high), x.mayBeNan || x.low < 0.0f};
}

Interval inverseSquareRoot(const Interval &x)
{
    if (x.low <= 0.0f || x.isEmpty())
        return {};
    return {below(asFloat(lane::inverseSqrt(double(x.high)))),
            above(asFloat(lane::inverseSqrt(double(x.low)))), x.mayBeNan};
}

Interval sine(const Interval &x)
{
    return wave(x, &std::sin, std::numbers::pi / 2.0);
}

Interval cosine(const Interval &x)
{
    return wave(x, &std::cos, 0.0);
}

Interval tangent(const Interval &x)
{
    // A branch lies between two poles, where the cosine is zero.
    const Interval side = cosine(x);
    if (!isBounded(x) || holdsZero(side) || double(x.high) - double(x.low) >= std::numbers::pi)
        return {};
    return widened(
        {asFloat(std::tan(double(x.low))), asFloat(std::tan(double(x.high))), x.mayBeNan});
}

/// The angle over a rectangle beside the origin has its extremes at the corners, unless the
/// rectangle meets the negative x axis, where it jumps.
Interval arcTangent2(const Interval &y, const Interval &x)
{
    const bool mayBeNan = x.mayBeNan || y.mayBeNan;
    if (!(x.low > 0.0f || y.low > 0.0f || y.high < 0.0f))
        return {below(-std::numbers::pi_v<float>), above(std::numbers::pi_v<float>), mayBeNan};
    const auto at = [](float v, float u) { return asFloat(std::atan2(double(v), double(u))); };
    return widened(hullOf(
        {at(y.low, x.low), at(y.low, x.high), at(y.high, x.low), at(y.high, x.high)}, mayBeNan));
}

Interval power(const Interval &base, const Interval &exponent)
{
    const bool mayBeNan = base.mayBeNan || exponent.mayBeNan;
    const auto at = [](float x, float y) { return asFloat(std::pow(double(x), double(y))); };
    if (base.low > 0.0f || (base.low == 0.0f && exponent.low > 0.0f))
        return widened(hullOf({at(base.low, exponent.low), at(base.low, exponent.high),
                               at(base.high, exponent.low), at(base.high, exponent.high)},
                              mayBeNan));
    const float whole = exponent.low;
    if (!isPoint(exponent) || whole <= 0.0f || whole != std::floor(whole) || whole > 1024.0f)
        return {};
    if (std::fmod(whole, 2.0f) != 0.0f)
        return widened(hullOf({at(base.low, whole), at(base.high, whole)}, mayBeNan));
    const Interval size = absolute(base);
    return widened(hullOf({at(size.low, whole), at(size.high, whole)}, mayBeNan));
}

Interval rising(const Interval &x, float (*function)(float))
{
    return between(function(x.low), function(x.high), x.mayBeNan);
}

Interval risingInDouble(const Interval &x, double (*function)(double), double domainLow,
                        double domainHigh)
{
    const double low = std::max(double(x.low), domainLow);
    const double high = std::min(double(x.high), domainHigh);
    const bool mayBeNan = x.mayBeNan || double(x.low) < domainLow || double(x.high) > domainHigh;
    if (low > high)
        return none(true);
    const float first = asFloat(function(low));
    if (low == high)
        return between(first, first, mayBeNan);
    return between(below(first), above(asFloat(function(high))), mayBeNan);
}

Interval hyperbolicCosine(const Interval &x)
{
    return risingInDouble(absolute(x), &std::cosh);
}

Interval arcCosine(const Interval &x)
{
    return negated(risingInDouble(
        x, [](double v) { return -std::acos(v); }, -1.0, 1.0));
}

Truth isLess(const Interval &a, const Interval &b)
{
    return {.mayBeFalse = !(a.high < b.low) || a.mayBeNan || b.mayBeNan,
            .mayBeTrue = a.low < b.high};
}

Truth isLessOrEqual(const Interval &a, const Interval &b)
{
    return {.mayBeFalse = !(a.high <= b.low) || a.mayBeNan || b.mayBeNan,
            .mayBeTrue = a.low <= b.high};
}

Truth isEqual(const Interval &a, const Interval &b)
{
    const bool isSame = isPoint(a) && a == b;
    return {.mayBeFalse = !isSame || a.mayBeNan || b.mayBeNan,
            .mayBeTrue = a.low <= b.high && b.low <= a.high};
}

} // namespace eval::internal::interval
