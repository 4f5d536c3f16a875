#include <rhi/VulkanSharing.h>

#include <QLibrary>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace rhi {

namespace {

constexpr VkImageUsageFlags sharedUsage =
    VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT;
constexpr VkExternalMemoryHandleTypeFlagBits handleType =
    VK_EXTERNAL_MEMORY_HANDLE_TYPE_OPAQUE_FD_BIT;

// Loaded once and kept: devices may be used until the process ends.
QFunctionPointer loaderFunction(const char *name)
{
    static auto *const library = new QLibrary(u"vulkan"_s, 1);
    return library->resolve(name);
}

template<typename Function>
bool loadFromLoader(Function &function, const char *name)
{
    function = reinterpret_cast<Function>(loaderFunction(name));
    return function != nullptr;
}

} // namespace

std::optional<VulkanSharing> VulkanSharing::of(QRhi *rhi)
{
    if (!rhi || rhi->backend() != QRhi::Vulkan)
        return std::nullopt;
    const auto *const handles = static_cast<const QRhiVulkanNativeHandles *>(rhi->nativeHandles());
    VulkanSharing sharing;
    sharing.physicalDevice = handles->physDev;
    sharing.device = handles->dev;
    sharing.queue = handles->gfxQueue;
    sharing.queueFamily = quint32(handles->gfxQueueFamilyIdx);
    if (!sharing.loadFunctions())
        return std::nullopt;
    VkPhysicalDeviceIDProperties id{};
    id.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_ID_PROPERTIES;
    VkPhysicalDeviceProperties2 properties{};
    properties.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2;
    properties.pNext = &id;
    sharing.getPhysicalDeviceProperties2(sharing.physicalDevice, &properties);
    std::copy_n(id.deviceUUID, VK_UUID_SIZE, sharing.deviceId.begin());
    std::copy_n(id.driverUUID, VK_UUID_SIZE, sharing.deviceId.begin() + VK_UUID_SIZE);
    return sharing;
}

VkImage VulkanSharing::createSharedImage(const QSize &size) const
{
    VkExternalMemoryImageCreateInfo external{};
    external.sType = VK_STRUCTURE_TYPE_EXTERNAL_MEMORY_IMAGE_CREATE_INFO;
    external.handleTypes = handleType;
    VkImageCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO;
    info.pNext = &external;
    info.imageType = VK_IMAGE_TYPE_2D;
    info.format = VK_FORMAT_R8G8B8A8_UNORM;
    info.extent = {quint32(size.width()), quint32(size.height()), 1};
    info.mipLevels = 1;
    info.arrayLayers = 1;
    info.samples = VK_SAMPLE_COUNT_1_BIT;
    info.tiling = VK_IMAGE_TILING_OPTIMAL;
    info.usage = sharedUsage;
    VkImage image = VK_NULL_HANDLE;
    return createImage(device, &info, nullptr, &image) == VK_SUCCESS ? image : VK_NULL_HANDLE;
}

bool VulkanSharing::canShareImages() const
{
    VkPhysicalDeviceExternalImageFormatInfo externalInfo{};
    externalInfo.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_EXTERNAL_IMAGE_FORMAT_INFO;
    externalInfo.handleType = handleType;
    VkPhysicalDeviceImageFormatInfo2 info{};
    info.sType = VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_IMAGE_FORMAT_INFO_2;
    info.pNext = &externalInfo;
    info.format = VK_FORMAT_R8G8B8A8_UNORM;
    info.type = VK_IMAGE_TYPE_2D;
    info.tiling = VK_IMAGE_TILING_OPTIMAL;
    info.usage = sharedUsage;
    VkExternalImageFormatProperties external{};
    external.sType = VK_STRUCTURE_TYPE_EXTERNAL_IMAGE_FORMAT_PROPERTIES;
    VkImageFormatProperties2 properties{};
    properties.sType = VK_STRUCTURE_TYPE_IMAGE_FORMAT_PROPERTIES_2;
    properties.pNext = &external;
    if (getPhysicalDeviceImageFormatProperties2(physicalDevice, &info, &properties) != VK_SUCCESS)
        return false;
    constexpr VkExternalMemoryFeatureFlags wanted =
        VK_EXTERNAL_MEMORY_FEATURE_EXPORTABLE_BIT | VK_EXTERNAL_MEMORY_FEATURE_IMPORTABLE_BIT;
    return (external.externalMemoryProperties.externalMemoryFeatures & wanted) == wanted;
}

