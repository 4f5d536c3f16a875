#include <corvane/rendering/SDFRenderLayer.h>

#include <corvane/model/SceneItem.h>
#include <corvane/registry/Registry.h>
#include <corvane/rendering/CameraUniforms.h>
#include <corvane/rendering/RenderStateManager.h>
#include <corvane/rendering/RhiContext.h>
#include <corvane/rendering/Scene.h>
#include <corvane/shader/IEnvironment.h>
#include <corvane/shader/IShadingMode.h>
#include <corvane/shader/SpecialisedScene.h>
#include <corvane/shader/WalkDepth.h>
#include <corvane/shader/getShader.h>

#include <QElapsedTimer>
#include <QLoggingCategory>

#include <array>
#include <cmath>
#include <cstring>
#include <utility>

namespace corvane::rendering {

using namespace Qt::StringLiterals;
using render::RenderAction;
using render::RenderActions;
using shader::SDFUniforms;
namespace RenderMasks = render::RenderMasks;

Q_LOGGING_CATEGORY(lcSdf, "ondrel.rendering.sdflayer", QtWarningMsg)

namespace {

constexpr int uniformBytes = sizeof(SDFUniforms);
constexpr int largeShaderPrimitives = 30;
constexpr auto stages =
    QRhiShaderResourceBinding::VertexStage | QRhiShaderResourceBinding::FragmentStage;

/// The block `sections` of sdf_sections.glsl.
struct SectionBlock
{
    std::array<std::array<float, 4>, SDFRenderLayer::maxSectionPlanes> planes{};
    std::array<qint32, 4> count{};
};
static_assert(sizeof(SectionBlock) == 64);

constexpr int measureAfterMs = 150;

QString kilobytes(qint64 bytes)
{
    return QString::number(bytes / 1024);
}

} // namespace

// ------------------------------------------------------------------ settings

SDFRenderLayer::SDFRenderLayer()
    : SDFRenderLayer(&registry::Registry::instance())
{}

SDFRenderLayer::SDFRenderLayer(registry::Registry *registry)
    : m_field(registry)
{
    connectField();
    m_measureTimer.setSingleShot(true);
    m_measureTimer.setInterval(measureAfterMs);
    QObject::connect(&m_measureTimer, &QTimer::timeout, &m_measureTimer,
                     [this] { measureSteepness(); });
}

SDFRenderLayer::~SDFRenderLayer() = default;

void SDFRenderLayer::connectField()
{
    QObject::connect(&m_field, &render::SDFLayer::actionsRequested, &m_field,
                     [this](RenderActions actions) {
                         if (renderState())
                             renderState()->addActions(actions);
                     });
}

void SDFRenderLayer::setShaderJobs(const ShaderJobs &jobs)
{
    const auto askForFrame = [this] {
        if (renderState())
            renderState()->requestRender(RenderTrigger::Progress);
    };
    m_sceneCompile.setJobs(jobs, askForFrame);
    m_shadingCompile.setJobs(jobs, askForFrame);
    m_specialised.setJobs(jobs);
}

LayerCapabilities SDFRenderLayer::capabilities() const
{
    return LayerCapability::GeometryPass | LayerCapability::Picking;
}

QStringList SDFRenderLayer::acceptedSceneItemTypes() const
{
    return {model::ItemTypes::Sdf};
}

void SDFRenderLayer::setUniform(bool changed)
{
    if (changed && renderState())
        renderState()->renderingParameterChanged();
}

void SDFRenderLayer::setBounds(const BoundingVolume &bounds)
{
    setUniform(bounds != m_bounds);
    m_bounds = bounds;
    const BoundingVolume box =
        bounds.isEmpty() ? BoundingVolume({-10, -10, -10}, {10, 10, 10}) : bounds;
    const QVector3D low = box.minimum();
    const QVector3D high = box.maximum();
    m_uniforms.setBounds({low.x(), low.y(), low.z()}, {high.x(), high.y(), high.z()},
                         !bounds.isEmpty());
}

bool SDFRenderLayer::setSectionPlanes(const QList<QVector4D> &planes)
{
    QList<QVector4D> units;
    for (const QVector4D &plane :
         planes.first(std::min<qsizetype>(planes.size(), maxSectionPlanes))) {
        const float length = plane.toVector3D().length();
        if (!(length > 0.0f) || !std::isfinite(length) || !std::isfinite(plane.w()))
            return false;
        units.append(plane / length);
    }
    if (std::exchange(m_sectionPlanes, units) == units)
        return true;
    m_areSectionsStale = true;
    setUniform(true);
    return true;
}

void SDFRenderLayer::setMaxSteps(int steps)
{
    setUniform(std::exchange(m_uniforms.maxSteps, steps) != steps);
}

void SDFRenderLayer::setMaxRayDistance(float distance)
{
    setUniform(std::exchange(m_uniforms.maxDistance, distance) != distance);
}

void SDFRenderLayer::setRayEpsilon(float epsilon)
{
    setUniform(std::exchange(m_uniforms.epsilon, epsilon) != epsilon);
}

void SDFRenderLayer::setRaymarchAlgorithm(int algorithm)
{
    setUniform(std::exchange(m_uniforms.raymarchAlgorithm, algorithm) != algorithm);
}

void SDFRenderLayer::setStepScale(float scale)
{
    setUniform(std::exchange(m_uniforms.stepScale, scale) != scale);
}

void SDFRenderLayer::setDebugView(int view)
{
    setUniform(std::exchange(m_uniforms.debugView, view) != view);
}

void SDFRenderLayer::setAnalyticEdgeAA(bool on)
{
    const float value = on ? 1.0f : 0.0f;
    setUniform(std::exchange(m_uniforms.analyticEdgeAA, value) != value);
}

bool SDFRenderLayer::setShadingMode(const QSharedPointer<shader::IShadingMode> &mode)
{
    if (mode == m_shadingMode)
        return true;
    if (mode && mode->needsAccumulation())
        return false;
    m_shadingMode = mode;
    m_field.generator().setShadingMode(mode.data());
    m_shadingCompile.cancel();
    if (renderState())
        renderState()->addActions(RenderMasks::environmentChanged);
    return true;
}

void SDFRenderLayer::setBackgroundForShading(
    const QSharedPointer<shader::IEnvironment> &environment)
{
    if (environment == m_background)
        return;
    m_background = environment;
    m_field.generator().setBackgroundEnvironment(environment.data());
    m_shadingCompile.cancel();
    if (renderState())
        renderState()->addActions(RenderMasks::environmentChanged);
}

void SDFRenderLayer::setLightingForShading(const QSharedPointer<shader::IEnvironment> &environment)
{
    if (std::exchange(m_lighting, environment) != environment && renderState())
        renderState()->addActions(RenderAction::UploadUniforms | RenderAction::ShadingPass);
}

bool SDFRenderLayer::isCompiling() const
{
    return m_sceneCompile.state() == ShaderCompile::State::Running ||
           m_shadingCompile.state() == ShaderCompile::State::Running;
}

// ------------------------------------------------------------------ errors

void SDFRenderLayer::reportLayerError(ErrorSeverity severity, const QString &text)
{
    m_errors.append(text);
    m_worstSeverity = std::max(m_worstSeverity, severity);
    m_lastError = text;
    Layer::reportLayerError(severity, text);
}

void SDFRenderLayer::clearLayerErrors()
{
    if (!m_errors.isEmpty())
        ErrorManager::instance().clearForSource(name());
    m_errors.clear();
    m_worstSeverity = ErrorSeverity::Info;
    m_lastError.clear();
}

// ------------------------------------------------------------------ resources

bool SDFRenderLayer::initialize(RhiContext &context)
{
    if (!createBuffers(context))
        return false;
    m_areNodesLost = true;
    // Shaders outlive a device; only those that are missing are compiled.
    RenderActions actions = RenderMasks::sceneStructureChanged | RenderMasks::sampleCountChanged |
                            RenderAction::UploadUniforms | RenderAction::ShadingPass;
    if (!m_sceneShader.isValid())
        actions |= RenderAction::RecompileShader;
    if (!m_shadingShader.isValid())
        actions |= RenderAction::RebuildShadingPipeline;
    if (renderState())
        renderState()->addToFrame(actions);
    return true;
}

bool SDFRenderLayer::failInitialize(const QString &text)
{
    reportLayerError(ErrorSeverity::Critical, text);
    setDisabledByErrors(true);
    releaseResources();
    return false;
}

bool SDFRenderLayer::createBuffers(RhiContext &context)
{
    if (!context.rhi)
        return failInitialize(u"RHI context is null - cannot initialize SDF layer"_s);
    if (!context.rhi->isFeatureSupported(QRhi::Compute))
        return failInitialize(
            u"Storage buffers unsupported on this backend (needs ES 3.1+ / Compute)"_s);
    if (!context.ensureResourceUpdates())
        return failInitialize(u"Failed to get resource update batch"_s);
    QString error;
    if (!m_quad.create(context.rhi, context.resourceUpdates, &error))
        return failInitialize(error);
    m_uniformStride = context.rhi->ubufAligned(uniformBytes);
    if (!ensureUniformBuffer(context.rhi))
        return failInitialize(u"Failed to create uniform buffer"_s);
    if (!m_nodes.create(context.rhi, context.budget.maxNodeBytes))
        return failInitialize(u"Failed to create node storage buffer (SSBO)"_s);
    m_sectionBuffer.reset(context.rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer,
                                                 sizeof(SectionBlock)));
    if (!m_sectionBuffer->create())
        return failInitialize(u"Failed to create uniform buffer"_s);
    m_areSectionsStale = true;
    m_sampler.reset(context.rhi->newSampler(QRhiSampler::Nearest, QRhiSampler::Nearest,
                                            QRhiSampler::None, QRhiSampler::ClampToEdge,
                                            QRhiSampler::ClampToEdge));
    return m_sampler->create() || failInitialize(u"Failed to create G-buffer sampler"_s);
}

