#include <corvane/xport/GridScan.h>

#include <algorithm>
#include <bit>
#include <cmath>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

// Only nodes within a cell of the surface are looked at: they are found some at a time, as most
// nodes are not. Two questions are asked of each.
//
// Is it in the middle of a thin wall? There the distance folds over: along an axis it falls towards
// the node and rises beyond it. Its second difference is then about the spacing of the nodes times
// the slope, whereas that of a smooth surface of radius R is the spacing squared over R. This also
// finds walls that lie between the nodes and have no sample inside. It finds rims of edges too:
// whether a spot is a wall is measured later, by WallCheck.
//
// Does it belong to a piece of the solid of its own? Most nodes are answered by one axis along
// which the solid goes on for three nodes; the rest is flooded, which ends once it is too wide.

namespace corvane::xport {

namespace {

constexpr int widestPiece = 2; // nodes

/// Second difference over spacing: a wall at 55 degrees to all axes has 0.58 at least.
constexpr float leastFold = 0.5f;

/// The middle of a wall of two cells is a cell deep; the node next to that of the thinnest is half
/// a cell outside.
bool isNear(float value, float cellSize)
{
    return value > -cellSize && value <= 0.5f * cellSize;
}

/// One bit for each of 64 values or fewer: those next to the surface.
quint64 packNear(const float *values, int count, float cellSize)
{
    quint64 bits = 0;
    int i = 0;
#if defined(__SSE2__)
    const __m128 low = _mm_set1_ps(-cellSize);
    const __m128 high = _mm_set1_ps(0.5f * cellSize);
    const auto four = [=](const float *from) {
        const __m128 value = _mm_loadu_ps(from);
        return _mm_castps_si128(_mm_and_ps(_mm_cmpgt_ps(value, low), _mm_cmple_ps(value, high)));
    };
    for (; i + 16 <= count; i += 16) {
        const __m128i first = _mm_packs_epi32(four(values + i), four(values + i + 4));
        const __m128i second = _mm_packs_epi32(four(values + i + 8), four(values + i + 12));
        const int near = _mm_movemask_epi8(_mm_packs_epi16(first, second));
        bits |= static_cast<quint64>(near) << i;
    }
#endif
    for (; i < count; ++i)
        bits |= static_cast<quint64>(isNear(values[i], cellSize)) << i;
    return bits;
}

bool isValueless(float value)
{
    return std::fabs(value) >= eval::farDistance;
}

} // namespace

GridScan::GridScan(const mesh::ScalarField3D &samples, int firstOwned, eval::IFieldEvaluator &field,
                   const GridSeal &seal)
    : m_samples(samples)
    , m_counts{samples.nx, samples.ny, samples.nz}
    , m_steps{1, samples.nx, std::ptrdiff_t(samples.nx) * samples.ny}
    , m_firstOwned(firstOwned)
    , m_field(field)
    , m_seal(seal)
{}

void GridScan::run(GridFindings &findings)
{
    for (int k = m_firstOwned; k + 1 < m_samples.nz; ++k) {
        for (int j = m_firstOwned; j + 1 < m_samples.ny; ++j)
            scanRow(j, k, findings);
    }
    closeSpots(findings);
}

void GridScan::scanRow(int j, int k, GridFindings &findings)
{
    const float *const row = m_samples.values + m_samples.index(0, j, k);
    const int end = m_samples.nx - 1;
    for (int first = m_firstOwned; first < end; first += 64) {
        quint64 bits = packNear(row + first, std::min(64, end - first), m_samples.cellSize);
        for (; bits != 0; bits &= bits - 1) {
            const int i = first + std::countr_zero(bits);
            lookAt({i, j, k}, row + i, findings);
        }
    }
}

void GridScan::scanSides(const std::array<qint64, 3> &last, GridFindings &findings) const
{
    if (m_seal.isClosed())
        return;
    const std::array<qint64, 3> first{m_samples.firstX, m_samples.firstY, m_samples.firstZ};
    for (int side = 0; side < 6; ++side) {
        const auto axis = static_cast<std::size_t>(side / 2);
        const qint64 plane = (side % 2 == 0 ? last[axis] : 0) - first[axis];
        if (plane >= 0 && plane < m_counts[axis])
            scanSide(side, static_cast<int>(plane), findings);
    }
}

/// Nodes beyond the other sides do not count: chunks of dual contouring have some.
void GridScan::scanSide(int side, int plane, GridFindings &findings) const
{
    const auto axis = static_cast<std::size_t>(side / 2);
    const std::size_t u = (axis + 1) % 3, v = (axis + 2) % 3;
    Index at{};
    at[axis] = plane;
    for (at[v] = m_firstOwned; at[v] < m_counts[v]; ++at[v]) {
        for (at[u] = m_firstOwned; at[u] < m_counts[u]; ++at[u]) {
            const float value = m_samples.values[m_samples.index(at[0], at[1], at[2])];
            if (value < 0.0f)
                findings.addCut(side, {-value, nodeOf(at)});
        }
    }
}

/// Few fields have any, and each chunk knows: this need not be fast.
void GridScan::scanValueless(GridFindings &findings) const
{
    for (int k = 0; k < m_samples.nz; ++k) {
        for (int j = 0; j < m_samples.ny; ++j) {
            for (int i = 0; i < m_samples.nx; ++i) {
                if (isValueless(m_samples.values[m_samples.index(i, j, k)]))
                    lookAtValueless({i, j, k}, findings);
            }
        }
    }
}

void GridScan::lookAt(const Index &at, const float *node, GridFindings &findings)
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (node[m_steps[axis]] >= *node)
            lookForSpot(at, node, axis, findings);
    }
    if (*node < 0.0f && !isLongRun(at, 0) && !isLongRun(at, 1) && !isLongRun(at, 2))
        findPiece(at, findings);
}