int VulkanSharing::memoryTypeFor(quint32 typeBits) const
{
    VkPhysicalDeviceMemoryProperties properties{};
    getPhysicalDeviceMemoryProperties(physicalDevice, &properties);
    int found = -1;
    for (quint32 i = 0; i < properties.memoryTypeCount; ++i) {
        if (!(typeBits & (1u << i)))
            continue;
        if (properties.memoryTypes[i].propertyFlags & VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT)
            return int(i);
        found = found < 0 ? int(i) : found;
    }
    return found;
}

void VulkanSharing::giveAway(QRhiCommandBuffer *commands, VkImage image, VkImageLayout layout) const
{
    // Both sides must name the same layouts, so the change of layout is a step of its own.
    if (layout != sharedLayout)
        record(commands, image, {.from = layout});
    record(commands, image, {.fromFamily = queueFamily, .toFamily = VK_QUEUE_FAMILY_EXTERNAL});
}

void VulkanSharing::takeOver(QRhiCommandBuffer *commands, VkImage image) const
{
    record(commands, image, {.fromFamily = VK_QUEUE_FAMILY_EXTERNAL, .toFamily = queueFamily});
}

void VulkanSharing::record(QRhiCommandBuffer *commands, VkImage image, const Change &change) const
{
    VkImageMemoryBarrier barrier{};
    barrier.sType = VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER;
    barrier.srcAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
    barrier.dstAccessMask = VK_ACCESS_MEMORY_READ_BIT | VK_ACCESS_MEMORY_WRITE_BIT;
    barrier.oldLayout = change.from;
    barrier.newLayout = sharedLayout;
    barrier.srcQueueFamilyIndex = change.fromFamily;
    barrier.dstQueueFamilyIndex = change.toFamily;
    barrier.image = image;
    barrier.subresourceRange = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
    commands->beginExternal();
    const auto *const native =
        static_cast<const QRhiVulkanCommandBufferNativeHandles *>(commands->nativeHandles());
    cmdPipelineBarrier(native->commandBuffer, VK_PIPELINE_STAGE_ALL_COMMANDS_BIT,
                       VK_PIPELINE_STAGE_ALL_COMMANDS_BIT, 0, 0, nullptr, 0, nullptr, 1, &barrier);
    commands->endExternal();
}

// The functions of the extensions are there only where the device was made with them.
bool VulkanSharing::loadFunctions()
{
    PFN_vkGetDeviceProcAddr getDeviceProcAddr = nullptr;
    if (!loadFromLoader(getDeviceProcAddr, "vkGetDeviceProcAddr") ||
        !loadFromLoader(getPhysicalDeviceProperties2, "vkGetPhysicalDeviceProperties2") ||
        !loadFromLoader(getPhysicalDeviceMemoryProperties, "vkGetPhysicalDeviceMemoryProperties") ||
        !loadFromLoader(getPhysicalDeviceImageFormatProperties2,
                        "vkGetPhysicalDeviceImageFormatProperties2"))
        return false;
    const auto load = [&](auto &function, const char *name) {
        function =
            reinterpret_cast<std::decay_t<decltype(function)>>(getDeviceProcAddr(device, name));
        return function != nullptr;
    };
    hasSemaphores = load(getSemaphoreFd, "vkGetSemaphoreFdKHR") &&
                    load(importSemaphoreFd, "vkImportSemaphoreFdKHR");
    return load(getMemoryFd, "vkGetMemoryFdKHR") && load(createImage, "vkCreateImage") &&
           load(destroyImage, "vkDestroyImage") &&
           load(getImageMemoryRequirements, "vkGetImageMemoryRequirements") &&
           load(allocateMemory, "vkAllocateMemory") && load(freeMemory, "vkFreeMemory") &&
           load(bindImageMemory, "vkBindImageMemory") &&
           load(createSemaphore, "vkCreateSemaphore") &&
           load(destroySemaphore, "vkDestroySemaphore") && load(createFence, "vkCreateFence") &&
           load(destroyFence, "vkDestroyFence") && load(getFenceStatus, "vkGetFenceStatus") &&
           load(resetFences, "vkResetFences") && load(queueSubmit, "vkQueueSubmit") &&
           load(cmdPipelineBarrier, "vkCmdPipelineBarrier");
}

} // namespace rhi
