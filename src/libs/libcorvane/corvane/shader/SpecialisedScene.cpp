// The tree is written depth first, a line or two a node. Variables are numbered by how many are in
// use: the value of an operator stands in v<n> while its later children are made in v<n + 1>, and a
// transform's position is one more p<n>. So their number grows with the depth of the tree and not
// with its size, as it does for the field that is exported.
#include <corvane/shader/SpecialisedScene.h>

#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/ParameterSlots.h>
#include <corvane/shader/ShaderIndexManager.h>
#include <corvane/shader/ShaderNodeKinds.h>
#include <corvane/shader/ShaderTemplates.h>
#include <corvane/shader/ShaderWrapperGenerator.h>

#include <QHash>
#include <QSet>

#include <array>

namespace corvane::shader {

using namespace Qt::StringLiterals;

namespace {

/// By operation code. What is no code is a union.
struct Operation
{
    QLatin1String function;
    bool isSmooth = false; ///< takes the radius
};
constexpr std::array operations{Operation{"opUnion"_L1},
                                Operation{"opSubtraction"_L1},
                                Operation{"opIntersection"_L1},
                                Operation{"opSmoothUnion"_L1, true},
                                Operation{"opSmoothSubtraction"_L1, true},
                                Operation{"opSmoothIntersection"_L1, true},
                                Operation{"opAdditiveBlend"_L1, true},
                                Operation{"opChamferUnion"_L1, true},
                                Operation{"opChamferIntersection"_L1, true},
                                Operation{"opXOR"_L1}};

const Operation &operationOf(const SDFNode &node)
{
    return operations.at(node.operationType < operations.size() ? node.operationType : 0);
}

bool isPlaced(const SDFNode &node)
{
    return node.invTransform != SDFNode().invTransform;
}

bool isInflated(const SDFNode &node)
{
    return node.densityScale != 1.0f;
}

bool isHollow(const SDFNode &node)
{
    return node.shellThickness > 0.0f;
}

bool isNode(const QList<SDFNode> &nodes, int index)
{
    return index >= 0 && index < nodes.size();
}

/// The depth of a tree; beyond the limit, or in links that are no tree, more than the limit.
class DepthProbe
{
public:
    explicit DepthProbe(const QList<SDFNode> &nodes)
        : m_nodes(nodes)
        , m_visitsLeft(nodes.size())
    {}

    int depthOfChain(int first, int above = 0)
    {
        int deepest = above;
        for (int index = first; isNode(m_nodes, index); index = m_nodes.at(index).nextSibling) {
            if (above > SpecialisedScene::maxDepth || m_visitsLeft-- <= 0)
                return SpecialisedScene::maxDepth + 1;
            if (m_nodes.at(index).type() != GpuNodeType::Primitive)
                deepest = std::max(deepest, depthOfChain(m_nodes.at(index).firstChild, above + 1));
        }
        return deepest;
    }

private:
    const QList<SDFNode> &m_nodes;
    qsizetype m_visitsLeft;
};

/// A function that a dispatcher would call.
struct Wrapper
{
    QString name;
    bool takesSecondRow = false; ///< of parameters
};

bool takesSecondRow(const registry::Definition &definition)
{
    int floats = 0;
    for (const registry::ParameterDef &parameter : definition.parameters)
        floats += parameterFloatCount(parameter.type);
    return floats > parameterSlotCount / 2;
}

class Wrappers
{
public:
    Wrappers(const ShaderIndexManager &indices, const registry::Registry *registry)
        : m_indices(indices)
    {
        if (!registry)
            return;
        for (const ShaderNodeKind &kind : shaderNodeKinds()) {
            const auto made = ShaderWrapperGenerator::generateWrappers(kind, indices, *registry);
            for (const int index : made.indices) {
                const auto definition = registry->getDefinition(indices.idAt(kind.type, index));
                m_wrappers.insert(keyOf(kind.type, quint32(index)),
                                  {.name = QString(kind.wrapperName).arg(index),
                                   .takesSecondRow = takesSecondRow(*definition)});
            }
        }
    }

    /// Without a name where a dispatcher would take its default.
    Wrapper of(const SDFNode &node) const
    {
        return m_wrappers.value(keyOf(node.type(), node.definitionIndex));
    }
    bool hasBlend(const SDFNode &node) const
    {
        const QString id = m_indices.idAt(GpuNodeType::CsgOp, node.definitionIndex);
        return !id.isEmpty() && m_indices.isActive(id);
    }

private:
    static quint64 keyOf(GpuNodeType type, quint32 index) { return quint64(type) << 32 | index; }

    const ShaderIndexManager &m_indices;
    QHash<quint64, Wrapper> m_wrappers;
};

class SceneWriter
{
    using Row = SceneParameterBlock::Row;

public:
    SceneWriter(const QList<SDFNode> &nodes, const Wrappers &wrappers,
                SceneParameterBlock &parameters)
        : m_nodes(nodes)
        , m_wrappers(wrappers)
        , m_parameters(parameters)
    {}

