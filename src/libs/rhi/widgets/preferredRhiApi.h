#pragma once

#include <rhi_widgets/QRhiWidgetCompat.h>

namespace rhi {

/// The graphics api of the window: Vulkan where probeVulkan() prefers it, else OpenGL. Says which
/// in the ErrorManager, once for the process.
QRhiWidget::Api preferredRhiApi();

} // namespace rhi
