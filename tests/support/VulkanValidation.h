#pragma once

#include <rhi/VulkanInstance.h>

#include <QMutex>
#include <QStringList>

#include <utility>

/// Puts the layer that checks our use of Vulkan into every instance that is made from now on, also
/// those that Qt makes for windows, and keeps what it complains of. From initTestCase() of a test,
/// before the first instance.
class VulkanValidation
{
public:
    /// False where the layer is not installed.
    static bool begin()
    {
        qputenv("VK_INSTANCE_LAYERS", layer);
        s_former = qInstallMessageHandler(&VulkanValidation::hear);
        const QVulkanInstance *const instance = rhi::sharedVulkanInstance();
        return instance && instance->supportedLayers().contains(layer);
    }
    /// At the end of the test, which they fail.
    static QStringList takeComplaints()
    {
        qInstallMessageHandler(s_former);
        const QMutexLocker lock(&s_mutex);
        return std::exchange(s_complaints, {});
    }

private:
    static constexpr char layer[] = "VK_LAYER_KHRONOS_validation";

    static void hear(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        // Passes share vertex stages, and not every fragment stage reads all that these give.
        if (text.contains(QLatin1StringView("Shader-OutputNotConsumed")))
            return;
        if (text.startsWith(QLatin1StringView("vkDebug:"))) {
            const QMutexLocker lock(&s_mutex);
            s_complaints.append(text);
        }
        s_former(type, context, text);
    }

    static inline QBasicMutex s_mutex;
    static inline QStringList s_complaints;
    static inline QtMessageHandler s_former = nullptr;
};