/// One block a domain: they are drawn in one pass, within which nothing can be uploaded.
bool SDFRenderLayer::ensureUniformBuffer(QRhi *rhi)
{
    const qsizetype blocks = std::max<qsizetype>(1, m_field.domains().size());
    if (m_uniformBuffer && qint64(m_uniformBuffer->size()) >= blocks * m_uniformStride)
        return true;
    m_uploadedUniforms.clear();
    if (m_uniformBuffer) {
        m_uniformBuffer->setSize(quint32(blocks * m_uniformStride));
        return m_uniformBuffer->create();
    }
    m_uniformBuffer.reset(rhi->newBuffer(QRhiBuffer::Dynamic, QRhiBuffer::UniformBuffer,
                                         quint32(blocks * m_uniformStride)));
    return m_uniformBuffer->create();
}

void SDFRenderLayer::releaseResources()
{
    for (ScenePass *pass : {&m_geometry, &m_forward, &m_shading})
        pass->release();
    m_specialised.reset();
    m_quad.release();
    m_nodes.release();
    m_uniformBuffer.reset();
    m_sectionBuffer.reset();
    m_uploadedUniforms.clear();
    m_sampler.reset();
    m_boundGBuffer = -1;
    if (!std::exchange(m_deferred, true))
        m_sceneShader = {}; // a forward shader; the next device may have a G-buffer
}

