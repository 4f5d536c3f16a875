#include <corvane/eval/AnalyticGradient.h>

#include <corvane/eval/SdfSceneGraphBuilder.h>
#include <corvane/registry/Definition.h>

#include <optional>

namespace corvane::eval {

using namespace Qt::StringLiterals;
using shader::GpuNodeType;
using Kind = AnalyticGradient::Kind;

namespace {

struct KindEntry
{
    QLatin1String name; ///< id of the definition
    GpuNodeType type;
    Kind kind;
};

constexpr KindEntry kindTable[] = {
    {"sphere"_L1, GpuNodeType::Primitive, Kind::sphere},
    {"box"_L1, GpuNodeType::Primitive, Kind::box},
    {"round_box"_L1, GpuNodeType::Primitive, Kind::round_box},
    {"cylinder"_L1, GpuNodeType::Primitive, Kind::cylinder},
    {"torus"_L1, GpuNodeType::Primitive, Kind::torus},
    {"capsule"_L1, GpuNodeType::Primitive, Kind::capsule},
    {"plane"_L1, GpuNodeType::Primitive, Kind::plane},
    {"union"_L1, GpuNodeType::CsgOp, Kind::union_},
    {"subtract"_L1, GpuNodeType::CsgOp, Kind::subtract},
    {"intersect"_L1, GpuNodeType::CsgOp, Kind::intersect},
    {"smooth_union"_L1, GpuNodeType::CsgOp, Kind::smooth_union},
    {"smooth_subtract"_L1, GpuNodeType::CsgOp, Kind::smooth_subtract},
    {"smooth_intersect"_L1, GpuNodeType::CsgOp, Kind::smooth_intersect},
    {"translate"_L1, GpuNodeType::PositionTransform, Kind::translate},
    {"rotate"_L1, GpuNodeType::PositionTransform, Kind::rotate},
};

/// Only for what ships with the program: a user's definition may have the id of a built-in and mean
/// another shape.
std::optional<Kind> kindOf(const registry::Definition &definition, GpuNodeType type)
{
    for (const KindEntry &entry : kindTable) {
        if (entry.type == type && definition.id == entry.name && definition.isFromResources())
            return entry.kind;
    }
    return std::nullopt;
}

bool isSmooth(Kind kind)
{
    return kind == Kind::smooth_union || kind == Kind::smooth_subtract ||
           kind == Kind::smooth_intersect;
}

QString reasonWord(GpuNodeType type)
{
    switch (type) {
    case GpuNodeType::Primitive:
        return u"primitive"_s;
    case GpuNodeType::CsgOp:
        return u"csg"_s;
    case GpuNodeType::PositionTransform:
        return u"transform"_s;
    case GpuNodeType::DistanceModifier:
    case GpuNodeType::PositionAwareModifier:
        break;
    }
    return {};
}

void setRotation(AnalyticGradient::Node &node, const std::array<float, 9> &rotation)
{
    node.rotation = rotation;
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            node.transposed[column * 3 + row] = rotation[row * 3 + column];
    node.isPlaced = true;
}

/// From the inverse world matrix, column-major.
void placeByMatrix(AnalyticGradient::Node &node, const std::array<float, 16> &m)
{
    bool identity = true;
    for (std::size_t i = 0; i < m.size(); ++i)
        identity = identity && std::fabs(m[i] - (i % 5 == 0 ? 1.0f : 0.0f)) <= 1e-7f;
    if (identity)
        return;
    setRotation(node, {m[0], m[4], m[8], m[1], m[5], m[9], m[2], m[6], m[10]});
    node.translation = {m[12], m[13], m[14]};
}

/// A part is turned by Rx * Ry * Rz; the sample point goes back by its transpose.
void placeByAngles(AnalyticGradient::Node &node)
{
    constexpr float radians = 0.017453292f;
    const auto &angles = node.parameters;
    const float cx = std::cos(angles[0] * radians), sx = std::sin(angles[0] * radians);
    const float cy = std::cos(angles[1] * radians), sy = std::sin(angles[1] * radians);
    const float cz = std::cos(angles[2] * radians), sz = std::sin(angles[2] * radians);
    setRotation(node, {cy * cz, sx * sy * cz + cx * sz, sx * sz - cx * sy * cz, -cy * sz,
                       cx * cz - sx * sy * sz, cx * sy * sz + sx * cz, sy, -sx * cy, cx * cy});
}

} // namespace

class AnalyticGradient::Compiler
{
public:
    Compiler(AnalyticGradient &out, const QList<shader::SDFNode> &nodes,
             const DefinitionTable &definitions)
        : m_out(out)
        , m_nodes(nodes)
        , m_definitions(definitions)
    {}

