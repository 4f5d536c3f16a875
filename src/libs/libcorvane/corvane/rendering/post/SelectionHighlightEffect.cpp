#include <corvane/rendering/post/SelectionHighlightEffect.h>

#include <corvane/rendering/ItemIds.h>
#include <corvane/rendering/post/SelectionTable.h>

#include <cstring>

using namespace Qt::StringLiterals;

namespace corvane::rendering {

namespace {

constexpr int materialBinding = 1;
constexpr int blockBinding = 3;
constexpr int tableBinding = 4;
constexpr int nodesInBlock = 256; ///< those beyond are looked up in the table
constexpr auto fragmentStage = QRhiShaderResourceBinding::FragmentStage;

/// The block `SelectionBuf`, std140.
struct SelectionBuf
{
    std::array<quint32, 8> selectionBitmask{};
    QVector4D tintColor{};
    QVector4D outlineColor{};
    float outlineThickness = 0.0f;
    float separatorAlpha = 0.0f;
    float texelWidth = 0.0f;
    float texelHeight = 0.0f;
    float time = 0.0f;
    std::array<float, 3> padding{};
};
static_assert(sizeof(SelectionBuf) == 96);

} // namespace

SelectionHighlightEffect::SelectionHighlightEffect()
    : HighlightEffect({.id = u"selection"_s,
                       .fragmentShader = u":/selection_highlight.frag.qsb"_s,
                       .blockBinding = blockBinding})
{
    setTintColor(QColor::fromRgbF(0.25f, 0.55f, 1.0f, 0.10f));
    setOutlineColor(QColor::fromRgbF(0.30f, 0.62f, 1.0f, 1.0f));
}

bool SelectionHighlightEffect::setSelectedNodes(const QBitArray &nodes)
{
    if (m_nodes == nodes)
        return false;
    m_nodes = nodes;
    m_isTableStale = true;
    return true;
}

bool SelectionHighlightEffect::setSelectedItemIds(const QList<quint32> &ids)
{
    if (m_itemIds == ids)
        return false;
    m_itemIds = ids;
    m_isTableStale = true;
    return true;
}

bool SelectionHighlightEffect::isActive() const
{
    return HighlightEffect::isActive() && hasGBuffer() &&
           (!m_itemIds.isEmpty() || m_nodes.count(true) > 0);
}

void SelectionHighlightEffect::release()
{
    HighlightEffect::release();
    m_table.reset();
    m_isTableStale = true;
}

QByteArray SelectionHighlightEffect::block() const
{
    SelectionBuf data{.tintColor = tint(),
                      .outlineColor = outline(),
                      .outlineThickness = outlineThickness(),
                      .separatorAlpha = m_separatorAlpha,
                      .texelWidth = 1.0f / float(qMax(1, pixelSize().width())),
                      .texelHeight = 1.0f / float(qMax(1, pixelSize().height())),
                      .time = m_time};
    for (qsizetype i = 0; i < qMin<qsizetype>(m_nodes.size(), nodesInBlock); ++i) {
        if (m_nodes.testBit(i))
            data.selectionBitmask[std::size_t(i / 32)] |= 1u << i % 32;
    }
    return QByteArray(reinterpret_cast<const char *>(&data), sizeof(data));
}

QVector<QRhiShaderResourceBinding> SelectionHighlightEffect::furtherBindings() const
{
    return HighlightEffect::furtherBindings() +
           QVector{QRhiShaderResourceBinding::sampledTexture(materialBinding, fragmentStage,
                                                             material(), sampler()),
                   QRhiShaderResourceBinding::sampledTexture(tableBinding, fragmentStage,
                                                             m_table.get(), sampler())};
}

void SelectionHighlightEffect::upload(QRhiResourceUpdateBatch *updates)
{
    if (!m_isTableStale)
        return;
    const QRhiTextureSubresourceUploadDescription data(SelectionTable::texels(allIds()));
    updates->uploadTexture(m_table.get(), QRhiTextureUploadEntry(0, 0, data));
    m_isTableStale = false;
}

bool SelectionHighlightEffect::createFurtherResources(QRhi *rhi)
{
    m_table.reset(
        rhi->newTexture(QRhiTexture::RGBA8, {SelectionTable::width, SelectionTable::height}));
    m_isTableStale = true;
    return m_table->create();
}

QList<quint32> SelectionHighlightEffect::allIds() const
{
    QList<quint32> ids = m_itemIds;
    for (qsizetype i = nodesInBlock; i < m_nodes.size(); ++i) {
        if (m_nodes.testBit(i))
            ids.append(ItemId{.layer = LayerType::Sdf, .index = quint32(i)}.encoded());
    }
    return ids;
}

} // namespace corvane::rendering
