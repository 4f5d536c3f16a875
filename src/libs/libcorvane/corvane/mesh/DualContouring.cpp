#include "DualContouring.h"

#include "GridCycles.h"
#include "QuadTriangles.h"
#include "RingCuts.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace corvane::mesh {

namespace {

quint64 edgeKey(int axis, int i, int j, int k)
{
    return quint64(axis) << 60 | quint64(i) << 32 | quint64(j) << 16 | quint64(k);
}

} // namespace

DcState::DcState(const ScalarField3D &field, FieldFunction distance, GradientFunction gradient,
                 float iso)
    : m_field(field)
    , m_rule{field.cellSize, iso, std::move(distance), std::move(gradient)}
    , m_samples(m_rule)
    , m_placer(m_rule)
{
    if (field.nx < 2 || field.ny < 2 || field.nz < 2)
        return;
    m_cellVertex.assign(size_t(field.nx - 1) * size_t(field.ny - 1) * size_t(field.nz - 1), -1);
    m_inside.resize(field.index(0, 0, field.nz));
    std::transform(field.values, field.values + m_inside.size(), m_inside.begin(),
                   [iso](float value) { return quint8(value - iso < 0.0f); });
}

QVector3D DcState::nodePosition(int i, int j, int k) const
{
    return {m_field.x(i), m_field.y(j), m_field.z(k)};
}

bool DcState::edgeCrosses(int axis, int i, int j, int k, float &d0, float &d1) const
{
    const int counts[3] = {m_field.nx, m_field.ny, m_field.nz};
    int end[3] = {i, j, k};
    if (++end[axis] >= counts[axis])
        return false;
    d0 = m_field.values[m_field.index(i, j, k)] - m_rule.iso;
    d1 = m_field.values[m_field.index(end[0], end[1], end[2])] - m_rule.iso;
    return (d0 < 0.0f) != (d1 < 0.0f);
}

void DcState::addCrossing(int axis, int i, int j, int k)
{
    CrossedEdge edge{nodePosition(i, j, k), axis, 0.0f, 0.0f};
    edgeCrosses(axis, i, j, k, edge.d0, edge.d1);
    m_samples.add(edgeKey(axis, i, j, k), edge);
}

const HermiteSample &DcState::sampleOf(int axis, int i, int j, int k)
{
    const quint64 key = edgeKey(axis, i, j, k);
    if (const HermiteSample *known = m_samples.find(key))
        return *known;
    addCrossing(axis, i, j, k);
    m_samples.finish();
    return *m_samples.find(key);
}

// The crossed edges that begin in a row of nodes. Most nodes have none: eight are looked at
// together.
void DcState::findRowCrossings(int j, int k)
{
    const size_t steps[3] = {1, size_t(m_field.nx), size_t(m_field.nx) * size_t(m_field.ny)};
    const int lasts[3] = {m_field.nx - 1, j + 1 < m_field.ny ? m_field.nx : 0,
                          k + 1 < m_field.nz ? m_field.nx : 0};
    const quint8 *const row = m_inside.data() + m_field.index(0, j, k);
    const auto eight = [](const quint8 *from) {
        quint64 word = 0;
        std::memcpy(&word, from, sizeof word);
        return word;
    };
    const auto anyOfEight = [&](int i) {
        quint64 changes = 0;
        for (int axis = 0; axis < 3; ++axis)
            changes |= lasts[axis] > 0 ? eight(row + i) ^ eight(row + i + steps[axis]) : 0;
        return changes != 0;
    };
    for (int i = 0; i < m_field.nx; ++i) {
        while (i + 8 < m_field.nx && !anyOfEight(i))
            i += 8;
        for (int axis = 0; axis < 3; ++axis) {
            if (i < lasts[axis] && row[i] != row[size_t(i) + steps[axis]]) {
                m_edges.push_back({i, axis});
                addCrossing(axis, i, j, k);
            }
        }
    }
}

bool DcState::isInside(int i, int j, int k) const
{
    if (i >= 0 && j >= 0 && k >= 0 && i < m_field.nx && j < m_field.ny && k < m_field.nz)
        return m_inside[m_field.index(i, j, k)] != 0;
    if (!m_rule.field)
        return false;
    return isFieldInside(nodePosition(i, j, k));
}

bool DcState::isFieldInside(const QVector3D &point) const
{
    float distance = 0.0f;
    m_rule.field({&point, 1}, {&distance, 1});
    return distance - m_rule.iso < 0.0f;
}

const CellCycles &DcState::cyclesOf(int i, int j, int k) const
{
    const auto insideAt = [this](int x, int y, int z) { return isInside(x, y, z); };
    const auto isMiddleInside = [this](const GridFace &face) {
        return m_rule.field &&
               isFieldInside((nodePosition(face.low[0], face.low[1], face.low[2]) +
                              nodePosition(face.high[0], face.high[1], face.high[2])) *
                             0.5f);
    };
    return GridCycles(insideAt, isMiddleInside).of({i, j, k});
}

