// Solids by their corners, outlines and wires.
#include "ReferenceShapes.h"

#include <algorithm>
#include <numbers>

using namespace Qt::StringLiterals;

namespace reference {

namespace {

constexpr double pi = std::numbers::pi;

/// All points with these coordinates up to sign.
std::vector<Vec3> signedCorners(Vec3 corner)
{
    std::vector<Vec3> corners;
    for (int i = 0; i < 8; ++i) {
        corners.push_back({(i & 1) != 0 ? -corner.x : corner.x, (i & 2) != 0 ? -corner.y : corner.y,
                           (i & 4) != 0 ? -corner.z : corner.z});
    }
    return corners;
}

void append(std::vector<Vec3> &corners, const std::vector<Vec3> &more)
{
    corners.insert(corners.end(), more.begin(), more.end());
}

std::function<double(Vec3)> hull(const std::vector<Vec3> &corners)
{
    return [hull = ConvexHull(corners)](Vec3 p) { return hull.signedDistance(p); };
}

std::function<double(Vec3)> inflated(std::function<double(Vec3)> field, double by)
{
    return [field = std::move(field), by](Vec3 p) { return field(p) - by; };
}

const double golden = std::numbers::phi;

/// Twelve corners at (0, 1, golden) and its turns; the faces of the dual solid look along them.
std::vector<Vec3> icosahedronCorners(double scale)
{
    std::vector<Vec3> corners = signedCorners({0, scale * golden, scale});
    append(corners, signedCorners({scale, 0, scale * golden}));
    append(corners, signedCorners({scale * golden, scale, 0}));
    return corners;
}

std::vector<Vec3> dodecahedronCorners(double scale)
{
    std::vector<Vec3> corners = signedCorners({scale, scale, scale});
    append(corners, signedCorners({0, scale / golden, scale * golden}));
    append(corners, signedCorners({scale / golden, scale * golden, 0}));
    append(corners, signedCorners({scale * golden, 0, scale / golden}));
    return corners;
}

std::vector<Vec3> circlePath(double radius, double from, double to)
{
    std::vector<Vec3> path;
    for (const Vec2 &v : arc({}, radius, from, to))
        path.push_back({v.x, 0, v.y});
    return path;
}

/// The oval that a link follows, in the xy plane.
std::vector<Vec3> ovalPath(double straight, double radius)
{
    std::vector<Vec3> path;
    for (const Vec2 &v : arc({0, straight}, radius, 0, pi))
        path.push_back({v.x, v.y, 0});
    for (const Vec2 &v : arc({0, -straight}, radius, pi, 2 * pi))
        path.push_back({v.x, v.y, 0});
    path.push_back(path.front());
    return path;
}

double boxFrame(Vec3 p, const Vec3 half, double width)
{
    double distance = 1e9;
    for (int axis = 0; axis < 3; ++axis) {
        for (int corner = 0; corner < 4; ++corner) {
            Vec3 size = {width / 2, width / 2, width / 2};
            Vec3 centre = half - size;
            (axis == 0   ? size.x
             : axis == 1 ? size.y
                         : size.z) = axis == 0   ? half.x
                                     : axis == 1 ? half.y
                                                 : half.z;
            const double s = (corner & 1) != 0 ? 1 : -1, t = (corner & 2) != 0 ? 1 : -1;
            centre = axis == 0   ? Vec3{0, s * centre.y, t * centre.z}
                     : axis == 1 ? Vec3{s * centre.x, 0, t * centre.z}
                                 : Vec3{s * centre.x, t * centre.y, 0};
            const Vec3 q = p - centre;
            const double dx = std::abs(q.x) - size.x, dy = std::abs(q.y) - size.y,
                         dz = std::abs(q.z) - size.z;
            const double outside =
                length(Vec3{std::max(dx, 0.0), std::max(dy, 0.0), std::max(dz, 0.0)});
            distance = std::min(distance, outside > 0 ? outside : std::max({dx, dy, dz}));
        }
    }
    return distance;
}

/// The outline of two balls and their common tangent, from the lower pole to the upper one.
Outline::Loop roundConeHalf(double lower, double upper, double half)
{
    const double tilt = std::asin((lower - upper) / (2 * half));
    Outline::Loop points = arc({0, -half}, lower, -pi / 2, tilt);
    const Outline::Loop top = arc({0, half}, upper, tilt, pi / 2);
    points.insert(points.end(), top.begin(), top.end());
    return points;
}

Outline::Loop spindleHalf(double radius, double offset)
{
    const double tip = std::acos(offset / radius);
    return arc({-offset, 0}, radius, -tip, tip);
}

Outline::Loop domeHalf(double radius, double cut)
{
    Outline::Loop points{{0, cut}};
    const Outline::Loop dome = arc({}, radius, std::asin(cut / radius), pi / 2);
    points.insert(points.end(), dome.begin(), dome.end());
    return points;
}

Outline::Loop sectorHalf(double degrees, double radius)
{
    Outline::Loop points{{0, 0}};
    const Outline::Loop cap = arc({}, radius, pi / 2 - degrees * pi / 180, pi / 2);
    points.insert(points.end(), cap.begin(), cap.end());
    return points;
}

/// The smallest distance to a fine net of points on the surface, refined where it is smallest.
double ellipsoid(Vec3 p, Vec3 r)
{
    const auto at = [&](double u, double v) {
        return length(p - Vec3{r.x * std::cos(u) * std::cos(v), r.y * std::sin(v),
                               r.z * std::sin(u) * std::cos(v)});
    };
    double bestU = 0, bestV = 0, step = pi / 48;
    for (int i = 0; i < 96; ++i) {
        for (int j = -24; j <= 24; ++j) {
            if (at(i * step, j * step) < at(bestU, bestV)) {
                bestU = i * step;
                bestV = j * step;
            }
        }
    }
    for (; step > 1e-7; step *= 0.7) {
        const double u = bestU, v = bestV;
        for (int i = -2; i <= 2; ++i) {
            for (int j = -2; j <= 2; ++j) {
                if (at(u + i * step, v + j * step) < at(bestU, bestV)) {
                    bestU = u + i * step;
                    bestV = v + j * step;
                }
            }
        }
    }
    const bool inside = p.x * p.x / r.x / r.x + p.y * p.y / r.y / r.y + p.z * p.z / r.z / r.z < 1;
    return inside ? -at(bestU, bestV) : at(bestU, bestV);
}

QList<PrimitiveCase> basicCases()
{
    const auto cone = [](double r, double h) {
        return revolved(Outline({mirrored({{0, -h}, {r, -h}, {0, h}})}));
    };
    const auto pyramid = [](double w, double h) {
        return hull({{w, -h, w}, {-w, -h, w}, {w, -h, -w}, {-w, -h, -w}, {0, h, 0}});
    };
    const auto prism = [](double r, double h) {
        Outline::Loop ring;
        for (int i = 0; i < 6; ++i)
            ring.push_back({r / std::cos(pi / 6) * std::cos(i * pi / 3),
                            r / std::cos(pi / 6) * std::sin(i * pi / 3)});
        return extruded(Outline({ring}), h);
    };
    return {
        {u"sphere"_s, {}, {7}, Promise::Exact, 25, tube({{}}, 7)},
        {u"box"_s, {}, {10, 6, 3}, Promise::Exact, 25, hull(signedCorners({10, 6, 3}))},
        {u"round_box"_s,
         {},
         {10, 6, 4, 1.5},
         Promise::Exact,
         25,
         inflated(hull(signedCorners({8.5, 4.5, 2.5})), 1.5)},
        {u"round_box"_s,
         u"rounder than thick"_s,
         {10, 6, 4, 9},
         Promise::Exact,
         25,
         inflated(hull({{6, 2, 0}, {6, -2, 0}, {-6, 2, 0}, {-6, -2, 0}}), 4)},
        {u"torus"_s, {}, {9, 2}, Promise::Exact, 25, tube(circlePath(9, 0, 2 * pi), 2)},
        {u"cylinder"_s,
         {},
         {5, 9},
         Promise::Exact,
         25,
         revolved(Outline({mirrored({{0, -9}, {5, -9}, {5, 9}, {0, 9}})}))},
        {u"cone"_s, u"tall"_s, {4, 9}, Promise::Exact, 25, cone(4, 9)},
        {u"cone"_s, u"flat"_s, {12, 2}, Promise::Exact, 25, cone(12, 2)},
        {u"plane"_s,
         {},
         {1, 2, -2, 3},
         Promise::Exact,
         25,
         [](Vec3 p) { return (p.x + 2 * p.y - 2 * p.z) / 3 - 3; }},
        {u"plane"_s,
         u"no direction"_s,
         {0, 0, 0, 3},
         Promise::Exact,
         25,
         [](Vec3 p) { return p.y - 3; }},
        {u"capsule"_s, {}, {3, 6}, Promise::Exact, 25, tube({{0, -6, 0}, {0, 6, 0}}, 3)},
        {u"hexagonal_prism"_s, {}, {8, 5}, Promise::Exact, 25, prism(8, 5)},
        {u"pyramid"_s, u"tall"_s, {5, 8}, Promise::Exact, 25, pyramid(5, 8)},
        {u"pyramid"_s, u"flat"_s, {11, 2}, Promise::Exact, 25, pyramid(11, 2)},
    };
}

QList<PrimitiveCase> roundCases()
{
    const auto roundCone = [](double a, double b, double h) {
        return revolved(Outline({mirrored(roundConeHalf(a, b, h))}));
    };
    const auto spindle = [](double r, double c) {
        return revolved(Outline({mirrored(spindleHalf(r, c))}));
    };
    const auto dome = [](double r, double c) {
        return revolved(Outline({mirrored(domeHalf(r, c))}));
    };
    const auto sector = [](double a, double r) {
        return revolved(Outline({mirrored(sectorHalf(a, r))}));
    };
    return {
        {u"ellipsoid"_s,
         {},
         {10, 6, 3},
         Promise::Bound,
         20,
         [](Vec3 p) {
             return ellipsoid(p, {10, 6, 3});
         },
         1.6},
        {u"ellipsoid"_s, u"a ball"_s, {7, 7, 7}, Promise::Exact, 25, tube({{}}, 7)},
        {u"pipe"_s,
         {},
         {8, 1.5, 6},
         Promise::Exact,
         25,
         revolved(Outline({{{6.5, -6}, {8, -6}, {8, 6}, {6.5, 6}}}))},
        {u"pipe"_s,
         u"no hole"_s,
         {8, 9, 6},
         Promise::Exact,
         25,
         revolved(Outline({mirrored({{0, -6}, {8, -6}, {8, 6}, {0, 6}})}))},
        {u"capped_torus"_s,
         u"less than half"_s,
         {9, 2, 100},
         Promise::Exact,
         25,
         tube(circlePath(9, -pi * 50 / 180, pi * 50 / 180), 2)},
        {u"capped_torus"_s,
         u"more than half"_s,
         {9, 2, 300},
         Promise::Exact,
         25,
         tube(circlePath(9, -pi * 150 / 180, pi * 150 / 180), 2)},
        {u"capped_torus"_s,
         u"whole"_s,
         {9, 2, 360},
         Promise::Exact,
         25,
         tube(circlePath(9, 0, 2 * pi), 2)},
        {u"link"_s, {}, {5, 4, 1.5}, Promise::Exact, 25, tube(ovalPath(5, 4), 1.5)},
        {u"vesica"_s, u"slender"_s, {10, 7}, Promise::Exact, 25, spindle(10, 7)},
        {u"vesica"_s, u"nearly a ball"_s, {10, 0.5}, Promise::Exact, 25, spindle(10, 0.5)},
        {u"cut_sphere"_s, u"above the middle"_s, {10, 4}, Promise::Exact, 25, dome(10, 4)},
        {u"cut_sphere"_s, u"below the middle"_s, {10, -6}, Promise::Exact, 25, dome(10, -6)},
        {u"round_cone"_s, {}, {6, 2, 6}, Promise::Exact, 25, roundCone(6, 2, 6)},
        {u"round_cone"_s, u"upside down"_s, {2, 5, 4}, Promise::Exact, 25, roundCone(2, 5, 4)},
        {u"round_cone"_s,
         u"one ball in the other"_s,
         {9, 2, 3},
         Promise::Exact,
         25,
         tube({{0, -3, 0}}, 9)},
        {u"solid_angle"_s, u"sharp"_s, {30, 12}, Promise::Exact, 25, sector(30, 12)},
        {u"solid_angle"_s, u"blunt"_s, {130, 12}, Promise::Exact, 25, sector(130, 12)},
        {u"solid_angle"_s, u"whole"_s, {180, 12}, Promise::Exact, 25, tube({{}}, 12)},
    };
}

QList<PrimitiveCase> facetedCases()
{
    const double toFace =
        golden * golden / std::sqrt(3.0); // icosahedron with corners at (0, 1, golden)
    const double toPentagon =
        golden * golden / std::sqrt(golden + 2); // dodecahedron with corners at (1, 1, 1)
    std::vector<Vec3> octahedron = {{9, 0, 0},  {-9, 0, 0}, {0, 9, 0},
                                    {0, -9, 0}, {0, 0, 9},  {0, 0, -9}};
    const double w = 9, d = 5, r = 1.5, h = 3;
    const Outline diamond({{{w, 0}, {0, d}, {-w, 0}, {0, -d}}});
    const auto rhombus = [=](Vec3 p) {
        const double side = diamond.signedDistance({p.x, p.z}) - r, cap = std::abs(p.y) - h;
        return side > 0 && cap > 0 ? std::hypot(side, cap) : std::max(side, cap);
    };
    return {
        {u"octahedron"_s, {}, {9}, Promise::Exact, 25, hull(octahedron)},
        {u"tetrahedron"_s,
         {},
         {8},
         Promise::Exact,
         25,
         hull({{8, 8, 8}, {8, -8, -8}, {-8, 8, -8}, {-8, -8, 8}})},
        {u"dodecahedron"_s, {}, {8}, Promise::Exact, 25, hull(dodecahedronCorners(8 / toPentagon))},
        {u"icosahedron"_s, {}, {8}, Promise::Exact, 25, hull(icosahedronCorners(8 / toFace))},
        {u"box_frame"_s,
         {},
         {10, 7, 5, 1.5},
         Promise::Exact,
         25,
         [](Vec3 p) {
             return boxFrame(p, {10, 7, 5}, 1.5);
         }},
        {u"rhombus"_s, {}, {w, d, h, r}, Promise::Exact, 25, rhombus},
    };
}

} // namespace

QList<PrimitiveCase> solidCases()
{
    return basicCases() + roundCases() + facetedCases();
}

} // namespace reference
