#include <eval/internal/codegen/OperatorEmitter.h>

namespace eval::internal {

OperatorEmitter::~OperatorEmitter() = default;

CodeValue OperatorEmitter::combine(BinaryKind kind, const CodeValue &left, const CodeValue &right)
{
    if (kind == BinaryKind::Equal || kind == BinaryKind::NotEqual)
        return emitEquality(kind, left, right);
    if (!m_writer.isLaneType(left.type) || !m_writer.isLaneType(right.type))
        return m_writer.unsupported();
    if (kind > BinaryKind::NotEqual && kind <= BinaryKind::LogicalXor)
        return emitComparison(kind, left, right);
    if (kind >= BinaryKind::BitAnd && kind <= BinaryKind::ShiftRight)
        return emitBits(kind, left, right);
    const ArithmeticPlan plan = planArithmetic(kind, left.type, right.type);
    if (!canCompute(plan))
        return m_writer.unsupported();
    switch (plan.form) {
    case ArithmeticForm::Lanewise:
        return emitLanewise(kind, left, right, plan.result);
    case ArithmeticForm::MatrixProduct:
        return emitProduct(left, right, plan.result);
    case ArithmeticForm::Scalar:
        return emitScalar(kind, left, right, plan.result);
    }
    Q_UNREACHABLE();
}

bool OperatorEmitter::canCompute(const ArithmeticPlan &) const
{
    return true;
}

/// As ints of 32 bits, whatever the sides are.
CodeValue OperatorEmitter::emitBits(BinaryKind kind, const CodeValue &left, const CodeValue &right)
{
    if (!isScalar(left.type) || !isScalar(right.type))
        return m_writer.unsupported();
    const Type type = commonScalar(left.type, right.type);
    const QByteArray a = m_writer.laneAs(left, 0, Type::Int);
    const QByteArray b = m_writer.laneAs(right, 0, Type::Int);
    const bool isShift = kind == BinaryKind::ShiftLeft || kind == BinaryKind::ShiftRight;
    const QByteArray text =
        isShift ? shiftText(kind, a, b) : '(' + a + m_writer.operatorText(kind) + b + ')';
    return m_writer.made(m_writer.castText(text, Type::Int, type), type, {left, right});
}

CodeValue OperatorEmitter::emitProduct(const CodeValue &left, const CodeValue &right, Type type)
{
    const int inner = isVector(left.type) ? laneCount(left.type) : matrixColumns(left.type);
    const int other = isVector(right.type) ? laneCount(right.type) : matrixRows(right.type);
    if (inner != other || scalarOf(left.type) != Type::Float || scalarOf(right.type) != Type::Float)
        return m_writer.unsupported();
    return m_writer.made(productText(left, right, type), type, {left, right});
}

} // namespace eval::internal
