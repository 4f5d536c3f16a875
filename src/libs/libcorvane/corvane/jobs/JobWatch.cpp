#include <corvane/jobs/JobWatch.h>

#include <batch/BatchQueue.h>

namespace corvane::jobs {

namespace {

bool isWanted(batch::BatchStatus status)
{
    return status == batch::BatchStatus::InProgress || status == batch::BatchStatus::Hung;
}

} // namespace

JobWatch::JobWatch(batch::BatchQueue *queue, quint64 jobId, QObject *parent)
    : QObject(parent)
{
    using batch::BatchQueue;
    connect(queue, &BatchQueue::jobStatusChanged, this,
            [this, jobId](quint64 id, batch::BatchStatus, batch::BatchStatus status) {
                if (id == jobId && !isWanted(status))
                    giveUp();
            });
    connect(queue, &BatchQueue::jobRemoved, this, [this, jobId](quint64 id) {
        if (id == jobId)
            giveUp();
    });
    connect(queue, &BatchQueue::cleared, this, &JobWatch::giveUp);
    // A cancel on another thread may have come before the connections.
    const auto job = queue->job(jobId);
    if (!job || !isWanted(job->status))
        giveUp();
}

void JobWatch::giveUp()
{
    if (!m_unwanted.exchange(true))
        emit unwanted();
}

bool JobWatch::isOver(const batch::BatchQueue &queue, quint64 jobId)
{
    const auto job = queue.job(jobId);
    return !job || batch::isTerminal(job->status);
}

} // namespace corvane::jobs
