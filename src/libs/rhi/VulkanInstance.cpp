#include <rhi/VulkanInstance.h>

#include <rhi/HeadlessPlatform.h>

#include <QLoggingCategory>
#include <QMutex>

namespace rhi {

Q_LOGGING_CATEGORY(lcVulkan, "ondrel.rhi.vulkan", QtWarningMsg)

namespace {

constexpr char validationLayer[] = "VK_LAYER_KHRONOS_validation";

} // namespace

std::unique_ptr<QVulkanInstance> createOffscreenVulkanInstance(bool validation)
{
    ensureVulkanPlatform();
    auto instance = std::make_unique<QVulkanInstance>();
    instance->setExtensions(QRhiVulkanInitParams::preferredInstanceExtensions());
    const QVersionNumber wanted(1, 2);
    if (instance->supportedApiVersion() >= wanted)
        instance->setApiVersion(wanted);
    if (validation && instance->supportedLayers().contains(validationLayer))
        instance->setLayers({validationLayer});
    if (!instance->create()) {
        qCInfo(lcVulkan) << "no Vulkan instance, error" << instance->errorCode();
        return nullptr;
    }
    // Made at the first use, without a lock: here, while nobody else has the instance.
    static_cast<void>(instance->functions());
    return instance;
}

QVulkanInstance *sharedVulkanInstance(bool validation)
{
    static QBasicMutex mutex;
    static QVulkanInstance *shared = nullptr;
    const QMutexLocker lock(&mutex);
    if (!shared)
        shared = createOffscreenVulkanInstance(validation).release();
    return shared;
}

} // namespace rhi
