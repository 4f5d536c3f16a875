#include <eval/gpu/GlslOperators.h>

#include <eval/gpu/GlslText.h>

#include <algorithm>

namespace eval::gpu {

using namespace internal;

namespace {

bool isWholeLanes(const CodeValue &value)
{
    return scalarOf(value.type) == Type::Int || scalarOf(value.type) == Type::Uint;
}

/// What two scalars are compared in: the reference takes double, which no shader has.
Type comparedType(Type left, Type right)
{
    if (left == Type::Float || right == Type::Float)
        return Type::Float;
    return left == Type::Uint || right == Type::Uint ? Type::Uint : Type::Int;
}

/// An int and a uint, which have no common type of 32 bits.
bool isMixedSign(Type left, Type right)
{
    return left != right && comparedType(left, right) == Type::Uint && left != Type::Bool &&
           right != Type::Bool;
}

} // namespace

QByteArray GlslOperators::joined(const QByteArray &a, BinaryKind kind, const QByteArray &b) const
{
    return '(' + a + m_writer.operatorText(kind) + b + ')';
}

CodeValue GlslOperators::unary(UnaryKind kind, const CodeValue &operand)
{
    const Type type = operand.type;
    if (!isGlslType(type))
        return m_writer.unsupported();
    switch (kind) {
    case UnaryKind::Negate:
        if (type == Type::Int || (!isMatrix(type) && scalarOf(type) == Type::Float))
            return m_writer.made("(-" + operand.text + ')', type, {operand});
        return operand;
    case UnaryKind::LogicalNot:
        return m_writer.made("(!" + m_writer.laneAs(operand, 0, Type::Bool) + ')', Type::Bool,
                             {operand});
    case UnaryKind::BitNot:
        if (type != Type::Int && type != Type::Uint)
            return m_writer.unsupported();
        return m_writer.made("(~" + operand.text + ')', type, {operand});
    default: // plus
        return operand;
    }
}

CodeValue GlslOperators::stepped(const CodeValue &before, bool isIncrement)
{
    if (scalarOf(before.type) == Type::Bool)
        return m_writer.unsupported();
    return m_writer.made('(' + before.text + (isIncrement ? " + " : " - ") +
                             glslLiteral(1, scalarOf(before.type)) + ')',
                         before.type, {before});
}

CodeValue GlslOperators::emitEquality(BinaryKind kind, const CodeValue &left,
                                      const CodeValue &right)
{
    if (left.type == right.type && left.structName == right.structName)
        return m_writer.made(joined(left.text, kind, right.text), Type::Bool, {left, right});
    if (!isGlslType(left.type) || !isGlslType(right.type) || isMatrix(left.type) ||
        isMatrix(right.type))
        return m_writer.unsupported();
    if (isScalar(left.type) && isScalar(right.type))
        return emitComparison(kind, left, right);
    const int lanes = std::max(laneCount(left.type), laneCount(right.type));
    const bool isSameSize = (isScalar(left.type) || laneCount(left.type) == lanes) &&
                            (isScalar(right.type) || laneCount(right.type) == lanes);
    if (!isSameSize || isMixedSign(scalarOf(left.type), scalarOf(right.type)))
        return m_writer.unsupported();
    const Type type = vectorOf(comparedType(scalarOf(left.type), scalarOf(right.type)), lanes);
    return m_writer.made(
        joined(m_writer.retag(left, type).text, kind, m_writer.retag(right, type).text), Type::Bool,
        {left, right});
}

CodeValue GlslOperators::emitComparison(BinaryKind kind, const CodeValue &left,
                                        const CodeValue &right)
{
    const Type a = scalarOf(left.type);
    const Type b = scalarOf(right.type);
    if (kind < BinaryKind::LogicalAnd && isMixedSign(a, b)) {
        const QByteArray order = CodeWriter::callText(
            "evalOrder", {m_writer.laneAs(left, 0, a), m_writer.laneAs(right, 0, b)});
        return m_writer.made('(' + order + m_writer.operatorText(kind) + "0)", Type::Bool,
                             {left, right});
    }
    const Type type = kind >= BinaryKind::LogicalAnd ? Type::Bool : comparedType(a, b);
    return m_writer.made(
        joined(m_writer.laneAs(left, 0, type), kind, m_writer.laneAs(right, 0, type)), Type::Bool,
        {left, right});
}

CodeValue GlslOperators::emitScalar(BinaryKind kind, const CodeValue &left, const CodeValue &right,
                                    Type type)
{
    const bool divides = kind == BinaryKind::Divide || kind == BinaryKind::Remainder;
    if (divides && type != Type::Float && isMixedSign(left.type, right.type))
        return m_writer.unsupported();
    const Type computed = type == Type::Bool ? Type::Int : type;
    const QByteArray a = m_writer.laneAs(left, 0, computed);
    const QByteArray b = m_writer.laneAs(right, 0, computed);
    QByteArray text = joined(a, kind, b);
    if (kind == BinaryKind::Remainder)
        text = CodeWriter::callText(computed == Type::Float ? "mod" : "evalRemainder", {a, b});
    else if (divides && computed != Type::Float)
        text = CodeWriter::callText("evalDivide", {a, b});
    return m_writer.made(glslCast(text, computed, type), type, {left, right});
}

CodeValue GlslOperators::emitLanewise(BinaryKind kind, const CodeValue &left,
                                      const CodeValue &right, Type type)
{
    const auto fits = [type](const CodeValue &side) {
        return isScalar(side.type) ||
               (isMatrix(side.type) == isMatrix(type) && laneCount(side.type) == laneCount(type));
    };
    const bool divides = kind == BinaryKind::Divide || kind == BinaryKind::Remainder;
    const bool isFloat = scalarOf(type) == Type::Float;
    const bool hasForm = isFloat ? kind != BinaryKind::Remainder || !isMatrix(type)
                                 : !divides && isWholeLanes(left) && isWholeLanes(right);
    if (!fits(left) || !fits(right) || !hasForm)
        return m_writer.unsupported();
    const auto side = [&](const CodeValue &value) {
        const Type own = isScalar(value.type) ? scalarOf(type) : type;
        return m_writer.retag(value, own).text;
    };
    if (kind == BinaryKind::Remainder)
        return m_writer.made(
            CodeWriter::callText("mod", {m_writer.retag(left, type).text, side(right)}), type,
            {left, right});
    return m_writer.made(joined(side(left), kind, side(right)), type, {left, right});
}

QByteArray GlslOperators::productText(const CodeValue &left, const CodeValue &right, Type) const
{
    return joined(left.text, BinaryKind::Multiply, right.text);
}

QByteArray GlslOperators::shiftText(BinaryKind kind, const QByteArray &a, const QByteArray &b) const
{
    return '(' + a + (kind == BinaryKind::ShiftLeft ? " << (" : " >> (") + b + " & 31))";
}

} // namespace eval::gpu
