#pragma once

#include <rhi/QRhiCompat.h>

#include <QColor>
#include <QPointF>
#include <QSize>

#include <memory>

namespace rhi {

/// How linear light becomes a colour on the screen; the values are those of the shader.
enum class ToneMap { None = 0, Reinhard = 1, Aces = 2 };

/// How a frame is shown.
struct PresentSettings
{
    ToneMap toneMap = ToneMap::None; ///< None shows the frame as it is, the others encode sRGB too
    float exposure = 1.0f;           ///< factor on the frame's colours, before the tone map
    bool checkerEnabled = false; ///< a checkerboard shows through where the frame is transparent
    QColor checkerA{200, 200, 200};
    QColor checkerB{120, 120, 120};
    QPointF checkerPan{};     ///< in units of the board
    float checkerTile = 8.0f; ///< side of a cell, in units of the board
    float checkerZoom = 1.0f; ///< pixels of the target a unit

    bool operator==(const PresentSettings &) const = default;
};

/// Draws one texture over the whole of a target. On the thread of the device.
class PresentPass
{
public:
    /// Builds what drawing into targets of this description needs, again when it is another one.
    /// False when it fails, and Qt's log says why.
    bool ensurePipeline(QRhi *rhi, QRhiRenderPassDescriptor *pass, int sampleCount);

    /// Binds the texture to draw. Needs the pipeline.
    bool rebuildSrb(QRhi *rhi, QRhiTexture *texture);

    /// @param bottomUp  the first row of the texture is the lowest of the picture
    void update(QRhi *rhi, QRhiResourceUpdateBatch *updates, const PresentSettings &settings,
                bool bottomUp);

    /// Inside a pass, after the others.
    void draw(QRhiCommandBuffer *commands, const QSize &targetSize);

    void release();

private:
    bool createFixedParts(QRhi *rhi);
    bool createPipeline(QRhi *rhi, QRhiRenderPassDescriptor *pass, int sampleCount);

    std::unique_ptr<QRhiBuffer> m_params;
    std::unique_ptr<QRhiSampler> m_sampler;
    std::unique_ptr<QRhiTexture> m_layoutTexture; ///< stands in while the layout is all that counts
    std::unique_ptr<QRhiShaderResourceBindings> m_bindings;
    std::unique_ptr<QRhiGraphicsPipeline> m_pipeline;
    QVector<quint32> m_passFormat; ///< of the pass that the pipeline was made for
    int m_sampleCount = 0;
    QRhiTexture *m_texture = nullptr; ///< bound, of somebody else
};

} // namespace rhi
