#pragma once

#include <corvane/shader/ShaderJobWorker.h>

#include <batch/BatchContextStore.h>

#include <private/qshader_p.h>

namespace corvane::shader {

/// The shading pass that a job is to compile.
struct ShadingPipelineContext
{
    QString source{}; ///< of the fragment shader
    bool needsAccumulation =
        false; ///< frames add up: the shaders that show their sum are needed too
};

using ShadingPipelineContextStore = corvane::store::BatchContextStore<ShadingPipelineContext>;

/// What such a compile gave; the shaders are valid where the error is empty.
struct ShadingPipelineShaders
{
    QString error{};
    QShader shading{};
    QShader blitVertex{}; ///< with accumulation only, as the next
    QShader blitFragment{};
};

/// Compiles the shaders of shading passes as jobs of the type "corvane/shading_pipeline_rebuild",
/// up to two at once.
///
/// The payload holds `snapshotId`, the key of the ShadingPipelineContext. The result holds
/// `shadingShaderData`, `needsAccumulation`, `compileMs`, and with accumulation
/// `blitVertShaderData` and `blitFragShaderData`: serialised QShaders.
///
/// Lives on the main thread. Store and queue must outlive it; destroying it waits for what runs.
class ShadingPipelineWorker : public ShaderJobWorker
{
    Q_OBJECT

public:
    explicit ShadingPipelineWorker(ShadingPipelineContextStore *contexts,
                                   QObject *parent = nullptr);
    ~ShadingPipelineWorker() override;

signals:
    /// The job has ended, whoever ended it.
    void compilationFinished(quint64 jobId, bool success);

protected:
    std::optional<Compile> prepare(const QString &snapshotId, const QVariantMap &payload) override;
    void dropContext(const QString &snapshotId) override { m_contexts->take(snapshotId); }
    void announceEnd(quint64 jobId, bool success) override;

    /// The compiles themselves; on a thread of the worker.
    virtual ShadingPipelineShaders doCompile(const ShadingPipelineContext &context);

private:
    ShadingPipelineContextStore *const m_contexts;
};

} // namespace corvane::shader
