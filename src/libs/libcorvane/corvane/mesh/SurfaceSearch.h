#pragma once

#include <corvane/mesh/VertexRegion.h>

#include <span>

namespace corvane::mesh {

/// A point that is to be put onto the surface within the box of its region.
struct SurfacePoint
{
    const VertexRegion *region = nullptr;
    QVector3D point;
    QVector3D normal;   ///< of the surface near the point, or zero where it is not known
    float slope = 1.0f; ///< of the field along the normal
};

/// Puts all points onto the surface, in step with each other; the result of one does not depend on
/// which others there are. A point that can't be, such as in a field that jumps, is left as near to
/// it as it came. The rule must have a field.
void putOnSurface(std::span<SurfacePoint> points, const CrossingRule &rule);

} // namespace corvane::mesh
