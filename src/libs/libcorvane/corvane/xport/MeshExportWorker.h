#pragma once

#include <corvane/xport/ExportJob.h>

#include <batch/BatchContextStore.h>
#include <batch/IBatchWorker.h>
#include <batch/WorkerSlots.h>

#include <QObject>

#include <memory>

namespace corvane::jobs {
class JobWatch;
}

namespace corvane::xport {

class ExportPipeline;

using MeshExportContextStore = corvane::store::BatchContextStore<MeshExportContext>;

/// Exports meshes as jobs of the type "corvane/mesh_export", one at a time.
///
/// The payload holds `snapshotId`, the key of the MeshExportContext, and what
/// exportRequestFromPayload() reads; the result is that of exportResultToBatchResult(). A cancelled
/// job stops its export within about a second and leaves an existing file alone.
///
/// Lives on the main thread. Store and queue must outlive it; destroying it stops what runs.
class MeshExportWorker : public QObject, public batch::IBatchWorker
{
    Q_OBJECT

public:
    explicit MeshExportWorker(MeshExportContextStore *contexts, QObject *parent = nullptr);
    ~MeshExportWorker() override;

    QString workerId() const override;
    QString workerVersion() const override;
    QStringList workerTags() const override;
    QStringList supportedTypes() const override;
    bool canAccept() const override { return m_slots.isFree(); }
    void execute(batch::BatchQueue *queue, quint64 jobId) override;

signals:
    void exportStarted(quint64 jobId);
    /// The job has ended, whoever ended it.
    void exportFinished(quint64 jobId, bool success);

private:
    struct Run;

    void refuse(batch::BatchQueue *queue, quint64 jobId, const QString &error);
    void start(batch::BatchQueue *queue, quint64 jobId, const QString &snapshotId,
               const ExportRequest &request, const eval::DefinitionTable &definitions);
    void finish(const ExportResult &result);

    MeshExportContextStore *const m_contexts;
    batch::WorkerSlots m_slots{1};
    std::unique_ptr<Run> m_run;
    std::unique_ptr<ExportPipeline> m_pipeline;
};

} // namespace corvane::xport
