#include <rhi/probeVulkan.h>

#include <rhi/OffscreenRhi.h>
#include <rhi/RenderDevice.h>
#include <rhi/VulkanInstance.h>

#include <QLoggingCategory>

#include <mutex>

namespace rhi {

Q_LOGGING_CATEGORY(lcProbe, "ondrel.rhi.probe", QtInfoMsg)

namespace {

constexpr int trialBytes = 1024;

bool canMakeStorageBuffer(QRhi *rhi)
{
    const std::unique_ptr<QRhiBuffer> buffer(
        rhi->newBuffer(QRhiBuffer::Static, QRhiBuffer::StorageBuffer, trialBytes));
    return buffer->create();
}

} // namespace

VulkanProbe runVulkanProbe()
{
    QVulkanInstance *const instance = sharedVulkanInstance();
    if (!instance) {
        qCInfo(lcProbe)
            << "[RHI] Vulkan not available (instance creation failed) — will use OpenGL";
        return {};
    }
    const VkPhysicalDevice device = selectOffscreenRenderDevice(instance);
    const RhiPointer rhi = createVulkanRhi(instance, device);
    if (!rhi) {
        qCInfo(lcProbe) << "[RHI] Vulkan QRhi creation failed — will use OpenGL";
        return {};
    }
    if (!canMakeStorageBuffer(rhi.get())) {
        qCInfo(lcProbe) << "[RHI] Vulkan Static SSBO test failed — will use OpenGL";
        return {};
    }
    qCInfo(lcProbe) << "[RHI] Vulkan fully verified (instance + QRhi + SSBO) — will prefer Vulkan "
                       "backend";
    return {.isPreferred = true,
            .instance = instance,
            .device = device,
            .deviceName = QString::fromUtf8(rhi->driverInfo().deviceName)};
}

const VulkanProbe &probeVulkan()
{
    static std::once_flag once;
    static VulkanProbe probe;
    std::call_once(once, [] { probe = runVulkanProbe(); });
    return probe;
}

} // namespace rhi
