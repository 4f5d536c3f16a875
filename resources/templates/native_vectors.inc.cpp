// Vectors of numbers, and of truth values where a comparison of vectors gives them.
struct V2
{
    Float x, y;
};
struct V3
{
    Float x, y, z;
};
struct V4
{
    Float x, y, z, w;
};
struct B2
{
    Bool x, y;
};
struct B3
{
    Bool x, y, z;
};
struct B4
{
    Bool x, y, z, w;
};

EVAL_INLINE V2 select(Bool chosen, V2 a, V2 b)
{
    return {select(chosen, a.x, b.x), select(chosen, a.y, b.y)};
}
EVAL_INLINE V3 select(Bool chosen, V3 a, V3 b)
{
    return {select(chosen, a.x, b.x), select(chosen, a.y, b.y), select(chosen, a.z, b.z)};
}
EVAL_INLINE V4 select(Bool chosen, V4 a, V4 b)
{
    return {select(chosen, a.x, b.x), select(chosen, a.y, b.y), select(chosen, a.z, b.z),
            select(chosen, a.w, b.w)};
}

#define EVAL_VECTOR_OPERATOR(OP)                                                                   \
    EVAL_INLINE V2 operator OP(V2 a, V2 b)                                                         \
    {                                                                                              \
        return {a.x OP b.x, a.y OP b.y};                                                           \
    }                                                                                              \
    EVAL_INLINE V2 operator OP(V2 a, Float b)                                                      \
    {                                                                                              \
        return {a.x OP b, a.y OP b};                                                               \
    }                                                                                              \
    EVAL_INLINE V2 operator OP(Float a, V2 b)                                                      \
    {                                                                                              \
        return {a OP b.x, a OP b.y};                                                               \
    }                                                                                              \
    EVAL_INLINE V3 operator OP(V3 a, V3 b)                                                         \
    {                                                                                              \
        return {a.x OP b.x, a.y OP b.y, a.z OP b.z};                                               \
    }                                                                                              \
    EVAL_INLINE V3 operator OP(V3 a, Float b)                                                      \
    {                                                                                              \
        return {a.x OP b, a.y OP b, a.z OP b};                                                     \
    }                                                                                              \
    EVAL_INLINE V3 operator OP(Float a, V3 b)                                                      \
    {                                                                                              \
        return {a OP b.x, a OP b.y, a OP b.z};                                                     \
    }                                                                                              \
    EVAL_INLINE V4 operator OP(V4 a, V4 b)                                                         \
    {                                                                                              \
        return {a.x OP b.x, a.y OP b.y, a.z OP b.z, a.w OP b.w};                                   \
    }                                                                                              \
    EVAL_INLINE V4 operator OP(V4 a, Float b)                                                      \
    {                                                                                              \
        return {a.x OP b, a.y OP b, a.z OP b, a.w OP b};                                           \
    }                                                                                              \
    EVAL_INLINE V4 operator OP(Float a, V4 b)                                                      \
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

// Sums run from the first lane to the last, as everywhere in the language.
EVAL_INLINE Float dot(Float a, Float b)
{
    return a * b;
}
EVAL_INLINE Float dot(V2 a, V2 b)
{
    return a.x * b.x + a.y * b.y;
}
EVAL_INLINE Float dot(V3 a, V3 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
EVAL_INLINE Float dot(V4 a, V4 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w;
}

EVAL_INLINE Float length(Float a)
{
    return evalAbs(a);
}
template<class V>
EVAL_INLINE Float length(V a)
{
    return evalSqrt(dot(a, a));
}
template<class V>
EVAL_INLINE Float distance(V a, V b)
{
    return length(a - b);
}
template<class V>
EVAL_INLINE V normalize(V a)
{
    // A zero vector has no direction and stays what it is; divided by one, so does the rest.
    const Float l = length(a);
    return a / select(l != 0.0f, l, Float{} + 1.0f);
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
EVAL_INLINE V refract(V incident, V normal, Float eta)
{
    const Float cosine = dot(normal, incident);
    const Float k = 1.0f - eta * eta * (1.0f - cosine * cosine);
    return select(k < 0.0f, V{}, eta * incident - (eta * cosine + evalSqrt(k)) * normal);
}
template<class V>
EVAL_INLINE V faceforward(V normal, V incident, V reference)
{
    return select(dot(reference, incident) < 0.0f, normal, -normal);
}
