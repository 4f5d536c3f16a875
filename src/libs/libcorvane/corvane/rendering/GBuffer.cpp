#include <corvane/rendering/GBuffer.h>

#include <rhi/BackendCaps.h>

#include <QLoggingCategory>

#include <array>

namespace corvane::rendering {

Q_LOGGING_CATEGORY(lcGBuffer, "ondrel.rendering.gbuffer", QtWarningMsg)

namespace {

std::unique_ptr<QRhiTexture> makeTexture(QRhi *rhi, QRhiTexture::Format format, const QSize &size)
{
    return std::unique_ptr<QRhiTexture>(rhi->newTexture(
        format, size, 1, QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource));
}

} // namespace

bool GBuffer::initialize(QRhi *rhi, const QSize &size)
{
    release();
    m_rhi = rhi;
    m_size = size;
    if (rhi && !size.isEmpty() && createTextures() && createTarget()) {
        ++m_generation;
        return true;
    }
    qCWarning(lcGBuffer) << "GBuffer: could not be made in the size" << size;
    release();
    return false;
}

bool GBuffer::resize(const QSize &size)
{
    if (isValid() && size == m_size)
        return true;
    QRhi *const rhi = m_rhi;
    m_size = size;
    if (isValid() && !size.isEmpty() && resizeInPlace())
        return true;
    qCWarning(lcGBuffer) << "GBuffer: In-place resize failed, falling back to full reinitialize";
    return initialize(rhi, size);
}

void GBuffer::release()
{
    m_target.reset();
    m_pass.reset();
    for (auto *texture : {&m_normal, &m_material, &m_itemId, &m_albedo, &m_depth})
        texture->reset();
    m_size = {};
}

bool GBuffer::createTextures()
{
    m_normal =
        makeTexture(m_rhi, ::rhi::supportedRenderTargetFormat(m_rhi, QRhiTexture::RGBA16F), m_size);
    m_material = makeTexture(m_rhi, QRhiTexture::RGBA8, m_size);
    m_itemId = makeTexture(m_rhi, QRhiTexture::RGBA8, m_size);
    m_albedo = makeTexture(m_rhi, QRhiTexture::RGBA8, m_size);
    m_depth = makeTexture(m_rhi, QRhiTexture::D32F, m_size);
    const std::array textures{m_normal.get(), m_material.get(), m_itemId.get(), m_albedo.get(),
                              m_depth.get()};
    return std::all_of(textures.begin(), textures.end(),
                       [](QRhiTexture *texture) { return texture->create(); });
}

bool GBuffer::createTarget()
{
    QRhiTextureRenderTargetDescription description;
    description.setColorAttachments(
        {QRhiColorAttachment(m_normal.get()), QRhiColorAttachment(m_material.get()),
         QRhiColorAttachment(m_itemId.get()), QRhiColorAttachment(m_albedo.get())});
    description.setDepthTexture(m_depth.get());
    m_target.reset(m_rhi->newTextureRenderTarget(description));
    m_pass.reset(m_target->newCompatibleRenderPassDescriptor());
    m_target->setRenderPassDescriptor(m_pass.get());
    return m_target->create();
}

bool GBuffer::resizeInPlace()
{
    for (QRhiTexture *texture :
         {m_normal.get(), m_material.get(), m_itemId.get(), m_albedo.get(), m_depth.get()}) {
        texture->setPixelSize(m_size);
        if (!texture->create())
            return false;
    }
    return m_target->create();
}

} // namespace corvane::rendering