/// What is far outside by mistake does harm beside the solid alone. Each pair of neighbours lies in
/// a chunk, whoever owns them.
void GridScan::lookAtValueless(const Index &at, GridFindings &findings) const
{
    findings.valueless += isOwned(at) ? 1 : 0;
    const float *const value = m_samples.values + m_samples.index(at[0], at[1], at[2]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (const int side : {-1, 1}) {
            const int end = at[axis] + side;
            if (end < 0 || end >= m_counts[axis])
                continue;
            const float beside = value[side * m_steps[axis]];
            if (!isValueless(beside) && (beside < 0.0f) != (*value < 0.0f))
                findings.addValuelessHole(nodeOf(at));
        }
    }
}

bool GridScan::foldsOver(float below, float value, float above) const
{
    return below >= value && above >= value && !isValueless(below) && !isValueless(above) &&
           (below - value) + (above - value) >= leastFold * m_samples.cellSize;
}

/// Along an axis on which the distance does not fall beyond the node.
void GridScan::lookForSpot(const Index &at, const float *node, std::size_t axis,
                           GridFindings &findings)
{
    const float above = node[m_steps[axis]];
    if (at[axis] == 0)
        m_open.push_back({at, int(axis), *node, above});
    else if (foldsOver(node[-m_steps[axis]], *node, above))
        findings.addSpot(nodeOf(at), int(axis));
}

/// All at once: one by one the field is several times slower.
void GridScan::closeSpots(GridFindings &findings)
{
    std::array<std::vector<float>, 3> places;
    for (const OpenSpot &spot : m_open) {
        Index below = spot.at;
        --below[static_cast<std::size_t>(spot.axis)];
        places[0].push_back(m_samples.x(below[0]));
        places[1].push_back(m_samples.y(below[1]));
        places[2].push_back(m_samples.z(below[2]));
    }
    std::vector<float> values(m_open.size());
    m_field.evaluatePoints(places[0], places[1], places[2], values);
    for (std::size_t n = 0; n < m_open.size(); ++n) {
        const OpenSpot &spot = m_open[n];
        GridNode below = nodeOf(spot.at);
        --below[spot.axis];
        m_seal.raiseRow({&values[n], 1}, below.x, below.y, below.z);
        if (foldsOver(values[n], spot.value, spot.above))
            findings.addSpot(nodeOf(spot.at), spot.axis);
    }
    m_open.clear();
}

