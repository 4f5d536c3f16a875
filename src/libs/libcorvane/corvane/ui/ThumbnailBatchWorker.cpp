#include <corvane/ui/ThumbnailBatchWorker.h>

#include <corvane/jobs/JobWatch.h>
#include <corvane/registry/Registry.h>
#include <corvane/rendering/thumbnail/SDFThumbnailGenerator.h>

#include <batch/BatchQueue.h>

using namespace Qt::StringLiterals;

namespace corvane::ui {

using rendering::SDFThumbnailGenerator;
using rendering::ThumbnailQueue;
namespace Limits = rendering::ThumbnailLimits;

struct ThumbnailBatchWorker::Run
{
    batch::BatchQueue *queue = nullptr;
    quint64 jobId = 0;
    int count = 0;
    int failed = 0;
    std::shared_ptr<void> slot{};
    jobs::JobWatch watch;
    QObject context{}; ///< of the connections, which end with the run
};

ThumbnailBatchWorker::ThumbnailBatchWorker(SDFThumbnailGenerator *generator,
                                           const registry::Registry *registry, QObject *parent)
    : QObject(parent)
    , m_generator(generator)
    , m_registry(registry)
{}

ThumbnailBatchWorker::~ThumbnailBatchWorker() = default;

QString ThumbnailBatchWorker::workerId() const
{
    return u"corvane/thumbnail_update_worker"_s;
}

QString ThumbnailBatchWorker::workerVersion() const
{
    return u"1.0.0"_s;
}

QStringList ThumbnailBatchWorker::workerTags() const
{
    return {u"corvane"_s, u"thumbnail"_s};
}

QStringList ThumbnailBatchWorker::supportedTypes() const
{
    return {u"corvane/thumbnail_update"_s};
}

void ThumbnailBatchWorker::execute(batch::BatchQueue *queue, quint64 jobId)
{
    const auto job = queue->job(jobId);
    if (!job) {
        queue->fail(jobId, u"Job not found"_s);
        return;
    }
    bool readable = false;
    const int side = job->payload.value(u"thumbnailSize"_s).toInt(&readable);
    if (!readable || side < Limits::smallestSide || side > Limits::largestSide) {
        queue->fail(jobId, u"thumbnailSize has to be a number from %1 to %2"_s.arg(
                               QString::number(Limits::smallestSide),
                               QString::number(Limits::largestSide)));
        return;
    }
    if (!canAccept()) {
        queue->fail(jobId, u"Thumbnails are being updated already"_s);
        return;
    }
    if (job->payload.value(u"force"_s).toBool())
        m_generator->clearCache();
    begin(queue, jobId, side);
}

void ThumbnailBatchWorker::begin(batch::BatchQueue *queue, quint64 jobId, int side)
{
    QList<ThumbnailQueue::ThumbnailRequest> requests;
    const auto definitions = m_registry->getAllPrimitives();
    for (const auto &definition : definitions)
        if (definition->enabled)
            requests.append({.id = definition->id, .size = {side, side}});
    // The run shares the generator's queue: what a panel preloads meanwhile is counted with it.
    m_run.reset(new Run{.queue = queue,
                        .jobId = jobId,
                        .count = int(requests.size()),
                        .slot = m_slots.take(),
                        .watch = jobs::JobWatch(queue, jobId)});
    QObject *context = &m_run->context;
    ThumbnailQueue *pacer = &m_generator->queue();
    connect(pacer, &ThumbnailQueue::preloadBatchProgress, context,
            [run = m_run.get()](int done, int count) {
                run->queue->setProgress(run->jobId, done, count);
            });
    connect(m_generator, &SDFThumbnailGenerator::thumbnailFailed, context,
            [run = m_run.get()] { ++run->failed; });
    connect(pacer, &ThumbnailQueue::preloadBatchFinished, context, [this] { finish(); });
    connect(
        &m_run->watch, &jobs::JobWatch::unwanted, context, [this] { giveUp(); },
        Qt::QueuedConnection);
    m_generator->preload(requests);
    if (requests.isEmpty())
        finish();
}

void ThumbnailBatchWorker::finish()
{
    const auto run = std::move(m_run); // its slot is free before anyone hears of the end
    batch::BatchQueue *queue = run->queue;
    const quint64 jobId = run->jobId;
    const QVariantMap result{{u"count"_s, run->count}, {u"failed"_s, run->failed}};
    run->slot.reset();
    queue->complete(jobId, result);
}

void ThumbnailBatchWorker::giveUp()
{
    m_run.reset(); // first: it is not to hear of the batch's end
    m_generator->queue().clear();
}

} // namespace corvane::ui
