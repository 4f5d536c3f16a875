// The expressions of the walk. A fault yields float zero and the walk goes on, so what comes
// after it must expect a value of any type.

#include <eval/internal/interpreter/Interpreter.h>

#include <eval/internal/frontend/StructRegistry.h>
#include <eval/internal/interpreter/Arithmetic.h>

#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

void copyLane(const Value &from, int source, Value &to, int target)
{
    if (isIntegerLike(from.type) && isIntegerLike(to.type))
        to.setIntegerLane(target, from.integerLane(source));
    else
        to.setLane(target, from.lane(source));
}

Value matrixFromMatrix(const Value &source, Type type)
{
    Value result = Value::zero(type);
    const int rows = matrixRows(type);
    const int sourceRows = matrixRows(source.type);
    for (int i = 0; i < laneCount(type); ++i) {
        const int column = i / rows;
        const int row = i % rows;
        if (column < matrixColumns(source.type) && row < sourceRows)
            result.setLane(i, source.lane(column * sourceRows + row));
        else
            result.setLane(i, column == row ? 1.0 : 0.0);
    }
    return result;
}

Value concatenated(const QList<Value> &arguments, Type type)
{
    Value result = Value::zero(type);
    int next = 0;
    for (const Value &argument : arguments) {
        for (int i = 0; i < laneCount(argument.type) && next < laneCount(type); ++i)
            copyLane(argument, i, result, next++);
    }
    return result;
}

Value arrayElement(const Value &array, qint64 index)
{
    Value element = Value::zero(array.elementType);
    const float *first = array.elements + index * array.elementStride;
    for (int i = 0; i < std::min(laneCount(element.type), array.elementStride); ++i)
        element.setLane(i, static_cast<double>(first[i]));
    return element;
}

Value matrixColumn(const Value &matrix, int column)
{
    const int rows = matrixRows(matrix.type);
    Value result = Value::zero(vectorOf(scalarOf(matrix.type), rows));
    for (int row = 0; row < rows; ++row)
        result.setLane(row, matrix.lane(column * rows + row));
    return result;
}

} // namespace

int swizzleLane(QChar letter)
{
    switch (letter.unicode()) {
    case u'y':
    case u'g':
    case u't':
        return 1;
    case u'z':
    case u'b':
    case u'p':
        return 2;
    case u'w':
    case u'a':
    case u'q':
        return 3;
    default:
        return 0;
    }
}

Value Interpreter::evaluate(const AstNode &node)
{
    if (!enterLevel(node))
        return Value::zero(Type::Float);
    ++m_nesting;
    const auto leave = qScopeGuard([this] { --m_nesting; });
    return evaluateNode(node);
}

Value Interpreter::evaluateNode(const AstNode &node)
{
    switch (node.kind) {
    case AstKind::Literal:
        return qvariantToValue(node.literal, node.type, {}, m_structs);
    case AstKind::Identifier:
        return evalIdentifier(node);
    case AstKind::Unary:
        return evalUnary(node);
    case AstKind::Binary:
        return isAssignment(node.binaryKind) ? evalAssignment(node) : evalBinary(node);
    case AstKind::Ternary:
        return evalTernary(node);
    case AstKind::Call:
        return evalFunctionCall(node);
    case AstKind::Constructor:
        return evalConstructor(node);
    case AstKind::Member:
        return evalMember(node);
    case AstKind::StructField:
        return evalStructField(node);
    case AstKind::Index:
        return evalIndex(node);
    case AstKind::Block:
    case AstKind::ExpressionStatement:
    case AstKind::VariableDeclaration:
    case AstKind::If:
    case AstKind::For:
    case AstKind::While:
    case AstKind::DoWhile:
    case AstKind::Return:
    case AstKind::Break:
    case AstKind::Continue:
    case AstKind::Discard:
    case AstKind::Switch:
    case AstKind::FunctionDefinition:
    case AstKind::StructDeclaration:
        break;
    }
    return Value::zero(Type::Float);
}

Value Interpreter::evalIdentifier(const AstNode &node)
{
    const auto it = m_environment->constFind(node.name);
    if (it != m_environment->constEnd())
        return *it;
    recordError(node.span, u"unbound name '%1' at run-time"_s.arg(node.name));
    return Value::zero(Type::Float);
}

Value Interpreter::evalUnary(const AstNode &node)
{
    if (node.unaryKind >= UnaryKind::PrefixIncrement)
        return evalStep(node);
    return applyUnary(node.unaryKind, evaluate(*node.left));
}

