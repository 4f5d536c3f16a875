#pragma once

#include <rhi/QRhiCompat.h>

#include <QByteArrayList>

namespace rhi {

/// Those of VK_KHR_external_memory_fd and VK_KHR_external_semaphore_fd that a device should be made
/// with: with them it can hand its images to another one. Asked for wherever we make a device,
/// since they cost nothing unused; only what the GPU has, and what requestSharingForWindows() did
/// not ask for already.
/// @param device  null asks nothing and answers none
QByteArrayList sharingExtensions(QVulkanInstance *instance, VkPhysicalDevice device);

/// Makes the devices of windows that are created from now on able to import images, as far as the
/// GPU is. Before the first window, on the main thread.
/// @param device  the GPU that the windows will be drawn on
void requestSharingForWindows(QVulkanInstance *instance, VkPhysicalDevice device);

} // namespace rhi
