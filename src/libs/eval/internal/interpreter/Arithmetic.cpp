// The types and values of operators, for the walk over the tree. Which of three forms an
// operation has (scalar, lane by lane, a product of linear algebra) and what its result is
// follows from the types alone, in planArithmetic(); the lowering and the generator of C++ ask
// the same function, so that no two forms of evaluation can disagree on a type.

#include <eval/internal/interpreter/Arithmetic.h>

#include <cmath>

namespace eval::internal {

namespace {

// Structs that double at each level of nesting would take for ever to compare field by field.
constexpr int maxComparedFields = 65536;

bool isComposite(Type type)
{
    return isVector(type) || isMatrix(type);
}

Type laneWiseType(Type left, Type right)
{
    if (isMatrix(left) != isMatrix(right))
        return isMatrix(left) ? left : right;
    return isComposite(left) ? left : right;
}

Type productType(Type left, Type right)
{
    const bool isDouble = scalarOf(left) == Type::Double || scalarOf(right) == Type::Double;
    if (isMatrix(left) && isMatrix(right))
        return matrixOf(matrixColumns(right), matrixRows(left), isDouble);
    return vectorOf(isDouble ? Type::Double : Type::Float,
                    isMatrix(left) ? matrixRows(left) : matrixColumns(right));
}

template<class T>
T compute(BinaryKind kind, T a, T b)
{
    switch (kind) {
    case BinaryKind::Add:
        return a + b;
    case BinaryKind::Subtract:
        return a - b;
    case BinaryKind::Multiply:
        return a * b;
    case BinaryKind::Divide:
        return a / b;
    case BinaryKind::Remainder:
        return std::fmod(a, b);
    default: // callers pass arithmetic operators only
        return T(0);
    }
}

Value applyScalar(BinaryKind kind, const Value &left, const Value &right, Type result, bool checked,
                  ArithmeticFault &fault)
{
    const double a = left.toDouble();
    const double b = right.toDouble();
    const bool isRemainder = kind == BinaryKind::Remainder;
    if ((isRemainder || kind == BinaryKind::Divide) && b == 0.0) {
        if (checked) {
            fault = isRemainder ? ArithmeticFault::ModuloByZero : ArithmeticFault::DivisionByZero;
            return Value::zero(Type::Float);
        }
        if (isRemainder)
            return Value::zero(result);
    }
    Value value = Value::zero(result);
    value.setLane(0, compute(kind, a, b));
    return value;
}

Value applyLanewise(BinaryKind kind, const Value &left, const Value &right,
                    const ArithmeticPlan &plan)
{
    Value value = Value::zero(plan.result);
    const bool leftScalar = isScalar(left.type);
    const bool rightScalar = isScalar(right.type);
    int count = laneCount(plan.result);
    if (!leftScalar)
        count = std::min(count, laneCount(left.type));
    if (!rightScalar)
        count = std::min(count, laneCount(right.type));
    for (int i = 0; i < count; ++i) {
        const int l = leftScalar ? 0 : i;
        const int r = rightScalar ? 0 : i;
        if (plan.inFloat)
            value.setLane(
                i, static_cast<double>(compute(kind, left.floatLane(l), right.floatLane(r))));
        else
            value.setLane(i, compute(kind, left.lane(l), right.lane(r)));
    }
    return value;
}

/// An operand of a product: entry (row, column) of a matrix, of a row vector or of a column vector.
struct Factor
{
    const Value &value;
    int rows;
    int columns;

