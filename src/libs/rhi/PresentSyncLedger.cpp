#include <rhi/PresentSyncLedger.h>

#include <algorithm>

namespace rhi {

PresentSyncLedger::PresentSyncLedger(int depth)
    : m_depth(std::clamp(depth, 1, largestDepth))
{}

void PresentSyncLedger::signal(quint64 sequence)
{
    if (isSet(sequence))
        ++m_counters.reused;
    m_set |= bitOf(sequence);
    ++m_counters.signalled;
}

void PresentSyncLedger::retire(quint64 sequence)
{
    if (!isSet(sequence))
        return;
    m_set &= ~bitOf(sequence);
    ++m_counters.retired;
}

} // namespace rhi
