#include "BatchQueue.h"

#include "JobTable.h"

#include <QMutexLocker>

#include <iterator>

using namespace Qt::StringLiterals;

namespace batch {

namespace {

constexpr int hungCheckMilliseconds = 5000;

QList<BatchJob> copied(const std::vector<BatchQueue::SharedJob> &shared)
{
    QList<BatchJob> jobs;
    jobs.reserve(qsizetype(shared.size()));
    for (const BatchQueue::SharedJob &job : shared)
        jobs.append(*job);
    return jobs;
}

bool isHung(const BatchJob &job, const QDateTime &now)
{
    if (job.hungTimeoutSeconds <= 0 || !job.startedAt.isValid())
        return false;
    const bool heartbeatIsLater = job.updatedAt.isValid() && job.updatedAt > job.startedAt;
    const QDateTime lastSign = heartbeatIsLater ? job.updatedAt : job.startedAt;
    return lastSign.secsTo(now) > job.hungTimeoutSeconds;
}

} // namespace

// ------------------------------------------------------------------ changes of state

/// What came of an attempt to move a job. Warnings are written from it after the lock is released,
/// since a message handler may ask the queue.
struct BatchQueue::Transition
{
    bool known = false;
    bool made = false;
    BatchStatus before = BatchStatus::Pending;

