#include <rhi_widgets/QRhiWidgetStandIn.h>

#include <QEvent>
#include <QPointer>
#include <QResizeEvent>
#include <private/qguiapplication_p.h>
#include <private/qwidget_p.h>
#include <private/qwidgetrepaintmanager_p.h>
#include <qpa/qplatformintegration.h>

#include <algorithm>
#include <memory>

// Qt 6.4 composes a window with a device as soon as one widget in it says by rhiConfig() that it
// wants one. The window's backing store owns that device; what such a widget paints, it draws into
// a texture, which texture() hands to the compositor, and the backing store is blended over it,
// transparent where the widget is. QQuickWidget and QOpenGLWidget are made the same way.

namespace {

struct ApiRow
{
    QRhiWidget::Api api;
    QPlatformBackingStoreRhiConfig::Api config;
    QRhi::Implementation implementation;
};

constexpr ApiRow apiRows[] = {
    {QRhiWidget::Api::OpenGL, QPlatformBackingStoreRhiConfig::OpenGL, QRhi::OpenGLES2},
    {QRhiWidget::Api::Vulkan, QPlatformBackingStoreRhiConfig::Vulkan, QRhi::Vulkan},
    {QRhiWidget::Api::Metal, QPlatformBackingStoreRhiConfig::Metal, QRhi::Metal},
    {QRhiWidget::Api::Direct3D11, QPlatformBackingStoreRhiConfig::D3D11, QRhi::D3D11},
    {QRhiWidget::Api::Null, QPlatformBackingStoreRhiConfig::Null, QRhi::Null},
};

const ApiRow *rowOf(QRhiWidget::Api api)
{
    const auto *const row = std::find_if(std::begin(apiRows), std::end(apiRows),
                                         [api](const ApiRow &each) { return each.api == api; });
    return row == std::end(apiRows) ? nullptr : row;
}

} // namespace

class QRhiWidgetPrivate : public QWidgetPrivate
{
    Q_DECLARE_PUBLIC(QRhiWidget)

public:
    QPlatformBackingStoreRhiConfig rhiConfig() const override { return config; }
    QRhiTexture *texture() const override { return isTextureStale ? nullptr : picture.get(); }
    QImage grabFramebuffer() override { return q_func()->grabFramebuffer(); }

    QRhi *windowRhi() const;
    bool ensureRhi();
    bool ensureTarget(bool *isNew);
    bool createTarget(const QSize &size);
    QSize bufferSize() const;
    bool renderFrame(QRhiReadbackResult *result);
    void leaveRhi();
    void releaseTarget();

    QPlatformBackingStoreRhiConfig config{QPlatformBackingStoreRhiConfig::OpenGL};
    QRhiWidget::Api api = QRhiWidget::Api::OpenGL;
    QRhi *rhi = nullptr; ///< the window's
    int samples = 1;
    QSize fixedSize;
    bool hasWarned = false; ///< once is enough: it paints again and again
    bool isTextureStale =
        false; ///< the window changes: the texture may be of a device that is gone
    std::unique_ptr<QRhiTexture> picture; ///< what is shown: drawn into, or resolved to
    std::unique_ptr<QRhiRenderBuffer> msaaColor;
    std::unique_ptr<QRhiRenderBuffer> depthStencil;
    std::unique_ptr<QRhiTextureRenderTarget> target;
    std::unique_ptr<QRhiRenderPassDescriptor> pass;
};

QRhi *QRhiWidgetPrivate::windowRhi() const
{
    const QWidgetRepaintManager *const manager =
        QWidgetPrivate::get(q_func()->window())->maybeRepaintManager();
    return manager ? manager->rhi() : nullptr;
}

bool QRhiWidgetPrivate::ensureRhi()
{
    Q_Q(QRhiWidget);
    QRhi *const present = windowRhi();
    if (present == rhi && rhi)
        return true;
    leaveRhi();
    const ApiRow *const row = rowOf(api);
    if (!present || !row || present->backend() != row->implementation) {
        if (!std::exchange(hasWarned, true))
            qWarning("QRhiWidget: the window is not composed with the graphics api of this widget");
        return false;
    }
    rhi = present;
    // 6.4 cannot take a callback back: it asks whether it still means this widget.
    rhi->addCleanupCallback([widget = QPointer<QRhiWidget>(q)](QRhi *gone) {
        if (widget && widget->d_func()->rhi == gone)
            widget->d_func()->leaveRhi();
    });
    return true;
}

