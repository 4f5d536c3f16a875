#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/bv/BoundsDetector.h>
#include <corvane/model/SceneWarning.h>

#include <array>
#include <optional>

namespace corvane::bv {

class FieldIntervals;

/// Where the sides of a box cut a solid off.
struct SurfaceCut
{
    std::array<bool, faceCount> isCut{};
    /// By side: the coordinate of the outermost point of the solid that was found beyond it.
    std::array<float, faceCount> reach{};

    bool isAny() const;
};

/// Looks for points of the solid on the sides of a box, best guesses first, by halving each side
/// and leaving out what interval evaluation shows to be outside; then walks from the point that was
/// found outwards through the solid.
///
/// What it says is so: each side that is named has a point of the solid on it. A side on which it
/// only just shows may be missed when the budget is used up.
/// @param depth   how deep a point must lie in the solid in order to count
/// @param budget  instructions, for each side; the walks come on top, a few hundred points each
SurfaceCut findSurfaceCut(FieldIntervals &field, const BoundingVolume &box, float depth,
                          long long budget);

/// Adds the sides on which points of the solid are known, and what is found from these on.
void addToSurfaceCut(SurfaceCut &cut, FieldIntervals &field, const BoundingVolume &box, float depth,
                     const std::array<std::optional<QVector3D>, faceCount> &points);

/// "Warning: export box: the surface is cut off at maxX (...)": one warning for all sides; none
/// without a cut.
/// @param margin  what a box should leave around the part
std::optional<model::SceneWarning> surfaceCutWarning(const SurfaceCut &cut,
                                                     const BoundingVolume &box, float margin);

} // namespace corvane::bv
