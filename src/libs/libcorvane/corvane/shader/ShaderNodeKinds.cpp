#include <corvane/shader/ShaderNodeKinds.h>

#include <corvane/registry/Definition.h>
#include <corvane/registry/Registry.h>
#include <corvane/shader/DefinitionCodeMangler.h>
#include <corvane/shader/ShaderCodeAnalyzer.h>
#include <corvane/shader/ShaderIndexManager.h>

#include <algorithm>

namespace corvane::shader {

using namespace Qt::StringLiterals;

namespace {

constexpr ShaderNodeKind kinds[] = {
    {.type = GpuNodeType::Primitive,
     .functionsBanner = "// ============= Primitive SDF Functions ============="_L1,
     .definitionWords = "primitive definitions"_L1,
     .functionComment = "// === %1 (primitive index %2) ==="_L1,
     .functionSuffix = "_%1"_L1,
     .namePrefix = "u%1_"_L1,
     .missingName = "function name"_L1,
     .wrappersBanner = "// ============= Primitive Wrappers ============="_L1,
     .wrapperName = "sdf_wrapper_%1"_L1,
     .wrapper = R"(// %1
float sdf_wrapper_%2(vec3 p, vec4 params, vec4 params2) {
    return %3(p%4%5);
}
)"_L1,
     .dispatchBanner = "// ============= Primitive Dispatch ============="_L1,
     .dispatcher =
         R"(float evaluatePrimitiveByDefinition(uint defIndex, vec3 p, vec4 params, vec4 params2) {
    switch (defIndex) {
%1        default: return 1000.0; // Unknown primitive
    }
}
)"_L1,
     .dispatchCase = "        case %1u: return sdf_wrapper_%1(p, params, params2);\n"_L1},
    {.type = GpuNodeType::PositionTransform,
     .functionsBanner = "// ============= Position Transform Functions ============="_L1,
     .definitionWords = "transform definitions"_L1,
     .functionComment = "// === %1 (transform index %2) ==="_L1,
     .functionSuffix = "_t%1"_L1,
     .namePrefix = "ut%1_"_L1,
     .missingName = "transform function name"_L1,
     .wrappersBanner = "// ============= Position Transform Wrappers ============="_L1,
     .wrapperName = "transform_wrapper_%1"_L1,
     .wrapper = R"(// %1
vec3 transform_wrapper_%2(vec3 p, vec4 params, vec4 params2) {
    return %3(p%4%5);
}
)"_L1,
     .dispatchBanner = "// ============= Position Transform Dispatch ============="_L1,
     .dispatcher =
         R"(vec3 applyPositionTransform(uint transformIndex, vec3 p, vec4 params, vec4 params2) {
    switch (transformIndex) {
%1        default: return p; // Unknown transform - identity
    }
}
)"_L1,
     .dispatchCase = "        case %1u: return transform_wrapper_%1(p, params, params2);\n"_L1},
    {.type = GpuNodeType::DistanceModifier,
     .functionsBanner = "// ============= Distance Modifier Functions ============="_L1,
     .definitionWords = "modifier definitions"_L1,
     .functionComment = "// === %1 (modifier index %2) ==="_L1,
     .functionSuffix = "_m%1"_L1,
     .namePrefix = "um%1_"_L1,
     .missingName = "modifier function name"_L1,
     .wrappersBanner = "// ============= Distance Modifier Wrappers ============="_L1,
     .wrapperName = "modifier_wrapper_%1"_L1,
     .wrapper = R"(// %1
float modifier_wrapper_%2(float d, vec4 params, vec4 params2) {
    return %3(d%4%5);
}
)"_L1,
     .dispatchBanner = "// ============= Distance Modifier Dispatch ============="_L1,
     .dispatcher =
         R"(float applyDistanceModifier(uint modifierIndex, float d, vec4 params, vec4 params2) {
    switch (modifierIndex) {
%1        default: return d; // Unknown modifier - identity
    }
}
)"_L1,
     .dispatchCase = "        case %1u: return modifier_wrapper_%1(d, params, params2);\n"_L1},
    {.type = GpuNodeType::PositionAwareModifier,
     .functionsBanner = "// ============= Position-Aware Modifier Functions ============="_L1,
     .definitionWords = "PAM definitions"_L1,
     .functionComment = "// === %1 (PAM index %2) ==="_L1,
     .functionSuffix = "_pam%1"_L1,
     .namePrefix = "upam%1_"_L1,
     .missingName = "PAM function name"_L1,
     .wrappersBanner = "// ============= Position-Aware Modifier Wrappers ============="_L1,
     .wrapperName = "pam_wrapper_%1"_L1,
     .wrapper = R"(// %1
float pam_wrapper_%2(vec3 p, float d, vec4 params, vec4 params2) {
    return %3(p, d%4%5);
}
)"_L1,
     .dispatchBanner = "// ============= Position-Aware Modifier Dispatch ============="_L1,
     .dispatcher =
         R"(float applyPositionAwareModifier(uint pamIndex, vec3 p, float d, vec4 params, vec4 params2) {
    switch (pamIndex) {
%1        default: return d; // Unknown PAM - identity
    }
}
)"_L1,
     .dispatchCase = "        case %1u: return pam_wrapper_%1(p, d, params, params2);\n"_L1},
    {.type = GpuNodeType::CsgOp,
     .functionsBanner = "// ============= CSG Operator Functions ============="_L1,
     .definitionWords = "operator definitions"_L1,
     .functionComment = "// === %1 (operator index %2) ==="_L1,
     .functionSuffix = "_c%1"_L1,
     .namePrefix = "uc%1_"_L1,
     .missingName = "operator function name"_L1,
     .wrappersBanner = "// ============= CSG Operator Wrappers ============="_L1,
     .wrapperName = "operator_wrapper_%1"_L1,
     .wrapper = R"(// %1
float operator_wrapper_%2(float d1, float d2, vec4 params, vec4 params2) {
    return %3(d1, d2%4%5);
}
)"_L1,
     .dispatchBanner = "// ============= CSG Operator Dispatch ============="_L1,
     .dispatcher = R"(float applyCsgOp(uint opType, float d1, float d2, float smoothness);

