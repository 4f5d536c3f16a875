#include <rhi/RenderDevice.h>

#include <QLoggingCategory>
#include <QVulkanFunctions>

#include <algorithm>
#include <memory>
#include <vector>

namespace rhi {

Q_LOGGING_CATEGORY(lcDevice, "ondrel.rhi.device", QtInfoMsg)

namespace {

struct DeviceScore
{
    QRhiDriverInfo::DeviceType type;
    int score;
};

constexpr DeviceScore deviceScores[] = {
    {QRhiDriverInfo::DiscreteDevice, 100},  {QRhiDriverInfo::ExternalDevice, 60},
    {QRhiDriverInfo::IntegratedDevice, 50}, {QRhiDriverInfo::VirtualDevice, 30},
    {QRhiDriverInfo::CpuDevice, 10},        {QRhiDriverInfo::UnknownDevice, 1},
};

#if CORVANE_QRHI_ENUMERATES_ADAPTERS

QList<AdapterRecord> listedAdapters(QVulkanInstance *instance)
{
    QRhiVulkanInitParams params;
    params.inst = instance;
    QList<AdapterRecord> adapters;
    const QRhi::AdapterList listed = QRhi::enumerateAdapters(QRhi::Vulkan, &params);
    for (QRhiAdapter *const adapter : listed) {
        const std::unique_ptr<QRhiAdapter> owner(adapter);
        const QRhiDriverInfo info = adapter->info();
        const auto *handles =
            static_cast<const QRhiVulkanNativeHandles *>(adapter->nativeHandles());
        adapters.append({.name = info.deviceName,
                         .vendorId = info.vendorId,
                         .deviceId = info.deviceId,
                         .type = info.deviceType,
                         .handle = handles ? handles->physDev : VK_NULL_HANDLE});
    }
    return adapters;
}

#else

QRhiDriverInfo::DeviceType deviceType(VkPhysicalDeviceType type)
{
    switch (type) {
    case VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU:
        return QRhiDriverInfo::DiscreteDevice;
    case VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU:
        return QRhiDriverInfo::IntegratedDevice;
    case VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU:
        return QRhiDriverInfo::VirtualDevice;
    case VK_PHYSICAL_DEVICE_TYPE_CPU:
        return QRhiDriverInfo::CpuDevice;
    case VK_PHYSICAL_DEVICE_TYPE_OTHER:
    case VK_PHYSICAL_DEVICE_TYPE_MAX_ENUM:
        break;
    }
    return QRhiDriverInfo::UnknownDevice;
}

std::vector<VkPhysicalDevice> physicalDevices(QVulkanInstance *instance)
{
    QVulkanFunctions *const vulkan = instance->functions();
    uint32_t count = 0;
    if (vulkan->vkEnumeratePhysicalDevices(instance->vkInstance(), &count, nullptr) != VK_SUCCESS)
        return {};
    std::vector<VkPhysicalDevice> devices(count);
    // A device may come or go in between: then the count shrinks, or VK_INCOMPLETE leaves some out.
    if (vulkan->vkEnumeratePhysicalDevices(instance->vkInstance(), &count, devices.data()) < 0)
        return {};
    devices.resize(count);
    return devices;
}

QList<AdapterRecord> listedAdapters(QVulkanInstance *instance)
{
    QList<AdapterRecord> adapters;
    for (const VkPhysicalDevice device : physicalDevices(instance)) {
        VkPhysicalDeviceProperties properties{};
        instance->functions()->vkGetPhysicalDeviceProperties(device, &properties);
        adapters.append({.name = properties.deviceName,
                         .vendorId = properties.vendorID,
                         .deviceId = properties.deviceID,
                         .type = deviceType(properties.deviceType),
                         .handle = device});
    }
    return adapters;
}

#endif

} // namespace

QList<AdapterRecord> enumerateOffscreenAdapters(QVulkanInstance *instance)
{
    if (!instance || !instance->isValid())
        return {};
    return withoutDuplicates(listedAdapters(instance));
}

QList<AdapterRecord> withoutDuplicates(const QList<AdapterRecord> &adapters)
{
    QList<AdapterRecord> once;
    for (const AdapterRecord &adapter : adapters) {
        const bool isKnown =
            std::any_of(once.cbegin(), once.cend(), [&](const AdapterRecord &kept) {
                return kept.vendorId == adapter.vendorId && kept.deviceId == adapter.deviceId;
            });
        if (isKnown)
            qCInfo(lcDevice).noquote()
                << "enumerateOffscreenAdapters: duplicate ICD skipped for" << adapter.name;
        else
            once.append(adapter);
    }
    return once;
}

int adapterScore(QRhiDriverInfo::DeviceType type)
{
    const auto *const row =
        std::find_if(std::begin(deviceScores), std::end(deviceScores),
                     [type](const DeviceScore &each) { return each.type == type; });
    return row == std::end(deviceScores) ? 1 : row->score;
}

qsizetype bestAdapter(const QList<AdapterRecord> &adapters)
{
    // max_element answers the first of equals.
    const auto best =
        std::max_element(adapters.cbegin(), adapters.cend(),
                         [](const AdapterRecord &left, const AdapterRecord &right) {
                             return adapterScore(left.type) < adapterScore(right.type);
                         });
    return best == adapters.cend() ? -1 : best - adapters.cbegin();
}

VkPhysicalDevice selectOffscreenRenderDevice(QVulkanInstance *instance)
{
    const QList<AdapterRecord> adapters = enumerateOffscreenAdapters(instance);
    const qsizetype best = bestAdapter(adapters);
    if (best < 0) {
        qCInfo(lcDevice)
            << "selectOffscreenRenderDevice: no adapters enumerated — letting Qt choose";
        return VK_NULL_HANDLE;
    }
    return adapters.at(best).handle;
}

} // namespace rhi
