#include <eval/internal/native/CodegenWriter.h>

#include <eval/internal/native/NativeTypes.h>

namespace eval::internal {

QByteArray CodegenWriter::maskedBy(const QByteArray &condition)
{
    return keep(m_mask.isEmpty() ? condition : '(' + m_mask + " & " + condition + ')', Type::Bool)
        .text;
}

void CodegenWriter::assign(const QByteArray &target, const QByteArray &value)
{
    CodeWriter::assign(
        target, m_mask.isEmpty() ? value : "select(" + m_mask + ", " + value + ", " + target + ')');
}

/// A block that does nothing unless one of its lanes is on; a short one is not worth the question.
QByteArray CodegenWriter::guarded(const QByteArray &block, const QByteArray &mask) const
{
    if (block.isEmpty())
        return {};
    const bool isShort = block.count('\n') <= 4 && !block.contains("fn") && !block.contains("if (");
    return indent() + (isShort ? "{\n" : "if (anyLane(" + mask + ")) {\n") + block + indent() +
           "}\n";
}

QByteArray CodegenWriter::functionText()
{
    const AstNode &definition = *function()->definition;
    const bool isVoid = definition.type == Type::Void;
    if (!m_isForLanes)
        return text() + (isVoid ? "" : "    return {};\n");
    if (isVoid)
        return "    Bool left{};\n" + text();
    return "    " + unit().typeText(definition.type, definition.structName) +
           " result{};\n    Bool left{};\n" + text() + "    return result;\n";
}

CodeValue CodegenWriter::made(const QByteArray &text, Type type, const QList<CodeValue> &,
                              const QString &structName)
{
    return keep(text, type, structName);
}

bool CodegenWriter::isLaneType(Type type) const
{
    return isNativeLaneType(type);
}

QByteArray CodegenWriter::literalText(const QVariant &value, Type type) const
{
    const QByteArray text = nativeLiteral(value, type);
    return m_isForLanes ? "splat(" + text + ')' : text;
}

/// With the type's name: braces alone are no value of several lanes.
QByteArray CodegenWriter::defaultText(Type type, const QString &structName)
{
    return unit().typeText(type, structName) + "{}";
}

QByteArray CodegenWriter::laneText(const CodeValue &value, int lane) const
{
    return nativeLane(value, lane);
}

QByteArray CodegenWriter::castText(const QByteArray &scalar, Type from, Type to) const
{
    return nativeCast(scalar, from, to);
}

std::optional<QByteArray> CodegenWriter::retagText(const CodeValue &value, Type type) const
{
    return nativeRetag(value, type);
}

QByteArray CodegenWriter::composeText(Type type, const QList<QByteArray> &lanes) const
{
    return nativeCompose(type, lanes);
}

QByteArray CodegenWriter::structText(const QByteArray &type, const QList<QByteArray> &fields) const
{
    return type + '{' + fields.join(", ") + '}';
}

QByteArray CodegenWriter::choiceText(const QByteArray &condition, const QByteArray &yes,
                                     const QByteArray &no) const
{
    return condition + " ? " + yes + " : " + no;
}

/// The lanes that the caller is on for.
QList<QByteArray> CodegenWriter::hiddenArguments() const
{
    if (!m_isForLanes)
        return {};
    return {m_mask.isEmpty() ? QByteArray("active") : "active & " + m_mask};
}

} // namespace eval::internal
