#pragma once

#include <rhi/QRhiCompat.h>

#include <QString>
#include <QStringList>
#include <QVector2D>

namespace corvane::aa {

/// What a strategy wants of one frame.
struct FrameSetup
{
    int sampleCount = 1;      ///< of the scene's pass; the device may have fewer
    float renderScale = 1.0f; ///< side of the picture that is drawn to the one that is shown
    QVector2D jitter{};       ///< displacement of the projection, in pixels of what is drawn

    bool operator==(const FrameSetup &) const = default;
};

/// A way to get rid of jagged edges: it tells the pipeline how each frame is to be drawn. On the
/// thread of the pipeline.
class IAntialiasStrategy
{
public:
    virtual ~IAntialiasStrategy() = default;

    virtual QString id() const = 0; ///< "msaa-4x"
    virtual QString displayName() const = 0;
    virtual FrameSetup frameSetup(qint64 frameNumber) const = 0;
    /// Ids of PostEffectRegistry, in the order in which they run.
    virtual QStringList postEffects() const { return {}; }
    /// The field's shading is to soften its own silhouettes (`analyticEdgeAA`).
    virtual bool wantsAnalyticEdgeAA() const { return false; }
    /// The frame's linear colour, for strategies that gather several.
    virtual void onFrameComplete(QRhiTexture *color) { Q_UNUSED(color) }
};

} // namespace corvane::aa
