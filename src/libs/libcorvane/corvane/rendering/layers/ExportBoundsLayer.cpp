#include <corvane/rendering/layers/ExportBoundsLayer.h>

#include <corvane/rendering/ClipSpace.h>
#include <corvane/rendering/RhiContext.h>
#include <corvane/rendering/layers/Std140.h>
#include <corvane/rendering/post/BakedShader.h>
#include <corvane/rendering/post/LinearColor.h>

#include <array>
#include <cmath>
#include <cstddef>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

constexpr int edgeCount = 12;
constexpr int verticesPerEdge = 6;
constexpr float lineWidth = 1.5f; ///< pixels
constexpr float hiddenAlpha = 0.22f;
constexpr auto bothStages =
    QRhiShaderResourceBinding::VertexStage | QRhiShaderResourceBinding::FragmentStage;

struct LineVertex
{
    std::array<float, 3> begin{};
    std::array<float, 3> end{};
    std::array<float, 2> corner{}; ///< x: at the begin or the end, y: side of the line
};
static_assert(sizeof(LineVertex) == 32);
using BoxLines = std::array<LineVertex, edgeCount * verticesPerEdge>;

/// The block `Buf` of export_bounds.vert, std140.
struct LineBlock
{
    Std140::Matrix mvp{};
    Std140::Vector color{};
    Std140::Vector pixelSize{};
};
static_assert(sizeof(LineBlock) == 96);

/// Corner number `index`: bit n is whether it lies at the maximum of axis n.
std::array<float, 3> boxCorner(const QVector3D &min, const QVector3D &max, int index)
{
    return {(index & 1 ? max : min).x(), (index & 2 ? max : min).y(), (index & 4 ? max : min).z()};
}

BoxLines boxLines(const QVector3D &min, const QVector3D &max)
{
    constexpr std::array<std::array<float, 2>, verticesPerEdge> corners{
        {{0, -1}, {1, -1}, {1, 1}, {0, -1}, {1, 1}, {0, 1}}};
    BoxLines lines;
    std::size_t at = 0;
    for (int index = 0; index < 8; ++index) {
        for (const int axis : {1, 2, 4}) {
            if (index & axis)
                continue;
            for (const auto &corner : corners)
                lines[at++] = {.begin = boxCorner(min, max, index),
                               .end = boxCorner(min, max, index | axis),
                               .corner = corner};
        }
    }
    return lines;
}

QRhiVertexInputLayout lineLayout()
{
    using Attribute = QRhiVertexInputAttribute;
    QRhiVertexInputLayout layout;
    layout.setBindings({{quint32(sizeof(LineVertex))}});
    layout.setAttributes({{0, 0, Attribute::Float3, offsetof(LineVertex, begin)},
                          {0, 1, Attribute::Float3, offsetof(LineVertex, end)},
                          {0, 2, Attribute::Float2, offsetof(LineVertex, corner)}});
    return layout;
}

LineBlock lineBlock(const RhiContext &context, const QMatrix4x4 &model, const QColor &color,
                    float alpha)
{
    QVector4D light = linearColor(color);
    light.setW(light.w() * alpha);
    return {.mvp = Std140::matrix(ClipSpace::rasterProjection(context.rhi, context.projection) *
                                  context.view * model),
            .color = Std140::vector(light),
            .pixelSize = {float(context.pixelSize.width()), float(context.pixelSize.height()),
                          lineWidth, 0.0f}};
}

} // namespace

ExportBoundsLayer::ExportBoundsLayer()
{
    setVisible(false);
}

void ExportBoundsLayer::setBounds(const QVector3D &min, const QVector3D &max)
{
    m_isBoxStale = m_isBoxStale || m_min != min || m_max != max;
    m_min = min;
    m_max = max;
}

bool ExportBoundsLayer::initialize(RhiContext &context)
{
    m_vertices.reset(
        context.rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::VertexBuffer, sizeof(BoxLines)));
    const int stride = context.rhi->ubufAligned(sizeof(LineBlock));
    m_blocks.reset(context.rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer,
                                          quint32(2 * stride)));
    m_bindings.reset(context.rhi->newShaderResourceBindings());
    m_bindings->setBindings({QRhiShaderResourceBinding::uniformBufferWithDynamicOffset(
        0, bothStages, m_blocks.get(), sizeof(LineBlock))});
    m_isBoxStale = true;
    return m_vertices->create() && m_blocks->create() && m_bindings->create();
}