// ------------------------------------------------------------------ shaders and pipelines

void SDFRenderLayer::update(RhiContext &context, qint64)
{
    m_lastUploadBytes = 0;
    if (!m_field.generatedNodes().isEmpty()) {
        ensureDeferred(context);
        updateSceneShader(context);
        updateShadingShader(context);
    }
    updateNodes(context);
    updateSections(context);
    updateUniforms(context);
    if (m_drawnNodes > 0 && m_deferred && m_drawnNodes == m_field.generatedNodes().size())
        followStructure(context);
}

void SDFRenderLayer::followStructure(RhiContext &context)
{
    m_specialised.setHost({.rhi = context.rhi,
                           .vertex = vertexShader(),
                           .renderPass = context.gBuffer.renderPassDescriptor(),
                           .bindings = sceneBindings()});
    m_lastUploadBytes += m_specialised.upload(context.ensureResourceUpdates());
}

/// A warning once for a scene that is nested too deep for the walk, until another one is not.
void SDFRenderLayer::checkDepth()
{
    int deepest = 0;
    for (const auto &domain : m_field.domains())
        deepest =
            std::max(deepest, shader::neededWalkDepth(m_field.generatedNodes(), domain.rootIndex));
    if (std::exchange(m_depth, deepest) == deepest || deepest <= shader::walkStackDepth)
        return;
    const bool hasOwnShader = m_field.generatedNodes().size() <= shader::SpecialisedScene::maxNodes;
    const QString remedy =
        hasOwnShader ? u"until the scene's own shader is compiled."_s
                     : u"in it, though in no export. Nest operators and transforms less deeply."_s;
    reportLayerError(ErrorSeverity::Warning,
                     u"The scene is nested %1 levels deep, and the picture follows %2 at once: "
                     "parts are missing "_s.arg(QString::number(deepest),
                                                QString::number(shader::walkStackDepth)) +
                         remedy);
}

