#include "TetrahedralVolume.h"

#include "MarchingCubesTables.h"

#include <algorithm>
#include <cmath>
#include <compare>

namespace corvane::mesh {

namespace {

constexpr float equalValues = 1e-10f;
// Crossings this close to an end of their edge are moved there, which removes slivers.
constexpr float snapLow = 0.3f;
constexpr float snapHigh = 0.7f;
constexpr double smallestVolume6 = 1e-12;

// The five tetrahedra of a cell, by the parity of i + j + k.
constexpr int cellTetrahedra[2][5][4] = {
    {{0, 1, 2, 5}, {0, 2, 3, 7}, {0, 4, 5, 7}, {2, 5, 6, 7}, {0, 2, 5, 7}},
    {{1, 2, 3, 6}, {0, 1, 3, 4}, {1, 4, 5, 6}, {3, 4, 6, 7}, {1, 3, 4, 6}},
};

/// The place of a vertex in the order of the whole grid, by which quads are split.
///
/// Crossings come before nodes, and inside nodes before outside ones: where one end of a quad was
/// moved to the outside node of an edge, and the other is a crossing of the edge beside it, the
/// diagonal from the crossing is the one that leaves no triangle without area.
struct Order
{
    enum Rank { Crossing, InsideNode, OutsideNode };

    Rank rank = Crossing;
    quint64 lowNode = 0;
    quint64 highNode = 0; ///< of a crossing the other end of its edge

    auto operator<=>(const Order &) const = default;
};

struct Vertex
{
    QVector3D position;
    Order order;
};

struct Corner
{
    Vertex vertex;
    float value = 0.0f;

