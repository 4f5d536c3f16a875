#pragma once

#include <rhi/QRhiCompat.h>

#include <QSize>
#include <QString>

#include <memory>

namespace corvane::rendering {

/// Where a picture is drawn in linear light before post effects: RGBA16F with depth, multi-sampled
/// and resolved when asked for. On the thread of the device.
class OffscreenTarget
{
public:
    /// Makes what `size` and `sampleCount` need, and nothing when it fits already. False leaves it
    /// invalid, and says in `error` what could not be made.
    bool ensure(QRhi *rhi, const QSize &size, int sampleCount, QString *error);
    void release();

    bool isValid() const { return m_target != nullptr; }
    QSize size() const { return m_size; }
    int sampleCount() const { return m_sampleCount; }
    QRhiTexture *color() const { return m_color.get(); } ///< resolved; what post effects read
    QRhiTextureRenderTarget *renderTarget() const { return m_target.get(); }
    QRhiRenderPassDescriptor *renderPassDescriptor() const { return m_pass.get(); }

private:
    bool createColor();
    bool createDepth();
    bool createTarget();

    QRhi *m_rhi = nullptr;
    QSize m_size;
    int m_sampleCount = 0;
    std::unique_ptr<QRhiTexture> m_color;
    std::unique_ptr<QRhiRenderBuffer> m_multisampleColor;
    std::unique_ptr<QRhiRenderBuffer> m_depth;
    std::unique_ptr<QRhiRenderPassDescriptor> m_pass;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
};

} // namespace corvane::rendering