void SDFRenderLayer::ensureDeferred(RhiContext &context)
{
    if (!m_deferred)
        return;
    RenderStateManager &state = *renderState();
    if (context.ensureGBuffer()) {
        if (state.isPending(RenderAction::ResizeGBuffer) ||
            state.committedSize() != state.requestedSize())
            state.acknowledgeGBufferResize(state.requestedSize());
        return;
    }
    reportLayerError(ErrorSeverity::Warning,
                     u"Failed to create G-buffer — falling back to forward rendering"_s);
    m_deferred = false;
    m_sceneShader = {};
    state.addToFrame(RenderAction::RecompileShader | RenderAction::RebuildPipeline);
    state.clear(RenderAction::ResizeGBuffer);
}

void SDFRenderLayer::updateSceneShader(RhiContext &context)
{
    RenderStateManager &state = *renderState();
    if (state.isPending(RenderAction::RebuildPipeline))
        clearLayerErrors();
    if (state.isPending(RenderAction::RecompileShader)) {
        startSceneCompile();
        m_specialised.invalidate();
        m_steepness.clear();
        state.clear(RenderAction::RecompileShader);
    }
    if (m_sceneCompile.poll() == ShaderCompile::State::Done ||
        m_sceneCompile.state() == ShaderCompile::State::Failed) {
        finishSceneCompile(context);
    } else if (state.isPending(RenderAction::RebuildPipeline)) {
        if (m_sceneShader.isValid())
            buildScenePass(context);
        else if (m_isFallback)
            showFallback(context);
    }
    state.clear(RenderAction::RebuildPipeline);
}

void SDFRenderLayer::startSceneCompile()
{
    QElapsedTimer timer;
    timer.start();
    const auto &generator = m_field.generator();
    const QString source =
        m_deferred ? generator.generateGeometryShader() : generator.generateFragmentShader();
    qCInfo(lcSdf) << "[TIMING] SDFLayer GLSL generation:" << timer.elapsed() << "ms";
    const ShaderCompile::Words words{
        .name = m_deferred ? u"sdf_geometry"_s : u"sdf_generated"_s,
        .failedAtOnce = m_deferred ? u"Failed to compile deferred geometry shader: "_s
                                   : u"Runtime shader compilation failed: "_s,
        .failedAsJob = u"Batch shader compilation failed: "_s};
    m_sceneCompile.start(source, m_deferred ? u"geometry"_s : u"fragment"_s, words);
    const int primitives = generator.indices().activePrimitiveCount();
    if (primitives > largeShaderPrimitives)
        reportLayerError(ErrorSeverity::Info,
                         u"Large shader: %1 primitives in use. This may cause slow compilation or "
                         "GPU resource exhaustion on some hardware."_s.arg(primitives));
}

void SDFRenderLayer::finishSceneCompile(RhiContext &context)
{
    if (m_sceneCompile.state() == ShaderCompile::State::Failed)
        return failSceneShader(context, m_sceneCompile.takeError());
    const QShader former = std::exchange(m_sceneShader, m_sceneCompile.takeShader());
    if (!buildScenePass(context)) {
        m_sceneShader = former;
    } else if (std::exchange(m_isFallback, false) && m_deferred) {
        m_forward.release();
    }
    renderState()->addToFrame(RenderAction::GeometryPass | RenderAction::ShadingPass);
}

void SDFRenderLayer::failSceneShader(RhiContext &context, const QString &text)
{
    const bool hasLastGood = m_geometry.isValid() || (m_forward.isValid() && !m_isFallback);
    reportLayerError(ErrorSeverity::Warning,
                     text + (hasLastGood ? u" - keeping the last shader that worked"_s
                                         : u" - using fallback shader"_s));
    if (!hasLastGood)
        showFallback(context);
}