    /// Answers whether the move was made; warns if not.
    bool orWarn(const char *operation, quint64 id, const char *expected) const
    {
        if (!known)
            qWarning("BatchQueue::%s: job %llu not found", operation, id);
        else if (!made)
            qWarning("BatchQueue::%s: job %llu is %s, expected %s", operation, id,
                     qUtf8Printable(batchStatusToString(before)), expected);
        return made;
    }
};

/// Puts a job from one of the states `from` to `to`; `edit` changes the rest of the record.
template<typename Edit>
BatchQueue::Transition BatchQueue::changeState(quint64 id, std::initializer_list<BatchStatus> from,
                                               BatchStatus to, Edit edit)
{
    Transition transition;
    {
        const QMutexLocker lock(&m_mutex);
        const SharedJob old = m_table->job(id);
        if (!old)
            return transition;
        transition.known = true;
        transition.before = old->status;
        if (std::find(from.begin(), from.end(), old->status) == from.end())
            return transition;
        BatchJob job = *old;
        job.status = to;
        job.updatedAt = m_clock();
        edit(job);
        m_table->replace(std::move(job));
        transition.made = true;
    }
    announce(id, transition.before, to);
    return transition;
}

void BatchQueue::announce(quint64 id, BatchStatus oldStatus, BatchStatus newStatus)
{
    emit jobStatusChanged(id, oldStatus, newStatus);
    emit jobChanged(id);
}

BatchQueue::BatchQueue(QObject *parent)
    : BatchQueue(&QDateTime::currentDateTimeUtc, parent)
{}

BatchQueue::BatchQueue(UtcClock clock, QObject *parent)
    : QObject(parent)
    , m_clock(std::move(clock))
    , m_table(std::make_unique<JobTable>())
{
    // Under the names that they have in signals, for receivers on other threads.
    qRegisterMetaType<BatchJob>();
    qRegisterMetaType<BatchJobLog>();
    qRegisterMetaType<BatchStatus>();
    connect(&m_hungTimer, &QTimer::timeout, this, &BatchQueue::checkHungJobs);
    m_hungTimer.start(hungCheckMilliseconds);
}

BatchQueue::~BatchQueue() = default;

quint64 BatchQueue::submit(BatchJob job)
{
    quint64 id = 0;
    {
        const QMutexLocker lock(&m_mutex);
        job.status = BatchStatus::Pending;
        job.createdAt = m_clock();
        job.updatedAt = job.createdAt;
        id = m_table->insert(std::move(job));
    }
    emit jobSubmitted(id);
    return id;
}

bool BatchQueue::claim(quint64 id, const QString &workerId)
{
    const auto edit = [&](BatchJob &job) {
        job.workerId = workerId;
        job.startedAt = job.updatedAt;
    };
    return changeState(id, {BatchStatus::Pending}, BatchStatus::InProgress, edit)
        .orWarn("claim", id, "Pending");
}

bool BatchQueue::complete(quint64 id, const QVariantMap &result)
{
    const auto edit = [&](BatchJob &job) {
        job.result = result;
        job.completedAt = job.updatedAt;
    };
    if (!changeState(id, {BatchStatus::InProgress}, BatchStatus::Done, edit)
             .orWarn("complete", id, "InProgress"))
        return false;
    cascadeDependencies(id);
    return true;
}

bool BatchQueue::fail(quint64 id, const QString &error)
{
    const auto edit = [&](BatchJob &job) {
        job.error = error;
        job.completedAt = job.updatedAt;
    };
    if (!changeState(id, {BatchStatus::InProgress}, BatchStatus::Failed, edit)
             .orWarn("fail", id, "InProgress"))
        return false;
    cascadeDependencies(id);
    return true;
}

bool BatchQueue::cancel(quint64 id)
{
    const auto edit = [](BatchJob &job) {
        job.error = u"Cancelled by user"_s;
        job.completedAt = job.updatedAt;
    };
    const Transition transition =
        changeState(id, {BatchStatus::Pending, BatchStatus::InProgress, BatchStatus::Hung},
                    BatchStatus::Cancelled, edit);
    if (transition.known && !transition.made) {
        qWarning("BatchQueue::cancel: job %llu is already terminal (%s)", id,
                 qUtf8Printable(batchStatusToString(transition.before)));
        return false;
    }
    if (!transition.orWarn("cancel", id, ""))
        return false;
    cascadeDependencies(id);
    return true;
}

void BatchQueue::retry(quint64 id)
{
    const auto edit = [](BatchJob &job) {
        job.workerId.clear();
        job.error.clear();
        job.startedAt = {};
        job.completedAt = {};
    };
    changeState(id, {BatchStatus::Hung, BatchStatus::Failed}, BatchStatus::Pending, edit)
        .orWarn("retry", id, "Hung or Failed");
}

// Depth first, as a recursion would go, but with a stack of its own: a chain of dependents may be
// as long as the queue.
void BatchQueue::cascadeDependencies(quint64 id)
{
    std::vector<quint64> waiting;
    const auto failDependents = [&](quint64 of) {
        const std::vector<quint64> failed = failDependentsOf(of);
        waiting.insert(waiting.end(), failed.rbegin(), failed.rend());
    };
    failDependents(id);
    while (!waiting.empty()) {
        const quint64 next = waiting.back();
        waiting.pop_back();
        announce(next, BatchStatus::Pending, BatchStatus::Failed);
        failDependents(next);
    }
}

std::vector<quint64> BatchQueue::failDependentsOf(quint64 id)
{
    std::vector<quint64> failed;
    const QMutexLocker lock(&m_mutex);
    for (const quint64 dependent : m_table->dependentsOf(id)) {
        if (!m_table->isDoomed(dependent))
            continue;
        BatchJob job = *m_table->job(dependent);
        const auto isFailed = [this](quint64 dependency) {
            return m_table->job(dependency)->status == BatchStatus::Failed;
        };
        const auto last = std::find_if(job.dependsOn.crbegin(), job.dependsOn.crend(), isFailed);
        job.error = u"Dependency failed: job #%1"_s.arg(*last);
        job.status = BatchStatus::Failed;
        job.completedAt = m_clock();
        job.updatedAt = job.completedAt;
        m_table->replace(std::move(job));
        failed.push_back(dependent);
    }
    return failed;
}

void BatchQueue::checkHungJobs()
{
    std::vector<quint64> hung;
    {
        const QMutexLocker lock(&m_mutex);
        const QDateTime now = m_clock();
        for (const quint64 id : m_table->idsIn(BatchStatus::InProgress))
            if (isHung(*m_table->job(id), now))
                hung.push_back(id);
        for (const quint64 id : hung) {
            BatchJob job = *m_table->job(id);
            job.status = BatchStatus::Hung;
            job.updatedAt = now;
            m_table->replace(std::move(job));
        }
    }
    for (const quint64 id : hung)
        announce(id, BatchStatus::InProgress, BatchStatus::Hung);
}

// ------------------------------------------------------------------ progress and log

void BatchQueue::setProgress(quint64 id, qint32 current, qint32 total)
{
    bool known = false;
    {
        const QMutexLocker lock(&m_mutex);
        if (JobTable::Entry *const entry = m_table->find(id)) {
            known = true;
            entry->progress = {current, total};
            BatchJob job = *entry->job;
            job.updatedAt = m_clock();
            m_table->replace(std::move(job));
        }
    }
    if (known)
        emit jobProgressChanged(id, current, total);
    else
        qWarning("BatchQueue::setProgress: dropping progress for unknown jobId %llu", id);
}

BatchQueue::Progress BatchQueue::progress(quint64 id) const
{
    const QMutexLocker lock(&m_mutex);
    const JobTable::Entry *const entry = m_table->find(id);
    return entry ? entry->progress : Progress(0, 0);
}

void BatchQueue::appendLog(quint64 id, BatchLogLevel level, const QString &message,
                           const QVariantMap &metadata)
{
    BatchJobLog line{.id = 0,
                     .jobId = id,
                     .level = level,
                     .message = message,
                     .metadata = metadata,
                     .timestamp = {}};
    {
        const QMutexLocker lock(&m_mutex);
        if (JobTable::Entry *const entry = m_table->find(id)) {
            line.id = m_nextLogId++;
            line.timestamp = m_clock();
            if (entry->logs.size() >= mostLogLines)
                entry->logs.removeFirst();
            entry->logs.append(line);
        }
    }
    if (line.id != 0)
        emit jobLogAppended(id, line);
    else
        qWarning("BatchQueue::appendLog: dropping log for unknown jobId %llu (level=%d): %s", id,
                 int(level), qUtf8Printable(message));
}

QList<BatchJobLog> BatchQueue::logs(quint64 id) const
{
    const QMutexLocker lock(&m_mutex);
    const JobTable::Entry *const entry = m_table->find(id);
    return entry ? entry->logs : QList<BatchJobLog>();
}

// ------------------------------------------------------------------ questions

std::optional<BatchJob> BatchQueue::job(quint64 id) const
{
    SharedJob shared;
    {
        const QMutexLocker lock(&m_mutex);
        shared = m_table->job(id);
    }
    return shared ? std::optional<BatchJob>(*shared) : std::nullopt;
}

QList<BatchJob> BatchQueue::jobs(const BatchJobFilter &filter) const
{
    std::vector<SharedJob> found;
    {
        const QMutexLocker lock(&m_mutex);
        found = m_table->matching(filter);
    }
    return copied(found);
}

qsizetype BatchQueue::count(BatchStatus status) const
{
    const QMutexLocker lock(&m_mutex);
    return qsizetype(m_table->idsIn(status).size());
}

ReadySnapshot BatchQueue::readyJobs() const
{
    const QMutexLocker lock(&m_mutex);
    return m_table->ready();
}

QList<BatchJob> BatchQueue::pendingJobs(const QString &type) const
{
    QList<BatchJob> jobs;
    readyJobs().forEach([&](const ReadyJob &ready) {
        if (type.isEmpty() || ready.type->name == type)
            jobs.append(*ready.job);
    });
    return jobs;
}

// ------------------------------------------------------------------ removal

void BatchQueue::clearDone()
{
    std::vector<quint64> removed;
    {
        const QMutexLocker lock(&m_mutex);
        const std::set<quint64> &done = m_table->idsIn(BatchStatus::Done);
        removed.assign(done.begin(), done.end());
        for (const quint64 id : removed)
            m_table->remove(id);
    }
    for (const quint64 id : removed)
        emit jobRemoved(id);
}

void BatchQueue::clearAll()
{
    std::map<quint64, JobTable::Entry> old; // dies after the lock is released
    {
        const QMutexLocker lock(&m_mutex);
        old = m_table->takeAll();
    }
    emit cleared();
}

} // namespace batch
