#pragma once

#include <rhi/QRhiCompat.h>
#include <rhi/WorkerFrame.h>

#include <memory>

namespace rhi {

/// The texture that frames of pixels go into, on the window's device. A frame that cannot be used
/// leaves the picture as it is, and the log says why.
class FrameTexture
{
public:
    /// Bytes of a pixel of the formats that frames may have; 0 of any other.
    static int bytesPerPixel(QRhiTexture::Format format);

    /// Of the frames to come.
    void setFormat(QRhiTexture::Format format) { m_format = format; }
    QRhiTexture::Format format() const { return m_format; }

    /// Enters the upload of a frame, whole or of its `damage`, into `updates`. False when it is
    /// dropped. A whole frame of another size makes the texture anew: whoever binds it looks at
    /// texture() again.
    bool upload(QRhi *rhi, QRhiResourceUpdateBatch *updates, const WorkerFrame &frame);

    QRhiTexture *texture() const { return m_texture.get(); } ///< null before the first frame
    void release() { m_texture.reset(); }

private:
    bool ensureTexture(QRhi *rhi, const QSize &size);
    bool isDamageUsable(const WorkerFrame &frame) const;

    QRhiTexture::Format m_format = QRhiTexture::RGBA8;
    std::unique_ptr<QRhiTexture> m_texture;
};

} // namespace rhi
