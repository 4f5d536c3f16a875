#include <rhi/DeviceLossWatchdog.h>

namespace rhi {

DeviceLossTier DeviceLossWatchdog::recordLoss(qint64 nowMs)
{
    m_lossTimes.append(nowMs);
    while (nowMs - m_lossTimes.constFirst() > windowMs)
        m_lossTimes.removeFirst();
    if (m_lossTimes.size() >= hardStopThreshold)
        return DeviceLossTier::HardStop;
    return m_lossTimes.size() >= unstableThreshold ? DeviceLossTier::Unstable
                                                   : DeviceLossTier::Recover;
}

} // namespace rhi
