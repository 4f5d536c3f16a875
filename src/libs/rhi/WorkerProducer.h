#pragma once

#include <rhi/DeviceLossWatchdog.h>
#include <rhi/QRhiCompat.h>
#include <rhi/WorkerFrame.h>

namespace rhi {

/// Draws the pictures of a Worker. It is made on the main thread, and from then on lives on the
/// worker's: all that follows is called there, between the device's birth and its end, and nothing
/// else may touch what belongs to the device.
class WorkerProducer
{
public:
    WorkerProducer() = default;
    virtual ~WorkerProducer() = default;
    WorkerProducer(const WorkerProducer &) = delete;
    WorkerProducer &operator=(const WorkerProducer &) = delete;

    /// Builds what drawing needs. False ends the worker before its first frame.
    virtual bool onInitialize(QRhi *rhi) = 0;

    /// Draws, or finds that nothing has changed. An empty frame is not sent.
    virtual WorkerFrame onTick(QRhi *rhi) = 0;

    /// Frees what belongs to the device. Called before the worker ends, after any onInitialize().
    virtual void onRelease(QRhi *rhi) = 0;

    /// The device was lost: frees what belonged to it, which is still there to be freed, and builds
    /// it on the new one. False gives the new one up, and a later tick tries another.
    virtual bool onDeviceLoss(QRhi *newRhi) = 0;

    /// What the losses so far amount to, for a producer that tells the user.
    DeviceLossTier lossTier() const { return m_lossTier; }

private:
    friend class Worker;
    DeviceLossWatchdog m_lossWatchdog; ///< fed by the worker, one for all devices that it had
    DeviceLossTier m_lossTier = DeviceLossTier::Recover;
};

} // namespace rhi