    /// A function "FieldValue sceneFrom_<root>(vec3 p0)".
    QString chainFunction(int rootIndex)
    {
        m_body.clear();
        m_valueCount = m_positionCount = 1;
        emitLine(u"v0 = noValue();"_s);
        for (int root = rootIndex; isNode(m_nodes, root); root = m_nodes.at(root).nextSibling) {
            emitNode(root, 1, 0);
            emitLine(u"if (v1.dist < v0.dist) {"_s);
            emitLine(u"    v0 = v1;"_s);
            emitLine(u"}"_s);
        }
        return u"FieldValue sceneFrom_%1(vec3 p0) {\n%2%3    return v0;\n}\n\n"_s.arg(
            QString::number(rootIndex), declarations(), m_body);
    }

private:
    void emitLine(const QString &line) { m_body += u"    "_s + line + u'\n'; }

    QString declarations() const
    {
        QString text;
        for (int i = 0; i < m_valueCount; ++i)
            text += u"    FieldValue v%1;\n"_s.arg(i);
        for (int i = 1; i < m_positionCount; ++i)
            text += u"    vec3 p%1;\n"_s.arg(i);
        return text;
    }

    /// Lines that leave the value of a node in v<value>, at the position p<position>.
    void emitNode(int index, int value, int position)
    {
        m_valueCount = std::max(m_valueCount, value + 1);
        switch (m_nodes.at(index).type()) {
        case GpuNodeType::Primitive:
            return emitPrimitive(index, value, position);
        case GpuNodeType::CsgOp:
            return emitOperator(index, value, position);
        case GpuNodeType::PositionTransform:
            return emitTransform(index, value, position);
        case GpuNodeType::DistanceModifier:
        case GpuNodeType::PositionAwareModifier:
            return emitModifier(index, value, position);
        }
        emitLine(u"v%1 = noValue();"_s.arg(value));
    }

    void emitPrimitive(int index, int value, int position)
    {
        const SDFNode &node = m_nodes.at(index);
        const Wrapper wrapper = m_wrappers.of(node);
        const QString distance =
            wrapper.name.isEmpty() ? u"1000.0"_s : call(wrapper, placed(index, position), index);
        emitLine(u"v%1 = FieldValue(%2, %3, -1, 0.0);"_s.arg(QString::number(value), distance,
                                                             QString::number(index)));
        const QString dist = u"v%1.dist"_s.arg(value);
        if (isInflated(node))
            emitLine(dist + u" += "_s + shape(index) + u".y;"_s);
        if (isHollow(node))
            emitLine(u"%1 = abs(%1) - %2.z;"_s.arg(dist, shape(index)));
    }

    /// The position in the space of a primitive.
    QString placed(int index, int position)
    {
        const QString p = u"p%1"_s.arg(position);
        if (!isPlaced(m_nodes.at(index)))
            return p;
        return u"placedPosition(%1, %2, %3, %4)"_s.arg(p, m_parameters.row(index, Row::PlacementX),
                                                       m_parameters.row(index, Row::PlacementY),
                                                       m_parameters.row(index, Row::PlacementZ));
    }

    QString shape(int index) { return m_parameters.row(index, Row::Shape); }

    void emitOperator(int index, int value, int position)
    {
        const SDFNode &node = m_nodes.at(index);
        int child = node.firstChild;
        if (!isNode(m_nodes, child))
            return emitLine(u"v%1 = noValue();"_s.arg(value));
        emitNode(child, value, position);
        for (child = m_nodes.at(child).nextSibling; isNode(m_nodes, child);
             child = m_nodes.at(child).nextSibling) {
            emitNode(child, value + 1, position);
            emitFold(index, value);
        }
    }

    /// Folds v<value + 1> into v<value>.
    void emitFold(int index, int value)
    {
        const SDFNode &node = m_nodes.at(index);
        const QString distances = u"v%1.dist, v%2.dist"_s.arg(value + 1).arg(value);
        const QString radius = u", "_s + shape(index) + u".x"_s;
        emitLine(u"v%1 = mixedValue(%2, %3, v%4, v%1);"_s.arg(
            QString::number(value), combined(index, distances, radius),
            share(node, distances, radius), QString::number(value + 1)));
    }

    QString combined(int index, const QString &distances, const QString &radius)
    {
        const SDFNode &node = m_nodes.at(index);
        const Wrapper wrapper = m_wrappers.of(node);
        if (!wrapper.name.isEmpty()) // a user's operator
            return call(wrapper, distances, index);
        const Operation &operation = operationOf(node);
        return operation.function + u'(' + distances + (operation.isSmooth ? radius : QString()) +
               u')';
    }

    /// Of the accumulated material, as materialShare() has it.
    QString share(const SDFNode &node, const QString &distances, const QString &radius) const
    {
        switch (static_cast<MaterialMode>(node.materialMode)) {
        case MaterialMode::BaseWins:
            return u"1.0"_s;
        case MaterialMode::OperandWins:
            return u"0.0"_s;
        case MaterialMode::Blend:
            break;
        }
        if (m_wrappers.hasBlend(node))
            return u"csgBlend_%1(%2%3)"_s.arg(QString::number(node.definitionIndex), distances,
                                              radius);
        return u"applyCsgBlend(%1u, %2%3)"_s.arg(QString::number(node.definitionIndex), distances,
                                                 radius);
    }

