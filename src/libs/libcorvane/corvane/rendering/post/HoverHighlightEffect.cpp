#include <corvane/rendering/post/HoverHighlightEffect.h>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

constexpr int blockBinding = 3;

/// The block `HoverBuf`, std140.
struct HoverBuf
{
    QVector4D tintColor{};
    QVector4D outlineColor{};
    float outlineThickness = 0.0f;
    float texelWidth = 0.0f;
    float texelHeight = 0.0f;
    quint32 hoveredId = 0;
};
static_assert(sizeof(HoverBuf) == 48);

} // namespace

HoverHighlightEffect::HoverHighlightEffect()
    : HighlightEffect({.id = u"hover"_s,
                       .fragmentShader = u":/hover_highlight.frag.qsb"_s,
                       .blockBinding = blockBinding})
{
    setTintColor(QColor::fromRgbF(1.0f, 1.0f, 1.0f, 0.04f));
    setOutlineColor(QColor::fromRgbF(0.75f, 0.85f, 1.0f, 0.55f));
    setOutlineThickness(0.75f);
}

bool HoverHighlightEffect::setHoveredId(quint32 encodedId)
{
    if (m_hoveredId == encodedId)
        return false;
    m_hoveredId = encodedId;
    return true;
}

QByteArray HoverHighlightEffect::block() const
{
    const HoverBuf data{.tintColor = tint(),
                        .outlineColor = outline(),
                        .outlineThickness = outlineThickness(),
                        .texelWidth = 1.0f / float(qMax(1, pixelSize().width())),
                        .texelHeight = 1.0f / float(qMax(1, pixelSize().height())),
                        .hoveredId = m_hoveredId};
    return QByteArray(reinterpret_cast<const char *>(&data), sizeof(data));
}

} // namespace corvane::rendering
