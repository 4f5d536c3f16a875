#include <corvane/rendering/layers/SurfaceLayer.h>

#include <corvane/model/Corvane.h>
#include <corvane/rendering/ClipSpace.h>
#include <corvane/rendering/RenderStateManager.h>
#include <corvane/rendering/RhiContext.h>
#include <corvane/rendering/layers/Std140.h>

#include <QLoggingCategory>

#include <algorithm>
#include <cstring>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

Q_LOGGING_CATEGORY(lcSurface, "ondrel.rendering.surface", QtWarningMsg)

namespace {

using Binding = QRhiShaderResourceBinding;
constexpr auto fragmentStage = Binding::FragmentStage;
constexpr auto bothStages = Binding::VertexStage | Binding::FragmentStage;
constexpr int itemBinding = 0;
constexpr int frameBinding = 1;

using Std140::Matrix;
using Std140::matrix;
using Std140::Vector;
using Std140::vector;

/// The block `TetUniforms` of surface_item.glsl, std140.
struct ItemBlock
{
    Matrix mvp{};
    Matrix model{};
    Matrix normalMatrix{};
    Vector albedo{};
    float metallic = 0.0f;
    float roughness = 0.0f;
    quint32 itemId = 0;
    float useVertexColor = 0.0f;
    Vector cutPlane{};
    Vector cutPlanePoint{}; ///< w: the emission
};
static_assert(sizeof(ItemBlock) == 256);

struct LightBlock
{
    Vector direction{};
    Vector color{};
};

/// The block `SurfaceFrame` of surface_frame.glsl, std140.
struct FrameBlock
{
    Matrix invViewProjMatrix{};
    Vector cameraPos{};
    std::array<LightBlock, SurfaceLighting::maxLights> lights{};
    std::array<Vector, 6> environmentAxes{};
    qint32 lightCount = 0;
    qint32 lighting = 0;
    qint32 debugView = 0;
    quint32 layerType = 0;
    float maxDistance = 0.0f;
    float ndcYSign = 1.0f;
    std::array<float, 2> padding{};
};
static_assert(sizeof(FrameBlock) == 464);

template<class Block>
QByteArray bytesOf(const Block &block)
{
    return QByteArray(reinterpret_cast<const char *>(&block), sizeof(block));
}

} // namespace

SurfaceLayer::SurfaceLayer(LayerType type)
    : m_type(type)
    , m_geometry(u":/surface_geometry.frag.qsb"_s, GBuffer::colorAttachmentCount)
    , m_forward(u":/surface_forward.frag.qsb"_s, 1)
    , m_shading(u":/surface_shading.frag.qsb"_s, {.depthWrite = true})
{}

SurfaceLayer::~SurfaceLayer() = default;

void SurfaceLayer::setDocument(const model::Corvane *scene)
{
    m_scene = scene;
    m_isCollected = false;
    markAllDirty();
}

void SurfaceLayer::setMeshSource(const ISceneMeshSource *source)
{
    m_source = source;
    markAllDirty();
}

void SurfaceLayer::markDirty(const QUuid &itemId)
{
    const auto index = m_indexOf.constFind(itemId);
    if (index == m_indexOf.constEnd())
        return;
    m_items[*index].isDirty = true;
    m_hasDirty = true;
}

void SurfaceLayer::markAllDirty()
{
    for (MeshGPUData &item : m_items)
        item.isDirty = true;
    m_hasDirty = true;
}

void SurfaceLayer::setLighting(const SurfaceLighting &lighting)
{
    m_areUniformsStale = m_areUniformsStale || !(m_lighting == lighting);
    m_lighting = lighting;
}

void SurfaceLayer::setDebugView(int view, float maxDistance)
{
    m_debugView = view;
    m_maxDistance = maxDistance;
    m_areUniformsStale = true;
}

QUuid SurfaceLayer::itemIdForIndex(uint index) const
{
    return index < m_items.size() ? m_items[index].item.id : QUuid();
}

quint32 SurfaceLayer::encodedItemId(const QUuid &itemId) const
{
    const auto index = m_indexOf.constFind(itemId);
    return index == m_indexOf.constEnd() ? 0 : ItemId{.layer = m_type, .index = *index}.encoded();
}

