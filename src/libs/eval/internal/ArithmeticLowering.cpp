#include <eval/internal/ArithmeticLowering.h>

namespace eval::internal {

namespace {

Op floatOp(BinaryKind kind)
{
    switch (kind) {
    case BinaryKind::Add:
        return Op::AddF;
    case BinaryKind::Subtract:
        return Op::SubF;
    case BinaryKind::Multiply:
        return Op::MulF;
    case BinaryKind::Divide:
        return Op::DivF;
    default:
        return Op::RemF;
    }
}

bool isWholeKind(LaneKind kind)
{
    return kind == LaneKind::Int || kind == LaneKind::Uint;
}

} // namespace

LaneValue ArithmeticLowering::binary(BinaryKind kind, const LaneValue &left, const LaneValue &right)
{
    if (m_values.hasFailed())
        return left;
    if (kind >= BinaryKind::Equal && kind <= BinaryKind::GreaterOrEqual)
        return comparison(kind, left, right);
    if (kind >= BinaryKind::LogicalAnd && kind <= BinaryKind::LogicalXor) {
        const Op op = kind == BinaryKind::LogicalAnd  ? Op::AndI
                      : kind == BinaryKind::LogicalOr ? Op::OrI
                                                      : Op::XorI;
        const Register a = m_values.truth(left);
        return m_values.boolean(m_code.compute(op, a, m_values.truth(right)));
    }
    if (laneCount(left.type) == 0 || laneCount(right.type) == 0)
        return m_values.giveUp();
    if (kind >= BinaryKind::BitAnd && kind <= BinaryKind::ShiftRight)
        return bitwise(kind, left, right);
    const ArithmeticPlan plan = planArithmetic(kind, left.type, right.type);
    switch (plan.form) {
    case ArithmeticForm::Lanewise:
        return lanewise(kind, left, right, plan);
    case ArithmeticForm::MatrixProduct:
        return matrixProduct(left, right, plan);
    case ArithmeticForm::Scalar:
        break;
    }
    return scalarArithmetic(kind, left, right, plan.result);
}

Register ArithmeticLowering::compareLanes(BinaryKind kind, Register a, LaneKind kindA, Register b,
                                          LaneKind kindB)
{
    const bool floats = kindA == LaneKind::Float && kindB == LaneKind::Float;
    // Bools are 0 and 1 whether they are read as signed or not.
    const auto isSigned = [](LaneKind lane) {
        return lane == LaneKind::Int || lane == LaneKind::Bool;
    };
    const bool integers = isSigned(kindA) && isSigned(kindB);
    const bool sameBits = kindA == kindB;
    switch (kind) {
    case BinaryKind::Equal:
        if (floats || integers || sameBits)
            return m_code.compute(floats ? Op::EqF : Op::EqI, a, b);
        break;
    case BinaryKind::NotEqual:
        if (floats || integers || sameBits)
            return m_code.compute(floats ? Op::NeF : Op::NeI, a, b);
        break;
    case BinaryKind::Less:
        if (floats || integers)
            return m_code.compute(floats ? Op::LtF : Op::LtI, a, b);
        break;
    case BinaryKind::LessOrEqual:
        if (floats || integers)
            return m_code.compute(floats ? Op::LeF : Op::LeI, a, b);
        break;
    case BinaryKind::Greater:
        if (floats || integers)
            return m_code.compute(floats ? Op::LtF : Op::LtI, b, a);
        break;
    case BinaryKind::GreaterOrEqual:
        if (floats || integers)
            return m_code.compute(floats ? Op::LeF : Op::LeI, b, a);
        break;
    default:
        break;
    }
    return m_code.computeMixed({kind, kindA, kindB, LaneKind::Bool}, a, b);
}

LaneValue ArithmeticLowering::comparison(BinaryKind kind, const LaneValue &left,
                                         const LaneValue &right)
{
    if (kind == BinaryKind::Equal || kind == BinaryKind::NotEqual)
        return equality(kind, left, right);
    if (laneCount(left.type) == 0 || laneCount(right.type) == 0)
        return m_values.giveUp();
    return m_values.boolean(compareLanes(kind, left.lanes[0], m_values.kindOf(left.type),
                                         right.lanes[0], m_values.kindOf(right.type)));
}

LaneValue ArithmeticLowering::equality(BinaryKind kind, const LaneValue &left,
                                       const LaneValue &right)
{
    const bool structs = left.type == Type::Struct || right.type == Type::Struct;
    if (structs && (left.type != right.type || left.structName != right.structName))
        return m_values.giveUp();
    const qsizetype count = std::max(left.lanes.size(), right.lanes.size());
    Register same = m_code.constant(1u);
    for (qsizetype i = 0; i < count; ++i) {
        // Lanes that one side lacks are compared with zero.
        const auto laneOf = [&](const LaneValue &value) {
            if (isScalar(value.type))
                return value.lanes[0];
            return i < value.lanes.size() ? value.lanes[i] : m_code.constant(0u);
        };
        const int lane = static_cast<int>(i);
        const Register equal =
            compareLanes(BinaryKind::Equal, laneOf(left), m_values.kindOf(left, lane),
                         laneOf(right), m_values.kindOf(right, lane));
        same = i == 0 ? equal : m_code.compute(Op::AndI, same, equal);
    }
    return m_values.boolean(kind == BinaryKind::Equal ? same : m_code.compute(Op::NotB, same));
}

LaneValue ArithmeticLowering::bitwise(BinaryKind kind, const LaneValue &left,
                                      const LaneValue &right)
{
    Op op = Op::AndI;
    switch (kind) {
    case BinaryKind::BitOr:
        op = Op::OrI;
        break;
    case BinaryKind::BitXor:
        op = Op::XorI;
        break;
    case BinaryKind::ShiftLeft:
        op = Op::ShlI;
        break;
    case BinaryKind::ShiftRight:
        op = Op::ShrI;
        break;
    default:
        break;
    }
    const Type type = planArithmetic(BinaryKind::Add, left.type, right.type).result;
    LaneValue result = {type, {}, {}};
    const auto laneOf = [&](const LaneValue &value, int lane) {
        const int at = isScalar(value.type) ? 0 : lane;
        if (at >= value.lanes.size())
            return m_code.constant(0u);
        return m_values.convert(value.lanes[at], m_values.kindOf(value.type), LaneKind::Int);
    };
    for (int i = 0; i < laneCount(type); ++i) {
        const Register a = laneOf(left, i);
        const Register word = m_code.compute(op, a, laneOf(right, i));
        result.lanes.append(m_values.convert(word, LaneKind::Int, m_values.kindOf(type)));
    }
    return result;
}

LaneValue ArithmeticLowering::scalarArithmetic(BinaryKind kind, const LaneValue &left,
                                               const LaneValue &right, Type result)
{
    const LaneKind kindA = m_values.kindOf(left.type);
    const LaneKind kindB = m_values.kindOf(right.type);
    Register a = left.lanes[0];
    Register b = right.lanes[0];
    const auto scalar = [result](Register reg) { return LaneValue{result, {}, {reg}}; };
    Register floatA = a;
    Register floatB = b;
    if (result == Type::Float && m_values.asExactFloat(floatA, kindA) &&
        m_values.asExactFloat(floatB, kindB)) {
        if (kind == BinaryKind::Divide && m_isChecked)
            return scalar(m_code.computeChecked(Op::DivCheckedF, floatA, floatB));
        if (kind == BinaryKind::Remainder)
            return scalar(m_isChecked ? m_code.computeChecked(Op::RemCheckedF, floatA, floatB)
                                      : m_code.compute(Op::RemOrZeroF, floatA, floatB));
        return scalar(m_code.compute(floatOp(kind), floatA, floatB));
    }
    // Sums wrap alike for both signs.
    if (isWholeKind(kindA) && isWholeKind(kindB)) {
        if (kind == BinaryKind::Add)
            return scalar(m_code.compute(Op::AddI, a, b));
        if (kind == BinaryKind::Subtract)
            return scalar(m_code.compute(Op::SubI, a, b));
        if (kind == BinaryKind::Multiply && result == Type::Int)
            return scalar(m_code.compute(Op::MulI, a, b));
    }
    const MixedCode code = {kind, kindA, kindB, m_values.kindOf(result)};
    const bool mayFault = kind == BinaryKind::Divide || kind == BinaryKind::Remainder;
    return scalar(mayFault && m_isChecked ? m_code.computeMixedChecked(code, a, b)
                                          : m_code.computeMixed(code, a, b));
}

LaneValue ArithmeticLowering::lanewise(BinaryKind kind, const LaneValue &left,
                                       const LaneValue &right, const ArithmeticPlan &plan)
{
    // The remainder of bools by zero is the one thing where Mixed and the walk part ways.
    if (!m_values.isLowerable(plan.result) ||
        (m_values.kindOf(plan.result) == LaneKind::Bool && kind == BinaryKind::Remainder))
        return m_values.giveUp();
    LaneValue result = {plan.result, {}, {}};
    for (int i = 0; i < laneCount(plan.result); ++i) {
        const int l = isScalar(left.type) ? 0 : i;
        const int r = isScalar(right.type) ? 0 : i;
        if (l >= left.lanes.size() || r >= right.lanes.size()) {
            result.lanes.append(m_code.constant(0u));
            continue;
        }
        const Register a = left.lanes[l];
        const Register b = right.lanes[r];
        if (plan.inFloat)
            result.lanes.append(m_code.compute(
                floatOp(kind), m_values.convert(a, m_values.kindOf(left.type), LaneKind::Float),
                m_values.convert(b, m_values.kindOf(right.type), LaneKind::Float)));
        else
            result.lanes.append(
                m_code.computeMixed({kind, m_values.kindOf(left.type), m_values.kindOf(right.type),
                                     m_values.kindOf(plan.result)},
                                    a, b));
    }
    return result;
}

LaneValue ArithmeticLowering::matrixProduct(const LaneValue &left, const LaneValue &right,
                                            const ArithmeticPlan &plan)
{
    if (!plan.inFloat || !m_values.isLowerable(plan.result))
        return m_values.giveUp();
    const bool rowVector = isVector(left.type);
    const bool columnVector = isVector(right.type);
    const int rows = rowVector ? 1 : matrixRows(left.type);
    const int leftColumns = rowVector ? laneCount(left.type) : matrixColumns(left.type);
    const int rightRows = columnVector ? laneCount(right.type) : matrixRows(right.type);
    const int columns = columnVector ? 1 : matrixColumns(right.type);
    const int inner = std::min(leftColumns, rightRows);
    const auto laneOf = [this](const LaneValue &value, int lane) {
        return m_values.convert(value.lanes[lane], m_values.kindOf(value.type), LaneKind::Float);
    };
    LaneValue result = {plan.result, {}, {}};
    for (int column = 0; column < columns; ++column) {
        for (int row = 0; row < rows; ++row) {
            Register sum = noRegister;
            for (int k = 0; k < inner; ++k) {
                const Register product = m_code.compute(Op::MulF, laneOf(left, k * rows + row),
                                                        laneOf(right, column * rightRows + k));
                sum = k == 0 ? product : m_code.compute(Op::AddF, sum, product);
            }
            result.lanes.append(sum);
        }
    }
    return result;
}

LaneValue ArithmeticLowering::unary(UnaryKind kind, const LaneValue &value)
{
    if (kind == UnaryKind::LogicalNot)
        return m_values.boolean(m_code.compute(Op::NotB, m_values.truth(value)));
    LaneValue result = value;
    const LaneKind lanes = m_values.kindOf(value.type);
    if (kind == UnaryKind::BitNot) {
        if (laneCount(value.type) == 0 || !isWholeKind(lanes))
            return m_values.giveUp();
        for (Register &lane : result.lanes)
            lane = m_code.compute(Op::NotI, lane);
    } else if (kind == UnaryKind::Negate) {
        // Matrices and unsigned or integer vectors pass unchanged.
        const bool floats = lanes == LaneKind::Float && !isMatrix(value.type);
        if (laneCount(value.type) > 0 && (floats || value.type == Type::Int)) {
            for (Register &lane : result.lanes)
                lane = m_code.compute(floats ? Op::NegF : Op::NegI, lane);
        }
    }
    return result;
}

LaneValue ArithmeticLowering::stepped(const LaneValue &value, int delta)
{
    const LaneKind lanes = m_values.kindOf(value.type);
    if (laneCount(value.type) == 0 || lanes == LaneKind::Bool)
        return m_values.giveUp();
    const bool floats = lanes == LaneKind::Float;
    const Register one = floats ? m_code.constant(static_cast<float>(delta))
                                : m_code.constant(static_cast<quint32>(delta));
    LaneValue result = value;
    for (Register &lane : result.lanes)
        lane = m_code.compute(floats ? Op::AddF : Op::AddI, lane, one);
    return result;
}

} // namespace eval::internal
