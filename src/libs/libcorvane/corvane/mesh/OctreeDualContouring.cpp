// The tree is built bottom up over the cubes that change sign. Contouring walks pairs and
// quadruples of neighbouring nodes down to the minimal edges: the edges of the smallest of the four
// nodes around them.
//
// A merged cell has one vertex, so its surface must be one sheet, inside it and on each of its
// faces and edges; the tests of Ju et al. for that, on corners and on the points midway between
// them, hold for the signs of the whole grid because they held for the children before.

#include "OctreeDualContouring.h"

#include "FoldedRings.h"
#include "GridCycles.h"
#include "QuadTriangles.h"
#include "RingCuts.h"
#include "SignPyramid.h"
#include "VertexPlacer.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace corvane::mesh {

namespace {

constexpr float mergedOffShare = 0.01f; // how far a merged cell's vertex may be off the surface
constexpr float leastSlope = 1e-3f;
constexpr int mostReopenings = 6; // of merged nodes, one level each

bool isCancelled(const OtState &state)
{
    return state.cancel && state.cancel->load(std::memory_order_relaxed);
}

// ------------------------------------------------------------------ the tree

unsigned insideMask(const OtState &state, const OtNode &node)
{
    unsigned mask = 0;
    for (int corner = 0; corner < 8; ++corner) {
        if (state.isInside(node.x + (corner & 1) * node.size,
                           node.y + (corner >> 1 & 1) * node.size,
                           node.z + (corner >> 2) * node.size))
            mask |= 1u << corner;
    }
    return mask;
}

const CellCycles &cyclesOf(const OtState &state, int x, int y, int z)
{
    const auto insideAt = [&state](int i, int j, int k) {
        return state.isInGrid(i, j, k) && state.isInside(i, j, k);
    };
    const auto isMiddleInside = [&state](const GridFace &face) {
        const QVector3D middle = (state.position(face.low[0], face.low[1], face.low[2]) +
                                  state.position(face.high[0], face.high[1], face.high[2])) *
                                 0.5f;
        float distance = 0.0f;
        state.field({&middle, 1}, {&distance, 1});
        return distance - state.iso < 0.0f;
    };
    return GridCycles(insideAt, isMiddleInside).of({x, y, z});
}

QefResult solveInBox(const OtState &state, const OtNode &node)
{
    const QVector3D margin(state.vertexMargin, state.vertexMargin, state.vertexMargin);
    return node.qef.solve(
        state.position(node.x, node.y, node.z) + margin,
        state.position(node.x + node.size, node.y + node.size, node.z + node.size) - margin);
}

quint64 edgeKey(const OtState &state, int axis, const int (&at)[3])
{
    const auto side = quint64(state.side);
    return (quint64(at[0]) + (quint64(at[1]) + quint64(at[2]) * side) * side) * 3 + quint64(axis);
}

// The crossed edges that begin in a row of nodes. The signs of 64 nodes are compared at a time.
void addRowCrossings(OtState &state, int j, int k)
{
    const std::span<const BitCube::Word> row = state.inside.row(j, k);
    for (int axis = 0; axis < 3; ++axis) {
        if ((axis == 1 && j + 1 == state.side) || (axis == 2 && k + 1 == state.side))
            continue;
        const auto beside = state.inside.row(j + (axis == 1 ? 1 : 0), k + (axis == 2 ? 1 : 0));
        for (size_t word = 0; word < row.size(); ++word) {
            const BitCube::Word carried = word + 1 < row.size() ? row[word + 1] << 63 : 0;
            const BitCube::Word next = axis == 0 ? row[word] >> 1 | carried : beside[word];
            for (BitCube::Word crossed = row[word] ^ next; crossed != 0; crossed &= crossed - 1) {
                const int at[3] = {int(word) * 64 + std::countr_zero(crossed), j, k};
                if (axis == 0 && at[0] + 1 == state.side)
                    continue;
                const float d0 = state.isInside(at[0], j, k) ? -1.0f : 1.0f;
                state.crossings.add(edgeKey(state, axis, at),
                                    {state.position(at[0], j, k), axis, d0, -d0});
            }
        }
    }
}

bool findCrossings(OtState &state)
{
    state.crossings = CrossingTable({state.cellSize, state.iso, state.field, state.gradient});
    for (int k = 0; k < state.side; ++k) {
        if (isCancelled(state))
            return false;
        for (int j = 0; j < state.side; ++j)
            addRowCrossings(state, j, k);
    }
    state.crossings.finish();
    return true;
}

CellVertices cellVerticesAt(const OtState &state, int x, int y, int z)
{
    const CellCycles &cycles = cyclesOf(state, x, y, z);
    CellVertices vertices(cycles, {state.origin, state.cellSize, {x, y, z}}, state.vertexMargin);
    for (int axis = 0; axis < 3; ++axis) {
        for (int offsets = 0; offsets < 4; ++offsets) {
            int start[3] = {x, y, z};
            start[(axis + 1) % 3] += offsets & 1;
            start[(axis + 2) % 3] += offsets >> 1;
            const int edge = cellEdge(axis, offsets);
            if (cycles.cycleOfEdge[size_t(edge)] >= 0)
                vertices.add(edge, *state.crossings.find(edgeKey(state, axis, start)));
        }
    }
    return vertices;
}

int levelOf(int size)
{
    return std::countr_zero(unsigned(size));
}

bool isMixed(const OtState &state, int x, int y, int z, int size)
{
    return state.mixed[size_t(levelOf(size))].at(x / size, y / size, z / size);
}

// In the order in which buildNode() comes to the leaves.
void placeLeafVertices(OtState &state, VertexPlacer &placer, int x, int y, int z, int size)
{
    if (isCancelled(state) || !isMixed(state, x, y, z, size))
        return;
    if (size == 1) {
        placer.add(cellVerticesAt(state, x, y, z));
        return;
    }
    const int half = size / 2;
    for (int child = 0; child < 8; ++child)
        placeLeafVertices(state, placer, x + (child & 1) * half, y + (child >> 1 & 1) * half,
                          z + (child >> 2) * half, half);
}

void fillLeaf(OtState &state, OtNode &leaf)
{
    const CellVertices cell = cellVerticesAt(state, leaf.x, leaf.y, leaf.z);
    leaf.kind = OtNode::Leaf;
    leaf.qef = cell.planes();
    leaf.vertex = int(state.vertices.size());
    for (int cycle = 0; cycle < cell.count(); ++cycle) {
        leaf.hasHidden = leaf.hasHidden || state.leafIsHidden[state.nextLeafVertex];
        state.normals.push_back(state.leafNormals[state.nextLeafVertex]);
        state.vertices.push_back(state.leafVertices[state.nextLeafVertex++]);
    }
}

// Whether a line, a face or the whole of a node, given by the corners that it spans, has in its
// middle a sign that one of these corners has too. Where not, a piece of surface hides between the
// corners.
bool middleAgrees(const OtState &state, const OtNode &node, const int (&low)[3],
                  const int (&high)[3])
{
    const int half = node.size / 2;
    const auto insideAt = [&](int i, int j, int k) {
        return state.isInside(node.x + i * half, node.y + j * half, node.z + k * half);
    };
    const bool middle =
        insideAt((low[0] + high[0]) / 2, (low[1] + high[1]) / 2, (low[2] + high[2]) / 2);
    for (int corner = 0; corner < 8; ++corner) {
        if (insideAt(corner & 1 ? high[0] : low[0], corner & 2 ? high[1] : low[1],
                     corner & 4 ? high[2] : low[2]) == middle)
            return true;
    }
    return false;
}

// For the twelve edges, the six faces and the cube, in half sizes: 0 and 2 are the corners, and a
// span of 0 to 2 lies along an axis.
bool hidesNothing(const OtState &state, const OtNode &node)
{
    for (int place = 0; place < 27; ++place) {
        const int digits[3] = {place % 3, place / 3 % 3, place / 9};
        int low[3];
        int high[3];
        for (int axis = 0; axis < 3; ++axis) {
            low[axis] = digits[axis] == 2 ? 2 : 0;
            high[axis] = digits[axis] == 0 ? 0 : 2;
        }
        if (!middleAgrees(state, node, low, high))
            return false;
    }
    return true;
}

// Puts the vertex of a merged cell onto the surface. Not where the planes make it sharp: what is
// moved there is off the crease.
bool settle(const OtState &state, const OtNode &node, QefResult &result)
{
    const auto offSurface = [&state](const QVector3D &point, QVector3D &gradient) {
        float distance = 0.0f;
        state.field({&point, 1}, {&distance, 1});
        state.gradient({&point, 1}, {&gradient, 1});
        return (distance - state.iso) / std::max(gradient.length(), leastSlope);
    };
    const float most = mergedOffShare * state.cellSize;
    QVector3D gradient;
    float distance = offSurface(result.position, gradient);
    if (result.rank == 1 && std::fabs(distance) > most) {
        result.position -= gradient.normalized() * distance;
        distance = offSurface(result.position, gradient);
    }
    const float margin = state.vertexMargin;
    const QVector3D low = state.position(node.x, node.y, node.z);
    const QVector3D high =
        state.position(node.x + node.size, node.y + node.size, node.z + node.size);
    for (int axis = 0; axis < 3; ++axis) {
        if (result.position[axis] < low[axis] + margin ||
            result.position[axis] > high[axis] - margin)
            return false;
    }
    return std::fabs(distance) <= most;
}

// Whether a merged vertex still stands where those do that its planes may not show.
bool keepsHidden(const OtState &state, OtNode &node, const QefResult &result)
{
    for (const int child : node.children) {
        if (child < 0 || !state.nodes[size_t(child)].hasHidden)
            continue;
        const QVector3D &hidden = state.vertices[size_t(state.nodes[size_t(child)].vertex)];
        if ((hidden - result.position).length() > mergedOffShare * state.cellSize)
            return false;
        node.hasHidden = true;
    }
    return true;
}

// Merges the children into one cell where one vertex stands for all of them within the error limit.
bool collapse(OtState &state, OtNode &node, unsigned mask)
{
    if (!node.simple || mask == 0 || mask == 0xff)
        return false;
    for (const int child : node.children) {
        if (child < 0)
            continue;
        const OtNode &part = state.nodes[size_t(child)];
        if (part.kind == OtNode::Internal || !part.simple)
            return false;
        node.qef += part.qef;
    }
    QefResult result = solveInBox(state, node);
    if (node.qef.count() == 0 || result.error > state.errorLimit || !hidesNothing(state, node) ||
        !settle(state, node, result) || !keepsHidden(state, node, result))
        return false;
    // The children are the last ones that were made, with one vertex each.
    const auto gone = 8 - std::count(node.children.begin(), node.children.end(), -1);
    state.nodes.resize(state.nodes.size() - size_t(gone));
    state.vertices.resize(state.vertices.size() - size_t(gone));
    state.normals.resize(state.vertices.size());
    node.kind = OtNode::Collapsed;
    node.children.fill(-1);
    node.vertex = int(state.vertices.size());
    state.vertices.push_back(result.position);
    state.normals.emplace_back();
    return true;
}

int buildNode(OtState &state, int x, int y, int z, int size);

std::array<int, 8> buildChildren(OtState &state, const OtNode &node)
{
    const int half = node.size / 2;
    std::array<int, 8> children;
    for (int child = 0; child < 8; ++child)
        children[size_t(child)] =
            buildNode(state, node.x + (child & 1) * half, node.y + (child >> 1 & 1) * half,
                      node.z + (child >> 2) * half, half);
    return children;
}

int buildNode(OtState &state, int x, int y, int z, int size)
{
    if (isCancelled(state) || !isMixed(state, x, y, z, size))
        return -1;
    OtNode node;
    node.x = x;
    node.y = y;
    node.z = z;
    node.size = size;
    const unsigned mask = insideMask(state, node);
    node.simple = simpleConfig(mask);
    node.firstLeafVertex = state.nextLeafVertex;
    if (size == 1) {
        fillLeaf(state, node);
    } else {
        node.children = buildChildren(state, node);
        if (!collapse(state, node, mask))
            node.kind = OtNode::Internal;
    }
    state.nodes.push_back(node);
    return int(state.nodes.size()) - 1;
}

// ------------------------------------------------------------------ contouring

// Around an edge along an axis, in the plane of the next two axes: counter-clockwise from its far
// end.
constexpr int around[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};

bool isInternal(const OtState &state, int node)
{
    return node >= 0 && state.nodes[size_t(node)].kind == OtNode::Internal;
}

// Present, and as small as the tree has it there.
bool isMinimal(const OtState &state, int node)
{
    return node >= 0 && !isInternal(state, node);
}

int childOrSelf(const OtState &state, int node, int child)
{
    return isInternal(state, node) ? state.nodes[size_t(node)].children[size_t(child)] : node;
}

// The number of the vertex that a node has for one of its own edges, or for a part of it.
int vertexAround(const OtState &state, const OtNode &node, int axis, int offsets)
{
    if (node.simple)
        return node.vertex;
    return node.vertex +
           cyclesOf(state, node.x, node.y, node.z).cycleOfEdge[size_t(cellEdge(axis, offsets))];
}

void emitQuadIndexed(OtState &state, const std::array<int, 4> &ring, bool flip)
{
    if (flip)
        state.quads.push_back({ring[0], ring[3], ring[2], ring[1]});
    else
        state.quads.push_back(ring);
}

void emitMinimalEdge(OtState &state, int axis, const int (&nodes)[4])
{
    const int u = (axis + 1) % 3;
    const int v = (axis + 2) % 3;
    int smallest = 0;
    for (int n = 1; n < 4; ++n) {
        if (state.nodes[size_t(nodes[n])].size < state.nodes[size_t(nodes[smallest])].size)
            smallest = n;
    }
    const OtNode &node = state.nodes[size_t(nodes[smallest])];
    int start[3] = {node.x, node.y, node.z};
    start[u] += (1 - around[smallest][0]) * node.size;
    start[v] += (1 - around[smallest][1]) * node.size;
    int end[3] = {start[0], start[1], start[2]};
    end[axis] += node.size;
    const bool startsInside = state.isInside(start[0], start[1], start[2]);
    if (startsInside == state.isInside(end[0], end[1], end[2]))
        return;
    std::array<int, 4> ring;
    for (size_t n = 0; n < 4; ++n)
        ring[n] = vertexAround(state, state.nodes[size_t(nodes[n])], axis,
                               (1 - around[n][0]) | (1 - around[n][1]) << 1);
    emitQuadIndexed(state, ring, !startsInside);
}

void edgeProc(OtState &state, int axis, const int (&nodes)[4])
{
    bool anyInternal = false;
    for (const int node : nodes) {
        if (node < 0)
            return;
        anyInternal = anyInternal || !isMinimal(state, node);
    }
    if (!anyInternal) {
        emitMinimalEdge(state, axis, nodes);
        return;
    }
    for (int half = 0; half < 2; ++half) {
        int inner[4];
        for (int n = 0; n < 4; ++n) {
            const int child = half << axis | (1 - around[n][0]) << (axis + 1) % 3 |
                              (1 - around[n][1]) << (axis + 2) % 3;
            inner[n] = childOrSelf(state, nodes[n], child);
        }
        edgeProc(state, axis, inner);
    }
}

// The edges along `edgeAxis` in the middle of the face between a (the low side along `axis`) and b.
void faceEdges(OtState &state, int axis, int edgeAxis, int a, int b)
{
    const int u = (edgeAxis + 1) % 3;
    const int v = (edgeAxis + 2) % 3;
    for (int half = 0; half < 2; ++half) {
        int nodes[4];
        for (int n = 0; n < 4; ++n) {
            const int alongAxis = u == axis ? around[n][0] : around[n][1];
            const int other = u == axis ? around[n][1] : around[n][0];
            const int child =
                half << edgeAxis | (1 - alongAxis) << axis | other << (u == axis ? v : u);
            nodes[n] = childOrSelf(state, alongAxis == 0 ? a : b, child);
        }
        edgeProc(state, edgeAxis, nodes);
    }
}

void faceProc(OtState &state, int axis, int a, int b)
{
    if (a < 0 || b < 0 || (!isInternal(state, a) && !isInternal(state, b)))
        return;
    const int u = (axis + 1) % 3;
    const int v = (axis + 2) % 3;
    for (int quarter = 0; quarter < 4; ++quarter) {
        const int inFace = (quarter & 1) << u | (quarter >> 1) << v;
        faceProc(state, axis, childOrSelf(state, a, inFace | 1 << axis),
                 childOrSelf(state, b, inFace));
    }
    faceEdges(state, axis, u, a, b);
    faceEdges(state, axis, v, a, b);
}

void cellProc(OtState &state, int index)
{
    if (!isInternal(state, index) || isCancelled(state))
        return;
    const std::array<int, 8> children = state.nodes[size_t(index)].children;
    for (const int child : children)
        cellProc(state, child);
    for (int axis = 0; axis < 3; ++axis) {
        for (size_t low = 0; low < 8; ++low) {
            if (!(low >> axis & 1))
                faceProc(state, axis, children[low], children[low | size_t(1) << axis]);
        }
    }
    for (int axis = 0; axis < 3; ++axis) {
        for (int half = 0; half < 2; ++half) {
            int nodes[4];
            for (int n = 0; n < 4; ++n)
                nodes[n] = children[size_t(half << axis | around[n][0] << (axis + 1) % 3 |
                                           around[n][1] << (axis + 2) % 3)];
            edgeProc(state, axis, nodes);
        }
    }
}

// ------------------------------------------------------------------ folds

// The merged nodes of folded rings: their vertices stand where no cut of such a ring faces with the
// field. Rings of earlier vertices alone are not looked at.
std::vector<int> nodesOfFolds(const OtState &state, const CrossingRule &rule, size_t firstVertex)
{
    std::vector<int> nodeOf(state.vertices.size(), -1);
    for (size_t n = 0; n < state.nodes.size(); ++n) {
        if (state.nodes[n].kind == OtNode::Collapsed)
            nodeOf[size_t(state.nodes[n].vertex)] = int(n);
    }
    std::vector<std::array<int, 4>> rings;
    for (const auto &quad : state.quads) {
        const bool isMerged =
            std::ranges::any_of(quad, [&](int vertex) { return nodeOf[size_t(vertex)] >= 0; });
        const bool isNew =
            std::ranges::any_of(quad, [&](int vertex) { return size_t(vertex) >= firstVertex; });
        if (isMerged && isNew)
            rings.push_back(quad);
    }
    std::vector<int> nodes;
    for (const size_t n : foldedRings(rings, state.vertices, rule)) {
        for (const int vertex : rings[n]) {
            if (nodeOf[size_t(vertex)] >= 0)
                nodes.push_back(nodeOf[size_t(vertex)]);
        }
    }
    std::ranges::sort(nodes);
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    return nodes;
}

// Gives a merged node its children back, which may be merged ones.
void reopen(OtState &state, int index)
{
    const OtNode merged = state.nodes[size_t(index)];
    state.nextLeafVertex = merged.firstLeafVertex;
    const std::array<int, 8> children = buildChildren(state, merged);
    OtNode &node = state.nodes[size_t(index)];
    node.kind = OtNode::Internal;
    node.vertex = -1;
    node.children = children;
}

void contour(OtState &state, int root, const CrossingRule &rule)
{
    size_t known = 0; // vertices whose rings are well
    for (int round = 0; round <= mostReopenings; ++round) {
        state.quads.clear();
        cellProc(state, root);
        if (isCancelled(state) || round == mostReopenings)
            return;
        const std::vector<int> folds = nodesOfFolds(state, rule, known);
        if (folds.empty())
            return;
        known = state.vertices.size();
        for (const int node : folds)
            reopen(state, node);
    }
}

} // namespace

