#include <corvane/xport/MeshExportWorker.h>

#include <corvane/jobs/JobWatch.h>
#include <corvane/xport/ExportPipeline.h>

#include <batch/BatchQueue.h>

#include <limits>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

// Chunks are counted further than a queue counts.
void reportProgress(batch::BatchQueue &queue, quint64 jobId, qint64 current, qint64 total)
{
    constexpr qint64 most = std::numeric_limits<qint32>::max();
    const qint64 divisor = total / most + 1;
    queue.setProgress(jobId, qint32(current / divisor), qint32(total / divisor));
}

} // namespace

struct MeshExportWorker::Run
{
    batch::BatchQueue *queue;
    quint64 jobId;
    QString snapshotId;
    jobs::JobWatch watch;
    std::shared_ptr<void> slot;
};

MeshExportWorker::MeshExportWorker(MeshExportContextStore *contexts, QObject *parent)
    : QObject(parent)
    , m_contexts(contexts)
{}

MeshExportWorker::~MeshExportWorker()
{
    // A pipeline that no thread has begun yet runs while it is destroyed, cancelled, and would
    // report to what is left of us.
    if (m_pipeline)
        m_pipeline->disconnect(this);
}

QString MeshExportWorker::workerId() const
{
    return u"corvane/mesh_export_worker"_s;
}

QString MeshExportWorker::workerVersion() const
{
    return u"1.0.0"_s;
}

QStringList MeshExportWorker::workerTags() const
{
    return {u"corvane"_s, u"mesh"_s, u"export"_s};
}

QStringList MeshExportWorker::supportedTypes() const
{
    return {u"corvane/mesh_export"_s};
}

void MeshExportWorker::execute(batch::BatchQueue *queue, quint64 jobId)
{
    if (!canAccept())
        return refuse(queue, jobId, u"Mesh export is busy with another job"_s);
    const auto job = queue->job(jobId);
    if (!job)
        return refuse(queue, jobId, u"Job not found"_s);
    const QString snapshotId = job->payload.value(u"snapshotId"_s).toString();
    const auto context = m_contexts->lookup(snapshotId);
    if (!context)
        return refuse(queue, jobId, u"Missing export context for snapshot: %1"_s.arg(snapshotId));
    queue->appendLog(jobId, batch::BatchLogLevel::Info, u"Starting mesh export..."_s);
    start(queue, jobId, snapshotId, exportRequestFromPayload(job->payload, *context),
          context->definitions);
}

void MeshExportWorker::refuse(batch::BatchQueue *queue, quint64 jobId, const QString &error)
{
    queue->fail(jobId, error);
    emit exportFinished(jobId, false);
}

void MeshExportWorker::start(batch::BatchQueue *queue, quint64 jobId, const QString &snapshotId,
                             const ExportRequest &request, const eval::DefinitionTable &definitions)
{
    m_run.reset(new Run{queue, jobId, snapshotId, jobs::JobWatch(queue, jobId), m_slots.take()});
    // A pipeline a run: what an earlier one still has under way in the event loop is then nobody's.
    m_pipeline = std::make_unique<ExportPipeline>();
    connect(m_pipeline.get(), &ExportPipeline::progressChanged, this,
            [queue, jobId](qint64 current, qint64 total) {
                reportProgress(*queue, jobId, current, total);
            });
    connect(m_pipeline.get(), &ExportPipeline::backendFellBack, this,
            [queue, jobId](const QString &from, const QString &to, const QString &reason) {
                queue->appendLog(
                    jobId, batch::BatchLogLevel::Warning,
                    u"%1 backend failed (%2), falling back to %3"_s.arg(from, reason, to));
            });
    // Queued always: an export that did not begin ends while it is started here.
    connect(m_pipeline.get(), &ExportPipeline::finished, this, &MeshExportWorker::finish,
            Qt::QueuedConnection);
    connect(&m_run->watch, &jobs::JobWatch::unwanted, m_pipeline.get(), &ExportPipeline::cancel);
    emit exportStarted(jobId);
    m_pipeline->run(request, definitions);
    if (!m_run->watch.wanted())
        m_pipeline->cancel();
}

void MeshExportWorker::finish(const ExportResult &result)
{
    const std::unique_ptr<Run> run = std::move(m_run);
    for (const model::SceneWarning &warning : result.warnings)
        run->queue->appendLog(run->jobId, batch::BatchLogLevel::Warning, warning.toString());
    bool done = result.success && run->watch.wanted();
    if (done)
        done = run->queue->complete(run->jobId, exportResultToBatchResult(result));
    else if (run->watch.wanted())
        run->queue->fail(run->jobId, result.errorMessage);
    if (jobs::JobWatch::isOver(*run->queue, run->jobId))
        m_contexts->take(run->snapshotId);
    emit exportFinished(run->jobId, done);
}

} // namespace corvane::xport
