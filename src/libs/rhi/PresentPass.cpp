#include <rhi/PresentPass.h>

#include <QFile>
#include <QLoggingCategory>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace rhi {

Q_LOGGING_CATEGORY(lcPresentPass, "ondrel.rhi.presentpass", QtWarningMsg)

namespace {

constexpr int paramsBinding = 0;
constexpr int textureBinding = 1;
constexpr float smallestScale = 1e-6f; ///< the shader divides by tile and zoom

/// The block `Params` of present.vert and present.frag, std140.
struct Params
{
    quint32 tonemapMode;
    quint32 flipY;
    float exposure;
    quint32 checkerEnabled;
    std::array<float, 4> checkerA;
    std::array<float, 4> checkerB;
    std::array<float, 2> checkerPan;
    float checkerTile;
    float checkerZoom;
};
static_assert(sizeof(Params) == 64);

std::array<float, 4> components(const QColor &color)
{
    return {color.redF(), color.greenF(), color.blueF(), color.alphaF()};
}

QShader loadShader(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcPresentPass).noquote() << "Cannot open" << path;
        return {};
    }
    return QShader::fromSerialized(file.readAll());
}

} // namespace

bool PresentPass::ensurePipeline(QRhi *rhi, QRhiRenderPassDescriptor *pass, int sampleCount)
{
    const QVector<quint32> format = pass->serializedFormat();
    if (m_pipeline && m_passFormat == format && m_sampleCount == sampleCount)
        return true;
    if ((!m_params && !createFixedParts(rhi)) || !createPipeline(rhi, pass, sampleCount)) {
        m_pipeline.reset();
        return false;
    }
    m_passFormat = format;
    m_sampleCount = sampleCount;
    return true;
}

bool PresentPass::rebuildSrb(QRhi *rhi, QRhiTexture *texture)
{
    if (m_texture == texture && m_bindings)
        return true;
    auto bindings = std::unique_ptr<QRhiShaderResourceBindings>(rhi->newShaderResourceBindings());
    constexpr auto vertex = QRhiShaderResourceBinding::VertexStage;
    constexpr auto fragment = QRhiShaderResourceBinding::FragmentStage;
    bindings->setBindings(
        {QRhiShaderResourceBinding::uniformBuffer(paramsBinding, vertex | fragment, m_params.get()),
         QRhiShaderResourceBinding::sampledTexture(textureBinding, fragment, texture,
                                                   m_sampler.get())});
    if (!bindings->create())
        return false;
    m_bindings = std::move(bindings);
    m_texture = texture;
    return true;
}

void PresentPass::update(QRhi *rhi, QRhiResourceUpdateBatch *updates,
                         const PresentSettings &settings, bool bottomUp)
{
    // The triangle begins at -1 of the device's y axis: below where that points up, above where it
    // points down. The texture begins there as it stands, unless it is flipped.
    const bool startsBelow = rhi->isYUpInNDC();
    const Params params{
        .tonemapMode = quint32(settings.toneMap),
        .flipY = bottomUp != startsBelow,
        .exposure = settings.exposure,
        .checkerEnabled = settings.checkerEnabled,
        .checkerA = components(settings.checkerA),
        .checkerB = components(settings.checkerB),
        .checkerPan = {float(settings.checkerPan.x()), float(settings.checkerPan.y())},
        .checkerTile = std::max(settings.checkerTile, smallestScale),
        .checkerZoom = std::max(settings.checkerZoom, smallestScale)};
    updates->updateDynamicBuffer(m_params.get(), 0, sizeof(Params), &params);
}

void PresentPass::draw(QRhiCommandBuffer *commands, const QSize &targetSize)
{
    commands->setGraphicsPipeline(m_pipeline.get());
    commands->setViewport({0, 0, float(targetSize.width()), float(targetSize.height())});
    commands->setShaderResources(m_bindings.get());
    commands->draw(3);
}

void PresentPass::release()
{
    m_pipeline.reset();
    m_bindings.reset();
    m_layoutTexture.reset();
    m_sampler.reset();
    m_params.reset();
    m_texture = nullptr;
    m_passFormat.clear();
}

bool PresentPass::createFixedParts(QRhi *rhi)
{
    m_params.reset(rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer, sizeof(Params)));
    m_sampler.reset(rhi->newSampler(QRhiSampler::Linear, QRhiSampler::Linear, QRhiSampler::None,
                                    QRhiSampler::ClampToEdge, QRhiSampler::ClampToEdge));
    m_layoutTexture.reset(rhi->newTexture(QRhiTexture::RGBA8, {1, 1}));
    if (m_params->create() && m_sampler->create() && m_layoutTexture->create())
        return true;
    m_params.reset(); // so that a later call tries again
    return false;
}

bool PresentPass::createPipeline(QRhi *rhi, QRhiRenderPassDescriptor *pass, int sampleCount)
{
    if (!m_bindings && !rebuildSrb(rhi, m_layoutTexture.get()))
        return false;
    if (m_texture == m_layoutTexture.get())
        m_texture = nullptr;
    m_pipeline.reset(rhi->newGraphicsPipeline());
    m_pipeline->setShaderStages({{QRhiShaderStage::Vertex, loadShader(u":/present.vert.qsb"_s)},
                                 {QRhiShaderStage::Fragment, loadShader(u":/present.frag.qsb"_s)}});
    m_pipeline->setSampleCount(sampleCount);
    m_pipeline->setShaderResourceBindings(m_bindings.get());
    m_pipeline->setRenderPassDescriptor(pass);
    return m_pipeline->create();
}

} // namespace rhi