void OtState::setSide(int nodeCount)
{
    side = nodeCount;
    inside = BitCube(nodeCount);
}

void OtState::setRow(int j, int k, std::span<const float> values)
{
    const std::span<BitCube::Word> row = inside.row(j, k);
    std::fill(row.begin(), row.end(), 0);
    for (size_t i = 0; i < values.size(); ++i)
        row[i / 64] |= BitCube::Word(values[i] - iso < 0.0f) << i % 64;
}

qint64 octreeSide(qint64 cells)
{
    qint64 side = 1;
    while (side < cells)
        side *= 2;
    return side;
}

double octreeSignBytes(double cells)
{
    // The nodes, the cells, and an eighth of these again for all levels above.
    return BitCube::bytesFor(cells + 1) + BitCube::bytesFor(cells) * 8.0 / 7.0;
}

double octreeTreeBytes(double crossedCells)
{
    constexpr double nodesPerCell = 1.5; // the levels above are a geometric row
    constexpr double crossingsPerCell = 1.2;
    constexpr double hashEntry = 2.0 * (sizeof(quint64) + sizeof(HermiteSample));
    constexpr double quadsPerCell = crossingsPerCell;
    return crossedCells *
           (nodesPerCell * sizeof(OtNode) + crossingsPerCell * hashEntry + 4 * sizeof(QVector3D) +
            quadsPerCell * (4 * sizeof(int) + 2 * sizeof(Triangle)));
}

