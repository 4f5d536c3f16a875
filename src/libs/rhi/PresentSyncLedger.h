#pragma once

#include <QtGlobal>

namespace rhi {

/// Which semaphores of a SharedTexture's ring wait to be waited for, as the window sees it. Every
/// frame that was signalled has to be retired, by being shown or by being passed over: a semaphore
/// that is signalled twice without a wait between is an error of ours, and counted as `reused`.
class PresentSyncLedger
{
public:
    static constexpr int defaultDepth = 3;
    static constexpr int largestDepth = 64;

    /// What happened so far.
    struct Counters
    {
        quint64 signalled = 0;
        quint64 retired = 0;
        quint64 reused = 0; ///< signalled while still set

        bool operator==(const Counters &) const = default;
    };

    explicit PresentSyncLedger(int depth = defaultDepth);

    int slotOf(quint64 sequence) const { return int(sequence % quint64(m_depth)); }
    bool isSet(quint64 sequence) const { return (m_set & bitOf(sequence)) != 0; }

    void signal(quint64 sequence); ///< a frame has come whose semaphore is signalled
    void retire(quint64 sequence); ///< its wait is submitted; nothing for a slot that is not set

    int depth() const { return m_depth; }
    const Counters &counters() const { return m_counters; }

private:
    quint64 bitOf(quint64 sequence) const { return quint64(1) << slotOf(sequence); }

    int m_depth;
    quint64 m_set = 0;
    Counters m_counters;
};

} // namespace rhi
