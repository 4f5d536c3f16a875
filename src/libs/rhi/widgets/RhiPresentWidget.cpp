#include <rhi_widgets/RhiPresentWidget.h>

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

RhiPresentWidget::~RhiPresentWidget() = default;

bool RhiPresentWidget::presentFrame(const WorkerFrame &frame)
{
    if (!m_frames.add(frame))
        return false;
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
    commands->beginPass(renderTarget(), m_clearColor, {1.0f, 0}, updates);
    if (showsFrame)
        m_pass.draw(commands, size);
    compositeOverlays(commands, renderTarget(), {0, 0, float(size.width()), float(size.height())});
    commands->endPass();
}

void RhiPresentWidget::releaseResources()
{
    m_pass.release();
    m_pixels.release();
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
    const QList<WorkerFrame> frames = m_frames.takeFrames();
    for (const WorkerFrame &frame : frames)
        uploadFrame(updates, frame);
}

void RhiPresentWidget::uploadFrame(QRhiResourceUpdateBatch *updates, const WorkerFrame &frame)
{
    if (!m_pixels.upload(rhi(), updates, frame))
        return;
    m_shown = m_pixels.texture();
    if (frame.damage.isNull())
        m_isBottomUp = false;
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
