#pragma once

#include <rhi/QRhiCompat.h>

#include <QRectF>
#include <QSize>

#include <memory>

namespace corvane::rendering {

/// Copies a depth texture into the red channel of one of format RGBA32F, which can be read back as
/// a depth texture cannot; of R32F OpenGL gives bytes. On the thread of the device.
class DepthCopy
{
public:
    /// Draws `region` of the texture (of its texture coordinates, 0 to 1) over a target of `size`,
    /// texel by texel in memory order. Outside a pass. Null when something could not be made.
    QRhiTexture *draw(QRhi *rhi, QRhiCommandBuffer *commands, QRhiTexture *depth, const QSize &size,
                      const QRectF &region = {0, 0, 1, 1});
    void release();

private:
    bool ensure(QRhi *rhi, QRhiTexture *depth, const QSize &size);
    bool createTarget(QRhi *rhi, const QSize &size);
    bool createPipeline(QRhi *rhi, QRhiTexture *depth);

    QRhi *m_rhi = nullptr;
    QRhiTexture *m_source = nullptr;
    std::unique_ptr<QRhiTexture> m_color;
    std::unique_ptr<QRhiRenderPassDescriptor> m_pass;
    std::unique_ptr<QRhiTextureRenderTarget> m_target;
    std::unique_ptr<QRhiBuffer> m_uniforms;
    std::unique_ptr<QRhiSampler> m_sampler;
    std::unique_ptr<QRhiShaderResourceBindings> m_bindings;
    std::unique_ptr<QRhiGraphicsPipeline> m_pipeline;
};

} // namespace corvane::rendering
