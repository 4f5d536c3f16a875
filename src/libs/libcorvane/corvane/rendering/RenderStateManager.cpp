#include <corvane/rendering/RenderStateManager.h>

#include <QElapsedTimer>

#include <array>

namespace corvane::rendering {

using render::RenderAction;
using render::RenderActions;

namespace {

RenderStateManager::Clock systemClock()
{
    QElapsedTimer timer;
    timer.start();
    return [timer] { return timer.elapsed(); };
}

/// When any of `causes` stands, `effect` does too. In this order, an effect may be a later cause.
struct Promotion
{
    RenderActions causes;
    RenderAction effect;
};

constexpr std::array promotions{
    Promotion{RenderAction::RecompileShader, RenderAction::RebuildPipeline},
    Promotion{RenderAction::RebuildPipeline | RenderAction::ResizeGBuffer,
              RenderAction::GeometryPass},
    Promotion{RenderAction::RebuildSampleTargets | RenderAction::UploadNodes,
              RenderAction::GeometryPass},
    Promotion{RenderAction::RebuildShadingPipeline, RenderAction::ShadingPass},
    Promotion{RenderAction::GeometryPass, RenderAction::ShadingPass},
};

} // namespace

RenderStateManager::RenderStateManager(Clock clock, QObject *parent)
    : QObject(parent)
    , m_clock(clock ? std::move(clock) : systemClock())
{
    m_throttle.setSingleShot(true);
    m_throttle.setInterval(throttleMs);
    connect(&m_throttle, &QTimer::timeout, this, &RenderStateManager::onThrottleTimeout);
    m_settle.setSingleShot(true);
    m_settle.setInterval(int(resizeSettleMs));
    connect(&m_settle, &QTimer::timeout, this, &RenderStateManager::onSizeSettled);
}

void RenderStateManager::requestRender(RenderTrigger trigger, RenderActions actions)
{
    if (m_telemetry)
        m_telemetry->recordRequest(trigger, m_throttle.isActive(), m_clock());
    if (actions)
        addActions(actions);
    else
        scheduleRender();
}

void RenderStateManager::addActions(RenderActions actions)
{
    if (m_disabled || !actions)
        return;
    m_pending |= actions;
    emit actionsRequested(actions);
    scheduleRender();
}

void RenderStateManager::scheduleRender()
{
    if (m_throttle.isActive() || m_disabled) {
        m_renderPending = true;
        return;
    }
    emit renderRequested();
    m_throttle.start();
}

void RenderStateManager::viewportResized(const QSize &size)
{
    if (size == m_requestedSize)
        return;
    const bool isFirst = m_requestedSize.isEmpty();
    m_requestedSize = size;
    if (isFirst) { // nothing is there yet that could wait
        m_committedSize = size;
        emit viewportSizeCommitted(size);
        return addActions(RenderAction::ResizeGBuffer);
    }
    m_lastResizeMs = m_clock();
    setPhase(ResizePhase::Resizing);
    m_settle.start();
    scheduleRender();
}

void RenderStateManager::adoptSize(const QSize &size)
{
    m_settle.stop();
    m_requestedSize = size;
    m_pending |= RenderAction::ResizeGBuffer | render::RenderMasks::cameraChanged;
    setPhase(ResizePhase::Idle);
}

void RenderStateManager::acknowledgeGBufferResize(const QSize &size)
{
    m_committedSize = size;
    clear(RenderAction::ResizeGBuffer);
    if (m_phase != ResizePhase::Committing)
        return;
    setPhase(ResizePhase::Settling);
    addActions(render::RenderMasks::cameraChanged);
}

void RenderStateManager::beginFrame()
{
    if (m_disabled)
        return;
    if (m_telemetry)
        m_telemetry->recordFrame(m_clock());
    m_renderPending = false; // what was asked for until now is in this frame
    advanceResize();
    promoteActions();
}

void RenderStateManager::setDisabled(bool disabled, const QString &reason)
{
    if (disabled == m_disabled)
        return;
    m_disabled = disabled;
    emit renderingDisabledChanged(disabled, reason);
    if (!disabled)
        scheduleRender();
}

void RenderStateManager::onThrottleTimeout()
{
    if (!m_renderPending || m_disabled)
        return;
    m_renderPending = false;
    emit renderRequested();
    m_throttle.start();
}

/// A frame that was drawn at the last size already need not be drawn again.
void RenderStateManager::onSizeSettled()
{
    if (m_committedSize == m_requestedSize && m_phase == ResizePhase::Resizing)
        setPhase(ResizePhase::Idle);
    else
        scheduleRender();
}

void RenderStateManager::advanceResize()
{
    if (m_phase == ResizePhase::Resizing && m_clock() - m_lastResizeMs >= resizeSettleMs) {
        setPhase(ResizePhase::Committing);
        m_pending |= RenderAction::ResizeGBuffer;
        emit viewportSizeCommitted(m_requestedSize);
    } else if (m_phase == ResizePhase::Settling && !isPending(RenderAction::GeometryPass)) {
        setPhase(ResizePhase::Idle);
    }
}

void RenderStateManager::promoteActions()
{
    for (const Promotion &promotion : promotions) {
        if (m_pending & promotion.causes)
            m_pending |= promotion.effect;
    }
}

void RenderStateManager::setPhase(ResizePhase phase)
{
    if (phase == m_phase)
        return;
    m_phase = phase;
    emit resizePhaseChanged(phase);
}

} // namespace corvane::rendering
