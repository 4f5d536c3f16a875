#pragma once

#include <corvane/xport/ChunkJob.h>
#include <corvane/xport/ExportGrid.h>

#include <array>

namespace corvane::xport {

/// Divides the grid of a request into chunks, at least four a thread where the grid is large
/// enough.
///
/// The jobs are numbered with X fastest and Z slowest and made when asked for, since a fine grid
/// has millions of them.
class ChunkScheduler
{
public:
    static constexpr qint64 maxNodesPerAxis = ExportGrid::maxNodesPerAxis;
    static constexpr double maxCells = 1e13;
    /// Chunks have no more cells a side than this, whatever the request says: their samples lie in
    /// memory.
    static constexpr int maxSide = 256;

    /// Node counts, see ExportGrid.
    static void estimateGridDimensions(const ExportRequest &request, int &nx, int &ny, int &nz);
    /// Why the grid of a request cannot be meshed, as a sentence; empty when it can.
    static QString gridError(const ExportRequest &request);
    /// A count above 0 as it is, within reason; else half the processors, or 1 where there are few.
    static int resolveThreadCount(int threadCount);

    /// For a request whose gridError() is empty.
    ChunkScheduler(const ExportRequest &request, int threads);

    qint64 count() const { return m_counts[0] * m_counts[1] * m_counts[2]; }
    /// Chunks along each axis.
    const std::array<qint64, 3> &counts() const { return m_counts; }
    /// Cells along a side of a chunk.
    int side() const { return m_side; }
    ChunkJob jobAt(qint64 index) const;

private:
    qint64 chunksAt(qint64 side) const;
    int chooseSide(int wantedSide, qint64 wantedChunks) const;

    ExportGrid m_grid;
    bool m_sealed;
    std::array<qint64, 3> m_cells{};
    std::array<qint64, 3> m_counts{};
    int m_side = 0;
};

} // namespace corvane::xport