bool QRhiWidgetPrivate::ensureTarget(bool *isNew)
{
    const QSize size = bufferSize();
    isTextureStale = false;
    if (target && target->pixelSize() == size && target->sampleCount() == samples)
        return true;
    *isNew = true;
    if (createTarget(size))
        return true;
    target.reset(); // so that the next frame tries again
    return false;
}

// The texture is made anew in its place: the window's list of textures may hold it while this
// paints.
bool QRhiWidgetPrivate::createTarget(const QSize &size)
{
    if (!picture)
        picture.reset(
            rhi->newTexture(QRhiTexture::RGBA8, size, 1,
                            QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource));
    picture->setPixelSize(size);
    QRhiColorAttachment attachment(picture.get());
    msaaColor.reset();
    if (samples > 1) {
        msaaColor.reset(rhi->newRenderBuffer(QRhiRenderBuffer::Color, size, samples));
        attachment = QRhiColorAttachment(msaaColor.get());
        attachment.setResolveTexture(picture.get());
    }
    depthStencil.reset(rhi->newRenderBuffer(QRhiRenderBuffer::DepthStencil, size, samples));
    if (!picture->create() || (msaaColor && !msaaColor->create()) || !depthStencil->create())
        return false;
    QRhiTextureRenderTargetDescription description(attachment);
    description.setDepthStencilBuffer(depthStencil.get());
    target.reset(rhi->newTextureRenderTarget(description));
    pass.reset(target->newCompatibleRenderPassDescriptor());
    target->setRenderPassDescriptor(pass.get());
    return target->create();
}

QSize QRhiWidgetPrivate::bufferSize() const
{
    Q_Q(const QRhiWidget);
    if (!fixedSize.isEmpty())
        return fixedSize;
    const int largest = rhi->resourceLimit(QRhi::TextureSizeMax);
    return (q->size() * q->devicePixelRatioF()).expandedTo({1, 1}).boundedTo({largest, largest});
}

// A frame of its own, before the one in which the window is composed.
bool QRhiWidgetPrivate::renderFrame(QRhiReadbackResult *result)
{
    Q_Q(QRhiWidget);
    QRhiCommandBuffer *commands = nullptr;
    if (!ensureRhi() || rhi->beginOffscreenFrame(&commands) != QRhi::FrameOpSuccess)
        return false;
    bool isNew = false;
    const bool canRender = ensureTarget(&isNew);
    if (canRender) {
        if (isNew)
            q->initialize(commands);
        q->render(commands);
    }
    if (canRender && result) {
        QRhiResourceUpdateBatch *const updates = rhi->nextResourceUpdateBatch();
        updates->readBackTexture({picture.get()}, result);
        commands->resourceUpdate(updates);
    }
    return rhi->endOffscreenFrame() == QRhi::FrameOpSuccess && canRender;
}

void QRhiWidgetPrivate::leaveRhi()
{
    if (!rhi)
        return;
    q_func()->releaseResources();
    releaseTarget();
    rhi = nullptr;
}

void QRhiWidgetPrivate::releaseTarget()
{
    target.reset();
    pass.reset();
    depthStencil.reset();
    msaaColor.reset();
    picture.reset();
}

QRhiWidget::QRhiWidget(QWidget *parent, Qt::WindowFlags flags)
    : QWidget(*new QRhiWidgetPrivate, parent, flags)
{
    Q_D(QRhiWidget);
    const QPlatformIntegration *const platform = QGuiApplicationPrivate::platformIntegration();
    if (platform->hasCapability(QPlatformIntegration::RhiBasedRendering)) {
        d->setRenderToTexture();
        return;
    }
    qWarning("QRhiWidget: QRhi is not supported on this platform.");
    d->hasWarned = true;
    d->config.setEnabled(false);
}