void ExportBoundsLayer::update(RhiContext &context, qint64)
{
    QRhiResourceUpdateBatch *const updates = context.ensureResourceUpdates();
    if (!updates || !hasBox())
        return;
    if (m_isBoxStale) {
        const BoxLines lines = boxLines(m_min, m_max);
        updates->updateDynamicBuffer(m_vertices.get(), 0, sizeof(lines), lines.data());
        m_isBoxStale = false;
    }
    const LineBlock seen = lineBlock(context, worldTransform(), m_color, 1.0f);
    const LineBlock hidden = lineBlock(context, worldTransform(), m_color, hiddenAlpha);
    const int stride = context.rhi->ubufAligned(sizeof(LineBlock));
    updates->updateDynamicBuffer(m_blocks.get(), 0, sizeof(seen), &seen);
    updates->updateDynamicBuffer(m_blocks.get(), stride, sizeof(hidden), &hidden);
}

void ExportBoundsLayer::renderPre(RhiContext &context)
{
    if (!hasBox() || m_isBoxStale || !createPipelines(context))
        return;
    QRhiCommandBuffer *const commands = context.commandBuffer;
    const quint32 stride = quint32(context.rhi->ubufAligned(sizeof(LineBlock)));
    const QRhiCommandBuffer::VertexInput input(m_vertices.get(), 0);
    quint32 at = 0;
    for (QRhiGraphicsPipeline *const pipeline : {m_seen.get(), m_hidden.get()}) {
        const QRhiCommandBuffer::DynamicOffset offset(0, at);
        commands->setGraphicsPipeline(pipeline);
        commands->setViewport(
            {0, 0, float(context.pixelSize.width()), float(context.pixelSize.height())});
        commands->setShaderResources(m_bindings.get(), 1, &offset);
        commands->setVertexInput(0, 1, &input);
        commands->draw(edgeCount * verticesPerEdge);
        at += stride;
    }
}

void ExportBoundsLayer::releaseResources()
{
    m_seen.reset();
    m_hidden.reset();
    m_bindings.reset();
    m_blocks.reset();
    m_vertices.reset();
    m_passFormat.clear();
    m_failed = false;
}

BoundingVolume ExportBoundsLayer::boundingVolume() const
{
    return hasBox() ? BoundingVolume(m_min, m_max) : BoundingVolume();
}

bool ExportBoundsLayer::hasBox() const
{
    for (int axis = 0; axis < 3; ++axis) {
        if (!(m_min[axis] < m_max[axis]) || !std::isfinite(m_min[axis]) ||
            !std::isfinite(m_max[axis]))
            return false;
    }
    return true;
}

bool ExportBoundsLayer::createPipelines(RhiContext &context)
{
    const QVector<quint32> format = context.renderPassDescriptor->serializedFormat();
    if (m_failed || (m_seen && m_passFormat == format && m_sampleCount == context.sampleCount))
        return !m_failed;
    m_seen = createPipeline(context, QRhiGraphicsPipeline::LessOrEqual);
    m_hidden = createPipeline(context, QRhiGraphicsPipeline::Greater);
    m_passFormat = format;
    m_sampleCount = context.sampleCount;
    m_failed = !m_seen || !m_hidden;
    return !m_failed;
}

std::unique_ptr<QRhiGraphicsPipeline>
ExportBoundsLayer::createPipeline(RhiContext &context, QRhiGraphicsPipeline::CompareOp op)
{
    const QShader vertex = bakedShader(u":/export_bounds.vert.qsb"_s);
    const QShader fragment = bakedShader(u":/export_bounds.frag.qsb"_s);
    if (!vertex.isValid() || !fragment.isValid())
        return nullptr;
    std::unique_ptr<QRhiGraphicsPipeline> pipeline(context.rhi->newGraphicsPipeline());
    pipeline->setShaderStages(
        {{QRhiShaderStage::Vertex, vertex}, {QRhiShaderStage::Fragment, fragment}});
    pipeline->setVertexInputLayout(lineLayout());
    pipeline->setSampleCount(context.sampleCount);
    QRhiGraphicsPipeline::TargetBlend blend;
    blend.enable = true;
    blend.srcColor = QRhiGraphicsPipeline::SrcAlpha;
    blend.dstColor = QRhiGraphicsPipeline::OneMinusSrcAlpha;
    blend.srcAlpha = QRhiGraphicsPipeline::One;
    blend.dstAlpha = QRhiGraphicsPipeline::OneMinusSrcAlpha;
    pipeline->setTargetBlends({blend});
    pipeline->setDepthTest(true);
    pipeline->setDepthOp(op);
    pipeline->setShaderResourceBindings(m_bindings.get());
    pipeline->setRenderPassDescriptor(context.renderPassDescriptor);
    return pipeline->create() ? std::move(pipeline) : nullptr;
}

} // namespace corvane::rendering
