#include <corvane/eval/FieldTextBuilder.h>

#include <corvane/eval/SdfSceneGraphBuilder.h>
#include <corvane/registry/Definition.h>
#include <corvane/shader/DefinitionCodeMangler.h>
#include <corvane/shader/ParameterSlots.h>
#include <corvane/shader/ShaderCodeAnalyzer.h>

#include <QLoggingCategory>

namespace corvane::eval {

using namespace Qt::StringLiterals;
using shader::GpuNodeType;

Q_LOGGING_CATEGORY(lcFieldText, "ondrel.eval.field", QtWarningMsg)

namespace {

constexpr auto farLiteral = "1.0e10f"_L1;
/// Scenes up to this many nodes may be one expression; it nests no deeper than that either.
constexpr int plainLimit = 64;

bool allFinite(std::span<const float> values)
{
    return std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); });
}

int usedSlots(const registry::Definition &definition)
{
    int packed = 0;
    for (const registry::ParameterDef &parameter : definition.parameters)
        packed += shader::parameterFloatCount(parameter.type);
    return std::min(packed, shader::parameterSlotCount);
}

QString primaryFunction(const registry::Definition &definition, QLatin1String prefix)
{
    if (!definition.primaryFunctionName.isEmpty())
        return definition.primaryFunctionName;
    const QString found = shader::ShaderCodeAnalyzer::extractFunctionName(definition.shaderCode);
    return found.isEmpty() ? prefix + definition.name : found;
}

} // namespace

FieldTextBuilder::FieldTextBuilder(const QList<Node> &nodes, const DefinitionTable &definitions)
    : m_nodes(nodes)
    , m_definitions(definitions)
{}

QString FieldTextBuilder::build(int rootIndex)
{
    const QList<int> roots = rootChain(rootIndex);
    if (roots.isEmpty())
        return u'\n' + QString(farLiteral);
    for (const int root : roots)
        survey(root, 0);
    m_visits = 0;
    QString result = emitFold(roots, u"p"_s, 0, [](const QString &child, const QString &sum) {
        return u"min(%1, %2)"_s.arg(sum, child);
    });
    if (!m_error.isEmpty())
        return u'\n' + QString(farLiteral);
    if (m_statements) {
        m_prelude += sceneFunction(result);
        result = u"corvaneScene(p)"_s;
    }
    return m_prelude + u'\n' + result;
}

QList<int> FieldTextBuilder::rootChain(int rootIndex) const
{
    QList<int> roots;
    for (int index = rootIndex; isNode(index); index = m_nodes.at(index).nextSibling) {
        if (roots.size() == SdfSceneGraphBuilder::maxRoots) {
            qCWarning(lcFieldText) << "SdfSceneGraphBuilder: only the first" << roots.size()
                                   << "roots are part of the field";
            break;
        }
        roots.append(index);
    }
    return roots;
}

QList<int> FieldTextBuilder::childChain(int index)
{
    QList<int> children;
    for (int child = m_nodes.at(index).firstChild; isNode(child);
         child = m_nodes.at(child).nextSibling) {
        if (children.size() == m_nodes.size()) {
            fail(u"Children of node index %1 do not end — likely a cycle"_s.arg(index));
            return {};
        }
        children.append(child);
    }
    return children;
}

/// Decides between one expression and statements.
/// @return how often the position of the node is used
int FieldTextBuilder::survey(int index, int depth)
{
    if (++m_visits > plainLimit || depth > plainLimit)
        m_statements = true;
    if (m_statements)
        return 0;
    const Node &node = m_nodes.at(index);
    int uses = node.type() == GpuNodeType::PositionAwareModifier ? 1 : 0;
    if (node.type() == GpuNodeType::Primitive)
        return 1;
    for (int child = node.firstChild; isNode(child) && !m_statements;
         child = m_nodes.at(child).nextSibling) {
        uses += survey(child, depth + 1);
        if (node.type() != GpuNodeType::CsgOp)
            break;
    }
    if (node.type() == GpuNodeType::PositionTransform && uses > 1)
        m_statements = true;
    return uses;
}

