#include <corvane/xport/ChunkRunner.h>

#include <corvane/xport/MemoryBudget.h>
#include <corvane/xport/MeshBuilder.h>

#include <utility>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

// What the surface takes is known when it is there. A look at the memory that is left costs some
// microseconds.
constexpr qint64 trianglesPerLook = 1 << 20;

/// Of triangles that are there already, so that what is still to come counts.
QString memoryErrorOf(qint64 triangles)
{
    const double each = MeshBuilder::bytesEach() - sizeof(GridSurface::Corners);
    return memoryError(u"A mesh of more than %1 triangles"_s.arg(triangles),
                       static_cast<double>(triangles) * each, availableMemory());
}

} // namespace

ChunkRunner::ChunkRunner(IChunkProcessor &processor, const ChunkScheduler &scheduler,
                         const std::atomic_bool &cancelFlag, Progress progress)
    : m_processor(processor)
    , m_scheduler(scheduler)
    , m_cancelFlag(cancelFlag)
    , m_progress(std::move(progress))
    , m_total(scheduler.count())
    , m_loop(m_total)
    , m_surface(scheduler.counts())
{}

void ChunkRunner::run(int threads)
{
    m_loop.run(
        "Ondrel.corvane.mesh-export", threads, [this] { work(); },
        [this](qint64 done) { m_progress(done, m_total); });
}

/// One thread: takes the next chunk until there is none.
void ChunkRunner::work()
{
    ChunkSurface surface; // one for all chunks: its memory stays warm
    for (qint64 index = m_loop.next(); index >= 0 && mayGoOn(); index = m_loop.next()) {
        QString error;
        surface.triangles.resize(0);
        surface.rowEnds.resize(0);
        if (m_processor.processChunk(m_scheduler.jobAt(index), m_cancelFlag, surface, error))
            keep(index, surface);
        else if (!error.isEmpty())
            fail(m_processor.failureText().arg(error));
    }
}

bool ChunkRunner::mayGoOn() const
{
    return !m_cancelFlag.load(std::memory_order_relaxed) &&
           !m_failed.load(std::memory_order_relaxed);
}

void ChunkRunner::keep(qint64 index, const ChunkSurface &surface)
{
    const qint64 count = m_surface.insert(index, surface);
    m_loop.finishOne();
    if (count > GridSurface::maxTriangles)
        fail(u"The surface has more than %1 triangles: use a larger cell size"_s.arg(
            GridSurface::maxTriangles));
    else if (count / trianglesPerLook != (count - surface.triangles.size()) / trianglesPerLook)
        fail(memoryErrorOf(count));
}

void ChunkRunner::fail(const QString &error)
{
    if (error.isEmpty())
        return;
    bool expected = false;
    if (!m_failed.compare_exchange_strong(expected, true))
        return;
    const std::lock_guard lock(m_mutex);
    m_error = error;
}

} // namespace corvane::xport
