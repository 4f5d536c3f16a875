#pragma once

#include <rhi/OffscreenRhi.h>
#include <rhi/WorkerFrame.h>
#include <rhi/WorkerHostConfig.h>

#include <QObject>
#include <QPointer>
#include <QTimer>

#include <atomic>
#include <memory>
#include <optional>

class QOffscreenSurface;

namespace rhi {

class WorkerProducer;

/// The half of a WorkerHost that lives on the thread: owns the device and the producer, ticks, and
/// gets over the loss of the device. Everything is called on that thread unless it says otherwise.
///
///     built -> initialised <-> without a device -> halted
///
/// A lost device is replaced at once. Where that fails, the worker waits without one, and its ticks
/// try again, at most one in retryPauseMs. Losses that come too often halt it for good
/// (DeviceLossTier).
class Worker : public QObject
{
    Q_OBJECT

public:
    static constexpr qint64 retryPauseMs = 500;

    /// On the main thread. `surface` may be null where there is no GUI application.
    Worker(std::unique_ptr<WorkerProducer> producer, WorkerHostConfig config,
           QOffscreenSurface *surface);
    ~Worker() override;

    /// Builds the device, then what the producer needs, and starts the timer.
    void initialize();

    /// Ticks at once. Requests that come before the tick are one.
    void requestOneTick();
    /// Whether a request is on its way already; if not, now it is. Any thread.
    bool takeRequest() { return m_isTickRequested.exchange(true); }

    /// Lets the producer free what it has, and destroys the device. Nothing happens after it.
    void shutdown();

    /// The next tick finds the device lost. Any thread.
    void simulateDeviceLoss() { m_isLossSimulated = true; }

    void tickInternal();
    bool buildRhiAndSurface();
    void emitError(const QString &message);

signals:
    void frameReadyInternal(const rhi::WorkerFrame &frame);
    void errorInternal(const QString &message);

private:
    enum class State { Built, Initialised, WithoutDevice, Halted };

    qint64 now() const;
    bool isDeviceLost();
    void handleDeviceLoss();
    void recover();
    void failRecovery(const QString &message);
    void halt();

    const WorkerHostConfig m_config;
    QOffscreenSurface *const m_surface; ///< of the host, which destroys it after the thread's end
    std::unique_ptr<WorkerProducer> m_producer;
    RhiPointer m_rhi;
    RhiPointer m_lostRhi; ///< kept until the producer has let go of what belongs to it
    std::unique_ptr<QTimer> m_timer;
    State m_state = State::Built;
    std::optional<qint64> m_lastFailureMs; ///< of a recovery that has not worked yet
    std::atomic<bool> m_isLossSimulated = false;
    std::atomic<bool> m_isTickRequested = false;
};

} // namespace rhi