// A class derived from this one frees its own resources in its destructor; the window's device is
// there until the window is closed.
QRhiWidget::~QRhiWidget()
{
    Q_D(QRhiWidget);
    d->releaseTarget();
    d->rhi = nullptr;
}

QRhiWidget::Api QRhiWidget::api() const
{
    return d_func()->api;
}

void QRhiWidget::setApi(Api api)
{
    Q_D(QRhiWidget);
    const ApiRow *const row = rowOf(api);
    if (!row) {
        qWarning("QRhiWidget: this version of Qt has no such graphics api");
        return;
    }
    d->api = api;
    d->config.setApi(row->config);
}

bool QRhiWidget::isDebugLayerEnabled() const
{
    return d_func()->config.isDebugLayerEnabled();
}

void QRhiWidget::setDebugLayerEnabled(bool enable)
{
    d_func()->config.setDebugLayer(enable);
}

int QRhiWidget::sampleCount() const
{
    return d_func()->samples;
}

void QRhiWidget::setSampleCount(int samples)
{
    Q_D(QRhiWidget);
    if (d->samples == samples)
        return;
    d->samples = samples;
    emit sampleCountChanged(samples);
    update();
}

QSize QRhiWidget::fixedColorBufferSize() const
{
    return d_func()->fixedSize;
}

void QRhiWidget::setFixedColorBufferSize(const QSize &pixelSize)
{
    Q_D(QRhiWidget);
    if (d->fixedSize == pixelSize)
        return;
    d->fixedSize = pixelSize;
    emit fixedColorBufferSizeChanged(pixelSize);
    update();
}

QImage QRhiWidget::grabFramebuffer() const
{
    auto *const d = const_cast<QRhiWidgetPrivate *>(d_func());
    QRhiReadbackResult result;
    if (!d->renderFrame(&result) || result.data.isEmpty())
        return {};
    const QImage picture(reinterpret_cast<const uchar *>(result.data.constData()),
                         result.pixelSize.width(), result.pixelSize.height(),
                         QImage::Format_RGBA8888_Premultiplied);
    QImage upright = d->rhi->isYUpInFramebuffer() ? picture.mirrored() : picture.copy();
    upright.setDevicePixelRatio(devicePixelRatioF());
    return upright;
}

QRhi *QRhiWidget::rhi() const
{
    return d_func()->rhi;
}

QRhiTexture *QRhiWidget::colorTexture() const
{
    return d_func()->samples > 1 ? nullptr : d_func()->picture.get();
}

QRhiRenderBuffer *QRhiWidget::msaaColorBuffer() const
{
    return d_func()->msaaColor.get();
}

QRhiTexture *QRhiWidget::resolveTexture() const
{
    return d_func()->samples > 1 ? d_func()->picture.get() : nullptr;
}

QRhiRenderBuffer *QRhiWidget::depthStencilBuffer() const
{
    return d_func()->depthStencil.get();
}

QRhiRenderTarget *QRhiWidget::renderTarget() const
{
    return d_func()->target.get();
}

void QRhiWidget::initialize(QRhiCommandBuffer *) {}

void QRhiWidget::render(QRhiCommandBuffer *) {}

void QRhiWidget::releaseResources() {}

void QRhiWidget::resizeEvent(QResizeEvent *event)
{
    Q_D(QRhiWidget);
    if (!event->size().isEmpty())
        d->sendPaintEvent(QRect(QPoint(0, 0), size()));
}

void QRhiWidget::paintEvent(QPaintEvent *)
{
    Q_D(QRhiWidget);
    if (!updatesEnabled() || size().isEmpty())
        return;
    if (d->renderFrame(nullptr))
        emit frameSubmitted();
    else
        emit renderFailed();
}

bool QRhiWidget::event(QEvent *event)
{
    Q_D(QRhiWidget);
    switch (event->type()) {
    case QEvent::WindowAboutToChangeInternal:
        d->isTextureStale = true;
        d->leaveRhi();
        break;
    case QEvent::Show:
        if (isVisible())
            d->sendPaintEvent(QRect(QPoint(0, 0), size()));
        break;
    default:
        break;
    }
    return QWidget::event(event);
}
