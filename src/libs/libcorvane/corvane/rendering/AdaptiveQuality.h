#pragma once

namespace corvane::rendering {

/// Trades the quality of a picture for its speed, by how long frames take.
///
/// There are four levels: 3 is full, 2 has half the samples, 1 a quarter and no embellishing
/// effects, 0 is of three quarters of the resolution as well. One slow frame goes a level down, and
/// only thirty fast ones in a row go one up, so that it does not swing.
///
/// A processor that draws in place of a GPU is far below the lowest level. While something moves,
/// the picture may be coarser still, as far as it takes to come to motionFramesPerSecond; what
/// stands still is drawn anew in full quality, whatever that takes. Without a clock; for one
/// thread.
class AdaptiveQuality
{
public:
    struct Settings
    {
        bool isEnabled = true;
        int minLevel = 0;
        int maxLevel = 3;
        double slowFrameMs = 20.0;
        double fastFrameMs = 12.0;
        int upgradeFrames = 30;
        int sampleCount = 4;
        double motionFramesPerSecond = 15.0;
    };

    /// What a frame is drawn with.
    struct Quality
    {
        int sampleCount = 4;
        bool isEmbellished = true;
        float renderScale = 1.0f; ///< of the side of the picture

        bool operator==(const Quality &) const = default;
    };

    AdaptiveQuality() = default;
    explicit AdaptiveQuality(const Settings &settings)
        : m_settings(settings)
        , m_level(settings.maxLevel)
    {}

    /// A frame was drawn with inMotion(). True when that is another one now.
    bool frameDrawn(double milliseconds);

    int level() const { return m_level; }
    Quality inMotion() const;
    Quality atRest() const;
    /// What stands still need not be drawn anew.
    bool isFull() const { return inMotion() == atRest(); }

private:
    bool slowDown(double milliseconds);
    bool speedUp(double milliseconds);
    double expectedMs(double milliseconds, int motionStep) const;

    Settings m_settings;
    int m_level = 3;
    int m_motionStep = 0; ///< of coarseness beyond the lowest level
    int m_goodFrames = 0;
};

} // namespace corvane::rendering
