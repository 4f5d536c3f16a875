#pragma once

#include <corvane/rendering/post/HighlightEffect.h>

#include <QBitArray>

namespace corvane::rendering {

/// Outlines and tints what is selected. Inactive while nothing is.
class SelectionHighlightEffect : public HighlightEffect
{
public:
    SelectionHighlightEffect();

    /// One bit a node of the field, as SelectionMaskComputer makes it. False when nothing changes.
    bool setSelectedNodes(const QBitArray &nodes);
    /// Encoded ids (ItemIds.h) of mesh, volume and proxy items. False when nothing changes.
    bool setSelectedItemIds(const QList<quint32> &ids);
    /// Opacity of the line where two selected parts meet.
    void setSeparatorAlpha(float alpha) { m_separatorAlpha = alpha; }
    /// Moves the stripes of the tint, by one period a unit. They stand still unless somebody does.
    void setTime(float time) { m_time = time; }

    bool isActive() const override;

protected:
    QByteArray block() const override;
    QVector<QRhiShaderResourceBinding> furtherBindings() const override;
    void upload(QRhiResourceUpdateBatch *updates) override;
    bool createFurtherResources(QRhi *rhi) override;

public:
    void release() override;

private:
    QList<quint32> allIds() const;

    QBitArray m_nodes;
    QList<quint32> m_itemIds;
    float m_separatorAlpha = 0.35f;
    float m_time = 0.0f;
    std::unique_ptr<QRhiTexture> m_table;
    bool m_isTableStale = true;
};

} // namespace corvane::rendering
