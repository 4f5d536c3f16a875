#pragma once

#include <QVector3D>

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace corvane::xport {

/// Memory for the corners of very many triangles, in large blocks that fill up one after the other.
/// Nothing is given back before the store itself goes.
class CornerStore
{
public:
    using Corners = std::array<QVector3D, 3>; ///< of one triangle

    /// Room for some triangles side by side; not initialised.
    std::span<Corners> take(std::size_t count);

private:
    struct Release
    {
        void operator()(Corners *block) const;
    };
    std::vector<std::unique_ptr<Corners, Release>> m_blocks;
    std::span<Corners> m_free; ///< the rest of the last block
};

} // namespace corvane::xport