void SDFRenderLayer::showFallback(RhiContext &context)
{
    auto description = forwardDescription(context);
    description.fragment = shader::getShader(u":/sdf.frag.qsb"_s);
    if (!description.fragment.isValid())
        return reportLayerError(ErrorSeverity::Critical,
                                u"Both generated and fallback shaders failed to load"_s);
    QString error;
    m_isFallback = m_forward.build(context.rhi, description, &error);
    if (!m_isFallback)
        reportLayerError(ErrorSeverity::Critical, u"Failed to create SDF pipeline. "_s + error);
}

ScenePass::Description SDFRenderLayer::forwardDescription(const RhiContext &context)
{
    return {.vertex = vertexShader(),
            .fragment = m_sceneShader,
            .renderPass = context.renderPassDescriptor,
            .sampleCount = context.sampleCount,
            .bindings = sceneBindings()};
}

bool SDFRenderLayer::buildScenePass(RhiContext &context)
{
    if (!vertexShader().isValid()) {
        reportLayerError(ErrorSeverity::Critical, u"Failed to load vertex shader (sdf.vert.qsb)"_s);
        return false;
    }
    auto description = forwardDescription(context);
    if (m_deferred) {
        description.renderPass = context.gBuffer.renderPassDescriptor();
        description.sampleCount = 1;
        description.colorAttachments = GBuffer::colorAttachmentCount;
    }
    QElapsedTimer timer;
    timer.start();
    QString error;
    ScenePass &pass = m_deferred ? m_geometry : m_forward;
    const bool isBuilt = pass.build(context.rhi, description, &error);
    ++m_builtPasses;
    qCInfo(lcSdf) << "[TIMING] SDFLayer driver compilation:" << timer.elapsed() << "ms";
    if (!isBuilt)
        reportLayerError(ErrorSeverity::Critical, u"Failed to create SDF pipeline. "_s + error);
    return isBuilt;
}

QShader SDFRenderLayer::vertexShader()
{
    if (!m_vertexShader.isValid())
        m_vertexShader = shader::getShader(u":/sdf.vert.qsb"_s);
    return m_vertexShader;
}

QList<QRhiShaderResourceBinding> SDFRenderLayer::sceneBindings() const
{
    return {QRhiShaderResourceBinding::uniformBufferWithDynamicOffset(
                0, stages, m_uniformBuffer.get(), uniformBytes),
            QRhiShaderResourceBinding::bufferLoad(1, QRhiShaderResourceBinding::FragmentStage,
                                                  m_nodes.buffer()),
            QRhiShaderResourceBinding::uniformBuffer(8, QRhiShaderResourceBinding::FragmentStage,
                                                     m_sectionBuffer.get())};
}

void SDFRenderLayer::updateShadingShader(RhiContext &context)
{
    RenderStateManager &state = *renderState();
    if (m_deferred && state.isPending(RenderAction::RebuildShadingPipeline))
        startShadingCompile();
    state.clear(RenderAction::RebuildShadingPipeline);
    if (!m_deferred)
        return;
    const auto compile = m_shadingCompile.poll();
    if (compile == ShaderCompile::State::Failed) {
        const QString error = m_shadingCompile.takeError();
        qCWarning(lcSdf).noquote() << "SDFLayer: Shading pipeline batch job failed:" << error;
        reportLayerError(ErrorSeverity::Warning, error);
    } else if (compile == ShaderCompile::State::Done) {
        m_shadingShader = m_shadingCompile.takeShader();
        if (buildShadingPass(context) && m_shadingReady)
            m_shadingReady();
        state.addToFrame(RenderAction::ShadingPass);
    } else if (state.isPending(RenderAction::RebuildSampleTargets) && m_shadingShader.isValid()) {
        buildShadingPass(context);
    }
    state.clear(RenderAction::RebuildSampleTargets);
    if (m_shading.isValid() && m_boundGBuffer != context.gBuffer.generation()) {
        m_shading.rebind(context.rhi, shadingBindings(context.gBuffer));
        m_boundGBuffer = context.gBuffer.generation();
    }
}

void SDFRenderLayer::startShadingCompile()
{
    const QString source = m_field.generator().generateShadingShader();
    if (source.isEmpty()) {
        qCWarning(lcSdf) << "SDFLayer: Empty shading shader source";
        return;
    }
    m_shadingCompile.start(source, {},
                           {.name = u"sdf_shading"_s,
                            .failedAtOnce = u"Shading shader compile failed: "_s,
                            .failedAsJob = {}});
}

