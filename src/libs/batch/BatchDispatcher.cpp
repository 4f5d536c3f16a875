#include "BatchDispatcher.h"

namespace batch {

namespace {

bool fits(const IBatchWorker &worker, const BatchJob &job)
{
    if (!job.requiredTags.isEmpty()) {
        const QStringList tags = worker.workerTags();
        const auto hasTag = [&](const QString &tag) { return tags.contains(tag); };
        if (!std::all_of(job.requiredTags.begin(), job.requiredTags.end(), hasTag))
            return false;
    }
    return job.minWorkerVersion.isEmpty() || !(worker.workerVersion() < job.minWorkerVersion);
}

} // namespace

BatchDispatcher::BatchDispatcher(BatchQueue *queue, BatchWorkerRegistry *registry, QObject *parent)
    : QObject(parent)
    , m_queue(queue)
    , m_registry(registry)
{
    connect(&m_timer, &QTimer::timeout, this, &BatchDispatcher::onTimer);
    start();
}

void BatchDispatcher::start(std::chrono::milliseconds interval)
{
    m_timer.start(interval);
}

void BatchDispatcher::stop()
{
    m_timer.stop();
}

void BatchDispatcher::onTimer()
{
    const std::vector<BatchQueue::SharedJob> ready = m_queue->readyJobs();
    for (const BatchQueue::SharedJob &job : ready)
        dispatch(*job);
}

void BatchDispatcher::dispatch(const BatchJob &job)
{
    if (job.id == 0 || job.type.isEmpty()) {
        qWarning("BatchDispatcher: skipping malformed job (id=%llu, type='%s')", job.id,
                 qUtf8Printable(job.type));
        return;
    }
    IBatchWorker *const worker = workerFor(job);
    if (!worker) {
        emit noWorkerAvailable(job.id, job.type);
        return;
    }
    const QString workerId = worker->workerId();
    if (!m_queue->claim(job.id, workerId))
        return;
    worker->execute(m_queue, job.id);
    emit dispatched(job.id, workerId);
}

IBatchWorker *BatchDispatcher::workerFor(const BatchJob &job)
{
    // A copy that shares: a worker's answer may change the registry.
    const QList<IBatchWorker *> candidates = candidatesFor(job.type);
    for (IBatchWorker *const worker : candidates)
        if (worker->canAcceptJob(job) && fits(*worker, job))
            return worker;
    return nullptr;
}

const QList<IBatchWorker *> &BatchDispatcher::candidatesFor(const QString &type)
{
    // Types are few, but nothing stops a producer from inventing one for each job.
    constexpr qsizetype mostTypes = 1000;
    if (m_revision != m_registry->revision() || m_candidates.size() > mostTypes) {
        m_candidates.clear();
        m_revision = m_registry->revision();
    }
    const auto known = m_candidates.constFind(type);
    return known != m_candidates.constEnd()
               ? *known
               : *m_candidates.insert(type, m_registry->candidatesFor(type));
}

} // namespace batch