bool SurfaceLayer::initialize(RhiContext &context)
{
    m_frameBlock.reset(
        context.rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer, sizeof(FrameBlock)));
    m_sampler.reset(context.rhi->newSampler(QRhiSampler::Nearest, QRhiSampler::Nearest,
                                            QRhiSampler::None, QRhiSampler::ClampToEdge,
                                            QRhiSampler::ClampToEdge));
    if (m_frameBlock->create() && m_sampler->create())
        return true;
    reportLayerError(ErrorSeverity::Error,
                     u"%1 are not shown: the device has no memory for them."_s.arg(name()));
    setDisabledByErrors(true);
    return false;
}

void SurfaceLayer::update(RhiContext &context, qint64)
{
    collect();
    syncMeshes(context);
    followView(context);
    if (!m_items.empty() && ensureUniforms(context) &&
        m_shading.prepare(context.rhi, context.ensureResourceUpdates()) && m_areUniformsStale)
        uploadUniforms(context);
}

void SurfaceLayer::renderGeometry(RhiContext &context)
{
    m_isGeometryStale = false;
    m_isGeometryDrawn = m_bindings && m_geometry.ensure(context.rhi, context.renderPassDescriptor,
                                                        1, m_bindings.get());
    if (m_isGeometryDrawn)
        drawItems(context, m_geometry);
}

void SurfaceLayer::renderPre(RhiContext &context)
{
    const bool hasAny = std::any_of(m_items.cbegin(), m_items.cend(),
                                    [](const MeshGPUData &item) { return item.isDrawable(); });
    if (!hasAny || !m_bindings)
        return;
    // Geometry that is out of date was drawn for another view.
    if (m_isGeometryDrawn && !m_isGeometryStale && context.gBuffer.isValid()) {
        if (shade(context))
            return;
        if (!std::exchange(m_saidNoShading, true))
            qCWarning(lcSurface).noquote()
                << typeName() + u": GEOMETRY RENDERED BUT NO SHADING PIPELINE"_s;
    }
    drawForward(context);
}

void SurfaceLayer::releaseResources()
{
    invalidateVertices();
    m_geometry.release();
    m_forward.release();
    m_shading.release();
    m_bindings.reset();
    m_itemBlocks.reset();
    m_frameBlock.reset();
    m_sampler.reset();
    m_isGeometryDrawn = false;
    m_saidNoShading = false;
    invalidate();
    setDisabledByErrors(false);
}

BoundingVolume SurfaceLayer::boundingVolume() const
{
    BoundingVolume all;
    for (const MeshGPUData &item : m_items) {
        if (!item.isDrawable() || item.vertices->bounds.isEmpty())
            continue;
        const QVector3D low = item.vertices->bounds.minimum();
        const QVector3D high = item.vertices->bounds.maximum();
        for (int corner = 0; corner < 8; ++corner)
            all.expand(item.item.transform.map(QVector3D((corner & 1 ? high : low).x(),
                                                         (corner & 2 ? high : low).y(),
                                                         (corner & 4 ? high : low).z())));
    }
    return all;
}

LayerCapabilities SurfaceLayer::capabilities() const
{
    return LayerCapability::GeometryPass | LayerCapability::Picking;
}

SurfaceVertices SurfaceLayer::verticesOf(const SurfaceMesh &mesh) const
{
    return SurfaceVertices::fromMesh(mesh);
}

void SurfaceLayer::invalidateVertices()
{
    for (MeshGPUData &item : m_items)
        item.vertices.reset();
    m_buffers.clear();
    markAllDirty();
}

void SurfaceLayer::invalidate()
{
    m_isGeometryStale = true;
    m_areUniformsStale = true;
}

