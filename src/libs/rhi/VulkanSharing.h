#pragma once

#include <rhi/QRhiCompat.h>

#include <array>
#include <optional>

namespace rhi {

/// The functions of Vulkan that handing images from device to device takes, for the device of one
/// QRhi. They come from the loader itself: a QRhi does not say which QVulkanInstance it was made
/// with.
struct VulkanSharing
{
    /// Which GPU by which driver, the same for all instances and processes.
    using DeviceId = std::array<quint8, 2 * VK_UUID_SIZE>;

    VkPhysicalDevice physicalDevice = VK_NULL_HANDLE;
    VkDevice device = VK_NULL_HANDLE;
    VkQueue queue = VK_NULL_HANDLE;
    quint32 queueFamily = 0;
    DeviceId deviceId{};
    bool hasSemaphores = false; ///< VK_KHR_external_semaphore_fd is enabled on the device

    PFN_vkGetPhysicalDeviceProperties2 getPhysicalDeviceProperties2 = nullptr;
    PFN_vkGetPhysicalDeviceMemoryProperties getPhysicalDeviceMemoryProperties = nullptr;
    PFN_vkGetPhysicalDeviceImageFormatProperties2 getPhysicalDeviceImageFormatProperties2 = nullptr;
    PFN_vkCreateImage createImage = nullptr;
    PFN_vkDestroyImage destroyImage = nullptr;
    PFN_vkGetImageMemoryRequirements getImageMemoryRequirements = nullptr;
    PFN_vkAllocateMemory allocateMemory = nullptr;
    PFN_vkFreeMemory freeMemory = nullptr;
    PFN_vkBindImageMemory bindImageMemory = nullptr;
    PFN_vkGetMemoryFdKHR getMemoryFd = nullptr;
    PFN_vkCreateSemaphore createSemaphore = nullptr;
    PFN_vkDestroySemaphore destroySemaphore = nullptr;
    PFN_vkGetSemaphoreFdKHR getSemaphoreFd = nullptr;
    PFN_vkImportSemaphoreFdKHR importSemaphoreFd = nullptr;
    PFN_vkCreateFence createFence = nullptr;
    PFN_vkDestroyFence destroyFence = nullptr;
    PFN_vkGetFenceStatus getFenceStatus = nullptr;
    PFN_vkResetFences resetFences = nullptr;
    PFN_vkQueueSubmit queueSubmit = nullptr;
    PFN_vkCmdPipelineBarrier cmdPipelineBarrier = nullptr;

    /// None when the QRhi is not on Vulkan, or its device was made without
    /// VK_KHR_external_memory_fd (createVulkanRhi() asks for it; for windows see
    /// requestSharingForWindows()).
    static std::optional<VulkanSharing> of(QRhi *rhi);

    /// An image of `size` in RGBA8 that memory of another device can be bound to.
    VkImage createSharedImage(const QSize &size) const;
    /// Whether such images can be exported and imported at all.
    bool canShareImages() const;
    /// Index of a memory type on the device that fits; none is -1.
    int memoryTypeFor(quint32 typeBits) const;

    /// An image changes hands in this layout, for being drawn from.
    static constexpr VkImageLayout sharedLayout = VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL;

    /// Records, outside a pass, that an image goes to whoever else has it, or comes from there.
    /// Giving away brings it into the shared layout.
    void giveAway(QRhiCommandBuffer *commands, VkImage image,
                  VkImageLayout layout = sharedLayout) const;
    void takeOver(QRhiCommandBuffer *commands, VkImage image) const;

private:
    struct Change
    {
        VkImageLayout from = sharedLayout;
        quint32 fromFamily = VK_QUEUE_FAMILY_IGNORED;
        quint32 toFamily = VK_QUEUE_FAMILY_IGNORED;
    };
    void record(QRhiCommandBuffer *commands, VkImage image, const Change &change) const;
    bool loadFunctions();
};

} // namespace rhi
