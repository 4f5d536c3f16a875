#pragma once

#include <rhi/QRhiCompat.h>

namespace rhi {

/// What a device can do, as far as a choice of ours depends on it.
struct BackendCaps
{
    int maxColorAttachments = 0;
    bool rgba16fSupported = false;
    bool rgba32fSupported = false;
    bool computeSupported = false;
    bool storageBuffersSupported = false; ///< wherever there are compute shaders

    bool operator==(const BackendCaps &) const = default;
};

/// All zero and false without a device.
BackendCaps queryBackendCaps(QRhi *rhi);

/// The format to render to where `wanted` would be best: RGBA32F stays where the device has it;
/// anything else is RGBA16F, or RGBA8 where there is no such. Without a device, `wanted`.
QRhiTexture::Format supportedRenderTargetFormat(QRhi *rhi, QRhiTexture::Format wanted);

} // namespace rhi
