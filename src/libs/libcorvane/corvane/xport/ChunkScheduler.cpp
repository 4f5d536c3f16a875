#include <corvane/xport/ChunkScheduler.h>

#include <QThread>

#include <cmath>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

constexpr int maxThreads = 1024;
constexpr int smallestSide = 4;
constexpr int defaultSide = 64;

bool isFinite(const QVector3D &v)
{
    return std::isfinite(v.x()) && std::isfinite(v.y()) && std::isfinite(v.z());
}

QString vectorText(const QVector3D &v)
{
    return u"(%1, %2, %3)"_s.arg(QString::number(v.x()), QString::number(v.y()),
                                 QString::number(v.z()));
}

QString countsText(const std::array<double, 3> &counts)
{
    return u"%1 x %2 x %3"_s.arg(QString::number(counts[0], 'g', 15),
                                 QString::number(counts[1], 'g', 15),
                                 QString::number(counts[2], 'g', 15));
}

QString boxError(const ExportRequest &request)
{
    if (!(request.cellSize > 0.0f) || !std::isfinite(request.cellSize))
        return u"The cell size must be a positive number, not %1"_s.arg(request.cellSize);
    const QVector3D &low = request.boundsMin;
    const QVector3D &high = request.boundsMax;
    const QString box = u"from %1 to %2"_s.arg(vectorText(low), vectorText(high));
    if (!isFinite(low) || !isFinite(high))
        return u"The export bounds %1 are not finite"_s.arg(box);
    if (high.x() < low.x() || high.y() < low.y() || high.z() < low.z())
        return u"The export bounds %1 are inverted: each maximum must be at least its minimum"_s
            .arg(box);
    return {};
}

} // namespace

void ChunkScheduler::estimateGridDimensions(const ExportRequest &request, int &nx, int &ny, int &nz)
{
    const ExportGrid grid = ExportGrid::of(request);
    nx = grid.nodes[0];
    ny = grid.nodes[1];
    nz = grid.nodes[2];
}

QString ChunkScheduler::gridError(const ExportRequest &request)
{
    const QString error = boxError(request);
    if (!error.isEmpty())
        return error;
    const std::array<double, 3> counts = ExportGrid::wantedNodes(request);
    const QString cellSize = QString::number(request.cellSize);
    if (*std::max_element(counts.begin(), counts.end()) > static_cast<double>(maxNodesPerAxis))
        return u"A cell size of %1 makes a grid of %2 nodes, and the limit is %3 nodes an axis"_s
            .arg(cellSize, countsText(counts), QString::number(maxNodesPerAxis));
    const double cells = (counts[0] - 1.0) * (counts[1] - 1.0) * (counts[2] - 1.0);
    if (cells > maxCells)
        return u"A cell size of %1 makes a grid of %2 nodes with %3 cells, and the limit is %4 cells"_s
            .arg(cellSize, countsText(counts), QString::number(cells, 'g', 15),
                 QString::number(maxCells, 'f', 0));
    return {};
}

int ChunkScheduler::resolveThreadCount(int threadCount)
{
    if (threadCount > 0)
        return std::min(threadCount, maxThreads);
    const int ideal = QThread::idealThreadCount();
    return ideal > 3 ? ideal / 2 : 1;
}

ChunkScheduler::ChunkScheduler(const ExportRequest &request, int threads)
    : m_grid(ExportGrid::of(request))
    , m_sealed(request.sealed)
    , m_cells{m_grid.cells(0), m_grid.cells(1), m_grid.cells(2)}
{
    m_side =
        chooseSide(request.chunkSize > 0 ? request.chunkSize : defaultSide, qint64(threads) * 4);
    for (std::size_t axis = 0; axis < 3; ++axis)
        m_counts[axis] = (m_cells[axis] + m_side - 1) / m_side;
}

qint64 ChunkScheduler::chunksAt(qint64 side) const
{
    qint64 count = 1;
    for (const qint64 cells : m_cells)
        count *= (cells + side - 1) / side;
    return count;
}

/// A small grid is divided further than asked for, so that all threads have work.
int ChunkScheduler::chooseSide(int wantedSide, qint64 wantedChunks) const
{
    qint64 side = std::min(wantedSide, maxSide);
    if (chunksAt(side) >= wantedChunks)
        return static_cast<int>(side);
    const qint64 largest = *std::max_element(m_cells.begin(), m_cells.end());
    const auto perAxis =
        static_cast<qint64>(std::ceil(std::cbrt(static_cast<double>(wantedChunks))));
    side = std::clamp<qint64>(largest / perAxis, smallestSide, maxSide);
    while (side > smallestSide && chunksAt(side) < wantedChunks)
        --side;
    return static_cast<int>(side);
}

ChunkJob ChunkScheduler::jobAt(qint64 index) const
{
    const std::array<qint64, 3> chunk{index % m_counts[0], index / m_counts[0] % m_counts[1],
                                      index / m_counts[0] / m_counts[1]};
    std::array<qint64, 3> first{};
    std::array<int, 3> nodes{};
    ChunkJob job{.cellSize = m_grid.cellSize};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        first[axis] = chunk[axis] * m_side;
        const qint64 last = std::min(first[axis] + m_side, m_cells[axis]);
        nodes[axis] = static_cast<int>(last - first[axis]) + 1;
        const int i = static_cast<int>(axis);
        job.origin[i] = m_grid.coordinate(i, first[axis]);
        job.maxCorner[i] = m_grid.coordinate(i, last);
        if (m_sealed && first[axis] == 0)
            job.sealFaces |= unsigned(SealLowX) << (2 * axis);
        if (m_sealed && last == m_cells[axis])
            job.sealFaces |= unsigned(SealHighX) << (2 * axis);
    }
    job.firstX = first[0];
    job.firstY = first[1];
    job.firstZ = first[2];
    job.nx = nodes[0];
    job.ny = nodes[1];
    job.nz = nodes[2];
    return job;
}

} // namespace corvane::xport
