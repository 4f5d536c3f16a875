#pragma once

#include <QByteArray>
#include <QList>

namespace corvane::rendering {

/// A set of item ids as the picture that a shader looks them up in: one bit an id, 32 bits a texel
/// of RGBA8 (packed as rhi/ItemIdTexel.h has it), so that a look-up costs one fetch however many
/// are selected.
///
/// Each of the four layers whose items can be selected (field, mesh, volume, proxy) has eight rows
/// of 256 texels, for indices below 65536: as many as a scene has nodes. What is above cannot be
/// outlined.
class SelectionTable
{
public:
    static constexpr int width = 256; ///< texels; selection_highlight.frag has these two as well
    static constexpr int rowsPerLayer = 8;
    static constexpr int height = 4 * rowsPerLayer;
    static constexpr quint32 indicesPerLayer = quint32(width) * rowsPerLayer * 32;

    /// RGBA8, rows from the first; all bits are clear without ids.
    static QByteArray texels(const QList<quint32> &encodedIds);
};

} // namespace corvane::rendering
