#include <corvane/mesh/MarchingCubes.h>

#include <corvane/mesh/MarchingCubesTables.h>

#include <bit>
#include <cmath>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Most cells of a grid hold no surface. So the signs of the nodes are packed into words first, 64
// nodes of a row in each; a few word operations then tell which cells of four neighbouring rows
// have corners on both sides, and only those are looked at one by one.

namespace corvane::mesh {

namespace {

constexpr float degenerateCross = 1e-20f;
constexpr float equalValues = 1e-10f;

int wordsOfRow(int nodes)
{
    return (nodes + 63) / 64;
}

quint64 packSigns(const float *values, int count, float iso)
{
    quint64 bits = 0;
    int i = 0;
#if defined(__SSE2__)
    const __m128 level = _mm_set1_ps(iso);
    for (; i + 4 <= count; i += 4) {
        const __m128 below = _mm_cmplt_ps(_mm_loadu_ps(values + i), level);
        bits |= static_cast<quint64>(_mm_movemask_ps(below)) << i;
    }
#endif
    for (; i < count; ++i)
        bits |= static_cast<quint64>(values[i] < iso) << i;
    return bits;
}

/// The signs of one slice of nodes: wordsOfRow(nx) words for each row, and one of zeros at the end.
class SignSlice
{
public:
    void fill(const ScalarField3D &field, int k, float iso)
    {
        m_words = wordsOfRow(field.nx);
        m_bits.resize(static_cast<std::size_t>(m_words) * field.ny + 1);
        quint64 *bits = m_bits.data();
        for (int j = 0; j < field.ny; ++j) {
            const float *row = field.values + field.index(0, j, k);
            for (int i = 0; i < field.nx; i += 64)
                *bits++ = packSigns(row + i, std::min(64, field.nx - i), iso);
        }
    }
    const quint64 *row(int j) const
    {
        return m_bits.data() + static_cast<std::size_t>(j) * m_words;
    }

private:
    std::vector<quint64> m_bits;
    int m_words = 0;
};

/// Collects triangles in a block of its own, since appending to a shared list one by one costs more
/// than computing them.
class TriangleSink
{
public:
    explicit TriangleSink(QList<Triangle> &out)
        : m_out(out)
    {}
    ~TriangleSink() { flush(); }
    Q_DISABLE_COPY_MOVE(TriangleSink)

    qsizetype count() const { return m_out.size() + static_cast<qsizetype>(m_count); }
    Triangle &next() { return m_block[m_count]; }
    void keep()
    {
        if (++m_count == m_block.size())
            flush();
    }

private:
    void flush()
    {
        const qsizetype old = m_out.size();
        m_out.resize(old + static_cast<qsizetype>(m_count));
        std::copy_n(m_block.begin(), m_count, m_out.begin() + old);
        m_count = 0;
    }

    QList<Triangle> &m_out;
    std::array<Triangle, 256> m_block;
    std::size_t m_count = 0;
};

class Mesher
{
public:
    Mesher(const ScalarField3D &field, QList<Triangle> &out, float iso, QList<int> *rowEnds)
        : m_field(field)
        , m_sink(out)
        , m_rowEnds(rowEnds)
        , m_iso(iso)
        , m_low(field.crossingMargin)
        , m_high(1.0f - field.crossingMargin)
        , m_xs(static_cast<std::size_t>(field.nx))
    {
        for (int i = 0; i < field.nx; ++i)
            m_xs[static_cast<std::size_t>(i)] = field.x(i);
        for (std::size_t n = 0; n < cellCorners.size(); ++n) {
            const CellCorner &corner = cellCorners[n];
            m_offsets[n] = field.index(corner.x, corner.y, corner.z);
        }
    }

    /// All cells between two slices of nodes.
    void meshSlice(int k, const SignSlice &below, const SignSlice &above)
    {
        m_z = {m_field.z(k), m_field.z(k + 1)};
        for (int j = 0; j + 1 < m_field.ny; ++j) {
            m_y = {m_field.y(j), m_field.y(j + 1)};
            const std::array rows{below.row(j), below.row(j + 1), above.row(j), above.row(j + 1)};
            meshRow(j, k, rows);
            if (m_rowEnds)
                m_rowEnds->append(static_cast<int>(m_sink.count()));
        }
    }

private:
    void meshRow(int j, int k, const std::array<const quint64 *, 4> &rows)
    {
        const int words = wordsOfRow(m_field.nx);
        const int cells = m_field.nx - 1;
        for (int w = 0; w < words; ++w) {
            quint64 active = activeCells(rows, w, w + 1 < words);
            const int left = cells - w * 64;
            if (left < 64)
                active &= left > 0 ? (quint64(1) << left) - 1 : 0;
            for (; active != 0; active &= active - 1)
                meshCell(w * 64 + std::countr_zero(active), j, k);
        }
    }

