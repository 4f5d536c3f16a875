#include <corvane/xport/FiniteSamples.h>

#include <corvane/eval/IFieldEvaluator.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace corvane::xport {

namespace {

/// The bits of the largest size; those of infinities and of what is no number are larger than those
/// of all numbers.
int largestBits(std::span<const float> samples)
{
    int largest = 0;
    for (const float value : samples)
        largest = std::max(largest, std::bit_cast<int>(value) & 0x7fffffff);
    return largest;
}

} // namespace

bool makeFinite(std::span<float> samples)
{
    constexpr int farBits = std::bit_cast<int>(eval::farDistance);
    if (largestBits(samples) < farBits)
        return false;
    for (float &value : samples) {
        if (!std::isfinite(value))
            value = value < 0.0f ? -eval::farDistance : eval::farDistance;
    }
    return true;
}

} // namespace corvane::xport
