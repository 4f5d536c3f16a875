#pragma once

#include <corvane/mesh/Sheets.h>

#include <span>

namespace corvane::mesh {

/// A place in a region, or near it, where two of its sheets meet in a crease, or three in a corner.
struct CreaseCandidate
{
    const VertexRegion *region = nullptr;
    std::array<Sheet, 3> sheets{};
    int count = 0;       ///< of the sheets
    bool areOwn = false; ///< whether all of them cross edges of the cell
    bool isEnd = false; ///< whether the third one was found off the end of the crease of the others

    QVector3D point;       ///< where they meet: in the region's box if they do so anywhere in it
    bool found = false;    ///< whether they meet there, by the field
    bool isInside = false; ///< whether the point lies in the box
    /// The sheets end before they meet, as at the blunt edge of a blade: the point lies on what
    /// ends them.
    bool isBlunt = false;
};

/// Looks for all candidates in step with each other; the result of one does not depend on which
/// others there are. The rule must have a field.
void searchCreases(std::span<CreaseCandidate> candidates, const CrossingRule &rule);

} // namespace corvane::mesh
