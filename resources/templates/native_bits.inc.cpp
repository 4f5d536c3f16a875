// Bit fields, reinterpretation and packing, on 32-bit values.
EVAL_INLINE float _bitsToFloat(unsigned bits)
{
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}
EVAL_INLINE unsigned _floatToBits(float f)
{
    unsigned bits;
    std::memcpy(&bits, &f, sizeof bits);
    return bits;
}
EVAL_INLINE int bitCount(unsigned bits)
{
    return __builtin_popcount(bits);
}
EVAL_INLINE int findLSB(unsigned bits)
{
    return bits == 0 ? -1 : __builtin_ctz(bits);
}
EVAL_INLINE int findMSB(unsigned bits)
{
    return bits == 0 ? -1 : 31 - __builtin_clz(bits);
}

EVAL_INLINE bool isBitField(int offset, int count)
{
    return count > 0 && offset >= 0 && offset <= 32 && count <= 32 - offset;
}
EVAL_INLINE unsigned bitFieldMask(int count)
{
    return count == 32 ? ~0u : (1u << count) - 1u;
}
EVAL_INLINE unsigned bitfieldExtract(unsigned bits, int offset, int count)
{
    return isBitField(offset, count) ? (bits >> offset) & bitFieldMask(count) : 0u;
}
EVAL_INLINE unsigned bitfieldInsert(unsigned bits, unsigned inserted, int offset, int count)
{
    if (!isBitField(offset, count))
        return bits;
    const unsigned mask = bitFieldMask(count) << offset;
    return (bits & ~mask) | ((inserted << offset) & mask);
}

// Normalised integers in one word, low lane first; NaN packs as the lowest value.
EVAL_INLINE unsigned packLane(float x, float low, float scale, int bits, int place)
{
    const float raised = x > low ? x : low;
    const float inside = raised < 1.0f ? raised : 1.0f;
    const int packed = static_cast<int>(std::round(inside * scale));
    return (static_cast<unsigned>(packed) & ((1u << bits) - 1u)) << (place * bits);
}
EVAL_INLINE float unpackUnsigned(unsigned word, float scale, int bits, int place)
{
    return static_cast<float>(static_cast<int>((word >> (place * bits)) & ((1u << bits) - 1u))) /
           scale;
}
EVAL_INLINE float unpackSigned(unsigned word, float scale, int bits, int place)
{
    const unsigned mask = (1u << bits) - 1u;
    const unsigned field = (word >> (place * bits)) & mask;
    const int whole = static_cast<int>(field >> (bits - 1) ? field | ~mask : field);
    const float x = static_cast<float>(whole) / scale;
    return x < -1.0f ? -1.0f : x;
}
EVAL_INLINE unsigned packUnorm2x16(float x, float y)
{
    return packLane(x, 0.0f, 65535.0f, 16, 0) | packLane(y, 0.0f, 65535.0f, 16, 1);
}
EVAL_INLINE unsigned packSnorm2x16(float x, float y)
{
    return packLane(x, -1.0f, 32767.0f, 16, 0) | packLane(y, -1.0f, 32767.0f, 16, 1);
}
EVAL_INLINE unsigned packUnorm4x8(float x, float y, float z, float w)
{
    return packLane(x, 0.0f, 255.0f, 8, 0) | packLane(y, 0.0f, 255.0f, 8, 1) |
           packLane(z, 0.0f, 255.0f, 8, 2) | packLane(w, 0.0f, 255.0f, 8, 3);
}
EVAL_INLINE unsigned packSnorm4x8(float x, float y, float z, float w)
{
    return packLane(x, -1.0f, 127.0f, 8, 0) | packLane(y, -1.0f, 127.0f, 8, 1) |
           packLane(z, -1.0f, 127.0f, 8, 2) | packLane(w, -1.0f, 127.0f, 8, 3);
}
EVAL_INLINE V2 unpackUnorm2x16(unsigned w)
{
    return {unpackUnsigned(w, 65535.0f, 16, 0), unpackUnsigned(w, 65535.0f, 16, 1)};
}
EVAL_INLINE V2 unpackSnorm2x16(unsigned w)
{
    return {unpackSigned(w, 32767.0f, 16, 0), unpackSigned(w, 32767.0f, 16, 1)};
}
EVAL_INLINE V4 unpackUnorm4x8(unsigned w)
{
    return {unpackUnsigned(w, 255.0f, 8, 0), unpackUnsigned(w, 255.0f, 8, 1),
            unpackUnsigned(w, 255.0f, 8, 2), unpackUnsigned(w, 255.0f, 8, 3)};
}
EVAL_INLINE V4 unpackSnorm4x8(unsigned w)
{
    return {unpackSigned(w, 127.0f, 8, 0), unpackSigned(w, 127.0f, 8, 1),
            unpackSigned(w, 127.0f, 8, 2), unpackSigned(w, 127.0f, 8, 3)};
}

// IEEE binary16; the mantissa is cut off. What is too large becomes infinite, NaN stays NaN.
static inline unsigned halfFromFloat(float x)
{
    const unsigned bits = _floatToBits(x);
    const unsigned sign = (bits >> 16) & 0x8000u;
    const int exponent = static_cast<int>((bits >> 23) & 0xffu) - 127;
    const unsigned mantissa = bits & 0x7fffffu;
    if (exponent == 128)
        return sign | 0x7c00u | (mantissa != 0 ? 0x200u | (mantissa >> 13) : 0u);
    if (exponent > 15)
        return sign | 0x7c00u;
    if (exponent >= -14)
        return sign | (static_cast<unsigned>(exponent + 15) << 10) | (mantissa >> 13);
    if (exponent < -24)
        return sign;
    return sign | ((mantissa | 0x800000u) >> (-exponent - 1));
}
static inline float floatFromHalf(unsigned half)
{
    const unsigned sign = (half & 0x8000u) << 16;
    const unsigned exponent = (half >> 10) & 0x1fu;
    const unsigned mantissa = half & 0x3ffu;
    if (exponent == 31)
        return _bitsToFloat(sign | 0x7f800000u | (mantissa << 13));
    if (exponent != 0)
        return _bitsToFloat(sign | ((exponent + 112) << 23) | (mantissa << 13));
    const float magnitude = std::ldexp(static_cast<float>(mantissa), -24);
    return sign != 0 ? -magnitude : magnitude;
}
EVAL_INLINE unsigned packHalf2x16(float x, float y)
{
    return halfFromFloat(x) | (halfFromFloat(y) << 16);
}
EVAL_INLINE V2 unpackHalf2x16(unsigned w)
{
    return {floatFromHalf(w & 0xffffu), floatFromHalf(w >> 16)};
}
