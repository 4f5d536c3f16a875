#pragma once

#include <rhi/QRhiCompat.h>

#include <QColor>
#include <QString>
#include <QVector>

#include <memory>

namespace corvane::rendering {

/// How a full screen pass meets what its target holds.
struct FullscreenState
{
    bool blend = false;     ///< by the source's alpha, else it replaces
    bool depthTest = false; ///< against what is drawn: less or equal
    bool depthWrite = false;

    bool operator==(const FullscreenState &) const = default;
};

/// Draws one fragment shader over the whole of a target.
///
/// The vertex shader gets `inUV`, from 0 to 1 over the target in the device's own directions. Use
/// in a frame: prepare() where no pass is open, ensure() before or within the pass, draw() within
/// it. On the thread of the device.
class FullscreenPass
{
public:
    explicit FullscreenPass(const QString &fragmentShader, const FullscreenState &state = {},
                            const QString &vertexShader = QStringLiteral(":/fullscreen.vert.qsb"));

    /// Makes what does not depend on a target. False when it fails.
    bool prepare(QRhi *rhi, QRhiResourceUpdateBatch *updates);
    /// Makes the pipeline for targets like this one and takes what its shaders read; nothing when
    /// it has them already. False when it fails, and stays so until release().
    bool ensure(QRhi *rhi, QRhiRenderPassDescriptor *pass, int sampleCount,
                const QVector<QRhiShaderResourceBinding> &bindings);
    void draw(QRhiCommandBuffer *commands, const QSize &targetSize) const;
    void release();

private:
    bool ensureBindings(QRhi *rhi, const QVector<QRhiShaderResourceBinding> &bindings);
    bool createPipeline(QRhi *rhi, QRhiRenderPassDescriptor *pass, int sampleCount);
    void setState(QRhiGraphicsPipeline &pipeline) const;

    QString m_vertexShader;
    QString m_fragmentShader;
    FullscreenState m_state;
    std::unique_ptr<QRhiBuffer> m_corners;
    std::unique_ptr<QRhiShaderResourceBindings> m_bindings;
    std::unique_ptr<QRhiGraphicsPipeline> m_pipeline;
    QVector<QRhiShaderResourceBinding> m_bound;
    QVector<quint32> m_passFormat; ///< of the pass that the pipeline was made for
    int m_sampleCount = 0;
    bool m_failed = false;
};

} // namespace corvane::rendering
