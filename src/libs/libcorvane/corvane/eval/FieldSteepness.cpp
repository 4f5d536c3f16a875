// A definition is measured inside a small scene of its own, by the code that fields are exported
// with: a primitive by itself, all others with a plain coordinate (x, y or z) as the child, whose
// slope is 1. Gradients are differences at the corners of a tetrahedron.
//
// Of a transform the three coordinates give the rows of its Jacobian matrix, and the largest
// singular value of that is how much it stretches. Along the tree the bounds of a path multiply; an
// operator has the largest of its children, because minimum, maximum and the smooth blends mix
// gradients with weights that add up to 1 (chamfers add two at 45 degrees, hence the root of 2).
#include <corvane/eval/FieldSteepness.h>

#include <corvane/eval/FieldCompiler.h>
#include <corvane/registry/Definition.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace corvane::eval {

using namespace Qt::StringLiterals;
using shader::GpuNodeType;
using shader::SDFNode;

namespace {

constexpr int sampleCount = 1024;
constexpr float stepOfReach = 1e-4f;
/// Beyond so many times the slope that 99 in 100 samples stay below, a sample met a jump or a pole.
constexpr float jumpFactor = 1.25f;
constexpr float farAway = 1e9f;
constexpr float chamferFactor = 1.41421356f;
constexpr quint32 chamferUnionCode = 7;
constexpr quint32 chamferIntersectionCode = 8;
/// In no table of the registry: the child of a definition under test.
constexpr quint32 coordinateIndex = shader::noDefinitionIndex - 1;

struct Gradient
{
    double x = 0, y = 0, z = 0;
    bool isKnown = false;
};

using Gradients = std::vector<Gradient>;

struct Points
{
    std::vector<float> xs, ys, zs;
};

/// Spread evenly (the R3 sequence of Roberts 2018); every second one in the middle, where parts
/// are.
Points samplePoints(float reach)
{
    constexpr double ratio = 1.22074408460575947536;
    Points points;
    for (int i = 0; i < sampleCount; ++i) {
        const double size = double(reach) * (i % 2 ? 0.125 : 1.0);
        const auto coordinate = [&](double step) {
            return float((std::fmod(0.5 + step * (i + 1), 1.0) * 2.0 - 1.0) * size);
        };
        points.xs.push_back(coordinate(1.0 / ratio));
        points.ys.push_back(coordinate(1.0 / (ratio * ratio)));
        points.zs.push_back(coordinate(1.0 / (ratio * ratio * ratio)));
    }
    return points;
}

std::vector<float> values(EvalFieldEvaluator &field, const Points &points,
                          const std::array<float, 3> &offset)
{
    Points moved = points;
    for (std::size_t i = 0; i < points.xs.size(); ++i) {
        moved.xs[i] += offset[0];
        moved.ys[i] += offset[1];
        moved.zs[i] += offset[2];
    }
    std::vector<float> out(points.xs.size());
    field.evaluatePoints(moved.xs, moved.ys, moved.zs, out);
    return out;
}

bool isValue(float value)
{
    return std::isfinite(value) && std::abs(value) < farAway;
}

Gradients gradientsOf(EvalFieldEvaluator &field, float reach)
{
    constexpr float corners[4][3] = {{1, -1, -1}, {-1, -1, 1}, {-1, 1, -1}, {1, 1, 1}};
    const Points points = samplePoints(reach);
    const float step = stepOfReach * reach;
    Gradients gradients(points.xs.size(), {.isKnown = true});
    for (const auto &corner : corners) {
        const auto sampled =
            values(field, points, {corner[0] * step, corner[1] * step, corner[2] * step});
        for (std::size_t i = 0; i < gradients.size(); ++i) {
            Gradient &gradient = gradients[i];
            gradient.isKnown = gradient.isKnown && isValue(sampled[i]);
            const double share = double(sampled[i]) / (4.0 * double(step));
            gradient.x += double(corner[0]) * share;
            gradient.y += double(corner[1]) * share;
            gradient.z += double(corner[2]) * share;
        }
    }
    return gradients;
}

double length(const Gradient &g)
{
    return std::sqrt(g.x * g.x + g.y * g.y + g.z * g.z);
}

/// The steepest of the slopes that are no jumps; 1 when there are none.
float steepestOf(std::vector<double> slopes)
{
    if (slopes.empty())
        return 1.0f;
    std::sort(slopes.begin(), slopes.end());
    const double usual = slopes[(slopes.size() - 1) * 99 / 100];
    const auto jumps = std::upper_bound(slopes.begin(), slopes.end(), usual * double(jumpFactor));
    return jumps == slopes.begin() ? 1.0f : float(*std::prev(jumps));
}

float steepestOf(const Gradients &gradients)
{
    std::vector<double> slopes;
    for (const Gradient &gradient : gradients) {
        if (gradient.isKnown)
            slopes.push_back(length(gradient));
    }
    return steepestOf(std::move(slopes));
}

/// The largest singular value of the matrix with these rows, by a few steps of power iteration.
double stretchOf(const std::array<Gradient, 3> &rows)
{
    std::array<double, 3> v{0.57, 0.58, 0.59};
    double stretch = 0.0;
    for (int i = 0; i < 24; ++i) {
        std::array<double, 3> image{};
        for (std::size_t r = 0; r < 3; ++r)
            image[r] = rows[r].x * v[0] + rows[r].y * v[1] + rows[r].z * v[2];
        std::array<double, 3> next{};
        for (std::size_t r = 0; r < 3; ++r) {
            next[0] += rows[r].x * image[r];
            next[1] += rows[r].y * image[r];
            next[2] += rows[r].z * image[r];
        }
        const double size = std::hypot(next[0], next[1], next[2]);
        if (!(size > 0.0))
            return 0.0;
        stretch = std::sqrt(size);
        for (std::size_t c = 0; c < 3; ++c)
            v[c] = next[c] / size;
    }
    return stretch;
}

float stretchOf(const std::array<Gradients, 3> &rows)
{
    std::vector<double> stretches;
    for (std::size_t i = 0; i < rows[0].size(); ++i) {
        if (rows[0][i].isKnown && rows[1][i].isKnown && rows[2][i].isKnown)
            stretches.push_back(stretchOf({rows[0][i], rows[1][i], rows[2][i]}));
    }
    return steepestOf(std::move(stretches));
}

/// How much the inverse world matrix of a primitive stretches.
float placementStretch(const SDFNode &node)
{
    const auto &m = node.invTransform;
    const auto row = [&m](std::size_t r) {
        return Gradient{.x = double(m[r]), .y = double(m[4 + r]), .z = double(m[8 + r])};
    };
    const float stretch = float(stretchOf({row(0), row(1), row(2)}));
    return std::isfinite(stretch) ? stretch : 1.0f;
}

/// The gradients of a node alone, above the coordinate that is named; none when it does not
/// compile.
Gradients nodeGradients(SDFNode node, const DefinitionTable &definitions, char coordinate,
                        float reach)
{
    auto child = QSharedPointer<registry::Definition>::create();
    child->id = child->name = u"coordinate"_s;
    child->sourcePath = u":/coordinate"_s;
    child->primaryFunctionName = u"sdf_coordinate"_s;
    child->shaderCode =
        u"float sdf_coordinate(vec3 p) { return p.%1; }"_s.arg(QLatin1Char(coordinate));
    DefinitionTable table = definitions;
    table.insert(GpuNodeType::Primitive, coordinateIndex, child);
    SDFNode childNode;
    childNode.definitionIndex = coordinateIndex;
    node.nextSibling = -1;
    node.firstChild = node.type() == GpuNodeType::Primitive ? -1 : 1;
    node.setTransform(QMatrix4x4());
    node.densityScale = 1.0f;
    node.shellThickness = 0.0f;
    auto scene = SdfSceneGraphBuilder::build({node, childNode}, 0, table);
    const CompiledField compiled = compileField(scene, ::eval::Backend::Interpreted);
    if (!compiled.program || !scene.error.isEmpty())
        return {};
    EvalFieldEvaluator field(compiled.program, compiled.positionHandle, compiled.distanceHandle);
    return gradientsOf(field, reach);
}

float measured(const SDFNode &node, const DefinitionTable &definitions, float reach)
{
    const auto along = [&](char coordinate) {
        return nodeGradients(node, definitions, coordinate, reach);
    };
    switch (node.type()) {
    case GpuNodeType::Primitive:
    case GpuNodeType::DistanceModifier:
        return steepestOf(along('x'));
    case GpuNodeType::PositionTransform: {
        const std::array rows{along('x'), along('y'), along('z')};
        const bool isComplete = !rows[0].empty() && !rows[1].empty() && !rows[2].empty();
        return isComplete ? stretchOf(rows) : 1.0f;
    }
    case GpuNodeType::PositionAwareModifier:
        // Profiles lie in x and z; along y an extrusion has its own slope, never both at once.
        return std::max(steepestOf(along('x')), steepestOf(along('z')));
    case GpuNodeType::CsgOp:
        return node.operationType == chamferUnionCode ||
                       node.operationType == chamferIntersectionCode
                   ? chamferFactor
                   : 1.0f;
    }
    return 1.0f;
}

QByteArray keyOf(const SDFNode &node)
{
    const auto parameters = node.parameterSlots();
    QByteArray key(reinterpret_cast<const char *>(parameters.data()), sizeof parameters);
    key.append(reinterpret_cast<const char *>(&node.nodeType), sizeof node.nodeType);
    key.append(reinterpret_cast<const char *>(&node.definitionIndex), sizeof node.definitionIndex);
    return key;
}

} // namespace

