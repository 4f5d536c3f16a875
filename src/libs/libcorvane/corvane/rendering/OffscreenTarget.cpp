#include <corvane/rendering/OffscreenTarget.h>

namespace corvane::rendering {

using namespace Qt::StringLiterals;

bool OffscreenTarget::ensure(QRhi *rhi, const QSize &size, int sampleCount, QString *error)
{
    if (isValid() && m_rhi == rhi && m_size == size && m_sampleCount == sampleCount)
        return true;
    release();
    m_rhi = rhi;
    m_size = size;
    m_sampleCount = sampleCount;
    const char *const failed = !createColor()    ? "the colour texture"
                               : !createDepth()  ? "the depth buffer"
                               : !createTarget() ? "the render target"
                                                 : nullptr;
    if (!failed)
        return true;
    release();
    if (error)
        *error = u"RhiContext::ensureOffscreen: failed to create "_s + QLatin1StringView(failed);
    return false;
}

void OffscreenTarget::release()
{
    m_target.reset();
    m_pass.reset();
    m_depth.reset();
    m_multisampleColor.reset();
    m_color.reset();
    m_size = {};
    m_sampleCount = 0;
}

bool OffscreenTarget::createColor()
{
    m_color.reset(m_rhi->newTexture(QRhiTexture::RGBA16F, m_size, 1, QRhiTexture::RenderTarget));
    if (!m_color->create())
        return false;
    if (m_sampleCount <= 1)
        return true;
    m_multisampleColor.reset(m_rhi->newRenderBuffer(QRhiRenderBuffer::Color, m_size, m_sampleCount,
                                                    {}, QRhiTexture::RGBA16F));
    return m_multisampleColor->create();
}

bool OffscreenTarget::createDepth()
{
    m_depth.reset(
        m_rhi->newRenderBuffer(QRhiRenderBuffer::DepthStencil, m_size, qMax(1, m_sampleCount)));
    return m_depth->create();
}

bool OffscreenTarget::createTarget()
{
    QRhiColorAttachment attachment;
    if (m_multisampleColor) {
        attachment.setRenderBuffer(m_multisampleColor.get());
        attachment.setResolveTexture(m_color.get());
    } else {
        attachment.setTexture(m_color.get());
    }
    m_target.reset(m_rhi->newTextureRenderTarget({attachment, m_depth.get()}));
    m_pass.reset(m_target->newCompatibleRenderPassDescriptor());
    m_target->setRenderPassDescriptor(m_pass.get());
    return m_target->create();
}

} // namespace corvane::rendering
