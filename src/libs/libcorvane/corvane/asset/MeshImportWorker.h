#pragma once

#include <mesh/Mesh.h>
#include <mesh/io/MaterialMeshPart.h>
#include <mesh/process/MeshLODGenerator.h>

#include <batch/BatchContextStore.h>
#include <batch/IBatchWorker.h>
#include <batch/WorkerSlots.h>

#include <QObject>
#include <QSharedPointer>
#include <QUuid>
#include <QVariantMap>

#include <memory>
#include <vector>

namespace corvane::asset {

class AssetStore;

/// What a queued import keeps beside its job record.
struct MeshImportContext
{
    QString absolutePath{};
    QUuid assetId{}; ///< under which the mesh is filed
};

/// A mesh file as it was read and prepared.
struct MeshImportResult
{
    QString name{}; ///< of the mesh, else of the file
    qsizetype vertexCount = 0;
    qsizetype faceCount = 0; ///< elements
    bool isMultiMaterial = false;
    QList<::mesh::io::MaterialMeshPart> parts{};     ///< one for each material, or the whole
    QList<::mesh::process::MeshLODSet> partLevels{}; ///< along `parts`
    ::mesh::process::MeshLODSet levels{};            ///< of the whole mesh
    QUuid assetId{};
    QSharedPointer<const ::mesh::Mesh<float>> mesh{};
    QVariantList materials{};       ///< of the file's metadata
    QVariantMap materialNameToId{}; ///< likewise
    QString error{};                ///< empty when all went well; else nothing above is filled
};

using MeshImportContextStore = corvane::store::BatchContextStore<MeshImportContext>;

/// Imports mesh files as jobs of the type "corvane/mesh_import", two at a time on threads of its
/// own.
///
/// The payload holds `snapshotId`, the key of the MeshImportContext. The mesh, its levels of detail
/// and its render data are filed in the asset store on the worker's thread; the job's result then
/// has `name`, `vertexCount`, `faceCount`, `isMultiMaterial`. A job that fails, or is cancelled
/// before that, leaves the store alone.
///
/// Lives on the thread of the asset store, the main thread. Stores and queue must outlive it;
/// destroying it stops what runs.
class MeshImportWorker : public QObject, public batch::IBatchWorker
{
    Q_OBJECT

public:
    static constexpr int mostAtOnce = 2;
    static constexpr int levelCount = 4; ///< levels of detail, the mesh itself among them

    MeshImportWorker(AssetStore *assets, MeshImportContextStore *contexts,
                     QObject *parent = nullptr);
    ~MeshImportWorker() override;

    QString workerId() const override;
    QString workerVersion() const override;
    QStringList workerTags() const override;
    QStringList supportedTypes() const override;
    bool canAccept() const override { return m_slots.isFree(); }
    void execute(batch::BatchQueue *queue, quint64 jobId) override;

signals:
    /// What was filed, parts and all, just before the end of its job.
    void imported(quint64 jobId,
                  const QSharedPointer<const corvane::asset::MeshImportResult> &result);
    /// The job has ended, whoever ended it.
    void importFinished(quint64 jobId, bool success);

private:
    struct Run;
    using Result = QSharedPointer<const MeshImportResult>;

    bool start(std::unique_ptr<Run> made, const MeshImportContext &context);
    void import(Run &run, const MeshImportContext &context);
    void finish(Run *ended, const Result &result);
    bool file(const Run &run, const Result &result);

    AssetStore *const m_assets;
    MeshImportContextStore *const m_contexts;
    batch::WorkerSlots m_slots{mostAtOnce};
    std::vector<std::unique_ptr<Run>> m_runs;
};

} // namespace corvane::asset
