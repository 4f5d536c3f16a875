#pragma once

#include <batch/BatchJob.h>

namespace batch {

class BatchQueue;

/// Someone who carries out jobs of certain types. Workers belong to whoever makes them; the
/// registry only points to them.
///
/// All functions are called on the dispatcher's thread, which is the main thread. canAccept()
/// answers from an atomic, since a worker lowers its count of running jobs on its own threads.
class IBatchWorker
{
public:
    virtual ~IBatchWorker() = default;

    virtual QString workerId() const = 0; ///< unique; stands in BatchJob::workerId
    virtual QString workerVersion() const = 0;
    virtual QStringList workerTags() const = 0;

    /// Exact job types, or prefixes that end in "*". A prefix serves only types that no worker
    /// names exactly.
    virtual QStringList supportedTypes() const = 0;

    virtual bool canAccept() const = 0; ///< is a slot free now?

    /// Whether this very job could be taken now. A worker may look at the job.
    virtual bool canAcceptJob(const BatchJob &job) const
    {
        Q_UNUSED(job)
        return canAccept();
    }

    /// Begins the job, which the dispatcher has just claimed for this worker, and comes back at
    /// once: long work goes on elsewhere and ends in queue->complete() or queue->fail(). A job that
    /// the queue no longer knows is failed with "Job not found".
    virtual void execute(BatchQueue *queue, quint64 jobId) = 0;
};

} // namespace batch

Q_DECLARE_METATYPE(batch::IBatchWorker *)
