#include <corvane/shader/DefinitionCheck.h>

#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/registry/code/ShaderValidator.h>
#include <corvane/registry/code/SignatureAnalyzer.h>
#include <corvane/shader/ShaderNodeKinds.h>

using namespace Qt::StringLiterals;

namespace corvane::shader {

namespace {

constexpr auto functionRemedy =
    "Give it a function such as \"float sdf_name(vec3 p, ...)\", \"float op_name(float d1, float "
    "d2, ...)\", \"vec3 op_name(vec3 p, ...)\", \"float mod_name(float d, ...)\", \"float "
    "pam_name(vec3 p, float d, ...)\" or \"float field_name(vec3 p, ...)\""_L1;

DefinitionFault faultInCode(const registry::Definition &definition, const QString &message,
                            const QString &remedy)
{
    return {.definitionId = definition.id,
            .key = u"shaderCode"_s,
            .line = 0,
            .message = message,
            .remedy = remedy};
}

} // namespace

DefinitionCheck::DefinitionCheck(const registry::Registry &registry)
    : m_registry(registry)
    , m_generator(&registry)
{}

QList<DefinitionFault> DefinitionCheck::check(const QStringList &ids)
{
    m_faults.clear();
    QStringList compiled;
    for (const QString &id : ids) {
        if (m_registry.contains(id) && !findFaultOfFunction(id))
            compiled.append(id);
    }
    if (!compiled.isEmpty())
        compile(compiled);
    return m_faults.first(std::min<qsizetype>(m_faults.size(), mostFaults));
}

// Without a main function there is nothing to compile.
bool DefinitionCheck::findFaultOfFunction(const QString &id)
{
    const auto definition = m_registry.getDefinition(id);
    const auto signature = SignatureAnalyzer::analyze(definition->shaderCode);
    if (!signature.valid) {
        m_faults.append(faultInCode(*definition, signature.errorMessage, functionRemedy));
        return true;
    }
    const QString drawn = mainFunctionName(*definition);
    if (drawn == signature.primaryFunctionName)
        return false;
    m_faults.append(faultInCode(
        *definition,
        u"'%1' is taken for its main function where it is drawn, and '%2' where it is meshed"_s.arg(
            drawn, signature.primaryFunctionName),
        u"Put the main function first, or name the other without such a prefix"_s));
    return true;
}

void DefinitionCheck::compile(const QStringList &ids)
{
    if (m_faults.size() >= mostFaults)
        return;
    m_generator.setActiveDefinitionIds(QSet<QString>(ids.cbegin(), ids.cend()));
    const MappedText source = m_generator.generateMappedFieldShader();
    const ValidationResult result =
        ShaderValidator::validate(source.text(), QShader::FragmentStage, u"definitions"_s);
    if (result.success)
        return;
    if (ids.size() > 1) {
        compile(ids.first(ids.size() / 2));
        compile(ids.sliced(ids.size() / 2));
        return;
    }
    const QList<DefinitionFault> faults = faultsOf(result.diagnostics, source.map());
    m_faults.append(faults.isEmpty() ? faultElsewhere(ids.first(), result) : faults);
}

// What is wrong with the code as a whole has no line, and an open bracket or comment is found where
// the text goes on.
QList<DefinitionFault> DefinitionCheck::faultElsewhere(const QString &id,
                                                       const ValidationResult &result) const
{
    const ::shader::Diagnostic diagnostic = result.diagnostics.value(0);
    const ShaderSourceMap::Part part{.definitionId = id, .key = u"shaderCode"_s};
    DefinitionFault fault = faultOf(part, 0, diagnostic.message);
    if (diagnostic.line > 0)
        fault.remedy = u"Look for a bracket or comment that is not closed"_s;
    return {fault};
}

} // namespace corvane::shader
