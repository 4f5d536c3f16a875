#include <corvane/rendering/ViewportTarget.h>

#include <corvane/rendering/ClipSpace.h>

#include <algorithm>
#include <cmath>

namespace corvane::rendering {

bool ViewportTarget::ensure(QRhi *rhi, const QSize &size)
{
    if (isValid() && this->size() == size)
        return true;
    release();
    m_color.reset(rhi->newTexture(QRhiTexture::RGBA8, size, 1,
                                  QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource));
    m_depth.reset(rhi->newRenderBuffer(QRhiRenderBuffer::DepthStencil, size));
    if (m_color->create() && m_depth->create()) {
        m_target.reset(
            rhi->newTextureRenderTarget({QRhiColorAttachment(m_color.get()), m_depth.get()}));
        m_pass.reset(m_target->newCompatibleRenderPassDescriptor());
        m_target->setRenderPassDescriptor(m_pass.get());
        if (m_target->create())
            return true;
    }
    release();
    return false;
}

void ViewportTarget::release()
{
    m_target.reset();
    m_pass.reset();
    m_depth.reset();
    m_color.reset();
}

void ViewportTarget::readBack(QRhi *rhi, QRhiCommandBuffer *commands,
                              QRhiReadbackResult *result) const
{
    QRhiResourceUpdateBatch *const updates = rhi->nextResourceUpdateBatch();
    updates->readBackTexture(QRhiReadbackDescription(m_color.get()), result);
    commands->resourceUpdate(updates);
}

QSize ViewportTarget::fitted(QRhi *rhi, const QSize &size, qint64 maxPixels)
{
    const double longest = std::max(size.width(), size.height());
    const double pixels = double(size.width()) * size.height();
    const double scale = std::min({1.0, rhi->resourceLimit(QRhi::TextureSizeMax) / longest,
                                   std::sqrt(double(maxPixels) / pixels)});
    if (scale >= 1.0)
        return size;
    return {std::max(1, int(size.width() * scale)), std::max(1, int(size.height() * scale))};
}

QByteArray ViewportTarget::fromTop(QRhi *rhi, const QByteArray &pixels, const QSize &size)
{
    if (!ClipSpace::isBottomUp(rhi))
        return pixels;
    const qsizetype stride = qsizetype(size.width()) * 4;
    QByteArray turned;
    turned.reserve(pixels.size());
    for (int y = size.height() - 1; y >= 0; --y)
        turned.append(pixels.constData() + y * stride, stride);
    return turned;
}

} // namespace corvane::rendering
