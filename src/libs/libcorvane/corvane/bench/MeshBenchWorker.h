#pragma once

#include <corvane/bench/CompiledScene.h>
#include <corvane/bench/TestDB.h>

#include <batch/BatchWorkerBase.h>

#include <QVariantMap>

#include <memory>

namespace corvane::jobs {
class JobWatch;
}

namespace corvane::bench {

struct BenchRequest;

/// Runs mesh benches as jobs of the types "corvane/mesh-bench" and "mesh-export-bench", one at a
/// time on a thread of its own.
///
/// The payload is that of BenchRequest, the result that of BenchRun. Scenes are compiled on the
/// worker's own thread, the main thread, one at a time between its other events; all else runs
/// beside it.
///
/// A bench of which every cell failed is a job that failed.
///
/// A cancel ends the bench within about a second; the rows that it wrote stay. The queue must
/// outlive the worker; destroying it stops what runs.
class MeshBenchWorker : public lab::BatchWorkerBase
{
    Q_OBJECT

public:
    /// @param code  what the sessions are to say of the program
    explicit MeshBenchWorker(const lab::TestDB::Code &code = {}, QObject *parent = nullptr);
    ~MeshBenchWorker() override;

    QString workerId() const override;
    QString workerVersion() const override;
    QStringList workerTags() const override;
    QStringList supportedTypes() const override;
    void execute(batch::BatchQueue *queue, quint64 jobId) override;

private:
    void work(batch::BatchQueue *queue, quint64 jobId, const BenchRequest &request);
    std::optional<CompiledScene> compileOnOwnThread(const QString &path, QString &error);

    const lab::TestDB::Code m_code;
    std::unique_ptr<jobs::JobWatch> m_watch;
};

} // namespace corvane::bench
