#pragma once

#include <corvane/bv/BoundsDetector.h>
#include <corvane/eval/DefinitionTable.h>
#include <corvane/shader/SDFNode.h>

#include <batch/BatchContextStore.h>
#include <batch/BatchWorkerBase.h>

#include <QVariantMap>

#include <memory>

namespace corvane::jobs {
class JobWatch;
}

namespace corvane::bv {

/// The scene whose bounds a job is to find, as it was when the job was queued.
struct BoundsDetectionContext
{
    QList<shader::SDFNode> nodes{};
    eval::DefinitionTable definitions{}; ///< of the nodes
    int rootIndex = 0;
    QString label{};   ///< of the scene, for the log
    QString backend{}; ///< "cpu": interpreted; "gpu" and all else: native code
};

using BoundsDetectionContextStore = corvane::store::BatchContextStore<BoundsDetectionContext>;

/// Finds the bounds of scenes as jobs of the type "corvane/bounds_detection", one at a time on a
/// thread of its own.
///
/// The payload holds `snapshotId`, the key of the BoundsDetectionContext. The result holds `minX`
/// to `maxZ` (margin included), `totalSamples`, `detectionTimeMs`, `evaluatorBackend`,
/// `hasUnboundedAxes`, `unboundedDescription` and `statusText`.
///
/// Where no native code can be made the interpreter does the work, with a warning in the job's log.
///
/// Lives on the main thread. Store and queue must outlive it; destroying it stops what runs.
class BoundsDetectionWorker : public lab::BatchWorkerBase
{
    Q_OBJECT

public:
    explicit BoundsDetectionWorker(BoundsDetectionContextStore *contexts,
                                   QObject *parent = nullptr);
    ~BoundsDetectionWorker() override;

    QString workerId() const override;
    QString workerVersion() const override;
    QStringList workerTags() const override;
    QStringList supportedTypes() const override;
    void execute(batch::BatchQueue *queue, quint64 jobId) override;

signals:
    /// The job has ended, whoever ended it. Emitted on the working thread: connect with a context
    /// object. A failure is the `error` of the result.
    void detectionFinished(quint64 jobId, bool success,
                           const corvane::bv::BoundsDetectionResult &result);

private:
    void work(batch::BatchQueue *queue, quint64 jobId, const QString &snapshotId,
              const BoundsDetectionContext &context);

    BoundsDetectionContextStore *const m_contexts;
    std::unique_ptr<jobs::JobWatch> m_watch;
};

/// The map that such a job ends with.
QVariantMap boundsToBatchResult(const BoundsDetectionResult &result);

} // namespace corvane::bv

Q_DECLARE_METATYPE(corvane::bv::BoundsDetectionResult)
