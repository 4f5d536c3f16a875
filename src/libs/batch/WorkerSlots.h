#pragma once

#include <atomic>
#include <memory>

namespace batch {

/// How many jobs a worker runs, and may run, at once. The slot is free again when the last copy of
/// what take() answered is gone, which a job's task carries along to whichever thread it ends on:
///
///     bool canAccept() const override { return m_slots.isFree(); }
///     void execute(BatchQueue *queue, quint64 jobId) override
///     {
///         concurrency::startThread(m_thread, "Worker",
///                                  [=, slot = m_slots.take()] { work(queue, jobId); });
///     }
class WorkerSlots
{
public:
    explicit WorkerSlots(int limit)
        : m_limit(limit)
    {}

    bool isFree() const { return *m_taken < m_limit; } ///< any thread

    /// Takes a slot; the caller has asked isFree(). May outlive the worker.
    std::shared_ptr<void> take()
    {
        ++*m_taken;
        return {nullptr, [taken = m_taken](void *) { --*taken; }};
    }

private:
    const int m_limit;
    const std::shared_ptr<std::atomic<int>> m_taken = std::make_shared<std::atomic<int>>(0);
};

} // namespace batch
