#include <corvane/shader/ShaderJobWorker.h>

#include <corvane/jobs/JobWatch.h>

#include <concurrency/Outcome.h>

#include <QElapsedTimer>
#include <QThread>

#include <algorithm>

namespace corvane::shader {

using namespace Qt::StringLiterals;

struct ShaderJobWorker::Run
{
    batch::BatchQueue *queue;
    quint64 jobId;
    QString snapshotId;
    jobs::JobWatch watch;
    std::shared_ptr<void> slot;
};

ShaderJobWorker::ShaderJobWorker(Profile profile, QObject *parent)
    : QObject(parent)
    , m_profile(std::move(profile))
    , m_slots(m_profile.mostAtOnce)
{
    // One core is left to whoever draws meanwhile.
    m_threads.setMaxThreadCount(
        std::clamp(QThread::idealThreadCount() - 1, 1, m_profile.mostAtOnce));
}

ShaderJobWorker::~ShaderJobWorker() = default;

QString ShaderJobWorker::workerVersion() const
{
    return u"1.0.0"_s;
}

void ShaderJobWorker::execute(batch::BatchQueue *queue, quint64 jobId)
{
    const auto refuse = [&](const QString &error) {
        queue->fail(jobId, error);
        announceEnd(jobId, false);
    };
    const auto job = queue->job(jobId);
    if (!job)
        return refuse(u"Job not found"_s);
    const QString snapshotId = job->payload.value(u"snapshotId"_s).toString();
    const std::optional<Compile> work = prepare(snapshotId, job->payload);
    if (!work)
        return refuse(m_profile.missingContext + snapshotId);
    queue->appendLog(jobId, batch::BatchLogLevel::Info, m_profile.startLine);
    m_runs.emplace_back(
        new Run{queue, jobId, snapshotId, jobs::JobWatch(queue, jobId), m_slots.take()});
    m_threads.start([this, run = m_runs.back().get(), work = *work] { compile(run, work); });
}

void ShaderJobWorker::waitForCompiles()
{
    m_threads.clear();
    for (const auto &run : m_runs)
        run->watch.giveUp();
    m_threads.waitForDone();
}

// On a thread of the pool.
void ShaderJobWorker::compile(Run *run, const Compile &work)
{
    Answer answer{.error = u"The shader is no longer wanted"_s};
    if (run->watch.wanted()) {
        QElapsedTimer timer;
        timer.start();
        const concurrency::Outcome outcome = concurrency::guarded([&] { answer = work(); });
        if (!outcome.isGood())
            answer = {.error = u"The compile broke off: %1"_s.arg(outcome.reason())};
        answer.result.insert(u"compileMs"_s, timer.elapsed());
    }
    QMetaObject::invokeMethod(
        this, [this, run, answer] { finish(run, answer); }, Qt::QueuedConnection);
}

void ShaderJobWorker::finish(Run *ended, const Answer &answer)
{
    const auto place = std::find_if(m_runs.begin(), m_runs.end(),
                                    [ended](const auto &run) { return run.get() == ended; });
    const std::unique_ptr<Run> run = std::move(*place);
    m_runs.erase(place);
    run->slot.reset();
    bool isGood = run->watch.wanted() && answer.isGood;
    if (run->watch.wanted() && answer.error.isEmpty())
        isGood = run->queue->complete(run->jobId, answer.result) && isGood;
    else if (run->watch.wanted())
        run->queue->fail(run->jobId, answer.error);
    if (jobs::JobWatch::isOver(*run->queue, run->jobId))
        dropContext(run->snapshotId);
    announceEnd(run->jobId, isGood);
}

} // namespace corvane::shader
