// Operators take the interpreter's way: the type of a result follows planArithmetic(), and what is
// not all float is computed in double and rounded once.

#include <eval/internal/native/CodegenArithmetic.h>

#include <eval/internal/native/NativeTypes.h>

#include <algorithm>

namespace eval::internal {

namespace {

bool isFloatLanes(const CodeValue &value)
{
    return scalarOf(value.type) == Type::Float;
}

/// What two values are compared in.
Type comparedType(const CodeValue &left, const CodeValue &right)
{
    const auto isWhole = [](const CodeValue &side) {
        return scalarOf(side.type) == Type::Int || scalarOf(side.type) == Type::Bool;
    };
    if (isWhole(left) && isWhole(right))
        return Type::Int;
    return isFloatLanes(left) && isFloatLanes(right) ? Type::Float : Type::Double;
}

} // namespace

QByteArray CodegenArithmetic::arithmetic(BinaryKind kind, const QByteArray &a,
                                         const QByteArray &b) const
{
    if (kind == BinaryKind::Remainder)
        return "evalMod(" + a + ", " + b + ')';
    return a + m_writer.operatorText(kind) + b;
}

bool CodegenArithmetic::canCompute(const ArithmeticPlan &plan) const
{
    return isNativeVariableType(plan.result) && (isScalar(plan.result) || plan.inFloat);
}

CodeValue CodegenArithmetic::emitEquality(BinaryKind kind, const CodeValue &left,
                                          const CodeValue &right)
{
    const QByteArray equal = equality(left, right);
    return m_writer.keep(kind == BinaryKind::Equal ? equal : "!(" + equal + ')', Type::Bool);
}

CodeValue CodegenArithmetic::emitComparison(BinaryKind kind, const CodeValue &left,
                                            const CodeValue &right)
{
    const bool isLogical = kind >= BinaryKind::LogicalAnd;
    const Type type = isLogical ? Type::Bool : comparedType(left, right);
    return m_writer.keep(m_writer.laneAs(left, 0, type) + m_writer.operatorText(kind) +
                             m_writer.laneAs(right, 0, type),
                         Type::Bool);
}

QByteArray CodegenArithmetic::equality(const CodeValue &left, const CodeValue &right)
{
    QList<QByteArray> terms;
    const StructDef *const definition =
        left.type == Type::Struct && left.structName == right.structName
            ? m_writer.unit().structs().lookup(left.structName)
            : nullptr;
    if (definition) {
        for (qsizetype i = 0; i < definition->fields.size(); ++i) {
            const StructField &field = definition->fields[i];
            const auto part = [&](const CodeValue &whole) {
                return CodeValue{whole.text + '.' + CodeUnit::fieldName(i), field.type,
                                 field.structName};
            };
            terms.append(equality(part(left), part(right)));
        }
    } else if (isNativeLaneType(left.type) && isNativeLaneType(right.type)) {
        const Type type = comparedType(left, right);
        for (int i = 0; i < std::max(laneCount(left.type), laneCount(right.type)); ++i)
            terms.append('(' + m_writer.laneAs(left, i, type) +
                         " == " + m_writer.laneAs(right, i, type) + ')');
    } else {
        m_writer.unit().setUnsupported();
    }
    // Without a short cut, which several lanes have no use for.
    return terms.isEmpty() ? "splat(true)" : '(' + terms.join(" & ") + ')';
}

QByteArray CodegenArithmetic::shiftText(BinaryKind kind, const QByteArray &a,
                                        const QByteArray &b) const
{
    return CodeWriter::callText(kind == BinaryKind::ShiftLeft ? "shiftLeft" : "shiftRight", {a, b});
}

/// In double and rounded once, which for floats is the same as in float.
CodeValue CodegenArithmetic::emitScalar(BinaryKind kind, const CodeValue &left,
                                        const CodeValue &right, Type type)
{
    const bool inFloat = left.type == Type::Float && right.type == Type::Float;
    const Type computed = inFloat ? Type::Float : Type::Double;
    const QByteArray a = m_writer.laneAs(left, 0, computed);
    const QByteArray b = m_writer.laneAs(right, 0, computed);
    const bool isSum = kind == BinaryKind::Add || kind == BinaryKind::Subtract;
    if (isSum && left.type == Type::Int && right.type == Type::Int && type == Type::Int)
        return m_writer.keep((kind == BinaryKind::Add ? "wrapAdd(" : "wrapSubtract(") + left.text +
                                 ", " + right.text + ')',
                             type);
    if (kind == BinaryKind::Remainder)
        return m_writer.keep(nativeCast("evalRemainder(" + a + ", " + b + ')', computed, type),
                             type);
    return m_writer.keep(nativeCast('(' + arithmetic(kind, a, b) + ')', computed, type), type);
}

CodeValue CodegenArithmetic::emitLanewise(BinaryKind kind, const CodeValue &left,
                                          const CodeValue &right, Type type)
{
    const auto fits = [type](const CodeValue &side) {
        return side.type == type || side.type == Type::Float;
    };
    if (kind != BinaryKind::Remainder && fits(left) && fits(right))
        return m_writer.keep(left.text + m_writer.operatorText(kind) + right.text, type);
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i) {
        const bool isThere = (isScalar(left.type) || i < laneCount(left.type)) &&
                             (isScalar(right.type) || i < laneCount(right.type));
        lanes.append(isThere ? arithmetic(kind, m_writer.laneAs(left, i, Type::Float),
                                          m_writer.laneAs(right, i, Type::Float))
                             : nativeZero(Type::Float));
    }
    return m_writer.keep(nativeCompose(type, lanes), type);
}

