#pragma once

#include <corvane/rendering/RenderTrigger.h>

#include <QString>

#include <array>

namespace corvane::rendering {

/// Counts what frames were asked for and by whom, and says so in the log every five seconds in
/// which there was anything. Times are milliseconds of any clock that never goes back. For one
/// thread.
class RenderTelemetry
{
public:
    static constexpr qint64 reportIntervalMs = 4999; ///< more than that passes between reports

    static QLatin1StringView word(RenderTrigger trigger); ///< "anim", "param", ...

    /// A request; `isCoalesced` when it came while another was on its way.
    void recordRequest(RenderTrigger trigger, bool isCoalesced, qint64 nowMs);
    /// A frame was drawn.
    void recordFrame(qint64 nowMs);
    /// An input was seen in a frame that long after it was made.
    void recordInputLatency(qint64 latencyMs);

    /// The lines of the log for what was counted since the last report.
    QString report(qint64 nowMs) const;

private:
    void printWhenDue(qint64 nowMs);

    std::array<int, renderTriggerCount> m_triggers{};
    int m_rendered = 0;
    int m_coalesced = 0;
    int m_latencies = 0;
    qint64 m_latencySumMs = 0;
    qint64 m_latencyMaxMs = 0;
    qint64 m_since = -1; ///< of the first event in this interval
};

} // namespace corvane::rendering
