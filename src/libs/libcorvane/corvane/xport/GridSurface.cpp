#include <corvane/xport/GridSurface.h>

#include <algorithm>

namespace corvane::xport {

namespace {

constexpr int columnPiece = 32'768;

/// The row ends of a chunk that has none: pieces that several threads can share.
std::vector<int> piecesOf(qsizetype triangles)
{
    std::vector<int> ends;
    for (qsizetype end = columnPiece; end < triangles; end += columnPiece)
        ends.push_back(int(end));
    ends.push_back(int(triangles));
    return ends;
}

} // namespace

GridSurface::GridSurface(const std::array<qint64, 3> &chunkCounts)
    : m_chunkCounts(chunkCounts)
    , m_mutex(std::make_unique<QMutex>())
{}

qint64 GridSurface::insert(qint64 chunkIndex, const ChunkSurface &surface)
{
    const auto count = static_cast<std::size_t>(surface.triangles.size());
    std::span<Corners> room;
    {
        const QMutexLocker lock(m_mutex.get());
        if (count == 0)
            return m_triangleCount;
        room = m_store.take(count);
    }
    std::ranges::transform(surface.triangles, room.begin(), &mesh::Triangle::vertices);
    Chunk chunk{.number = chunkIndex,
                .triangles = room,
                .rowEnds = {surface.rowEnds.begin(), surface.rowEnds.end()},
                .rowsPerSlice = surface.rowsPerSlice};
    if (chunk.rowEnds.empty() || chunk.rowsPerSlice < 1) {
        chunk.rowEnds = piecesOf(surface.triangles.size());
        chunk.rowsPerSlice = 1;
    }
    const QMutexLocker lock(m_mutex.get());
    const auto place = std::ranges::upper_bound(m_chunks, chunkIndex, {}, &Chunk::number);
    m_chunks.insert(place, std::move(chunk));
    m_triangleCount += static_cast<qint64>(count);
    return m_triangleCount;
}

int GridSurface::Chunk::countBefore(qsizetype row) const
{
    if (row == 0)
        return 0;
    return rowEnds[static_cast<std::size_t>(std::min(row, qsizetype(rowEnds.size())) - 1)];
}

std::vector<GridSurface::Slice> GridSurface::slices() const
{
    const qint64 perLayer = m_chunkCounts[0] * m_chunkCounts[1];
    std::vector<Slice> slices;
    for (std::size_t first = 0; first < m_chunks.size();) {
        const qint64 layer = m_chunks[first].number / perLayer;
        std::size_t end = first + 1;
        while (end < m_chunks.size() && m_chunks[end].number / perLayer == layer)
            ++end;
        appendSlices(first, end, slices);
        first = end;
    }
    return slices;
}

void GridSurface::appendSlices(std::size_t firstChunk, std::size_t endChunk,
                               std::vector<Slice> &slices) const
{
    const auto layer = std::span(m_chunks).subspan(firstChunk, endChunk - firstChunk);
    qsizetype sliceCount = 0;
    for (const Chunk &chunk : layer)
        sliceCount = std::max(sliceCount, chunk.sliceCount());
    for (qsizetype index = 0; index < sliceCount; ++index) {
        Slice slice{.begin = slices.empty() ? 0 : slices.back().begin + slices.back().count,
                    .firstChunk = firstChunk,
                    .endChunk = endChunk,
                    .index = index};
        for (const Chunk &chunk : layer)
            slice.count += chunk.countBefore((index + 1) * chunk.rowsPerSlice) -
                           chunk.countBefore(index * chunk.rowsPerSlice);
        if (slice.count > 0)
            slices.push_back(slice);
    }
}

/// By rows, which go through all chunks beside each other in X.
void GridSurface::visit(const Slice &slice, const Visit &visit) const
{
    for (std::size_t first = slice.firstChunk; first < slice.endChunk;) {
        const qint64 strip = m_chunks[first].number / m_chunkCounts[0];
        std::size_t end = first + 1;
        while (end < slice.endChunk && m_chunks[end].number / m_chunkCounts[0] == strip)
            ++end;
        const qsizetype rows = m_chunks[first].rowsPerSlice;
        for (qsizetype row = slice.index * rows; row < (slice.index + 1) * rows; ++row) {
            for (std::size_t beside = first; beside < end; ++beside) {
                const Chunk &chunk = m_chunks[beside];
                const auto begin = static_cast<std::size_t>(chunk.countBefore(row));
                const auto last = static_cast<std::size_t>(chunk.countBefore(row + 1));
                if (last > begin)
                    visit(chunk.triangles.subspan(begin, last - begin));
            }
        }
        first = end;
    }
}

} // namespace corvane::xport
