#pragma once

#include <batch/BatchQueue.h>
#include <batch/IBatchWorker.h>
#include <batch/WorkerSlots.h>

#include <QObject>
#include <QThreadPool>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace corvane::shader {

/// What the workers that compile shaders as jobs have in common. execute() only looks up what is to
/// be compiled; the compile runs on threads of the worker's own, and ends on the main thread, so
/// that nothing there waits for a compiler.
///
/// A job that is cancelled before its compile has begun is not compiled. A compile that runs is
/// finished, since it cannot be interrupted, and its result goes nowhere.
class ShaderJobWorker : public QObject, public batch::IBatchWorker
{
    Q_OBJECT

public:
    /// What tells one worker from another.
    struct Profile
    {
        QString workerId{};
        QString jobType{};
        QStringList tags{};
        int mostAtOnce = 1;
        QString missingContext{}; ///< the failure of a job without a context; its snapshot follows
        QString startLine{};      ///< first line of a job's log
    };

    QString workerId() const override { return m_profile.workerId; }
    QString workerVersion() const override;
    QStringList workerTags() const override { return m_profile.tags; }
    QStringList supportedTypes() const override { return {m_profile.jobType}; }
    bool canAccept() const override { return m_slots.isFree(); }
    void execute(batch::BatchQueue *queue, quint64 jobId) override;

    ~ShaderJobWorker() override;

protected:
    /// How a compile ended.
    struct Answer
    {
        bool isGood = false;  ///< what the worker's signal says
        QString error{};      ///< the job fails with this, unless it is empty
        QVariantMap result{}; ///< of a job that is completed
    };
    /// The compile of one job, to be run on any thread.
    using Compile = std::function<Answer()>;

    ShaderJobWorker(Profile profile, QObject *parent);

    /// Binds the context of a snapshot; nothing when there is none. Main thread.
    virtual std::optional<Compile> prepare(const QString &snapshotId,
                                           const QVariantMap &payload) = 0;
    /// The job is over: its context is of no more use. Main thread.
    virtual void dropContext(const QString &snapshotId) = 0;
    /// Emits the worker's signal. Main thread.
    virtual void announceEnd(quint64 jobId, bool success) = 0;

    /// Blocks until no compile runs; those that wait are dropped. From a subclass's destructor,
    /// before what a compile uses goes away.
    void waitForCompiles();

private:
    struct Run;
    void compile(Run *run, const Compile &work);
    void finish(Run *ended, const Answer &answer);

    const Profile m_profile;
    batch::WorkerSlots m_slots;
    std::vector<std::unique_ptr<Run>> m_runs; ///< started and not finished; main thread
    QThreadPool m_threads;
};

} // namespace corvane::shader
