#pragma once

#include <corvane/shader/ShaderJobWorker.h>

#include <batch/BatchContextStore.h>
#include <shader/compileShader.h>

namespace corvane::shader {

/// The shader that a job is to compile.
struct ShaderBuildContext
{
    QString source{};
    QShader::Stage stage = QShader::FragmentStage;
    QString name{}; ///< in messages
};

using ShaderBuildContextStore = corvane::store::BatchContextStore<ShaderBuildContext>;

/// Compiles shaders as jobs of the type "corvane/shader_rebuild", up to four at once.
///
/// The payload holds `snapshotId`, the key of the ShaderBuildContext, and may hold `variant`. The
/// result holds `shaderData` (a serialised QShader), `compileMs`, and `variant` where the payload
/// has it.
///
/// Lives on the main thread. Store and queue must outlive it; destroying it waits for what runs.
class ShaderBuildWorker : public ShaderJobWorker
{
    Q_OBJECT

public:
    explicit ShaderBuildWorker(ShaderBuildContextStore *contexts, QObject *parent = nullptr);
    ~ShaderBuildWorker() override;

signals:
    /// The job has ended, whoever ended it.
    void compilationFinished(quint64 jobId, bool success);

protected:
    std::optional<Compile> prepare(const QString &snapshotId, const QVariantMap &payload) override;
    void dropContext(const QString &snapshotId) override { m_contexts->take(snapshotId); }
    void announceEnd(quint64 jobId, bool success) override;

    /// The compile itself; on a thread of the worker.
    virtual ::shader::CompileResult doCompile(const ShaderBuildContext &context);

private:
    ShaderBuildContextStore *const m_contexts;
};

} // namespace corvane::shader