float FieldSteepness::ofScene(const QList<SDFNode> &nodes, int rootIndex,
                              const DefinitionTable &definitions)
{
    float bound = 1.0f;
    qsizetype rootsLeft = nodes.size();
    for (int root = rootIndex; root >= 0 && root < nodes.size() && rootsLeft-- > 0;
         root = nodes.at(root).nextSibling)
        bound = std::max(bound, ofTree(nodes, root, definitions, 0));
    return bound > noticeable ? bound : 1.0f;
}

float FieldSteepness::ofDefinition(const SDFNode &node, const DefinitionTable &definitions)
{
    const registry::Definition *definition = definitions.find(node);
    if (!definition)
        return 1.0f;
    const QByteArray key = keyOf(node);
    const auto known = m_known.constFind(key);
    if (known != m_known.cend())
        return *known;
    const float bound = measured(node, definitions, m_reach);
    m_known.insert(key, bound);
    if (bound > noticeable) {
        float &steepest = m_steepest[definition->id];
        steepest = std::max(steepest, bound);
    }
    return bound;
}

QList<FieldSteepness::Measured> FieldSteepness::steepDefinitions() const
{
    QList<Measured> found;
    for (auto entry = m_steepest.cbegin(); entry != m_steepest.cend(); ++entry)
        found.append({.definitionId = entry.key(), .bound = entry.value()});
    std::sort(found.begin(), found.end(), [](const Measured &a, const Measured &b) {
        return a.bound != b.bound ? a.bound > b.bound : a.definitionId < b.definitionId;
    });
    return found;
}