    void emitTransform(int index, int value, int position)
    {
        const SDFNode &node = m_nodes.at(index);
        if (!isNode(m_nodes, node.firstChild))
            return emitLine(u"v%1 = noValue();"_s.arg(value));
        const Wrapper wrapper = m_wrappers.of(node);
        if (wrapper.name.isEmpty())
            return emitNode(node.firstChild, value, position);
        m_positionCount = std::max(m_positionCount, position + 2);
        emitLine(u"p%1 = %2;"_s.arg(QString::number(position + 1),
                                    call(wrapper, u"p%1"_s.arg(position), index)));
        emitNode(node.firstChild, value, position + 1);
    }

    void emitModifier(int index, int value, int position)
    {
        const SDFNode &node = m_nodes.at(index);
        if (!isNode(m_nodes, node.firstChild))
            return emitLine(u"v%1 = noValue();"_s.arg(value));
        emitNode(node.firstChild, value, position);
        const Wrapper wrapper = m_wrappers.of(node);
        if (wrapper.name.isEmpty())
            return;
        const QString dist = u"v%1.dist"_s.arg(value);
        const QString before = node.type() == GpuNodeType::PositionAwareModifier
                                   ? u"p%1, "_s.arg(position) + dist
                                   : dist;
        emitLine(u"%1 = %2;"_s.arg(dist, call(wrapper, before, index)));
    }

    QString call(const Wrapper &wrapper, const QString &arguments, int index)
    {
        return u"%1(%2, %3, %4)"_s.arg(
            wrapper.name, arguments, m_parameters.row(index, Row::Params),
            wrapper.takesSecondRow ? m_parameters.row(index, Row::Params2) : u"vec4(0.0)"_s);
    }

    const QList<SDFNode> &m_nodes;
    const Wrappers &m_wrappers;
    SceneParameterBlock &m_parameters;
    QString m_body;
    int m_valueCount = 1;
    int m_positionCount = 1;
};

QString sceneFunction(const QList<int> &rootIndices)
{
    QString text = u"float sceneSDF(vec3 pos) {\n"_s;
    for (qsizetype i = 1; i < rootIndices.size(); ++i) {
        const QString root = QString::number(rootIndices.at(i));
        text += u"    if (rootNodeIndex == %1) {\n"
                "        FieldValue other = sceneFrom_%1(pos);\n"
                "        storeMaterials(other);\n"
                "        return other.dist;\n"
                "    }\n"_s.arg(root);
    }
    const QString first =
        rootIndices.isEmpty() ? u"noValue()"_s : u"sceneFrom_%1(pos)"_s.arg(rootIndices.first());
    return text + u"    FieldValue value = %1;\n"
                  "    storeMaterials(value);\n"
                  "    return value.dist;\n"
                  "}\n"_s.arg(first);
}

} // namespace

quint64 SpecialisedScene::structureKey(const QList<SDFNode> &nodes, const QList<int> &rootIndices)
{
    size_t key = qHashRange(rootIndices.cbegin(), rootIndices.cend(), size_t(nodes.size()));
    for (const SDFNode &node : nodes) {
        const bool isOperator = node.type() == GpuNodeType::CsgOp;
        const quint32 row[] = {node.nodeType,
                               node.definitionIndex,
                               node.operationType,
                               quint32(node.firstChild),
                               quint32(node.nextSibling),
                               isOperator ? node.materialMode : 0,
                               quint32(isPlaced(node)) | quint32(isInflated(node)) << 1 |
                                   quint32(isHollow(node)) << 2};
        key = qHashBits(row, sizeof row, key);
    }
    return quint64(key);
}

QString SpecialisedScene::refusal(const QList<SDFNode> &nodes, const QList<int> &rootIndices)
{
    if (nodes.size() > maxNodes)
        return u"The scene has %1 nodes; a shader of its own can be made for up to %2."_s.arg(
            QString::number(nodes.size()), QString::number(maxNodes));
    DepthProbe probe(nodes);
    for (const int root : rootIndices) {
        if (probe.depthOfChain(root) > maxDepth)
            return u"The scene is nested more than %1 levels deep; no shader of its own is made for it."_s
                .arg(maxDepth);
    }
    return {};
}

SpecialisedScene::SpecialisedScene(const QList<SDFNode> &nodes, const QList<int> &rootIndices,
                                   const ShaderIndexManager &indices,
                                   const registry::Registry *registry)
{
    if (!refusal(nodes, rootIndices).isEmpty())
        return;
    const Wrappers wrappers(indices, registry);
    SceneWriter writer(nodes, wrappers, m_parameters);
    QString functions;
    for (const int root : rootIndices)
        functions += writer.chainFunction(root);
    m_evaluator = m_parameters.declaration() + u'\n' +
                  ShaderTemplates::load(u"sdf_specialised_scene.glsl"_s) + u'\n' + functions +
                  sceneFunction(rootIndices);
    m_key = structureKey(nodes, rootIndices);
}

} // namespace corvane::shader
