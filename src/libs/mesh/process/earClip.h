#pragma once

#include <array>
#include <functional>
#include <vector>

namespace mesh::process {

/// A corner of a polygon in its plane.
struct PolygonPoint
{
    double x = 0, y = 0;
    int id = 0; ///< of the vertex that it stands for; one that is there twice has one id
};

using Polygon = std::vector<PolygonPoint>;

/// What a triangulation may do, by ids.
struct ClipRules
{
    std::function<bool(int a, int b)> mayJoin;        ///< a new edge within the polygon
    std::function<bool(int a, int b, int c)> mayFill; ///< a triangle, counterclockwise
};

/// Cuts a polygon with holes up to one ring that runs to each hole and back (Eberly 2002), adding
/// the cuts to `joined`. The outer polygon runs counterclockwise, holes clockwise. Empty where a
/// hole cannot be reached.
Polygon bridgeHoles(const Polygon &outer, std::vector<Polygon> holes, const ClipRules &rules,
                    std::vector<std::array<int, 2>> &joined);

/// Triangulates a simple counterclockwise polygon, or one that bridgeHoles() made, by cutting off
/// one corner after another (Meisters 1975), best shaped first. Needs about n log n for n corners,
/// since only the corners in the cells of a grid around an ear are looked at, and an ear with a
/// corner in it waits for that corner.
/// @param budget  ears that may be cut off
/// @param joined  gets the new edges
/// @return the triangles; none when there is no ear to be cut any more
std::vector<std::array<int, 3>> earClip(const Polygon &polygon, const ClipRules &rules, int budget,
                                        std::vector<std::array<int, 2>> &joined);

} // namespace mesh::process
