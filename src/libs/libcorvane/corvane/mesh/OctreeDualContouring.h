#pragma once

#include <corvane/mesh/BitCube.h>
#include <corvane/mesh/CrossingTable.h>
#include <corvane/mesh/HermiteSample.h>
#include <corvane/mesh/QefSolver.h>
#include <corvane/mesh/Triangle.h>

#include <QList>
#include <QVector3D>

#include <array>
#include <atomic>
#include <cstdint>
#include <span>
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
    bool hasHidden = false; ///< its vertex is on an edge or a corner that its planes may not show
    std::size_t firstLeafVertex = 0; ///< of those that lie in it, in the order of the tree
    int vertex = -1; ///< a leaf that is not simple has one for each cycle (see CellCycles)
};

/// Dual contouring of an adaptive octree (Ju et al. 2002): flat regions merge to fewer, larger
/// cells.
///
/// Of the samples only the signs are kept, since the crossings are placed by the field itself. Call
/// setSide(), setRow() for all rows, prepareOctree() and extractOctree(). One instance serves one
/// thread.
struct OtState
{
    QVector3D origin{}; ///< of node (0, 0, 0), scene units
    float cellSize = 0.1f;
    float errorLimit = 0.0f;   ///< largest error of a merged cell, scene units squared
    float vertexMargin = 0.0f; ///< how far vertices keep from the faces of their cells, scene units
    int side = 0;              ///< nodes along one side: a power of two plus one
    BitCube inside;            ///< by node
    FieldFunction field;       ///< must have the signs that the rows had
    GradientFunction gradient;
    float iso = 0.0f;

    std::vector<OtNode> nodes;
    std::vector<QVector3D> vertices;
    std::vector<QVector3D> normals;      ///< at the vertices, as VertexPlacer has them
    std::vector<QVector3D> leafVertices; ///< in the order of the tree
    std::vector<QVector3D> leafNormals;
    std::vector<bool> leafIsHidden;
    std::size_t nextLeafVertex = 0;
    CrossingTable crossings;    ///< by edge, see OctreeDualContouring.cpp
    std::vector<BitCube> mixed; ///< by level: whether a cube of 2^level cells changes sign
    std::vector<std::array<int, 4>>
        quads; ///< vertices in a ring, normals out; a triangle names one twice
    QList<Triangle> output;
    const std::atomic_bool *cancel = nullptr;

    void setSide(int nodeCount);
    /// The values of the nodes (0, j, k) to (side - 1, j, k).
    void setRow(int j, int k, std::span<const float> values);

    bool isInside(int i, int j, int k) const { return inside.at(i, j, k); }
    bool isInGrid(int i, int j, int k) const
    {
        return i >= 0 && j >= 0 && k >= 0 && i < side && j < side && k < side;
    }
    QVector3D position(int i, int j, int k) const
    {
        return {origin.x() + cellSize * float(i), origin.y() + cellSize * float(j),
                origin.z() + cellSize * float(k)};
    }
};

/// The smallest power of two not below a number of cells.
qint64 octreeSide(qint64 cells);
/// The error limit of a merged cell.
inline float octreeErrorLimit(float cellSize)
{
    return 0.01f * cellSize * cellSize;
}

/// Bytes that the signs of a padded grid of so many cells a side take.
double octreeSignBytes(double cells);
/// Bytes that the tree over so many crossed cells takes at most, its triangles included.
double octreeTreeBytes(double crossedCells);

/// Finds the cells that the surface crosses. Returns how many they are, -1 when it was cancelled.
qint64 prepareOctree(OtState &state);
/// Builds the tree and leaves the triangles in `state.output`. False when it was cancelled.
bool extractOctree(OtState &state);

/// Whether the inside corners of a cube are connected along its edges, and the outside corners too.
/// @param insideMask  bit n is set when corner n (numbered as OtNode's children) is inside
bool simpleConfig(unsigned insideMask);

} // namespace corvane::mesh
