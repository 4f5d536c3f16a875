#pragma once

#include <rhi/QRhiCompat.h>

#include <QList>
#include <QString>

#include <memory>

namespace corvane::rendering {

class FullScreenQuad;

/// A pipeline that draws the full-screen quad with one fragment shader, and what is bound to it. On
/// the thread of the device.
class ScenePass
{
public:
    struct Description
    {
        QShader vertex{};
        QShader fragment{};
        QRhiRenderPassDescriptor *renderPass = nullptr;
        int sampleCount = 1;
        int colorAttachments = 1;
        QRhiGraphicsPipeline::CompareOp depthCompare = QRhiGraphicsPipeline::Less;
        bool writesDepth = true;
        bool blends = false; ///< by the source's alpha
        QList<QRhiShaderResourceBinding> bindings{};
    };

    /// Replaces what there was. False leaves it as it was, with the driver's reason in `error`.
    bool build(QRhi *rhi, const Description &description, QString *error);
    /// Exchanges what is bound, which has to be of the same layout.
    bool rebind(QRhi *rhi, const QList<QRhiShaderResourceBinding> &bindings);
    void release();
    bool isValid() const { return m_pipeline != nullptr; }

    /// Draws the quad over the whole of the target.
    /// @param uniformOffset  of binding 0, where that is bound with a dynamic offset; else -1
    void draw(QRhiCommandBuffer *commands, const FullScreenQuad &quad, const QSize &size,
              qint64 uniformOffset = -1) const;

private:
    std::unique_ptr<QRhiShaderResourceBindings> m_bindings;
    std::unique_ptr<QRhiGraphicsPipeline> m_pipeline;
};

} // namespace corvane::rendering
