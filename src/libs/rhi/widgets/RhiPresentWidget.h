#pragma once

#include <rhi/FrameQueue.h>
#include <rhi/FrameTexture.h>
#include <rhi/PresentPass.h>
#include <rhi/PresentSyncLedger.h>
#include <rhi_widgets/QRhiWidgetCompat.h>

#include <QPoint>

#include <memory>

class QKeyEvent;
class QMouseEvent;
class QTabletEvent;
class QWheelEvent;

namespace rhi {

class SharedImage;

/// Shows the frames of a render worker, with overlays of its own over them. Connect presentFrame()
/// to WorkerHost::frameReady(). It holds the last good picture: a frame that cannot be used, or
/// none at all, never turns it black. Before the first frame it is `clearColor()` and the overlays.
///
/// Input is handed on by signals, the events being valid during them; a derived class may still
/// override the handlers. A left click without a drag is a pick as well.
class RhiPresentWidget : public QRhiWidget
{
    Q_OBJECT

public:
    explicit RhiPresentWidget(QWidget *parent = nullptr);
    ~RhiPresentWidget() override;

    /// Takes a frame, to be drawn at the next repaint. False for one whose sequence is held
    /// already.
    bool presentFrame(const WorkerFrame &frame);

    PresentSettings presentSettings() const { return m_settings; }
    void setPresentSettings(const PresentSettings &settings);

    QColor clearColor() const { return m_clearColor; }
    void setClearColor(const QColor &color);

    /// Of the frames to come; RGBA8 unless set.
    void setFrameFormat(QRhiTexture::Format format);

    const PresentSyncLedger &syncLedger() const { return m_ledger; }

signals:
    void mouseEventReceived(QMouseEvent *event);
    void wheelEventReceived(QWheelEvent *event);
    void tabletEventReceived(QTabletEvent *event);
    void keyEventReceived(QKeyEvent *event);
    /// Shared images cannot be imported here: the worker should send pixels.
    void sharedFramesUnavailable();
    void pickRequested(const QPoint &position); ///< in the widget's coordinates

protected:
    /// Enters what the overlays upload, before the pass begins.
    virtual void prepareOverlays(QRhi *rhi, QRhiResourceUpdateBatch *updates);
    /// Draws the overlays, inside the pass and after the frame.
    virtual void compositeOverlays(QRhiCommandBuffer *commands, QRhiRenderTarget *target,
                                   const QRhiViewport &viewport);

    void render(QRhiCommandBuffer *commands) override;
    void releaseResources() override;

    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void tabletEvent(QTabletEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;

private:
    void drainFrames(QRhiResourceUpdateBatch *updates);
    void uploadFrame(QRhiResourceUpdateBatch *updates, const WorkerFrame &frame);
    void importFrame(const WorkerFrame &frame);
    void waitForFrame(const WorkerFrame &frame);
    void releaseSharedImage();
    bool ensurePipeline();
    bool rebuildSrb();

    FrameQueue m_frames;
    FrameTexture m_pixels;
    PresentPass m_pass;
    PresentSettings m_settings;
    PresentSyncLedger m_ledger;
    QColor m_clearColor{0, 0, 0};
    QRhiTexture *m_shown = nullptr; ///< the last good picture; null before the first
    bool m_isBottomUp = false;
    std::shared_ptr<SharedImage> m_sharedImage; ///< of m_shown; null when that shows pixels
    QPoint m_pressPosition;
    bool m_isClick = false; ///< the left button is down and was not dragged so far
};

} // namespace rhi
