#pragma once

#include <rhi/QRhiCompat.h>

#include <QString>

namespace rhi {

/// What a probe of Vulkan found.
struct VulkanProbe
{
    bool isPreferred = false;                 ///< every step worked: draw with Vulkan
    QVulkanInstance *instance = nullptr;      ///< the shared one; null unless preferred
    VkPhysicalDevice device = VK_NULL_HANDLE; ///< the selected GPU; null lets Qt choose
    QString deviceName{};
};

/// Whether Vulkan can be relied on here: an instance, a device and a storage buffer are made for a
/// try. Done once for the process, any thread; takes some tens of milliseconds then.
const VulkanProbe &probeVulkan();

/// The probe itself, done at every call.
VulkanProbe runVulkanProbe();

} // namespace rhi
