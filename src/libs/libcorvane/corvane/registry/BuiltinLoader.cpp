#include "BuiltinLoader.h"

#include <corvane/registry/BuiltinPaths.h>
#include <corvane/registry/Registry.h>
#include <corvane/registry/code/ParameterExtractor.h>
#include <corvane/registry/code/ShaderValidator.h>
#include <corvane/yaml/YamlParser.h>
#include <store/RegularFile.h>

#include "DefinitionValidation.h"
#include "RegistryLog.h"

using namespace Qt::StringLiterals;

namespace corvane::registry {

namespace {

constexpr int yamlIndent = 2;
constexpr qint64 maxFileSize = 16 * 1024 * 1024;

constexpr auto testShader =
    "#version 450\n\n%1\n\nlayout(location = 0) out vec4 fragColor;\n\nvoid main() {\n"
    "    fragColor = vec4(1.0);\n}\n"_L1;

std::optional<QVariantMap> readYaml(const QString &path)
{
    QString reason;
    const auto bytes = store::readRegularFile(path, maxFileSize, &reason);
    if (!bytes) {
        qCWarning(lcRegistry).noquote()
            << "Registry: Failed to open YAML file:" << path << "-" << reason;
        return std::nullopt;
    }
    QList<yaml::YamlParser::ParseError> errors;
    const QVariantMap map =
        yaml::YamlParser(yamlIndent).parseToVariantMap(QString::fromUtf8(*bytes), errors);
    for (const auto &error : std::as_const(errors))
        qCWarning(lcRegistry).noquote() << "Registry: YAML parse error:" << error.toString();
    return errors.isEmpty() ? std::optional(map) : std::nullopt;
}

bool isGiven(const QVariant &value)
{
    return value.isValid() && !value.isNull();
}

// What the file says beyond the signature: name, type and order come from there.
void overlay(ParameterDef &parameter, const ParameterDef &fromFile)
{
    if (!fromFile.displayName.isEmpty() && fromFile.displayName != fromFile.name)
        parameter.displayName = fromFile.displayName;
    for (const auto text :
         {&ParameterDef::description, &ParameterDef::section, &ParameterDef::unit}) {
        if (!(fromFile.*text).isEmpty())
            parameter.*text = fromFile.*text;
    }
    if (fromFile.uiHint != UIHint::Default)
        parameter.uiHint = fromFile.uiHint;
    for (const auto value : {&ParameterDef::minValue, &ParameterDef::maxValue,
                             &ParameterDef::defaultValue, &ParameterDef::stepValue}) {
        if (isGiven(fromFile.*value))
            parameter.*value = fromFile.*value;
    }
    if (fromFile.drag)
        parameter.drag = fromFile.drag;
    parameter.gizmo = fromFile.gizmo;
    parameter.required = fromFile.required;
}

void takeParametersFromSignature(Definition &definition)
{
    QList<ParameterDef> parameters =
        shader::ParameterExtractor::extractParametersFromFunctionSignature(
            definition.shaderCode, definition.primaryFunctionName);
    for (ParameterDef &parameter : parameters) {
        if (const ParameterDef *fromFile = definition.parameter(parameter.name))
            overlay(parameter, *fromFile);
    }
    definition.parameters = parameters;
    qCInfo(lcRegistry).noquote() << "Registry: Auto-extracted" << parameters.size()
                                 << "parameters for" << definition.id << "from shader code";
}

// A definition that fails still loads: an unused bad one must not stop the program.
void testCompile(Definition &definition)
{
    const auto result = shader::ShaderValidator::validate(
        QString(testShader).arg(definition.shaderCode), QShader::FragmentStage, definition.id);
    definition.spirv = result.spirv;
    definition.spirvValid = result.success;
    if (!result.success)
        qCWarning(lcRegistry).noquote() << "Registry: SPIR-V compilation failed for"
                                        << definition.id << result.diagnostics.value(0).message;
}

QList<LoadedBuiltin> loadAll()
{
    QList<LoadedBuiltin> loaded;
    const auto &groups = builtinGroups();
    for (std::size_t group = 0; group < groups.size(); ++group) {
        for (const QString &id : groups[group].ids) {
            LoadedBuiltin builtin;
            builtin.group = int(group);
            builtin.path = groups[group].path(id);
            builtin.definition = loadDefinitionFile(builtin.path);
            if (builtin.definition) {
                builtin.errors = validateBuiltin(*builtin.definition);
                builtin.definition->sourcePath = builtin.path;
            }
            loaded.append(builtin);
        }
    }
    return loaded;
}

} // namespace

const QList<LoadedBuiltin> &loadedBuiltins()
{
    static const QList<LoadedBuiltin> loaded = loadAll();
    return loaded;
}

DefinitionPtr loadDefinitionFile(const QString &path)
{
    const auto map = readYaml(path);
    if (!map)
        return {};
    if (map->isEmpty()) {
        qCWarning(lcRegistry) << "Registry: Failed to create primitive from YAML";
        return {};
    }
    const DefinitionPtr definition = Definition::fromVariantMap(*map);
    if (definition->shaderCode.isEmpty())
        return definition;
    Registry::analyzeShaderSignature(definition);
    if (definition->nodeType == NodeType::Primitive ||
        definition->nodeType == NodeType::ScalarField)
        takeParametersFromSignature(*definition);
    testCompile(*definition);
    return definition;
}

} // namespace corvane::registry
