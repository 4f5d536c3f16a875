#pragma once

#include <corvane/mesh/HermiteSample.h>

#include <QVector3D>

#include <array>
#include <span>
#include <unordered_map>
#include <vector>

namespace corvane::mesh {

/// The sides of rings that cut off a piece of a sharp edge, and the vertices on that edge which
/// part them.
///
/// A ring lists four vertices; its sides join one to the next. Whether a side is parted, and where,
/// depends on nothing but its two ends: all rings that share it, in whichever chunk, agree.
class CreaseSides
{
public:
    /// Appends the vertices that part sides. The rule must have a field.
    /// @param normals  of the surface at those vertices where it is known to be smooth, else zero
    CreaseSides(std::span<const std::array<int, 4>> rings, std::vector<QVector3D> &vertices,
                std::span<const QVector3D> normals, const CrossingRule &rule);

    /// The number of the vertex between two others, or -1 where the side is whole.
    int between(int one, int other) const;

private:
    std::vector<bool> m_isEnd; ///< by vertex, whether a parted side ends there
    std::unordered_map<quint64, int> m_parts;
};

} // namespace corvane::mesh
