#include <corvane/xport/ChunkRunner.h>

#include <QFuture>
#include <QThreadPool>
#include <QtConcurrentRun>

#include <utility>

namespace corvane::xport {

using namespace Qt::StringLiterals;

ChunkRunner::ChunkRunner(IChunkProcessor &processor, const ChunkScheduler &scheduler,
                         const std::atomic_bool &cancelFlag, Progress progress)
    : m_processor(processor)
    , m_scheduler(scheduler)
    , m_cancelFlag(cancelFlag)
    , m_progress(std::move(progress))
    , m_total(scheduler.count())
    , m_surface(scheduler.counts())
{}

void ChunkRunner::run(int threads)
{
    QThreadPool pool;
    pool.setObjectName(u"Ondrel.corvane.mesh-export"_s);
    pool.setMaxThreadCount(threads);
    // All are counted before the first one starts: it may be done before the next one does.
    const int count = static_cast<int>(std::min<qint64>(threads, m_total));
    m_working = count;
    QList<QFuture<void>> workers;
    for (int i = 0; i < count; ++i)
        workers.append(QtConcurrent::run(&pool, [this] { work(); }));
    reportUntilDone();
    for (QFuture<void> &worker : workers)
        worker.waitForFinished();
}

/// One thread: takes the next chunk until there is none.
void ChunkRunner::work()
{
    ChunkSurface surface; // one for all chunks: its memory stays warm
    for (qint64 index = m_next++; index < m_total && mayGoOn(); index = m_next++) {
        QString error;
        surface.triangles.resize(0);
        surface.rowEnds.resize(0);
        if (m_processor.processChunk(m_scheduler.jobAt(index), m_cancelFlag, surface, error))
            keep(index, surface);
        else if (!error.isEmpty())
            fail(error);
    }
    const std::lock_guard lock(m_mutex);
    --m_working;
    m_changed.notify_all();
}

bool ChunkRunner::mayGoOn() const
{
    return !m_cancelFlag.load(std::memory_order_relaxed) &&
           !m_failed.load(std::memory_order_relaxed);
}

void ChunkRunner::keep(qint64 index, const ChunkSurface &surface)
{
    const qint64 count = m_surface.insert(index, surface);
    {
        const std::lock_guard lock(m_mutex);
        ++m_done;
        m_changed.notify_all();
    }
    if (count > GridSurface::maxTriangles)
        fail(u"the surface has more than %1 triangles"_s.arg(GridSurface::maxTriangles));
}

void ChunkRunner::fail(const QString &error)
{
    bool expected = false;
    if (!m_failed.compare_exchange_strong(expected, true))
        return;
    const std::lock_guard lock(m_mutex);
    m_error = error;
}

/// Reports from this one thread, so that the numbers rise one by one.
void ChunkRunner::reportUntilDone()
{
    qint64 reported = 0;
    bool working = true;
    while (working) {
        qint64 done = 0;
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [&] { return m_done != reported || m_working == 0; });
            done = m_done;
            working = m_working > 0;
        }
        while (reported < done)
            m_progress(++reported, m_total);
    }
}

} // namespace corvane::xport
