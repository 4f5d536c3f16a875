#pragma once

#include <rhi/QRhiCompat.h>

#include <memory>

namespace rhi {

/// An instance of Vulkan for drawing without a window, of version 1.2 where the loader has it. With
/// or without a display or a GUI application; any thread. Null when there is no loader, no driver,
/// or the instance cannot be made, which the log says.
/// @param validation  with the layer that checks our use of Vulkan, where it is installed; its
///                    messages go to Qt's log
[[nodiscard]] std::unique_ptr<QVulkanInstance>
createOffscreenVulkanInstance(bool validation = false);

/// One such instance for the process, made at the first call that succeeds and never destroyed,
/// since devices may outlive every owner. `validation` counts for the call that makes it.
QVulkanInstance *sharedVulkanInstance(bool validation = false);

} // namespace rhi
