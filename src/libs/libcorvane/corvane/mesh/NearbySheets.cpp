// The edges of a cell are thin probes: a wedge can reach into a cell between them. But the distance
// at a corner is that to the nearest sheet, wherever it is. So a cell whose corners have the
// distances that its own sheet alone would give them holds nothing else; where one differs, or
// where two sheets are known and a third may close the corner, the field's gradients at the corners
// show the sheets next to them.
//
// Beyond a crease the gradient points away from the crease and belongs to no sheet. A gradient
// counts only if the surface is where it says, and if it is the same, in length too, on the other
// side of it.

#include "NearbySheets.h"

#include <algorithm>
#include <cmath>

namespace corvane::mesh {

namespace {

constexpr float bendShare = 0.2f; // how far a distance may be off the plane's, of it and of an edge
constexpr float farthestFoot = 1.75f; // of the surface from a corner, in edge lengths
constexpr float beyondShare = 0.1f;   // how far behind the surface, in edge lengths
constexpr float offShare = 0.15f; // how far that side may be off what one sheet has it, likewise
constexpr float sameSheetCosine = 0.95f;
constexpr size_t corners = 8;

bool needsALook(const VertexRegion &region, const Sheets &sheets, std::span<const float> distances,
                const CrossingRule &rule)
{
    if (sheets.count != 1)
        return sheets.count > 1;
    const Sheet &sheet = sheets.list[0];
    for (size_t n = 0; n < corners; ++n) {
        const QVector3D away = region.cell.corner(int(n)) - sheet.middle;
        const float expected = QVector3D::dotProduct(sheet.normal, away);
        if (std::fabs((distances[n] - rule.iso) / sheet.slope - expected) >
            bendShare * (rule.edgeLength + std::fabs(expected)))
            return true;
    }
    return false;
}

// The surface where a corner is nearest to it.
HermiteSample footOf(const QVector3D &corner, float distance, const QVector3D &gradient,
                     float edgeLength)
{
    const float slope = gradient.length();
    if (!(slope > 0.0f) || !std::isfinite(slope) ||
        std::fabs(distance) > farthestFoot * edgeLength * slope)
        return {};
    const QVector3D normal = gradient / slope;
    return {corner - normal * (distance / slope), normal, slope};
}

// The feet of all corners of those cells that need a look.
std::vector<HermiteSample> confirmedFeet(std::span<const QVector3D> points,
                                         std::span<const float> distances, const CrossingRule &rule)
{
    std::vector<QVector3D> gradients(points.size());
    rule.gradient(points, gradients);
    std::vector<HermiteSample> feet(points.size());
    std::vector<QVector3D> beyond(points.size());
    std::vector<float> depths(points.size()); // of these points, as one sheet would have it
    for (size_t n = 0; n < points.size(); ++n) {
        const float distance = distances[n] - rule.iso;
        feet[n] = footOf(points[n], distance, gradients[n], rule.edgeLength);
        depths[n] = std::copysign(beyondShare * rule.edgeLength, -distance);
        beyond[n] = feet[n].point + feet[n].normal * depths[n];
    }
    std::vector<float> found(points.size());
    rule.field(beyond, found);
    rule.gradient(beyond, gradients);
    for (size_t n = 0; n < points.size(); ++n) {
        const float slope = std::max(gradients[n].length(), feet[n].slope);
        const float along = QVector3D::dotProduct(gradients[n], feet[n].normal);
        const float off = (found[n] - rule.iso) - depths[n] * feet[n].slope;
        if (along < sameSheetCosine * slope ||
            std::fabs(off) > offShare * rule.edgeLength * feet[n].slope)
            feet[n] = {};
    }
    return feet;
}

// The field at the corners of all regions; where it is not known it is asked for.
std::vector<float> cornerValues(std::span<const VertexRegion> regions, const CrossingRule &rule)
{
    std::vector<float> values;
    std::vector<QVector3D> points;
    for (const VertexRegion &region : regions) {
        const std::array<float, corners> known =
            region.values.value_or(std::array<float, corners>());
        values.insert(values.end(), known.begin(), known.end());
        for (size_t n = 0; !region.values && n < corners; ++n)
            points.push_back(region.cell.corner(int(n)));
    }
    std::vector<float> asked(points.size());
    rule.field(points, asked);
    auto next = asked.cbegin();
    for (size_t n = 0; n < regions.size(); ++n) {
        for (size_t corner = 0; !regions[n].values && corner < corners; ++corner)
            values[n * corners + corner] = *next++;
    }
    return values;
}

} // namespace

std::vector<Sheets> sheetsOfRegions(std::span<const VertexRegion> regions, const CrossingRule &rule)
{
    const std::vector<float> values = cornerValues(regions, rule);
    std::vector<Sheets> result;
    std::vector<size_t> looks;
    std::vector<QVector3D> points;
    std::vector<float> distances;
    for (size_t n = 0; n < regions.size(); ++n) {
        const auto own = std::span(values).subspan(n * corners, corners);
        result.push_back(sheetsOf(regions[n].samples()));
        if (!needsALook(regions[n], result[n], own, rule))
            continue;
        looks.push_back(n);
        distances.insert(distances.end(), own.begin(), own.end());
        for (size_t corner = 0; corner < corners; ++corner)
            points.push_back(regions[n].cell.corner(int(corner)));
    }
    const std::vector<HermiteSample> feet = confirmedFeet(points, distances, rule);
    for (size_t look = 0; look < looks.size(); ++look)
        result[looks[look]] = sheetsOf(regions[looks[look]].samples(),
                                       std::span(feet).subspan(look * corners, corners));
    return result;
}

} // namespace corvane::mesh
