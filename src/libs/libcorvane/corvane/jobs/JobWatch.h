#pragma once

#include <QObject>

#include <atomic>

namespace batch {
class BatchQueue;
}

namespace corvane::jobs {

/// Follows one running job, for a worker that should stop when nobody wants the outcome any more:
/// when the job was cancelled, removed, or put back to wait. A hung job is still wanted.
///
/// Made on the worker's thread by execute() and dropped there. Only wanted() and flag() are for
/// other threads.
class JobWatch : public QObject
{
    Q_OBJECT

public:
    JobWatch(batch::BatchQueue *queue, quint64 jobId, QObject *parent = nullptr);

    bool wanted() const { return !m_unwanted.load(); }
    /// True once the job is not wanted.
    const std::atomic_bool &flag() const { return m_unwanted; }

    /// Says so without the queue: the worker itself goes away.
    void giveUp();

    /// Whether nothing more will come of a job, so that its context is of no more use: it has ended
    /// or is gone. One that hangs or waits for its second try has not. Any thread.
    static bool isOver(const batch::BatchQueue &queue, quint64 jobId);

signals:
    /// Once, when the job ceases to be wanted.
    void unwanted();

private:
    std::atomic_bool m_unwanted = false;
};

} // namespace corvane::jobs
