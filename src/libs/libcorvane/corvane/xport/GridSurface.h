#pragma once

#include <corvane/mesh/Triangle.h>
#include <corvane/xport/CornerStore.h>

#include <QList>
#include <QMutex>

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <vector>

namespace corvane::xport {

/// The surface in one chunk.
struct ChunkSurface
{
    QList<mesh::Triangle> triangles; ///< in the order of the cells, X fastest and Z slowest
    /// How many triangles there are up to the end of each row of cells, slice after slice. Without
    /// it the chunk counts as one column of cells.
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
    using Corners = CornerStore::Corners;
    using Visit = std::function<void(std::span<const Corners>)>;

    /// More triangles than this have more vertices than an index can number.
    static constexpr qint64 maxTriangles = 2147483647 / 3;

    /// @param chunkCounts  chunks along each axis
    explicit GridSurface(const std::array<qint64, 3> &chunkCounts = {1, 1, 1});

    /// Takes a copy of the corners of a chunk's triangles. From any thread, several at once. A
    /// chunk without triangles takes no memory.
    /// @return  how many triangles there are now
    qint64 insert(qint64 chunkIndex, const ChunkSurface &surface);
    qint64 triangleCount() const { return m_triangleCount; }

    /// A piece of the surface that is handed out at a time: one slice of cells, along Z, of a layer
    /// of chunks.
    struct Slice
    {
        qint64 begin = 0; ///< number of its first triangle
        qint64 count = 0;
        std::size_t firstChunk = 0, endChunk = 0; ///< of the layer, in the order of their numbers
        qsizetype index = 0;                      ///< within the layer
    };

    /// All slices that have triangles, in their order. Not while chunks are handed in.
    std::vector<Slice> slices() const;
    /// Visits the triangles of a slice, a row of a chunk at a time. From any thread.
    void visit(const Slice &slice, const Visit &visit) const;

private:
    struct Chunk
    {
        qint64 number = 0;
        std::span<const Corners> triangles;
        std::vector<int> rowEnds;
        int rowsPerSlice = 1;

        qsizetype sliceCount() const { return qsizetype(rowEnds.size()) / rowsPerSlice; }
        /// How many triangles there are before a row; before the last and all after it: all.
        int countBefore(qsizetype row) const;
    };
    void appendSlices(std::size_t firstChunk, std::size_t endChunk,
                      std::vector<Slice> &slices) const;

    std::array<qint64, 3> m_chunkCounts;
    std::unique_ptr<QMutex> m_mutex; ///< of all below
    CornerStore m_store;
    std::vector<Chunk> m_chunks; ///< those with triangles, by number: X fastest and Z slowest
    qint64 m_triangleCount = 0;
};

} // namespace corvane::xport
