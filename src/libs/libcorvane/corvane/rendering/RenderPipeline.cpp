#include <corvane/rendering/RenderPipeline.h>

#include <corvane/aa/IAntialiasStrategy.h>
#include <corvane/registry/Registry.h>
#include <corvane/rendering/EnvironmentLayer.h>
#include <corvane/rendering/SDFRenderLayer.h>
#include <corvane/rendering/environment/EnvironmentRegistry.h>
#include <corvane/rendering/layers/ExportBoundsLayer.h>
#include <corvane/rendering/layers/GroundPlane.h>
#include <corvane/rendering/layers/MeshLayer.h>
#include <corvane/rendering/layers/ProxyLayer.h>
#include <corvane/rendering/layers/TetVolumeLayer.h>
#include <corvane/rendering/post/PostProcessLayer.h>
#include <corvane/shader/IShadingMode.h>
#include <corvane/shader/ShadingModeRegistry.h>

#include <cmath>
#include <memory>
#include <utility>

namespace corvane::rendering {

using namespace Qt::StringLiterals;
using render::RenderAction;
namespace RenderMasks = render::RenderMasks;

namespace {

QSize scaled(const QSize &size, float scale)
{
    return {std::max(1, int(std::lround(float(size.width()) * scale))),
            std::max(1, int(std::lround(float(size.height()) * scale)))};
}

} // namespace

RenderPipeline::RenderPipeline(QObject *parent)
    : RenderPipeline(&registry::Registry::instance(), parent)
{}

RenderPipeline::RenderPipeline(registry::Registry *registry, QObject *parent)
    : QObject(parent)
    , m_scene(&m_state, &m_camera)
{
    m_state.setTelemetry(&m_telemetry);
    connect(&m_state, &RenderStateManager::renderRequested, this, &RenderPipeline::needsRender);
    setupLayers(registry);
}

RenderPipeline::~RenderPipeline()
{
    release();
}

template<typename T, typename... Arguments>
T *RenderPipeline::addLayer(Arguments &&...arguments)
{
    auto layer = std::make_unique<T>(std::forward<Arguments>(arguments)...);
    T *const added = layer.get();
    m_scene.addLayer(std::move(layer));
    return added;
}

template<typename T>
void RenderPipeline::addSurface(LayerType type)
{
    m_surfaces.emplace_back(type, addLayer<T>());
}

/// In the order in which they are drawn.
void RenderPipeline::setupLayers(registry::Registry *registry)
{
    m_environment = addLayer<EnvironmentLayer>();
    m_ground = addLayer<GroundPlane>();
    m_sdf = addLayer<SDFRenderLayer>(registry);
    addSurface<MeshLayer>(LayerType::Mesh);
    addSurface<ProxyLayer>(LayerType::Proxy);
    addSurface<TetVolumeLayer>(LayerType::TetVolume);
    m_exportBounds = addLayer<ExportBoundsLayer>();
    m_exportBounds->setBoundsVisible(false);
    m_post = addLayer<PostProcessLayer>();

    const auto &environments = EnvironmentRegistry::instance();
    m_environment->setEnvironment(environments.create(u"brand-lighting"_s));
    m_sdf->setShadingMode(shader::ShadingModeRegistry::instance().mode(u"env-lit-pbr"_s));
    const auto plain = environments.create(u"flat-color"_s);
    setLighting(plain, plain);
    m_post->setToneMapping(u"agx"_s);
}

void RenderPipeline::setMeshSource(const ISceneMeshSource *source)
{
    for (const auto &[type, layer] : m_surfaces)
        layer->setMeshSource(source);
    m_state.requestRender(RenderTrigger::Load, RenderMasks::cameraChanged);
}

void RenderPipeline::setLighting(const QSharedPointer<shader::IEnvironment> &background,
                                 const QSharedPointer<shader::IEnvironment> &lights)
{
    m_sdf->setBackgroundForShading(background);
    m_sdf->setLightingForShading(lights);
    m_background = background;
    m_lights = lights;
    lightSurfaces();
}

/// As the field is lit in its shading mode.
void RenderPipeline::lightSurfaces()
{
    const auto &mode = m_sdf->shadingMode();
    const auto ambient = !mode || mode->needsEnvironmentSnippet()
                             ? SurfaceLighting::Ambient::Environment
                             : SurfaceLighting::Ambient::Lights;
    const auto lighting = SurfaceLighting::of(m_background.data(), m_lights.data(), ambient);
    for (const auto &[type, layer] : m_surfaces)
        layer->setLighting(lighting);
}

QUuid RenderPipeline::itemOf(quint32 encodedId) const
{
    const ItemId id = ItemId::decoded(encodedId);
    if (id.layer == LayerType::Sdf)
        return m_sdf->itemIdForNodeIndex(id.index);
    for (const auto &[type, layer] : m_surfaces) {
        if (type == id.layer)
            return layer->itemIdForIndex(id.index);
    }
    return {};
}

void RenderPipeline::setShaderJobs(const ShaderJobs &jobs)
{
    m_sdf->setShaderJobs(jobs);
    m_environment->setShaderJobs(jobs);
}

bool RenderPipeline::initialize(QRhi *rhi, QRhiRenderTarget *target, QRhiCommandBuffer *commands)
{
    if (!rhi || !target || !commands)
        return false;
    if (m_context.rhi != rhi) {
        release();
        m_context.rhi = rhi;
        m_state.addToFrame(RenderAction::RhiChanged);
        m_timer.start();
    }
    m_context.commandBuffer = commands;
    followTarget(target);
    m_state.clear(RenderAction::RhiChanged);
    return true;
}

void RenderPipeline::followTarget(QRhiRenderTarget *target)
{
    const QSize size = target->pixelSize();
    if (size != m_targetSize) {
        setTargetSize(size);
        m_state.adoptSize(size);
    }
    m_context.setRenderTarget(target);
}

void RenderPipeline::resize(const QSize &size)
{
    if (size == m_targetSize || size.isEmpty())
        return;
    setTargetSize(size);
    m_state.viewportResized(size);
    m_state.cameraChanged();
}

void RenderPipeline::setTargetSize(const QSize &size)
{
    m_targetSize = size;
    m_camera.setAspectRatio(float(size.width()) / float(size.height()));
}

bool RenderPipeline::render(QRhiCommandBuffer *commands, QRhiRenderTarget *target)
{
    if (!m_context.rhi || !commands || !target)
        return false;
    m_context.commandBuffer = commands;
    followTarget(target);
    const qint64 elapsedMs = m_timer.restart();
    m_state.beginFrame();
    if (m_scene.takeReinitializeRequest())
        m_scene.releaseResources();
    if (!beginScenePass(target))
        return false;
    applyCamera();
    m_scene.update(m_context, elapsedMs);
    m_context.flushResourceUpdates();
    m_scene.renderGeometry(m_context);
    m_state.clear(RenderAction::GeometryPass);
    drawScene();
    m_context.setRenderTarget(target);
    if (m_offscreenEnabled)
        m_scene.renderPost(m_context);
    m_context.flushResourceUpdates();
    if (m_antialias)
        m_antialias->onFrameComplete(m_context.offscreen.color());
    ++m_frameCount;
    return true;
}

/// Finds the target of the scene, which the layers make their pipelines for.
bool RenderPipeline::beginScenePass(QRhiRenderTarget *target)
{
    const int formerSamples = m_context.offscreen.sampleCount();
    if (m_offscreenEnabled) {
        const aa::FrameSetup setup = frameSetup();
        QString error;
        if (!m_context.ensureOffscreen(m_context.rhi, scaled(m_targetSize, setup.renderScale),
                                       setup.sampleCount, &error)) {
            emit degradedQuality(error);
            return false;
        }
        target = m_context.offscreen.renderTarget();
        if (formerSamples != 0 && formerSamples != m_context.offscreen.sampleCount()) {
            m_state.addToFrame(RenderMasks::sampleCountChanged | RenderMasks::cameraChanged);
            m_scene.onSampleCountChanged(m_context.offscreen.sampleCount());
        }
    }
    m_context.setRenderTarget(target);
    if (m_context.gBuffer.isValid() && m_context.gBuffer.size() != m_context.pixelSize)
        m_state.addToFrame(RenderMasks::cameraChanged | RenderAction::ShadingPass);
    return true;
}

/// What the strategy wants, within what the picture may cost: a scale beyond the budget is lowered,
/// but not below that of the picture itself.
aa::FrameSetup RenderPipeline::frameSetup()
{
    aa::FrameSetup setup =
        m_antialias ? m_antialias->frameSetup(qint64(m_frameCount)) : aa::FrameSetup();
    setup.sampleCount = std::min(setup.sampleCount, m_sampleLimit);
    if (!m_embellished)
        setup.renderScale = std::min(setup.renderScale, 1.0f);
    const double pixels = double(m_targetSize.width()) * m_targetSize.height();
    const auto affordable = float(std::sqrt(double(m_context.budget.maxOffscreenPixels) / pixels));
    setup.renderScale = std::max(std::min(setup.renderScale, affordable * 0.999f),
                                 std::min(setup.renderScale, 1.0f));
    return setup;
}

void RenderPipeline::drawScene()
{
    m_context.clearColor = m_scene.clearColor();
    m_context.commandBuffer->beginPass(m_context.renderTarget, m_context.clearColor, {1.0f, 0},
                                       m_context.takeResourceUpdates());
    m_scene.renderPre(m_context);
    m_context.commandBuffer->endPass();
    m_state.clear(RenderAction::ShadingPass);
}

void RenderPipeline::applyCamera()
{
    m_context.view = m_camera.viewMatrix();
    m_context.projection = m_camera.projectionMatrix();
    m_context.eye = m_camera.position();
}

void RenderPipeline::release()
{
    m_scene.releaseResources();
    m_context.dropResourceUpdates();
    m_context.offscreen.release();
    m_context.gBuffer.release();
    m_context.rhi = nullptr;
    m_context.commandBuffer = nullptr;
    m_context.setRenderTarget(nullptr);
}

void RenderPipeline::setCorvane(model::Corvane *scene)
{
    m_sdf->setScene(scene);
    for (const auto &[type, layer] : m_surfaces)
        layer->setDocument(scene);
    m_state.sceneStructureChanged();
}

bool RenderPipeline::setShadingMode(const QSharedPointer<shader::IShadingMode> &mode)
{
    if (!m_sdf->setShadingMode(mode))
        return false;
    lightSurfaces();
    return true;
}

void RenderPipeline::setEnvironment(const QSharedPointer<shader::IEnvironment> &environment)
{
    m_environment->setEnvironment(environment);
}

bool RenderPipeline::setToneMapping(const QString &id)
{
    const bool isKnown = m_post->setToneMapping(id);
    m_state.requestRender(RenderTrigger::Settings);
    return isKnown;
}

void RenderPipeline::setAntialiasStrategy(const QSharedPointer<aa::IAntialiasStrategy> &strategy)
{
    m_antialias = strategy;
    m_sdf->setAnalyticEdgeAA(strategy && strategy->wantsAnalyticEdgeAA());
    giveAntialiasEffects();
    m_state.requestRender(RenderTrigger::Settings);
}

void RenderPipeline::giveAntialiasEffects()
{
    m_post->setAntialiasEffects(m_antialias && m_embellished ? m_antialias->postEffects()
                                                             : QStringList());
}

void RenderPipeline::setSampleLimit(int samples)
{
    m_sampleLimit = std::max(1, samples);
}

void RenderPipeline::setEmbellished(bool embellished)
{
    if (std::exchange(m_embellished, embellished) == embellished)
        return;
    m_post->setEffectEnabled(u"bloom"_s, embellished);
    giveAntialiasEffects();
}

void RenderPipeline::setCamera(const camera::Camera &camera)
{
    const QMatrix4x4 before = m_camera.viewProjectionMatrix();
    const float aspect = m_camera.aspectRatio();
    m_camera = camera;
    m_camera.setAspectRatio(aspect);
    if (m_camera.viewProjectionMatrix() != before)
        m_state.cameraChanged();
}

} // namespace corvane::rendering
