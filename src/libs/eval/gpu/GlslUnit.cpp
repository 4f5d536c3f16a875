#include <eval/gpu/GlslUnit.h>

#include <eval/gpu/GlslText.h>
#include <eval/internal/codegen/CodeWriter.h>

namespace eval::gpu {

using namespace internal;

GlslUnit::GlslUnit(const StructRegistry &structs)
    : CodeUnit(structs, {.statementLimit = statementLimit,
                         .within = "evalWithin",
                         .logicalOperators = {"&&", "||", "^^"},
                         .fromBits = "uintBitsToFloat"})
{}

bool GlslUnit::isVariableType(Type type) const
{
    return isGlslType(type);
}

QByteArray GlslUnit::typeName(Type type) const
{
    return glslTypeName(type);
}

QByteArray GlslUnit::defaultText(Type type, const QString &structName)
{
    const StructDef *const definition =
        type == Type::Struct ? structs().lookup(structName) : nullptr;
    if (!definition)
        return glslZero(type);
    if (definition->valueCount > variableLimit) {
        setTooLarge();
        return {};
    }
    QList<QByteArray> fields;
    for (const StructField &field : definition->fields)
        fields.append(defaultText(field.type, field.structName));
    return CodeWriter::callText(typeText(type, structName), fields);
}

/// Of which GLSL has none that is empty.
QByteArray GlslUnit::structTail(const StructDef &definition)
{
    if (definition.fields.isEmpty())
        setUnsupported();
    return {};
}

} // namespace eval::gpu
