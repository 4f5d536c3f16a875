#pragma once

#include <corvane/rendering/post/HighlightEffect.h>

namespace corvane::rendering {

/// Outlines faintly what is under the cursor. Inactive while nothing is.
class HoverHighlightEffect : public HighlightEffect
{
public:
    HoverHighlightEffect();

    /// The encoded id (ItemIds.h); 0 is nothing. False when nothing changes.
    bool setHoveredId(quint32 encodedId);
    bool clearHover() { return setHoveredId(0); }
    quint32 hoveredId() const { return m_hoveredId; }

    bool isActive() const override
    {
        return HighlightEffect::isActive() && hasGBuffer() && m_hoveredId != 0;
    }

protected:
    QByteArray block() const override;

private:
    quint32 m_hoveredId = 0;
};

} // namespace corvane::rendering
