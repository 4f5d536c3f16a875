// How well the extractors keep sharp edges: acute and obtuse, straight and curved, on solids whose
// edges are known as formulas.
//
//     bench_sharp_edges [part of a name] [folder for meshes]
//
// A row is a solid, an extractor and a cell size. Lengths are in cells:
//   vertex    |distance| at the vertices, largest and 99 of a hundred
//   middle    |distance| at the middles of the mesh's edges: where an edge of the solid is cut off
//   edge      from points on the solid's edges to the mesh
//   turned    triangles that face against the field at their centre; needles, lower than a
//             thousandth of a cell, face nowhere and are counted apart
#include <corvane/bench/CompiledScene.h>
#include <corvane/eval/CPUFieldEvaluator.h>
#include <corvane/xport/ExportPipeline.h>
#include <mesh/io/IORegistry.h>
#include <support/MeshChecks.h>
#include <support/NodeTree.h>

#include <QCoreApplication>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>

using namespace Qt::StringLiterals;
using corvane::xport::ExportPipeline;
using corvane::xport::ExportRequest;
using corvane::xport::ExportResult;
using support::FloatMesh;
using support::Point;

namespace {

using Points = std::vector<Point>;

// ------------------------------------------------------------------ solids

struct Solid
{
    const char *name;
    const char *scene; ///< a tree in parentheses, or the name of a sample
    Points (*edges)();
    std::array<float, 2> cells;
};

void addLine(Points &points, const Point &from, const Point &to)
{
    constexpr int steps = 200;
    for (int n = 0; n <= steps; ++n)
        points.push_back(from + (to - from) * (float(n) / steps));
}

void addCircle(Points &points, float radius, float y)
{
    constexpr int steps = 2000;
    for (int n = 0; n < steps; ++n) {
        const double angle = 2 * std::numbers::pi * n / steps;
        points.push_back({float(radius * std::cos(angle)), y, float(radius * std::sin(angle))});
    }
}

Points coneEdges()
{
    Points points{{0, 1.55f, 0}};
    addCircle(points, 1.02f, -1.55f);
    return points;
}

Points tetrahedronEdges()
{
    constexpr float s = 1.53f;
    const Point corners[] = {{s, s, s}, {s, -s, -s}, {-s, s, -s}, {-s, -s, s}};
    Points points;
    for (int a = 0; a < 4; ++a)
        for (int b = 0; b < a; ++b)
            addLine(points, corners[a], corners[b]);
    return points;
}

void addBox(Points &points, const Point &half)
{
    for (int corner = 0; corner < 8; ++corner) {
        const auto at = [&](int n) {
            return Point{n & 1 ? half.x : -half.x, n & 2 ? half.y : -half.y,
                         n & 4 ? half.z : -half.z};
        };
        for (const int axis : {1, 2, 4})
            if (!(corner & axis))
                addLine(points, at(corner), at(corner | axis));
    }
}

Points boxEdges()
{
    Points points;
    addBox(points, {1.31f, 0.87f, 1.13f});
    return points;
}

Points drilledEdges()
{
    Points points = boxEdges();
    addCircle(points, 0.53f, 0.87f);
    addCircle(points, 0.53f, -0.87f);
    return points;
}

/// The crest; the ends are left out.
Points threadEdges()
{
    Points points;
    constexpr double pitch = 0.5;
    for (double turn = -4; turn < 4; turn += 0.002) {
        const double angle = 2 * std::numbers::pi * turn;
        points.push_back(
            {float(1.5 * std::cos(angle)), float(pitch * turn), float(-1.5 * std::sin(angle))});
    }
    return points;
}

/// The upper and the lower outline of the sample's profile at both ends, and its trailing edge.
Points wingEdges()
{
    Points points;
    for (double x = 0; x <= 1.0005; x += 0.001) {
        const double t =
            5 * 0.15 *
            (0.2969 * std::sqrt(x) + x * (-0.1260 + x * (-0.3516 + x * (0.2843 - 0.1015 * x))));
        const double c =
            x < 0.4 ? 0.04 / 0.16 * (0.8 * x - x * x) : 0.04 / 0.36 * (0.2 + 0.8 * x - x * x);
        if (x >= 0.9999)
            addLine(points, {80, float(80 * c), -20}, {80, float(80 * c), 20});
        for (const double y : {c + t, c - t})
            for (const float z : {-20.0f, 20.0f})
                points.push_back({float(80 * std::min(x, 1.0)), float(80 * y), z});
    }
    return points;
}

Points none()
{
    return {};
}

constexpr Solid solids[] = {
    {"cone", "(cone 1.02 1.55)", coneEdges, {0.1f, 0.043f}},
    {"sharp cone", "(cone 0.31 1.55)", none, {0.1f, 0.043f}},
    {"tetrahedron", "(tetrahedron 1.53)", tetrahedronEdges, {0.1f, 0.043f}},
    {"turned tetrahedron", "(rotate 10 20 35 (tetrahedron 1.53))", none, {0.1f, 0.043f}},
    {"wedge",
     "(rotate 5 25 10 (intersect (plane 0.2 1 0 0.5) (plane 0.2 -1 0 0.5) (box 2 2 1)))",
     none,
     {0.1f, 0.043f}},
    {"thread", "(threaded_rod 3 0.5 4.6 60)", threadEdges, {0.1f, 0.043f}},
    {"box", "(box 1.31 0.87 1.13)", boxEdges, {0.1f, 0.043f}},
    {"turned box", "(rotate 30 20 0 (box 1.31 0.87 1.13))", none, {0.1f, 0.043f}},
    {"drilled box",
     "(subtract (box 1.31 0.87 1.13) (cylinder 0.53 3))",
     drilledEdges,
     {0.1f, 0.043f}},
    {"sphere", "(sphere 2.11)", none, {0.3f, 0.1f}},
    {"wing_section", "wing_section", wingEdges, {0.7f, 0.37f}},
    {"heat_sink", "heat_sink", none, {0.55f, 0.37f}},
    {"bracket", "bracket", none, {0.6f, 0.37f}},
    {"rod_and_nut", "rod_and_nut", none, {0.4f, 0.25f}},
};

ExportRequest requestFor(const Solid &solid)
{
    ExportRequest request;
    const QString scene = QString::fromLatin1(solid.scene);
    if (scene.startsWith(u'(')) {
        support::NodeTree tree;
        request.rootNodeIndex = tree.read(scene);
        request.nodes = tree.nodes;
        request.boundsMin = {-2.97f, -2.91f, -2.95f};
        request.boundsMax = {3, 3, 3};
        return request;
    }
    QString error;
    const QString path = QStringLiteral(CORVANE_SAMPLES "/%1.corvane").arg(scene);
    const auto compiled = corvane::bench::compileSceneFile(path, error);
    if (!compiled)
        qFatal("%s", qPrintable(error));
    request.nodes = compiled->nodes;
    request.rootNodeIndex = compiled->rootIndex;
    request.boundsMin = compiled->boundsMin;
    request.boundsMax = compiled->boundsMax;
    return request;
}

FloatMesh exported(const ExportRequest &request)
{
    ExportPipeline pipeline;
    ExportResult result;
    QObject::connect(&pipeline, &ExportPipeline::finished, qApp, [&](const ExportResult &end) {
        result = end;
        QCoreApplication::quit();
    });
    pipeline.run(request);
    QCoreApplication::exec();
    if (!result.success)
        qFatal("%s", qPrintable(result.errorMessage));
    const auto loaded = mesh::io::IORegistry<float>::instance().load(request.outputPath);
    return loaded ? support::welded(loaded.value()) : FloatMesh();
}

// ------------------------------------------------------------------ measures

struct Spread
{
    double max = 0, most = 0; ///< most: 99 of a hundred are not larger
};

Spread spreadOf(std::vector<double> values)
{
    if (values.empty())
        return {};
    std::sort(values.begin(), values.end());
    return {values.back(), values[values.size() * 99 / 100]};
}

double distanceTo(const Point &p, const Point &a, const Point &b, const Point &c)
{
    // The nearest point of a triangle by regions (Ericson 2005).
    const Point ab = b - a, ac = c - a, ap = p - a;
    const float d1 = ab.dot(ap), d2 = ac.dot(ap);
    if (d1 <= 0 && d2 <= 0)
        return double(ap.length());
    const Point bp = p - b;
    const float d3 = ab.dot(bp), d4 = ac.dot(bp);
    if (d3 >= 0 && d4 <= d3)
        return double(bp.length());
    const float vc = d1 * d4 - d3 * d2;
    if (vc <= 0 && d1 >= 0 && d3 <= 0)
        return double((p - (a + ab * (d1 / (d1 - d3)))).length());
    const Point cp = p - c;
    const float d5 = ab.dot(cp), d6 = ac.dot(cp);
    if (d6 >= 0 && d5 <= d6)
        return double(cp.length());
    const float vb = d5 * d2 - d1 * d6;
    if (vb <= 0 && d2 >= 0 && d6 <= 0)
        return double((p - (a + ac * (d2 / (d2 - d6)))).length());
    const float va = d3 * d6 - d5 * d4;
    if (va <= 0 && d4 - d3 >= 0 && d5 - d6 >= 0)
        return double((p - (b + (c - b) * ((d4 - d3) / ((d4 - d3) + (d5 - d6))))).length());
    const float whole = va + vb + vc;
    return double((p - (a + ab * (vb / whole) + ac * (vc / whole))).length());
}

/// How far a coordinate lies outside those of a triangle.
double outside(float at, float a, float b, float c)
{
    return double(std::max(std::min({a, b, c}) - at, at - std::max({a, b, c})));
}

class Measurement
{
public:
    Measurement(const FloatMesh &mesh, corvane::eval::CPUFieldEvaluator &field, double cell)
        : m_mesh(mesh)
        , m_field(field)
        , m_cell(cell)
    {}

