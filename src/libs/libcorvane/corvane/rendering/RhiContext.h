#pragma once

#include <corvane/rendering/GBuffer.h>
#include <corvane/rendering/OffscreenTarget.h>
#include <corvane/rendering/RenderBudget.h>
#include <rhi/QRhiCompat.h>

#include <QMatrix4x4>
#include <QSize>

namespace corvane::rendering {

/// What a layer draws with: the device, the frame that is being recorded, and the view.
///
/// Within renderPre() and renderPost() a pass is open on `renderTarget`; within update() and
/// renderGeometry()'s caller none is, and uploads go into `resourceUpdates`. Whoever ends a pass to
/// run one of their own begins it again before they return (endMainPass(), resumeMainPass()).
/// Nothing of it is owned but the offscreen target and the G-buffer. On the thread of the device.
struct RhiContext
{
    QRhi *rhi = nullptr;
    QRhiCommandBuffer *commandBuffer = nullptr;
    QRhiRenderTarget *renderTarget = nullptr;                 ///< of the pass that is open
    QRhiRenderPassDescriptor *renderPassDescriptor = nullptr; ///< pipelines are made for it
    QRhiResourceUpdateBatch *resourceUpdates = nullptr;       ///< see ensureResourceUpdates()
    QMatrix4x4 view;
    QMatrix4x4 projection; ///< OpenGL's convention, see ClipSpace.h
    QVector3D eye;
    QSize pixelSize; ///< of `renderTarget`
    int sampleCount = 1;
    RenderBudget budget;
    QColor clearColor;
    OffscreenTarget offscreen; ///< linear colour, before post effects
    GBuffer gBuffer;

    /// The batch of this frame, made when there is none.
    QRhiResourceUpdateBatch *ensureResourceUpdates();
    /// Puts what was collected into the command buffer. Outside a pass.
    void flushResourceUpdates();

    /// Ends the pass that is open, with what was collected.
    void endMainPass();
    /// Begins it again without clearing what it holds.
    void resumeMainPass();

    /// Makes `offscreen` fit. False with the sentence to show in `error`.
    bool ensureOffscreen(QRhi *device, const QSize &size, int samples, QString *error);
    /// Makes `gBuffer` fit `pixelSize`.
    bool ensureGBuffer();
};

} // namespace corvane::rendering
