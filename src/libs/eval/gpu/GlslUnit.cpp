#include <eval/gpu/GlslUnit.h>

#include <eval/internal/native/CodegenUnit.h>

namespace eval::gpu {

using namespace internal;

GlslUnit::GlslUnit(const StructRegistry &structs)
    : m_structs(structs)
{
    for (const StructDef &definition : structs.all())
        m_structIndexes.insert(definition.name, m_structIndexes.size());
}

void GlslUnit::addFunctions(const QList<AstPtr> &list)
{
    for (const AstPtr &function : list) {
        const qsizetype index = functions.size();
        m_indexes.insert(function.data(), index);
        functions.append(
            {function.data(), CodegenUnit::mangleFunctionName(*function, index), {}, {}});
    }
}

QByteArray GlslUnit::typeText(Type type, const QString &structName)
{
    if (type == Type::Struct && m_structIndexes.contains(structName))
        return 'S' + QByteArray::number(m_structIndexes.value(structName));
    const QByteArray name = glslTypeName(type);
    if (name.isEmpty())
        setUnsupported();
    return name;
}

QByteArray GlslUnit::defaultText(Type type, const QString &structName)
{
    const StructDef *const definition =
        type == Type::Struct ? m_structs.lookup(structName) : nullptr;
    if (!definition)
        return glslZero(type);
    if (definition->valueCount > variableLimit) {
        setTooLarge();
        return {};
    }
    QList<QByteArray> fields;
    for (const StructField &field : definition->fields)
        fields.append(defaultText(field.type, field.structName));
    return glslCall(typeText(type, structName), fields);
}

QByteArray GlslUnit::structText()
{
    QByteArray text;
    for (const StructDef &definition : m_structs.all()) {
        text += "struct " + typeText(Type::Struct, definition.name) + " {\n";
        for (qsizetype i = 0; i < definition.fields.size(); ++i) {
            const StructField &field = definition.fields[i];
            text += "    " + typeText(field.type, field.structName) + ' ' + fieldName(i) + ";\n";
        }
        if (definition.fields.isEmpty())
            setUnsupported();
        text += "};\n\n";
    }
    return text;
}

bool GlslUnit::mustCount(const AstNode &loop)
{
    return !m_loopRounds.areFew(loop, table());
}

} // namespace eval::gpu