    /// The cells of a word whose eight corners are not all on one side.
    static quint64 activeCells(const std::array<const quint64 *, 4> &rows, int w, bool hasNext)
    {
        quint64 any = 0;
        quint64 all = ~quint64(0);
        for (const quint64 *row : rows) {
            const quint64 low = row[w];
            const quint64 high = (low >> 1) | (hasNext ? row[w + 1] << 63 : 0);
            any |= low | high;
            all &= low & high;
        }
        return any & ~all;
    }

    void meshCell(int i, int j, int k)
    {
        const float *corner = m_field.values + m_field.index(i, j, k);
        std::array<float, 8> values;
        unsigned caseIndex = 0;
        for (unsigned n = 0; n < 8; ++n) {
            values[n] = corner[m_offsets[n]];
            caseIndex |= static_cast<unsigned>(values[n] < m_iso) << n;
        }
        m_x = {m_xs[static_cast<std::size_t>(i)], m_xs[static_cast<std::size_t>(i) + 1]};
        for (unsigned edges = marchingCubesEdges[caseIndex]; edges != 0; edges &= edges - 1) {
            const auto edge = static_cast<std::size_t>(std::countr_zero(edges));
            m_crossings[edge] = crossing(cellEdges[edge], values);
        }
        // The table's normals point inside: its last two corners change places.
        for (const std::int8_t *t = marchingCubesTriangles[caseIndex]; *t >= 0; t += 3)
            emitTriangle(m_crossings[static_cast<std::size_t>(t[0])],
                         m_crossings[static_cast<std::size_t>(t[2])],
                         m_crossings[static_cast<std::size_t>(t[1])]);
    }

    QVector3D crossing(const CellEdge &edge, const std::array<float, 8> &values) const
    {
        const float a = values[static_cast<std::size_t>(edge.low)];
        const float b = values[static_cast<std::size_t>(edge.high)];
        const float difference = b - a;
        float t = std::fabs(difference) < equalValues ? 0.5f : (m_iso - a) / difference;
        // Written so that a t that is no number ends at the lower node and not in a vertex without
        // a place.
        t = t > m_low ? t : m_low;
        t = t < m_high ? t : m_high;
        const CellCorner &corner = cellCorners[static_cast<std::size_t>(edge.low)];
        QVector3D point(m_x[static_cast<std::size_t>(corner.x)],
                        m_y[static_cast<std::size_t>(corner.y)],
                        m_z[static_cast<std::size_t>(corner.z)]);
        const std::array<float, 2> &ends = edge.axis == 0 ? m_x : edge.axis == 1 ? m_y : m_z;
        // The upper node itself at 1: the sum may miss it by a bit, and three edges that meet in a
        // node have to agree on it.
        point[edge.axis] = t < 1.0f ? ends[0] + t * (ends[1] - ends[0]) : ends[1];
        return point;
    }

    void emitTriangle(const QVector3D &a, const QVector3D &b, const QVector3D &c)
    {
        const QVector3D normal = QVector3D::crossProduct(b - a, c - a);
        const float squared = QVector3D::dotProduct(normal, normal);
        // Short vectors are measured in double: in float their squares would vanish.
        const double length = squared > 1e-30f ? std::sqrt(squared) : normal.length();
        if (!(length >= degenerateCross))
            return;
        Triangle &triangle = m_sink.next();
        triangle.vertices = {a, b, c};
        triangle.normal = normal * static_cast<float>(1.0 / length);
        m_sink.keep();
    }

    const ScalarField3D &m_field;
    TriangleSink m_sink;
    QList<int> *m_rowEnds;
    float m_iso;
    float m_low;
    float m_high;
    std::vector<float> m_xs;
    std::array<std::size_t, 8> m_offsets{};
    std::array<float, 2> m_x{}, m_y{}, m_z{};
    std::array<QVector3D, 12> m_crossings;
};

} // namespace

void marchingCubes(const ScalarField3D &field, QList<Triangle> &out, float iso,
                   const std::atomic_bool *cancel, QList<int> *rowEnds)
{
    if (field.nx < 2 || field.ny < 2 || field.nz < 2 || !field.values)
        return;
    Mesher mesher(field, out, iso, rowEnds);
    SignSlice below;
    SignSlice above;
    below.fill(field, 0, iso);
    for (int k = 0; k + 1 < field.nz; ++k) {
        if (cancel && cancel->load(std::memory_order_relaxed))
            return;
        above.fill(field, k + 1, iso);
        mesher.meshSlice(k, below, above);
        std::swap(below, above);
    }
}

} // namespace corvane::mesh
