#include <eval/internal/CodegenUnit.h>

namespace eval::internal {

CodegenUnit::CodegenUnit(const StructRegistry &structs)
    : m_structs(structs)
{
    for (const StructDef &definition : structs.all())
        m_structIndexes.insert(definition.name, m_structIndexes.size());
}

void CodegenUnit::addFunctions(const QList<AstPtr> &list)
{
    for (const AstPtr &function : list) {
        const qsizetype index = functions.size();
        m_indexes.insert(function.data(), index);
        functions.append({function.data(), mangleFunctionName(*function, index), {}, {}, {}, 0});
    }
}

QByteArray CodegenUnit::mangleFunctionName(const AstNode &function, qsizetype index)
{
    QByteArray name = "fn" + QByteArray::number(index);
    for (const FunctionParam &param : function.params) {
        name += '_' + typeName(param.type == Type::Struct ? Type::Void : param.type).toLatin1();
        if (param.isArray)
            name += 's';
    }
    return name;
}

QByteArray CodegenUnit::typeText(Type type, const QString &structName)
{
    if (type == Type::Struct && m_structIndexes.contains(structName))
        return 'S' + QByteArray::number(m_structIndexes.value(structName));
    if (type == Type::Void)
        return "void";
    if (!isNativeLaneType(type))
        setUnsupported();
    return nativeTypeName(type);
}

bool CodegenUnit::mustWatch(const AstNode &loop)
{
    const bool watches = !m_loopRounds.areFew(loop, table());
    m_isWatched = m_isWatched || watches;
    return watches;
}

QByteArray CodegenUnit::structText()
{
    QByteArray text;
    for (const StructDef &definition : m_structs.all()) {
        text += "struct alignas(16) " + typeText(Type::Struct, definition.name) + " {\n";
        for (qsizetype i = 0; i < definition.fields.size(); ++i) {
            const StructField &field = definition.fields[i];
            if (field.type != Type::Struct && !isNativeVariableType(field.type))
                setUnsupported();
            text += "    " + typeText(field.type, field.structName) + ' ' + fieldName(i) + ";\n";
        }
        text += "};\n\n";
    }
    return text;
}

} // namespace eval::internal
