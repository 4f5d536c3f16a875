#include <corvane/eval/DefinitionWarnings.h>

#include <corvane/eval/SdfSceneGraphBuilder.h>
#include <corvane/model/Corvane.h>
#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/DefinitionCheck.h>
#include <corvane/shader/DefinitionCodeMangler.h>

#include <eval/Graph.h>

#include <QRegularExpression>

#include <array>

using namespace Qt::StringLiterals;

namespace corvane::eval {

using registry::Definition;
using registry::NodeType;
using shader::DefinitionFault;
using shader::ShaderSourceMap;

namespace {

constexpr auto prefix = "u_"_L1;

/// What a definition's function takes before its parameters, of a point p.
QString leadingArguments(NodeType type)
{
    switch (type) {
    case NodeType::CSGOperator:
        return u"p.x, p.y"_s;
    case NodeType::DistanceModifier:
        return u"p.x"_s;
    case NodeType::PositionAwareModifier:
        return u"p, p.x"_s;
    case NodeType::Unknown:
    case NodeType::Primitive:
    case NodeType::ScalarField:
    case NodeType::PositionTransform:
        break;
    }
    return u"p"_s;
}

/// One call of a definition's function, as a float.
QString callOf(const Definition &definition, const QString &function)
{
    constexpr std::array<float, shader::parameterSlotCount> ones{1, 1, 1, 1, 1, 1, 1, 1};
    const QString parameters = SdfSceneGraphBuilder::formatParamsForCall(definition, ones);
    const QString call = function + u'(' + leadingArguments(definition.nodeType) +
                         (parameters.isEmpty() ? QString() : u", "_s) + parameters + u')';
    return definition.nodeType == NodeType::PositionTransform ? u"length(%1)"_s.arg(call) : call;
}

/// A renderer leaves such a point undrawn, and a mesher has no distance for it.
QList<DefinitionFault> discardFaults(const Definition &definition)
{
    static const QRegularExpression word(u"\\bdiscard\\b"_s);
    const QString code = SdfSceneGraphBuilder::fieldCode(definition.shaderCode);
    const qsizetype at = code.indexOf(word);
    if (at < 0)
        return {};
    const ShaderSourceMap::Part part{.definitionId = definition.id, .key = u"shaderCode"_s};
    return {
        shader::faultOf(part, int(code.first(at).count(u'\n')) + 1,
                        u"a point that reaches 'discard' has no distance and counts as outside"_s)};
}

/// The faults of a definition in the field language, whose text holds the code line for line and
/// then the call.
QList<DefinitionFault> fieldFaults(const Definition &definition)
{
    const auto mangler = shader::DefinitionCodeMangler::forDefinition(definition, prefix);
    const int codeLines = int(definition.shaderCode.count(u'\n')) + 1;
    ::eval::Graph graph;
    graph.declareInput(u"p"_s, ::eval::Type::Vec3);
    graph.declareOutput(
        u"d"_s, SdfSceneGraphBuilder::fieldCode(mangler.code()) + u'\n' +
                    callOf(definition, mangler.functionName(definition.primaryFunctionName)));
    const auto compiled = graph.compile(::eval::Backend::Interpreted);
    if (compiled)
        return discardFaults(definition);
    QList<DefinitionFault> faults;
    const auto diagnostics = compiled.diagnostics();
    for (const ::eval::Diagnostic &diagnostic : diagnostics) {
        const bool isInCode = diagnostic.span.line <= codeLines;
        const ShaderSourceMap::Part part{.definitionId = definition.id,
                                         .key = isInCode ? u"shaderCode"_s : u"parameters"_s,
                                         .userNames = mangler.originalNames()};
        faults.append(
            shader::faultOf(part, isInCode ? diagnostic.span.line : 0, diagnostic.message));
        // Behind an error of syntax the parser guesses.
        if (diagnostic.category == ::eval::DiagnosticCategory::Syntax ||
            faults.size() == shader::DefinitionCheck::mostFaults)
            break;
    }
    return faults;
}

} // namespace

QList<DefinitionFault> definitionFaults(const registry::Registry &registry,
                                        const QStringList &definitionIds)
{
    constexpr auto most = shader::DefinitionCheck::mostFaults;
    if (definitionIds.isEmpty())
        return {};
    QList<DefinitionFault> faults = shader::DefinitionCheck(registry).check(definitionIds);
    QSet<QString> known;
    for (const DefinitionFault &fault : std::as_const(faults))
        known.insert(fault.definitionId);
    for (const QString &id : definitionIds) {
        const auto definition = registry.getDefinition(id);
        if (definition && !known.contains(id) && faults.size() < most)
            faults.append(fieldFaults(*definition));
    }
    return faults.first(std::min<qsizetype>(faults.size(), most));
}

QList<DefinitionFault> definitionFaults(const model::Corvane &scene, const QSet<QString> &compiled)
{
    const registry::Registry &registry = registry::Registry::instance();
    QStringList others;
    QList<DefinitionFault> faults;
    const auto definitions = scene.customDefinitions();
    for (const auto &definition : definitions) {
        if (!compiled.contains(definition->id))
            others.append(definition->id);
        else if (const auto registered = registry.getDefinition(definition->id))
            faults += discardFaults(*registered);
    }
    others.removeDuplicates();
    return faults + definitionFaults(registry, others);
}

} // namespace corvane::eval
