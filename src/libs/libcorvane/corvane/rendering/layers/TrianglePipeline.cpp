#include <corvane/rendering/layers/TrianglePipeline.h>

#include <corvane/rendering/layers/SurfaceVertices.h>
#include <corvane/rendering/post/BakedShader.h>

#include <cstddef>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

QRhiVertexInputLayout vertexLayout()
{
    using Attribute = QRhiVertexInputAttribute;
    QRhiVertexInputLayout layout;
    layout.setBindings({{quint32(sizeof(SurfaceVertex))}});
    layout.setAttributes({{0, 0, Attribute::Float3, offsetof(SurfaceVertex, position)},
                          {0, 1, Attribute::Float3, offsetof(SurfaceVertex, normal)},
                          {0, 2, Attribute::UNormByte4, offsetof(SurfaceVertex, color)}});
    return layout;
}

} // namespace

bool TrianglePipeline::ensure(QRhi *rhi, QRhiRenderPassDescriptor *pass, int sampleCount,
                              QRhiShaderResourceBindings *bindings)
{
    const bool isFitting =
        m_pipeline && m_sampleCount == sampleCount && m_passFormat == pass->serializedFormat();
    if (m_failed || isFitting)
        return !m_failed;
    const QShader vertex = bakedShader(u":/surface.vert.qsb"_s);
    const QShader fragment = bakedShader(m_fragmentShader);
    m_pipeline.reset(rhi->newGraphicsPipeline());
    m_pipeline->setShaderStages(
        {{QRhiShaderStage::Vertex, vertex}, {QRhiShaderStage::Fragment, fragment}});
    m_pipeline->setVertexInputLayout(vertexLayout());
    m_pipeline->setSampleCount(sampleCount);
    m_pipeline->setDepthTest(true);
    m_pipeline->setDepthWrite(true);
    m_pipeline->setDepthOp(QRhiGraphicsPipeline::LessOrEqual);
    const QVector<QRhiGraphicsPipeline::TargetBlend> blends(m_colorAttachments);
    m_pipeline->setTargetBlends(blends.cbegin(), blends.cend());
    m_pipeline->setShaderResourceBindings(bindings);
    m_pipeline->setRenderPassDescriptor(pass);
    m_failed = !vertex.isValid() || !fragment.isValid() || !m_pipeline->create();
    m_passFormat = pass->serializedFormat();
    m_sampleCount = sampleCount;
    return !m_failed;
}

void TrianglePipeline::release()
{
    m_pipeline.reset();
    m_passFormat.clear();
    m_failed = false;
}

} // namespace corvane::rendering
