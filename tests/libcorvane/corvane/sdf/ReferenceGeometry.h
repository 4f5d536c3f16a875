#pragma once

#include <cmath>
#include <functional>
#include <utility>
#include <vector>

/// Distances found by looking at every edge or face of a shape, in double: slow, simple, and in no
/// way akin to the closed forms that they judge.
namespace reference {

struct Vec2
{
    double x = 0, y = 0;
};

struct Vec3
{
    double x = 0, y = 0, z = 0;
};

inline Vec2 operator+(Vec2 a, Vec2 b)
{
    return {a.x + b.x, a.y + b.y};
}
inline Vec2 operator-(Vec2 a, Vec2 b)
{
    return {a.x - b.x, a.y - b.y};
}
inline Vec2 operator*(Vec2 a, double s)
{
    return {a.x * s, a.y * s};
}
inline double dot(Vec2 a, Vec2 b)
{
    return a.x * b.x + a.y * b.y;
}
inline double length(Vec2 a)
{
    return std::hypot(a.x, a.y);
}

inline Vec3 operator+(Vec3 a, Vec3 b)
{
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vec3 operator-(Vec3 a, Vec3 b)
{
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vec3 operator*(Vec3 a, double s)
{
    return {a.x * s, a.y * s, a.z * s};
}
inline double dot(Vec3 a, Vec3 b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline double length(Vec3 a)
{
    return std::hypot(a.x, a.y, a.z);
}
inline Vec3 cross(Vec3 a, Vec3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double distanceToSegment(Vec3 p, Vec3 a, Vec3 b);
double distanceToTriangle(Vec3 p, Vec3 a, Vec3 b, Vec3 c);

/// A plane figure of closed outlines; a point is inside when it is within an odd number of them.
class Outline
{
public:
    using Loop = std::vector<Vec2>;

    explicit Outline(std::vector<Loop> loops)
        : m_loops(std::move(loops))
    {}
    /// Negative inside.
    double signedDistance(Vec2 p) const;

private:
    std::vector<Loop> m_loops;
};

/// The hull of a few corners, by trying the plane through every three of them.
class ConvexHull
{
public:
    explicit ConvexHull(const std::vector<Vec3> &corners);
    /// Negative inside.
    double signedDistance(Vec3 p) const;

private:
    struct Face
    {
        Vec3 normal;            ///< unit length, outwards
        double offset = 0;      ///< of the plane along the normal
        std::vector<Vec3> ring; ///< the corners in their order around the face
    };

    bool hasFace(Vec3 normal, double offset) const;
    void addFace(Vec3 normal, double offset, const std::vector<Vec3> &corners);

    std::vector<Face> m_faces;
};

/// Points on a circle from one angle to another in radians, both ends included. So many that a
/// chord is off by less than a millionth of the radius.
Outline::Loop arc(Vec2 centre, double radius, double from, double to);
/// `half` runs from axis to axis on the side x >= 0; the other side is added as its mirror image.
Outline::Loop mirrored(Outline::Loop half);

/// The solid that an outline in (distance from the y axis, y) sweeps around the axis.
std::function<double(Vec3)> revolved(Outline outline);
/// The prism over an outline in (x, z), from y = -half to y = half.
std::function<double(Vec3)> extruded(Outline outline, double half);
/// A round wire of the given radius along a path.
std::function<double(Vec3)> tube(std::vector<Vec3> path, double radius);

} // namespace reference
