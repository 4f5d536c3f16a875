#pragma once

#include <corvane/rendering/GBuffer.h>
#include <corvane/rendering/OffscreenTarget.h>
#include <corvane/rendering/RenderBudget.h>
#include <rhi/QRhiCompat.h>

#include <QColor>
#include <QMatrix4x4>
#include <QSize>

namespace corvane::rendering {

/// What a layer draws with: the device, the frame that is being recorded, and the view.
///
/// Uploads go into `resourceUpdates`, which is handed to the command buffer where no pass is open:
/// after the layers were updated and before each pass. `renderTarget` is the target of the pass
/// that is open, and in renderPost(), where none is, the one that the picture is wanted in; size,
/// sample count and descriptor go with it. Nothing of it is owned but the offscreen target and the
/// G-buffer. On the thread of the device.
struct RhiContext
{
    QRhi *rhi = nullptr;
    QRhiCommandBuffer *commandBuffer = nullptr;
    QRhiRenderTarget *renderTarget = nullptr;
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

    /// Makes `target` the one to draw to.
    void setRenderTarget(QRhiRenderTarget *target);

    /// The batch of this frame, made when there is none. Null, with a warning, when the device has
    /// none left.
    QRhiResourceUpdateBatch *ensureResourceUpdates();
    /// Puts what was collected into the command buffer. Outside a pass.
    void flushResourceUpdates();
    /// Hands over what was collected, for beginPass() to take along.
    QRhiResourceUpdateBatch *takeResourceUpdates();
    /// Forgets what was collected.
    void dropResourceUpdates();

    /// Makes `offscreen` fit. False with the sentence to show in `error`.
    bool ensureOffscreen(QRhi *device, const QSize &size, int samples, QString *error);
    /// Makes `gBuffer` fit `pixelSize`.
    bool ensureGBuffer();
};

} // namespace corvane::rendering
