#pragma once

#include <rhi/QRhiCompat.h>

#include <QByteArrayList>

namespace rhi {

/// Those of VK_KHR_external_memory_fd and VK_KHR_external_semaphore_fd that the GPU has: with them
/// a device can hand its images to another one. Asked for wherever we make a device, since they
/// cost nothing unused.
/// @param device  null asks nothing and answers none
QByteArrayList sharingExtensions(QVulkanInstance *instance, VkPhysicalDevice device);

} // namespace rhi
