#include <corvane/rendering/GBufferProbe.h>

#include <corvane/rendering/ClipSpace.h>
#include <corvane/rendering/GBuffer.h>
#include <rhi/ItemIdTexel.h>

#include <cstring>

namespace corvane::rendering {

namespace {

/// The texel of the buffer in memory order.
QPoint texelOf(QRhi *rhi, const QPoint &point, const QSize &size, const QSize &bufferSize)
{
    const int x = int(qint64(point.x()) * bufferSize.width() / size.width());
    const int y = int(qint64(point.y()) * bufferSize.height() / size.height());
    return {x, ClipSpace::isBottomUp(rhi) ? bufferSize.height() - 1 - y : y};
}

quint32 idOf(const QByteArray &bytes)
{
    ::rhi::ItemIdTexel texel{};
    std::memcpy(texel.data(), bytes.constData(), texel.size());
    return ::rhi::unpackItemId(texel);
}

float depthOf(const QByteArray &bytes)
{
    float depth = 1.0f;
    std::memcpy(&depth, bytes.constData(), sizeof(depth));
    return depth;
}

} // namespace

std::optional<GBufferProbe::Sample> GBufferProbe::sampleAt(QRhi *rhi, const GBuffer &buffer,
                                                           const QPoint &point, const QSize &size,
                                                           bool wantDepth)
{
    QRhiCommandBuffer *commands = nullptr;
    if (!buffer.isValid() || !QRect(QPoint(), size).contains(point) || !ensureTexel(rhi) ||
        rhi->beginOffscreenFrame(&commands) != QRhi::FrameOpSuccess)
        return std::nullopt;
    const QPoint texel = texelOf(rhi, point, size, buffer.size());
    const QSizeF all = buffer.size();
    QRhiTexture *const depth =
        wantDepth ? m_depth.draw(rhi, commands, buffer.depth(), {1, 1},
                                 {texel.x() / all.width(), texel.y() / all.height(),
                                  1.0 / all.width(), 1.0 / all.height()})
                  : nullptr;
    QRhiTextureCopyDescription copy;
    copy.setPixelSize({1, 1});
    copy.setSourceTopLeft(texel);
    QRhiReadbackResult idResult;
    QRhiReadbackResult depthResult;
    QRhiResourceUpdateBatch *const updates = rhi->nextResourceUpdateBatch();
    updates->copyTexture(m_texel.get(), buffer.itemId(), copy);
    updates->readBackTexture(QRhiReadbackDescription(m_texel.get()), &idResult);
    if (depth)
        updates->readBackTexture(QRhiReadbackDescription(depth), &depthResult);
    commands->resourceUpdate(updates);
    if (rhi->endOffscreenFrame() != QRhi::FrameOpSuccess || idResult.data.size() < 4)
        return std::nullopt;
    Sample sample{.itemId = idOf(idResult.data)};
    if (depthResult.data.size() >= qsizetype(sizeof(float)))
        sample.depth = depthOf(depthResult.data);
    return sample;
}

void GBufferProbe::release()
{
    m_texel.reset();
    m_depth.release();
}

bool GBufferProbe::ensureTexel(QRhi *rhi)
{
    if (m_texel && m_rhi == rhi)
        return true;
    m_rhi = rhi;
    m_texel.reset(rhi->newTexture(QRhiTexture::RGBA8, {1, 1}, 1,
                                  QRhiTexture::RenderTarget | QRhiTexture::UsedAsTransferSource));
    if (m_texel->create())
        return true;
    release();
    return false;
}

} // namespace corvane::rendering
