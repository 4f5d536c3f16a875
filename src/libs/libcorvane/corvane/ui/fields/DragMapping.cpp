// A pixel is worth sensitivity * delta, a part of the mapping's own coordinate u; the drag moves u
// evenly, and the value is read off the curve:
//
//     linear                v = u, where the delta may change over the range: dv/dn = r (a + b v),
//                           whose solution is an exponential unless b is 0
//     logarithmic           u = log(v / min) / log(max / min), equal ratios in equal distances
//     exponential           the mirror of that: fast at the start of the range, fine at its end
//     multiplicative        v = start * exp(u)
//     symmetric-signed-log  v = pivot + core * sinh(u), even about the pivot and straight near it
#include <corvane/ui/fields/DragMapping.h>

#include <cmath>

namespace corvane::ui {

namespace {

using registry::DragSpec;
using Mapping = DragSpec::Mapping;

constexpr double spanWithoutRange = 10.0;
constexpr double mostExponent = 60.0; ///< far beyond any screen
constexpr double signedLogRate = 10.0;

double bent(double exponent)
{
    return std::exp(qBound(-mostExponent, exponent, mostExponent));
}

bool hasSpan(const DragRange &range)
{
    return range.minimum && range.maximum && *range.maximum > *range.minimum;
}

double linear(const DragSpec &spec, const DragRange &range, double start, double pixels)
{
    const double span = hasSpan(range) ? *range.maximum - *range.minimum : spanWithoutRange;
    const double rate = pixels * spec.sensitivity;
    const double slope = spec.deltaAtMax - spec.deltaAtMin;
    if (!hasSpan(range) || slope == 0.0 || spec.deltaAtMin <= 0.0 || spec.deltaAtMax <= 0.0)
        return start + rate * spec.deltaAtMin * span;
    const double from = start - *range.minimum;
    const double offset = spec.deltaAtMin * span / slope;
    return *range.minimum + (from + offset) * bent(rate * slope) - offset;
}

double multiplicative(const DragSpec &spec, double start, double pixels)
{
    const double exponent = pixels * spec.sensitivity * spec.deltaAtMin;
    if (start != 0.0)
        return start * bent(exponent);
    return std::expm1(qBound(-mostExponent, exponent, mostExponent)); // nothing to multiply
}

double logarithmic(const DragSpec &spec, const DragRange &range, double start, double pixels)
{
    if (!hasSpan(range) || *range.minimum <= 0.0 || start <= 0.0)
        return multiplicative(spec, start, pixels);
    const double ratio = std::log(*range.maximum / *range.minimum);
    return start * bent(pixels * spec.sensitivity * spec.deltaAtMin * ratio);
}

double exponential(const DragSpec &spec, const DragRange &range, double start, double pixels)
{
    if (!hasSpan(range))
        return linear(spec, range, start, pixels);
    // The distance to the end shrinks by equal ratios.
    const double left = *range.maximum - start;
    if (left == 0.0)
        return start + linear(spec, range, 0.0, pixels);
    return *range.maximum - left * bent(-pixels * spec.sensitivity * spec.deltaAtMin);
}

double symmetric(const DragSpec &spec, double start, double pixels)
{
    const double core = spec.linearCore > 0.0 ? spec.linearCore : DragSpec{}.linearCore;
    const double from = std::asinh((start - spec.pivot) / core);
    const double to = from + pixels * spec.sensitivity * spec.deltaAtMin * signedLogRate;
    return spec.pivot + core * std::sinh(qBound(-mostExponent, to, mostExponent));
}

double along(const DragSpec &spec, const DragRange &range, double start, double pixels)
{
    switch (spec.mapping) {
    case Mapping::Linear:
        return linear(spec, range, start, pixels);
    case Mapping::Logarithmic:
        return logarithmic(spec, range, start, pixels);
    case Mapping::Exponential:
        return exponential(spec, range, start, pixels);
    case Mapping::Multiplicative:
        return multiplicative(spec, start, pixels);
    case Mapping::SymmetricSignedLog:
        return symmetric(spec, start, pixels);
    }
    return start;
}

/// By a whole divisor where the quantum is a fraction, so that a tenth comes out as 0.1.
double roundedTo(double value, double quantum)
{
    if (quantum <= 0.0 || !std::isfinite(quantum))
        return value;
    const double parts = std::round(1.0 / quantum);
    return quantum < 1.0 && std::fabs(parts * quantum - 1.0) < 1e-9
               ? std::round(value * parts) / parts
               : std::round(value / quantum) * quantum;
}

/// The power of ten that one pixel moves here.
double quantumAt(const DragSpec &spec, const DragRange &range, double start, double pixels)
{
    const double way = along(spec, range, start, pixels + 1.0) - along(spec, range, start, pixels);
    return way == 0.0 ? 0.0 : std::pow(10.0, std::floor(std::log10(std::fabs(way))));
}

bool wouldCross(const DragSpec &spec, double start, double value)
{
    return spec.signLock && ((start > 0.0 && value <= 0.0) || (start < 0.0 && value >= 0.0));
}

} // namespace

double dragged(const DragSpec &spec, const DragRange &range, double start, double pixels)
{
    if (pixels == 0.0)
        return start;
    const double exact = along(spec, range, start, pixels);
    const double quantum = range.step.value_or(quantumAt(spec, range, start, pixels));
    double value = roundedTo(exact, quantum);
    if (spec.bounded && range.minimum)
        value = std::max(value, *range.minimum);
    if (spec.bounded && range.maximum)
        value = std::min(value, *range.maximum);
    if (!wouldCross(spec, start, value))
        return value;
    const double least = quantum > 0.0 ? std::min(quantum, std::fabs(start)) : std::fabs(start);
    return start > 0.0 ? least : -least;
}

} // namespace corvane::ui
