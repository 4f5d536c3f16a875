#pragma once

#include <rhi/WorkerFrame.h>
#include <rhi/WorkerHostConfig.h>

#include <QObject>

#include <atomic>
#include <functional>
#include <memory>

class QOffscreenSurface;

namespace rhi {

class Worker;
class WorkerProducer;

/// Runs a WorkerProducer on a thread of its own, with a device of its own, and hands its frames
/// over as frameReady() on the main thread, where the host lives. Commands reach the producer
/// through runOnWorker() and nothing else.
///
/// stop() waits for the producer as long as it takes. A program that is leaving cannot: begin
/// ExitWatchdog before hosts are stopped at the end, and a producer that blocks ends with the
/// process.
class WorkerHost : public QObject
{
    Q_OBJECT

public:
    explicit WorkerHost(QObject *parent = nullptr);
    ~WorkerHost() override; ///< stops

    /// False, with a warning in the log, when the worker could not be started; then the producer is
    /// gone. What fails on the thread itself is a workerError() later.
    bool start(std::unique_ptr<WorkerProducer> producer, const WorkerHostConfig &config);

    /// Waits for the frame that is being drawn, then for the producer's onRelease(). Frames that
    /// are on their way still arrive.
    void stop();

    bool isRunning() const { return m_isRunning; } ///< any thread

    /// Asks for a tick at once; does nothing unless running. Requests are merged until the worker
    /// comes to them.
    void requestTick();

    /// Runs `command` on the worker's thread, in the order of the calls, after its initialisation
    /// (also after one that failed) and between ticks. Dropped unless running, or when the worker
    /// is stopped first.
    void runOnWorker(std::function<void()> command);

    /// For tests: the next tick finds the device lost.
    void simulateDeviceLoss();

signals:
    void frameReady(const rhi::WorkerFrame &frame);
    void workerError(const QString &message);

private:
    bool createSurface();
    bool startThread(const WorkerHostConfig &config);

    std::atomic<bool> m_isRunning = false;
    std::unique_ptr<QOffscreenSurface> m_surface; ///< made and destroyed on this thread
    QThread *m_thread = nullptr;
    Worker *m_worker = nullptr; ///< deletes itself at the thread's end
};

} // namespace rhi
