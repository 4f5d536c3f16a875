#include <corvane/rendering/post/HighlightEffect.h>

namespace corvane::rendering {

namespace {

constexpr int itemIdBinding = 2;

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

QVector<QRhiShaderResourceBinding> HighlightEffect::furtherBindings() const
{
    return {QRhiShaderResourceBinding::sampledTexture(
        itemIdBinding, QRhiShaderResourceBinding::FragmentStage, m_itemId, sampler())};
}

} // namespace corvane::rendering
