#pragma once

#include <corvane/bv/BoundingVolume.h>
#include <corvane/bv/BoundsDetector.h>

namespace corvane::bv {

class FieldIntervals;

/// The box of a part: what probing found, proved to hold the part and shrunk to it.
struct PartBounds
{
    enum class Kind {
        Proved,  ///< nothing of the part lies outside of `box`
        Probed,  ///< the proof is too hard: the box is that of the probes and the requested one
        Endless, ///< the part goes on past the search range; `box` is the requested one
        Nothing, ///< no part was found; `box` is the requested one
    };
    Kind kind = Kind::Nothing;
    BoundingVolume box; ///< without any margin
    QString reason{};   ///< of Endless and Nothing
};

/// What stays the same while a box is looked for.
struct PartBoundsRequest
{
    BoundingVolume requested;      ///< the box that the user gave
    float cellSize = 0.1f;         ///< of the mesh: the box need be no more exact than that
    float searchRadius = 10000.0f; ///< half-width of the searched cube
    long long budget = 14'000'000; ///< instructions of interval evaluation; half a second or so
};

/// Makes the box of a part from what the probes found.
///
/// First the whole search range is proved as far as a quarter of the budget goes, which finds parts
/// that every probe missed; then the surroundings of what was found, to within the tolerance. A
/// field that is hard to tell far away (a twist turns faster there than any box is small) keeps the
/// word of the probes for what lies beyond these surroundings, which reach as far again as the part
/// is long.
///
/// A proved box is taken when it ends at the part on all sides, or is not much larger than what was
/// probed and requested: there the meshing of what is too much costs less than a doubt.
PartBounds findPartBounds(FieldIntervals &field, const BoundsDetectionResult &probed,
                          const PartBoundsRequest &request);

} // namespace corvane::bv
