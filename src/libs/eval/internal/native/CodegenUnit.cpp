// Names are made of a letter, a number and the types of the parameters, never of a name in the
// source: no text of a scene reaches the compiler.

#include <eval/internal/native/CodegenUnit.h>

#include <algorithm>

namespace eval::internal {

namespace {

/// Words and beginnings of names that have a meaning for one point only: 64 bits, unsigned and
/// double numbers, single bits, lanes by number, and what branches a lot inside.
constexpr const char *pointWords[] = {"static_cast", "double",       "unsigned", "long",  "within(",
                                      "lane(",       "setLane(",     "element(", "shift", "Bits",
                                      "bit",         "determinant(", "inverse(", "find",  "pack",
                                      "toUint",      "toInt64"};

} // namespace

CodegenUnit::CodegenUnit(const StructRegistry &structs, CodegenForm form)
    : m_structs(structs)
    , m_form(form)
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
    if (!isNativeLaneType(type) || !canSay(nativeTypeName(type)))
        setUnsupported();
    return nativeTypeName(type);
}

bool CodegenUnit::mustWatch(const AstNode &loop)
{
    const bool watches = !m_loopRounds.areFew(loop, table());
    m_isWatched = m_isWatched || watches;
    return watches;
}

bool CodegenUnit::canSay(const QByteArray &line) const
{
    return !isForLanes() || std::ranges::none_of(pointWords, [&line](const char *word) {
        return line.contains(word);
    });
}

/// The choice between two structs, field by field.
QByteArray CodegenUnit::selectText(const StructDef &definition)
{
    const QByteArray name = typeText(Type::Struct, definition.name);
    QList<QByteArray> fields;
    for (qsizetype i = 0; i < definition.fields.size(); ++i)
        fields.append("select(chosen, a." + fieldName(i) + ", b." + fieldName(i) + ')');
    return "EVAL_INLINE " + name + " select(Bool chosen, const " + name + " &a, const " + name +
           " &b)\n{\n    return {" + fields.join(", ") + "};\n}\n\n";
}

QByteArray CodegenUnit::structText()
{
    QByteArray text;
    for (const StructDef &definition : m_structs.all()) {
        text += (isForLanes() ? "struct " : "struct alignas(16) ") +
                typeText(Type::Struct, definition.name) + " {\n";
        for (qsizetype i = 0; i < definition.fields.size(); ++i) {
            const StructField &field = definition.fields[i];
            if (field.type != Type::Struct && !isNativeVariableType(field.type))
                setUnsupported();
            text += "    " + typeText(field.type, field.structName) + ' ' + fieldName(i) + ";\n";
        }
        text += "};\n\n";
        if (isForLanes())
            text += selectText(definition);
    }
    return text;
}

} // namespace eval::internal
