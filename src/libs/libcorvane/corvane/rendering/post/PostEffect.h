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

    /// Makes what belongs to the device, for sources of `size`; nothing when it is there already.
    /// An effect that can't is inactive until release(), and the chain goes on without it.
    virtual bool initialize(QRhi *rhi, const QSize &size) = 0;
    /// What the next prepareFrame() and render() draw to.
    virtual void setRenderPassDescriptor(QRhiRenderPassDescriptor *descriptor) = 0;
    /// Passes of its own, and uploads, when the step before has drawn `source`. No pass is open.
    /// A failure makes it inactive.
    virtual void prepareFrame(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *source) = 0;
    /// Inside the pass of its target, after prepareFrame() of the same frame.
    virtual void render(QRhiCommandBuffer *commands, const QSize &targetSize) = 0;
    virtual void release() = 0;
};

} // namespace corvane::rendering
