#include <rhi/HeadlessPlatform.h>

#include <QGuiApplication>
#include <private/qbasicvulkanplatforminstance_p.h>
#include <private/qguiapplication_p.h>
#include <qpa/qplatformintegration.h>

#include <mutex>

using namespace Qt::StringLiterals;

namespace rhi {

namespace {

/// The Vulkan loader as a platform plug-in would open it, with no extension for windows.
class HeadlessVulkanInstance final : public QBasicPlatformVulkanInstance
{
public:
    explicit HeadlessVulkanInstance(QVulkanInstance *instance)
        : m_instance(instance)
    {
        loadVulkanLibrary(u"vulkan"_s, 1);
    }

    void createOrAdoptInstance() override { initInstance(m_instance, {}); }

private:
    QVulkanInstance *m_instance;
};

class HeadlessPlatform final : public QPlatformIntegration
{
public:
    QPlatformWindow *createPlatformWindow(QWindow *) const override { return nullptr; }
    QPlatformBackingStore *createPlatformBackingStore(QWindow *) const override { return nullptr; }
    QAbstractEventDispatcher *createEventDispatcher() const override { return nullptr; }
    QPlatformVulkanInstance *createPlatformVulkanInstance(QVulkanInstance *instance) const override
    {
        return new HeadlessVulkanInstance(instance);
    }
};

} // namespace

void ensureVulkanPlatform()
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    if (!hasGuiApplication() && !QGuiApplicationPrivate::platform_integration)
        QGuiApplicationPrivate::platform_integration = new HeadlessPlatform; // for the process
}

bool hasGuiApplication()
{
    return qobject_cast<QGuiApplication *>(QCoreApplication::instance()) != nullptr;
}

} // namespace rhi
