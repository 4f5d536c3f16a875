#pragma once

#include <rhi/QRhiCompat.h>

#include <QByteArray>
#include <QThread>

#include <functional>

namespace rhi {

/// How a WorkerHost runs its worker.
struct WorkerHostConfig
{
    QVulkanInstance *instance = nullptr;      ///< null: the device is found by createOffscreenRhi()
    VkPhysicalDevice device = VK_NULL_HANDLE; ///< null: Qt chooses among the instance's
    int tickIntervalMs = 0;                   ///< 0 ticks on request only
    QByteArray threadName{};                  ///< for debuggers
    QThread::Priority priority = QThread::InheritPriority;
    /// Milliseconds that never go back, called on the worker's thread; empty is the system's.
    std::function<qint64()> clock{};
};

} // namespace rhi
