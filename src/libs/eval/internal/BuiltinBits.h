#pragma once

// Bit fields, reinterpretation and packing, all on 32-bit values.

#include <eval/internal/Builtin.h>
#include <eval/internal/Value.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace eval::internal::builtin {

inline quint32 bitsOf(const Value &value, int lane)
{
    return static_cast<quint32>(value.integerLane(lane));
}

/// A function of the bits of each lane that counts or finds: int, or the ivec of the argument's
/// size.
template<int (*function)(quint32)>
Value perLane(Arguments a)
{
    const int count = std::clamp(laneCount(a[0].type), 1, 4);
    Value result = Value::zero(vectorOf(Type::Int, count));
    for (int i = 0; i < count; ++i)
        result.setIntegerLane(i, function(bitsOf(a[0], i)));
    return result;
}

inline int countBits(quint32 bits)
{
    return std::popcount(bits);
}
inline int lowestBit(quint32 bits)
{
    return bits == 0 ? -1 : std::countr_zero(bits);
}
inline int highestBit(quint32 bits)
{
    return bits == 0 ? -1 : 31 - std::countl_zero(bits);
}

struct BitField
{
    int offset;
    int count;
    bool isValid() const
    {
        // Compared without adding, since the sum of two hostile integers may overflow.
        return count > 0 && offset >= 0 && offset <= 32 && count <= 32 - offset;
    }
    quint32 mask() const { return count == 32 ? ~0u : (1u << count) - 1u; }
};

inline Value bitfieldExtract(Arguments a)
{
    const BitField field = {a[1].toInt(), a[2].toInt()};
    Value result = Value::zero(a[0].type);
    if (!field.isValid())
        return result;
    for (int i = 0; i < laneCount(a[0].type); ++i)
        result.setIntegerLane(i, (bitsOf(a[0], i) >> field.offset) & field.mask());
    return result;
}

inline Value bitfieldInsert(Arguments a)
{
    const BitField field = {a[2].toInt(), a[3].toInt()};
    Value result = a[0];
    if (!field.isValid())
        return result;
    const quint32 mask = field.mask() << field.offset;
    for (int i = 0; i < laneCount(a[0].type); ++i) {
        const quint32 inserted = bitsOf(a[1], isScalar(a[1].type) ? 0 : i) << field.offset;
        result.setIntegerLane(i, (bitsOf(a[0], i) & ~mask) | (inserted & mask));
    }
    return result;
}

inline Value floatBitsToInt(Arguments a)
{
    const int count = std::clamp(laneCount(a[0].type), 1, 4);
    Value result = Value::zero(vectorOf(Type::Int, count));
    for (int i = 0; i < count; ++i)
        result.setIntegerLane(i, std::bit_cast<qint32>(a[0].floatLane(i)));
    return result;
}

inline Value intBitsToFloat(Arguments a)
{
    const int count = std::clamp(laneCount(a[0].type), 1, 4);
    Value result = Value::zero(vectorOf(Type::Float, count));
    for (int i = 0; i < count; ++i)
        result.cells[static_cast<size_t>(i)] = bitsOf(a[0], i); // bits stay as they are, NaN too
    return result;
}

/// Normalised integers in one word: `lanes` of them, low lane first.
struct NormFormat
{
    int lanes;
    float scale;
    bool isSigned;
    int bits() const { return 32 / lanes; }
};
inline constexpr NormFormat unorm2x16 = {2, 65535.0f, false};
inline constexpr NormFormat snorm2x16 = {2, 32767.0f, true};
inline constexpr NormFormat unorm4x8 = {4, 255.0f, false};
inline constexpr NormFormat snorm4x8 = {4, 127.0f, true};

template<NormFormat format>
Value pack(Arguments a)
{
    quint32 word = 0;
    const quint32 mask = (1u << format.bits()) - 1u;
    for (int i = 0; i < format.lanes; ++i) {
        const float low = format.isSigned ? -1.0f : 0.0f;
        const float x = std::min(1.0f, std::max(low, a[0].floatLane(i))); // NaN packs as low
        const auto packed = static_cast<qint32>(roundf(x * format.scale));
        word |= (static_cast<quint32>(packed) & mask) << (i * format.bits());
    }
    return Value::ofUint(word);
}

template<NormFormat format>
Value unpack(Arguments a)
{
    Value result = Value::zero(vectorOf(Type::Float, format.lanes));
    const quint32 word = bitsOf(a[0], 0);
    const quint32 mask = (1u << format.bits()) - 1u;
    for (int i = 0; i < format.lanes; ++i) {
        const quint32 field = (word >> (i * format.bits())) & mask;
        const bool negative = format.isSigned && (field >> (format.bits() - 1)) != 0;
        const auto whole =
            negative ? static_cast<qint32>(field | ~mask) : static_cast<qint32>(field);
        const float x = static_cast<float>(whole) / format.scale;
        result.setLane(i, static_cast<double>(format.isSigned ? std::max(-1.0f, x) : x));
    }
    return result;
}

/// IEEE binary16 by cutting the mantissa off. What is too large becomes infinite, NaN stays NaN.
inline quint32 halfFromFloat(float x)
{
    const auto bits = std::bit_cast<quint32>(x);
    const quint32 sign = (bits >> 16) & 0x8000u;
    const int exponent = static_cast<int>((bits >> 23) & 0xffu) - 127;
    const quint32 mantissa = bits & 0x7fffffu;
    if (exponent == 128)
        return sign | 0x7c00u | (mantissa != 0 ? 0x200u | (mantissa >> 13) : 0u);
    if (exponent > 15)
        return sign | 0x7c00u;
    if (exponent >= -14)
        return sign | (static_cast<quint32>(exponent + 15) << 10) | (mantissa >> 13);
    if (exponent < -24)
        return sign;
    return sign | ((mantissa | 0x800000u) >> (-exponent - 1));
}

inline float floatFromHalf(quint32 half)
{
    const quint32 sign = (half & 0x8000u) << 16;
    const quint32 exponent = (half >> 10) & 0x1fu;
    const quint32 mantissa = half & 0x3ffu;
    if (exponent == 31)
        return std::bit_cast<float>(sign | 0x7f800000u | (mantissa << 13));
    if (exponent != 0)
        return std::bit_cast<float>(sign | ((exponent + 112) << 23) | (mantissa << 13));
    const float magnitude = std::ldexp(static_cast<float>(mantissa), -24);
    return sign != 0 ? -magnitude : magnitude;
}

inline Value packHalf(Arguments a)
{
    return Value::ofUint(halfFromFloat(a[0].floatLane(0)) |
                         (halfFromFloat(a[0].floatLane(1)) << 16));
}

inline Value unpackHalf(Arguments a)
{
    const quint32 word = bitsOf(a[0], 0);
    Value result = Value::zero(Type::Vec2);
    result.setLane(0, static_cast<double>(floatFromHalf(word & 0xffffu)));
    result.setLane(1, static_cast<double>(floatFromHalf(word >> 16)));
    return result;
}

} // namespace eval::internal::builtin
