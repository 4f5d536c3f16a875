#include <corvane/shader/ShaderBuildWorker.h>

namespace corvane::shader {

using namespace Qt::StringLiterals;

ShaderBuildWorker::ShaderBuildWorker(ShaderBuildContextStore *contexts, QObject *parent)
    : ShaderJobWorker({.workerId = u"corvane/shader_build_worker"_s,
                       .jobType = u"corvane/shader_rebuild"_s,
                       .tags = {u"corvane"_s, u"shader"_s},
                       .mostAtOnce = 4,
                       .missingContext = u"Missing shader build context for snapshot: "_s,
                       .startLine = u"Starting shader compilation..."_s},
                      parent)
    , m_contexts(contexts)
{}

ShaderBuildWorker::~ShaderBuildWorker()
{
    waitForCompiles();
}

std::optional<ShaderJobWorker::Compile> ShaderBuildWorker::prepare(const QString &snapshotId,
                                                                   const QVariantMap &payload)
{
    const auto context = m_contexts->lookup(snapshotId);
    if (!context)
        return std::nullopt;
    return [this, context = *context, variant = payload.value(u"variant"_s)] {
        const ::shader::CompileResult compiled = doCompile(context);
        if (!compiled.shader.isValid())
            return Answer{.error = compiled.errorMessage};
        Answer answer{.isGood = true, .result = {{u"shaderData"_s, compiled.shader.serialized()}}};
        if (variant.isValid())
            answer.result.insert(u"variant"_s, variant);
        return answer;
    };
}

void ShaderBuildWorker::announceEnd(quint64 jobId, bool success)
{
    emit compilationFinished(jobId, success);
}

::shader::CompileResult ShaderBuildWorker::doCompile(const ShaderBuildContext &context)
{
    return ::shader::compileShader(context.source, context.stage, context.name, true);
}

} // namespace corvane::shader
