// What the rest of the text is written in, for one point: numbers, truth values and the choice
// between two of anything.
using Float = float;
using Int = int;
using Bool = bool;

template<class T>
EVAL_INLINE T select(bool chosen, T a, T b)
{
    return chosen ? a : b;
}
EVAL_INLINE float splat(float value)
{
    return value;
}
EVAL_INLINE int splat(int value)
{
    return value;
}
EVAL_INLINE float toFloat(int v)
{
    return static_cast<float>(v);
}
EVAL_INLINE float boolToFloat(bool v)
{
    return v ? 1.0f : 0.0f;
}
EVAL_INLINE int boolToInt(bool v)
{
    return v ? 1 : 0;
}
EVAL_INLINE int wrapAdd(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}
EVAL_INLINE int wrapSubtract(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}
// A bound as it is read: in float, whatever is bounded.
EVAL_INLINE float asFloat(float v)
{
    return v;
}
EVAL_INLINE double asFloat(double v)
{
    return static_cast<double>(static_cast<float>(v));
}

// A floating value as an integer: cut towards zero, 0 where there is none, wrapped to 32 bits.
EVAL_INLINE long long toInt64(double v)
{
    return v > -9223372036854775808.0 && v < 9223372036854775808.0 ? static_cast<long long>(v) : 0;
}
EVAL_INLINE unsigned long long toUint64(double v)
{
    return v >= 9223372036854775808.0 && v < 18446744073709551616.0
               ? static_cast<unsigned long long>(v)
               : static_cast<unsigned long long>(toInt64(v));
}
EVAL_INLINE unsigned toUint(double v)
{
    return static_cast<unsigned>(toInt64(v));
}
EVAL_INLINE int toInt(double v)
{
    return static_cast<int>(toUint(v));
}
EVAL_INLINE int shiftLeft(int a, int b)
{
    return static_cast<int>(static_cast<unsigned>(a) << (b & 31));
}
EVAL_INLINE int shiftRight(int a, int b)
{
    return a >> (b & 31);
}

// The library's square root sets errno, which costs a branch and a call that is never taken.
EVAL_INLINE float evalSqrt(float x)
{
#if defined(__SSE__) && defined(__GNUC__) && !defined(__clang__)
    typedef float Lanes __attribute__((vector_size(16)));
    return __builtin_ia32_sqrtss(Lanes{x, 0.0f, 0.0f, 0.0f})[0];
#else
    return std::sqrt(x);
#endif
}
EVAL_INLINE double evalSqrt(double x)
{
    return std::sqrt(x);
}

#define EVAL_UNARY(NAME, FUNCTION)                                                                 \
    EVAL_INLINE float NAME(float x)                                                                \
    {                                                                                              \
        return FUNCTION(x);                                                                        \
    }                                                                                              \
    EVAL_INLINE double NAME(double x)                                                              \
    {                                                                                              \
        return FUNCTION(x);                                                                        \
    }
EVAL_UNARY(evalSin, std::sin)
EVAL_UNARY(evalCos, std::cos)
EVAL_UNARY(evalTan, std::tan)
EVAL_UNARY(evalAsin, std::asin)
EVAL_UNARY(evalAcos, std::acos)
EVAL_UNARY(evalAtan, std::atan)
EVAL_UNARY(evalSinh, std::sinh)
EVAL_UNARY(evalCosh, std::cosh)
EVAL_UNARY(evalTanh, std::tanh)
EVAL_UNARY(evalAsinh, std::asinh)
EVAL_UNARY(evalAcosh, std::acosh)
EVAL_UNARY(evalAtanh, std::atanh)
EVAL_UNARY(evalExp, std::exp)
EVAL_UNARY(evalLog, std::log)
EVAL_UNARY(evalExp2, std::exp2)
EVAL_UNARY(evalLog2, std::log2)
EVAL_UNARY(evalAbs, std::fabs)
EVAL_UNARY(evalRound, std::round)
EVAL_UNARY(evalRoundEven, std::nearbyint)
#undef EVAL_UNARY

#define EVAL_BINARY(NAME, FUNCTION)                                                                \
    EVAL_INLINE float NAME(float x, float y)                                                       \
    {                                                                                              \
        return FUNCTION(x, y);                                                                     \
    }                                                                                              \
    EVAL_INLINE double NAME(double x, double y)                                                    \
    {                                                                                              \
        return FUNCTION(x, y);                                                                     \
    }
EVAL_BINARY(evalMod, std::fmod)
EVAL_BINARY(evalPow, std::pow)
EVAL_BINARY(evalAtan, std::atan2)
#undef EVAL_BINARY

// Rounding is a call where there is no instruction for it. These give the same to the last bit, the
// sign of a zero too, and become vector code.
EVAL_INLINE float evalTrunc(float x)
{
    // From 2^23 on every float is whole.
    const float magnitude = std::fabs(x);
    const float whole =
        static_cast<float>(static_cast<std::int32_t>(magnitude < 8388608.0f ? x : 0.0f));
    return magnitude < 8388608.0f ? std::copysign(whole, x) : x;
}
EVAL_INLINE float evalFloor(float x)
{
    const float whole = evalTrunc(x);
    return whole > x ? whole - 1.0f : whole;
}
EVAL_INLINE float evalCeil(float x)
{
    const float whole = evalTrunc(x);
    return whole < x ? std::copysign(whole + 1.0f, x) : whole;
}
EVAL_INLINE double evalTrunc(double x)
{
    return std::trunc(x);
}
EVAL_INLINE double evalFloor(double x)
{
    return std::floor(x);
}
EVAL_INLINE double evalCeil(double x)
{
    return std::ceil(x);
}

EVAL_INLINE float evalRadians(float x)
{
    return x * (3.14159265358979323846f / 180.0f);
}
EVAL_INLINE double evalRadians(double x)
{
    return x * 0.017453292519943295;
}
EVAL_INLINE float evalDegrees(float x)
{
    return x * (180.0f / 3.14159265358979323846f);
}
EVAL_INLINE double evalDegrees(double x)
{
    return x * 57.29577951308232;
}

// Exact in double before it is rounded: the product of two floats has 48 bits.
EVAL_INLINE float evalFma(float a, float b, float c)
{
    return static_cast<float>(static_cast<double>(a) * static_cast<double>(b) +
                              static_cast<double>(c));
}
EVAL_INLINE double evalFma(double a, double b, double c)
{
    return std::fma(a, b, c);
}