    int compileRoots(int rootIndex)
    {
        QList<int> compiled;
        for (int index = rootIndex;
             isNode(index) && compiled.size() < SdfSceneGraphBuilder::maxRoots;
             index = m_nodes.at(index).nextSibling) {
            const int slot = compileNode(index, 0);
            if (slot < 0)
                return -1;
            compiled.append(slot);
        }
        if (compiled.isEmpty())
            return stop(u"<malformed tree>"_s);
        if (compiled.size() == 1)
            return compiled.first();
        Node all;
        all.kind = Kind::union_;
        all.children = compiled;
        return append(all);
    }

private:
    bool isNode(int index) const { return index >= 0 && index < m_nodes.size(); }

    int stop(const QString &reason)
    {
        if (m_out.m_reason.isEmpty())
            m_out.m_reason = reason;
        return -1;
    }

    int append(const Node &node)
    {
        m_out.m_nodes.append(node);
        return static_cast<int>(m_out.m_nodes.size()) - 1;
    }

    int compileNode(int index, int depth)
    {
        if (!isNode(index) || depth > SdfSceneGraphBuilder::maxDepth ||
            ++m_visits > SdfSceneGraphBuilder::maxVisits)
            return stop(u"<malformed tree>"_s);
        const shader::SDFNode &source = m_nodes.at(index);
        const QString word = reasonWord(source.type());
        if (word.isEmpty())
            return stop(u"<nodeType %1>"_s.arg(source.nodeType));
        const registry::Definition *definition = m_definitions.find(source);
        const QString name = u"<%1 %2>"_s.arg(word, definition ? definition->id : u"?"_s);
        const auto kind = definition ? kindOf(*definition, source.type()) : std::nullopt;
        if (!kind)
            return stop(name);
        Node node;
        node.kind = *kind;
        node.parameters = source.parameterSlots();
        switch (source.type()) {
        case GpuNodeType::Primitive:
            return compilePrimitive(node, source);
        case GpuNodeType::CsgOp:
            return compileOperator(node, index, depth, name);
        case GpuNodeType::PositionTransform:
            return compileTransform(node, source, depth, name);
        case GpuNodeType::DistanceModifier:
        case GpuNodeType::PositionAwareModifier:
            break;
        }
        return -1;
    }

    int compilePrimitive(Node &node, const shader::SDFNode &source)
    {
        placeByMatrix(node, source.invTransform);
        node.inflation = source.densityScale - 1.0f;
        node.shell = source.shellThickness;
        return append(node);
    }

    int compileOperator(Node &node, int index, int depth, const QString &name)
    {
        for (int child = m_nodes.at(index).firstChild; isNode(child);
             child = m_nodes.at(child).nextSibling) {
            const int slot = compileNode(child, depth + 1);
            if (slot < 0)
                return -1;
            node.children.append(slot);
        }
        if (node.children.isEmpty())
            return stop(name + " (no children)"_L1);
        if (isSmooth(node.kind) && !(node.parameters[0] >= 1e-6f))
            return stop(name + u" (k≈0)"_s);
        return append(node);
    }

    int compileTransform(Node &node, const shader::SDFNode &source, int depth, const QString &name)
    {
        if (!isNode(source.firstChild))
            return stop(name + " (no child)"_L1);
        const int slot = compileNode(source.firstChild, depth + 1);
        if (slot < 0)
            return -1;
        node.children.append(slot);
        if (node.kind == Kind::rotate) {
            placeByAngles(node);
        } else {
            node.isPlaced = true;
            node.translation =
                -QVector3D(node.parameters[0], node.parameters[1], node.parameters[2]);
        }
        return append(node);
    }

    AnalyticGradient &m_out;
    const QList<shader::SDFNode> &m_nodes;
    const DefinitionTable &m_definitions;
    int m_visits = 0;
};

AnalyticGradient AnalyticGradient::compile(const QList<shader::SDFNode> &nodes, int rootIndex,
                                           const DefinitionTable &definitions)
{
    AnalyticGradient result;
    result.m_root = Compiler(result, nodes, definitions).compileRoots(rootIndex);
    return result;
}

} // namespace corvane::eval
