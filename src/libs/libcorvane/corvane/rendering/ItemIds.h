#pragma once

#include <QtGlobal>

namespace corvane::rendering {

/// The layers whose items can be picked: the top four bits of an item id.
enum class LayerType : quint32 {
    Background = 0,
    Sdf = 1,
    Mesh = 2,
    TetVolume = 3,
    Proxy = 5,
};

/// What a pixel of the G-buffer says it belongs to.
struct ItemId
{
    LayerType layer = LayerType::Background;
    quint32 index = 0; ///< in that layer: the node of the field, the row of a mesh

    static constexpr quint32 maxIndex = (1u << 28) - 1;

    constexpr quint32 encoded() const
    {
        return static_cast<quint32>(layer) << 28 | (index & maxIndex);
    }
    static constexpr ItemId decoded(quint32 raw)
    {
        return {.layer = static_cast<LayerType>(raw >> 28), .index = raw & maxIndex};
    }

    bool operator==(const ItemId &) const = default;
};

} // namespace corvane::rendering
