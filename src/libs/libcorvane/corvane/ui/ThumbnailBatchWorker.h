#pragma once

#include <batch/IBatchWorker.h>
#include <batch/WorkerSlots.h>

#include <QObject>
#include <QPointer>

#include <memory>

namespace corvane::jobs {
class JobWatch;
}
namespace corvane::registry {
class Registry;
}
namespace corvane::rendering {
class SDFThumbnailGenerator;
}

namespace corvane::ui {

/// Makes the thumbnails of all definitions as a job of the type "corvane/thumbnail_update", one at
/// a time: the generator draws on its own thread, and the job counts along.
///
/// The payload holds `thumbnailSize` in pixels and, if those that are there should be made anew,
/// `force`. The result has `count`, and `failed` of those. A cancelled job leaves what was made.
/// Main thread; generator, registry and queue must outlive it.
class ThumbnailBatchWorker : public QObject, public batch::IBatchWorker
{
    Q_OBJECT

public:
    ThumbnailBatchWorker(rendering::SDFThumbnailGenerator *generator,
                         const registry::Registry *registry, QObject *parent = nullptr);
    ~ThumbnailBatchWorker() override;

    QString workerId() const override;
    QString workerVersion() const override;
    QStringList workerTags() const override;
    QStringList supportedTypes() const override;
    bool canAccept() const override { return m_slots.isFree(); }
    void execute(batch::BatchQueue *queue, quint64 jobId) override;

private:
    struct Run;

    void begin(batch::BatchQueue *queue, quint64 jobId, int side);
    void finish();
    void giveUp();

    rendering::SDFThumbnailGenerator *const m_generator;
    const registry::Registry *const m_registry;
    batch::WorkerSlots m_slots{1};
    std::unique_ptr<Run> m_run;
};

} // namespace corvane::ui
