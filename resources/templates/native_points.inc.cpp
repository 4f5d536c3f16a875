// What there is for one point only: numbers that choose lanes, determinants and inverses.

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
