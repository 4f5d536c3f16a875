#include <corvane/shader/ShadingPipelineWorker.h>

#include <shader/compileShader.h>

#include <QFile>

namespace corvane::shader {

using namespace Qt::StringLiterals;

namespace {

/// One shader of the pass, and what a failure of it is called.
struct Part
{
    QString source;
    QShader::Stage stage;
    QString name;
    QString failure;
    QShader ShadingPipelineShaders::*shader;
};

QString resource(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QList<Part> partsOf(const ShadingPipelineContext &context)
{
    QList<Part> parts{{context.source, QShader::FragmentStage, u"sdf_shading"_s,
                       u"Shading shader compile failed: "_s, &ShadingPipelineShaders::shading}};
    if (!context.needsAccumulation)
        return parts;
    parts.append({resource(u":/shaders/accum_blit.vert"_s), QShader::VertexStage,
                  u"accum_blit_vert"_s, u"Blit vertex shader compile failed: "_s,
                  &ShadingPipelineShaders::blitVertex});
    parts.append({resource(u":/shaders/accum_blit.frag"_s), QShader::FragmentStage,
                  u"accum_blit_frag"_s, u"Blit fragment shader compile failed: "_s,
                  &ShadingPipelineShaders::blitFragment});
    return parts;
}

} // namespace

ShadingPipelineWorker::ShadingPipelineWorker(ShadingPipelineContextStore *contexts, QObject *parent)
    : ShaderJobWorker({.workerId = u"corvane/shading_pipeline_worker"_s,
                       .jobType = u"corvane/shading_pipeline_rebuild"_s,
                       .tags = {u"corvane"_s, u"shader"_s, u"shading"_s},
                       .mostAtOnce = 2,
                       .missingContext = u"Missing shading pipeline context for snapshot: "_s,
                       .startLine = u"Starting shading pipeline compilation..."_s},
                      parent)
    , m_contexts(contexts)
{}

ShadingPipelineWorker::~ShadingPipelineWorker()
{
    waitForCompiles();
}

std::optional<ShaderJobWorker::Compile> ShadingPipelineWorker::prepare(const QString &snapshotId,
                                                                       const QVariantMap &)
{
    const auto context = m_contexts->lookup(snapshotId);
    if (!context)
        return std::nullopt;
    return [this, context = *context] {
        const ShadingPipelineShaders shaders = doCompile(context);
        if (!shaders.error.isEmpty())
            return Answer{.error = shaders.error};
        Answer answer{.isGood = true,
                      .result = {{u"shadingShaderData"_s, shaders.shading.serialized()},
                                 {u"needsAccumulation"_s, context.needsAccumulation}}};
        if (context.needsAccumulation) {
            answer.result.insert(u"blitVertShaderData"_s, shaders.blitVertex.serialized());
            answer.result.insert(u"blitFragShaderData"_s, shaders.blitFragment.serialized());
        }
        return answer;
    };
}

void ShadingPipelineWorker::announceEnd(quint64 jobId, bool success)
{
    emit compilationFinished(jobId, success);
}

ShadingPipelineShaders ShadingPipelineWorker::doCompile(const ShadingPipelineContext &context)
{
    ShadingPipelineShaders shaders;
    const QList<Part> parts = partsOf(context);
    for (const Part &part : parts) {
        const ::shader::CompileResult compiled =
            ::shader::compileShader(part.source, part.stage, part.name);
        if (!compiled.shader.isValid())
            return {.error = part.failure + compiled.errorMessage};
        shaders.*part.shader = compiled.shader;
    }
    return shaders;
}

} // namespace corvane::shader
