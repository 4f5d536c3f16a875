#include <corvane/rendering/thumbnail/ThumbnailRHIContext.h>

#include <corvane/rendering/thumbnail/ThumbnailPicture.h>
#include <corvane/rendering/thumbnail/ThumbnailUniforms.h>
#include <shader/ArtifactCache.h>
#include <shader/compileShader.h>

#include <QCryptographicHash>
#include <QLoggingCategory>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

Q_LOGGING_CATEGORY(lcThumbnail, "ondrel.corvane.thumbnail", QtWarningMsg)

namespace {

constexpr int uniformBytes = 768;           ///< of the larger of the two blocks
constexpr qsizetype firstNodeCapacity = 64; ///< then it doubles
constexpr std::size_t mostPipelines = 64;
constexpr int firstLookReduction = 4; ///< of the sides of the picture that finds the part's frame

/// Two triangles as a strip, in the order of `quadOrder`: x, y, z in the device's coordinates, then
/// u, v of the picture with y up.
constexpr int quadVertices = 4;
constexpr int quadStride = 5 * sizeof(float);

std::array<float, quadVertices * 5> quadOf(const QRhi &rhi)
{
    const float up = rhi.isYUpInNDC() ? 1.0f : -1.0f;
    return {-1, -up, 0, 0, 0, 1, -up, 0, 1, 0, -1, up, 0, 0, 1, 1, up, 0, 1, 1};
}

QRhiVertexInputLayout quadLayout()
{
    QRhiVertexInputLayout layout;
    layout.setBindings({{quadStride}});
    layout.setAttributes({{0, 0, QRhiVertexInputAttribute::Float3, 0},
                          {0, 1, QRhiVertexInputAttribute::Float2, 3 * sizeof(float)}});
    return layout;
}

QSize allowedSize(const QSize &size)
{
    const auto side = [](int wanted) {
        return std::clamp(wanted, ThumbnailLimits::smallestSide, ThumbnailLimits::largestSide);
    };
    return {side(size.width()), side(size.height())};
}

QImage imageOf(const QRhiReadbackResult &result, bool bottomUp)
{
    const QSize size = result.pixelSize;
    if (result.data.size() < qsizetype(size.width()) * size.height() * 4)
        return {};
    const QImage view(reinterpret_cast<const uchar *>(result.data.constData()), size.width(),
                      size.height(), size.width() * 4, QImage::Format_RGBA8888);
    return bottomUp ? view.mirrored() : view.copy();
}

} // namespace

ThumbnailRHIContext::ThumbnailRHIContext(QOffscreenSurface *surface)
    : m_surface(surface)
{}

ThumbnailRHIContext::~ThumbnailRHIContext()
{
    release();
}

bool ThumbnailRHIContext::initialize(const QShader &vertexShader)
{
    release();
    m_vertexShader = vertexShader;
    m_rhi = rhi::createOffscreenRhi(m_surface);
    if (!m_rhi)
        return false;
    if (!m_rhi->isFeatureSupported(QRhi::Compute)) {
        qCWarning(lcThumbnail) << "ThumbnailRHIContext: storage buffers unsupported on this "
                                  "backend (needs ES 3.1+ / Compute)";
        release();
        return false;
    }
    if (!createBuffers()) {
        qCWarning(lcThumbnail) << "ThumbnailRHIContext: failed to create buffers";
        release();
        return false;
    }
    loadPipelineCache();
    return true;
}

ThumbnailRHIContext::Picture ThumbnailRHIContext::render(const ThumbnailRenderRequest &request)
{
    if (!isValid() && !initialize(m_vertexShader))
        return {.image = {}, .error = u"no device that can draw it"_s};
    QString error;
    if (!ensureTarget(allowedSize(request.size) * ThumbnailLimits::samplesPerSide))
        return failed(u"no render target of its size"_s);
    if (!ensureNodeBuffer(request.nodes.size()))
        return failed(u"Failed to grow node buffer"_s);
    Pipeline *pipeline = pipelineFor(request, error);
    if (!pipeline)
        return failed(error);
    Picture picture =
        request.section ? drawSection(*pipeline, request) : drawPart(*pipeline, request);
    if (!picture.image.isNull())
        picture.image = averaged(picture.image, ThumbnailLimits::samplesPerSide);
    return picture;
}

void ThumbnailRHIContext::release()
{
    if (m_rhi && m_hasNewPipelines)
        savePipelineCache();
    m_pipelines.clear();
    m_target = {};
    m_nodes.reset();
    m_uniforms.reset();
    m_quad.reset();
    m_nodeCapacity = 0;
    m_hasNewPipelines = false;
    m_rhi.reset();
}

