#include <corvane/rendering/post/PostTarget.h>

#include <rhi/BackendCaps.h>

namespace corvane::rendering {

bool PostTarget::ensure(QRhi *rhi, const QSize &size)
{
    if (m_texture && m_texture->pixelSize() == size)
        return true;
    release();
    m_texture.reset(rhi->newTexture(rhi::supportedRenderTargetFormat(rhi, QRhiTexture::RGBA16F),
                                    size, 1, QRhiTexture::RenderTarget));
    if (m_texture->create()) {
        m_target.reset(rhi->newTextureRenderTarget({{m_texture.get()}}));
        m_pass.reset(m_target->newCompatibleRenderPassDescriptor());
        m_target->setRenderPassDescriptor(m_pass.get());
        if (m_target->create())
            return true;
    }
    release();
    return false;
}

void PostTarget::release()
{
    m_target.reset();
    m_pass.reset();
    m_texture.reset();
}

} // namespace corvane::rendering
