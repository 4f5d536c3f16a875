#include <rhi/BackendCaps.h>

namespace rhi {

BackendCaps queryBackendCaps(QRhi *rhi)
{
    if (!rhi)
        return {};
    const bool hasCompute = rhi->isFeatureSupported(QRhi::Compute);
    return {.maxColorAttachments = rhi->resourceLimit(QRhi::MaxColorAttachments),
            .rgba16fSupported = rhi->isTextureFormatSupported(QRhiTexture::RGBA16F),
            .rgba32fSupported = rhi->isTextureFormatSupported(QRhiTexture::RGBA32F),
            .computeSupported = hasCompute,
            .storageBuffersSupported = hasCompute};
}

QRhiTexture::Format supportedRenderTargetFormat(QRhi *rhi, QRhiTexture::Format wanted)
{
    if (!rhi)
        return wanted;
    const auto has = [rhi](QRhiTexture::Format format) {
        return rhi->isTextureFormatSupported(format, QRhiTexture::RenderTarget);
    };
    if (wanted == QRhiTexture::RGBA32F && has(QRhiTexture::RGBA32F))
        return QRhiTexture::RGBA32F;
    return has(QRhiTexture::RGBA16F) ? QRhiTexture::RGBA16F : QRhiTexture::RGBA8;
}

} // namespace rhi
