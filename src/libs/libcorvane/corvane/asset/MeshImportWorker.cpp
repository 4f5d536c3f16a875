#include <corvane/asset/MeshImportWorker.h>

#include <corvane/asset/AssetStore.h>
#include <corvane/asset/MeshImport.h>
#include <corvane/jobs/JobWatch.h>

#include <batch/BatchQueue.h>
#include <concurrency/Outcome.h>
#include <concurrency/startThread.h>

#include <thread>

namespace corvane::asset {

using namespace Qt::StringLiterals;

struct MeshImportWorker::Run
{
    batch::BatchQueue *queue;
    quint64 jobId;
    QString snapshotId;
    jobs::JobWatch watch;
    std::shared_ptr<void> slot;
    std::thread thread{};
};

MeshImportWorker::MeshImportWorker(AssetStore *assets, MeshImportContextStore *contexts,
                                   QObject *parent)
    : QObject(parent)
    , m_assets(assets)
    , m_contexts(contexts)
{}

MeshImportWorker::~MeshImportWorker()
{
    for (const auto &run : m_runs)
        run->watch.giveUp();
    for (const auto &run : m_runs)
        run->thread.join();
}

QString MeshImportWorker::workerId() const
{
    return u"corvane/mesh_import_worker"_s;
}

QString MeshImportWorker::workerVersion() const
{
    return u"1.0.0"_s;
}

QStringList MeshImportWorker::workerTags() const
{
    return {u"corvane"_s, u"mesh"_s, u"import"_s};
}

QStringList MeshImportWorker::supportedTypes() const
{
    return {u"corvane/mesh_import"_s};
}

void MeshImportWorker::execute(batch::BatchQueue *queue, quint64 jobId)
{
    const auto refuse = [&](const QString &error) {
        queue->fail(jobId, error);
        emit importFinished(jobId, false);
    };
    const auto job = queue->job(jobId);
    if (!job)
        return refuse(u"Job not found"_s);
    const QString snapshotId = job->payload.value(u"snapshotId"_s).toString();
    const auto context = m_contexts->lookup(snapshotId);
    if (!context)
        return refuse(u"Missing import context for snapshot: %1"_s.arg(snapshotId));
    queue->appendLog(jobId, batch::BatchLogLevel::Info,
                     u"Loading mesh from: %1"_s.arg(context->absolutePath));
    std::unique_ptr<Run> run(
        new Run{queue, jobId, snapshotId, jobs::JobWatch(queue, jobId), m_slots.take()});
    if (!start(std::move(run), *context))
        refuse(u"Mesh import: the system starts no further thread"_s);
}

bool MeshImportWorker::start(std::unique_ptr<Run> made, const MeshImportContext &context)
{
    Run *const run = made.get(); // lives until finish(), or until we go
    m_runs.push_back(std::move(made));
    if (concurrency::startThread(run->thread, "Ondrel.import",
                                 [this, run, context] { import(*run, context); }))
        return true;
    m_runs.pop_back();
    return false;
}

/// On the run's thread.
void MeshImportWorker::import(Run &run, const MeshImportContext &context)
{
    int told = -1;
    MeshImport import([&](int percent) {
        const bool wanted = run.watch.wanted();
        if (wanted && percent != std::exchange(told, percent))
            run.queue->setProgress(run.jobId, percent, 100);
        return wanted;
    });
    MeshImportResult result;
    const concurrency::Outcome outcome =
        concurrency::guarded([&] { result = import.run(context); });
    if (!outcome.isGood()) {
        result = {};
        result.error = u"The import broke off: %1"_s.arg(outcome.reason());
    }
    QMetaObject::invokeMethod(
        this, [this, &run, result = Result::create(result)] { finish(&run, result); },
        Qt::QueuedConnection);
}

void MeshImportWorker::finish(Run *ended, const Result &result)
{
    const auto place = std::find_if(m_runs.begin(), m_runs.end(),
                                    [ended](const auto &run) { return run.get() == ended; });
    const std::unique_ptr<Run> run = std::move(*place);
    m_runs.erase(place);
    run->thread.join(); // has posted this call last of all
    bool done = false;
    if (run->watch.wanted() && result->error.isEmpty())
        done = file(*run, result);
    else if (run->watch.wanted())
        run->queue->fail(run->jobId, result->error);
    if (jobs::JobWatch::isOver(*run->queue, run->jobId))
        m_contexts->take(run->snapshotId);
    emit importFinished(run->jobId, done);
}

bool MeshImportWorker::file(const Run &run, const Result &result)
{
    // A job that hangs keeps no result, so that nothing may be filed for it either.
    const auto job = run.queue->job(run.jobId);
    if (job && job->status == batch::BatchStatus::InProgress) {
        m_assets->storeMeshData(result->assetId, result->mesh);
        m_assets->storeLODSet(result->assetId, result->levels);
        if (!result->levels.levels.isEmpty())
            m_assets->storeRenderMesh(result->assetId, result->levels.levels.first().data);
        emit imported(run.jobId, result);
    }
    return run.queue->complete(run.jobId, {{u"name"_s, result->name},
                                           {u"vertexCount"_s, result->vertexCount},
                                           {u"faceCount"_s, result->faceCount},
                                           {u"isMultiMaterial"_s, result->isMultiMaterial}});
}

} // namespace corvane::asset
