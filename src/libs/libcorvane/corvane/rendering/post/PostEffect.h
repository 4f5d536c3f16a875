#pragma once

#include <rhi/QRhiCompat.h>

#include <QSize>
#include <QString>
#include <QVariant>

namespace corvane::rendering {

/// One step from the scene's linear colour to the picture. It reads the texture of the step before
/// and draws over the whole of the target that is open. On the thread of the device.
class PostEffect
{
public:
    virtual ~PostEffect() = default;

    virtual QString name() const = 0;
    /// False for a name that it does not have or a value that is no number for it.
    virtual bool setParameter(const QString &name, const QVariant &value) = 0;
    virtual bool isActive() const = 0;

    /// Makes what belongs to the device, for targets of the descriptor that was set and sources of
    /// `size`. An effect that can't is inactive, and the chain goes on without it.
    virtual bool initialize(QRhi *rhi, const QSize &size) = 0;
    virtual void setRenderPassDescriptor(QRhiRenderPassDescriptor *descriptor) = 0;
    /// Passes of its own, and uploads, before the chain runs. No pass is open.
    virtual void prepareFrame(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *source) = 0;
    /// Inside the pass of its target. `source` is what the step before drew.
    virtual void render(QRhiCommandBuffer *commands, QRhiTexture *source) = 0;
    virtual void release() = 0;
};

} // namespace corvane::rendering
