#pragma once

namespace rhi {

/// Makes QVulkanInstance work without a display: it asks the platform plug-in for everything, and a
/// QCoreApplication has none. So a platform that can do nothing but Vulkan is entered once for the
/// process. With a GUI application, or where a platform stands already, this does nothing; a GUI
/// application that is made later brings its own in place of this one.
///
/// Any thread, though not while a GUI application is being made.
void ensureVulkanPlatform();

/// Whether surfaces, and with them OpenGL, can be had: they belong to a GUI application's platform.
bool hasGuiApplication();

} // namespace rhi
