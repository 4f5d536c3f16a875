#include "ReferenceGeometry.h"

#include <algorithm>
#include <limits>
#include <numbers>

namespace reference {

namespace {

constexpr double infinite = std::numeric_limits<double>::infinity();

double distanceToEdge(Vec2 p, Vec2 a, Vec2 b)
{
    const Vec2 along = b - a;
    const double square = dot(along, along);
    const double t = square > 0 ? std::clamp(dot(p - a, along) / square, 0.0, 1.0) : 0.0;
    return length(p - a - along * t);
}

} // namespace

double distanceToSegment(Vec3 p, Vec3 a, Vec3 b)
{
    const Vec3 along = b - a;
    const double square = dot(along, along);
    const double t = square > 0 ? std::clamp(dot(p - a, along) / square, 0.0, 1.0) : 0.0;
    return length(p - a - along * t);
}

double distanceToTriangle(Vec3 p, Vec3 a, Vec3 b, Vec3 c)
{
    const Vec3 normal = cross(b - a, c - a);
    const bool above = dot(cross(b - a, normal), p - a) <= 0 &&
                       dot(cross(c - b, normal), p - b) <= 0 &&
                       dot(cross(a - c, normal), p - c) <= 0;
    if (above)
        return std::abs(dot(p - a, normal)) / length(normal);
    return std::min(
        {distanceToSegment(p, a, b), distanceToSegment(p, b, c), distanceToSegment(p, c, a)});
}

double Outline::signedDistance(Vec2 p) const
{
    double distance = infinite;
    bool inside = false;
    for (const Loop &loop : m_loops) {
        for (std::size_t i = 0, j = loop.size() - 1; i < loop.size(); j = i++) {
            const Vec2 a = loop[i], b = loop[j];
            distance = std::min(distance, distanceToEdge(p, a, b));
            if ((a.y > p.y) != (b.y > p.y) && p.x < a.x + (b.x - a.x) * (p.y - a.y) / (b.y - a.y))
                inside = !inside;
        }
    }
    return inside ? -distance : distance;
}

ConvexHull::ConvexHull(const std::vector<Vec3> &corners)
{
    for (const Vec3 &a : corners) {
        for (const Vec3 &b : corners) {
            for (const Vec3 &c : corners) {
                const Vec3 across = cross(b - a, c - a);
                if (length(across) < 1e-9)
                    continue;
                const Vec3 normal = across * (1 / length(across));
                const double offset = dot(normal, a);
                const bool supports = std::ranges::all_of(
                    corners, [&](Vec3 v) { return dot(normal, v) < offset + 1e-6; });
                if (supports && !hasFace(normal, offset))
                    addFace(normal, offset, corners);
            }
        }
    }
}

bool ConvexHull::hasFace(Vec3 normal, double offset) const
{
    return std::ranges::any_of(m_faces, [&](const Face &face) {
        return dot(face.normal, normal) > 1 - 1e-9 && std::abs(face.offset - offset) < 1e-6;
    });
}

void ConvexHull::addFace(Vec3 normal, double offset, const std::vector<Vec3> &corners)
{
    Face face{.normal = normal, .offset = offset, .ring = {}};
    Vec3 middle;
    for (const Vec3 &v : corners) {
        if (dot(normal, v) > offset - 1e-6) {
            face.ring.push_back(v);
            middle = middle + v;
        }
    }
    middle = middle * (1.0 / double(face.ring.size()));
    const Vec3 u = face.ring.front() - middle;
    const Vec3 w = cross(normal, u);
    std::ranges::sort(face.ring, {},
                      [&](Vec3 v) { return std::atan2(dot(v - middle, w), dot(v - middle, u)); });
    m_faces.push_back(face);
}

double ConvexHull::signedDistance(Vec3 p) const
{
    double distance = infinite;
    bool inside = true;
    for (const Face &face : m_faces) {
        inside = inside && dot(face.normal, p) < face.offset;
        for (std::size_t i = 2; i < face.ring.size(); ++i)
            distance = std::min(
                distance, distanceToTriangle(p, face.ring[0], face.ring[i - 1], face.ring[i]));
    }
    return inside ? -distance : distance;
}

Outline::Loop arc(Vec2 centre, double radius, double from, double to)
{
    const int steps =
        std::max(1, int(std::ceil(std::abs(to - from) * 1500 / (2 * std::numbers::pi))));
    Outline::Loop points;
    for (int i = 0; i <= steps; ++i) {
        const double angle = from + (to - from) * i / steps;
        points.push_back(
            {centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle)});
    }
    return points;
}

Outline::Loop mirrored(Outline::Loop half)
{
    const std::size_t count = half.size();
    for (std::size_t i = count; i-- > 0;)
        half.push_back({-half[i].x, half[i].y});
    return half;
}

std::function<double(Vec3)> revolved(Outline outline)
{
    return [outline = std::move(outline)](Vec3 p) {
        return outline.signedDistance({std::hypot(p.x, p.z), p.y});
    };
}

std::function<double(Vec3)> extruded(Outline outline, double half)
{
    return [outline = std::move(outline), half](Vec3 p) {
        const double side = outline.signedDistance({p.x, p.z});
        const double cap = std::abs(p.y) - half;
        if (side > 0 && cap > 0)
            return std::hypot(side, cap);
        return std::max(side, cap);
    };
}

std::function<double(Vec3)> tube(std::vector<Vec3> path, double radius)
{
    return [path = std::move(path), radius](Vec3 p) {
        double distance = length(p - path.front());
        for (std::size_t i = 1; i < path.size(); ++i)
            distance = std::min(distance, distanceToSegment(p, path[i - 1], path[i]));
        return distance - radius;
    };
}

} // namespace reference
