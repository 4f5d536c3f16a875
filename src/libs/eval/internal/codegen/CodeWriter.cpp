// A function's text grows line by line. Variables stand at the top, because a block of the field
// language opens no scope. A line is looked at once, when it is emitted: what the form of the unit
// cannot say marks the unit there.

#include <eval/internal/codegen/CodeWriter.h>

#include <algorithm>

namespace eval::internal {

namespace {

/// Brackets within each other that every compiler bears.
constexpr int depthLimit = 24;

struct OperatorRow
{
    BinaryKind kind;
    const char *text;
};

constexpr OperatorRow operators[] = {
    {BinaryKind::Add, "+"},          {BinaryKind::Subtract, "-"},
    {BinaryKind::Multiply, "*"},     {BinaryKind::Divide, "/"},
    {BinaryKind::Equal, "=="},       {BinaryKind::NotEqual, "!="},
    {BinaryKind::Less, "<"},         {BinaryKind::Greater, ">"},
    {BinaryKind::LessOrEqual, "<="}, {BinaryKind::GreaterOrEqual, ">="},
    {BinaryKind::BitAnd, "&"},       {BinaryKind::BitOr, "|"},
    {BinaryKind::BitXor, "^"},
};

} // namespace

CodeWriter::~CodeWriter() = default;

CodeValue CodeWriter::unsupported()
{
    m_unit.setUnsupported();
    return {"/* unsupported expression */ 0.0", Type::Float};
}

void CodeWriter::emitLine(const QByteArray &line)
{
    if (!m_unit.countStatement())
        return;
    if (!m_unit.canSay(line))
        m_unit.setUnsupported();
    m_lines += m_indent + line + '\n';
    if (m_function)
        ++m_function->statements;
}

void CodeWriter::assign(const QByteArray &target, const QByteArray &value)
{
    emitLine(target + " = " + value + ';');
}

CodeValue CodeWriter::keep(const QByteArray &text, Type type, const QString &structName)
{
    const QByteArray name = newName('t');
    emitLine(m_unit.words().constant + m_unit.typeText(type, structName) + ' ' + name + " = " +
             text + ';');
    return {.text = name, .type = type, .structName = structName, .isAtom = true};
}

CodeValue CodeWriter::named(const CodeValue &value)
{
    return value.isVariable ? keep(value.text, value.type, value.structName) : value;
}

CodeValue CodeWriter::shallow(const CodeValue &value)
{
    return value.depth > depthLimit ? keep(value.text, value.type, value.structName) : value;
}

CodeValue CodeWriter::retag(const CodeValue &value, Type type, const QString &structName)
{
    if (value.type == type && (type != Type::Struct || value.structName == structName))
        return value;
    const auto text =
        isLaneType(type) && isLaneType(value.type) ? retagText(value, type) : std::nullopt;
    return text ? made(*text, type, {value}) : unsupported();
}

const CodeValue *CodeWriter::variable(const QString &name) const
{
    const auto found = m_variables.constFind(name);
    return found == m_variables.constEnd() ? nullptr : &*found;
}

CodeValue CodeWriter::declareVariable(const QString &name, Type type, const QString &structName)
{
    const StructDef *const definition =
        type == Type::Struct ? m_unit.structs().lookup(structName) : nullptr;
    m_variableValues += definition ? definition->valueCount * 4 : 1;
    if (m_variableValues > CodeUnit::variableLimit)
        m_unit.setTooLarge();
    const CodeValue variable{newName('v'), type, structName, Type::Float, true, true};
    m_declarations += "    " + m_unit.typeText(type, structName) + ' ' + variable.text +
                      m_unit.words().noValue + ";\n";
    bindVariable(name, variable);
    return variable;
}

QByteArray CodeWriter::laneAs(const CodeValue &value, int lane, Type type)
{
    if (!isLaneType(value.type))
        m_unit.setUnsupported();
    return castText(laneText(value, isScalar(value.type) ? 0 : lane), scalarOf(value.type), type);
}

QByteArray CodeWriter::callText(const QByteArray &function, const QList<QByteArray> &arguments)
{
    return function + '(' + arguments.join(", ") + ')';
}

QByteArray CodeWriter::operatorText(BinaryKind kind) const
{
    const char *const *const logical = m_unit.words().logicalOperators;
    const int logicalIndex = kind == BinaryKind::LogicalAnd  ? 0
                             : kind == BinaryKind::LogicalOr ? 1
                                                             : 2;
    const auto row = std::ranges::find(operators, kind, &OperatorRow::kind);
    return ' ' + QByteArray(row == std::end(operators) ? logical[logicalIndex] : row->text) + ' ';
}

} // namespace eval::internal
