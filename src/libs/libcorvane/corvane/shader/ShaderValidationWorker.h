#pragma once

#include <corvane/registry/code/ShaderValidator.h>
#include <corvane/shader/ShaderJobWorker.h>

#include <batch/BatchContextStore.h>

namespace corvane::shader {

/// The code of a definition that a job is to try.
struct ShaderValidationContext
{
    QString source{}; ///< what is compiled: the user's text in a wrapper
    QShader::Stage stage = QShader::FragmentStage;
    QString userSource{};      ///< what the user typed, which annotations are read from
    int wrapperLineOffset = 0; ///< lines of the wrapper before it
};

using ShaderValidationContextStore = corvane::store::BatchContextStore<ShaderValidationContext>;

/// Tries whether code compiles as jobs of the type "corvane/shader_validation", up to two at once.
///
/// The payload holds `snapshotId`, the key of the ShaderValidationContext. Code that does not
/// compile is a result like another: the job is completed with `success`, `diagnostics` (maps of
/// `line`, `column`, `message`, `severity`, `filename`; lines count the wrapper's),
/// `extractedParams` (maps of `name`, `type`, `displayName`, `description`, `unit`, `defaultValue`,
/// `minValue`, `maxValue`, `uiHint`), `compileMs` and `wrapperLineOffset`.
///
/// Lives on the main thread. Store and queue must outlive it; destroying it waits for what runs.
class ShaderValidationWorker : public ShaderJobWorker
{
    Q_OBJECT

public:
    explicit ShaderValidationWorker(ShaderValidationContextStore *contexts,
                                    QObject *parent = nullptr);
    ~ShaderValidationWorker() override;

signals:
    /// The job has ended, whoever ended it; `success` is that of the code.
    void validationFinished(quint64 jobId, bool success);

protected:
    std::optional<Compile> prepare(const QString &snapshotId, const QVariantMap &payload) override;
    void dropContext(const QString &snapshotId) override { m_contexts->take(snapshotId); }
    void announceEnd(quint64 jobId, bool success) override;

    /// The trial itself; on a thread of the worker.
    virtual ValidationResult doValidate(const ShaderValidationContext &context);

private:
    ShaderValidationContextStore *const m_contexts;
};

} // namespace corvane::shader
