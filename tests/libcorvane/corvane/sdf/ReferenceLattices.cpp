// Lattices by every strut and wall of the cells around a point, surfaces by their products of
// waves.
#include "ReferenceShapes.h"

#include <algorithm>
#include <numbers>

using namespace Qt::StringLiterals;

namespace reference {

namespace {

struct Strut
{
    Vec3 from, to;
};

/// The struts of one cell of side 1 about the origin, repeated, as a wire of the given radius.
std::function<double(Vec3)> repeated(std::vector<Strut> struts, double cell, double radius)
{
    return [struts = std::move(struts), cell, radius](Vec3 p) {
        const Vec3 home{std::round(p.x / cell), std::round(p.y / cell), std::round(p.z / cell)};
        double distance = 1e9;
        for (int i = -1; i <= 1; ++i) {
            for (int j = -1; j <= 1; ++j) {
                for (int k = -1; k <= 1; ++k) {
                    const Vec3 origin = home + Vec3{double(i), double(j), double(k)};
                    for (const Strut &strut : struts) {
                        distance =
                            std::min(distance, distanceToSegment(p, (origin + strut.from) * cell,
                                                                 (origin + strut.to) * cell));
                    }
                }
            }
        }
        return distance - radius;
    };
}

/// All pairs of these points that lie at the given distance.
void connect(std::vector<Strut> &struts, const std::vector<Vec3> &points, double distance)
{
    for (std::size_t i = 0; i < points.size(); ++i) {
        for (std::size_t j = i + 1; j < points.size(); ++j) {
            if (std::abs(length(points[i] - points[j]) - distance) < 1e-9)
                struts.push_back({points[i], points[j]});
        }
    }
}

std::vector<Vec3> cubeCorners()
{
    std::vector<Vec3> points;
    for (int i = 0; i < 8; ++i)
        points.push_back({(i & 1) - 0.5, ((i >> 1) & 1) - 0.5, ((i >> 2) & 1) - 0.5});
    return points;
}

const std::vector<Vec3> faceCentres = {{.5, 0, 0},  {-.5, 0, 0}, {0, .5, 0},
                                       {0, -.5, 0}, {0, 0, .5},  {0, 0, -.5}};

std::vector<Strut> bodyCentred()
{
    std::vector<Strut> struts;
    for (const Vec3 &corner : cubeCorners())
        struts.push_back({{}, corner});
    return struts;
}

std::vector<Strut> faceCentred()
{
    std::vector<Strut> struts;
    for (const Vec3 &face : faceCentres) {
        for (const Vec3 &corner : cubeCorners()) {
            if (length(face - corner) < 0.71)
                struts.push_back({face, corner});
        }
    }
    return struts;
}

std::vector<Strut> octet()
{
    std::vector<Strut> struts = faceCentred();
    connect(struts, faceCentres, std::sqrt(0.5));
    return struts;
}

/// The truncated octahedron about the centre; its copy about the corner has no edge that this one
/// lacks.
std::vector<Strut> kelvin()
{
    std::vector<Vec3> points;
    for (int s = -1; s <= 1; s += 2) {
        for (int t = -1; t <= 1; t += 2) {
            const double a = 0.25 * s, b = 0.5 * t;
            for (const Vec3 &v : {Vec3{0, a, b}, Vec3{0, b, a}, Vec3{a, 0, b}, Vec3{b, 0, a},
                                  Vec3{a, b, 0}, Vec3{b, a, 0}})
                points.push_back(v);
        }
    }
    std::vector<Strut> struts;
    connect(struts, points, std::sqrt(2.0) / 4);
    return struts;
}

/// To and fro between 0 and 1/2, once per unit.
double zigzag(double x)
{
    return std::abs(x - std::floor(x) - 0.5);
}

/// Where the definition scatters its point in a cell: its own choice, not to be derived from
/// anything.
Vec3 scatteredPoint(Vec3 cell)
{
    const double x = zigzag(cell.x * 0.15731 + 0.31), y = zigzag(cell.y * 0.21347 + 0.67),
                 z = zigzag(cell.z * 0.11369 + 0.12);
    const double shift = x * (y + 9.17) + y * (z + 9.17) + z * (x + 9.17);
    const Vec3 h{x + shift, y + shift, z + shift};
    const Vec3 scattered{zigzag((h.x + h.y) * h.z), zigzag((h.x + h.z) * h.y),
                         zigzag((h.y + h.z) * h.x)};
    return cell + Vec3{0.27, 0.27, 0.27} + scattered * 0.92;
}

/// The distance to the nearest plane half way between the nearest point and any other of the 343
/// around.
double foam(Vec3 p, double cell, double wall)
{
    const Vec3 q = p * (1 / cell);
    const Vec3 home{std::floor(q.x), std::floor(q.y), std::floor(q.z)};
    std::vector<Vec3> points;
    for (int i = 0; i < 343; ++i)
        points.push_back(scatteredPoint(home + Vec3{i % 7 - 3.0, i / 7 % 7 - 3.0, i / 49 - 3.0}));
    std::ranges::sort(points, {}, [&](Vec3 v) { return length(v - q); });
    double distance = 1e9;
    for (std::size_t i = 1; i < points.size(); ++i) {
        const Vec3 across = points[i] - points[0];
        distance =
            std::min(distance, dot((points[i] + points[0]) * 0.5 - q, across) / length(across));
    }
    return distance * cell - wall / 2;
}

double wave(double x, double y, double z)
{
    return std::sin(x) * std::cos(y) + std::sin(y) * std::cos(z) + std::sin(z) * std::cos(x);
}

/// A sheet about the zero level of `level`, whose argument is the point in turns of the cell.
std::function<double(Vec3)> sheet(double (*level)(Vec3), double cell, double thickness)
{
    return [=](Vec3 p) {
        const double k = 2 * std::numbers::pi / cell;
        return (std::abs(level(p * k)) - thickness) / k;
    };
}

/// The four products of the published form, added up in pairs.
double diamond(Vec3 q)
{
    return std::sin(q.x) * std::cos(q.y - q.z) + std::cos(q.x) * std::sin(q.y + q.z);
}

double lidinoid(Vec3 q)
{
    const double x = q.x, y = q.y, z = q.z;
    return 0.5 * (std::sin(2 * x) * std::cos(y) * std::sin(z) +
                  std::sin(2 * y) * std::cos(z) * std::sin(x) +
                  std::sin(2 * z) * std::cos(x) * std::sin(y)) -
           0.5 * (std::cos(2 * x) * std::cos(2 * y) + std::cos(2 * y) * std::cos(2 * z) +
                  std::cos(2 * z) * std::cos(2 * x)) +
           0.15;
}

double iwp(Vec3 q)
{
    const double x = q.x, y = q.y, z = q.z;
    return std::cos(x + y) + std::cos(x - y) + std::cos(y + z) + std::cos(y - z) + std::cos(z + x) +
           std::cos(z - x) - std::cos(2 * x) - std::cos(2 * y) - std::cos(2 * z);
}

QList<PrimitiveCase> sheetCases()
{
    const auto gyroid = [](Vec3 q) { return wave(q.x, q.y, q.z); };
    const auto primitive = [](Vec3 q) { return std::cos(q.x) + std::cos(q.y) + std::cos(q.z); };
    const auto neovius = [](Vec3 q) {
        const double a = std::cos(q.x), b = std::cos(q.y), c = std::cos(q.z);
        return 3 * (a + b + c) + 4 * a * b * c;
    };
    return {
        {u"gyroid"_s, {}, {10, 0.3}, Promise::Formula, 30, sheet(gyroid, 10, 0.3), 1.8},
        {u"gyroid"_s, u"no thickness"_s, {2, 0}, Promise::Formula, 30, sheet(gyroid, 2, 0), 1.8},
        {u"schwarz_p"_s, {}, {7, 0.4}, Promise::Formula, 30, sheet(primitive, 7, 0.4), 1.8},
        {u"schwarz_d"_s, {}, {7, 0.4}, Promise::Formula, 30, sheet(diamond, 7, 0.4), 1.8},
        {u"neovius"_s, {}, {7, 0.4}, Promise::Formula, 30, sheet(neovius, 7, 0.4), 9},
        {u"lidinoid"_s, {}, {7, 0.4}, Promise::Formula, 30, sheet(lidinoid, 7, 0.4), 4},
        {u"iwp"_s, {}, {7, 0.4}, Promise::Formula, 30, sheet(iwp, 7, 0.4), 6},
    };
}

} // namespace

QList<PrimitiveCase> latticeCases()
{
    return sheetCases() +
           QList<PrimitiveCase>{
               {u"lattice_bcc"_s,
                {},
                {10, 0.5},
                Promise::Exact,
                30,
                repeated(bodyCentred(), 10, 0.5)},
               {u"lattice_fcc"_s,
                {},
                {7, 0.5},
                Promise::Exact,
                30,
                repeated(faceCentred(), 7, 0.5)},
               {u"lattice_octet"_s, {}, {9, 0.5}, Promise::Exact, 30, repeated(octet(), 9, 0.5)},
               {u"lattice_kelvin"_s, {}, {8, 0.5}, Promise::Exact, 30, repeated(kelvin(), 8, 0.5)},
               {u"lattice_voronoi"_s,
                {},
                {10, 0.5},
                Promise::Bound,
                30,
                [](Vec3 p) { return foam(p, 10, 0.5); },
                1,
                4e-3},
           };
}

} // namespace reference
