#include <rhi_widgets/RhiPresentWidget.h>

#include <rhi/SharedTexture.h>

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QTabletEvent>
#include <QWheelEvent>

namespace rhi {

RhiPresentWidget::RhiPresentWidget(QWidget *parent)
    : QRhiWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
}

RhiPresentWidget::~RhiPresentWidget()
{
    releaseSharedImage();
}

bool RhiPresentWidget::presentFrame(const WorkerFrame &frame)
{
    if (!m_frames.add(frame))
        return false;
    if (frame.flags & WorkerFrame::Signalled)
        m_ledger.signal(frame.sequence);
    update();
    return true;
}

void RhiPresentWidget::setPresentSettings(const PresentSettings &settings)
{
    if (m_settings == settings)
        return;
    m_settings = settings;
    update();
}

void RhiPresentWidget::setClearColor(const QColor &color)
{
    m_clearColor = color;
    update();
}

void RhiPresentWidget::setFrameFormat(QRhiTexture::Format format)
{
    m_pixels.setFormat(format);
}

void RhiPresentWidget::prepareOverlays(QRhi *, QRhiResourceUpdateBatch *) {}

void RhiPresentWidget::compositeOverlays(QRhiCommandBuffer *, QRhiRenderTarget *,
                                         const QRhiViewport &)
{}

void RhiPresentWidget::render(QRhiCommandBuffer *commands)
{
    QRhiResourceUpdateBatch *const updates = rhi()->nextResourceUpdateBatch();
    drainFrames(updates);
    const bool showsFrame = m_shown && ensurePipeline() && rebuildSrb();
    if (showsFrame)
        m_pass.update(rhi(), updates, m_settings, m_isBottomUp);
    prepareOverlays(rhi(), updates);

    const QSize size = renderTarget()->pixelSize();
    if (m_sharedImage)
        m_sharedImage->takeOver(rhi(), commands);
    commands->beginPass(renderTarget(), m_clearColor, {1.0f, 0}, updates);
    if (showsFrame)
        m_pass.draw(commands, size);
    compositeOverlays(commands, renderTarget(), {0, 0, float(size.width()), float(size.height())});
    commands->endPass();
    if (m_sharedImage)
        m_sharedImage->giveBack(rhi(), commands);
}

void RhiPresentWidget::releaseResources()
{
    m_pass.release();
    m_pixels.release();
    releaseSharedImage();
    m_shown = nullptr;
    m_frames.clear(); // the worker's next frame is taken whatever its sequence
}

void RhiPresentWidget::mousePressEvent(QMouseEvent *event)
{
    m_isClick = event->button() == Qt::LeftButton;
    m_pressPosition = event->position().toPoint();
    emit mouseEventReceived(event);
}

void RhiPresentWidget::mouseMoveEvent(QMouseEvent *event)
{
    const int distance = (event->position().toPoint() - m_pressPosition).manhattanLength();
    m_isClick = m_isClick && distance < QApplication::startDragDistance();
    emit mouseEventReceived(event);
}

void RhiPresentWidget::mouseReleaseEvent(QMouseEvent *event)
{
    emit mouseEventReceived(event);
    if (event->button() == Qt::LeftButton && std::exchange(m_isClick, false))
        emit pickRequested(event->position().toPoint());
}

void RhiPresentWidget::mouseDoubleClickEvent(QMouseEvent *event)
{
    m_isClick = false; // the first click picked already
    emit mouseEventReceived(event);
}

void RhiPresentWidget::wheelEvent(QWheelEvent *event)
{
    emit wheelEventReceived(event);
    event->accept();
}

void RhiPresentWidget::tabletEvent(QTabletEvent *event)
{
    emit tabletEventReceived(event);
}

void RhiPresentWidget::keyPressEvent(QKeyEvent *event)
{
    event->ignore(); // unless somebody takes it: shortcuts and parents see the rest
    emit keyEventReceived(event);
}

void RhiPresentWidget::keyReleaseEvent(QKeyEvent *event)
{
    event->ignore();
    emit keyEventReceived(event);
}

void RhiPresentWidget::drainFrames(QRhiResourceUpdateBatch *updates)
{
    const QList<WorkerFrame> superseded = m_frames.takeSuperseded();
    for (const WorkerFrame &frame : superseded)
        waitForFrame(frame);
    const QList<WorkerFrame> frames = m_frames.takeFrames();
    for (const WorkerFrame &frame : frames)
        uploadFrame(updates, frame);
}

void RhiPresentWidget::uploadFrame(QRhiResourceUpdateBatch *updates, const WorkerFrame &frame)
{
    if (frame.sharedTexture) {
        importFrame(frame);
        return;
    }
    if (!m_pixels.upload(rhi(), updates, frame))
        return;
    releaseSharedImage();
    m_shown = m_pixels.texture();
    if (frame.damage.isNull())
        m_isBottomUp = false;
}

// Pictures that a GPU drew begin at the bottom, unless they say otherwise; what was read back was
// turned.
void RhiPresentWidget::importFrame(const WorkerFrame &frame)
{
    const std::shared_ptr<SharedImage> image = SharedTexture::imageOf(frame);
    if (!image)
        return; // the producer has replaced it: its next frame is on the way
    QRhiTexture *const texture = image->importInto(rhi());
    if (!texture) {
        emit sharedFramesUnavailable();
        return;
    }
    waitForFrame(frame);
    if (m_sharedImage != image)
        releaseSharedImage();
    m_sharedImage = image;
    m_shown = texture;
    m_isBottomUp = !(frame.flags & WorkerFrame::TopDown);
}

void RhiPresentWidget::waitForFrame(const WorkerFrame &frame)
{
    if (!(frame.flags & WorkerFrame::Signalled))
        return;
    const std::shared_ptr<SharedImage> image = SharedTexture::imageOf(frame);
    if (!image || image->waitForFrame(rhi(), frame))
        m_ledger.retire(frame.sequence);
}

void RhiPresentWidget::releaseSharedImage()
{
    if (!m_sharedImage)
        return;
    m_shown = nullptr;
    m_sharedImage->releaseConsumer(rhi());
    m_sharedImage.reset();
}

bool RhiPresentWidget::ensurePipeline()
{
    return m_pass.ensurePipeline(rhi(), renderTarget()->renderPassDescriptor(), sampleCount());
}

bool RhiPresentWidget::rebuildSrb()
{
    return m_pass.rebuildSrb(rhi(), m_shown);
}

} // namespace rhi