bool ThumbnailRHIContext::createBuffers()
{
    m_quad.reset(m_rhi->newBuffer(QRhiBuffer::Immutable, QRhiBuffer::VertexBuffer,
                                  quadVertices * quadStride));
    m_uniforms.reset(
        m_rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer, uniformBytes));
    return m_quad->create() && m_uniforms->create() && ensureNodeBuffer(firstNodeCapacity);
}

bool ThumbnailRHIContext::ensureTarget(const QSize &size)
{
    if (m_target.texture && m_target.texture->pixelSize() == size)
        return true;
    Target made;
    made.texture.reset(
        m_rhi->newTexture(QRhiTexture::RGBA8, size, 1,
                          QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource));
    if (!made.texture->create())
        return false;
    made.target.reset(m_rhi->newTextureRenderTarget({made.texture.get()}));
    made.descriptor.reset(made.target->newCompatibleRenderPassDescriptor());
    made.target->setRenderPassDescriptor(made.descriptor.get());
    if (!made.target->create())
        return false;
    // Pipelines know their target by its descriptor. Those of all sizes are compatible, but keep
    // pointing to the one that they were made with.
    m_pipelines.clear();
    m_target = std::move(made);
    return true;
}

bool ThumbnailRHIContext::ensureNodeBuffer(qsizetype nodes)
{
    if (m_nodes && nodes <= m_nodeCapacity)
        return true;
    qsizetype capacity = std::max(m_nodeCapacity, firstNodeCapacity);
    while (capacity < nodes)
        capacity *= 2;
    const qsizetype bytes = capacity * qsizetype(sizeof(shader::SDFNode));
    std::unique_ptr<QRhiBuffer> grown(
        m_rhi->newBuffer(QRhiBuffer::Static, QRhiBuffer::StorageBuffer, quint32(bytes)));
    if (!grown->create())
        return false;
    if (m_nodes)
        qCInfo(lcThumbnail) << "ThumbnailRHIContext: node buffer grow to" << capacity;
    m_pipelines.clear(); // what they bind is the old one
    m_nodes = std::move(grown);
    m_nodeCapacity = capacity;
    return true;
}

ThumbnailRHIContext::Pipeline *
ThumbnailRHIContext::pipelineFor(const ThumbnailRenderRequest &request, QString &error)
{
    const QByteArray key =
        QCryptographicHash::hash(request.shaderSource.toUtf8(), QCryptographicHash::Sha256);
    if (const auto known = m_pipelines.find(key); known != m_pipelines.end())
        return known->second.get();
    qCInfo(lcThumbnail).noquote() << "ThumbnailRHIContext: Generating fragment shader from"
                                  << request.subject;
    const auto compiled =
        ::shader::compileShader(request.shaderSource, QShader::FragmentStage, request.subject);
    if (!compiled.shader.isValid()) {
        error = u"narrowed shader compile failed: %1"_s.arg(compiled.errorMessage);
        return nullptr;
    }
    auto made = makePipeline(compiled.shader);
    if (!made) {
        error = u"the device makes no pipeline of its shader"_s;
        return nullptr;
    }
    if (m_pipelines.size() >= mostPipelines)
        m_pipelines.clear();
    m_hasNewPipelines = true;
    if (request.section)
        qCInfo(lcThumbnail) << "ThumbnailRHIContext: Cross-section pipeline created";
    return m_pipelines.emplace(key, std::move(made)).first->second.get();
}

std::unique_ptr<ThumbnailRHIContext::Pipeline>
ThumbnailRHIContext::makePipeline(const QShader &fragment)
{
    auto made = std::make_unique<Pipeline>();
    constexpr auto stages =
        QRhiShaderResourceBinding::VertexStage | QRhiShaderResourceBinding::FragmentStage;
    made->bindings.reset(m_rhi->newShaderResourceBindings());
    made->bindings->setBindings(
        {QRhiShaderResourceBinding::uniformBuffer(0, stages, m_uniforms.get()),
         QRhiShaderResourceBinding::bufferLoad(1, QRhiShaderResourceBinding::FragmentStage,
                                               m_nodes.get())});
    made->pipeline.reset(m_rhi->newGraphicsPipeline());
    made->pipeline->setTopology(QRhiGraphicsPipeline::TriangleStrip);
    made->pipeline->setShaderStages(
        {{QRhiShaderStage::Vertex, m_vertexShader}, {QRhiShaderStage::Fragment, fragment}});
    made->pipeline->setVertexInputLayout(quadLayout());
    made->pipeline->setShaderResourceBindings(made->bindings.get());
    made->pipeline->setRenderPassDescriptor(m_target.descriptor.get());
    if (!made->bindings->create() || !made->pipeline->create())
        return nullptr;
    return made;
}