// Items keep what they have on the device over a change of the document that is not their own.
void SurfaceLayer::collect()
{
    const quint64 revision = m_scene ? m_scene->itemsRevision() : 0;
    if (m_isCollected && m_collectedRevision == revision)
        return;
    m_isCollected = true;
    m_collectedRevision = revision;
    QHash<QUuid, MeshGPUData> former;
    for (MeshGPUData &item : m_items)
        former.insert(item.item.id, std::move(item));
    m_items.clear();
    m_indexOf.clear();
    const QList<SurfaceItem> items = m_scene ? collectItems(*m_scene) : QList<SurfaceItem>();
    for (const SurfaceItem &item : items) {
        MeshGPUData data = former.take(item.id);
        data.item = item;
        m_hasDirty = m_hasDirty || data.isDirty;
        m_indexOf.insert(item.id, quint32(m_items.size()));
        m_items.push_back(std::move(data));
    }
    invalidate();
}

void SurfaceLayer::syncMeshes(RhiContext &context)
{
    if (!m_hasDirty)
        return;
    m_buffers.remove_if([](const auto &buffer) { return buffer.expired(); });
    qint64 bytesLeft = m_uploadBudget;
    m_hasDirty = false;
    for (MeshGPUData &item : m_items) {
        if (item.isDirty && !syncMesh(context, item, bytesLeft))
            m_hasDirty = true;
    }
    invalidate();
    if (m_hasDirty && renderState())
        renderState()->addActions(render::RenderAction::GeometryPass);
}

/// False when it has to wait for another frame.
bool SurfaceLayer::syncMesh(RhiContext &context, MeshGPUData &item, qint64 &bytesLeft)
{
    const QUuid id = item.item.id;
    if (!m_source || !hasMesh(*m_source, id)) {
        item.vertices.reset();
        item.isDirty = false;
        return true;
    }
    const int version = meshVersion(*m_source, id);
    const SurfaceMesh mesh = meshOf(*m_source, id);
    if (!item.vertices || item.version != version || !item.vertices->isOf(mesh)) {
        if (bytesLeft <= 0)
            return false;
        item.vertices = sharedBuffer(mesh);
        if (!item.vertices)
            item.vertices = uploaded(context, item.item, mesh, bytesLeft);
        item.version = version;
    }
    finishItem(item);
    item.isDirty = false;
    return true;
}

std::shared_ptr<SharedVertexBuffer> SurfaceLayer::sharedBuffer(const SurfaceMesh &mesh)
{
    for (const auto &known : m_buffers) {
        const std::shared_ptr<SharedVertexBuffer> buffer = known.lock();
        if (buffer && buffer->isOf(mesh))
            return buffer;
    }
    return nullptr;
}

std::shared_ptr<SharedVertexBuffer> SurfaceLayer::uploaded(RhiContext &context,
                                                           const SurfaceItem &item,
                                                           const SurfaceMesh &mesh,
                                                           qint64 &bytesLeft)
{
    const SurfaceVertices triangles = verticesOf(mesh);
    reportVertices(item, triangles);
    auto shared = std::make_shared<SharedVertexBuffer>();
    shared->mesh = mesh;
    shared->bounds = triangles.bounds;
    shared->hasColors = triangles.hasColors;
    m_buffers.push_back(shared);
    const qint64 bytes = triangles.vertices.size() * qint64(sizeof(SurfaceVertex));
    QRhiResourceUpdateBatch *const updates = context.ensureResourceUpdates();
    if (bytes == 0 || !updates)
        return shared;
    shared->buffer.reset(
        context.rhi->newBuffer(QRhiBuffer::Immutable, QRhiBuffer::VertexBuffer, quint32(bytes)));
    if (!shared->buffer->create()) {
        shared->buffer.reset();
        reportLayerError(ErrorSeverity::Error,
                         u"\"%1\" is not shown: the device has no memory for its %2 triangles. "
                         "Simplify it, or remove other meshes."_s.arg(
                             item.name, QString::number(triangles.triangleCount())));
        return shared;
    }
    shared->vertexCount = quint32(triangles.vertices.size());
    updates->uploadStaticBuffer(shared->buffer.get(), triangles.vertices.constData());
    bytesLeft -= bytes;
    return shared;
}