float applyCsgOperator(uint csgIndex, uint opType, float d1, float d2, float smoothness, vec4 params, vec4 params2) {
    switch (csgIndex) {
%1        default: return applyCsgOp(opType, d1, d2, smoothness);
    }
}
)"_L1,
     .dispatchCase = "        case %1u: return operator_wrapper_%1(d1, d2, params, params2);\n"_L1,
     .isOfUsersOnly = true},
};
static_assert(std::size(kinds) == gpuNodeTypeCount);

bool isBlank(QChar c)
{
    return c.isSpace();
}

// The line on which a text begins that has its leading blanks trimmed.
int firstLineOf(const QString &text)
{
    const auto begin = std::find_if_not(text.cbegin(), text.cend(), &isBlank);
    return 1 + int(std::count(text.cbegin(), begin, u'\n'));
}

} // namespace

std::span<const ShaderNodeKind> shaderNodeKinds()
{
    return kinds;
}

QList<int> writtenIndices(const ShaderNodeKind &kind, const ShaderIndexManager &indices,
                          const registry::Registry &registry)
{
    QList<int> written;
    const QList<int> active = indices.activeIndices(kind.type);
    for (const int index : active) {
        const auto definition = registry.getDefinition(indices.idAt(kind.type, index));
        if (definition && !(kind.isOfUsersOnly && definition->isFromResources()))
            written.append(index);
    }
    return written;
}

QString mainFunctionName(const registry::Definition &definition)
{
    const QString name = ShaderCodeAnalyzer::extractFunctionName(definition.shaderCode);
    return name.isEmpty() ? definition.primaryFunctionName : name;
}

std::optional<QString> shaderFunctionName(const registry::Definition &definition,
                                          const ShaderNodeKind &kind, int index)
{
    const QString name = mainFunctionName(definition);
    if (name.isEmpty())
        return std::nullopt;
    const QString suffix = QString(kind.functionSuffix).arg(index);
    if (definition.isFromResources())
        return name + suffix;
    return DefinitionCodeMangler::mangledName(QString(kind.namePrefix).arg(index), name) + suffix;
}

std::optional<ShaderFunction> shaderFunction(const registry::Definition &definition,
                                             const ShaderNodeKind &kind, int index)
{
    const auto newName = shaderFunctionName(definition, kind, index);
    if (!newName)
        return std::nullopt;
    const QString prefix = QString(kind.namePrefix).arg(index);
    const auto mangler = DefinitionCodeMangler::forDefinition(definition, prefix);
    const QString ownName = mainFunctionName(definition);
    const QString oldName = mangler.functionName(ownName);
    ShaderFunction function{.name = *newName,
                            .code = ShaderCodeAnalyzer::renameFunctionInCode(
                                mangler.code().trimmed(), oldName, *newName),
                            .firstLine = firstLineOf(mangler.code()),
                            .userNames = mangler.originalNames()};
    function.userNames.insert(*newName, ownName);
    return function;
}

QString commentText(const QString &text)
{
    QString line = text;
    for (QChar &c : line) {
        const bool endsLine = c.category() == QChar::Other_Control ||
                              c.category() == QChar::Separator_Line ||
                              c.category() == QChar::Separator_Paragraph;
        if (endsLine)
            c = u' ';
    }
    if (line.endsWith(u'\\')) // would carry the comment over the next line
        line += u'.';
    return line;
}

} // namespace corvane::shader