    bool isInside() const { return value <= 0.0f; }
};

Vertex crossing(const Corner &one, const Corner &other)
{
    // Always from the lower node, so that all tetrahedra around the edge get the same bits.
    const bool inOrder = one.vertex.order.lowNode < other.vertex.order.lowNode;
    const Corner &a = inOrder ? one : other;
    const Corner &b = inOrder ? other : one;
    const float difference = b.value - a.value;
    const float t = std::abs(difference) < equalValues ? 0.5f : -a.value / difference;
    if (t < snapLow)
        return a.vertex;
    if (t > snapHigh)
        return b.vertex;
    return {a.vertex.position + (b.vertex.position - a.vertex.position) * t,
            {Order::Crossing, a.vertex.order.lowNode, b.vertex.order.lowNode}};
}

void emitTetrahedron(const Vertex &a, const Vertex &b, const Vertex &c, const Vertex &d,
                     QList<Tetrahedron> &out)
{
    const double volume = signedVolume6(a.position, b.position, c.position, d.position);
    if (!(std::abs(volume) > smallestVolume6))
        return;
    if (volume < 0.0)
        out.append(Tetrahedron{{a.position, b.position, d.position, c.position}});
    else
        out.append(Tetrahedron{{a.position, b.position, c.position, d.position}});
}

// A prism between the triangles 0 1 2 and 3 4 5: each of its three quads is cut by the diagonal
// from its lowest vertex, which both sides of a shared quad find alike (Dompierre et al. 1999).
void emitPrism(const Vertex (&prism)[6], QList<Tetrahedron> &out)
{
    constexpr int turned[6][6] = {{0, 1, 2, 3, 4, 5}, {1, 2, 0, 4, 5, 3}, {2, 0, 1, 5, 3, 4},
                                  {3, 5, 4, 0, 2, 1}, {4, 3, 5, 1, 0, 2}, {5, 4, 3, 2, 1, 0}};
    const auto lowest =
        std::min_element(std::begin(prism), std::end(prism),
                         [](const Vertex &a, const Vertex &b) { return a.order < b.order; });
    const int(&order)[6] = turned[lowest - std::begin(prism)];
    const auto at = [&](int n) -> const Vertex & { return prism[order[n]]; };
    if (std::min(at(1).order, at(5).order) < std::min(at(2).order, at(4).order)) {
        emitTetrahedron(at(0), at(1), at(2), at(5), out);
        emitTetrahedron(at(0), at(1), at(5), at(4), out);
    } else {
        emitTetrahedron(at(0), at(1), at(2), at(4), out);
        emitTetrahedron(at(0), at(4), at(2), at(5), out);
    }
    emitTetrahedron(at(0), at(4), at(5), at(3), out);
}

void clip(const Corner *const (&corners)[4], QList<Tetrahedron> &out)
{
    const Corner *inside[4];
    const Corner *outside[4];
    int insideCount = 0;
    int outsideCount = 0;
    for (const Corner *corner : corners) {
        if (corner->isInside())
            inside[insideCount++] = corner;
        else
            outside[outsideCount++] = corner;
    }
    switch (insideCount) {
    case 1:
        emitTetrahedron(inside[0]->vertex, crossing(*inside[0], *outside[0]),
                        crossing(*inside[0], *outside[1]), crossing(*inside[0], *outside[2]), out);
        break;
    case 2:
        emitPrism({inside[0]->vertex, crossing(*inside[0], *outside[0]),
                   crossing(*inside[0], *outside[1]), inside[1]->vertex,
                   crossing(*inside[1], *outside[0]), crossing(*inside[1], *outside[1])},
                  out);
        break;
    case 3:
        emitPrism({inside[0]->vertex, inside[1]->vertex, inside[2]->vertex,
                   crossing(*inside[0], *outside[0]), crossing(*inside[1], *outside[0]),
                   crossing(*inside[2], *outside[0])},
                  out);
        break;
    case 4:
        emitTetrahedron(inside[0]->vertex, inside[1]->vertex, inside[2]->vertex, inside[3]->vertex,
                        out);
        break;
    default:
        break;
    }
}

/// Calls visit(i) for the cells of a row that have a corner inside. Most are outside, and nothing
/// needs to be known of them.
template<typename Visit>
void visitCellsWithInside(const ScalarField3D &field, int j, int k, const Visit &visit)
{
    if (field.nx < 2)
        return;
    const size_t row = size_t(field.nx);
    const size_t slice = row * size_t(field.ny);
    const float *const value = field.values + field.index(0, j, k);
    const auto anyInside = [&](int i) {
        bool inside = false;
        for (const size_t side : {size_t(0), row, slice, slice + row})
            inside = inside || value[size_t(i) + side] <= 0.0f;
        return inside;
    };
    bool low = anyInside(0);
    for (int i = 0; i + 1 < field.nx; ++i) {
        const bool high = anyInside(i + 1);
        if (low || high)
            visit(i);
        low = high;
    }
}

void fillCell(const ScalarField3D &field, int i, int j, int k, QList<Tetrahedron> &out)
{
    Corner corners[8];
    for (size_t n = 0; n < 8; ++n) {
        const int x = i + cellCorners[n].x;
        const int y = j + cellCorners[n].y;
        const int z = k + cellCorners[n].z;
        const quint64 node = field.index(x, y, z);
        const float value = field.values[node];
        const Order order{value <= 0.0f ? Order::InsideNode : Order::OutsideNode, node, node};
        corners[n] = {{{field.x(x), field.y(y), field.z(z)}, order}, value};
    }
    const qint64 parity = (field.firstX + i + field.firstY + j + field.firstZ + k) & 1;
    for (const auto &tetrahedron : cellTetrahedra[parity])
        clip({&corners[tetrahedron[0]], &corners[tetrahedron[1]], &corners[tetrahedron[2]],
              &corners[tetrahedron[3]]},
             out);
}

} // namespace

void tetrahedraInRow(const ScalarField3D &field, int j, int k, QList<Tetrahedron> &out)
{
    visitCellsWithInside(field, j, k, [&](int i) { fillCell(field, i, j, k, out); });
}

qint64 cellsWithInside(const ScalarField3D &field, int k)
{
    qint64 count = 0;
    for (int j = 0; j + 1 < field.ny; ++j)
        visitCellsWithInside(field, j, k, [&count](int) { ++count; });
    return count;
}

void tetrahedralVolume(const ScalarField3D &field, QList<Tetrahedron> &out,
                       const std::atomic_bool *cancel)
{
    for (int k = 0; k + 1 < field.nz; ++k) {
        if (cancel && cancel->load(std::memory_order_relaxed))
            return;
        for (int j = 0; j + 1 < field.ny; ++j)
            tetrahedraInRow(field, j, k, out);
    }
}

} // namespace corvane::mesh
