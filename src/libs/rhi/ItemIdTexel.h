#pragma once

#include <QtGlobal>

#include <array>

namespace rhi {

/// Red, green, blue and alpha of a texel of format RGBA8, as a read-back has them.
using ItemIdTexel = std::array<quint8, 4>;

/// An item id as a texel, the least significant byte in red. resources/shaders/item_id.glsl
/// (":/shaders/item_id.glsl") has the same pair for shaders: what one side packs the other unpacks,
/// all 2^32 ids. An integer format would say it plainly, but Qt has none before 6.9; a float has no
/// room for ids that are NaNs or denormals, which a GPU may change on the way.
constexpr ItemIdTexel packItemId(quint32 id)
{
    return {quint8(id), quint8(id >> 8), quint8(id >> 16), quint8(id >> 24)};
}

constexpr quint32 unpackItemId(const ItemIdTexel &texel)
{
    return quint32(texel[0]) | quint32(texel[1]) << 8 | quint32(texel[2]) << 16 |
           quint32(texel[3]) << 24;
}

} // namespace rhi