ThumbnailRHIContext::Picture ThumbnailRHIContext::drawPart(Pipeline &pipeline,
                                                           const ThumbnailRenderRequest &request)
{
    const ThumbnailPart part = findThumbnailPart(request);
    const QSize size = m_target.texture->pixelSize();
    const camera::Camera camera = thumbnailCamera(part.box, size);
    const Picture small = draw(pipeline, request.nodes, partUniforms(request, part, camera),
                               size / firstLookReduction);
    if (small.image.isNull())
        return small;
    return draw(pipeline, request.nodes, partUniforms(request, part, framed(camera, small.image)),
                size);
}

ThumbnailRHIContext::Picture ThumbnailRHIContext::drawSection(Pipeline &pipeline,
                                                              const ThumbnailRenderRequest &request)
{
    const QSize size = m_target.texture->pixelSize();
    return draw(pipeline, request.nodes, sectionUniforms(request, findThumbnailPart(request), size),
                size);
}

ThumbnailRHIContext::Picture ThumbnailRHIContext::draw(Pipeline &pipeline,
                                                       const QList<shader::SDFNode> &nodes,
                                                       const QByteArray &uniforms,
                                                       const QSize &size)
{
    QRhiCommandBuffer *commands = nullptr;
    const auto begun = m_rhi->beginOffscreenFrame(&commands);
    if (begun == QRhi::FrameOpDeviceLost)
        return failed(u"QRhi device-lost at beginOffscreenFrame — thumbnail skipped"_s);
    if (begun != QRhi::FrameOpSuccess)
        return failed(u"Failed to begin offscreen frame"_s);

    QRhiResourceUpdateBatch *uploads = m_rhi->nextResourceUpdateBatch();
    uploads->uploadStaticBuffer(m_quad.get(), quadOf(*m_rhi).data());
    uploads->updateDynamicBuffer(m_uniforms.get(), 0, quint32(uniforms.size()),
                                 uniforms.constData());
    uploads->uploadStaticBuffer(m_nodes.get(), 0,
                                quint32(nodes.size() * qsizetype(sizeof(shader::SDFNode))),
                                nodes.constData());
    record(commands, pipeline, size, uploads);
    QRhiReadbackResult result;
    QRhiResourceUpdateBatch *readback = m_rhi->nextResourceUpdateBatch();
    readback->readBackTexture({m_target.texture.get()}, &result);
    commands->endPass(readback);

    if (m_rhi->endOffscreenFrame() == QRhi::FrameOpDeviceLost)
        return failed(u"QRhi device-lost at endOffscreenFrame — thumbnail skipped"_s);
    const QImage whole = imageOf(result, m_rhi->isYUpInFramebuffer());
    if (whole.isNull())
        return failed(u"Readback returned empty data"_s);
    return {.image = whole.copy(QRect({0, whole.height() - size.height()}, size)), .error = {}};
}

void ThumbnailRHIContext::record(QRhiCommandBuffer *commands, Pipeline &pipeline, const QSize &size,
                                 QRhiResourceUpdateBatch *uploads)
{
    commands->beginPass(m_target.target.get(), Qt::transparent, {1.0f, 0}, uploads);
    commands->setGraphicsPipeline(pipeline.pipeline.get());
    commands->setViewport({0, 0, float(size.width()), float(size.height())});
    commands->setShaderResources(pipeline.bindings.get());
    const QRhiCommandBuffer::VertexInput vertices(m_quad.get(), 0);
    commands->setVertexInput(0, 1, &vertices);
    commands->draw(quadVertices);
}

ThumbnailRHIContext::Picture ThumbnailRHIContext::failed(const QString &error)
{
    if (m_rhi && m_rhi->isDeviceLost()) {
        qCWarning(lcThumbnail) << "QRhi device-lost — thumbnail skipped";
        m_hasNewPipelines = false; // a lost device has nothing to give
        release();
    }
    return {.image = {}, .error = error};
}

void ThumbnailRHIContext::loadPipelineCache()
{
    const QByteArray known =
        ::shader::ArtifactCache::instance().loadPipelineCache(pipelineCacheKey());
    if (known.isEmpty())
        return;
    m_rhi->setPipelineCacheData(known);
    qCInfo(lcThumbnail) << "ThumbnailRHIContext: Loaded pipeline cache from disk";
}

void ThumbnailRHIContext::savePipelineCache() const
{
    const QByteArray data = m_rhi->pipelineCacheData();
    if (!data.isEmpty())
        ::shader::ArtifactCache::instance().savePipelineCache(pipelineCacheKey(), data);
}

QString ThumbnailRHIContext::pipelineCacheKey() const
{
    const QRhiDriverInfo driver = m_rhi->driverInfo();
    const QString text = u"thumbnails %1 %2 %3 %4"_s.arg(
        QString::fromLatin1(m_rhi->backendName()), QString::fromUtf8(driver.deviceName),
        QString::number(driver.vendorId), QString::number(driver.deviceId));
    return ::shader::ArtifactCache::pipelineCacheKey(m_vertexShader.serialized(), text);
}

} // namespace corvane::rendering