    double at(int row, int column) const { return value.lane(column * rows + row); }
};

template<class T>
Value multiply(const Factor &a, const Factor &b, Type result)
{
    Value value = Value::zero(result);
    const int inner = std::min(a.columns, b.rows);
    for (int column = 0; column < b.columns; ++column) {
        for (int row = 0; row < a.rows; ++row) {
            T sum = static_cast<T>(a.at(row, 0)) * static_cast<T>(b.at(0, column));
            for (int k = 1; k < inner; ++k)
                sum = sum + static_cast<T>(a.at(row, k)) * static_cast<T>(b.at(k, column));
            value.setLane(column * a.rows + row, static_cast<double>(sum));
        }
    }
    return value;
}

Value applyProduct(const Value &left, const Value &right, const ArithmeticPlan &plan)
{
    const bool rowVector = isVector(left.type);
    const Factor a = {left, rowVector ? 1 : matrixRows(left.type),
                      rowVector ? laneCount(left.type) : matrixColumns(left.type)};
    const Factor b = {right, isVector(right.type) ? laneCount(right.type) : matrixRows(right.type),
                      isVector(right.type) ? 1 : matrixColumns(right.type)};
    return plan.inFloat ? multiply<float>(a, b, plan.result) : multiply<double>(a, b, plan.result);
}

bool isEqual(const Value &left, const Value &right, int &budget)
{
    if (left.type == Type::Struct && right.type == Type::Struct) {
        if (left.fields.size() != right.fields.size())
            return false;
        for (qsizetype i = 0; i < left.fields.size(); ++i) {
            if (--budget < 0 || !isEqual(left.fields[i], right.fields[i], budget))
                return false;
        }
        return true;
    }
    if (left.type == Type::String || right.type == Type::String)
        return left.type == right.type && left.text == right.text;
    const int count = std::max(1, std::max(laneCount(left.type), laneCount(right.type)));
    for (int i = 0; i < count; ++i) {
        if (left.lane(isScalar(left.type) ? 0 : i) != right.lane(isScalar(right.type) ? 0 : i))
            return false;
    }
    return true;
}

bool compare(BinaryKind kind, const Value &left, const Value &right)
{
    int budget = maxComparedFields;
    switch (kind) {
    case BinaryKind::Equal:
        return isEqual(left, right, budget);
    case BinaryKind::NotEqual:
        return !isEqual(left, right, budget);
    case BinaryKind::Less:
        return left.toDouble() < right.toDouble();
    case BinaryKind::Greater:
        return left.toDouble() > right.toDouble();
    case BinaryKind::LessOrEqual:
        return left.toDouble() <= right.toDouble();
    case BinaryKind::GreaterOrEqual:
        return left.toDouble() >= right.toDouble();
    case BinaryKind::LogicalAnd:
        return left.toBool() && right.toBool();
    case BinaryKind::LogicalOr:
        return left.toBool() || right.toBool();
    case BinaryKind::LogicalXor:
        return left.toBool() != right.toBool();
    default: // callers pass comparisons and logical operators only
        return false;
    }
}

qint32 combineBits(BinaryKind kind, qint32 a, qint32 b)
{
    switch (kind) {
    case BinaryKind::BitAnd:
        return a & b;
    case BinaryKind::BitOr:
        return a | b;
    case BinaryKind::BitXor:
        return a ^ b;
    case BinaryKind::ShiftLeft:
        return static_cast<qint32>(static_cast<quint32>(a) << (b & 31));
    case BinaryKind::ShiftRight:
        return a >> (b & 31);
    default: // callers pass bit operators only
        return 0;
    }
}

Value applyBits(BinaryKind kind, const Value &left, const Value &right)
{
    const Type type = planArithmetic(BinaryKind::Add, left.type, right.type).result;
    Value value = Value::zero(type);
    for (int i = 0; i < laneCount(type); ++i) {
        const auto a = static_cast<qint32>(left.integerLane(isScalar(left.type) ? 0 : i));
        const auto b = static_cast<qint32>(right.integerLane(isScalar(right.type) ? 0 : i));
        value.setIntegerLane(i, combineBits(kind, a, b));
    }
    return value;
}

Value negated(const Value &operand)
{
    Value value = operand;
    const Type type = operand.type;
    if (type == Type::Float || type == Type::Vec2 || type == Type::Vec3 || type == Type::Vec4 ||
        type == Type::Double) {
        for (int i = 0; i < laneCount(type); ++i)
            value.setLane(i, -operand.lane(i));
    } else if (type == Type::Int) {
        value.setIntegerLane(0, -operand.integerLane(0));
    }
    return value;
}

} // namespace

ArithmeticPlan planArithmetic(BinaryKind kind, Type left, Type right)
{
    if (laneCount(left) == 0 || laneCount(right) == 0)
        return {};
    if (!isComposite(left) && !isComposite(right))
        return {ArithmeticForm::Scalar, commonScalar(left, right), false};
    const auto computesInFloat = [&](Type result) {
        return scalarOf(result) == Type::Float && scalarOf(left) != Type::Double &&
               scalarOf(right) != Type::Double;
    };
    const bool product = kind == BinaryKind::Multiply && isComposite(left) && isComposite(right) &&
                         (isMatrix(left) || isMatrix(right));
    const Type result = product ? productType(left, right) : laneWiseType(left, right);
    return {product ? ArithmeticForm::MatrixProduct : ArithmeticForm::Lanewise, result,
            computesInFloat(result)};
}

Type commonScalar(Type left, Type right)
{
    for (const Type type : {Type::Double, Type::Float, Type::Int64, Type::Uint64, Type::Uint}) {
        if (left == type || right == type)
            return type;
    }
    return left;
}

Type ternaryType(Type branch, Type checked)
{
    if (laneCount(branch) == 0 || laneCount(checked) == 0)
        return branch;
    if (isMatrix(branch) || isMatrix(checked))
        return isScalar(branch) ? checked : branch;
    if (!isScalar(branch) && laneCount(branch) != laneCount(checked))
        return branch;
    return vectorOf(commonScalar(scalarOf(branch), scalarOf(checked)), laneCount(checked));
}

bool isAssignment(BinaryKind kind)
{
    return kind >= BinaryKind::Assign;
}

BinaryKind operatorOfAssignment(BinaryKind kind)
{
    switch (kind) {
    case BinaryKind::AddAssign:
        return BinaryKind::Add;
    case BinaryKind::SubtractAssign:
        return BinaryKind::Subtract;
    case BinaryKind::MultiplyAssign:
        return BinaryKind::Multiply;
    case BinaryKind::DivideAssign:
        return BinaryKind::Divide;
    case BinaryKind::RemainderAssign:
        return BinaryKind::Remainder;
    case BinaryKind::BitAndAssign:
        return BinaryKind::BitAnd;
    case BinaryKind::BitOrAssign:
        return BinaryKind::BitOr;
    case BinaryKind::BitXorAssign:
        return BinaryKind::BitXor;
    case BinaryKind::ShiftLeftAssign:
        return BinaryKind::ShiftLeft;
    case BinaryKind::ShiftRightAssign:
        return BinaryKind::ShiftRight;
    default:
        return kind;
    }
}

Value applyBinary(BinaryKind kind, const Value &left, const Value &right, bool checked,
                  ArithmeticFault &fault)
{
    fault = ArithmeticFault::None;
    if (kind >= BinaryKind::Equal && kind <= BinaryKind::LogicalXor)
        return Value::ofBool(compare(kind, left, right));
    if (kind >= BinaryKind::BitAnd && kind <= BinaryKind::ShiftRight)
        return applyBits(kind, left, right);
    const ArithmeticPlan plan = planArithmetic(kind, left.type, right.type);
    switch (plan.form) {
    case ArithmeticForm::Lanewise:
        return applyLanewise(kind, left, right, plan);
    case ArithmeticForm::MatrixProduct:
        return applyProduct(left, right, plan);
    case ArithmeticForm::Scalar:
        break;
    }
    return applyScalar(kind, left, right, plan.result, checked, fault);
}

Value applyUnary(UnaryKind kind, const Value &operand)
{
    switch (kind) {
    case UnaryKind::Negate:
        return negated(operand);
    case UnaryKind::LogicalNot:
        return Value::ofBool(!operand.toBool());
    case UnaryKind::BitNot: {
        Value value = Value::zero(operand.type);
        for (int i = 0; i < laneCount(operand.type); ++i)
            value.setIntegerLane(i, ~static_cast<qint32>(operand.integerLane(i)));
        return value;
    }
    default: // plus; ++ and -- go through incremented()
        return operand;
    }
}

Value incremented(const Value &value, int delta)
{
    Value result = value;
    for (int i = 0; i < laneCount(value.type); ++i) {
        if (isIntegerLike(value.type))
            result.setIntegerLane(
                i, static_cast<qint64>(static_cast<quint64>(value.integerLane(i)) +
                                       static_cast<quint64>(static_cast<qint64>(delta))));
        else
            result.setLane(i, value.lane(i) + delta);
    }
    return result;
}

} // namespace eval::internal
