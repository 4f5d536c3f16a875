#pragma once

#include <corvane/mesh/HermiteSample.h>

#include <array>
#include <optional>
#include <span>

namespace corvane::mesh {

/// A cell of a grid, by its lowest node. Indices are those of the whole grid, so that two chunks
/// compute the same bits.
struct GridCell
{
    QVector3D origin{}; ///< of the grid, scene units
    float size = 0.0f;  ///< of a cell, scene units
    std::array<qint64, 3> index{};

    /// Corner n lies at the upper end of X, Y, Z for bits 0, 1, 2 of n.
    QVector3D corner(int n) const;
    /// The cell of the same grid that a point lies in.
    GridCell at(const QVector3D &point) const;

    bool operator==(const GridCell &) const = default;
};

/// What a vertex is placed by.
struct VertexRegion
{
    GridCell cell{};
    QVector3D low, high;                          ///< the box that the vertex keeps to
    std::array<HermiteSample, 12> crossings{};    ///< that it stands for
    int count = 0;                                ///< of the crossings
    std::optional<std::array<float, 8>> values{}; ///< of the field at the corners, where known

    std::span<const HermiteSample> samples() const
    {
        return std::span(crossings).first(static_cast<std::size_t>(count));
    }
    QVector3D middle() const; ///< of the crossings
    QVector3D clamped(const QVector3D &point) const;
};

} // namespace corvane::mesh