/// Whether the chunk shows three nodes inside in a row, of which the node is one.
bool GridScan::isLongRun(const Index &at, int axis) const
{
    const auto a = static_cast<std::size_t>(axis);
    const float *const node = m_samples.values + m_samples.index(at[0], at[1], at[2]);
    int length = 1;
    for (const int side : {-1, 1}) {
        for (int n = 1; n <= widestPiece; ++n, ++length) {
            const int index = at[a] + side * n;
            if (index < 0 || index >= m_counts[a] || !(node[side * n * m_steps[a]] < 0.0f))
                break;
        }
    }
    return length > widestPiece;
}

/// Floods the solid from a node, over corners too; the first node of a piece tells of it.
void GridScan::findPiece(const Index &at, GridFindings &findings)
{
    std::vector<Index> piece{at};
    Index low = at, high = at;
    for (std::size_t n = 0; n < piece.size(); ++n) {
        const Index from = piece[n];
        for (int neighbour = 0; neighbour < 27; ++neighbour) {
            const Index next{from[0] + neighbour % 3 - 1, from[1] + neighbour / 3 % 3 - 1,
                             from[2] + neighbour / 9 - 1};
            if (std::ranges::find(piece, next) != piece.end() || !(valueAt(next) < 0.0f))
                continue;
            if (nodeOf(next) < nodeOf(at))
                return;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], next[axis]);
                high[axis] = std::max(high[axis], next[axis]);
                if (high[axis] - low[axis] >= widestPiece)
                    return;
            }
            piece.push_back(next);
        }
    }
    const float extent = std::max({extentOf(piece, 0), extentOf(piece, 1), extentOf(piece, 2)});
    if (extent < 2.0f * m_samples.cellSize)
        findings.addPiece(nodeOf(at), extent);
}

/// How far the surface is apart along an axis, as the mesh has it.
float GridScan::extentOf(const std::vector<Index> &piece, int axis)
{
    const auto a = static_cast<std::size_t>(axis);
    float low = float(piece.front()[a]), high = low;
    for (const Index &node : piece) {
        const float inside = valueAt(node);
        for (const int side : {-1, 1}) {
            Index beside = node;
            beside[a] += side;
            const float outside = valueAt(beside);
            if (outside < 0.0f)
                continue;
            const float end = float(node[a]) + float(side) * inside / (inside - outside);
            low = std::min(low, end);
            high = std::max(high, end);
        }
    }
    return (high - low) * m_samples.cellSize;
}

bool GridScan::isOwned(const Index &at) const
{
    return std::ranges::all_of(at, [this](int index) { return index >= m_firstOwned; }) &&
           at[0] + 1 < m_counts[0] && at[1] + 1 < m_counts[1] && at[2] + 1 < m_counts[2];
}

bool GridScan::isInChunk(const Index &at) const
{
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (at[axis] < 0 || at[axis] >= m_counts[axis])
            return false;
    }
    return true;
}

float GridScan::valueAt(const Index &at)
{
    if (isInChunk(at))
        return m_samples.values[m_samples.index(at[0], at[1], at[2])];
    const GridNode node = nodeOf(at);
    float value = m_field.evaluate(m_samples.x(at[0]), m_samples.y(at[1]), m_samples.z(at[2]));
    m_seal.raiseRow({&value, 1}, node.x, node.y, node.z);
    return value;
}

GridNode GridScan::nodeOf(const Index &at) const
{
    return {m_samples.firstZ + at[2], m_samples.firstY + at[1], m_samples.firstX + at[0]};
}

} // namespace corvane::xport