int DcState::vertexForCell(int i, int j, int k)
{
    int &vertex = m_cellVertex[size_t(i) + (size_t(j) + size_t(k) * size_t(m_field.ny - 1)) *
                                               size_t(m_field.nx - 1)];
    if (vertex >= 0)
        return vertex;
    const CellCycles &cycles = cyclesOf(i, j, k);
    CellVertices vertices(cycles,
                          {m_field.origin,
                           m_field.cellSize,
                           {m_field.firstX + i, m_field.firstY + j, m_field.firstZ + k}},
                          m_field.crossingMargin * m_field.cellSize);
    for (int edge = 0; edge < 12; ++edge) {
        if (cycles.cycleOfEdge[size_t(edge)] < 0)
            continue;
        const int axis = edge / 4;
        int node[3] = {i, j, k};
        node[(axis + 1) % 3] += edge & 1;
        node[(axis + 2) % 3] += edge >> 1 & 1;
        vertices.add(edge, sampleOf(axis, node[0], node[1], node[2]));
    }
    std::array<float, 8> values;
    for (int corner = 0; corner < 8; ++corner)
        values[size_t(corner)] =
            m_field
                .values[m_field.index(i + (corner & 1), j + (corner >> 1 & 1), k + (corner >> 2))];
    vertices.setCornerValues(values);
    vertex = m_placer.add(vertices);
    return vertex;
}

void DcState::addQuad(int axis, const int (&node)[3], bool startsInside)
{
    constexpr int around[4][2] = {{-1, -1}, {0, -1}, {0, 0}, {-1, 0}};
    const int counts[3] = {m_field.nx, m_field.ny, m_field.nz};
    std::array<int, 4> vertices;
    for (size_t n = 0; n < 4; ++n) {
        int cell[3] = {node[0], node[1], node[2]};
        cell[(axis + 1) % 3] += around[n][0];
        cell[(axis + 2) % 3] += around[n][1];
        for (int a = 0; a < 3; ++a) {
            if (cell[a] < 0 || cell[a] >= counts[a] - 1)
                return;
        }
        const int edge = cellEdge(axis, (around[n][0] < 0 ? 1 : 0) | (around[n][1] < 0 ? 2 : 0));
        vertices[n] = vertexForCell(cell[0], cell[1], cell[2]) +
                      cyclesOf(cell[0], cell[1], cell[2]).cycleOfEdge[size_t(edge)];
    }
    // Seen from the far end of the edge the four cells run counter-clockwise.
    if (!startsInside)
        std::swap(vertices[1], vertices[3]);
    m_quads.push_back(vertices);
}

void DcState::addRowQuads(int firstNode, int j, int k)
{
    const size_t row = size_t(j) + size_t(k) * size_t(m_field.ny);
    for (size_t n = m_rowEdges[row]; n < m_rowEdges[row + 1]; ++n) {
        const RowEdge edge = m_edges[n];
        if (edge.i >= firstNode && edge.i < m_field.nx - 1)
            addQuad(edge.axis, {edge.i, j, k}, isInside(edge.i, j, k));
    }
}

// All at once and before the cells ask for them one by one.
bool DcState::findCrossings(const std::atomic_bool *cancel)
{
    m_edges.clear();
    m_rowEdges.assign(1, 0);
    for (int k = 0; k < m_field.nz; ++k) {
        if (cancel && cancel->load(std::memory_order_relaxed))
            return false;
        for (int j = 0; j < m_field.ny; ++j) {
            findRowCrossings(j, k);
            m_rowEdges.push_back(m_edges.size());
        }
    }
    m_samples.finish();
    return true;
}

void DcState::extract(int firstNode, QList<Triangle> &out, const std::atomic_bool *cancel,
                      QList<int> *rowEnds)
{
    if (m_inside.empty() || !findCrossings(cancel))
        return;
    std::vector<size_t> ends; // of each row's quads
    for (int k = firstNode; k < m_field.nz - 1; ++k) {
        if (cancel && cancel->load(std::memory_order_relaxed))
            return;
        for (int j = firstNode; j < m_field.ny - 1; ++j) {
            addRowQuads(firstNode, j, k);
            ends.push_back(m_quads.size());
        }
    }
    m_placer.finish();
    std::vector<QVector3D> vertices = m_placer.vertices();
    cutRings(m_quads, vertices, m_placer.normals(), m_rule, ends);
    size_t next = 0;
    for (const size_t end : ends) {
        for (; next < end; ++next) {
            const auto at = [&](size_t n) { return vertices[size_t(m_quads[next][n])]; };
            emitQuad(out, at(0), at(1), at(2), at(3), false);
        }
        if (rowEnds)
            rowEnds->append(int(out.size()));
    }
}

} // namespace corvane::mesh
