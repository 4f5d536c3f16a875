#pragma once

#include <QList>

namespace rhi {

/// What a loss of the device is answered with, by how many there were lately.
enum class DeviceLossTier {
    Recover = 0,  ///< build the device anew
    Unstable = 1, ///< the same, and the user is told
    HardStop = 2  ///< no more: a driver that fails this often takes the session down with it
};

/// Counts losses of a device within the last minute. For one thread.
class DeviceLossWatchdog
{
public:
    static constexpr qint64 windowMs = 60'000;
    static constexpr int unstableThreshold = 3;
    static constexpr int hardStopThreshold = 5;

    /// Enters a loss at `nowMs`, in milliseconds of any clock that never goes back.
    DeviceLossTier recordLoss(qint64 nowMs);

    qsizetype lossCount() const
    {
        return m_lossTimes.size();
    } ///< in the window, as of the last loss

private:
    QList<qint64> m_lossTimes; ///< ascending
};

} // namespace rhi
