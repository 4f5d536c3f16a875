#include <corvane/rendering/AdaptiveQuality.h>

#include <algorithm>
#include <array>

namespace corvane::rendering {

namespace {

/// Of the side of the picture, beyond the lowest level. Few, so that targets are seldom made anew.
constexpr std::array motionScales{1.0f, 0.75f, 0.5f, 0.375f, 0.25f, 0.1875f, 0.125f};
constexpr int coarsest = int(motionScales.size()) - 1;
/// Of the time that a frame may take: the next one may take longer.
constexpr double headroom = 0.8;
constexpr int refineFrames = 10;

} // namespace

bool AdaptiveQuality::frameDrawn(double milliseconds)
{
    if (!m_settings.isEnabled)
        return false;
    return milliseconds > m_settings.slowFrameMs ? slowDown(milliseconds) : speedUp(milliseconds);
}

bool AdaptiveQuality::slowDown(double milliseconds)
{
    const double longestMs = 1000.0 / m_settings.motionFramesPerSecond;
    if (m_level > m_settings.minLevel) {
        m_goodFrames = 0;
        --m_level;
        return true;
    }
    if (milliseconds > longestMs && m_motionStep < coarsest) {
        m_goodFrames = 0;
        do
            ++m_motionStep;
        while (m_motionStep < coarsest &&
               expectedMs(milliseconds, m_motionStep) > headroom * longestMs);
        return true;
    }
    // Slow, but fast enough to move by: finer again when there is room for it.
    const bool hasRoom =
        m_motionStep > 0 && expectedMs(milliseconds, m_motionStep - 1) < headroom * longestMs;
    m_goodFrames = hasRoom ? m_goodFrames + 1 : 0;
    if (m_goodFrames < refineFrames)
        return false;
    m_goodFrames = 0;
    --m_motionStep;
    return true;
}

bool AdaptiveQuality::speedUp(double milliseconds)
{
    m_goodFrames = milliseconds < m_settings.fastFrameMs ? m_goodFrames + 1 : 0;
    const bool isCoarse = m_motionStep > 0;
    if (m_goodFrames < (isCoarse ? refineFrames : m_settings.upgradeFrames) ||
        (!isCoarse && m_level >= m_settings.maxLevel))
        return false;
    m_goodFrames = 0;
    isCoarse ? --m_motionStep : ++m_level;
    return true;
}

/// By the number of pixels.
double AdaptiveQuality::expectedMs(double milliseconds, int motionStep) const
{
    const double ratio = double(motionScales[std::size_t(motionStep)]) /
                         double(inMotion().renderScale) *
                         (m_settings.maxLevel - m_level >= 3 ? 0.75 : 1.0);
    return milliseconds * ratio * ratio;
}

AdaptiveQuality::Quality AdaptiveQuality::inMotion() const
{
    if (!m_settings.isEnabled)
        return atRest();
    const int steps = m_settings.maxLevel - m_level;
    const float levelScale = steps >= 3 ? std::max(1.0f - 0.25f * float(steps - 2), 0.5f) : 1.0f;
    return {.sampleCount = std::max(1, m_settings.sampleCount >> steps),
            .isEmbellished = steps < 2,
            .renderScale = levelScale * motionScales[std::size_t(m_motionStep)]};
}

AdaptiveQuality::Quality AdaptiveQuality::atRest() const
{
    return {.sampleCount = m_settings.sampleCount, .isEmbellished = true, .renderScale = 1.0f};
}

} // namespace corvane::rendering