Value Interpreter::evalStep(const AstNode &node)
{
    const Target target = resolveTarget(*node.left);
    if (!target.valid)
        return Value::zero(Type::Float);
    const bool isIncrement = node.unaryKind == UnaryKind::PrefixIncrement ||
                             node.unaryKind == UnaryKind::PostfixIncrement;
    const bool isPrefix = node.unaryKind == UnaryKind::PrefixIncrement ||
                          node.unaryKind == UnaryKind::PrefixDecrement;
    const Value before = readTarget(target);
    const Value after = writeTarget(target, incremented(before, isIncrement ? 1 : -1));
    return isPrefix ? after : before;
}

Value Interpreter::evalBinary(const AstNode &node)
{
    const Value left = evaluate(*node.left);
    return combine(node, node.binaryKind, left, evaluate(*node.right));
}

Value Interpreter::combine(const AstNode &node, BinaryKind kind, const Value &left,
                           const Value &right)
{
    ArithmeticFault fault;
    const Value result = applyBinary(kind, left, right, m_reportRuntimeFaults, fault);
    if (fault == ArithmeticFault::DivisionByZero)
        recordError(node.span, u"division by zero"_s);
    else if (fault == ArithmeticFault::ModuloByZero)
        recordError(node.span, u"modulo by zero"_s);
    return result;
}

Value Interpreter::evalTernary(const AstNode &node)
{
    const AstNode &branch = evaluate(*node.condition).toBool() ? *node.left : *node.right;
    const Value value = evaluate(branch);
    return retagged(value, ternaryType(value.type, node.type), value.structName, m_structs);
}

Value Interpreter::evalConstructor(const AstNode &node)
{
    const QList<Value> arguments = evalArguments(node);
    if (node.type == Type::Struct)
        return constructStruct(node, arguments);
    if (arguments.size() == 1) {
        const Value &only = arguments.first();
        if (isMatrix(node.type) && isMatrix(only.type))
            return matrixFromMatrix(only, node.type);
        if (isScalar(node.type) || isScalar(only.type))
            return retagged(only, node.type, node.structName, m_structs);
    }
    return concatenated(arguments, node.type);
}

Value Interpreter::constructStruct(const AstNode &node, const QList<Value> &arguments)
{
    Value result = defaultValue(Type::Struct, node.structName, m_structs);
    for (qsizetype i = 0; i < std::min(result.fields.size(), arguments.size()); ++i) {
        Value &field = result.fields[i];
        field = retagged(arguments[i], field.type, field.structName, m_structs);
    }
    return result;
}

Value Interpreter::evalMember(const AstNode &node)
{
    const Value whole = evaluate(*node.left);
    const int count = static_cast<int>(std::min<qsizetype>(node.name.size(), 4));
    Value part = Value::zero(laneCount(whole.type) > 0 ? vectorOf(scalarOf(whole.type), count)
                                                       : Type::Float);
    for (int i = 0; i < laneCount(part.type); ++i)
        copyLane(whole, swizzleLane(node.name[i]), part, i);
    return part;
}

Value Interpreter::evalStructField(const AstNode &node)
{
    const Value whole = evaluate(*node.left);
    if (node.fieldIndex < 0 || node.fieldIndex >= whole.fields.size())
        return Value::zero(Type::Float);
    return whole.fields[node.fieldIndex];
}

Value Interpreter::evalIndex(const AstNode &node)
{
    const Value whole = evaluate(*node.left);
    const qint64 index = evaluate(*node.right).integerLane(0);
    if (whole.type == Type::Array) {
        if (index >= 0 && index < whole.elementCount)
            return arrayElement(whole, index);
        recordError(node.span, u"runtime-array index %1 out of range [0, %2)"_s.arg(
                                   QString::number(index), QString::number(whole.elementCount)));
        return Value::zero(Type::Float);
    }
    if (!checkIndex(node, whole.type, index))
        return Value::zero(Type::Float);
    if (isMatrix(whole.type))
        return matrixColumn(whole, static_cast<int>(index));
    Value lane = Value::zero(scalarOf(whole.type));
    copyLane(whole, static_cast<int>(index), lane, 0);
    return lane;
}

bool Interpreter::checkIndex(const AstNode &node, Type type, qint64 index)
{
    if (!isMatrix(type) && !isVector(type)) {
        recordError(node.span, u"indexing on non-indexable type"_s, DiagnosticCategory::Internal);
        return false;
    }
    const int limit = isMatrix(type) ? matrixColumns(type) : laneCount(type);
    if (index >= 0 && index < limit)
        return true;
    recordError(node.span, isMatrix(type) ? u"matrix column index out of range"_s
                                          : u"vector index out of range"_s);
    return false;
}

} // namespace eval::internal
