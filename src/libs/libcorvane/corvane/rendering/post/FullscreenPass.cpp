#include <corvane/rendering/post/FullscreenPass.h>

#include <corvane/rendering/post/BakedShader.h>

#include <array>

namespace corvane::rendering {

namespace {

/// One triangle around the target: without the seam of two, along which texels are drawn twice.
constexpr std::array<float, 6> corners{0.0f, 0.0f, 2.0f, 0.0f, 0.0f, 2.0f};

} // namespace

FullscreenPass::FullscreenPass(const QString &fragmentShader, const FullscreenState &state,
                               const QString &vertexShader)
    : m_vertexShader(vertexShader)
    , m_fragmentShader(fragmentShader)
    , m_state(state)
{}

bool FullscreenPass::prepare(QRhi *rhi, QRhiResourceUpdateBatch *updates)
{
    if (m_corners)
        return true;
    std::unique_ptr<QRhiBuffer> buffer(
        rhi->newBuffer(QRhiBuffer::Immutable, QRhiBuffer::VertexBuffer, sizeof(corners)));
    if (!updates || !buffer->create())
        return false;
    updates->uploadStaticBuffer(buffer.get(), corners.data());
    m_corners = std::move(buffer);
    return true;
}

bool FullscreenPass::ensure(QRhi *rhi, QRhiRenderPassDescriptor *pass, int sampleCount,
                            const QVector<QRhiShaderResourceBinding> &bindings)
{
    if (m_failed || !m_corners)
        return false;
    m_failed = !ensureBindings(rhi, bindings);
    const bool isFitting =
        m_pipeline && m_sampleCount == sampleCount && m_passFormat == pass->serializedFormat();
    if (!m_failed && !isFitting)
        m_failed = !createPipeline(rhi, pass, sampleCount);
    return !m_failed;
}

void FullscreenPass::draw(QRhiCommandBuffer *commands, const QSize &targetSize) const
{
    commands->setGraphicsPipeline(m_pipeline.get());
    commands->setViewport({0, 0, float(targetSize.width()), float(targetSize.height())});
    commands->setShaderResources(m_bindings.get());
    const QRhiCommandBuffer::VertexInput input(m_corners.get(), 0);
    commands->setVertexInput(0, 1, &input);
    commands->draw(3);
}

void FullscreenPass::release()
{
    m_pipeline.reset();
    m_bindings.reset();
    m_corners.reset();
    m_bound.clear();
    m_passFormat.clear();
    m_failed = false;
}

// Another texture in a place changes what is bound, not the layout that the pipeline was made for.
bool FullscreenPass::ensureBindings(QRhi *rhi, const QVector<QRhiShaderResourceBinding> &bindings)
{
    if (m_bindings && m_bound == bindings)
        return true;
    m_bindings.reset(rhi->newShaderResourceBindings());
    m_bindings->setBindings(bindings.cbegin(), bindings.cend());
    m_bound = bindings;
    return m_bindings->create();
}

bool FullscreenPass::createPipeline(QRhi *rhi, QRhiRenderPassDescriptor *pass, int sampleCount)
{
    const QShader vertex = bakedShader(m_vertexShader);
    const QShader fragment = bakedShader(m_fragmentShader);
    if (!vertex.isValid() || !fragment.isValid())
        return false;
    m_pipeline.reset(rhi->newGraphicsPipeline());
    m_pipeline->setShaderStages(
        {{QRhiShaderStage::Vertex, vertex}, {QRhiShaderStage::Fragment, fragment}});
    QRhiVertexInputLayout layout;
    layout.setBindings({{2 * sizeof(float)}});
    layout.setAttributes({{0, 0, QRhiVertexInputAttribute::Float2, 0}});
    m_pipeline->setVertexInputLayout(layout);
    m_pipeline->setSampleCount(sampleCount);
    m_pipeline->setShaderResourceBindings(m_bindings.get());
    m_pipeline->setRenderPassDescriptor(pass);
    setState(*m_pipeline);
    m_passFormat = pass->serializedFormat();
    m_sampleCount = sampleCount;
    return m_pipeline->create();
}

void FullscreenPass::setState(QRhiGraphicsPipeline &pipeline) const
{
    QRhiGraphicsPipeline::TargetBlend blend;
    blend.enable = m_state.blend;
    blend.srcColor = QRhiGraphicsPipeline::SrcAlpha;
    blend.dstColor = QRhiGraphicsPipeline::OneMinusSrcAlpha;
    blend.srcAlpha = QRhiGraphicsPipeline::One;
    blend.dstAlpha = QRhiGraphicsPipeline::OneMinusSrcAlpha;
    pipeline.setTargetBlends({blend});
    pipeline.setDepthTest(m_state.depthTest || m_state.depthWrite);
    pipeline.setDepthWrite(m_state.depthWrite);
    pipeline.setDepthOp(m_state.depthTest ? QRhiGraphicsPipeline::LessOrEqual
                                          : QRhiGraphicsPipeline::Always);
}

} // namespace corvane::rendering
