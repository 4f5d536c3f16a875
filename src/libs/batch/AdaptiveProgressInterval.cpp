#include "AdaptiveProgressInterval.h"

#include <algorithm>

namespace batch {

bool AdaptiveProgressInterval::tickAt(qint64 count, Clock::time_point now)
{
    using namespace std::chrono;
    if (count < nextTick)
        return false;
    const qint64 elapsed = duration_cast<nanoseconds>(now - lastTime).count() / 1000;
    stride *= elapsed < targetMicros ? growFactor : shrinkFactor;
    stride = std::max(std::min(stride, double(maxStride)), 1.0);
    lastTime = now;
    lastTick = count;
    nextTick = count + qint64(stride);
    ++updates;
    return true;
}

} // namespace batch
