// The same numbers and functions for several points at a time: what follows stands in a namespace
// of its own, so that one text of the vectors, of the functions and of the user's functions serves
// both. Each lane computes what its point alone would, to the last bit.
#undef EVAL_INLINE
#if defined(__x86_64__)
#define EVAL_LANE_TARGET target("avx2")
#define EVAL_LANE_COUNT 8
#else
#define EVAL_LANE_TARGET
#define EVAL_LANE_COUNT 4
#endif
#define EVAL_INLINE static inline __attribute__((always_inline, EVAL_LANE_TARGET))

namespace lanes {

constexpr int laneCount = EVAL_LANE_COUNT;
typedef float Float __attribute__((vector_size(4 * EVAL_LANE_COUNT)));
typedef std::int32_t Int __attribute__((vector_size(4 * EVAL_LANE_COUNT)));
// All bits of a lane, or none: what comparisons give.
using Bool = Int;

EVAL_INLINE Float select(Bool chosen, Float a, Float b)
{
    return chosen ? a : b;
}
EVAL_INLINE Int select(Bool chosen, Int a, Int b)
{
    return chosen ? a : b;
}
EVAL_INLINE Float splat(float value)
{
    return value - Float{}; // a sum would lose the sign of a zero
}
EVAL_INLINE Int splat(int value)
{
    return Int{} + value;
}
EVAL_INLINE Bool splat(bool value)
{
    return Int{} - static_cast<int>(value);
}
EVAL_INLINE Float toFloat(Int v)
{
    return __builtin_convertvector(v, Float);
}
EVAL_INLINE Float boolToFloat(Bool v)
{
    return v ? Float{} + 1.0f : Float{};
}
EVAL_INLINE Int boolToInt(Bool v)
{
    return v & 1;
}
EVAL_INLINE Int wrapAdd(Int a, Int b)
{
    typedef std::uint32_t Unsigned __attribute__((vector_size(4 * EVAL_LANE_COUNT)));
    return (Int)((Unsigned)a + (Unsigned)b);
}
EVAL_INLINE Int wrapSubtract(Int a, Int b)
{
    typedef std::uint32_t Unsigned __attribute__((vector_size(4 * EVAL_LANE_COUNT)));
    return (Int)((Unsigned)a - (Unsigned)b);
}
EVAL_INLINE Float asFloat(Float v)
{
    return v;
}

EVAL_INLINE bool anyLane(Bool v)
{
#if defined(__x86_64__)
    return __builtin_ia32_movmskps256((Float)v) != 0;
#else
    int any = 0;
    for (int i = 0; i < laneCount; ++i)
        any |= v[i];
    return any != 0;
#endif
}

EVAL_INLINE Float evalAbs(Float x)
{
    return (Float)((Int)x & 0x7fffffff);
}
EVAL_INLINE Float evalSqrt(Float x)
{
#if defined(__x86_64__) && !defined(__clang__)
    return __builtin_ia32_sqrtps256(x);
#else
    for (int i = 0; i < laneCount; ++i)
        x[i] = ::evalSqrt(x[i]);
    return x;
#endif
}
EVAL_INLINE Float withSignOf(Float magnitude, Float x)
{
    return (Float)(((Int)magnitude & 0x7fffffff) | ((Int)x & ~0x7fffffff));
}
EVAL_INLINE Float evalTrunc(Float x)
{
    // From 2^23 on every float is whole.
    const Bool isSmall = evalAbs(x) < 8388608.0f;
    const Float whole = toFloat(__builtin_convertvector(select(isSmall, x, Float{}), Int));
    return select(isSmall, withSignOf(whole, x), x);
}
EVAL_INLINE Float evalFloor(Float x)
{
    const Float whole = evalTrunc(x);
    return select(whole > x, whole - 1.0f, whole);
}
EVAL_INLINE Float evalCeil(Float x)
{
    const Float whole = evalTrunc(x);
    return select(whole < x, withSignOf(whole + 1.0f, x), whole);
}
EVAL_INLINE Int toInt(Float v)
{
    Int result;
    for (int i = 0; i < laneCount; ++i)
        result[i] = ::toInt(v[i]);
    return result;
}

// What has no vector form is computed lane after lane, out of line; once where it is the same in
// all, as what comes from y and z often is. What is constant is so in all lanes, and is folded.
EVAL_INLINE bool areSame(Float x)
{
    const Int bits = (Int)x;
    return !anyLane(bits != bits[0]);
}
template<float (*function)(float)>
__attribute__((noinline, EVAL_LANE_TARGET)) Float eachLane(Float x)
{
    if (areSame(x))
        return splat(function(x[0]));
    for (int i = 0; i < laneCount; ++i)
        x[i] = function(x[i]);
    return x;
}
template<float (*function)(float, float)>
__attribute__((noinline, EVAL_LANE_TARGET)) Float eachLane(Float x, Float y)
{
    if (areSame(x) && areSame(y))
        return splat(function(x[0], y[0]));
    for (int i = 0; i < laneCount; ++i)
        x[i] = function(x[i], y[i]);
    return x;
}
#define EVAL_UNARY(NAME)                                                                           \
    EVAL_INLINE Float NAME(Float x)                                                                \
    {                                                                                              \
        return __builtin_constant_p(x[0]) ? splat(::NAME(x[0])) : eachLane<::NAME>(x);             \
    }
EVAL_UNARY(evalSin)
EVAL_UNARY(evalCos)
EVAL_UNARY(evalTan)
EVAL_UNARY(evalAsin)
EVAL_UNARY(evalAcos)
EVAL_UNARY(evalAtan)
EVAL_UNARY(evalSinh)
EVAL_UNARY(evalCosh)
EVAL_UNARY(evalTanh)
EVAL_UNARY(evalAsinh)
EVAL_UNARY(evalAcosh)
EVAL_UNARY(evalAtanh)
EVAL_UNARY(evalExp)
EVAL_UNARY(evalLog)
EVAL_UNARY(evalExp2)
EVAL_UNARY(evalLog2)
EVAL_UNARY(evalRound)
EVAL_UNARY(evalRoundEven)
#undef EVAL_UNARY
#define EVAL_BINARY(NAME)                                                                          \
    EVAL_INLINE Float NAME(Float x, Float y)                                                       \
    {                                                                                              \
        return __builtin_constant_p(x[0]) && __builtin_constant_p(y[0])                            \
                   ? splat(::NAME(x[0], y[0]))                                                     \
                   : eachLane<::NAME>(x, y);                                                       \
    }
EVAL_BINARY(evalMod)
EVAL_BINARY(evalPow)
EVAL_BINARY(evalAtan)
#undef EVAL_BINARY
EVAL_INLINE Float evalFma(Float a, Float b, Float c)
{
    for (int i = 0; i < laneCount; ++i)
        a[i] = ::evalFma(a[i], b[i], c[i]);
    return a;
}
EVAL_INLINE Float evalRadians(Float x)
{
    return x * (3.14159265358979323846f / 180.0f);
}
EVAL_INLINE Float evalDegrees(Float x)
{
    return x * (180.0f / 3.14159265358979323846f);
}
