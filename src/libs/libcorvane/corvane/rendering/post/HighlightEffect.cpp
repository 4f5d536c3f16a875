#include <corvane/rendering/post/HighlightEffect.h>

#include <cmath>

namespace corvane::rendering {

namespace {

constexpr int itemIdBinding = 2;

float linearChannel(float encoded)
{
    return encoded <= 0.04045f ? encoded / 12.92f : std::pow((encoded + 0.055f) / 1.055f, 2.4f);
}

} // namespace

HighlightEffect::HighlightEffect(const Description &description)
    : BasePostEffect(description)
{}

void HighlightEffect::setGBuffer(QRhiTexture *itemId, QRhiTexture *material)
{
    m_itemId = itemId;
    m_material = material;
}

bool HighlightEffect::initialize(QRhi *rhi, const QSize &size)
{
    m_size = size;
    return BasePostEffect::initialize(rhi, size);
}

QVector4D HighlightEffect::linear(const QColor &color)
{
    return {linearChannel(float(color.redF())), linearChannel(float(color.greenF())),
            linearChannel(float(color.blueF())), float(color.alphaF())};
}

QVector<QRhiShaderResourceBinding> HighlightEffect::furtherBindings() const
{
    return {QRhiShaderResourceBinding::sampledTexture(
        itemIdBinding, QRhiShaderResourceBinding::FragmentStage, m_itemId, sampler())};
}

} // namespace corvane::rendering
