// The tip of an acute solid is a narrow place: the cell that holds it may have no crossing on one
// of the three faces that meet there. But a straight crease that ends leaves the surface where it
// goes on: the field off its end is the distance to the sheet that cuts it, and the gradient is
// that sheet's normal. A bent crease leaves the surface too; what is taken for its end then is no
// corner, and the search for it finds nothing.

#include "CreaseEnds.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace corvane::mesh {

namespace {

constexpr float steps[] = {0.3f, 1.3f}; // beyond the box, in edge lengths
constexpr float offShare = 0.02f;       // of a crease that has ended from the surface, likewise
constexpr float middleShare = 0.5f;     // from a corner to the middle of its third sheet, likewise
constexpr float likeSheetCosine = 0.9f;

/// A point on the line of a crease.
struct Beyond
{
    const CreaseCandidate *crease = nullptr;
    QVector3D point;
    float distance = 0.0f; ///< by the field
};

// From a point in a box along a line to the box's wall.
float wayOut(const VertexRegion &box, const QVector3D &point, const QVector3D &direction)
{
    float way = std::numeric_limits<float>::max();
    for (int axis = 0; axis < 3; ++axis) {
        const float wall = direction[axis] > 0.0f ? box.high[axis] : box.low[axis];
        if (direction[axis] != 0.0f)
            way = std::min(way, std::max((wall - point[axis]) / direction[axis], 0.0f));
    }
    return way;
}

// Both ways along each crease.
std::vector<Beyond> pointsBeyond(std::span<const CreaseCandidate> creases, float edgeLength)
{
    std::vector<Beyond> points;
    for (const CreaseCandidate &crease : creases) {
        if (!crease.found || !crease.isInside || crease.isBlunt || crease.count != 2)
            continue;
        const QVector3D along =
            QVector3D::crossProduct(crease.sheets[0].normal, crease.sheets[1].normal).normalized();
        for (const QVector3D &direction : {along, -along}) {
            const float way = wayOut(*crease.region, crease.point, direction);
            for (const float step : steps)
                points.push_back(
                    {&crease, crease.point + direction * (way + step * edgeLength), 0.0f});
        }
    }
    return points;
}

std::vector<QVector3D> placesOf(std::span<const Beyond> points)
{
    std::vector<QVector3D> places;
    for (const Beyond &beyond : points)
        places.push_back(beyond.point);
    return places;
}

// On each way the first point that is off the surface.
void keepFirstOff(std::vector<Beyond> &points, const CrossingRule &rule)
{
    const std::vector<QVector3D> places = placesOf(points);
    std::vector<float> distances(places.size());
    rule.field(places, distances);
    std::vector<Beyond> kept;
    for (size_t first = 0; first < points.size(); first += std::size(steps)) {
        for (size_t n = first; n < first + std::size(steps); ++n) {
            points[n].distance = distances[n] - rule.iso;
            if (std::fabs(points[n].distance) >
                offShare * rule.edgeLength * points[n].crease->sheets[0].slope) {
                kept.push_back(points[n]);
                break;
            }
        }
    }
    points = std::move(kept);
}

// Adds the sheet to which a point off the end of a crease is nearest, if there is a corner. Where
// the crease comes out of the solid, the third face lies inside the other two; where it runs into
// the solid, outside.
bool addThird(CreaseCandidate &corner, const Beyond &beyond, const QVector3D &gradient,
              float edgeLength)
{
    const float slope = gradient.length();
    if (!(slope > 0.0f) || !std::isfinite(slope))
        return false;
    const QVector3D normal = gradient / slope;
    const auto &sheets = corner.sheets;
    for (size_t n = 0; n < 2; ++n) {
        if (QVector3D::dotProduct(sheets[n].normal, normal) > likeSheetCosine)
            return false;
    }
    const QVector3D foot = beyond.point - normal * (beyond.distance / slope);
    const std::array<TangentPlane, 3> planes{
        {{corner.point, sheets[0].normal}, {corner.point, sheets[1].normal}, {foot, normal}}};
    const auto tip = commonPoint(planes, corner.point);
    if (!tip)
        return false;
    QVector3D away = sheets[0].normal + sheets[1].normal;
    away -= normal * QVector3D::dotProduct(normal, away);
    away = away.normalized() * std::copysign(middleShare * edgeLength, -beyond.distance);
    corner.sheets[2] = {*tip + away, normal, slope};
    return true;
}

} // namespace

std::vector<CreaseCandidate> creaseEnds(std::span<const CreaseCandidate> creases,
                                        const CrossingRule &rule)
{
    std::vector<Beyond> points = pointsBeyond(creases, rule.edgeLength);
    keepFirstOff(points, rule);
    const std::vector<QVector3D> places = placesOf(points);
    std::vector<QVector3D> gradients(places.size());
    rule.gradient(places, gradients);
    std::vector<CreaseCandidate> corners;
    for (size_t n = 0; n < points.size(); ++n) {
        CreaseCandidate corner = *points[n].crease;
        corner.count = 3;
        corner.isEnd = true;
        corner.found = corner.isInside = false;
        if (addThird(corner, points[n], gradients[n], rule.edgeLength))
            corners.push_back(corner);
    }
    return corners;
}

} // namespace corvane::mesh
