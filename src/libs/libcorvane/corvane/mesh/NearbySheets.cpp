// The edges of a cell are thin probes: a wedge can reach into a cell between them. But the distance
// at a corner is that to the nearest sheet, wherever it is. So a cell whose corners have the
// distances that its own sheet alone would give them holds nothing else; where one differs, or
// where two sheets are known and a third may close the corner, the field's gradient at the corner
// shows the sheet next to it. On a smooth surface this costs no value of the field.
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
constexpr float offShare = 0.15f;  // how far that side may be off what one sheet has it, likewise
constexpr float reachShare = 0.5f; // how far outside the cell's box two sheets may meet, likewise
constexpr float sameSheetCosine = 0.95f;
constexpr size_t corners = 8;

// A corner that may be nearest to a sheet which its cell does not know.
struct Look
{
    size_t region = 0;
    QVector3D corner;
    float distance = 0.0f; ///< by the field
    HermiteSample foot;    ///< the surface where the corner is nearest to it
};

bool isNearestTo(const Sheet &sheet, const Look &look, float edgeLength)
{
    const float expected = QVector3D::dotProduct(sheet.normal, look.corner - sheet.middle);
    return std::fabs(look.distance / sheet.slope - expected) <=
           bendShare * (edgeLength + std::fabs(expected));
}

void addLook(const VertexRegion &region, size_t number, size_t corner, float value,
             const CrossingRule &rule, std::vector<Look> &looks)
{
    looks.push_back({number, region.cell.corner(int(corner)), value - rule.iso, {}});
}

// The corners whose distances their cells' only sheets do not explain.
std::vector<Look> strangeCorners(std::span<const VertexRegion> regions,
                                 std::span<const Sheets> sheets, std::span<const float> values,
                                 const CrossingRule &rule)
{
    std::vector<Look> looks;
    for (size_t n = 0; n < regions.size(); ++n) {
        for (size_t c = 0; c < corners && sheets[n].count == 1; ++c) {
            addLook(regions[n], n, c, values[n * corners + c], rule, looks);
            if (isNearestTo(sheets[n].list[0], looks.back(), rule.edgeLength))
                looks.pop_back();
        }
    }
    return looks;
}

// All corners of the cells with several sheets, and of those that have one of the given looks.
std::vector<Look> allCorners(std::span<const VertexRegion> regions, std::span<const Sheets> sheets,
                             std::span<const float> values, const CrossingRule &rule,
                             std::span<const Look> given)
{
    std::vector<bool> isWanted(regions.size());
    for (const Look &look : given)
        isWanted[look.region] = true;
    std::vector<Look> looks;
    for (size_t n = 0; n < regions.size(); ++n) {
        for (size_t c = 0; c < corners && (isWanted[n] || sheets[n].count > 1); ++c)
            addLook(regions[n], n, c, values[n * corners + c], rule, looks);
    }
    return looks;
}

HermiteSample footOf(const Look &look, const QVector3D &gradient, float edgeLength)
{
    const float slope = gradient.length();
    if (!(slope > 0.0f) || !std::isfinite(slope) ||
        std::fabs(look.distance) > farthestFoot * edgeLength * slope)
        return {};
    const QVector3D normal = gradient / slope;
    return {look.corner - normal * (look.distance / slope), normal, slope};
}

// Whether the tangent plane of a foot comes together with one of the cell's own sheets in the cell,
// or next to it. The far side of a thin wall does not.
bool meetsOwn(const HermiteSample &foot, const VertexRegion &region, const Sheets &sheets,
              float edgeLength)
{
    const QVector3D centre = (region.low + region.high) * 0.5f;
    const float reach = (region.high - centre).length() + reachShare * edgeLength;
    const auto meets = [&](const Sheet &sheet) {
        const std::array<TangentPlane, 2> planes{
            {{foot.point, foot.normal}, {sheet.middle, sheet.normal}}};
        const auto point = commonPoint(planes, centre);
        return point && (*point - centre).length() <= reach;
    };
    return std::ranges::any_of(sheets.all(), meets);
}

// Takes the looks away that find nothing which matters to their cells.
void findFeet(std::vector<Look> &looks, std::span<const VertexRegion> regions,
              std::span<const Sheets> sheets, const CrossingRule &rule)
{
    std::vector<QVector3D> points;
    for (const Look &look : looks)
        points.push_back(look.corner);
    std::vector<QVector3D> gradients(points.size());
    rule.gradient(points, gradients);
    size_t next = 0;
    std::erase_if(looks, [&](Look &look) {
        look.foot = footOf(look, gradients[next++], rule.edgeLength);
        return look.foot.normal.isNull() ||
               !meetsOwn(look.foot, regions[look.region], sheets[look.region], rule.edgeLength);
    });
}

// Takes those away whose foot is not on a sheet.
void confirmFeet(std::vector<Look> &looks, const CrossingRule &rule)
{
    const auto depthOf = [&](const Look &look) {
        return std::copysign(beyondShare * rule.edgeLength, -look.distance);
    };
    std::vector<QVector3D> beyond;
    for (const Look &look : looks)
        beyond.push_back(look.foot.point + look.foot.normal * depthOf(look));
    std::vector<float> found(beyond.size());
    std::vector<QVector3D> gradients(beyond.size());
    rule.field(beyond, found);
    rule.gradient(beyond, gradients);
    size_t next = 0;
    std::erase_if(looks, [&](const Look &look) {
        const size_t n = next++;
        const float slope = std::max(gradients[n].length(), look.foot.slope);
        const float along = QVector3D::dotProduct(gradients[n], look.foot.normal);
        const float off = (found[n] - rule.iso) - depthOf(look) * look.foot.slope;
        return along < sameSheetCosine * slope ||
               std::fabs(off) > offShare * rule.edgeLength * look.foot.slope;
    });
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
    std::vector<Sheets> result;
    for (const VertexRegion &region : regions)
        result.push_back(sheetsOf(region.samples()));
    const std::vector<float> values = cornerValues(regions, rule);
    std::vector<Look> looks = strangeCorners(regions, result, values, rule);
    findFeet(looks, regions, result, rule);
    looks = allCorners(regions, result, values, rule, looks);
    findFeet(looks, regions, result, rule);
    confirmFeet(looks, rule);
    std::vector<HermiteSample> feet; // of one region
    for (size_t n = 0; n < looks.size(); ++n) {
        const size_t region = looks[n].region;
        feet.push_back(looks[n].foot);
        if (n + 1 < looks.size() && looks[n + 1].region == region)
            continue;
        result[region] = sheetsOf(regions[region].samples(), feet);
        feet.clear();
    }
    return result;
}

} // namespace corvane::mesh
