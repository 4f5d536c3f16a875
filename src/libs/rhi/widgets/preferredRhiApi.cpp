#include <rhi_widgets/preferredRhiApi.h>

#include <rhi/probeVulkan.h>
#include <toast/ErrorManager.h>

#include <mutex>

using namespace Qt::StringLiterals;

namespace rhi {

QRhiWidget::Api preferredRhiApi()
{
    const VulkanProbe &probe = probeVulkan();
    static std::once_flag reported;
    std::call_once(reported, [&probe] {
        ErrorManager::instance().reportInfo(
            u"RHI"_s, probe.isPreferred ? u"Using Vulkan backend with "_s + probe.deviceName
                                        : u"Using OpenGL backend"_s);
    });
    return probe.isPreferred ? QRhiWidget::Api::Vulkan : QRhiWidget::Api::OpenGL;
}

} // namespace rhi
