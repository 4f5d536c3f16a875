// Vectors of floats, and of bools where a comparison of vectors gives them.
struct V2
{
    float x, y;
};
struct V3
{
    float x, y, z;
};
struct V4
{
    float x, y, z, w;
};
struct B2
{
    bool x, y;
};
struct B3
{
    bool x, y, z;
};
struct B4
{
    bool x, y, z, w;
};

#define EVAL_VECTOR_OPERATOR(OP)                                                                   \
    EVAL_INLINE V2 operator OP(V2 a, V2 b)                                                         \
    {                                                                                              \
        return {a.x OP b.x, a.y OP b.y};                                                           \
    }                                                                                              \
    EVAL_INLINE V2 operator OP(V2 a, float b)                                                      \
    {                                                                                              \
        return {a.x OP b, a.y OP b};                                                               \
    }                                                                                              \
    EVAL_INLINE V2 operator OP(float a, V2 b)                                                      \
    {                                                                                              \
        return {a OP b.x, a OP b.y};                                                               \
    }                                                                                              \
    EVAL_INLINE V3 operator OP(V3 a, V3 b)                                                         \
    {                                                                                              \
        return {a.x OP b.x, a.y OP b.y, a.z OP b.z};                                               \
    }                                                                                              \
    EVAL_INLINE V3 operator OP(V3 a, float b)                                                      \
    {                                                                                              \
        return {a.x OP b, a.y OP b, a.z OP b};                                                     \
    }                                                                                              \
    EVAL_INLINE V3 operator OP(float a, V3 b)                                                      \
    {                                                                                              \
        return {a OP b.x, a OP b.y, a OP b.z};                                                     \
    }                                                                                              \
    EVAL_INLINE V4 operator OP(V4 a, V4 b)                                                         \
    {                                                                                              \
        return {a.x OP b.x, a.y OP b.y, a.z OP b.z, a.w OP b.w};                                   \
    }                                                                                              \
    EVAL_INLINE V4 operator OP(V4 a, float b)                                                      \
    {                                                                                              \
        return {a.x OP b, a.y OP b, a.z OP b, a.w OP b};                                           \
    }                                                                                              \
    EVAL_INLINE V4 operator OP(float a, V4 b)                                                      \
    {                                                                                              \
        return {a OP b.x, a OP b.y, a OP b.z, a OP b.w};                                           \
    }
EVAL_VECTOR_OPERATOR(+)
EVAL_VECTOR_OPERATOR(-)
EVAL_VECTOR_OPERATOR(*)
EVAL_VECTOR_OPERATOR(/)
#undef EVAL_VECTOR_OPERATOR

EVAL_INLINE V2 operator-(V2 a)
{
    return {-a.x, -a.y};
}
EVAL_INLINE V3 operator-(V3 a)
{
    return {-a.x, -a.y, -a.z};
}
EVAL_INLINE V4 operator-(V4 a)
{
    return {-a.x, -a.y, -a.z, -a.w};
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

// Sums run from the first lane to the last, as everywhere in the language.
EVAL_INLINE float dot(float a, float b)
{
    return a * b;
}
EVAL_INLINE float dot(V2 a, V2 b)
{
    return a.x * b.x + a.y * b.y;
}
EVAL_INLINE float dot(V3 a, V3 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
EVAL_INLINE float dot(V4 a, V4 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

EVAL_INLINE float length(float a)
{
    return std::fabs(a);
}
template<class V>
EVAL_INLINE float length(V a)
{
    return evalSqrt(dot(a, a));
}
template<class V>
EVAL_INLINE float distance(V a, V b)
{
    return length(a - b);
}
template<class V>
EVAL_INLINE V normalize(V a)
{
    // A zero vector has no direction and stays what it is; divided by one, so does the rest.
    const float l = length(a);
    return a / (l != 0.0f ? l : 1.0f);
}
EVAL_INLINE V3 cross3(V3 a, V3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
template<class V>
EVAL_INLINE V reflect(V incident, V normal)
{
    return incident - (2.0f * dot(normal, incident)) * normal;
}
template<class V>
EVAL_INLINE V refract(V incident, V normal, float eta)
{
    const float cosine = dot(normal, incident);
    const float k = 1.0f - eta * eta * (1.0f - cosine * cosine);
    if (k < 0.0f)
        return V{};
    return eta * incident - (eta * cosine + evalSqrt(k)) * normal;
}
template<class V>
EVAL_INLINE V faceforward(V normal, V incident, V reference)
{
    return dot(reference, incident) < 0.0f ? normal : -normal;
}

// Lanes by a number that is only known at run time; there is nothing beyond the last lane.
EVAL_INLINE float lane(V2 v, long long i)
{
    return i == 0 ? v.x : i == 1 ? v.y : 0.0f;
}
EVAL_INLINE float lane(V3 v, long long i)
{
    return i == 0 ? v.x : i == 1 ? v.y : i == 2 ? v.z : 0.0f;
}
EVAL_INLINE float lane(V4 v, long long i)
{
    return i == 0 ? v.x : i == 1 ? v.y : i == 2 ? v.z : i == 3 ? v.w : 0.0f;
}
EVAL_INLINE void setLane(V2 &v, long long i, float value)
{
    v = {i == 0 ? value : v.x, i == 1 ? value : v.y};
}
EVAL_INLINE void setLane(V3 &v, long long i, float value)
{
    v = {i == 0 ? value : v.x, i == 1 ? value : v.y, i == 2 ? value : v.z};
}
EVAL_INLINE void setLane(V4 &v, long long i, float value)
{
    v = {i == 0 ? value : v.x, i == 1 ? value : v.y, i == 2 ? value : v.z, i == 3 ? value : v.w};
}
EVAL_INLINE long long within(long long i, long long count)
{
    return i >= 0 && i < count ? i : -1;
}
EVAL_INLINE float element(const float *elements, long long i, long long count, int width,
                          int offset)
{
    return i >= 0 && i < count ? elements[i * width + offset] : 0.0f;
}
