#include <rhi/VulkanDevice.h>

#include <QVulkanFunctions>

#include <algorithm>
#include <vector>

namespace rhi {

namespace {

// Qt 6.4 makes the devices of windows itself, and takes wishes by this variable only.
constexpr char wishesVariable[] = "QT_VULKAN_DEVICE_EXTENSIONS";

constexpr const char *wantedExtensions[] = {VK_KHR_EXTERNAL_MEMORY_FD_EXTENSION_NAME,
                                            VK_KHR_EXTERNAL_SEMAPHORE_FD_EXTENSION_NAME};

std::vector<VkExtensionProperties> extensionsOf(QVulkanInstance *instance, VkPhysicalDevice device)
{
    QVulkanFunctions *const vulkan = instance->functions();
    uint32_t count = 0;
    vulkan->vkEnumerateDeviceExtensionProperties(device, nullptr, &count, nullptr);
    std::vector<VkExtensionProperties> extensions(count);
    if (vulkan->vkEnumerateDeviceExtensionProperties(device, nullptr, &count, extensions.data()) <
        0)
        return {};
    extensions.resize(count);
    return extensions;
}

} // namespace

QByteArrayList sharingExtensions(QVulkanInstance *instance, VkPhysicalDevice device)
{
    if (!instance || !device)
        return {};
    const std::vector<VkExtensionProperties> present = extensionsOf(instance, device);
    const QByteArrayList wished = qgetenv(wishesVariable).split(';');
    QByteArrayList found;
    for (const char *const wanted : wantedExtensions) {
        const bool isPresent =
            std::any_of(present.cbegin(), present.cend(), [wanted](const auto &each) {
                return qstrcmp(each.extensionName, wanted) == 0;
            });
        if (isPresent && !wished.contains(wanted))
            found.append(wanted);
    }
    return found;
}

void requestSharingForWindows(QVulkanInstance *instance, VkPhysicalDevice device)
{
    QByteArrayList wishes =
        qgetenv(wishesVariable).split(';') + sharingExtensions(instance, device);
    wishes.removeAll({});
    if (!wishes.isEmpty())
        qputenv(wishesVariable, wishes.join(';'));
}

} // namespace rhi
