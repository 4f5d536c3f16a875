#include <corvane/bench/MeshBenchWorker.h>

#include <corvane/bench/BenchRun.h>
#include <corvane/jobs/JobWatch.h>

#include <batch/BatchQueue.h>

#include <QSemaphore>

namespace corvane::bench {

using namespace Qt::StringLiterals;

MeshBenchWorker::MeshBenchWorker(const lab::TestDB::Code &code, QObject *parent)
    : lab::BatchWorkerBase(parent)
    , m_code(code)
{}

MeshBenchWorker::~MeshBenchWorker()
{
    if (m_watch)
        m_watch->giveUp();
    waitForCoordinator();
}

QString MeshBenchWorker::workerId() const
{
    return u"corvane/mesh-bench_worker"_s;
}

QString MeshBenchWorker::workerVersion() const
{
    return u"1.0.0"_s;
}

QStringList MeshBenchWorker::workerTags() const
{
    return {u"corvane"_s, u"mesh"_s, u"bench"_s};
}

QStringList MeshBenchWorker::supportedTypes() const
{
    return {u"corvane/mesh-bench"_s, u"mesh-export-bench"_s};
}

void MeshBenchWorker::execute(batch::BatchQueue *queue, quint64 jobId)
{
    const auto refuse = [&](const QString &error) { queue->fail(jobId, error); };
    if (!canAccept())
        return refuse(u"Mesh bench is busy with another job"_s);
    const auto job = queue->job(jobId);
    if (!job)
        return refuse(u"Job not found"_s);
    const auto request = BenchRequest::fromPayload(job->payload);
    if (!request)
        return refuse(BenchRequest::missingParts());
    m_watch = std::make_unique<jobs::JobWatch>(queue, jobId);
    const auto body = [this, queue, jobId, request = *request] {
        failUnlessGood(queue, jobId, [&] { work(queue, jobId, request); });
    };
    if (!startCoordinator(u"Ondrel.corvane.mesh-bench-coordinator"_s, body))
        refuse(u"Mesh bench: the system starts no further thread"_s);
}

void MeshBenchWorker::work(batch::BatchQueue *queue, quint64 jobId, const BenchRequest &request)
{
    BenchRun run(request,
                 {.compile = [this](const QString &path,
                                    QString &error) { return compileOnOwnThread(path, error); },
                  .log =
                      [queue, jobId](const QString &message) {
                          postLog(queue, jobId, batch::BatchLogLevel::Info, message);
                      },
                  .progress = [queue, jobId](
                                  int done, int total) { postProgress(queue, jobId, done, total); },
                  .code = m_code},
                 m_watch->flag());
    QString error = run.run();
    if (!m_watch->wanted())
        return;
    if (error.isEmpty() && run.hasFailedAll())
        error = run.failures();
    if (error.isEmpty())
        queue->complete(jobId, run.result());
    else
        queue->fail(jobId, error);
}

// Not a blocking call: our destructor, on that thread, waits for the one that waits here. What is
// posted may come when nobody waits any more, so that it owns all it touches.
std::optional<CompiledScene> MeshBenchWorker::compileOnOwnThread(const QString &path,
                                                                 QString &error)
{
    struct Exchange
    {
        QSemaphore done;
        QString error;
        std::optional<CompiledScene> scene;
    };
    const auto exchange = std::make_shared<Exchange>();
    QMetaObject::invokeMethod(
        this,
        [exchange, path] {
            exchange->scene = compileSceneFile(path, exchange->error);
            exchange->done.release();
        },
        Qt::QueuedConnection);
    constexpr int pollMs = 50;
    while (!exchange->done.tryAcquire(1, pollMs)) {
        if (!m_watch->wanted()) {
            error = u"cancelled"_s;
            return std::nullopt;
        }
    }
    error = exchange->error;
    return std::move(exchange->scene);
}

} // namespace corvane::bench
