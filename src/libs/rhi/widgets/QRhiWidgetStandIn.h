#pragma once

#include <rhi/QRhiCompat.h>

#include <QImage>
#include <QWidget>

class QRhiWidgetPrivate;

/// What Qt has under this name from 6.7 on, for 6.4: a widget whose content is a texture that
/// render() draws, on the device that its window is composed with. Child widgets, translucent ones
/// too, are blended over it. Named and used as Qt's; left out is what nobody here calls: mirroring,
/// the colour buffer's formats beyond RGBA8, and grabbing without a window.
///
/// The api must be set before the window is created: all such widgets of a window share one device.
/// That device comes with the window and goes with it, after releaseResources().
class QRhiWidget : public QWidget
{
    Q_OBJECT
    Q_DECLARE_PRIVATE(QRhiWidget)

public:
    enum class Api { Null, OpenGL, Metal, Vulkan, Direct3D11, Direct3D12 };
    Q_ENUM(Api)

    explicit QRhiWidget(QWidget *parent = nullptr, Qt::WindowFlags flags = {});
    ~QRhiWidget() override;

    Api api() const;
    void setApi(Api api);

    bool isDebugLayerEnabled() const;
    void setDebugLayerEnabled(bool enable);

    int sampleCount() const;
    void setSampleCount(
        int samples); ///< above 1, render() draws multi-sampled and the result is resolved

    QSize fixedColorBufferSize() const;
    void setFixedColorBufferSize(const QSize &pixelSize); ///< empty follows the widget's size

    /// Draws and answers the picture; null, with a warning, without a device.
    QImage grabFramebuffer() const;

signals:
    void frameSubmitted();
    void renderFailed();
    void sampleCountChanged(int samples);
    void fixedColorBufferSizeChanged(const QSize &pixelSize);

protected:
    QRhi *rhi() const;                         ///< null before the first render()
    QRhiTexture *colorTexture() const;         ///< null with several samples
    QRhiRenderBuffer *msaaColorBuffer() const; ///< null with one sample
    QRhiTexture *resolveTexture() const;       ///< null with one sample
    QRhiRenderBuffer *depthStencilBuffer() const;
    QRhiRenderTarget *renderTarget() const;

    virtual void
    initialize(QRhiCommandBuffer *commands); ///< before the first render() and after changes
    virtual void render(QRhiCommandBuffer *commands); ///< within a frame, outside a pass
    virtual void releaseResources();                  ///< the device is about to go

    void resizeEvent(QResizeEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    bool event(QEvent *event) override;
};
