#pragma once

#include <corvane/mesh/VertexRegion.h>

#include <array>
#include <optional>
#include <span>

namespace corvane::mesh {

/// A smooth piece of the surface within one cell, as its crossings show it.
struct Sheet
{
    QVector3D middle; ///< of its crossings
    QVector3D normal; ///< of unit length
    float slope = 1.0f;
};

/// The sheets that meet in a cell: samples whose normals differ by less than a crease does belong
/// to one.
struct Sheets
{
    static constexpr int most = 5;

    std::array<Sheet, most> list{};
    int count = 0;
    int ownCount = 0; ///< the first ones, which cross edges of the cell

    std::span<const Sheet> all() const { return std::span(list).first(size_t(count)); }
};

/// Samples without a direction count for no sheet. A sixth sheet is none: its samples go to the one
/// that is most like it.
/// @param nearby  samples of the surface around the cell: what they show besides the sheets of the
///                crossings
Sheets sheetsOf(std::span<const HermiteSample> crossings,
                std::span<const HermiteSample> nearby = {});

struct TangentPlane
{
    QVector3D point;
    QVector3D normal; ///< of unit length
};

/// The point of two or three planes that is nearest to `start`; nothing where two of them are
/// nearly parallel.
std::optional<QVector3D> commonPoint(std::span<const TangentPlane> planes, const QVector3D &start);

} // namespace corvane::mesh
