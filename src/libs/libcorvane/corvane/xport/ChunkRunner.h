#pragma once

#include <corvane/xport/ChunkScheduler.h>
#include <corvane/xport/IChunkProcessor.h>

#include <concurrency/SharedLoop.h>

#include <QString>

#include <atomic>
#include <functional>
#include <mutex>

namespace corvane::xport {

/// Takes all chunks of a grid through a processor, on threads of its own.
class ChunkRunner
{
public:
    using Progress = std::function<void(qint64 done, qint64 total)>;

    /// @param processor  initialized; entered by all threads at once
    /// @param progress   called on the thread of run(), for each chunk in turn
    ChunkRunner(IChunkProcessor &processor, const ChunkScheduler &scheduler,
                const std::atomic_bool &cancelFlag, Progress progress);

    /// Returns when all threads are done: after the last chunk, the first error, or a cancel. Where
    /// no thread starts, the calling one does the work.
    void run(int threads);

    /// The first error; empty when there was none. A cancel is none.
    QString error() const { return m_error; }
    /// What the chunks gave; once, after run().
    GridSurface takeSurface() { return std::move(m_surface); }

private:
    void work();
    bool mayGoOn() const;
    void keep(qint64 index, const ChunkSurface &surface);
    void fail(const QString &error);

    IChunkProcessor &m_processor;
    const ChunkScheduler &m_scheduler;
    const std::atomic_bool &m_cancelFlag;
    Progress m_progress;
    const qint64 m_total;
    concurrency::SharedLoop m_loop;
    std::atomic_bool m_failed = false;

    GridSurface m_surface;

    std::mutex m_mutex; ///< of the error
    QString m_error;
};

} // namespace corvane::xport
