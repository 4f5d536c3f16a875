#pragma once

#include <rhi/QRhiCompat.h>

#include <QSurfaceFormat>

#include <memory>

class QOffscreenSurface;

namespace rhi {

/// Destroys a QRhi under the lock that createVulkanRhi() holds too: QVulkanInstance keeps its table
/// of devices without one, and devices of several threads share an instance.
struct RhiDeleter
{
    void operator()(QRhi *rhi) const;
};

/// A QRhi and its resources are used on the thread that made it, and destroyed there.
using RhiPointer = std::unique_ptr<QRhi, RhiDeleter>;

/// A device on Vulkan. Null when it fails; Qt's log says why.
/// @param device  null lets Qt choose
[[nodiscard]] RhiPointer createVulkanRhi(QVulkanInstance *instance, VkPhysicalDevice device);

/// A device to draw with outside any window: Vulkan, on the shared instance and the selected GPU,
/// else OpenGL (ES). Null when neither can be had, and the log says so.
///
/// OpenGL needs a surface, which only a GUI application can make, on its main thread; without one,
/// Vulkan alone is tried.
/// @param surface     may be null; made with preferredOffscreenSurfaceFormat(), else it is made
/// anew.
///                    It must outlive the device.
/// @param validation  goes to sharedVulkanInstance()
[[nodiscard]] RhiPointer createOffscreenRhi(QOffscreenSurface *surface, bool validation = false);

/// A device on OpenGL (ES) alone, as createOffscreenRhi() falls back to it.
[[nodiscard]] RhiPointer createOpenGLRhi(QOffscreenSurface *surface);

/// OpenGL 4.3 core or OpenGL ES 3.1, whichever Qt runs on: the oldest with compute shaders and
/// storage buffers. For GUI applications.
QSurfaceFormat preferredOffscreenSurfaceFormat();

} // namespace rhi
