// Operators take the interpreter's way: the type of a result follows planArithmetic(), and what is
// not all float is computed in double and rounded once.

#include <eval/internal/native/CodegenArithmetic.h>

#include <eval/internal/interpreter/Arithmetic.h>

#include <algorithm>

namespace eval::internal {

namespace {

const char *operatorText(BinaryKind kind)
{
    switch (kind) {
    case BinaryKind::Add:
        return " + ";
    case BinaryKind::Subtract:
        return " - ";
    case BinaryKind::Multiply:
        return " * ";
    case BinaryKind::Divide:
        return " / ";
    case BinaryKind::Equal:
        return " == ";
    case BinaryKind::NotEqual:
        return " != ";
    case BinaryKind::Less:
        return " < ";
    case BinaryKind::Greater:
        return " > ";
    case BinaryKind::LessOrEqual:
        return " <= ";
    case BinaryKind::GreaterOrEqual:
        return " >= ";
    case BinaryKind::LogicalAnd:
        return " & "; // nothing to be skipped: both sides are values
    case BinaryKind::LogicalOr:
        return " | ";
    case BinaryKind::LogicalXor:
        return " != ";
    case BinaryKind::BitAnd:
        return " & ";
    case BinaryKind::BitOr:
        return " | ";
    case BinaryKind::BitXor:
        return " ^ ";
    default: // callers pass the operators above only
        return " , ";
    }
}

QByteArray laneAs(const Operand &value, int lane, Type type)
{
    return nativeCast(nativeBroadcastLane(value, lane), scalarOf(value.type), type);
}

QByteArray arithmetic(BinaryKind kind, const QByteArray &a, const QByteArray &b)
{
    if (kind == BinaryKind::Remainder)
        return "evalMod(" + a + ", " + b + ')';
    return a + operatorText(kind) + b;
}

bool isFloatLanes(const Operand &value)
{
    return scalarOf(value.type) == Type::Float;
}

/// What two values are compared in.
Type comparedType(const Operand &left, const Operand &right)
{
    const auto isWhole = [](const Operand &side) {
        return scalarOf(side.type) == Type::Int || scalarOf(side.type) == Type::Bool;
    };
    if (isWhole(left) && isWhole(right))
        return Type::Int;
    return isFloatLanes(left) && isFloatLanes(right) ? Type::Float : Type::Double;
}

} // namespace

Operand CodegenArithmetic::combine(BinaryKind kind, const Operand &left, const Operand &right)
{
    if (kind == BinaryKind::Equal || kind == BinaryKind::NotEqual) {
        const QByteArray equal = equality(left, right);
        return m_writer.keep(kind == BinaryKind::Equal ? equal : "!(" + equal + ')', Type::Bool);
    }
    if (!isNativeLaneType(left.type) || !isNativeLaneType(right.type))
        return m_writer.unsupported();
    if (kind > BinaryKind::NotEqual && kind <= BinaryKind::LogicalXor)
        return emitComparison(kind, left, right);
    if (kind >= BinaryKind::BitAnd && kind <= BinaryKind::ShiftRight)
        return emitBits(kind, left, right);
    const ArithmeticPlan plan = planArithmetic(kind, left.type, right.type);
    if (!isNativeVariableType(plan.result) || (!isScalar(plan.result) && !plan.inFloat))
        return m_writer.unsupported();
    switch (plan.form) {
    case ArithmeticForm::Lanewise:
        return emitLanewise(kind, left, right, plan.result);
    case ArithmeticForm::MatrixProduct:
        return emitProduct(left, right, plan.result);
    case ArithmeticForm::Scalar:
        break;
    }
    return emitScalar(kind, left, right, plan.result);
}

/// By the first lane of each side; both sides have been evaluated.
Operand CodegenArithmetic::emitComparison(BinaryKind kind, const Operand &left,
                                          const Operand &right)
{
    const bool isLogical = kind >= BinaryKind::LogicalAnd;
    const Type type = isLogical ? Type::Bool : comparedType(left, right);
    return m_writer.keep(laneAs(left, 0, type) + operatorText(kind) + laneAs(right, 0, type),
                         Type::Bool);
}

QByteArray CodegenArithmetic::equality(const Operand &left, const Operand &right)
{
    QList<QByteArray> terms;
    const StructDef *const definition =
        left.type == Type::Struct && left.structName == right.structName
            ? m_writer.unit().structs().lookup(left.structName)
            : nullptr;
    if (definition) {
        for (qsizetype i = 0; i < definition->fields.size(); ++i) {
            const StructField &field = definition->fields[i];
            const auto part = [&](const Operand &whole) {
                return Operand{whole.text + '.' + CodegenUnit::fieldName(i), field.type,
                               field.structName, Type::Float, true};
            };
            terms.append(equality(part(left), part(right)));
        }
    } else if (isNativeLaneType(left.type) && isNativeLaneType(right.type)) {
        const Type type = comparedType(left, right);
        for (int i = 0; i < std::max(laneCount(left.type), laneCount(right.type)); ++i)
            terms.append('(' + laneAs(left, i, type) + " == " + laneAs(right, i, type) + ')');
    } else {
        m_writer.unit().setUnsupported();
    }
    // Without a short cut, which several lanes have no use for.
    return terms.isEmpty() ? "splat(true)" : '(' + terms.join(" & ") + ')';
}

Operand CodegenArithmetic::emitBits(BinaryKind kind, const Operand &left, const Operand &right)
{
    if (!isScalar(left.type) || !isScalar(right.type))
        return m_writer.unsupported();
    const Type type = commonScalar(left.type, right.type);
    const QByteArray a = laneAs(left, 0, Type::Int);
    const QByteArray b = laneAs(right, 0, Type::Int);
    QByteArray text = '(' + a + operatorText(kind) + b + ')';
    if (kind == BinaryKind::ShiftLeft)
        text = "shiftLeft(" + a + ", " + b + ')';
    else if (kind == BinaryKind::ShiftRight)
        text = "shiftRight(" + a + ", " + b + ')';
    return m_writer.keep(nativeCast(text, Type::Int, type), type);
}

/// In double and rounded once, which for floats is the same as in float.
Operand CodegenArithmetic::emitScalar(BinaryKind kind, const Operand &left, const Operand &right,
                                      Type type)
{
    const bool inFloat = left.type == Type::Float && right.type == Type::Float;
    const Type computed = inFloat ? Type::Float : Type::Double;
    const QByteArray a = laneAs(left, 0, computed);
    const QByteArray b = laneAs(right, 0, computed);
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

Operand CodegenArithmetic::emitLanewise(BinaryKind kind, const Operand &left, const Operand &right,
                                        Type type)
{
    const auto fits = [type](const Operand &side) {
        return side.type == type || side.type == Type::Float;
    };
    if (kind != BinaryKind::Remainder && fits(left) && fits(right))
        return m_writer.keep(left.text + operatorText(kind) + right.text, type);
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i) {
        const bool isThere = (isScalar(left.type) || i < laneCount(left.type)) &&
                             (isScalar(right.type) || i < laneCount(right.type));
        lanes.append(
            isThere ? arithmetic(kind, laneAs(left, i, Type::Float), laneAs(right, i, Type::Float))
                    : nativeZero(Type::Float));
    }
    return m_writer.keep(nativeCompose(type, lanes), type);
}

Operand CodegenArithmetic::emitProduct(const Operand &left, const Operand &right, Type type)
{
    const int inner = isVector(left.type) ? laneCount(left.type) : matrixColumns(left.type);
    const int other = isVector(right.type) ? laneCount(right.type) : matrixRows(right.type);
    if (inner != other || !isFloatLanes(left) || !isFloatLanes(right))
        return m_writer.unsupported();
    const QByteArray a = isVector(left.type) ? "row(" + left.text + ')' : left.text;
    const QByteArray b = isVector(right.type) ? "column(" + right.text + ')' : right.text;
    const QByteArray product = "product(" + a + ", " + b + ')';
    if (isMatrix(type))
        return m_writer.keep(product, type);
    return m_writer.keep("vector" + QByteArray::number(laneCount(type)) + '(' + product + ".m)",
                         type);
}

Operand CodegenArithmetic::unary(UnaryKind kind, const Operand &operand)
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
        return m_writer.keep('!' + laneAs(operand, 0, Type::Bool), Type::Bool);
    case UnaryKind::BitNot:
        if (!isScalar(type) || !isIntegerLike(type))
            return m_writer.unsupported();
        return m_writer.keep(
            nativeCast('~' + nativeCast(operand.text, type, Type::Int), Type::Int, type), type);
    default: // plus
        return operand;
    }
}

Operand CodegenArithmetic::stepped(const Operand &before, bool isIncrement)
{
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
