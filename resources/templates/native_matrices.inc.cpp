// Matrices of numbers, column-major.
template<int C, int R>
struct Matrix
{
    Float m[C * R];
};
using M2 = Matrix<2, 2>;
using M3 = Matrix<3, 3>;
using M4 = Matrix<4, 4>;

#define EVAL_MATRIX_OPERATOR(OP)                                                                   \
    template<int C, int R>                                                                         \
    EVAL_INLINE Matrix<C, R> operator OP(const Matrix<C, R> &a, const Matrix<C, R> &b)             \
    {                                                                                              \
        Matrix<C, R> r;                                                                            \
        for (int i = 0; i < C * R; ++i)                                                            \
            r.m[i] = a.m[i] OP b.m[i];                                                             \
        return r;                                                                                  \
    }                                                                                              \
    template<int C, int R>                                                                         \
    EVAL_INLINE Matrix<C, R> operator OP(const Matrix<C, R> &a, Float b)                           \
    {                                                                                              \
        Matrix<C, R> r;                                                                            \
        for (int i = 0; i < C * R; ++i)                                                            \
            r.m[i] = a.m[i] OP b;                                                                  \
        return r;                                                                                  \
    }                                                                                              \
    template<int C, int R>                                                                         \
    EVAL_INLINE Matrix<C, R> operator OP(Float a, const Matrix<C, R> &b)                           \
    {                                                                                              \
        Matrix<C, R> r;                                                                            \
        for (int i = 0; i < C * R; ++i)                                                            \
            r.m[i] = a OP b.m[i];                                                                  \
        return r;                                                                                  \
    }
EVAL_MATRIX_OPERATOR(+)
EVAL_MATRIX_OPERATOR(-)
EVAL_MATRIX_OPERATOR(/)
#undef EVAL_MATRIX_OPERATOR

template<int C, int R>
EVAL_INLINE Matrix<C, R> operator*(const Matrix<C, R> &a, Float b)
{
    Matrix<C, R> r;
    for (int i = 0; i < C * R; ++i)
        r.m[i] = a.m[i] * b;
    return r;
}
template<int C, int R>
EVAL_INLINE Matrix<C, R> operator*(Float a, const Matrix<C, R> &b)
{
    return b * a;
}

// The products of linear algebra; a vector stands as one column or as one row.
template<int K, int R, int C>
EVAL_INLINE Matrix<C, R> product(const Matrix<K, R> &a, const Matrix<C, K> &b)
{
    Matrix<C, R> r;
    for (int c = 0; c < C; ++c) {
        for (int i = 0; i < R; ++i) {
            Float sum = a.m[i] * b.m[c * K];
            for (int k = 1; k < K; ++k)
                sum = sum + a.m[k * R + i] * b.m[c * K + k];
            r.m[c * R + i] = sum;
        }
    }
    return r;
}
EVAL_INLINE Matrix<1, 2> column(V2 v)
{
    return {{v.x, v.y}};
}
EVAL_INLINE Matrix<1, 3> column(V3 v)
{
    return {{v.x, v.y, v.z}};
}
EVAL_INLINE Matrix<1, 4> column(V4 v)
{
    return {{v.x, v.y, v.z, v.w}};
}
EVAL_INLINE Matrix<2, 1> row(V2 v)
{
    return {{v.x, v.y}};
}
EVAL_INLINE Matrix<3, 1> row(V3 v)
{
    return {{v.x, v.y, v.z}};
}
EVAL_INLINE Matrix<4, 1> row(V4 v)
{
    return {{v.x, v.y, v.z, v.w}};
}
EVAL_INLINE V2 vector2(const Float *m)
{
    return {m[0], m[1]};
}
EVAL_INLINE V3 vector3(const Float *m)
{
    return {m[0], m[1], m[2]};
}
EVAL_INLINE V4 vector4(const Float *m)
{
    return {m[0], m[1], m[2], m[3]};
}

template<int C, int R>
EVAL_INLINE Matrix<C, R> select(Bool chosen, const Matrix<C, R> &a, const Matrix<C, R> &b)
{
    Matrix<C, R> r;
    for (int i = 0; i < C * R; ++i)
        r.m[i] = select(chosen, a.m[i], b.m[i]);
    return r;
}

template<int C, int R>
EVAL_INLINE Matrix<R, C> transpose(const Matrix<C, R> &a)
{
    Matrix<R, C> r;
    for (int i = 0; i < C * R; ++i)
        r.m[(i % R) * C + i / R] = a.m[i];
    return r;
}

template<int C, int R>
EVAL_INLINE Matrix<C, R> componentProduct(const Matrix<C, R> &a, const Matrix<C, R> &b)
{
    Matrix<C, R> r;
    for (int i = 0; i < C * R; ++i)
        r.m[i] = a.m[i] * b.m[i];
    return r;
}
