#pragma once

#include <QtGlobal>

#include <chrono>

namespace batch {

/// Thins out the progress reports of a tight loop to about ten a second, whatever a step costs:
/// asked at each step, it answers true at steps that move apart while they come too fast and
/// together again while they come too slowly. The stride grows fast and decays slowly.
///
///     batch::AdaptiveProgressInterval interval{.maxStride = steps};
///     for (qint64 i = 0; i < steps; ++i)
///         if (interval.tick(i))
///             report(i, steps);
///
/// A step that is not reported costs one comparison; the clock is read only for those that are.
struct AdaptiveProgressInterval
{
    using Clock = std::chrono::steady_clock;

    qint64 maxStride = 1;          ///< the most steps between reports: the total of the work
    qint64 targetMicros = 100'000; ///< the time between reports that is aimed at
    double growFactor = 1.1;
    double shrinkFactor = 0.99;
    double stride = 1.0;          ///< present steps between reports
    qint64 nextTick = 0;          ///< the step of the next report
    qint64 lastTick = 0;          ///< the step of the last report
    qint32 updates = 0;           ///< reports so far
    Clock::time_point lastTime{}; ///< of the last report

    /// Whether to report at step `count` now.
    bool tick(qint64 count) { return count >= nextTick && tickAt(count, Clock::now()); }

    /// The same at a given time.
    bool tickAt(qint64 count, Clock::time_point now);
};

} // namespace batch
