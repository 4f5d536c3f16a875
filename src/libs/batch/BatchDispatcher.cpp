#include "BatchDispatcher.h"

#include <optional>
#include <vector>

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

/// What the registry says of each type, asked once a tick unless it changes meanwhile. One for each
/// tick, since a worker may run an event loop in which the next one comes.
class BatchDispatcher::Candidates
{
public:
    explicit Candidates(const BatchWorkerRegistry &registry)
        : m_registry(registry)
        , m_revision(registry.revision())
    {}

    /// Valid until the next call.
    const QList<IBatchWorker *> &of(const JobType &type)
    {
        if (m_revision != m_registry.revision()) {
            m_byType.clear();
            m_revision = m_registry.revision();
        }
        if (m_byType.size() <= type.number)
            m_byType.resize(type.number + 1);
        auto &known = m_byType[type.number];
        if (!known)
            known = m_registry.candidatesFor(type.name);
        return *known;
    }

private:
    const BatchWorkerRegistry &m_registry;
    quint64 m_revision = 0;
    std::vector<std::optional<QList<IBatchWorker *>>> m_byType;
};

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
    Candidates candidates(*m_registry);
    m_queue->readyJobs().forEach([&](const ReadyJob &ready) { dispatch(ready, candidates); });
}

void BatchDispatcher::dispatch(const ReadyJob &ready, Candidates &candidates)
{
    if (ready.id == 0 || ready.type->name.isEmpty()) {
        qWarning("BatchDispatcher: skipping malformed job (id=%llu, type='%s')", ready.id,
                 qUtf8Printable(ready.type->name));
        return;
    }
    const QList<IBatchWorker *> &workers = candidates.of(*ready.type);
    const auto worker = std::find_if(workers.begin(), workers.end(), [&](IBatchWorker *candidate) {
        return candidate->canAcceptJob(*ready.job) && fits(*candidate, *ready.job);
    });
    if (worker == workers.end()) {
        emit noWorkerAvailable(ready.id, ready.type->name);
        return;
    }
    IBatchWorker *const chosen = *worker;
    const QString workerId = chosen->workerId();
    if (!m_queue->claim(ready.id, workerId))
        return;
    chosen->execute(m_queue, ready.id);
    emit dispatched(ready.id, workerId);
}

} // namespace batch
