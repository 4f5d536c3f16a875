#pragma once

#include <corvane/rendering/Layer.h>
#include <corvane/rendering/post/FullscreenPass.h>

#include <QVector4D>

#include <memory>

namespace corvane::rendering {

/// A checkered plane with a grid at y = 0, that fades with the distance.
///
/// The grid follows the scale of what is looked at: its squares are a power of ten, a tenth of the
/// camera's distance or smaller, and lines of the next finer power come in softly as one draws
/// near. It lies behind everything else: it tests against depth and writes none, so that parts
/// below the plane are seen whole.
class GroundPlane : public Layer
{
public:
    /// How it looks. Colours are linear; the alpha of a checker is how much of it shows over the
    /// background.
    struct Style
    {
        QVector4D gridColor{0.16f, 0.17f, 0.19f, 1.0f};
        QVector4D checkerA{0.045f, 0.048f, 0.055f, 0.55f};
        QVector4D checkerB{0.055f, 0.059f, 0.067f, 0.55f};
        float majorLineThickness = 1.25f; ///< pixels
        float minorLineThickness = 1.0f;
        float majorLineAlpha = 0.55f;
        float minorLineAlpha = 0.22f;
        float fadeStart = 0.8f; ///< in camera distances, from below the camera
        float fadeEnd = 7.0f;

        bool operator==(const Style &) const = default;
    };

    GroundPlane();

    void setStyle(const Style &style) { m_style = style; }
    const Style &style() const { return m_style; }

    QString typeName() const override { return QStringLiteral("GroundPlane"); }
    QString name() const override { return QStringLiteral("Ground"); }
    bool initialize(RhiContext &context) override;
    void update(RhiContext &context, qint64 elapsedMs) override;
    void renderPre(RhiContext &context) override;
    void releaseResources() override;

private:
    Style m_style;
    FullscreenPass m_pass;
    std::unique_ptr<QRhiBuffer> m_block;
};

} // namespace corvane::rendering
