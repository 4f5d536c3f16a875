// Gears and threads from the curves that cut them, wing sections from their published ordinates.
#include "ReferenceShapes.h"

#include <algorithm>
#include <array>
#include <numbers>

using namespace Qt::StringLiterals;

namespace reference {

namespace {

constexpr double pi = std::numbers::pi;

struct Gear
{
    double pitchDiameter = 20;
    int teeth = 16;
    double pressureAngle = 20;
    double thickness = 5;
    double bore = 4;
};

/// One flank as (radius, angle from the middle of the tooth), from the root to the tip: the path of
/// the end of a string that is unwound from the base circle.
std::vector<Vec2> gearFlank(const Gear &gear)
{
    const double pitch = gear.pitchDiameter / 2, module = gear.pitchDiameter / gear.teeth;
    const double tip = pitch + module, root = pitch - 1.2 * module;
    const double pressure = gear.pressureAngle * pi / 180, base = pitch * std::cos(pressure);
    const double foot = pi / (2 * gear.teeth) + std::tan(pressure) - pressure;
    std::vector<Vec2> flank;
    if (root < base)
        flank.push_back({root, foot});
    const double from = root < base ? 0 : std::sqrt(root * root / base / base - 1);
    const double to = std::sqrt(tip * tip / base / base - 1);
    const int steps = 20 + 3000 / gear.teeth;
    for (int i = 0; i <= steps; ++i) {
        const double t = from + (to - from) * i / steps;
        const Vec2 end{std::cos(t) + t * std::sin(t), std::sin(t) - t * std::cos(t)};
        const double angle = foot - std::atan2(end.y, end.x);
        const Vec2 next{base * length(end), angle};
        if (angle < 0) { // the two flanks have met in a point
            const Vec2 last = flank.back();
            flank.push_back(last + (next - last) * (last.y / (last.y - angle)));
            break;
        }
        flank.push_back(next);
    }
    return flank;
}

std::function<double(Vec3)> gear(const Gear &gear)
{
    const std::vector<Vec2> flank = gearFlank(gear);
    Outline::Loop rim;
    const auto add = [&rim](double radius, double from, double to) {
        const Outline::Loop points = arc({}, radius, from, to);
        rim.insert(rim.end(), points.begin(), points.end());
    };
    for (int tooth = 0; tooth < gear.teeth; ++tooth) {
        const double middle = 2 * pi * tooth / gear.teeth, next = 2 * pi * (tooth + 1) / gear.teeth;
        for (const Vec2 &v : flank)
            add(v.x, middle - v.y, middle - v.y);
        add(flank.back().x, middle - flank.back().y, middle + flank.back().y);
        for (auto v = flank.rbegin(); v != flank.rend(); ++v)
            add(v->x, middle + v->y, middle + v->y);
        add(flank.front().x, middle + flank.front().y, next - flank.front().y);
    }
    std::vector<Outline::Loop> loops{rim};
    if (gear.bore > 0)
        loops.push_back(arc({}, gear.bore / 2, 0, 2 * pi));
    return extruded(Outline(loops), gear.thickness / 2);
}

struct Thread
{
    double radius = 5;
    double pitch = 1.5;
    int starts = 1;
    double length = 40;
    double flankAngle = 60; ///< between the two flanks
    double flat = 0;        ///< width of the crest
    double depth = 1e9;     ///< at most: the groove ends in a core
};

/// How far a point lies outside of the thread along the radius, or of the ends along the axis:
/// right in its sign.
double threadSide(Vec3 p, const Thread &thread)
{
    // A right-handed crest climbs while it turns from +x towards -z, as a right hand about +y does.
    const double turn = std::atan2(-p.z, p.x) / (2 * pi);
    const double crests = p.y / thread.pitch - thread.starts * turn;
    const double offset = thread.pitch * std::abs(crests - std::round(crests));
    const double depth =
        std::max(offset - thread.flat / 2, 0.0) / std::tan(thread.flankAngle / 2 * pi / 180);
    const double surface = thread.radius - std::min(depth, thread.depth);
    return std::max(std::hypot(p.x, p.z) - surface, std::abs(p.y) - thread.length / 2);
}

Thread acme(double diameter, double pitch, int starts)
{
    // Tooth and groove are equally wide half way up the tooth, which is half a pitch high.
    return {.radius = diameter / 2,
            .pitch = pitch,
            .starts = starts,
            .length = 20,
            .flankAngle = 29,
            .flat = pitch / 2 - pitch / 2 * std::tan(14.5 * pi / 180),
            .depth = std::min(pitch / 2, 0.4 * diameter)};
}

PrimitiveCase threadCase(const QString &variant, double diameter, double pitch, double angle)
{
    const Thread thread{.radius = diameter / 2,
                        .pitch = pitch,
                        .length = 20,
                        .flankAngle = angle,
                        .depth = 0.4 * diameter};
    return {u"threaded_rod"_s,
            variant,
            {diameter, pitch, 20, angle},
            Promise::Sign,
            12,
            [=](Vec3 p) { return threadSide(p, thread); },
            1.1};
}

PrimitiveCase acmeCase(const QString &variant, double diameter, double pitch, int starts)
{
    return {u"acme_threaded_rod"_s,
            variant,
            {diameter, pitch, 20, double(starts)},
            Promise::Sign,
            12,
            [thread = acme(diameter, pitch, starts)](Vec3 p) { return threadSide(p, thread); },
            1.1};
}

PrimitiveCase gearCase(const QString &variant, const Gear &g)
{
    return {u"involute_gear"_s,
            variant,
            {g.pitchDiameter, double(g.teeth), g.pressureAngle, g.thickness, g.bore},
            Promise::Bound,
            g.pitchDiameter * 0.8,
            gear(g)};
}

/// Half thickness and height of the camber line at a place along the chord, as parts of the chord.
using Section = std::function<std::pair<double, double>(double)>;

/// The distance as wing sections state it: vertical, with the chord and the span as the sides of a
/// box.
PrimitiveCase wing(const QString &id, const QString &variant, const QList<double> &shape,
                   const Section &section)
{
    const double chord = 40, span = 30;
    const auto boxed = [](double a, double b) {
        return a > 0 && b > 0 ? std::hypot(a, b) : std::max(a, b);
    };
    return {id,
            variant,
            QList<double>{chord, span} + shape,
            Promise::Formula,
            60,
            [=](Vec3 p) {
                const double x = p.x / chord, y = p.y / chord;
                const auto [half, camber] = section(std::clamp(x, 0.0, 1.0));
                const double across = std::max(y - camber - half, camber - half - y);
                return boxed(chord * boxed(across, std::max(-x, x - 1)), std::abs(p.z) - span / 2);
            },
            0};
}

double nacaHalf(double x, double t)
{
    return t / 0.2 *
           (0.2969 * std::sqrt(x) - 0.126 * x - 0.3516 * std::pow(x, 2) + 0.2843 * std::pow(x, 3) -
            0.1015 * std::pow(x, 4));
}

Section naca4(double m, double at, double t)
{
    return [=](double x) {
        const double rest = x < at ? at : 1 - at;
        // Two parabolas that meet, level, at the highest point.
        return std::pair(nacaHalf(x, t), m * (1 - std::pow((x - at) / rest, 2)));
    };
}

/// A camber line with the given slope of its third derivative: k1 in front of r, k2 behind it, 0 at
/// both ends.
Section naca5(double r, double k1, double k2, double t)
{
    const auto raw = [=](double x) {
        const double front = x < r ? k1 : k2;
        return front / 6 * std::pow(x - r, 3);
    };
    return [=](double x) {
        return std::pair(nacaHalf(x, t), raw(x) - raw(0) + (raw(0) - raw(1)) * x);
    };
}

Section cst(std::array<double, 3> upper, std::array<double, 3> lower)
{
    return [=](double x) {
        const auto side = [x](const std::array<double, 3> &b) {
            // Repeated interpolation between the weights instead of their Bernstein polynomials.
            const double left = std::lerp(b[0], b[1], x), right = std::lerp(b[1], b[2], x);
            return std::sqrt(x) * (1 - x) * std::lerp(left, right, x);
        };
        return std::pair((side(upper) - side(lower)) / 2, (side(upper) + side(lower)) / 2);
    };
}

/// The six coefficients of x^(i - 1/2), the last five by elimination with pivots.
std::array<double, 6> parsecCoefficients(double noseRadius, double at, double height,
                                         double curvature, double angle)
{
    const double a1 = std::sqrt(2 * noseRadius);
    std::array<std::array<double, 6>, 5> rows{};
    const std::array<double, 5> right{height, 0, curvature, 0, -std::tan(angle * pi / 180)};
    const std::array<std::pair<double, int>, 5> conditions{
        {{at, 0}, {at, 1}, {at, 2}, {1, 0}, {1, 1}}};
    for (int row = 0; row < 5; ++row) {
        const auto [x, derivative] = conditions[row];
        for (int i = 0; i < 6; ++i) {
            const double e = i + 0.5;
            const double factor = derivative == 0 ? 1 : derivative == 1 ? e : e * (e - 1);
            const double term = factor * std::pow(x, e - derivative);
            if (i == 0)
                rows[row][5] = right[row] - a1 * term;
            else
                rows[row][i - 1] = term;
        }
    }
    for (int c = 0; c < 5; ++c) {
        std::swap(rows[c], *std::max_element(rows.begin() + c, rows.end(),
                                             [c](const auto &a, const auto &b) {
                                                 return std::abs(a[c]) < std::abs(b[c]);
                                             }));
        for (int r = 0; r < 5; ++r) {
            const double factor = r == c ? 0 : rows[r][c] / rows[c][c];
            for (int k = c; k < 6; ++k)
                rows[r][k] -= factor * rows[c][k];
        }
    }
    std::array<double, 6> result{a1};
    for (int i = 0; i < 5; ++i)
        result[i + 1] = rows[i][5] / rows[i][i];
    return result;
}

PrimitiveCase parsecCase(const QString &variant, double nose, double at, double height,
                         double curvature, double angle)
{
    const std::array<double, 6> a = parsecCoefficients(nose, at, height, curvature, angle);
    return wing(u"parsec_airfoil"_s, variant, {nose, at, height, curvature, angle}, [a](double x) {
        double y = 0;
        for (int i = 0; i < 6; ++i)
            y += a[i] * std::pow(x, i + 0.5);
        return std::pair(y, 0.0);
    });
}

} // namespace

QList<PrimitiveCase> mechanicalCases()
{
    return {
        gearCase(u"as it comes"_s, {}),
        gearCase(u"few teeth, cut under the base circle"_s,
                 {.pitchDiameter = 30, .teeth = 6, .thickness = 8, .bore = 0}),
        gearCase(u"many teeth"_s, {.pitchDiameter = 40, .teeth = 60, .bore = 10}),
        gearCase(u"pointed teeth"_s, {.pitchDiameter = 20, .teeth = 9, .pressureAngle = 34}),
        threadCase(u"metric"_s, 10, 1.5, 60),
        threadCase(u"coarse"_s, 6, 4, 90),
        threadCase(u"grooves to the axis"_s, 6, 5, 30),
        acmeCase(u"one start"_s, 12, 3, 1),
        acmeCase(u"four starts"_s, 12, 3, 4),
        acmeCase(u"coarse"_s, 6, 9, 2),
    };
}

QList<PrimitiveCase> aerospaceCases()
{
    const QString four = u"naca_4series_airfoil"_s, five = u"naca_5series_airfoil"_s,
                  shape = u"cst_airfoil"_s;
    return {
        wing(four, u"symmetric"_s, {0, 0.4, 0.12}, naca4(0, 0.4, 0.12)),
        wing(four, u"cambered"_s, {0.04, 0.4, 0.15}, naca4(0.04, 0.4, 0.15)),
        wing(five, u"23012"_s, {0.3, 0.15, 0.12, 0}, naca5(0.2025, 15.957, 0, 0.12)),
        wing(five, u"twice the lift, camber at 5 %"_s, {0.6, 0.05, 0.12, 0},
             naca5(0.058, 2 * 361.4, 0, 0.12)),
        wing(five, u"camber at 10 %"_s, {0.3, 0.1, 0.12, 0}, naca5(0.126, 51.65, 0, 0.12)),
        wing(five, u"camber at 20 %"_s, {0.3, 0.2, 0.12, 0}, naca5(0.29, 6.643, 0, 0.12)),
        wing(five, u"camber at 25 %"_s, {0.3, 0.25, 0.12, 0}, naca5(0.391, 3.23, 0, 0.12)),
        wing(five, u"reflexed, 10 %"_s, {0.3, 0.1, 0.12, 1},
             naca5(0.13, 51.99, 51.99 * 0.000764, 0.12)),
        wing(five, u"reflexed, 15 %"_s, {0.3, 0.15, 0.12, 1},
             naca5(0.217, 15.793, 15.793 * 0.00677, 0.12)),
        wing(five, u"reflexed, 20 %"_s, {0.3, 0.2, 0.12, 1},
             naca5(0.318, 6.52, 6.52 * 0.0303, 0.12)),
        wing(five, u"reflexed, 25 %"_s, {0.3, 0.25, 0.12, 1},
             naca5(0.441, 3.191, 3.191 * 0.1355, 0.12)),
        wing(shape, u"symmetric"_s, {.17, .17, .17, -.17, -.17, -.17},
             cst({.17, .17, .17}, {-.17, -.17, -.17})),
        wing(shape, u"cambered"_s, {.2, .3, .1, -.1, .05, -.02},
             cst({.2, .3, .1}, {-.1, .05, -.02})),
        parsecCase(u"as it comes"_s, 0.0158, 0.3, 0.06, -0.45, 10),
        parsecCase(u"thick and far back"_s, 0.04, 0.6, 0.12, -1.2, 20),
    };
}

QList<PrimitiveCase> fieldCases()
{
    return {
        {u"linear_gradient"_s,
         {},
         {2, -1, 2, 4},
         Promise::Exact,
         25,
         [](Vec3 p) { return (2 * p.x - p.y + 2 * p.z) / 3 - 4; }},
        {u"linear_gradient"_s,
         u"no direction"_s,
         {0, 0, 0, 4},
         Promise::Exact,
         25,
         [](Vec3 p) { return p.y - 4; }},
        {u"radial_gradient"_s, {}, {3, -4, 5, 6}, Promise::Exact, 25, tube({{3, -4, 5}}, 6)},
    };
}

} // namespace reference
