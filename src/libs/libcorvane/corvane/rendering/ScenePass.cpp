// A pipeline costs twice: the compile of its shader to SPIR-V, kept by shader::ArtifactCache, and
// the driver's compile of that, whose result the driver gives out as bytes. Those are kept under
// the shader and the driver, fed to the device before the pipeline is made, and stored after the
// first time.

#include <corvane/rendering/ScenePass.h>

#include <corvane/rendering/FullScreenQuad.h>
#include <rhi/GpuErrorCapture.h>
#include <shader/ArtifactCache.h>

#include <QDebug>
#include <QLoggingCategory>

namespace corvane::rendering {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcPass, "ondrel.rendering.pass", QtWarningMsg)

namespace {

QString driverText(QRhi *rhi)
{
    QString text;
    QDebug(&text) << rhi->driverInfo();
    return text;
}

/// Feeds a device what a former run of the same shader left; true when there was something.
bool loadDriverCache(QRhi *rhi, const QString &key)
{
    const QByteArray bytes = ::shader::ArtifactCache::instance().loadPipelineCache(key);
    if (!bytes.isEmpty())
        rhi->setPipelineCacheData(bytes);
    return !bytes.isEmpty();
}

void saveDriverCache(QRhi *rhi, const QString &key)
{
    const QByteArray bytes = rhi->pipelineCacheData();
    if (!bytes.isEmpty()) {
        ::shader::ArtifactCache::instance().savePipelineCache(key, bytes);
        return;
    }
    qCInfo(lcPass)
        << "[CACHE] QRhi::pipelineCacheData() returned EMPTY — this context can't export "
           "a cache (no EnablePipelineCacheDataSave; expected for the QRhiWidget-owned "
           "QRhi). Prime it from an offscreen-saved cache instead.";
}

QRhiGraphicsPipeline::TargetBlend targetBlend(bool blends)
{
    QRhiGraphicsPipeline::TargetBlend blend;
    blend.enable = blends;
    blend.srcColor = QRhiGraphicsPipeline::SrcAlpha;
    blend.dstColor = QRhiGraphicsPipeline::OneMinusSrcAlpha;
    blend.srcAlpha = QRhiGraphicsPipeline::One;
    blend.dstAlpha = QRhiGraphicsPipeline::OneMinusSrcAlpha;
    return blend;
}

std::unique_ptr<QRhiShaderResourceBindings>
makeBindings(QRhi *rhi, const QList<QRhiShaderResourceBinding> &bindings)
{
    std::unique_ptr<QRhiShaderResourceBindings> made(rhi->newShaderResourceBindings());
    made->setBindings(bindings.cbegin(), bindings.cend());
    return made->create() ? std::move(made) : nullptr;
}

std::unique_ptr<QRhiGraphicsPipeline> makePipeline(QRhi *rhi,
                                                   const ScenePass::Description &description)
{
    std::unique_ptr<QRhiGraphicsPipeline> pipeline(rhi->newGraphicsPipeline());
    pipeline->setShaderStages({{QRhiShaderStage::Vertex, description.vertex},
                               {QRhiShaderStage::Fragment, description.fragment}});
    pipeline->setVertexInputLayout(FullScreenQuad::inputLayout());
    pipeline->setRenderPassDescriptor(description.renderPass);
    pipeline->setSampleCount(description.sampleCount);
    const QList<QRhiGraphicsPipeline::TargetBlend> blends(description.colorAttachments,
                                                          targetBlend(description.blends));
    pipeline->setTargetBlends(blends.cbegin(), blends.cend());
    pipeline->setDepthTest(true);
    pipeline->setDepthWrite(description.writesDepth);
    pipeline->setDepthOp(description.depthCompare);
    return pipeline;
}

} // namespace

bool ScenePass::build(QRhi *rhi, const Description &description, QString *error)
{
    auto bindings = makeBindings(rhi, description.bindings);
    if (!bindings) {
        *error = u"Failed to create shader resource bindings"_s;
        return false;
    }
    auto pipeline = makePipeline(rhi, description);
    pipeline->setShaderResourceBindings(bindings.get());
    const QString key = ::shader::ArtifactCache::pipelineCacheKey(description.fragment.serialized(),
                                                                  driverText(rhi));
    const bool isKnown = loadDriverCache(rhi, key);
    const ::rhi::GpuErrorCapture capture;
    if (!pipeline->create()) {
        *error = capture.humanReadableSummary();
        return false;
    }
    if (!isKnown)
        saveDriverCache(rhi, key);
    m_pipeline = std::move(pipeline);
    m_bindings = std::move(bindings);
    return true;
}

bool ScenePass::rebind(QRhi *rhi, const QList<QRhiShaderResourceBinding> &bindings)
{
    auto made = makeBindings(rhi, bindings);
    if (!made)
        return false;
    m_bindings = std::move(made);
    return true;
}

void ScenePass::release()
{
    m_pipeline.reset();
    m_bindings.reset();
}

void ScenePass::draw(QRhiCommandBuffer *commands, const FullScreenQuad &quad, const QSize &size,
                     qint64 uniformOffset) const
{
    commands->setGraphicsPipeline(m_pipeline.get());
    commands->setViewport({0, 0, float(size.width()), float(size.height())});
    const QRhiCommandBuffer::DynamicOffset offset(0, quint32(uniformOffset));
    commands->setShaderResources(m_bindings.get(), uniformOffset < 0 ? 0 : 1, &offset);
    quad.draw(commands);
}

} // namespace corvane::rendering
