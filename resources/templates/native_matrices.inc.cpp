// Matrices of floats, column-major.
template<int C, int R>
struct Matrix
{
    float m[C * R];
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
    EVAL_INLINE Matrix<C, R> operator OP(const Matrix<C, R> &a, float b)                           \
    {                                                                                              \
        Matrix<C, R> r;                                                                            \
        for (int i = 0; i < C * R; ++i)                                                            \
            r.m[i] = a.m[i] OP b;                                                                  \
        return r;                                                                                  \
    }                                                                                              \
    template<int C, int R>                                                                         \
    EVAL_INLINE Matrix<C, R> operator OP(float a, const Matrix<C, R> &b)                           \
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
EVAL_INLINE Matrix<C, R> operator*(const Matrix<C, R> &a, float b)
{
    Matrix<C, R> r;
    for (int i = 0; i < C * R; ++i)
        r.m[i] = a.m[i] * b;
    return r;
}
template<int C, int R>
EVAL_INLINE Matrix<C, R> operator*(float a, const Matrix<C, R> &b)
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
            float sum = a.m[i] * b.m[c * K];
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
EVAL_INLINE V2 vector2(const float *m)
{
    return {m[0], m[1]};
}
EVAL_INLINE V3 vector3(const float *m)
{
    return {m[0], m[1], m[2]};
}
EVAL_INLINE V4 vector4(const float *m)
{
    return {m[0], m[1], m[2], m[3]};
}

template<int C, int R>
EVAL_INLINE Matrix<R, C> transpose(const Matrix<C, R> &a)
{
    Matrix<R, C> r;
    for (int i = 0; i < C * R; ++i)
        r.m[(i % R) * C + i / R] = a.m[i];
    return r;
}

EVAL_INLINE double minor3(const float *m, int n, int a, int b, int c, int p, int q, int r)
{
    const auto at = [m, n](int column, int row) {
        return static_cast<double>(m[column * n + row]);
    };
    return at(a, p) * (at(b, q) * at(c, r) - at(c, q) * at(b, r)) -
           at(b, p) * (at(a, q) * at(c, r) - at(c, q) * at(a, r)) +
           at(c, p) * (at(a, q) * at(b, r) - at(b, q) * at(a, r));
}
EVAL_INLINE float determinant(const M2 &a)
{
    const float *m = a.m;
    return static_cast<float>(static_cast<double>(m[0]) * m[3] - static_cast<double>(m[2]) * m[1]);
}
EVAL_INLINE float determinant(const M3 &a)
{
    return static_cast<float>(minor3(a.m, 3, 0, 1, 2, 0, 1, 2));
}
EVAL_INLINE float determinant(const M4 &a)
{
    const float *m = a.m;
    return static_cast<float>(
        m[0] * minor3(m, 4, 1, 2, 3, 1, 2, 3) - m[4] * minor3(m, 4, 0, 2, 3, 1, 2, 3) +
        m[8] * minor3(m, 4, 0, 1, 3, 1, 2, 3) - m[12] * minor3(m, 4, 0, 1, 2, 1, 2, 3));
}

// Gauss-Jordan elimination with partial pivoting; a singular matrix stays what it is.
template<int N>
static inline Matrix<N, N> inverse(const Matrix<N, N> &a)
{
    double m[N][N];
    double inverted[N][N];
    for (int c = 0; c < N; ++c) {
        for (int r = 0; r < N; ++r) {
            m[c][r] = a.m[c * N + r];
            inverted[c][r] = c == r ? 1.0 : 0.0;
        }
    }
    for (int step = 0; step < N; ++step) {
        int pivot = step;
        for (int i = step + 1; i < N; ++i)
            pivot = std::fabs(m[i][step]) > std::fabs(m[pivot][step]) ? i : pivot;
        if (m[pivot][step] == 0.0)
            return a;
        for (int k = 0; k < N; ++k) {
            std::swap(m[pivot][k], m[step][k]);
            std::swap(inverted[pivot][k], inverted[step][k]);
        }
        const double divisor = m[step][step];
        for (int k = 0; k < N; ++k) {
            m[step][k] /= divisor;
            inverted[step][k] /= divisor;
        }
        for (int i = 0; i < N; ++i) {
            const double factor = m[i][step];
            if (i == step || factor == 0.0)
                continue;
            for (int k = 0; k < N; ++k) {
                m[i][k] -= factor * m[step][k];
                inverted[i][k] -= factor * inverted[step][k];
            }
        }
    }
    Matrix<N, N> result;
    for (int i = 0; i < N * N; ++i)
        result.m[i] = static_cast<float>(inverted[i / N][i % N]);
    return result;
}

template<int C, int R>
EVAL_INLINE Matrix<C, R> componentProduct(const Matrix<C, R> &a, const Matrix<C, R> &b)
{
    Matrix<C, R> r;
    for (int i = 0; i < C * R; ++i)
        r.m[i] = a.m[i] * b.m[i];
    return r;
}

template<int C, int R>
EVAL_INLINE float lane(const Matrix<C, R> &v, long long i)
{
    return i >= 0 && i < C * R ? v.m[i] : 0.0f;
}
template<int C, int R>
EVAL_INLINE void setLane(Matrix<C, R> &v, long long i, float value)
{
    if (i >= 0 && i < C * R)
        v.m[i] = value;
}
