#pragma once

#include <batch/BatchQueue.h>
#include <batch/IBatchWorker.h>

#include <QObject>
#include <QThread>

#include <atomic>
#include <functional>
#include <memory>

namespace lab {

/// A worker that does one job at a time on a thread of its own, its coordinator.
///
///     void Worker::execute(batch::BatchQueue *queue, quint64 jobId)
///     {
///         startCoordinator(u"Corvane.work"_s, [=, this] { work(queue, jobId); });
///     }
///
/// A subclass calls waitForCoordinator() in its destructor, before what the thread uses goes away.
class BatchWorkerBase : public QObject, public batch::IBatchWorker
{
    Q_OBJECT

public:
    explicit BatchWorkerBase(QObject *parent = nullptr);
    ~BatchWorkerBase() override;

    bool canAccept() const override { return !m_busy; }

protected:
    /// Takes the worker's slot and runs `function` on a new thread of that name; the slot is free
    /// again when the function has ended. False, and nothing is run, while the slot is taken, and
    /// when the system starts no further thread. Main thread.
    bool startCoordinator(const QString &name, std::function<void()> function);

    /// Blocks until the function has ended; at once if none runs. Main thread.
    void waitForCoordinator();

    /// Calls the work at a job; when it ends by an exception, out of memory as a rule, the job has
    /// failed. False then. On the coordinator's thread.
    static bool failUnlessGood(batch::BatchQueue *queue, quint64 id,
                               const std::function<void()> &work);

    /// Reports through the event loop of the queue's own thread: a coordinator that reports often
    /// does not run the queue's listeners. Posted calls keep their order. Any thread.
    static void postProgress(batch::BatchQueue *queue, quint64 id, qint32 current, qint32 total);
    static void postLog(batch::BatchQueue *queue, quint64 id, batch::BatchLogLevel level,
                        const QString &message);

private:
    std::atomic<bool> m_busy = false;
    std::unique_ptr<QThread> m_coordinator;
};

} // namespace lab
