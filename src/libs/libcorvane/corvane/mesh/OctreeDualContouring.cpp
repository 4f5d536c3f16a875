// The tree is built bottom up from a pyramid that says which cubes change sign, so that the empty
// part of the grid is never visited. Contouring walks pairs and quadruples of neighbouring nodes
// down to the minimal edges: the edges of the smallest of the four nodes around them.

#include "OctreeDualContouring.h"

#include "DualContouring.h"

namespace corvane::mesh {

namespace {

bool isCancelled(const OtState &state)
{
    return state.cancel && state.cancel->load(std::memory_order_relaxed);
}

// ------------------------------------------------------------------ which cubes change sign

int levelSide(const OtState &state, int level)
{
    return (state.side - 1) >> level;
}

bool cellIsMixed(const OtState &state, int i, int j, int k)
{
    const bool first = state.isInside(i, j, k);
    for (int corner = 1; corner < 8; ++corner) {
        if (state.isInside(i + (corner & 1), j + (corner >> 1 & 1), k + (corner >> 2)) != first)
            return true;
    }
    return false;
}

void fillCellLevel(OtState &state)
{
    const int n = levelSide(state, 0);
    std::vector<std::uint8_t> &level = state.mixed.emplace_back(size_t(n) * size_t(n) * size_t(n));
    size_t at = 0;
    for (int k = 0; k < n && !isCancelled(state); ++k) {
        for (int j = 0; j < n; ++j) {
            for (int i = 0; i < n; ++i)
                level[at++] = cellIsMixed(state, i, j, k);
        }
    }
}

// Two neighbouring cubes share nodes, so a cube changes sign exactly when one of its eighths does.
void fillNextLevel(OtState &state)
{
    const int level = int(state.mixed.size());
    const int n = levelSide(state, level);
    const int below = n * 2;
    std::vector<std::uint8_t> next(size_t(n) * size_t(n) * size_t(n));
    const std::vector<std::uint8_t> &cells = state.mixed.back();
    size_t at = 0;
    for (int k = 0; k < below; ++k) {
        for (int j = 0; j < below; ++j) {
            for (int i = 0; i < below; ++i) {
                if (cells[at++])
                    next[size_t(i / 2) + (size_t(j / 2) + size_t(k / 2) * size_t(n)) * size_t(n)] =
                        1;
            }
        }
    }
    state.mixed.push_back(std::move(next));
}

void buildPyramid(OtState &state)
{
    state.mixed.clear();
    fillCellLevel(state);
    while (levelSide(state, int(state.mixed.size()) - 1) > 1 && !isCancelled(state))
        fillNextLevel(state);
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

void placeVertex(OtState &state, OtNode &node, const QefResult &result)
{
    node.vertex = int(state.vertices.size());
    state.vertices.push_back(result.position);
}

QefResult solveInBox(const OtState &state, const OtNode &node)
{
    return node.qef.solve(
        state.position(node.x, node.y, node.z),
        state.position(node.x + node.size, node.y + node.size, node.z + node.size));
}

const HermiteSample &crossing(OtState &state, int axis, const int (&at)[3], float d0, float d1)
{
    const quint64 key = quint64(state.nodeIndex(at[0], at[1], at[2])) * 3 + quint64(axis);
    const auto known = state.crossings.constFind(key);
    if (known != state.crossings.constEnd())
        return *known;
    return *state.crossings.insert(key, hermiteSample(state.position(at[0], at[1], at[2]), axis,
                                                      state.cellSize, d0, d1, state.iso,
                                                      state.field, state.gradient));
}

void fillLeaf(OtState &state, OtNode &leaf)
{
    for (int axis = 0; axis < 3; ++axis) {
        for (int corner = 0; corner < 4; ++corner) {
            int start[3] = {leaf.x, leaf.y, leaf.z};
            start[(axis + 1) % 3] += corner & 1;
            start[(axis + 2) % 3] += corner >> 1;
            int end[3] = {start[0], start[1], start[2]};
            ++end[axis];
            const float d0 =
                state.samples[state.nodeIndex(start[0], start[1], start[2])] - state.iso;
            const float d1 = state.samples[state.nodeIndex(end[0], end[1], end[2])] - state.iso;
            if ((d0 < 0.0f) != (d1 < 0.0f))
                addSample(crossing(state, axis, start, d0, d1), leaf.qef);
        }
    }
    leaf.kind = OtNode::Leaf;
    placeVertex(state, leaf, solveInBox(state, leaf));
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
    const QefResult result = solveInBox(state, node);
    if (node.qef.count() == 0 || result.error > state.errorLimit)
        return false;
    node.kind = OtNode::Collapsed;
    node.children.fill(-1);
    placeVertex(state, node, result);
    return true;
}

int levelOf(int size)
{
    int level = 0;
    while ((1 << level) < size)
        ++level;
    return level;
}

int buildNode(OtState &state, int x, int y, int z, int size)
{
    const int level = levelOf(size);
    const int n = levelSide(state, level);
    if (isCancelled(state) ||
        !state.mixed[size_t(level)][size_t(x / size) +
                                    (size_t(y / size) + size_t(z / size) * size_t(n)) * size_t(n)])
        return -1;
    OtNode node;
    node.x = x;
    node.y = y;
    node.z = z;
    node.size = size;
    const unsigned mask = insideMask(state, node);
    node.simple = simpleConfig(mask);
    if (size == 1) {
        fillLeaf(state, node);
    } else {
        const int half = size / 2;
        for (int child = 0; child < 8; ++child)
            node.children[size_t(child)] =
                buildNode(state, x + (child & 1) * half, y + (child >> 1 & 1) * half,
                          z + (child >> 2) * half, half);
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
    const auto vertex = [&](int n) {
        return state.vertices[size_t(state.nodes[size_t(nodes[n])].vertex)];
    };
    emitQuad(state.output, vertex(0), vertex(1), vertex(2), vertex(3), !startsInside);
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

} // namespace

int octreeSide(qint64 cells)
{
    int side = 1;
    while (side < cells && side < (1 << 30))
        side *= 2;
    return side;
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

bool extractOctree(OtState &state)
{
    buildPyramid(state);
    if (isCancelled(state))
        return false;
    const int root = buildNode(state, 0, 0, 0, state.side - 1);
    cellProc(state, root);
    return !isCancelled(state);
}

} // namespace corvane::mesh
