#pragma once

#include <batch/BatchJob.h>
#include <batch/BatchJobFilter.h>
#include <batch/Clock.h>
#include <batch/ReadyList.h>

#include <QMutex>
#include <QObject>
#include <QTimer>

#include <initializer_list>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace batch {

class JobTable;

/// All long work of the process, in memory: what waits, what runs and what became of it. A record
/// stays until clearDone() or clearAll() takes it away; nothing is kept over a restart.
///
///     (none)     submit -> Pending
///     Pending    claim -> InProgress, cancel -> Cancelled, a failed dependency -> Failed
///     InProgress complete -> Done, fail -> Failed, cancel -> Cancelled, no heartbeat -> Hung
///     Hung       retry -> Pending, cancel -> Cancelled
///     Failed     retry -> Pending
///
/// Everything else is refused with a warning and changes nothing. cancel() marks the record only: a
/// worker that runs looks at job() now and then, and what it reports afterwards is refused.
///
/// A dependency that failed fails the jobs that wait for it, once all their dependencies are
/// terminal, and so on down the line. A cancelled one fails nothing: its dependents wait until they
/// are cancelled by hand.
///
/// Every function may be called on any thread. Signals are emitted on the caller's thread after the
/// lock is released, so a slot may call straight back; a receiver on another thread is connected as
/// queued. A change of state emits jobStatusChanged, then jobChanged. Destroyed on the thread that
/// made it.
class BatchQueue : public QObject
{
    Q_OBJECT

public:
    /// A job as the queue holds it: never changed, only replaced by a later one.
    using SharedJob = std::shared_ptr<const BatchJob>;
    /// Current and total.
    using Progress = std::pair<qint32, qint32>;

    /// How many lines of a job's log are kept; the oldest go first.
    static constexpr qsizetype mostLogLines = 10'000;

    explicit BatchQueue(QObject *parent = nullptr);
    explicit BatchQueue(UtcClock clock, QObject *parent = nullptr);
    ~BatchQueue() override;

    /// Takes a job in as Pending and returns its id; the id and the state of the argument are
    /// ignored.
    quint64 submit(BatchJob job);

    bool claim(quint64 id, const QString &workerId);           ///< Pending only
    bool complete(quint64 id, const QVariantMap &result = {}); ///< InProgress only; then cascades
    bool fail(quint64 id, const QString &error);               ///< InProgress only; then cascades
    bool cancel(quint64 id); ///< anything not terminal; then cascades

    /// Makes a Hung or Failed job Pending again. Its result, log and progress stay.
    void retry(quint64 id);

    /// Tells how far a job is. This is its heartbeat, whatever its state.
    void setProgress(quint64 id, qint32 current, qint32 total);
    Progress progress(quint64 id) const; ///< (0, 0) if nothing was told

    /// Adds a line to a job's log. No heartbeat.
    void appendLog(quint64 id, BatchLogLevel level, const QString &message,
                   const QVariantMap &metadata = {});
    QList<BatchJobLog> logs(quint64 id) const; ///< oldest first

    std::optional<BatchJob> job(quint64 id) const;

    /// The jobs that match, by ascending id.
    QList<BatchJob> jobs(const BatchJobFilter &filter = {}) const;

    /// How many jobs are in a state. Costs the same for any number of jobs.
    qsizetype count(BatchStatus status) const;

    /// The jobs that could be claimed now: Pending, with every dependency present and Done. Higher
    /// priority first, then the earlier createdAt. An empty type means all types.
    QList<BatchJob> pendingJobs(const QString &type = {}) const;

    /// The same as a snapshot, for the dispatcher: no job is copied, or even touched.
    ReadySnapshot readyJobs() const;

    /// Removes the Done jobs: jobRemoved for each. What depends on a removed job waits for ever.
    void clearDone();

    /// Removes everything, running jobs too, and emits cleared(). Ids are not given a second time.
    void clearAll();

public slots:
    /// Finds running jobs without a heartbeat. Called every five seconds by a timer of the queue.
    void checkHungJobs();

signals:
    void jobSubmitted(quint64 id);
    void jobChanged(quint64 id);
    void jobRemoved(quint64 id);
    void jobStatusChanged(quint64 id, batch::BatchStatus oldStatus, batch::BatchStatus newStatus);
    void jobProgressChanged(quint64 id, qint32 current, qint32 total);
    void jobLogAppended(quint64 id, const batch::BatchJobLog &log);
    void cleared();

private:
    struct Transition;
    template<typename Edit>
    Transition changeState(quint64 id, std::initializer_list<BatchStatus> from, BatchStatus to,
                           Edit edit);
    void cascadeDependencies(quint64 id);
    std::vector<quint64> failDependentsOf(quint64 id);
    void announce(quint64 id, BatchStatus oldStatus, BatchStatus newStatus);

    const UtcClock m_clock;
    mutable QMutex m_mutex; ///< guards the table and the counter of log lines
    std::unique_ptr<JobTable> m_table;
    quint64 m_nextLogId = 1;
    QTimer m_hungTimer{this};
};

} // namespace batch