QByteArray CodegenArithmetic::productText(const CodeValue &left, const CodeValue &right,
                                          Type type) const
{
    const QByteArray a = isVector(left.type) ? "row(" + left.text + ')' : left.text;
    const QByteArray b = isVector(right.type) ? "column(" + right.text + ')' : right.text;
    const QByteArray product = "product(" + a + ", " + b + ')';
    return isMatrix(type) ? product
                          : "vector" + QByteArray::number(laneCount(type)) + '(' + product + ".m)";
}

CodeValue CodegenArithmetic::unary(UnaryKind kind, const CodeValue &operand)
{
    if (!isNativeLaneType(operand.type))
        return m_writer.unsupported();
    const Type type = operand.type;
    switch (kind) {
    case UnaryKind::Negate:
        if (type == Type::Float || type == Type::Double ||
            (isVector(type) && isFloatLanes(operand)))
            return m_writer.keep('-' + operand.text, type);
        if (type == Type::Int)
            return m_writer.keep("wrapSubtract(Int{}, " + operand.text + ')', type);
        return operand;
    case UnaryKind::LogicalNot:
        return m_writer.keep('!' + m_writer.laneAs(operand, 0, Type::Bool), Type::Bool);
    case UnaryKind::BitNot:
        if (!isScalar(type) || !isIntegerLike(type))
            return m_writer.unsupported();
        return m_writer.keep(
            nativeCast('~' + nativeCast(operand.text, type, Type::Int), Type::Int, type), type);
    default: // plus
        return operand;
    }
}

CodeValue CodegenArithmetic::stepped(const CodeValue &value, bool isIncrement)
{
    const CodeValue before = m_writer.named(value);
    const Type type = before.type;
    const char *const delta = isIncrement ? " + 1" : " - 1";
    if (type == Type::Int)
        return m_writer.keep(
            "wrapAdd(" + before.text + (isIncrement ? ", Int{} + 1)" : ", Int{} - 1)"), type);
    if (isIntegerLike(type)) {
        // Unsigned arithmetic wraps where signed has no meaning.
        const Type wrapping = type == Type::Uint ? Type::Uint : Type::Uint64;
        return m_writer.keep(
            nativeCast('(' + nativeCast(before.text, type, wrapping) + delta + ')', wrapping, type),
            type);
    }
    QList<QByteArray> lanes;
    const Type scalar = scalarOf(type);
    for (int i = 0; i < laneCount(type); ++i) {
        // For a float the same as in double and rounded once.
        const Type computed = scalar == Type::Float ? scalar : Type::Double;
        lanes.append(nativeCast('(' + nativeCast(nativeLane(before, i), scalar, computed) + delta +
                                    (computed == Type::Float ? ".0f)" : ".0)"),
                                computed, scalar));
    }
    return m_writer.keep(nativeCompose(type, lanes), type);
}

} // namespace eval::internal
