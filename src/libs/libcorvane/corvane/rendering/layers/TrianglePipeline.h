#pragma once

#include <rhi/QRhiCompat.h>

#include <QString>
#include <QVector>

#include <memory>

namespace corvane::rendering {

/// The pipeline that draws SurfaceVertex triangles with one fragment shader. On the thread of the
/// device.
class TrianglePipeline
{
public:
    TrianglePipeline(const QString &fragmentShader, int colorAttachments)
        : m_fragmentShader(fragmentShader)
        , m_colorAttachments(colorAttachments)
    {}

    /// Makes what targets like this one need; nothing when it fits. False when it fails, and stays
    /// so until release().
    bool ensure(QRhi *rhi, QRhiRenderPassDescriptor *pass, int sampleCount,
                QRhiShaderResourceBindings *bindings);
    QRhiGraphicsPipeline *pipeline() const { return m_pipeline.get(); }
    void release();

private:
    QString m_fragmentShader;
    int m_colorAttachments;
    std::unique_ptr<QRhiGraphicsPipeline> m_pipeline;
    QVector<quint32> m_passFormat;
    int m_sampleCount = 0;
    bool m_failed = false;
};

} // namespace corvane::rendering
