#include <corvane/rendering/DepthCopy.h>

#include <corvane/rendering/ClipSpace.h>
#include <corvane/shader/getShader.h>

#include <array>

namespace corvane::rendering {

using namespace Qt::StringLiterals;

namespace {

using Uniforms = std::array<float, 8>;

} // namespace

QRhiTexture *DepthCopy::draw(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *depth,
                             const QSize &size, const QRectF &region)
{
    if (!ensure(rhi, depth, size))
        return nullptr;
    // Row 0 of the target is to be row 0 of the source: the corner where the texture coordinates
    // begin lies at the lower end of the target's coordinates where rows begin at the bottom.
    const float yOfFirstRow = rhi->isYUpInFramebuffer() == rhi->isYUpInNDC() ? 1.0f : -1.0f;
    const Uniforms uniforms{float(region.x()),
                            float(region.y()),
                            float(region.width()),
                            float(region.height()),
                            0.0f,
                            yOfFirstRow,
                            0.0f,
                            0.0f};
    QRhiResourceUpdateBatch *const updates = rhi->nextResourceUpdateBatch();
    updates->updateDynamicBuffer(m_uniforms.get(), 0, sizeof(uniforms), uniforms.data());
    commands->beginPass(m_target.get(), Qt::black, {1.0f, 0}, updates);
    commands->setGraphicsPipeline(m_pipeline.get());
    commands->setViewport({0, 0, float(size.width()), float(size.height())});
    commands->setShaderResources(m_bindings.get());
    commands->draw(3);
    commands->endPass();
    return m_color.get();
}

void DepthCopy::release()
{
    m_pipeline.reset();
    m_bindings.reset();
    m_sampler.reset();
    m_uniforms.reset();
    m_target.reset();
    m_pass.reset();
    m_color.reset();
    m_source = nullptr;
}

bool DepthCopy::ensure(QRhi *rhi, QRhiTexture *depth, const QSize &size)
{
    if (m_pipeline && m_rhi == rhi && m_source == depth && m_color->pixelSize() == size)
        return true;
    release();
    m_rhi = rhi;
    m_source = depth;
    if (createTarget(rhi, size) && createPipeline(rhi, depth))
        return true;
    release();
    return false;
}

bool DepthCopy::createTarget(QRhi *rhi, const QSize &size)
{
    m_color.reset(rhi->newTexture(QRhiTexture::RGBA32F, size, 1,
                                  QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource));
    if (!m_color->create())
        return false;
    m_target.reset(rhi->newTextureRenderTarget({QRhiColorAttachment(m_color.get())}));
    m_pass.reset(m_target->newCompatibleRenderPassDescriptor());
    m_target->setRenderPassDescriptor(m_pass.get());
    return m_target->create();
}

bool DepthCopy::createPipeline(QRhi *rhi, QRhiTexture *depth)
{
    m_uniforms.reset(
        rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer, sizeof(Uniforms)));
    m_sampler.reset(rhi->newSampler(QRhiSampler::Nearest, QRhiSampler::Nearest, QRhiSampler::None,
                                    QRhiSampler::ClampToEdge, QRhiSampler::ClampToEdge));
    if (!m_uniforms->create() || !m_sampler->create())
        return false;
    m_bindings.reset(rhi->newShaderResourceBindings());
    m_bindings->setBindings(
        {QRhiShaderResourceBinding::uniformBuffer(0, QRhiShaderResourceBinding::VertexStage,
                                                  m_uniforms.get()),
         QRhiShaderResourceBinding::sampledTexture(1, QRhiShaderResourceBinding::FragmentStage,
                                                   depth, m_sampler.get())});
    m_pipeline.reset(rhi->newGraphicsPipeline());
    m_pipeline->setShaderStages(
        {{QRhiShaderStage::Vertex, shader::getShader(u":/depth_blit.vert.qsb"_s)},
         {QRhiShaderStage::Fragment, shader::getShader(u":/depth_blit.frag.qsb"_s)}});
    m_pipeline->setRenderPassDescriptor(m_pass.get());
    m_pipeline->setShaderResourceBindings(m_bindings.get());
    return m_bindings->create() && m_pipeline->create();
}

} // namespace corvane::rendering
