#include "ReferenceOperators.h"

#include <algorithm>
#include <array>
#include <complex>
#include <numbers>

using namespace Qt::StringLiterals;

namespace reference {

namespace {

constexpr double pi = std::numbers::pi;

/// The smaller of two, rounded off where they differ by less than `width`.
double softMinimum(double a, double b, double width)
{
    const double overlap = std::max(width - std::abs(a - b), 0.0) / width;
    return std::min(a, b) - overlap * overlap * width / 4;
}

/// The bevel is the plane through the two levels at `width` from the edge: a step along the
/// diagonal.
double bevelMinimum(double a, double b, double width)
{
    return std::min({a, b, (a + b - width) / std::numbers::sqrt2});
}

using Matrix = std::array<Vec3, 3>; ///< rows

Vec3 operator*(const Matrix &m, Vec3 v)
{
    return {dot(m[0], v), dot(m[1], v), dot(m[2], v)};
}

/// Where a point was before right-handed turns about z, then y, then x: its shares of where the
/// axes went.
Vec3 turnedBack(Vec3 degrees, Vec3 p)
{
    const auto turn = [](int axis, double angle, Vec3 v) {
        const double c = std::cos(angle * pi / 180), s = std::sin(angle * pi / 180);
        if (axis == 0)
            return Vec3{v.x, c * v.y - s * v.z, s * v.y + c * v.z};
        if (axis == 1)
            return Vec3{c * v.x + s * v.z, v.y, c * v.z - s * v.x};
        return Vec3{c * v.x - s * v.y, s * v.x + c * v.y, v.z};
    };
    const auto image = [&](Vec3 v) {
        return turn(0, degrees.x, turn(1, degrees.y, turn(2, degrees.z, v)));
    };
    return Matrix{image({1, 0, 0}), image({0, 1, 0}), image({0, 0, 1})} * p;
}

/// Of the copies at 0, 1 to `count` and -1 to -`count` steps: the point as the nearest of them sees
/// it.
double nearestCopy(double x, double step, int count)
{
    double best = x;
    for (int i = -count; i <= count; ++i) {
        if (std::abs(x - i * step) < std::abs(best))
            best = x - i * step;
    }
    return best;
}

/// The point of a plane turned by whole sectors until it lies nearest to the first axis.
std::complex<double> firstSector(std::complex<double> z, int count)
{
    std::complex<double> best = z;
    for (int i = 1; i < count; ++i) {
        const std::complex<double> turned = z * std::polar(1.0, 2 * pi * i / count);
        if (turned.real() > best.real())
            best = turned;
    }
    return best;
}

/// The hash of the value noise. In float, as the sine of a large number is what its rounding makes
/// it.
double latticeHash(Vec3 i)
{
    const float n = float(i.x + 57 * i.y + 113 * i.z);
    const float scattered = float(std::sin(double(n))) * 43758.5453f;
    return scattered - std::floor(scattered);
}

double valueNoise(Vec3 q)
{
    const Vec3 i{std::floor(q.x), std::floor(q.y), std::floor(q.z)};
    const auto weight = [](double f, bool far) {
        return far ? f * f * (3 - 2 * f) : 1 - f * f * (3 - 2 * f);
    };
    double sum = 0;
    for (int corner = 0; corner < 8; ++corner) {
        const bool x = (corner & 1) != 0, y = (corner & 2) != 0, z = (corner & 4) != 0;
        sum += weight(q.x - i.x, x) * weight(q.y - i.y, y) * weight(q.z - i.z, z) *
               latticeHash(i + Vec3{double(x), double(y), double(z)});
    }
    return sum;
}

Vec3 warped(Vec3 p, double amplitude, double frequency)
{
    const Vec3 q = p * frequency;
    const Vec3 noise{valueNoise(q + Vec3{0, 17, 31}), valueNoise(q + Vec3{73, 0, 59}),
                     valueNoise(q + Vec3{37, 91, 0})};
    return p + noise * amplitude;
}

/// A slab of half height `half` around y = 0, cut out of a field that knows nothing of y.
double capped(double d, double y, double half)
{
    const double w = std::abs(y) - half;
    return d > 0 && w > 0 ? std::hypot(d, w) : std::max(d, w);
}

double lofted(Vec3 p, double d, double half, double top)
{
    const double scale = std::lerp(1, top, std::clamp((p.y + half) / (2 * half), 0.0, 1.0));
    return capped(scale > 0.001 ? d / scale : std::abs(d) + 1e4, p.y, half);
}

/// The child, cut by a thin wire along an arc about +x in the xz plane.
double swept(Vec3 p, double d, double radius, double degrees)
{
    const double half = degrees / 2 * pi / 180;
    const double angle = std::clamp(std::atan2(p.z, p.x), -half, half);
    const Vec3 nearest{radius * std::cos(angle), 0, radius * std::sin(angle)};
    return std::max(d, length(p - nearest) - radius * 0.01);
}

} // namespace

QList<CombinerCase> combinerCases()
{
    const double k = 0.8;
    return {
        {u"union"_s, {}, {}, [](double a, double b) { return a < b ? a : b; }},
        {u"subtract"_s, {}, {}, [](double a, double b) { return -a > b ? -a : b; }},
        {u"intersect"_s, {}, {}, [](double a, double b) { return a > b ? a : b; }},
        {u"smooth_union"_s, {}, {k}, [=](double a, double b) { return softMinimum(a, b, k); }},
        {u"smooth_subtract"_s, {}, {k}, [=](double a, double b) { return -softMinimum(a, -b, k); }},
        {u"smooth_intersect"_s,
         {},
         {k},
         [=](double a, double b) { return -softMinimum(-a, -b, k); }},
        {u"additive_blend"_s, {}, {3}, [](double a, double b) { return 0.25 * a + 0.75 * b; }},
        {u"chamfer_union"_s, {}, {k}, [=](double a, double b) { return bevelMinimum(a, b, k); }},
        {u"chamfer_intersect"_s,
         {},
         {k},
         [=](double a, double b) { return -bevelMinimum(-a, -b, k); }},
        {u"xor"_s,
         {},
         {},
         [](double a, double b) {
             const double distance = std::min(std::abs(a), std::abs(b));
             return (a < 0) != (b < 0) ? -distance : distance;
         }},
    };
}

QList<TransformCase> transformCases()
{
    const auto repeatedAbout = [](int count, double radius, std::complex<double> z) {
        return firstSector(z, count) - radius;
    };
    return {
        {u"translate"_s,
         {},
         {3, -4, 5},
         [](Vec3 p) {
             return Vec3{p.x - 3, p.y + 4, p.z - 5};
         }},
        {u"rotate"_s,
         u"a quarter about x"_s,
         {90, 0, 0},
         [](Vec3 p) {
             return Vec3{p.x, p.z, -p.y};
         }},
        {u"rotate"_s,
         u"a quarter about y"_s,
         {0, 90, 0},
         [](Vec3 p) {
             return Vec3{-p.z, p.y, p.x};
         }},
        {u"rotate"_s,
         u"a quarter about z"_s,
         {0, 0, 90},
         [](Vec3 p) {
             return Vec3{p.y, -p.x, p.z};
         }},
        {u"rotate"_s,
         u"all three"_s,
         {20, -130, 75},
         [](Vec3 p) {
             return turnedBack({20, -130, 75}, p);
         }},
        {u"scale"_s, {}, {2.5}, [](Vec3 p) { return p * 0.4; }},
        {u"mirror"_s,
         u"x"_s,
         {1, 0, 0},
         [](Vec3 p) {
             return Vec3{std::abs(p.x), p.y, p.z};
         }},
        {u"mirror"_s,
         u"y and z"_s,
         {0, 1, 1},
         [](Vec3 p) {
             return Vec3{p.x, std::abs(p.y), std::abs(p.z)};
         }},
        {u"revolve"_s,
         {},
         {2},
         [](Vec3 p) {
             return Vec3{std::hypot(p.x, p.z) - 2, p.y, 0};
         }},
        {u"domain_warp"_s, {}, {0.5, 0.7}, [](Vec3 p) { return warped(p, 0.5, 0.7); }, 0.01},
        {u"domain_fold"_s,
         {},
         {6, 1.5},
         [](Vec3 p) {
             const std::complex<double> z = firstSector({p.x, p.z}, 6);
             return Vec3{z.real() - 1.5, p.y, std::abs(z.imag())};
         }},
        {u"twist"_s,
         {},
         {0.4},
         [](Vec3 p) {
             const std::complex<double> z = std::complex(p.x, p.z) * std::polar(1.0, 0.4 * p.y);
             return Vec3{z.real(), p.y, z.imag()};
         }},
        {u"bend"_s,
         {},
         {0.2},
         [](Vec3 p) {
             const std::complex<double> z = std::complex(p.x, p.y) * std::polar(1.0, 0.2 * p.x);
             return Vec3{z.real(), z.imag(), p.z};
         }},
        {u"taper"_s,
         {},
         {0.02},
         [](Vec3 p) {
             const double width = 1 - 0.02 * p.y;
             return Vec3{p.x / width, p.y, p.z / width};
         }},
        {u"linear_repeat"_s,
         u"x"_s,
         {4, 2, 0},
         [](Vec3 p) {
             return Vec3{nearestCopy(p.x, 4, 2), p.y, p.z};
         }},
        {u"linear_repeat"_s,
         u"y"_s,
         {3, 3, 1},
         [](Vec3 p) {
             return Vec3{p.x, nearestCopy(p.y, 3, 3), p.z};
         }},
        {u"linear_repeat"_s,
         u"z"_s,
         {3, 3, 2},
         [](Vec3 p) {
             return Vec3{p.x, p.y, nearestCopy(p.z, 3, 3)};
         }},
        {u"linear_repeat"_s, u"no copies"_s, {3, 0, 0}, [](Vec3 p) { return p; }},
        {u"radial_repeat"_s,
         u"x"_s,
         {5, 4, 0},
         [=](Vec3 p) {
             const auto z = repeatedAbout(5, 4, {p.y, p.z});
             return Vec3{p.x, z.real(), z.imag()};
         }},
        {u"radial_repeat"_s,
         u"y"_s,
         {6, 4, 1},
         [=](Vec3 p) {
             const auto z = repeatedAbout(6, 4, {p.x, p.z});
             return Vec3{z.real(), p.y, z.imag()};
         }},
        {u"radial_repeat"_s,
         u"z"_s,
         {7, 4, 2},
         [=](Vec3 p) {
             const auto z = repeatedAbout(7, 4, {p.x, p.y});
             return Vec3{z.real(), z.imag(), p.z};
         }},
        {u"grid_repeat"_s,
         {},
         {3, 4, 5},
         [](Vec3 p) {
             return Vec3{nearestCopy(p.x, 3, 20), nearestCopy(p.y, 4, 20), nearestCopy(p.z, 5, 20)};
         }},
    };
}

QList<ModifierCase> modifierCases()
{
    return {
        {u"round"_s, {}, {0.3}, [](Vec3, double d) { return d - 0.3; }},
        {u"onion"_s, {}, {0.2}, [](Vec3, double d) { return d < 0 ? -d - 0.2 : d - 0.2; }},
        {u"elongate"_s, {}, {2, 3, 6}, [](Vec3, double d) { return d - 7; }},
        {u"dilate"_s, {}, {0.4}, [](Vec3, double d) { return d - 0.4; }},
        {u"erode"_s, {}, {0.4}, [](Vec3, double d) { return d + 0.4; }},
        {u"closing"_s, {}, {0.4}, [](Vec3, double d) { return d; }},
        {u"opening"_s, {}, {0.4}, [](Vec3, double d) { return d; }},
        {u"extrude"_s, {}, {4}, [](Vec3 p, double d) { return capped(d, p.y, 4); }},
        {u"loft"_s, {}, {4, 0.5}, [](Vec3 p, double d) { return lofted(p, d, 4, 0.5); }},
        {u"loft"_s,
         u"to a point"_s,
         {4, 0},
         [](Vec3 p, double d) { return lofted(p, d, 4, 0); },
         2e-2},
        {u"noise_displacement"_s,
         {},
         {0.5, 0.7},
         [](Vec3 p, double d) { return d + 0.5 * (2 * valueNoise(p * 0.7) - 1); },
         0.01},
        {u"sweep"_s, u"an arc"_s, {5, 100}, [](Vec3 p, double d) { return swept(p, d, 5, 100); }},
        {u"sweep"_s,
         u"all round"_s,
         {5, 360},
         [](Vec3 p, double d) {
             const double out = std::sqrt(p.x * p.x + p.z * p.z) - 5;
             return d - length(p) + std::sqrt(out * out + p.y * p.y);
         }},
    };
}

} // namespace reference
