#include <corvane/eval/TransformProbe.h>

#include <corvane/eval/SdfSceneGraphBuilder.h>
#include <corvane/registry/Definition.h>
#include <corvane/render/SDFNodePacker.h>
#include <corvane/shader/DefinitionCodeMangler.h>

#include <QLoggingCategory>

namespace corvane::eval {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcProbe, "ondrel.eval.probe", QtWarningMsg)

namespace {

/// A drag on a parameter makes a new text for each of its values: old ones are let go.
constexpr qsizetype mostPrograms = 256;

} // namespace

std::array<float, shader::parameterSlotCount>
TransformProbe::packParameters(const model::Instance &instance,
                               const registry::Definition &definition)
{
    return render::SDFNodePacker::packParameters(instance, definition);
}

std::optional<QVector3D> TransformProbe::evaluateChain(const QList<TransformStep> &steps,
                                                       const QVector3D &point)
{
    if (steps.isEmpty())
        return point;
    const QString text = chainText(steps);
    if (!m_programs.contains(text) && m_programs.size() >= mostPrograms)
        m_programs.clear();
    auto found = m_programs.find(text);
    if (found == m_programs.end())
        found = m_programs.insert(text, compile(text));
    CachedProgram &chain = *found;
    if (!chain.program.isValid())
        return std::nullopt;
    chain.program.set(chain.input, point);
    if (!chain.program.evaluate())
        return std::nullopt;
    return chain.program.get(chain.output).value<QVector3D>();
}

QString TransformProbe::chainText(const QList<TransformStep> &steps)
{
    QHash<const registry::Definition *, QString> functions;
    QString code;
    QString moved = u"p"_s;
    for (const TransformStep &step : steps) {
        if (!step.definition)
            return {};
        const registry::Definition &definition = *step.definition;
        QString &function = functions[&definition];
        if (function.isEmpty()) {
            const auto mangler = shader::DefinitionCodeMangler::forDefinition(
                definition, u"s%1_"_s.arg(functions.size()));
            function = mangler.functionName(definition.primaryFunctionName);
            code += SdfSceneGraphBuilder::fieldCode(mangler.code()) + u'\n';
        }
        const QString parameters =
            SdfSceneGraphBuilder::formatParamsForCall(definition, step.parameters);
        moved =
            function + u'(' + moved + (parameters.isEmpty() ? u""_s : u", "_s) + parameters + u')';
    }
    return code + u'\n' + moved;
}

TransformProbe::CachedProgram TransformProbe::compile(const QString &text)
{
    ::eval::Graph graph;
    CachedProgram chain;
    chain.input = graph.declareInput(u"p"_s, ::eval::Type::Vec3);
    chain.output = graph.declareOutput(u"out"_s, text);
    auto compiled = graph.compile(::eval::Backend::Native);
    if (!compiled)
        compiled = graph.compile(::eval::Backend::Interpreted);
    if (compiled && compiled.value().slotType(chain.output) == ::eval::Type::Vec3)
        chain.program = compiled.value();
    else
        qCWarning(lcProbe).noquote() << "TransformProbe::evaluateChain compile failed (cached):"
                                     << compiled.firstError().message;
    return chain;
}

} // namespace corvane::eval
