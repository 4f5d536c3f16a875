#include <corvane/xport/GridSurface.h>

namespace corvane::xport {

namespace {

qsizetype sliceCount(const ChunkSurface &chunk)
{
    return chunk.rowEnds.size() / chunk.rowsPerSlice;
}

void visitRow(const ChunkSurface &chunk, qsizetype row, const GridSurface::Visit &visit)
{
    if (row >= chunk.rowEnds.size())
        return;
    const int begin = row == 0 ? 0 : chunk.rowEnds.at(row - 1);
    const int end = chunk.rowEnds.at(row);
    if (end > begin)
        visit(
            std::span(chunk.triangles.constData() + begin, static_cast<std::size_t>(end - begin)));
}

} // namespace

void GridSurface::insert(qint64 chunkIndex, ChunkSurface surface)
{
    if (surface.triangles.isEmpty())
        return;
    if (surface.rowEnds.isEmpty() || surface.rowsPerSlice < 1) {
        surface.rowEnds = {static_cast<int>(surface.triangles.size())};
        surface.rowsPerSlice = 1;
    }
    m_triangleCount += surface.triangles.size();
    m_chunks.emplace(chunkIndex, std::move(surface));
}

void GridSurface::drain(const Visit &visit) &&
{
    const qint64 perLayer = m_chunkCounts[0] * m_chunkCounts[1];
    while (!m_chunks.empty()) {
        const qint64 layer = m_chunks.begin()->first / perLayer;
        const auto last = m_chunks.lower_bound((layer + 1) * perLayer);
        visitLayer(m_chunks.cbegin(), last, visit);
        m_chunks.erase(m_chunks.cbegin(), last);
    }
    m_triangleCount = 0;
}

/// Slice by slice of cells; within a slice by rows, which go through all chunks beside each other
/// in X.
void GridSurface::visitLayer(Chunks::const_iterator first, Chunks::const_iterator last,
                             const Visit &visit) const
{
    qsizetype slices = 0;
    for (auto chunk = first; chunk != last; ++chunk)
        slices = std::max(slices, sliceCount(chunk->second));
    for (qsizetype slice = 0; slice < slices; ++slice) {
        for (auto chunk = first; chunk != last;) {
            const qint64 strip = chunk->first / m_chunkCounts[0];
            auto next = chunk;
            while (next != last && next->first / m_chunkCounts[0] == strip)
                ++next;
            const int rows = chunk->second.rowsPerSlice;
            for (int row = 0; row < rows; ++row)
                for (auto beside = chunk; beside != next; ++beside)
                    visitRow(beside->second, slice * rows + row, visit);
            chunk = next;
        }
    }
}

} // namespace corvane::xport
