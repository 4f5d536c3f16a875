#pragma once

#include <corvane/mesh/HermiteSample.h>
#include <corvane/mesh/QefSolver.h>
#include <corvane/mesh/Triangle.h>

#include <QHash>
#include <QList>
#include <QVector3D>

#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

namespace corvane::mesh {

/// A cube of cells in the octree. Child n lies at the upper half of X, Y, Z for bits 0, 1, 2 of n.
struct OtNode
{
    enum Kind { Empty = 0, Leaf = 1, Collapsed = 2, Internal = 3 };

    int kind = Empty;
    int x = 0, y = 0, z = 0; ///< corner cell
    int size = 1;            ///< cells along one side
    std::array<int, 8> children{-1, -1, -1, -1, -1, -1, -1, -1};
    QefSolver qef;
    bool simple = true; ///< at most one connected set of inside corners and one of outside corners
    int vertex = -1;
};

/// Dual contouring of an adaptive octree (Ju et al. 2002): flat regions merge to fewer, larger
/// cells.
///
/// Fill `samples`, then call extractOctree(). One instance serves one thread.
struct OtState
{
    QVector3D origin{}; ///< of node (0, 0, 0), scene units
    float cellSize = 0.1f;
    float errorLimit = 0.0f;    ///< largest error of a merged cell, scene units squared
    int side = 0;               ///< nodes along one side: a power of two plus one
    std::vector<float> samples; ///< side ^ 3 values, X fastest
    FieldFunction field;
    GradientFunction gradient;
    float iso = 0.0f;

    std::vector<OtNode> nodes;
    std::vector<QVector3D> vertices;
    QHash<quint64, HermiteSample> crossings; ///< by edge, since four cells read each
    std::vector<std::vector<std::uint8_t>>
        mixed; ///< by level: whether a cube of 2^level cells changes sign
    QList<Triangle> output;
    const std::atomic_bool *cancel = nullptr;

    size_t nodeIndex(int i, int j, int k) const
    {
        return size_t(i) + (size_t(j) + size_t(k) * size_t(side)) * size_t(side);
    }
    bool isInside(int i, int j, int k) const { return samples[nodeIndex(i, j, k)] - iso < 0.0f; }
    QVector3D position(int i, int j, int k) const
    {
        return {origin.x() + cellSize * float(i), origin.y() + cellSize * float(j),
                origin.z() + cellSize * float(k)};
    }
};

/// The smallest power of two not below a number of cells.
int octreeSide(qint64 cells);
/// The error limit of a merged cell.
inline float octreeErrorLimit(float cellSize)
{
    return 0.01f * cellSize * cellSize;
}

/// Builds the tree and leaves the triangles in `state.output`. False when it was cancelled.
bool extractOctree(OtState &state);

/// Whether the inside corners of a cube are connected along its edges, and the outside corners too.
/// @param insideMask  bit n is set when corner n (numbered as OtNode's children) is inside
bool simpleConfig(unsigned insideMask);

} // namespace corvane::mesh