QString FieldTextBuilder::emitNode(int index, const QString &position, int depth)
{
    if (!m_error.isEmpty())
        return farLiteral;
    if (depth > SdfSceneGraphBuilder::maxDepth)
        return fail(u"SDF tree depth exceeds 256 — likely a cycle"_s);
    if (++m_visits > SdfSceneGraphBuilder::maxVisits)
        return fail(u"SDF tree expands to more than 65536 nodes"_s);
    const Node &node = m_nodes.at(index);
    switch (node.type()) {
    case GpuNodeType::Primitive:
        return emitPrimitive(node, position);
    case GpuNodeType::CsgOp:
        return emitOperator(index, position, depth);
    case GpuNodeType::PositionTransform:
        return emitTransform(node, position, depth);
    case GpuNodeType::DistanceModifier:
        return emitModifier(node, position, depth);
    case GpuNodeType::PositionAwareModifier:
        return emitPositionAware(node, position, depth);
    }
    return fail(u"Unknown node type %1"_s.arg(node.nodeType));
}

QString FieldTextBuilder::emitPrimitive(const Node &node, const QString &position)
{
    const registry::Definition *definition = m_definitions.find(node);
    if (!definition)
        return fail(
            u"Primitive node has no Definition (definitionIndex=%1)"_s.arg(node.definitionIndex));
    if (!allFinite(node.invTransform) || !std::isfinite(node.densityScale) ||
        !std::isfinite(node.shellThickness))
        return fail(u"The placement of '%1' is not a finite number"_s.arg(definition->id));
    QString distance = call(*definition, node, "sdf_"_L1,
                            {SdfSceneGraphBuilder::applyInvTransform(node.invTransform, position)});
    if (node.densityScale != 1.0f)
        distance =
            u"(%1 + %2)"_s.arg(distance, SdfSceneGraphBuilder::floatLit(node.densityScale - 1.0f));
    if (node.shellThickness > 0.0f)
        distance =
            u"(abs(%1) - %2)"_s.arg(distance, SdfSceneGraphBuilder::floatLit(node.shellThickness));
    return distance;
}

QString FieldTextBuilder::emitOperator(int index, const QString &position, int depth)
{
    const Node &node = m_nodes.at(index);
    const registry::Definition *definition = m_definitions.find(node);
    if (!definition)
        return fail(u"CSG operator at node index %1 has no Definition (definitionIndex=%2)"_s.arg(
            QString::number(index), QString::number(node.definitionIndex)));
    const QList<int> children = childChain(index);
    if (children.isEmpty())
        return farLiteral;
    return emitFold(children, position, depth + 1,
                    [&](const QString &child, const QString &accumulated) {
                        return call(*definition, node, "op_"_L1, {child, accumulated});
                    });
}

QString FieldTextBuilder::emitTransform(const Node &node, const QString &position, int depth)
{
    const registry::Definition *definition = m_definitions.find(node);
    if (!definition)
        return fail(u"PositionTransform node has no Definition"_s);
    if (!isNode(node.firstChild))
        return fail(
            u"PositionTransform node has no child: '%1' needs one to act on"_s.arg(definition->id));
    const QString moved = call(*definition, node, "op_"_L1, {position});
    if (!m_statements)
        return emitNode(node.firstChild, moved, depth + 1);
    const QString variable = assign(positionVariable(m_positionLevel), moved);
    ++m_positionLevel;
    QString distance = emitNode(node.firstChild, variable, depth + 1);
    --m_positionLevel;
    return distance;
}

// The shaders leave the world matrix of a modifier alone, since the primitives below it apply the
// same one: its child is emitted at the position as it stands here.
QString FieldTextBuilder::emitModifier(const Node &node, const QString &position, int depth)
{
    const registry::Definition *definition = m_definitions.find(node);
    if (!definition)
        return fail(u"DistanceModifier node has no Definition"_s);
    if (!isNode(node.firstChild))
        return fail(
            u"DistanceModifier node has no child: '%1' needs one to act on"_s.arg(definition->id));
    const QString distance =
        call(*definition, node, "mod_"_L1, {emitNode(node.firstChild, position, depth + 1)});
    return m_statements ? assign(distanceVariable(m_distanceLevel), distance) : distance;
}

