#include <eval/internal/native/CodegenUnit.h>

#include <eval/internal/native/NativeTypes.h>

#include <algorithm>

namespace eval::internal {

namespace {

/// Words and beginnings of names that have a meaning for one point only: 64 bits, unsigned and
/// double numbers, single bits, lanes by number, and what branches a lot inside.
constexpr const char *pointWords[] = {"static_cast", "double",       "unsigned", "long",  "within(",
                                      "lane(",       "setLane(",     "element(", "shift", "Bits",
                                      "bit",         "determinant(", "inverse(", "find",  "pack",
                                      "toUint",      "toInt64"};

CodeWords wordsOf(CodegenForm form)
{
    return {.statementLimit = CodegenUnit::statementLimit,
            .structStart = form == CodegenForm::Lanes ? "struct " : "struct alignas(16) ",
            .constant = "const ",
            .noValue = "{}",
            .within = "within",
            .indexType = Type::Int64,
            .noLane = "-1ll",
            // Nothing is to be skipped: both sides are values.
            .logicalOperators = {"&", "|", "!="},
            .fromBits = "_bitsToFloat"};
}

} // namespace

CodegenUnit::CodegenUnit(const StructRegistry &structs, CodegenForm form)
    : CodeUnit(structs, wordsOf(form))
    , m_form(form)
{}

bool CodegenUnit::isVariableType(Type type) const
{
    return isNativeVariableType(type);
}

QByteArray CodegenUnit::typeName(Type type) const
{
    const QByteArray name = isNativeLaneType(type) ? nativeTypeName(type) : QByteArray();
    return canSay(name) ? name : QByteArray();
}

bool CodegenUnit::mustWatch(const AstNode &loop)
{
    const bool watches = !areRoundsFew(loop);
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
QByteArray CodegenUnit::structTail(const StructDef &definition)
{
    if (!isForLanes())
        return {};
    const QByteArray name = typeText(Type::Struct, definition.name);
    QList<QByteArray> fields;
    for (qsizetype i = 0; i < definition.fields.size(); ++i)
        fields.append("select(chosen, a." + fieldName(i) + ", b." + fieldName(i) + ')');
    return "EVAL_INLINE " + name + " select(Bool chosen, const " + name + " &a, const " + name +
           " &b)\n{\n    return {" + fields.join(", ") + "};\n}\n\n";
}

} // namespace eval::internal