    Spread vertices();
    Spread middles();
    Spread edges(const Points &points) const;
    void faces(int &turned, int &needles);

private:
    double at(const Point &p) { return std::abs(double(m_field.evaluate(p.x, p.y, p.z))) / m_cell; }
    std::array<Point, 3> corners(const mesh::ElementData<float> &element) const
    {
        return {m_mesh.vertices.at(element.nodes[0]), m_mesh.vertices.at(element.nodes[1]),
                m_mesh.vertices.at(element.nodes[2])};
    }

    const FloatMesh &m_mesh;
    corvane::eval::CPUFieldEvaluator &m_field;
    double m_cell;
};

Spread Measurement::vertices()
{
    std::vector<double> values;
    for (const Point &vertex : m_mesh.vertices)
        values.push_back(at(vertex));
    return spreadOf(std::move(values));
}

Spread Measurement::middles()
{
    std::vector<double> values;
    for (const auto &element : m_mesh.elements)
        for (int n = 0; n < 3; ++n)
            if (element.nodes[n] < element.nodes[(n + 1) % 3])
                values.push_back(at((m_mesh.vertices.at(element.nodes[n]) +
                                     m_mesh.vertices.at(element.nodes[(n + 1) % 3])) *
                                    0.5f));
    return spreadOf(std::move(values));
}

Spread Measurement::edges(const Points &points) const
{
    std::vector<double> values;
    for (const Point &p : points) {
        double nearest = 1e9;
        for (const auto &element : m_mesh.elements) {
            const auto [a, b, c] = corners(element);
            if (outside(p.x, a.x, b.x, c.x) < nearest && outside(p.y, a.y, b.y, c.y) < nearest &&
                outside(p.z, a.z, b.z, c.z) < nearest)
                nearest = std::min(nearest, distanceTo(p, a, b, c));
        }
        values.push_back(nearest / m_cell);
    }
    return spreadOf(std::move(values));
}

void Measurement::faces(int &turned, int &needles)
{
    for (const auto &element : m_mesh.elements) {
        const auto [a, b, c] = corners(element);
        const Point cross = (b - a).cross(c - a);
        const float longest = std::max({(b - a).length(), (c - a).length(), (c - b).length()});
        if (double(cross.length() / longest) < 0.001 * m_cell) {
            ++needles;
            continue;
        }
        const Point centre = (a + b + c) / 3.0f;
        const auto field = m_field.evaluateWithGradient(centre.x, centre.y, centre.z);
        if (cross.dot({field.gradientX, field.gradientY, field.gradientZ}) < 0)
            ++turned;
    }
}

// ------------------------------------------------------------------ the table

constexpr const char *extractors[] = {"MC", "DC", "octree"};

void measure(const Solid &solid, ExportRequest request, int extractor, float cell,
             const QString &folder)
{
    request.extractor = extractor;
    request.cellSize = cell;
    request.outputPath = u"%1/%2-%3-%4.stl"_s.arg(
        folder, QString::fromLatin1(solid.name).replace(u' ', u'_'),
        QLatin1StringView(extractors[extractor]), QString::number(double(cell)));
    const FloatMesh mesh = exported(request);
    corvane::eval::CPUFieldEvaluator field(request.nodes, request.rootNodeIndex);
    Measurement measurement(mesh, field, double(cell));
    int turned = 0, needles = 0;
    measurement.faces(turned, needles);
    const Spread vertices = measurement.vertices(), middles = measurement.middles(),
                 edges = measurement.edges(solid.edges());
    std::printf("%-18s %-6s %5.3g %7d  %6.4f %6.4f  %6.4f %6.4f  %6.4f %6.4f  %5d %5d  %s\n",
                solid.name, extractors[extractor], double(cell), int(mesh.elements.size()),
                vertices.max, vertices.most, middles.max, middles.most, edges.max, edges.most,
                turned, needles, support::isClosedManifold(mesh) ? "closed" : "BROKEN");
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QTemporaryDir scratch;
    std::printf("%-18s %-6s %5s %7s  %13s  %13s  %13s  %5s %5s\n", "solid", "way", "cell", "faces",
                "vertex max p99", "middle max p99", "edge max p99", "turned", "needles");
    for (const Solid &solid : solids) {
        if (!QLatin1StringView(solid.name).contains(arguments.value(1)))
            continue;
        const ExportRequest request = requestFor(solid);
        for (const float cell : solid.cells)
            for (int extractor = 0; extractor < 3; ++extractor)
                measure(solid, request, extractor, cell, arguments.value(2, scratch.path()));
    }
    return 0;
}
