#pragma once

#include <rhi/QRhiCompat.h>

#include <QByteArray>
#include <QList>

namespace rhi {

/// One GPU, or what stands in for one, as the Vulkan loader lists it.
struct AdapterRecord
{
    QByteArray name{};
    quint64 vendorId = 0;
    quint64 deviceId = 0;
    QRhiDriverInfo::DeviceType type = QRhiDriverInfo::UnknownDevice;
    VkPhysicalDevice handle = VK_NULL_HANDLE; ///< lives as long as its instance

    bool operator==(const AdapterRecord &) const = default;
};

/// What the loader lists, in its order; a GPU that two drivers list counts once. Any thread.
QList<AdapterRecord> enumerateOffscreenAdapters(QVulkanInstance *instance);

/// Without those whose vendor and device stand before them already.
QList<AdapterRecord> withoutDuplicates(const QList<AdapterRecord> &adapters);

/// How much a sort of device is preferred: discrete 100, external 60, integrated 50, virtual 30,
/// CPU 10, unknown 1.
int adapterScore(QRhiDriverInfo::DeviceType type);

/// Index of the first adapter with the highest score; -1 of none.
qsizetype bestAdapter(const QList<AdapterRecord> &adapters);

/// The GPU to draw on. Null lets Qt choose: the log says that no adapter was listed.
VkPhysicalDevice selectOffscreenRenderDevice(QVulkanInstance *instance);

} // namespace rhi