bool SDFRenderLayer::buildShadingPass(RhiContext &context)
{
    if (!vertexShader().isValid() || !context.gBuffer.isValid())
        return false;
    auto description = forwardDescription(context);
    description.fragment = m_shadingShader;
    // The pass writes the depth of the field, whatever was drawn before, so that later layers test
    // against it.
    description.depthCompare = QRhiGraphicsPipeline::Always;
    description.blends = true;
    description.bindings = shadingBindings(context.gBuffer);
    QString error;
    const bool isBuilt = m_shading.build(context.rhi, description, &error);
    ++m_builtPasses;
    if (isBuilt)
        m_boundGBuffer = context.gBuffer.generation();
    else
        reportLayerError(ErrorSeverity::Critical, u"Failed to create SDF pipeline. "_s + error);
    return isBuilt;
}

QList<QRhiShaderResourceBinding> SDFRenderLayer::shadingBindings(const GBuffer &gBuffer) const
{
    auto bindings = sceneBindings();
    const std::pair<int, QRhiTexture *> textures[] = {{2, gBuffer.depth()},
                                                      {3, gBuffer.normal()},
                                                      {4, gBuffer.material()},
                                                      {5, gBuffer.itemId()},
                                                      {7, gBuffer.albedo()}};
    for (const auto &[binding, texture] : textures) {
        bindings.append(QRhiShaderResourceBinding::sampledTexture(
            binding, QRhiShaderResourceBinding::FragmentStage, texture, m_sampler.get()));
    }
    return bindings;
}

// ------------------------------------------------------------------ uploads

void SDFRenderLayer::updateNodes(RhiContext &context)
{
    renderState()->clear(RenderAction::UploadNodes);
    if (!m_field.nodesDirty() && !m_areNodesLost)
        return;
    m_field.clearNodesDirty();
    m_areNodesLost = false;
    const auto &nodes = m_field.generatedNodes();
    if (nodes.isEmpty()) {
        qCInfo(lcSdf) << "SDFLayer::updateNodeBuffer: No nodes to upload";
        m_drawnNodes = 0;
        m_specialised.followNodes();
        return;
    }
    const auto upload = m_nodes.upload(nodes, context.ensureResourceUpdates());
    qCDebug(lcSdf) << "SDFLayer::updateNodeBuffer: Uploading" << upload.bytes << "bytes";
    m_drawnNodes = upload.kept;
    m_lastUploadBytes = upload.bytes;
    if (upload.isFull() && m_reportedNodes != upload.requested)
        reportFullBuffer(upload, context.budget.maxNodeBytes);
    m_reportedNodes = upload.isFull() ? upload.requested : -1;
    if (upload.isStructural) {
        m_specialised.followNodes();
        checkDepth();
        measureSteepness();
    } else {
        m_measureTimer.start(); // a new set of parameters takes a millisecond: not while they move
    }
}

void SDFRenderLayer::measureSteepness()
{
    m_measureTimer.stop();
    const auto *const registry = m_field.generator().registry();
    if (!registry)
        return;
    const auto &nodes = m_field.generatedNodes();
    const auto definitions =
        corvane::eval::DefinitionTable::collect(nodes, *registry, m_field.generator().indices());
    float steepest = 1.0f;
    for (const auto &domain : m_field.domains())
        steepest = std::max(steepest, m_steepness.ofScene(nodes, domain.rootIndex, definitions));
    const float before = m_uniforms.boundsMin[3];
    m_uniforms.setSteepness(steepest);
    setUniform(m_uniforms.boundsMin[3] != before);
}

void SDFRenderLayer::updateSections(RhiContext &context)
{
    if (!std::exchange(m_areSectionsStale, false))
        return;
    SectionBlock block;
    for (qsizetype i = 0; i < m_sectionPlanes.size(); ++i) {
        const QVector4D &plane = m_sectionPlanes.at(i);
        block.planes[std::size_t(i)] = {plane.x(), plane.y(), plane.z(), plane.w()};
    }
    block.count[0] = qint32(m_sectionPlanes.size());
    context.ensureResourceUpdates()->updateDynamicBuffer(m_sectionBuffer.get(), 0, sizeof(block),
                                                         &block);
}