QString FieldTextBuilder::emitPositionAware(const Node &node, const QString &position, int depth)
{
    const registry::Definition *definition = m_definitions.find(node);
    if (!definition)
        return fail(u"PositionAwareModifier node has no Definition"_s);
    if (!isNode(node.firstChild))
        return fail(u"PositionAwareModifier node has no child: '%1' needs one to act on"_s.arg(
            definition->id));
    const QString distance = call(*definition, node, "pam_"_L1,
                                  {position, emitNode(node.firstChild, position, depth + 1)});
    return m_statements ? assign(distanceVariable(m_distanceLevel), distance) : distance;
}

/// Folds the distances of nodes from the left: combine(new child, what stands so far).
template<class Combine>
QString FieldTextBuilder::emitFold(const QList<int> &children, const QString &position, int depth,
                                   Combine combine)
{
    if (!m_statements) {
        QString sum = emitNode(children.first(), position, depth);
        for (qsizetype i = 1; i < children.size() && m_error.isEmpty(); ++i)
            sum = combine(emitNode(children.at(i), position, depth), sum);
        return sum;
    }
    if (children.size() == 1)
        return emitNode(children.first(), position, depth);
    const QString variable = distanceVariable(m_distanceLevel);
    assign(variable, emitNode(children.first(), position, depth));
    ++m_distanceLevel;
    for (qsizetype i = 1; i < children.size() && m_error.isEmpty(); ++i)
        assign(variable, combine(emitNode(children.at(i), position, depth), variable));
    --m_distanceLevel;
    return variable;
}

/// Emits a definition's code once.
/// @return the name to call it by
QString FieldTextBuilder::ensureFnEmitted(const registry::Definition &definition, const Node &node,
                                          QLatin1String prefix)
{
    const auto known = m_functions.constFind(&definition);
    if (known != m_functions.constEnd())
        return *known;
    const QString number =
        u"u%1n%2_"_s.arg(QString::number(node.nodeType), QString::number(node.definitionIndex));
    const auto mangler = shader::DefinitionCodeMangler::forDefinition(definition, number);
    const QString name = mangler.functionName(primaryFunction(definition, prefix));
    m_prelude += SdfSceneGraphBuilder::fieldCode(mangler.code()) + u'\n';
    m_functions.insert(&definition, name);
    return name;
}

QString FieldTextBuilder::call(const registry::Definition &definition, const Node &node,
                               QLatin1String prefix, const QStringList &arguments)
{
    checkNumbers(definition, node);
    const QString function = ensureFnEmitted(definition, node, prefix);
    const QString parameters =
        SdfSceneGraphBuilder::formatParamsForCall(definition, node.parameterSlots());
    QString text = function + u'(' + arguments.join(", "_L1);
    if (!parameters.isEmpty())
        text += ", "_L1 + parameters;
    return text + u')';
}

void FieldTextBuilder::checkNumbers(const registry::Definition &definition, const Node &node)
{
    const auto packed = node.parameterSlots();
    if (!allFinite(std::span(packed).first(static_cast<std::size_t>(usedSlots(definition)))))
        fail(u"A parameter of '%1' is not a finite number"_s.arg(definition.id));
}

QString FieldTextBuilder::fail(const QString &message)
{
    if (m_error.isEmpty())
        m_error = message;
    return farLiteral;
}

/// Appends a statement to the body.
/// @return the variable
QString FieldTextBuilder::assign(const QString &variable, const QString &expression)
{
    if (variable != expression)
        m_body += u"    %1 = %2;\n"_s.arg(variable, expression);
    return variable;
}

QString FieldTextBuilder::distanceVariable(int level)
{
    m_distanceCount = std::max(m_distanceCount, level + 1);
    return u"dist%1"_s.arg(level);
}

QString FieldTextBuilder::positionVariable(int level)
{
    m_positionCount = std::max(m_positionCount, level + 1);
    return u"pos%1"_s.arg(level);
}

QString FieldTextBuilder::sceneFunction(const QString &result) const
{
    QString text = u"float corvaneScene(vec3 p) {\n"_s;
    for (int i = 0; i < m_positionCount; ++i)
        text += u"    vec3 pos%1;\n"_s.arg(i);
    for (int i = 0; i < m_distanceCount; ++i)
        text += u"    float dist%1;\n"_s.arg(i);
    return text + m_body + "    return "_L1 + result + ";\n}\n"_L1;
}

} // namespace corvane::eval
