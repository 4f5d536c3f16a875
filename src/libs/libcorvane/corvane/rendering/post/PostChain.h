#pragma once

#include <corvane/rendering/post/PostEffect.h>
#include <corvane/rendering/post/PostTarget.h>

#include <QList>

#include <array>
#include <memory>

namespace corvane::rendering {

/// Runs effects one after the other: each active one reads the picture of the step before and
/// writes the next, and the last one writes the target.
///
/// The source may be larger than the target. What comes before the first output effect works at the
/// source's size, the first output effect shrinks with linear filtering, and the others work at the
/// target's size. On the thread of the device.
class PostChain
{
public:
    struct Step
    {
        PostEffect *effect = nullptr;
        bool isOutput = false; ///< works at the target's size
    };

    PostChain();
    ~PostChain();

    /// Draws `source` through the steps into `target`. Effects that fail are left out; with none
    /// left the source is copied. No pass is open. False when not even that can be drawn.
    bool run(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *source, QRhiRenderTarget *target,
             const QList<Step> &steps);
    void release();

private:
    enum class Outcome { Done, EffectFailed, Failed };
    Outcome tryRun(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *source,
                   QRhiRenderTarget *target, const QList<Step> &steps);
    QList<Step> activeSteps(QRhi *rhi, const QSize &size, const QList<Step> &steps) const;

    std::array<PostTarget, 2> m_sourceSized; ///< drawn to in turns
    std::array<PostTarget, 2> m_targetSized;
    std::unique_ptr<PostEffect> m_copy;
};

} // namespace corvane::rendering
