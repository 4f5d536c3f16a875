// Names are made of a letter, a number and the types of the parameters, never of a name in the
// source: no text of a scene reaches a compiler.

#include <eval/internal/codegen/CodeUnit.h>

#include <eval/internal/frontend/CallGraph.h>

namespace eval::internal {

CodeUnit::CodeUnit(const StructRegistry &structs, const CodeWords &words)
    : m_structs(structs)
    , m_words(words)
{
    for (const StructDef &definition : structs.all())
        m_structIndexes.insert(definition.name, m_structIndexes.size());
}

CodeUnit::~CodeUnit() = default;

void CodeUnit::addFunctions(const QList<AstPtr> &list)
{
    for (const AstPtr &function : list) {
        const qsizetype index = functions.size();
        m_indexes.insert(function.data(), index);
        functions.append({function.data(), mangleFunctionName(*function, index), {}, {}, {}, 0});
    }
}

QByteArray CodeUnit::mangleFunctionName(const AstNode &function, qsizetype index)
{
    QByteArray name = "fn" + QByteArray::number(index);
    for (const FunctionParam &param : function.params) {
        name +=
            '_' + eval::typeName(param.type == Type::Struct ? Type::Void : param.type).toLatin1();
        if (param.isArray)
            name += 's';
    }
    return name;
}

bool CodeUnit::hasRecursion() const
{
    QList<QList<qsizetype>> edges;
    for (const CodeFunction &function : functions)
        edges.append(function.calls);
    return nodesOnCycles(edges).contains(true);
}

QByteArray CodeUnit::typeText(Type type, const QString &structName)
{
    if (type == Type::Struct && m_structIndexes.contains(structName))
        return 'S' + QByteArray::number(m_structIndexes.value(structName));
    const QByteArray name = type == Type::Void ? QByteArray("void") : typeName(type);
    if (name.isEmpty())
        setUnsupported();
    return name;
}

QByteArray CodeUnit::structText()
{
    QByteArray text;
    for (const StructDef &definition : m_structs.all()) {
        text += m_words.structStart + typeText(Type::Struct, definition.name) + " {\n";
        for (qsizetype i = 0; i < definition.fields.size(); ++i) {
            const StructField &field = definition.fields[i];
            if (field.type != Type::Struct && !isVariableType(field.type))
                setUnsupported();
            text += "    " + typeText(field.type, field.structName) + ' ' + fieldName(i) + ";\n";
        }
        text += "};\n\n" + structTail(definition);
    }
    return text;
}

bool CodeUnit::canSay(const QByteArray &) const
{
    return true;
}

QByteArray CodeUnit::structTail(const StructDef &)
{
    return {};
}

} // namespace eval::internal
