#include "FieldSet.h"

#include <eval/internal/GraphCompiler.h>

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace eval::internal;

namespace bench {

namespace {

const QString definitions = uR"(
float sdf_sphere(vec3 p, float radius) {
    return length(p) - radius;
}
float sdf_box(vec3 p, float width, float height, float depth) {
    vec3 q = abs(p) - vec3(width, height, depth);
    return length(max(q, 0.0)) + min(max(q.x, max(q.y, q.z)), 0.0);
}
float sdf_cylinder(vec3 p, float radius, float height) {
    float a = length(p.xz) - radius;
    float b = abs(p.y) - height;
    return min(max(a, b), 0.0) + length(max(vec2(a, b), 0.0));
}
float sdf_torus(vec3 p, float majorRadius, float minorRadius) {
    return length(vec2(length(p.xz) - majorRadius, p.y)) - minorRadius;
}
float sdf_gyroid(vec3 p, float cellSize, float thickness) {
    float k = 6.28318531 / max(cellSize, 1.0e-6);
    vec3 q = p * k;
    float f = sin(q.x) * cos(q.y) + sin(q.y) * cos(q.z) + sin(q.z) * cos(q.x);
    return (abs(f) - thickness) / k;
}
float op_subtraction(float d1, float d2) {
    return max(-d1, d2);
}
float op_intersection(float d1, float d2) {
    return max(d1, d2);
}
float op_smooth_union(float d1, float d2, float k) {
    float h = clamp(0.5 + 0.5 * (d2 - d1) / k, 0.0, 1.0);
    return mix(d2, d1, h) - k * h * (1.0 - h);
}
vec3 op_translate(vec3 p, vec3 offset) {
    return p - offset;
}
vec3 op_lay(vec3 p) {
    return vec3(p.x, p.z, -p.y);
}
float mod_round(float d, float r) {
    return d - r;
}
)"_s;

QString at(double x, double y, double z)
{
    return u"op_translate(p, vec3(%1f, %2f, %3f))"_s.arg(
        QString::number(x, 'f', 4), QString::number(y, 'f', 4), QString::number(z, 'f', 4));
}

QString folded(const QString &pattern, QStringList operands)
{
    QString result = operands.takeFirst();
    for (const QString &operand : std::as_const(operands))
        result = pattern.arg(operand, result);
    return result;
}

QString csgField()
{
    const QString cylinder = u"sdf_cylinder(%1, 0.61f, 4.0f)"_s;
    const QString plate =
        folded(u"op_subtraction(%1, %2)"_s,
               {u"sdf_box(p, 2.98f, 0.98f, 2.98f)"_s, cylinder.arg(at(-1.51, 0, 0)),
                cylinder.arg(at(1.51, 0, -1.21)), cylinder.arg(at(1.51, 0, 1.21))});
    return u"op_smooth_union(sdf_torus(%1, 2.21f, 0.51f), %2, 0.3f)"_s.arg(at(0, 1.21, 0), plate);
}

/// 27 spheres and boxes by turns on a grid of three to a side, joined smoothly: 80 nodes with
/// transforms.
QString gridField()
{
    QStringList layers;
    int count = 0;
    for (int k = -1; k <= 1; ++k) {
        QStringList shapes;
        for (int j = -1; j <= 1; ++j) {
            for (int i = -1; i <= 1; ++i) {
                const QString shape = count++ % 2 == 0 ? u"sdf_sphere(%1, 1.22f)"_s
                                                       : u"sdf_box(%1, 0.98f, 0.98f, 0.98f)"_s;
                shapes.append(shape.arg(at(2.4 * i, 2.4 * j, 2.4 * k)));
            }
        }
        layers.append(folded(u"op_smooth_union(%1, %2, 0.5f)"_s, shapes));
    }
    return folded(u"op_smooth_union(%1, %2, 0.5f)"_s, layers);
}

QString bracketField()
{
    const QString body =
        folded(u"op_smooth_union(%1, %2, 0.5f)"_s,
               {u"mod_round(sdf_box(%1, 3.38f, 0.31f, 2.38f), 0.1f)"_s.arg(at(0, -2.5, 0)),
                u"mod_round(sdf_box(%1, 3.38f, 2.39f, 0.31f), 0.1f)"_s.arg(at(0, -0.4, -2.1)),
                u"sdf_torus(%1, 1.01f, 0.38f)"_s.arg(at(0, -2.09, 0.6))});
    QStringList parts = {body, u"sdf_cylinder(%1, 0.61f, 4.0f)"_s.arg(at(0, -2.5, 0.6))};
    for (const auto &[x, z] : {std::pair(-2.6, -0.9), {2.6, -0.9}, {-2.6, 1.7}, {2.6, 1.7}})
        parts.append(u"sdf_cylinder(%1, 0.31f, 4.0f)"_s.arg(at(x, -2.5, z)));
    for (const double x : {-2.0, 2.0})
        parts.append(u"sdf_cylinder(op_lay(%1), 0.61f, 4.0f)"_s.arg(at(x, 0.6, -2.1)));
    parts.append(u"sdf_box(%1, 0.71f, 0.42f, 2.0f)"_s.arg(at(0, 0.6, -2.1)));
    return folded(u"op_subtraction(%1, %2)"_s, parts);
}

} // namespace

