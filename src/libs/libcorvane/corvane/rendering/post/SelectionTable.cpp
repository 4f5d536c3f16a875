#include <corvane/rendering/post/SelectionTable.h>

#include <corvane/rendering/ItemIds.h>

#include <optional>

namespace corvane::rendering {

namespace {

std::optional<quint32> slotOf(LayerType layer)
{
    switch (layer) {
    case LayerType::Sdf:
        return 0;
    case LayerType::Mesh:
        return 1;
    case LayerType::TetVolume:
        return 2;
    case LayerType::Proxy:
        return 3;
    case LayerType::Background:
        break;
    }
    return std::nullopt;
}

} // namespace

// The least significant byte of a texel is red, the first in memory: bit n of a row of texels is
// bit n % 8 of byte n / 8.
QByteArray SelectionTable::texels(const QList<quint32> &encodedIds)
{
    QByteArray bytes(qsizetype(width) * height * 4, '\0');
    for (const quint32 encoded : encodedIds) {
        const ItemId id = ItemId::decoded(encoded);
        const std::optional<quint32> slot = slotOf(id.layer);
        if (!slot || id.index >= indicesPerLayer)
            continue;
        const quint32 bit = *slot * indicesPerLayer + id.index;
        bytes[qsizetype(bit / 8)] = char(bytes.at(qsizetype(bit / 8)) | 1 << bit % 8);
    }
    return bytes;
}

} // namespace corvane::rendering