void SurfaceLayer::reportVertices(const SurfaceItem &item, const SurfaceVertices &vertices)
{
    if (!vertices.isSimplified() && vertices.unusableElements == 0)
        return;
    if (m_reported.contains(item.id))
        return;
    m_reported.insert(item.id);
    if (vertices.isSimplified())
        reportLayerError(ErrorSeverity::Warning,
                         u"\"%1\" has %2 triangles and is shown with %3. Simplify it to see it as "
                         "it is; the item itself is unchanged."_s.arg(
                             item.name, QString::number(vertices.trianglesInMesh),
                             QString::number(vertices.triangleCount())));
    if (vertices.unusableElements > 0)
        reportLayerError(ErrorSeverity::Warning,
                         u"\"%1\" has %2 faces with corners that are no numbers or that it does "
                         "not have. They are not shown; repair the mesh."_s.arg(
                             item.name, QString::number(vertices.unusableElements)));
}

void SurfaceLayer::followView(const RhiContext &context)
{
    const QMatrix4x4 viewProjection = context.projection * context.view;
    if (m_viewProjection == viewProjection && m_pixelSize == context.pixelSize)
        return;
    m_viewProjection = viewProjection;
    m_pixelSize = context.pixelSize;
    invalidate();
}

bool SurfaceLayer::ensureUniforms(RhiContext &context)
{
    m_itemStride = context.rhi->ubufAligned(sizeof(ItemBlock));
    const qint64 bytes = qint64(m_items.size()) * m_itemStride;
    if (m_itemBlocks && m_itemBlocks->size() >= bytes)
        return m_bindings != nullptr;
    m_bindings.reset();
    m_itemBlocks.reset(context.rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer,
                                              quint32(bytes + bytes / 2)));
    if (!m_itemBlocks->create()) {
        m_itemBlocks.reset();
        return false;
    }
    m_bindings.reset(context.rhi->newShaderResourceBindings());
    m_bindings->setBindings({Binding::uniformBufferWithDynamicOffset(
                                 itemBinding, bothStages, m_itemBlocks.get(), sizeof(ItemBlock)),
                             Binding::uniformBuffer(frameBinding, bothStages, m_frameBlock.get())});
    m_areUniformsStale = true;
    if (!m_bindings->create())
        m_bindings.reset();
    return m_bindings != nullptr;
}

void SurfaceLayer::uploadUniforms(RhiContext &context)
{
    QRhiResourceUpdateBatch *const updates = context.ensureResourceUpdates();
    QByteArray all(qsizetype(m_items.size()) * m_itemStride, '\0');
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        const QByteArray block = itemBlock(context, i);
        std::memcpy(all.data() + qsizetype(i) * m_itemStride, block.constData(),
                    std::size_t(block.size()));
    }
    updates->updateDynamicBuffer(m_itemBlocks.get(), 0, quint32(all.size()), all.constData());
    const QByteArray frame = frameBlock(context);
    updates->updateDynamicBuffer(m_frameBlock.get(), 0, quint32(frame.size()), frame.constData());
    m_areUniformsStale = false;
}

QByteArray SurfaceLayer::itemBlock(const RhiContext &context, std::size_t index) const
{
    const MeshGPUData &data = m_items[index];
    const QMatrix4x4 model = worldTransform() * data.item.transform;
    const model::Material &material = data.item.material;
    return bytesOf(
        ItemBlock{.mvp = matrix(ClipSpace::rasterProjection(context.rhi, context.projection) *
                                context.view * model),
                  .model = matrix(model),
                  .normalMatrix = matrix(model.inverted().transposed()),
                  .albedo = vector(material.albedo.toVector3D(), material.albedo.w()),
                  .metallic = material.metallic,
                  .roughness = material.roughness,
                  .itemId = ItemId{.layer = m_type, .index = quint32(index)}.encoded(),
                  .useVertexColor = data.vertexColorShare,
                  .cutPlane = vector(data.cutPlane.toVector3D(), data.cutPlane.w()),
                  .cutPlanePoint = vector(data.cutPlanePoint, material.emission)});
}

