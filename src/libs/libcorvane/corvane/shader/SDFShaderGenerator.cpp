#include <corvane/shader/SDFShaderGenerator.h>

#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/IEnvironment.h>
#include <corvane/shader/IShadingMode.h>
#include <corvane/shader/ShaderDispatchGenerator.h>
#include <corvane/shader/ShaderFunctionGenerator.h>
#include <corvane/shader/ShaderTemplates.h>

#include <QLoggingCategory>

namespace corvane::shader {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcGenerator, "ondrel.shader.generator", QtWarningMsg)

namespace {

constexpr auto functionsHole = "// {{SDF_FUNCTIONS}}"_L1;
constexpr auto dispatchHole = "// {{DISPATCH_FUNCTION}}"_L1;
constexpr auto environmentHole = "// {{ENVIRONMENT_SAMPLE}}"_L1;

} // namespace

SDFShaderGenerator::SDFShaderGenerator(const registry::Registry *registry)
{
    setRegistry(registry);
}

void SDFShaderGenerator::setRegistry(const registry::Registry *registry)
{
    m_registry = registry;
    rebuildIndices();
}

QString SDFShaderGenerator::generateSDFFunctions() const
{
    return ShaderFunctionGenerator::generateSDFFunctions(m_indices, m_registry).text();
}

QString SDFShaderGenerator::generateAllDispatchFunctions() const
{
    return dispatchFunctions().text();
}

QString SDFShaderGenerator::generateFragmentShader() const
{
    if (lcGenerator().isInfoEnabled()) {
        qCInfo(lcGenerator).noquote()
            << "=== PRIMITIVE DISPATCH CODE ===\n"
            << ShaderDispatchGenerator::generatePrimitiveDispatch(m_indices, m_registry)
            << "=== END PRIMITIVE DISPATCH CODE ===";
    }
    return fillTemplate(u"sdf_forward.frag.in"_s);
}

QString SDFShaderGenerator::generateGeometryShader() const
{
    return fillTemplate(u"sdf_geometry.frag.in"_s);
}

QString SDFShaderGenerator::generateShadingShader() const
{
    QString source = m_shadingMode ? m_shadingMode->shadingShaderSource() : QString();
    if (source.isEmpty())
        source = ShaderTemplates::load(u"sdf_shading.frag.in"_s);
    QList<ShaderTemplates::Filling> fillings;
    if (m_shadingMode && m_shadingMode->needsEnvironmentSnippet() && m_background)
        fillings.append({environmentHole, m_background->sampleSnippet()});
    if (m_shadingMode && m_shadingMode->needsSceneEvaluation()) {
        fillings.append({functionsHole, generateSDFFunctions()});
        fillings.append({dispatchHole, generateAllDispatchFunctions()});
    }
    return ShaderTemplates::fill(source, fillings);
}

QString SDFShaderGenerator::generateFieldSamplingShader() const
{
    return generateMappedFieldShader().text();
}

MappedText SDFShaderGenerator::generateMappedFieldShader() const
{
    return fillMapped(ShaderTemplates::load(u"sdf_field_sampling.frag.in"_s));
}

QString SDFShaderGenerator::generateCrossSectionShader() const
{
    return fillTemplate(u"sdf_cross_section.frag.in"_s);
}

QString SDFShaderGenerator::filledScene(const QString &text) const
{
    return fillMapped(ShaderTemplates::withIncludes(text)).text();
}

int SDFShaderGenerator::operationType(const QString &id) const
{
    const auto definition = m_registry ? m_registry->getDefinition(id) : nullptr;
    const bool isCsg = definition && definition->nodeType == registry::NodeType::CSGOperator;
    return isCsg ? definition->operationType : -1;
}

int SDFShaderGenerator::nodeType(const QString &id) const
{
    const auto definition = m_registry ? m_registry->getDefinition(id) : nullptr;
    return definition ? static_cast<int>(definition->nodeType) : 0;
}

MappedText SDFShaderGenerator::dispatchFunctions() const
{
    MappedText text = ShaderDispatchGenerator::generateDispatchers(m_indices, m_registry);
    text.append(ShaderDispatchGenerator::csgOperations());
    if (!m_specialised.isNull())
        text.append(u'\n' + m_specialised.evaluator());
    else if (m_treeEvaluatorIncluded)
        text.append(u'\n' + ShaderDispatchGenerator::treeEvaluator());
    return text;
}

MappedText SDFShaderGenerator::fillMapped(const QString &source) const
{
    // Dispatchers call the functions, so their hole comes second in every template.
    const qsizetype functions = source.indexOf(functionsHole);
    const qsizetype dispatch = source.indexOf(dispatchHole, functions);
    MappedText text;
    if (functions < 0 || dispatch < 0)
        return text;
    text.append(source.left(functions));
    text.append(ShaderFunctionGenerator::generateSDFFunctions(m_indices, m_registry));
    const qsizetype behind = functions + functionsHole.size();
    text.append(source.mid(behind, dispatch - behind));
    text.append(dispatchFunctions());
    text.append(source.mid(dispatch + dispatchHole.size()));
    return text;
}

QString SDFShaderGenerator::fillTemplate(const QString &name) const
{
    return fillMapped(ShaderTemplates::load(name)).text();
}

} // namespace corvane::shader
