#include <corvane/rendering/CorvaneViewportProducer.h>

#include <corvane/aa/AntialiasStrategyFactory.h>
#include <corvane/rendering/ClipSpace.h>
#include <corvane/rendering/EnvironmentLayer.h>
#include <corvane/rendering/RenderPipeline.h>
#include <corvane/rendering/SDFRenderLayer.h>
#include <corvane/rendering/environment/EnvironmentRegistry.h>
#include <corvane/rendering/layers/GroundPlane.h>
#include <corvane/rendering/post/PostProcessLayer.h>
#include <corvane/rendering/post/SelectionMaskComputer.h>
#include <corvane/shader/IShadingMode.h>
#include <corvane/shader/ShadingModeRegistry.h>
#include <rhi/SharedTexture.h>
#include <toast/ErrorManager.h>

#include <QElapsedTimer>
#include <QLoggingCategory>

#include <chrono>
#include <utility>

namespace corvane::rendering {

using namespace Qt::StringLiterals;
using ::rhi::WorkerFrame;

Q_LOGGING_CATEGORY(lcViewport, "ondrel.rendering.viewport", QtWarningMsg)

namespace {

constexpr int smallestSide = 16;
const QString problemSource = u"Viewport"_s;

qint64 systemMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

QSize scaledDown(const QSize &size, float scale)
{
    if (scale >= 1.0f)
        return size;
    return {std::max(smallestSide, int(float(size.width()) * scale)),
            std::max(smallestSide, int(float(size.height()) * scale))};
}

} // namespace

CorvaneViewportProducer::CorvaneViewportProducer()
    : CorvaneViewportProducer(Config())
{}

CorvaneViewportProducer::CorvaneViewportProducer(const Config &config)
    : m_config(config)
    , m_mailbox(std::make_shared<render::PatchMailbox>())
    , m_quality(config.quality)
{}

CorvaneViewportProducer::~CorvaneViewportProducer() = default;

qint64 CorvaneViewportProducer::now() const
{
    return m_config.clock ? m_config.clock() : systemMs();
}

// ------------------------------------------------------------------ the worker's calls

bool CorvaneViewportProducer::onInitialize(QRhi *rhi)
{
    m_rhi = rhi;
    m_isSharingUnavailable = false;
    raiseDemand();
    return true;
}

WorkerFrame CorvaneViewportProducer::onTick(QRhi *rhi)
{
    ++m_tickCount;
    if (m_isHalted || m_isSuspended)
        return keepAliveFrame();
    takeNews();
    const bool isSettling = isUpToDate() && isSettleDue();
    if (isUpToDate() && !isSettling) {
        ++m_keepAliveCount;
        answerQuestions();
        return keepAliveFrame();
    }
    if (rhi->isDeviceLost() || m_targetSize.isEmpty())
        return m_targetSize.isEmpty() ? WorkerFrame() : failedFrame();
    const quint64 epoch = m_demandEpoch;
    const auto quality = isSettling ? m_quality.atRest() : m_quality.inMotion();
    applyQuality(quality);
    const QSize size = desiredRenderSize(quality);
    const bool isRetargeted = size != std::exchange(m_lastRenderSize, size);
    const int builtPasses = m_pipeline ? m_pipeline->sdfLayer()->builtPasses() : 0;
    QElapsedTimer timer;
    timer.start();
    const auto frame = drawFrame(rhi);
    if (!frame)
        return failedFrame();
    m_lastFrameMs = double(timer.nsecsElapsed()) / 1e6;
    if (!isSettling)
        learnFromFrame(m_lastFrameMs, builtPasses, isRetargeted);
    m_renderedEpoch = epoch;
    m_isSettled = quality == m_quality.atRest();
    m_lastFrame = *frame;
    clearViewportProblem();
    tellCamera();
    answerQuestions();
    return m_lastFrame;
}

void CorvaneViewportProducer::onRelease(QRhi *)
{
    if (lossTier() == ::rhi::DeviceLossTier::HardStop) {
        m_isHalted = true;
        reportViewportProblem(
            u"Graphics subsystem unstable — the viewport has been stopped to protect your session. "
            "Your document is safe; save normally. Restart the application to re-enable the "
            "viewport."_s);
    }
    releaseDeviceObjects();
    m_pipeline.reset();
    m_document.reset();
    m_registry.reset();
    m_rhi = nullptr;
}

bool CorvaneViewportProducer::onDeviceLoss(QRhi *newRhi)
{
    ++m_deviceLossCount;
    releaseDeviceObjects();
    if (lossTier() == ::rhi::DeviceLossTier::Unstable)
        reportViewportProblem(u"The graphics device was lost repeatedly — viewport quality may "
                              "degrade while it recovers."_s);
    return onInitialize(newRhi);
}

void CorvaneViewportProducer::releaseDeviceObjects()
{
    m_probe.release();
    m_sharedTarget.reset();
    m_sharedPass.reset();
    m_shared.reset();
    m_target.release();
    if (m_pipeline)
        m_pipeline->release();
}

// ------------------------------------------------------------------ demand

void CorvaneViewportProducer::raiseDemand()
{
    ++m_demandEpoch;
    m_lastChangeMs = now();
}

bool CorvaneViewportProducer::isUpToDate() const
{
    return !m_lastFrame.isEmpty() && m_demandEpoch == m_renderedEpoch;
}

bool CorvaneViewportProducer::isSettleDue() const
{
    return !m_isSettled && now() - m_lastChangeMs >= settleMs;
}

void CorvaneViewportProducer::setSuspended(bool suspended)
{
    m_isSuspended = suspended;
    raiseDemand();
}

WorkerFrame CorvaneViewportProducer::keepAliveFrame() const
{
    if (m_lastFrame.isEmpty() || m_lastFrame.sharedTexture)
        return m_lastFrame;
    WorkerFrame frame;
    frame.size = m_lastFrame.size;
    frame.sequence = m_lastFrame.sequence;
    frame.pixels = m_lastFrame.pixels.left(4);
    frame.damage = {0, 0, 1, 1};
    return frame;
}

WorkerFrame CorvaneViewportProducer::failedFrame()
{
    reportViewportProblem(u"Viewport frame render failed on the worker — showing the last good "
                          "frame. See log for details."_s);
    return m_lastFrame;
}

void CorvaneViewportProducer::reportViewportProblem(const QString &text)
{
    if (std::exchange(m_problem, text) == text)
        return;
    ErrorManager::instance().clearForSource(problemSource);
    ErrorManager::instance().reportWarning(problemSource, text);
}

void CorvaneViewportProducer::clearViewportProblem()
{
    if (!std::exchange(m_problem, {}).isEmpty())
        ErrorManager::instance().clearForSource(problemSource);
}

// ------------------------------------------------------------------ scene

void CorvaneViewportProducer::handleSetSnapshot(const render::CorvaneSnapshot &snapshot)
{
    m_pendingSnapshot = snapshot;
    raiseDemand();
}

/// What came since the last tick: at most one snapshot, and one patch of each item.
void CorvaneViewportProducer::takeNews()
{
    if (m_pendingSnapshot) {
        const auto snapshot = std::move(*m_pendingSnapshot);
        m_pendingSnapshot.reset();
        applySnapshot(snapshot);
    }
    const auto patches = m_mailbox->take();
    for (const render::ParameterPatch &patch : patches)
        applyPatch(patch);
}

void CorvaneViewportProducer::applySnapshot(const render::CorvaneSnapshot &snapshot)
{
    ensurePipeline();
    if (snapshot.definitions && snapshot.definitions != m_definitions)
        render::syncRegistry(*m_registry, *snapshot.definitions);
    m_definitions = snapshot.definitions;
    m_snapshotVersion = snapshot.version;
    const auto former = std::exchange(m_document, render::rebuildCorvaneFromSnapshot(snapshot));
    m_meshes.renderMeshes = snapshot.meshes;
    m_meshes.tetVolumes = snapshot.tetVolumes;
    m_meshes.proxies.clear();
    for (auto proxy = snapshot.proxies.cbegin(); proxy != snapshot.proxies.cend(); ++proxy)
        m_meshes.proxies.insert(proxy.key(), {.mesh = proxy->mesh, .version = proxy->version});
    m_pipeline->setCorvane(m_document.data());
    if (m_pipeline->state().isPending(render::RenderAction::RebuildPipeline))
        qCInfo(lcViewport) << "handleSetCorvane: active primitive set changed — promoting light "
                              "lane to full megashader rebuild";
    updateSelection();
    // The mailbox is quicker than the commands are: what was told there may be newer.
    m_newerPatches.dropUpTo(snapshot.version);
    const auto newer = m_newerPatches.patches();
    for (const render::ParameterPatch &patch : newer)
        applyPatch(patch);
}

void CorvaneViewportProducer::applyPatch(const render::ParameterPatch &patch)
{
    if (patch.version <= m_snapshotVersion)
        return;
    m_newerPatches.put(patch);
    if (m_document && render::applyPatch(*m_document, patch))
        raiseDemand();
}

void CorvaneViewportProducer::ensurePipeline()
{
    if (m_pipeline)
        return;
    if (!m_registry)
        m_registry = registry::Registry().withoutFileScoped();
    m_pipeline = std::make_unique<RenderPipeline>(m_registry.get());
    m_pipeline->setShaderJobs(m_config.jobs);
    m_pipeline->scene().setClearColor(m_config.clearColor);
    m_pipeline->setCamera(m_camera);
    m_pipeline->setMeshSource(&m_meshes);
    m_background = EnvironmentRegistry::instance().create(u"flat-color"_s);
    m_lighting = m_background;
    QObject::connect(m_pipeline.get(), &RenderPipeline::needsRender, m_pipeline.get(),
                     [this] { raiseDemand(); });
    QObject::connect(m_pipeline.get(), &RenderPipeline::degradedQuality, m_pipeline.get(),
                     [this](const QString &text) { reportViewportProblem(text); });
    applyRenderOptions(m_options);
}

void CorvaneViewportProducer::handleSetSelection(const QList<QUuid> &items)
{
    m_selection = items;
    if (updateSelection())
        raiseDemand();
}

bool CorvaneViewportProducer::updateSelection()
{
    if (!m_pipeline)
        return false;
    const auto &field = m_pipeline->sdfLayer()->field();
    const QBitArray nodes = SelectionMaskComputer::computeSubtreeMask(
        field.generatedNodes(), [&field](uint index) { return field.itemIdForNodeIndex(index); },
        {m_selection.cbegin(), m_selection.cend()});
    return m_pipeline->postLayer()->selection().setSelectedNodes(nodes);
}

void CorvaneViewportProducer::handleSetSelectionColors(const QColor &tint, const QColor &outline)
{
    ensurePipeline();
    m_pipeline->postLayer()->selection().setTintColor(tint);
    m_pipeline->postLayer()->selection().setOutlineColor(outline);
    raiseDemand();
}

void CorvaneViewportProducer::handleSetExportVolume(bool enabled, const QVector3D &min,
                                                    const QVector3D &max)
{
    ensurePipeline();
    m_pipeline->sdfLayer()->field().setExportVolumeBounds(min, max);
    m_pipeline->sdfLayer()->field().setExportVolumeEnabled(enabled);
}

void CorvaneViewportProducer::handleSetBounds(const BoundingVolume &bounds)
{
    ensurePipeline();
    m_pipeline->sdfLayer()->setBounds(bounds);
}

void CorvaneViewportProducer::handleSetSectionPlanes(const QList<QVector4D> &planes)
{
    ensurePipeline();
    m_pipeline->sdfLayer()->setSectionPlanes(planes);
}

// ------------------------------------------------------------------ view and options

void CorvaneViewportProducer::handleResize(const QSize &size)
{
    const QSize wanted = size.expandedTo({1, 1});
    if (wanted == m_targetSize)
        return;
    m_targetSize = wanted;
    m_lastFrame = {};
    raiseDemand();
}

void CorvaneViewportProducer::handleSetCamera(const camera::Camera &camera)
{
    m_camera = camera;
    if (m_pipeline)
        m_pipeline->setCamera(camera);
    raiseDemand();
}

void CorvaneViewportProducer::handleSetCameraPose(const camera::CameraPose &pose)
{
    camera::Camera camera = m_camera;
    if (camera.setPose(pose))
        handleSetCamera(camera);
}

void CorvaneViewportProducer::handleSetCameraProjection(camera::Camera::ProjectionType type,
                                                        float fieldOfView)
{
    camera::Camera camera = m_camera;
    camera.setFieldOfView(fieldOfView);
    camera.setProjectionType(type);
    handleSetCamera(camera);
}

void CorvaneViewportProducer::handleSetRenderOptions(const RenderOptions &options)
{
    m_options.merge(options);
    if (m_pipeline)
        applyRenderOptions(options);
    raiseDemand();
}

void CorvaneViewportProducer::applyRenderOptions(const RenderOptions &options)
{
    applyEnvironments(options);
    applyFieldOptions(options);
    applyPostOptions(options);
    if (options.shadingModeId.isEmpty())
        return;
    const auto mode = shader::ShadingModeRegistry::instance().mode(options.shadingModeId);
    if (!mode)
        return refuse(u"There is no shading mode \"%1\" — keeping the current one."_s.arg(
            options.shadingModeId));
    if (!m_pipeline->setShadingMode(mode))
        refuse(u"Path-traced rendering isn't available on the worker viewport yet — keeping the "
               "current shading mode. (Switch the viewport to the classic renderer to use path "
               "tracing.)"_s);
}

void CorvaneViewportProducer::refuse(const QString &text)
{
    ErrorManager::instance().reportWarning(problemSource, text);
}

void CorvaneViewportProducer::applyEnvironments(const RenderOptions &options)
{
    const auto &environments = EnvironmentRegistry::instance();
    if (const auto made = environments.create(options.environmentId)) {
        m_background = made;
        m_pipeline->setEnvironment(made);
    } else if (!options.environmentId.isEmpty()) {
        refuse(u"There is no environment \"%1\" — keeping the current one."_s.arg(
            options.environmentId));
    }
    if (options.lightingEnvironmentId == "none"_L1)
        m_lighting = nullptr;
    else if (const auto made = environments.create(options.lightingEnvironmentId))
        m_lighting = made;
    const auto &shown = m_pipeline->environmentLayer()->environment();
    for (auto value = options.environmentSettings.cbegin();
         shown && value != options.environmentSettings.cend(); ++value)
        shown->setSetting(value.key(), value.value());
    if (!options.environmentId.isEmpty() || !options.lightingEnvironmentId.isEmpty())
        m_pipeline->setLighting(m_background, m_lighting);
}

void CorvaneViewportProducer::applyFieldOptions(const RenderOptions &options)
{
    SDFRenderLayer &layer = *m_pipeline->sdfLayer();
    if (options.maxSteps != RenderOptions::sameInt)
        layer.setMaxSteps(options.maxSteps);
    if (options.maxDistance != RenderOptions::sameFloat)
        layer.setMaxRayDistance(options.maxDistance);
    if (options.epsilon != RenderOptions::sameFloat)
        layer.setRayEpsilon(options.epsilon);
    if (options.raymarchAlgorithm != RenderOptions::sameInt)
        layer.setRaymarchAlgorithm(options.raymarchAlgorithm);
    if (options.stepScale != RenderOptions::sameFloat)
        layer.setStepScale(options.stepScale);
    if (options.debugView != RenderOptions::sameInt)
        layer.setDebugView(options.debugView);
}

void CorvaneViewportProducer::applyPostOptions(const RenderOptions &options)
{
    PostProcessLayer &post = *m_pipeline->postLayer();
    if (!options.toneMapId.isEmpty())
        m_pipeline->setToneMapping(options.toneMapId);
    if (!options.antialiasStrategyId.isEmpty())
        m_pipeline->setAntialiasStrategy(QSharedPointer<aa::IAntialiasStrategy>(
            aa::AntialiasStrategyFactory::create(options.antialiasStrategyId).release()));
    if (options.exposure != RenderOptions::sameFloat)
        post.setParameter(u"exposure/ev"_s, options.exposure);
    if (options.groundPlaneVisible != RenderOptions::sameInt)
        m_pipeline->groundPlane()->setVisible(options.groundPlaneVisible != 0);
    if (options.gammaEncoding != RenderOptions::sameInt)
        post.setEffectEnabled(u"gamma"_s, options.gammaEncoding != 0);
    if (options.ditherMode != RenderOptions::sameInt)
        post.setParameter(u"dither/mode"_s, options.ditherMode);
    if (options.ditherBits != RenderOptions::sameInt)
        post.setParameter(u"dither/quantBits"_s, options.ditherBits);
    for (auto value = options.effectParameters.cbegin(); value != options.effectParameters.cend();
         ++value)
        post.setParameter(value.key(), value.value());
}

// ------------------------------------------------------------------ quality

QSize CorvaneViewportProducer::desiredRenderSize(const AdaptiveQuality::Quality &quality)
{
    const qint64 budget = RenderBudget().maxOffscreenPixels;
    const QSize fitted = ViewportTarget::fitted(m_rhi, m_targetSize, budget);
    if (fitted != m_targetSize)
        qCInfo(lcViewport) << "ensureTarget: requested" << m_targetSize << "draws" << fitted;
    return scaledDown(fitted, quality.renderScale);
}

void CorvaneViewportProducer::applyQuality(const AdaptiveQuality::Quality &quality)
{
    if (!m_pipeline)
        return;
    const int wanted = m_options.sampleCount == RenderOptions::sameInt ? 64 : m_options.sampleCount;
    const bool isFull = quality == m_quality.atRest();
    m_pipeline->setSampleLimit(isFull ? wanted : std::min(wanted, quality.sampleCount));
    m_pipeline->setEmbellished(quality.isEmbellished);
}

/// Compiles and new targets take time once: they say nothing about the next frame.
void CorvaneViewportProducer::learnFromFrame(double milliseconds, int builtPasses,
                                             bool isRetargeted)
{
    if (isRetargeted) {
        qCInfo(lcViewport) << "adaptive quality: render scale retarget" << m_lastRenderSize;
        return;
    }
    if (!m_pipeline || m_pipeline->sdfLayer()->builtPasses() != builtPasses)
        return;
    if (m_quality.frameDrawn(milliseconds))
        qCInfo(lcViewport) << "adaptive quality: level" << m_quality.level() << "scale"
                           << m_quality.inMotion().renderScale;
}

// ------------------------------------------------------------------ drawing

std::optional<WorkerFrame> CorvaneViewportProducer::drawFrame(QRhi *rhi)
{
    QRhiCommandBuffer *commands = nullptr;
    const bool isShared = m_pipeline && m_document && ensureShared(rhi, m_lastRenderSize);
    if (!isShared && !m_target.ensure(rhi, m_lastRenderSize))
        return std::nullopt;
    const auto begun = rhi->beginOffscreenFrame(&commands);
    if (begun != QRhi::FrameOpSuccess) {
        qCWarning(lcViewport) << "beginOffscreenFrame failed:" << begun;
        return std::nullopt;
    }
    QRhiReadbackResult result;
    if (isShared)
        m_shared->beginFrame(commands);
    const bool isDrawn =
        recordFrame(rhi, commands, isShared ? m_sharedTarget.get() : m_target.renderTarget());
    if (isShared)
        m_shared->endFrame(commands);
    else
        m_target.readBack(rhi, commands, &result);
    const auto ended = rhi->endOffscreenFrame();
    if (ended == QRhi::FrameOpDeviceLost)
        qCWarning(lcViewport) << "device-lost at endOffscreenFrame";
    if (ended != QRhi::FrameOpSuccess || !isDrawn)
        return std::nullopt;
    if (isShared)
        return m_shared->frame(++m_sequence);
    return result.data.isEmpty() ? std::nullopt : std::optional(finishedFrame(rhi, result));
}

bool CorvaneViewportProducer::ensureShared(QRhi *rhi, const QSize &size)
{
    if (!m_config.isZeroCopy || m_isSharingUnavailable)
        return false;
    if (m_shared && m_shared->size() == size)
        return true;
    m_sharedTarget.reset();
    m_sharedPass.reset();
    m_shared = ::rhi::SharedTexture::create(rhi, size);
    if (m_shared) {
        m_sharedTarget.reset(
            rhi->newTextureRenderTarget({QRhiColorAttachment(m_shared->texture())}));
        m_sharedPass.reset(m_sharedTarget->newCompatibleRenderPassDescriptor());
        m_sharedTarget->setRenderPassDescriptor(m_sharedPass.get());
        if (m_sharedTarget->create())
            return true;
    }
    m_isSharingUnavailable = true;
    qCInfo(lcViewport) << "§GSI-B4 Shape-2 zero-copy unavailable on this device — using readback "
                          "present";
    return false;
}

bool CorvaneViewportProducer::recordFrame(QRhi *rhi, QRhiCommandBuffer *commands,
                                          QRhiRenderTarget *target)
{
    if (!m_pipeline || !m_document) {
        commands->beginPass(target, m_config.clearColor, {1.0f, 0});
        commands->endPass();
        return true;
    }
    updateSelection(); // nodes may have moved
    return m_pipeline->initialize(rhi, target, commands) && m_pipeline->render(commands, target);
}

WorkerFrame CorvaneViewportProducer::finishedFrame(QRhi *rhi, const QRhiReadbackResult &result)
{
    WorkerFrame frame;
    frame.size = result.pixelSize;
    frame.sequence = ++m_sequence;
    frame.pixels = ViewportTarget::fromTop(rhi, result.data, result.pixelSize);
    return frame;
}

void CorvaneViewportProducer::tellCamera()
{
    if (!m_callbacks.cameraChanged || !m_pipeline)
        return;
    const camera::Camera &camera = m_pipeline->camera();
    m_callbacks.cameraChanged({.pose = camera.pose(),
                               .view = camera.viewMatrix(),
                               .projection = camera.projectionMatrix(),
                               .size = m_lastFrame.size});
}

// ------------------------------------------------------------------ hover and pick

void CorvaneViewportProducer::handleHover(const std::optional<QPoint> &point)
{
    m_hoverPoint = point;
    m_isHoverAsked = true;
}

void CorvaneViewportProducer::handlePick(const QPoint &point, Qt::KeyboardModifiers modifiers)
{
    m_picks.append({.point = point, .modifiers = modifiers});
}

std::optional<GBufferProbe::Sample> CorvaneViewportProducer::sampleGBufferAt(const QPoint &point,
                                                                             bool wantDepth)
{
    if (!m_rhi || !m_pipeline || !m_pipeline->isInitialized() || m_rhi->isDeviceLost())
        return std::nullopt;
    return m_probe.sampleAt(m_rhi, m_pipeline->context().gBuffer, point, m_targetSize, wantDepth);
}

QUuid CorvaneViewportProducer::resolveRawId(quint32 rawId) const
{
    return m_pipeline ? m_pipeline->itemOf(rawId) : QUuid();
}

HoverInfo CorvaneViewportProducer::hoverAt(const QPoint &point)
{
    const auto sample = sampleGBufferAt(point, true);
    if (!sample || sample->itemId == 0)
        return {};
    HoverInfo info{.item = resolveRawId(sample->itemId), .itemId = sample->itemId};
    if (sample->depth && *sample->depth < 1.0f) {
        const QPointF ndc((point.x() + 0.5) / m_targetSize.width() * 2.0 - 1.0,
                          1.0 - (point.y() + 0.5) / m_targetSize.height() * 2.0);
        info.position = ClipSpace::unproject(m_pipeline->camera().inverseViewProjectionMatrix(),
                                             ndc, *sample->depth);
    }
    return info;
}

/// With what the last frame shows, which is what the user saw and meant.
void CorvaneViewportProducer::answerQuestions()
{
    for (const Pick &pick : std::exchange(m_picks, {})) {
        if (m_callbacks.itemPicked)
            m_callbacks.itemPicked(hoverAt(pick.point).item, pick.modifiers);
    }
    if (!std::exchange(m_isHoverAsked, false))
        return;
    const HoverInfo info = m_hoverPoint ? hoverAt(*m_hoverPoint) : HoverInfo();
    if (m_pipeline && m_pipeline->postLayer()->hover().setHoveredId(info.itemId))
        raiseDemand();
    if (std::exchange(m_hover, info) != info && m_callbacks.hoverChanged)
        m_callbacks.hoverChanged(info);
}

} // namespace corvane::rendering
