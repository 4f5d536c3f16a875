#pragma once

#include <corvane/mesh/Triangle.h>

#include <QList>

#include <array>
#include <functional>
#include <map>
#include <span>

namespace corvane::xport {

/// The surface in one chunk.
struct ChunkSurface
{
    QList<mesh::Triangle> triangles; ///< in the order of the cells, X fastest and Z slowest
    /// How many triangles there are up to the end of each row of cells, slice after slice. Without
    /// it the whole chunk counts as one row.
    QList<int> rowEnds;
    int rowsPerSlice = 0;
};

/// The surface in a grid, handed in by chunks in any order and handed out by rows of cells.
///
/// The order of triangles in a file is so that of the cells they lie in, and has nothing to do with
/// how the grid was divided or which thread was first.
class GridSurface
{
public:
    using Visit = std::function<void(std::span<const mesh::Triangle>)>;

    /// More triangles than this have more vertices than an index can number.
    static constexpr qint64 maxTriangles = 2147483647 / 3;

    /// @param chunkCounts  chunks along each axis
    explicit GridSurface(const std::array<qint64, 3> &chunkCounts = {1, 1, 1})
        : m_chunkCounts(chunkCounts)
    {}

    /// A chunk without triangles takes no memory.
    void insert(qint64 chunkIndex, ChunkSurface surface);
    qint64 triangleCount() const { return m_triangleCount; }

    /// Visits all triangles, a row of a chunk at a time, and lets each layer of chunks go after its
    /// visit.
    void drain(const Visit &visit) &&;

private:
    using Chunks = std::map<qint64, ChunkSurface>;
    void visitLayer(Chunks::const_iterator first, Chunks::const_iterator last,
                    const Visit &visit) const;

    std::array<qint64, 3> m_chunkCounts;
    Chunks m_chunks; ///< those with triangles, by number: X fastest and Z slowest
    qint64 m_triangleCount = 0;
};

} // namespace corvane::xport