QByteArray SurfaceLayer::frameBlock(const RhiContext &context) const
{
    FrameBlock block{.invViewProjMatrix = matrix(m_viewProjection.inverted()),
                     .cameraPos = vector(context.eye, 1.0f),
                     .lightCount = std::clamp(m_lighting.lightCount, 0, SurfaceLighting::maxLights),
                     .lighting = lightingModel(),
                     .debugView = m_debugView,
                     .layerType = static_cast<quint32>(m_type),
                     .maxDistance = m_maxDistance,
                     .ndcYSign = ClipSpace::ndcYSign(context.rhi)};
    for (std::size_t i = 0; i < block.lights.size(); ++i)
        block.lights[i] = {.direction = vector(m_lighting.lights[i].direction, 0.0f),
                           .color =
                               vector(m_lighting.lights[i].color, m_lighting.lights[i].intensity)};
    for (std::size_t i = 0; i < block.environmentAxes.size(); ++i)
        block.environmentAxes[i] = vector(m_lighting.environmentAxes[i], 0.0f);
    return bytesOf(block);
}

void SurfaceLayer::drawItems(RhiContext &context, TrianglePipeline &pipeline)
{
    QRhiCommandBuffer *const commands = context.commandBuffer;
    commands->setGraphicsPipeline(pipeline.pipeline());
    commands->setViewport(
        {0, 0, float(context.pixelSize.width()), float(context.pixelSize.height())});
    for (std::size_t i = 0; i < m_items.size(); ++i) {
        if (!m_items[i].isDrawable())
            continue;
        const QRhiCommandBuffer::DynamicOffset offset(itemBinding,
                                                      quint32(qint64(i) * m_itemStride));
        commands->setShaderResources(m_bindings.get(), 1, &offset);
        const QRhiCommandBuffer::VertexInput input(m_items[i].vertices->buffer.get(), 0);
        commands->setVertexInput(0, 1, &input);
        commands->draw(m_items[i].vertices->vertexCount);
    }
}

// The pass over the picture is as large as the box around the items is on it: a layer with one
// small item is not to cost a whole picture.
QRect SurfaceLayer::coveredPart() const
{
    const QRect all(QPoint(), m_pixelSize);
    const BoundingVolume box = boundingVolume();
    if (box.isEmpty())
        return all;
    BoundingVolume seen;
    for (int corner = 0; corner < 8; ++corner) {
        const QVector3D place(box.face(0, corner & 1), box.face(1, corner & 2),
                              box.face(2, corner & 4));
        const QVector4D clip = m_viewProjection.map(QVector4D(place, 1.0f));
        if (!(clip.w() > 1e-6f)) // behind the camera: anywhere
            return all;
        seen.expand(clip.toVector3D() / clip.w());
    }
    const auto pixel = [](float ndc, int size) {
        return int(std::clamp((ndc * 0.5f + 0.5f) * float(size), -1.0f, float(size) + 1.0f));
    };
    const QPoint low(pixel(seen.minimum().x(), all.width()) - 1,
                     pixel(seen.minimum().y(), all.height()) - 1);
    const QPoint high(pixel(seen.maximum().x(), all.width()) + 1,
                      pixel(seen.maximum().y(), all.height()) + 1);
    return all.intersected(QRect(low, high));
}

bool SurfaceLayer::shade(RhiContext &context)
{
    const QRect part = coveredPart();
    if (part.isEmpty())
        return true;
    const GBuffer &g = context.gBuffer;
    QVector<Binding> bindings{
        Binding::uniformBuffer(frameBinding, fragmentStage, m_frameBlock.get())};
    int binding = frameBinding;
    for (QRhiTexture *const texture : {g.depth(), g.normal(), g.material(), g.itemId(), g.albedo()})
        bindings.append(
            Binding::sampledTexture(++binding, fragmentStage, texture, m_sampler.get()));
    if (!m_shading.ensure(context.rhi, context.renderPassDescriptor, context.sampleCount, bindings))
        return false;
    m_shading.draw(context.commandBuffer, context.pixelSize, part);
    return true;
}

void SurfaceLayer::drawForward(RhiContext &context)
{
    qCDebug(lcSurface).noquote() << typeName() + u": renderPre mode forward-fallback,"_s
                                 << m_items.size() << "items";
    if (m_forward.ensure(context.rhi, context.renderPassDescriptor, context.sampleCount,
                         m_bindings.get()))
        drawItems(context, m_forward);
}

} // namespace corvane::rendering