void SDFRenderLayer::reportFullBuffer(const NodeBuffer::Upload &upload, qint64 budgetBytes)
{
    constexpr qint64 nodeBytes = sizeof(shader::SDFNode);
    const bool isBudget = budgetBytes < m_nodes.capacity() * nodeBytes;
    reportLayerError(
        ErrorSeverity::Warning,
        u"Node buffer exceeds %6: %1 nodes requested (%2 KB), capped to %3 nodes (%4 KB). "
        "%5 dropped."_s.arg(QString::number(upload.requested),
                            kilobytes(upload.requested * nodeBytes), QString::number(upload.kept),
                            kilobytes(upload.kept * nodeBytes),
                            QString::number(upload.requested - upload.kept),
                            isBudget ? u"budget"_s : u"SSBO capacity"_s));
}

void SDFRenderLayer::updateUniforms(RhiContext &context)
{
    renderState()->clear(RenderAction::UploadUniforms | RenderAction::ResetAccumulation);
    setCameraUniforms(m_uniforms, context, worldTransform());
    m_uniforms.nodeCount = m_drawnNodes;
    m_uniforms.lights = {};
    m_uniforms.envParams = {};
    m_uniforms.lightCount =
        m_lighting ? m_lighting->fillLights(m_uniforms.lights.data(), shader::maxLightCount) : 0;
    if (m_background)
        m_background->fillUniforms(m_uniforms.envParams.front().data(), 16);
    if (!ensureUniformBuffer(context.rhi))
        return failInitialize(u"Failed to create uniform buffer"_s), void();
    const auto &domains = m_field.domains();
    const std::size_t blocks = std::max<std::size_t>(1, domains.size());
    m_uploadedUniforms.resize(blocks, SDFUniforms{.nodeCount = -1});
    for (std::size_t i = 0; i < blocks; ++i) {
        m_uniforms.rootNodeIndex = domains.isEmpty() ? 0 : domains.at(qsizetype(i)).rootIndex;
        if (std::memcmp(&m_uploadedUniforms[i], &m_uniforms, uniformBytes) == 0)
            continue;
        m_uploadedUniforms[i] = m_uniforms;
        context.ensureResourceUpdates()->updateDynamicBuffer(
            m_uniformBuffer.get(), quint32(i) * m_uniformStride, uniformBytes, &m_uniforms);
        m_lastUploadBytes += uniformBytes;
    }
}

// ------------------------------------------------------------------ drawing

bool SDFRenderLayer::needsGeometryUpdate() const
{
    return m_deferred && renderState() && renderState()->isPending(RenderAction::GeometryPass);
}

void SDFRenderLayer::renderGeometry(RhiContext &context)
{
    renderState()->clear(RenderAction::GeometryPass);
    if (m_drawnNodes == 0)
        return;
    if (m_specialised.fits())
        drawDomains(context, m_specialised.pass());
    else if (m_geometry.isValid())
        drawDomains(context, m_geometry);
}

bool SDFRenderLayer::canDefer() const
{
    return m_deferred && m_shading.isValid() && (m_geometry.isValid() || m_specialised.fits());
}

bool SDFRenderLayer::canDraw()
{
    if (m_drawnNodes == 0) {
        if (++m_idleFrames % 60 == 0)
            qCWarning(lcSdf) << "SDFLayer::renderPre: No GPU nodes to render";
        return false;
    }
    const bool hasPass = canDefer() || m_forward.isValid();
    if (!hasPass && ++m_idleFrames % 100 == 0 && !isCompiling())
        qCWarning(lcSdf) << "SDFLayer::renderPre: Pipeline is null - cannot render";
    return hasPass;
}

void SDFRenderLayer::renderPre(RhiContext &context)
{
    if (!canDraw())
        return;
    m_idleFrames = 0;
    renderState()->clear(RenderAction::ShadingPass);
    if (canDefer())
        m_shading.draw(context.commandBuffer, m_quad, context.pixelSize, 0);
    else
        drawDomains(context, m_forward);
}

/// Their depths merge them.
void SDFRenderLayer::drawDomains(RhiContext &context, const ScenePass &pass) const
{
    const qsizetype blocks = std::max<qsizetype>(1, m_field.domains().size());
    for (qsizetype i = 0; i < blocks; ++i)
        pass.draw(context.commandBuffer, m_quad, context.pixelSize, i * m_uniformStride);
}

} // namespace corvane::rendering
