#pragma once

#include <corvane/rendering/post/BasePostEffect.h>
#include <corvane/rendering/post/LinearColor.h>

namespace corvane::rendering {

/// What selected and hovered items have in common: a light tint over them and a line around what is
/// to be seen of them, found in the G-buffer's item ids.
class HighlightEffect : public BasePostEffect
{
public:
    /// The G-buffer of the picture, of any size; null for none. Not owned.
    void setGBuffer(QRhiTexture *itemId, QRhiTexture *material);
    void setTintColor(const QColor &color) { m_tint = color; }       ///< alpha: how much of it
    void setOutlineColor(const QColor &color) { m_outline = color; } ///< alpha: how opaque
    void setOutlineThickness(float texels) { m_outlineThickness = texels; }

    bool initialize(QRhi *rhi, const QSize &size) override;

protected:
    explicit HighlightEffect(const Description &description);

    bool hasGBuffer() const { return m_itemId && m_material; }
    QVector4D tint() const { return linearColor(m_tint); }
    QVector4D outline() const { return linearColor(m_outline); }
    float outlineThickness() const { return m_outlineThickness; }
    QSize pixelSize() const { return m_size; }
    QVector<QRhiShaderResourceBinding> furtherBindings() const override;
    QRhiTexture *material() const { return m_material; }

private:
    QRhiTexture *m_itemId = nullptr;
    QRhiTexture *m_material = nullptr;
    QColor m_tint;
    QColor m_outline;
    float m_outlineThickness = 1.0f;
    QSize m_size;
};

} // namespace corvane::rendering