const std::vector<Field> &fields()
{
    static const std::vector<Field> all = {
        {"sphere", u"sdf_sphere(p, 4.0f)"_s, 17071},
        {"csg", csgField(), 3999},
        {"gyroid", u"op_intersection(sdf_sphere(p, 4.0f), sdf_gyroid(p, 2.0f, 0.3f))"_s, 4557},
        {"grid", gridField(), 13419},
        {"bracket", bracketField(), 3411},
    };
    return all;
}

QSharedPointer<const CompiledProgram> compile(const QString &expression, eval::Backend backend)
{
    SlotBinding point;
    point.name = u"p"_s;
    point.type = eval::Type::Vec3;
    point.handle = pointHandle;
    SlotBinding distance;
    distance.name = u"d"_s;
    distance.handle = distanceHandle;
    CompileRequest request;
    request.inputs = {point};
    request.outputs = {distance};
    request.backend = backend;
    request.sources = {definitions + u'\n' + expression};
    const CompiledResult result = GraphCompiler(request).compile();
    if (!result)
        qFatal("a benchmark field does not compile: %s", qPrintable(result.firstError().message));
    return result.value();
}

std::vector<float> coordinates(int nodes)
{
    std::vector<float> xs;
    for (int i = 0; i < nodes; ++i)
        xs.push_back(-5.0f + 10.0f / static_cast<float>(nodes - 1) * static_cast<float>(i));
    return xs;
}

void checkInside(benchmark::State &state, eval::ThreadCopy &copy, int expected)
{
    constexpr int checkNodes = 41;
    const std::vector<float> axis = coordinates(checkNodes);
    std::vector<float> row(axis.size());
    int inside = 0;
    for (const float z : axis) {
        for (const float y : axis) {
            copy.evaluateRow(pointHandle, axis, y, z, distanceHandle, row, 1e10f);
            inside += static_cast<int>(std::ranges::count_if(row, [](float d) { return d < 0; }));
        }
    }
    // A node or two on the surface may fall to the other side in single precision.
    if (std::abs(inside - expected) > expected / 500 + 8)
        state.SkipWithError(qPrintable(u"%1 nodes inside, not %2"_s.arg(inside).arg(expected)));
}

void reportSamples(benchmark::State &state, int samplesPerRound)
{
    state.counters["samples/s"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * samplesPerRound, benchmark::Counter::kIsRate);
}

void timePoints(benchmark::State &state, eval::ThreadCopy &copy, const std::vector<float> &xs)
{
    float y = -5.0f;
    for (auto _ : state) {
        float sum = 0.0f;
        for (const float x : xs) {
            const float point[] = {x, y, 0.7f};
            copy.setFloats(pointHandle, point);
            copy.evaluateQuick();
            sum += copy.getFloat(distanceHandle);
        }
        benchmark::DoNotOptimize(sum);
        y = y > 5.0f ? -5.0f : y + 0.1f;
    }
    reportSamples(state, static_cast<int>(xs.size()));
}

void timeRows(benchmark::State &state, eval::ThreadCopy &copy)
{
    const std::vector<float> xs = coordinates(rowLength);
    std::vector<float> row(xs.size());
    float y = -5.0f;
    for (auto _ : state) {
        copy.evaluateRow(pointHandle, xs, y, 0.7f, distanceHandle, row, 1e10f);
        benchmark::DoNotOptimize(row.data());
        y = y > 5.0f ? -5.0f : y + 0.1f;
    }
    reportSamples(state, rowLength);
}

void timeScattered(benchmark::State &state, eval::ThreadCopy &copy)
{
    const std::vector<float> xs = coordinates(rowLength);
    std::vector<float> ys, zs;
    for (const float x : xs) {
        ys.push_back(0.7f - 0.3f * x);
        zs.push_back(0.2f + 0.6f * x);
    }
    std::vector<float> out(xs.size());
    for (auto _ : state) {
        copy.evaluatePoints(pointHandle, xs, ys, zs, distanceHandle, out, 1e10f);
        benchmark::DoNotOptimize(out.data());
    }
    reportSamples(state, rowLength);
}

} // namespace bench