bool simpleConfig(unsigned mask)
{
    // Floods from the first corner of a side along the cube's edges.
    const auto connected = [](unsigned corners) {
        unsigned reached = corners & (~corners + 1);
        for (unsigned before = 0; before != reached;) {
            before = reached;
            for (unsigned corner = 0; corner < 8; ++corner) {
                if (reached >> corner & 1)
                    reached |=
                        (1u << (corner ^ 1) | 1u << (corner ^ 2) | 1u << (corner ^ 4)) & corners;
            }
        }
        return reached == corners;
    };
    return connected(mask & 0xff) && connected(~mask & 0xff);
}

qint64 prepareOctree(OtState &state)
{
    state.mixed = buildSignPyramid(state.inside, state.cancel);
    return state.mixed.empty() ? -1 : countSet(state.mixed.front());
}

bool extractOctree(OtState &state)
{
    if (state.mixed.empty() || !findCrossings(state))
        return false;
    const CrossingRule rule{state.cellSize, state.iso, state.field, state.gradient};
    VertexPlacer placer(rule);
    placeLeafVertices(state, placer, 0, 0, 0, state.side - 1);
    placer.finish();
    state.leafVertices = placer.vertices();
    state.leafNormals = placer.normals();
    state.leafIsHidden = placer.isHidden();
    const int root = buildNode(state, 0, 0, 0, state.side - 1);
    contour(state, root, rule);
    state.leafVertices = {};
    state.leafNormals = {};
    state.leafIsHidden = {};
    state.crossings = {};
    if (isCancelled(state))
        return false;
    cutRings(state.quads, state.vertices, state.normals, rule);
    emitTriangles(state.quads, state.vertices, state.output);
    return true;
}

} // namespace corvane::mesh
