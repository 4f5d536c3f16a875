#include <corvane/rendering/EnvironmentLayer.h>

#include <corvane/rendering/CameraUniforms.h>
#include <corvane/rendering/RenderStateManager.h>
#include <corvane/rendering/RhiContext.h>
#include <corvane/shader/IEnvironment.h>
#include <corvane/shader/getShader.h>

#include <cstring>
#include <utility>

namespace corvane::rendering {

using namespace Qt::StringLiterals;
using shader::SDFUniforms;

void EnvironmentLayer::setShaderJobs(const ShaderJobs &jobs)
{
    m_compile.setJobs(jobs, [this] {
        if (renderState())
            renderState()->requestRender(RenderTrigger::Progress);
    });
}

void EnvironmentLayer::setEnvironment(const QSharedPointer<shader::IEnvironment> &environment)
{
    if (std::exchange(m_environment, environment) == environment)
        return;
    m_isShaderStale = true;
    if (renderState())
        renderState()->requestRender(RenderTrigger::Settings);
}

bool EnvironmentLayer::initialize(RhiContext &context)
{
    QString error;
    if (!context.ensureResourceUpdates() ||
        !m_quad.create(context.rhi, context.resourceUpdates, &error)) {
        reportLayerError(ErrorSeverity::Error, error);
        setDisabledByErrors(true);
        return false;
    }
    m_uniformBuffer.reset(context.rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer,
                                                 sizeof(SDFUniforms)));
    if (!m_uniformBuffer->create()) {
        reportLayerError(ErrorSeverity::Error, u"Failed to create uniform buffer"_s);
        setDisabledByErrors(true);
        return false;
    }
    m_isUploaded = false;
    m_isPassStale = true;
    return true;
}

void EnvironmentLayer::update(RhiContext &context, qint64)
{
    if (std::exchange(m_isShaderStale, false))
        rebuildPipeline(context);
    const auto compile = m_compile.poll();
    if (compile == ShaderCompile::State::Done) {
        m_shader = m_compile.takeShader();
        m_isPassStale = true;
    } else if (compile == ShaderCompile::State::Failed) {
        reportLayerError(ErrorSeverity::Warning, m_compile.takeError());
    }
    if (std::exchange(m_isPassStale, false) && m_shader.isValid())
        buildPass(context);
    if (!m_environment)
        return;
    SDFUniforms uniforms;
    setCameraUniforms(uniforms, context, worldTransform());
    m_environment->fillUniforms(uniforms.envParams.front().data(), 16);
    if (std::exchange(m_isUploaded, true) && uniforms == m_uniforms)
        return;
    m_uniforms = uniforms;
    context.ensureResourceUpdates()->updateDynamicBuffer(m_uniformBuffer.get(), 0,
                                                         sizeof(SDFUniforms), &m_uniforms);
}

void EnvironmentLayer::rebuildPipeline(RhiContext &)
{
    const QString source = m_environment ? m_environment->fragmentShaderSource() : QString();
    m_compile.cancel();
    if (source.isEmpty()) {
        m_shader = {};
        m_pass.release();
        return;
    }
    m_compile.start(source, u"environment"_s,
                    {.name = u"environment"_s,
                     .failedAtOnce = u"Failed to compile environment shader: "_s,
                     .failedAsJob = u"Batch shader compilation failed: "_s});
}

bool EnvironmentLayer::buildPass(RhiContext &context)
{
    constexpr auto stages =
        QRhiShaderResourceBinding::VertexStage | QRhiShaderResourceBinding::FragmentStage;
    QString error;
    const bool isBuilt = m_pass.build(
        context.rhi,
        {.vertex = shader::getShader(u":/sdf.vert.qsb"_s),
         .fragment = m_shader,
         .renderPass = context.renderPassDescriptor,
         .sampleCount = context.sampleCount,
         .depthCompare = QRhiGraphicsPipeline::Always,
         .writesDepth = false,
         .bindings = {QRhiShaderResourceBinding::uniformBuffer(0, stages, m_uniformBuffer.get())}},
        &error);
    if (!isBuilt)
        reportLayerError(ErrorSeverity::Warning, error);
    return isBuilt;
}

void EnvironmentLayer::renderPre(RhiContext &context)
{
    if (m_environment && m_pass.isValid())
        m_pass.draw(context.commandBuffer, m_quad, context.pixelSize);
}

void EnvironmentLayer::releaseResources()
{
    m_pass.release();
    m_quad.release();
    m_uniformBuffer.reset();
}

void EnvironmentLayer::onSampleCountChanged(int)
{
    m_isPassStale = true;
}

} // namespace corvane::rendering
