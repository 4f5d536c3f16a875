// The scalar functions of the language. Each stands in float, for what is float, and in double, for
// what came from double or integers and is rounded once at the end.

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

// Which operand wins on equal values and on NaN is part of the result.
#define EVAL_FUNCTIONS(T)                                                                          \
    EVAL_INLINE T evalInverseSqrt(T x)                                                             \
    {                                                                                              \
        return T(1) / evalSqrt(x);                                                                 \
    }                                                                                              \
    EVAL_INLINE T evalFract(T x)                                                                   \
    {                                                                                              \
        return x - evalFloor(x);                                                                   \
    }                                                                                              \
    EVAL_INLINE T evalSign(T x)                                                                    \
    {                                                                                              \
        return static_cast<T>(x > T(0)) - static_cast<T>(x < T(0));                                \
    }                                                                                              \
    EVAL_INLINE T evalMin(T a, T b)                                                                \
    {                                                                                              \
        return b < a ? b : a;                                                                      \
    }                                                                                              \
    EVAL_INLINE T evalMax(T a, T b)                                                                \
    {                                                                                              \
        return a < b ? b : a;                                                                      \
    }                                                                                              \
    EVAL_INLINE T evalClamp(T x, T low, T high)                                                    \
    {                                                                                              \
        const T l = static_cast<T>(static_cast<float>(low));                                       \
        const T h = static_cast<T>(static_cast<float>(high));                                      \
        const T raised = l < x ? x : l;                                                            \
        return raised < h ? raised : h;                                                            \
    }                                                                                              \
    EVAL_INLINE T evalStep(T edge, T x)                                                            \
    {                                                                                              \
        return x < edge ? T(0) : T(1);                                                             \
    }                                                                                              \
    EVAL_INLINE T evalMix(T a, T b, T t)                                                           \
    {                                                                                              \
        return a * (T(1) - t) + b * t;                                                             \
    }                                                                                              \
    EVAL_INLINE T evalSmoothstep(T e0, T e1, T x)                                                  \
    {                                                                                              \
        const T t = evalClamp((x - e0) / (e1 - e0), T(0), T(1));                                   \
        return t * t * (T(3) - T(2) * t);                                                          \
    }                                                                                              \
    EVAL_INLINE T evalMod(T x, T y)                                                                \
    {                                                                                              \
        return std::fmod(x, y);                                                                    \
    }                                                                                              \
    EVAL_INLINE T evalRemainder(T x, T y)                                                          \
    {                                                                                              \
        return y == T(0) ? T(0) : std::fmod(x, y);                                                 \
    }                                                                                              \
    EVAL_INLINE T evalPow(T x, T y)                                                                \
    {                                                                                              \
        return std::pow(x, y);                                                                     \
    }                                                                                              \
    EVAL_INLINE T evalAtan(T y, T x)                                                               \
    {                                                                                              \
        return std::atan2(y, x);                                                                   \
    }                                                                                              \
    EVAL_INLINE bool evalIsnan(T x)                                                                \
    {                                                                                              \
        return std::isnan(x);                                                                      \
    }                                                                                              \
    EVAL_INLINE bool evalIsinf(T x)                                                                \
    {                                                                                              \
        return std::isinf(x);                                                                      \
    }
EVAL_FUNCTIONS(float)
EVAL_FUNCTIONS(double)
#undef EVAL_FUNCTIONS
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
