#pragma once

#include <rhi/QRhiCompat.h>

#include <QByteArray>
#include <QSize>

#include <memory>

namespace corvane::rendering {

/// The RGBA8 picture of a viewport, to be drawn into and read back. On the thread of the device.
class ViewportTarget
{
public:
    /// Makes one of that size; does nothing when it is. False leaves none.
    bool ensure(QRhi *rhi, const QSize &size);
    void release();

    bool isValid() const { return m_target != nullptr; }
    QSize size() const { return m_color ? m_color->pixelSize() : QSize(); }
    QRhiTextureRenderTarget *renderTarget() const { return m_target.get(); }
    /// Asks for the pixels, which are in `result` after the end of the frame.
    void readBack(QRhi *rhi, QRhiCommandBuffer *commands, QRhiReadbackResult *result) const;

    /// The largest size of the same shape that the device and `maxPixels` allow.
    static QSize fitted(QRhi *rhi, const QSize &size, qint64 maxPixels);
    /// Pixels of a read-back with the first row at the top.
    static QByteArray fromTop(QRhi *rhi, const QByteArray &pixels, const QSize &size);

private:
    std::unique_ptr<QRhiTexture> m_color;
    std::unique_ptr<QRhiRenderBuffer> m_depth;
    std::unique_ptr<QRhiRenderPassDescriptor> m_pass;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
};

} // namespace corvane::rendering
