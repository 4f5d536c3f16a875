#pragma once

#include <corvane/render/RenderAction.h>
#include <corvane/rendering/RenderTelemetry.h>

#include <QObject>
#include <QSize>
#include <QTimer>

#include <functional>

namespace corvane::rendering {

/// The one place that decides what a frame must redo, so that a still scene costs nothing and a
/// camera move compiles nothing.
///
/// Whoever changes something adds the first action that follows from it; beginFrame() adds those
/// that follow from that (a new shader needs its pipeline, a new pipeline a geometry pass, that one
/// a shading pass), and who has done an action clears it. Requests for frames leave as
/// renderRequested(), at most one in throttleMs, and the last one is never lost.
///
/// A viewport that is being resized:
///
///     Idle -> Resizing     viewportResized()
///     Resizing -> Committing   beginFrame(), once resizeSettleMs passed without another size
///     Committing -> Settling   acknowledgeGBufferResize()
///     Settling -> Idle     beginFrame(), once the geometry pass was drawn
///
/// The first size of all is committed at once, and a size at which the G-buffer was drawn meanwhile
/// needs no commit: Resizing -> Idle.
///
/// Lives on the thread of its pipeline, which has an event loop where requests are to be throttled.
class RenderStateManager : public QObject
{
    Q_OBJECT

public:
    static constexpr int throttleMs = 16;
    static constexpr qint64 resizeSettleMs = 150;

    enum class ResizePhase { Idle = 0, Resizing = 1, Committing = 2, Settling = 3 };
    Q_ENUM(ResizePhase)

    /// Milliseconds that never go back.
    using Clock = std::function<qint64()>;

    /// Everything is to be done at first. Without a clock it is the system's.
    explicit RenderStateManager(Clock clock = {}, QObject *parent = nullptr);

    void setTelemetry(RenderTelemetry *telemetry) { m_telemetry = telemetry; } ///< not owned

    /// Adds actions (there may be none), and asks for a frame.
    void requestRender(RenderTrigger trigger, render::RenderActions actions = {});
    /// Ignored while disabled.
    void addActions(render::RenderActions actions);
    void scheduleRender();

    void viewportResized(const QSize &size);
    /// The frame that is being drawn has that size, and asks for no other.
    void adoptSize(const QSize &size);
    void cameraChanged() { addActions(render::RenderMasks::cameraChanged); }
    void sceneStructureChanged() { addActions(render::RenderMasks::sceneStructureChanged); }
    void renderingParameterChanged() { addActions(render::RenderMasks::renderingParameterChanged); }
    /// The G-buffer has that size now.
    void acknowledgeGBufferResize(const QSize &size);

    void beginFrame();
    render::RenderActions pendingActions() const { return m_pending; }
    bool isPending(render::RenderAction action) const { return m_pending.testFlag(action); }
    /// Adds actions to the frame that is being drawn, and asks for no other.
    void addToFrame(render::RenderActions actions) { m_pending |= actions; }
    void clear(render::RenderActions actions) { m_pending &= ~actions; }

    /// Nothing is drawn while disabled; the reason is for the user.
    void setDisabled(bool disabled, const QString &reason = {});
    bool isDisabled() const { return m_disabled; }
    /// A request now would wait for the end of the throttle.
    bool isThrottled() const { return m_throttle.isActive(); }

    ResizePhase resizePhase() const { return m_phase; }
    QSize requestedSize() const { return m_requestedSize; }
    QSize committedSize() const { return m_committedSize; }

signals:
    void actionsRequested(corvane::render::RenderActions actions);
    void renderingDisabledChanged(bool disabled, const QString &reason);
    void resizePhaseChanged(corvane::rendering::RenderStateManager::ResizePhase phase);
    void viewportSizeCommitted(const QSize &size);
    void renderRequested();

private:
    void onThrottleTimeout();
    void onSizeSettled();
    void advanceResize();
    void promoteActions();
    void setPhase(ResizePhase phase);

    const Clock m_clock;
    RenderTelemetry *m_telemetry = nullptr;
    render::RenderActions m_pending = render::RenderMasks::everything;
    ResizePhase m_phase = ResizePhase::Idle;
    QSize m_requestedSize;
    QSize m_committedSize;
    qint64 m_lastResizeMs = 0;
    QTimer m_throttle{this};
    QTimer m_settle{this}; ///< asks for the frame that commits the size
    bool m_renderPending = false;
    bool m_disabled = false;
};

} // namespace corvane::rendering
