#pragma once

#include <eval/gpu/GpuLane.h>
#include <rhi/OffscreenRhi.h>

#include <QSet>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

class QOffscreenSurface;

namespace eval::gpu {

class GpuProgram;

/// The one device that fields are evaluated on, found at the first use, and the thread that it
/// lives on: a QRhi and all that is made from it belong to one thread, while programs are compiled
/// and run from any. So what touches the device is handed to that thread and waited for, one after
/// the other.
///
/// Any thread may call. No call may come from within run().
class GpuDevice
{
public:
    static GpuDevice &instance();

    /// Finds a device at the first call, which may take a second; the answer holds for the process.
    bool isAvailable();
    /// What programs are made for; None without a device.
    GpuLane lane() const { return m_lane; }
    /// Null before the first use, after shutdown(), and when a lost device could not be had again.
    QRhi *rhi() const { return m_handle; }

    /// True from the frame that found it lost until replaceLost().
    bool isLost() const { return m_isLost; }

    /// Runs `work` on the thread of the device and waits for it. False, with nothing run, when
    /// there is no such thread.
    bool run(const std::function<void()> &work);
    /// Releases the device for good; programs that still exist answer that it is gone.
    void shutdown();

    // Within run() only:

    /// Begins a frame, or says that the device is lost.
    QRhi::FrameOpResult beginFrame(QRhiCommandBuffer **commands);
    QRhi::FrameOpResult endFrame();
    /// A device in the place of one that was lost. Programs of the lost one stay without.
    void replaceLost();
    void add(GpuProgram *program) { m_programs.insert(program); }
    void remove(GpuProgram *program) { m_programs.remove(program); }

    // For tests:

    /// Lets new programs be made for another lane; false when the device has no such lane.
    bool forceLane(GpuLane lane);
    /// Lets the next frame find the device lost.
    void loseAtNextFrame() { m_losesAtNextFrame = true; }

private:
    GpuDevice() = default;
    void tryInitialise();
    bool startThread();
    void stopThread();
    void work();
    bool createRhi();
    void releaseRhi();
    rhi::RhiPointer tryCreateVulkanRhi();
    rhi::RhiPointer tryCreateGlesRhi();

    std::once_flag m_tried;
    std::atomic<GpuLane> m_lane = GpuLane::None;
    std::atomic_bool m_losesAtNextFrame = false;
    rhi::RhiPointer m_rhi;
    std::atomic<QRhi *> m_handle = nullptr;       ///< the same, to be read on any thread
    std::unique_ptr<QOffscreenSurface> m_surface; ///< of OpenGL; made on the main thread
    QSet<GpuProgram *> m_programs;                ///< that hold something of the device
    std::atomic_bool m_isLost = false;

    std::thread m_thread;
    std::mutex m_mutex; ///< of the members below
    std::condition_variable m_changed;
    const std::function<void()> *m_work = nullptr; ///< to be run next
    bool m_isDone = false;
    bool m_isRunning = false;
    bool m_stops = false;
    std::mutex m_callers; ///< held by the one whose work it is
};

/// The lane that a device offers. Compute wins; with `forcedLane` only that one counts.
GpuLane detectLane(QRhi *rhi, GpuLane forcedLane = GpuLane::None);

} // namespace eval::gpu
