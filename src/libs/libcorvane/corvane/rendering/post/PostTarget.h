#pragma once

#include <rhi/QRhiCompat.h>

#include <QSize>

#include <memory>

namespace corvane::rendering {

/// A picture between two steps: a texture of half floats to draw to and to read. On the thread of
/// the device.
class PostTarget
{
public:
    /// Makes what the size needs, nothing when it fits. False leaves nothing.
    bool ensure(QRhi *rhi, const QSize &size);
    void release();

    QRhiTexture *texture() const { return m_texture.get(); }
    QRhiTextureRenderTarget *renderTarget() const { return m_target.get(); }
    QRhiRenderPassDescriptor *renderPassDescriptor() const { return m_pass.get(); }

private:
    std::unique_ptr<QRhiTexture> m_texture;
    std::unique_ptr<QRhiRenderPassDescriptor> m_pass;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
};

} // namespace corvane::rendering