void FieldSteepness::clear()
{
    m_known.clear();
    m_steepest.clear();
}

float FieldSteepness::ofTree(const QList<SDFNode> &nodes, int index,
                             const DefinitionTable &definitions, int depth)
{
    if (index < 0 || index >= nodes.size() || depth > SdfSceneGraphBuilder::maxDepth)
        return 1.0f;
    const SDFNode &node = nodes.at(index);
    const float own = ofDefinition(node, definitions);
    switch (node.type()) {
    case GpuNodeType::Primitive:
        return own * placementStretch(node);
    case GpuNodeType::CsgOp:
        return own * ofOperator(nodes, index, definitions, depth);
    case GpuNodeType::PositionTransform:
    case GpuNodeType::DistanceModifier:
        return own * ofTree(nodes, node.firstChild, definitions, depth + 1);
    case GpuNodeType::PositionAwareModifier:
        // It adds something of its own to the child's slope, however flat that is.
        return own * std::max(1.0f, ofTree(nodes, node.firstChild, definitions, depth + 1));
    }
    return 1.0f;
}

float FieldSteepness::ofOperator(const QList<SDFNode> &nodes, int index,
                                 const DefinitionTable &definitions, int depth)
{
    float steepest = 0.0f;
    qsizetype childrenLeft = nodes.size();
    for (int child = nodes.at(index).firstChild;
         child >= 0 && child < nodes.size() && childrenLeft-- > 0;
         child = nodes.at(child).nextSibling)
        steepest = std::max(steepest, ofTree(nodes, child, definitions, depth + 1));
    return steepest;
}

} // namespace corvane::eval
