#pragma once

#include <corvane/rendering/Layer.h>
#include <rhi/QRhiCompat.h>

#include <QColor>
#include <QVector3D>

#include <memory>

namespace corvane::rendering {

/// Draws the box that an export takes as lines of a constant width on the screen: crisp where they
/// are seen, faint where something stands before them. Not visible at first.
class ExportBoundsLayer : public Layer
{
public:
    ExportBoundsLayer();

    /// A box whose minimum is not below its maximum along each axis, or that is not finite, is not
    /// drawn.
    void setBounds(const QVector3D &min, const QVector3D &max);
    void setBoundsVisible(bool visible) { setVisible(visible); }
    void setColor(const QColor &color) { m_color = color; }

    QString typeName() const override { return QStringLiteral("ExportBoundsLayer"); }
    QString name() const override { return QStringLiteral("Export bounds"); }
    bool initialize(RhiContext &context) override;
    void update(RhiContext &context, qint64 elapsedMs) override;
    void renderPre(RhiContext &context) override;
    void releaseResources() override;
    BoundingVolume boundingVolume() const override;

private:
    bool hasBox() const;
    bool createPipelines(RhiContext &context);
    std::unique_ptr<QRhiGraphicsPipeline> createPipeline(RhiContext &context,
                                                         QRhiGraphicsPipeline::CompareOp op);

    QVector3D m_min{-5, -5, -5};
    QVector3D m_max{5, 5, 5};
    QColor m_color{255, 176, 64};
    bool m_isBoxStale = true;
    std::unique_ptr<QRhiBuffer> m_vertices;
    std::unique_ptr<QRhiBuffer> m_blocks; ///< one for what is seen, one for what is hidden
    std::unique_ptr<QRhiShaderResourceBindings> m_bindings;
    std::unique_ptr<QRhiGraphicsPipeline> m_seen;
    std::unique_ptr<QRhiGraphicsPipeline> m_hidden;
    QVector<quint32> m_passFormat;
    int m_sampleCount = 0;
    bool m_failed = false;
};

} // namespace corvane::rendering
