// The functions of the language that are made of arithmetic and choice, over whatever number: a
// float, a double (for what came from double or integers and is rounded once at the end), or the
// floats of several points.
//
// Which operand wins on equal values and on NaN is part of the result.
template<class T>
EVAL_INLINE T evalInverseSqrt(T x)
{
    return 1.0f / evalSqrt(x);
}
template<class T>
EVAL_INLINE T evalFract(T x)
{
    return x - evalFloor(x);
}
template<class T>
EVAL_INLINE T evalSign(T x)
{
    const T zero = T{};
    const T one = zero + 1.0f;
    return select(x > zero, one, zero) - select(x < zero, one, zero);
}
template<class T>
EVAL_INLINE T evalMin(T a, T b)
{
    return select(b < a, b, a);
}
template<class T>
EVAL_INLINE T evalMax(T a, T b)
{
    return select(a < b, b, a);
}
template<class T>
EVAL_INLINE T evalClamp(T x, T low, T high)
{
    const T l = asFloat(low);
    const T h = asFloat(high);
    const T raised = select(l < x, x, l);
    return select(raised < h, raised, h);
}
template<class T>
EVAL_INLINE T evalStep(T edge, T x)
{
    return select(x < edge, T{}, T{} + 1.0f);
}
template<class T>
EVAL_INLINE T evalMix(T a, T b, T t)
{
    return a * (1.0f - t) + b * t;
}
template<class T>
EVAL_INLINE T evalSmoothstep(T e0, T e1, T x)
{
    const T t = evalClamp((x - e0) / (e1 - e0), T{}, T{} + 1.0f);
    return t * t * (3.0f - 2.0f * t);
}
template<class T>
EVAL_INLINE T evalRemainder(T x, T y)
{
    return select(y == T{}, T{}, evalMod(x, y));
}
template<class T>
EVAL_INLINE auto evalIsnan(T x)
{
    return x != x;
}
template<class T>
EVAL_INLINE auto evalIsinf(T x)
{
    return evalAbs(x) == T{} + __builtin_inff();
}
