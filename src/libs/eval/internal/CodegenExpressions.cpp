#include <eval/internal/CodegenBody.h>

#include <eval/internal/Arithmetic.h>
#include <eval/internal/AstWalk.h>

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

/// The number of a literal index, or none.
std::optional<int> constantIndex(const AstNode &node, int count)
{
    const qint64 value = node.kind == AstKind::Literal ? node.literal.toLongLong() : -1;
    return value >= 0 && value < count ? std::optional(static_cast<int>(value)) : std::nullopt;
}

} // namespace

Operand CodegenBody::emitExpression(const AstNode &node)
{
    if (m_unit.isTooLarge() || !m_unit.isSupported())
        return {"0.0f", Type::Float, {}, Type::Float, false};
    switch (node.kind) {
    case AstKind::Literal:
        if (!isScalar(node.type))
            return unsupported();
        return {m_unit.isForLanes() ? "splat(" + nativeLiteral(node.literal, node.type) + ')'
                                    : nativeLiteral(node.literal, node.type),
                node.type,
                {},
                Type::Float,
                false};
    case AstKind::Identifier:
        return emitIdentifier(node);
    case AstKind::Unary:
        return node.unaryKind >= UnaryKind::PrefixIncrement ? emitStep(node) : emitUnary(node);
    case AstKind::Binary:
        return isAssignment(node.binaryKind) ? emitAssignment(node) : emitBinary(node);
    case AstKind::Ternary:
        return emitTernary(node);
    case AstKind::Call:
        return emitFunctionCall(node);
    case AstKind::Constructor:
        return emitConstructor(node);
    case AstKind::Member:
        return emitMember(node);
    case AstKind::StructField:
        return emitField(node);
    case AstKind::Index:
        return emitIndex(node);
    default: // statements do not stand in expressions
        return unsupported();
    }
}

Operand CodegenBody::unsupported()
{
    m_unit.setUnsupported();
    return {"0.0f", Type::Float, {}, Type::Float, false};
}

QByteArray CodegenBody::newName(char letter)
{
    return letter + QByteArray::number(m_names++);
}

Operand CodegenBody::keep(const QByteArray &text, Type type, const QString &structName)
{
    const QByteArray name = newName('t');
    emitLine("const " + m_unit.typeText(type, structName) + ' ' + name + " = " + text + ';');
    return {name, type, structName, Type::Float, false};
}

/// A value that may be written several times.
Operand CodegenBody::named(const Operand &value)
{
    return value.isVariable ? keep(value.text, value.type, value.structName) : value;
}

/// Whether evaluating a node may change a variable that its neighbour reads.
bool CodegenBody::mutates(const AstNode &node)
{
    const auto known = m_mutating.constFind(&node);
    if (known != m_mutating.constEnd())
        return *known;
    bool result = (node.kind == AstKind::Binary && isAssignment(node.binaryKind)) ||
                  (node.kind == AstKind::Unary && node.unaryKind >= UnaryKind::PrefixIncrement);
    if (node.kind == AstKind::Call && m_unit.table().contains(node.name)) {
        for (const AstNode *function : m_unit.table().value(node.name)) {
            for (const FunctionParam &param : function->params)
                result = result || param.qualifier == ParamQualifier::Out ||
                         param.qualifier == ParamQualifier::InOut;
        }
    }
    for (const AstPtr &child : {node.condition, node.left, node.right, node.body})
        result = (child && mutates(*child)) || result;
    for (const AstPtr &argument : node.arguments)
        result = (argument && mutates(*argument)) || result;
    m_mutating.insert(&node, result);
    return result;
}

QList<Operand> CodegenBody::emitInOrder(const QList<const AstNode *> &nodes)
{
    QList<Operand> values;
    for (qsizetype i = 0; i < nodes.size(); ++i) {
        const Operand value = emitExpression(*nodes[i]);
        const bool isOvertaken =
            std::any_of(nodes.begin() + i + 1, nodes.end(),
                        [this](const AstNode *later) { return mutates(*later); });
        values.append(isOvertaken && value.type != Type::Array ? named(value) : value);
    }
    return values;
}

Operand CodegenBody::emitIdentifier(const AstNode &node)
{
    const auto found = m_variables.constFind(node.name);
    // A function sees no slots: reading one there is a fault at every evaluation.
    return found == m_variables.constEnd() ? unsupported() : *found;
}

Operand CodegenBody::emitUnary(const AstNode &node)
{
    const Operand operand = emitExpression(*node.left);
    if (!isNativeLaneType(operand.type))
        return unsupported();
    const Type type = operand.type;
    switch (node.unaryKind) {
    case UnaryKind::Negate:
        if (type == Type::Float || type == Type::Double ||
            (isVector(type) && isFloatLanes(operand)))
            return keep('-' + operand.text, type);
        if (type == Type::Int)
            return keep("wrapSubtract(Int{}, " + operand.text + ')', type);
        return operand;
    case UnaryKind::LogicalNot:
        return keep('!' + laneAs(operand, 0, Type::Bool), Type::Bool);
    case UnaryKind::BitNot:
        if (!isScalar(type) || !isIntegerLike(type))
            return unsupported();
        return keep(nativeCast('~' + nativeCast(operand.text, type, Type::Int), Type::Int, type),
                    type);
    default: // plus
        return operand;
    }
}

Operand CodegenBody::emitBinary(const AstNode &node)
{
    const QList<Operand> sides = emitInOrder({node.left.data(), node.right.data()});
    return combine(node.binaryKind, sides[0], sides[1]);
}

Operand CodegenBody::combine(BinaryKind kind, const Operand &left, const Operand &right)
{
    if (kind == BinaryKind::Equal || kind == BinaryKind::NotEqual) {
        const QByteArray equal = equality(left, right);
        return keep(kind == BinaryKind::Equal ? equal : "!(" + equal + ')', Type::Bool);
    }
    if (!isNativeLaneType(left.type) || !isNativeLaneType(right.type))
        return unsupported();
    if (kind > BinaryKind::NotEqual && kind <= BinaryKind::LogicalXor)
        return emitComparison(kind, left, right);
    if (kind >= BinaryKind::BitAnd && kind <= BinaryKind::ShiftRight)
        return emitBits(kind, left, right);
    const ArithmeticPlan plan = planArithmetic(kind, left.type, right.type);
    if (!isNativeVariableType(plan.result) || (!isScalar(plan.result) && !plan.inFloat))
        return unsupported();
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
Operand CodegenBody::emitComparison(BinaryKind kind, const Operand &left, const Operand &right)
{
    const bool isLogical = kind >= BinaryKind::LogicalAnd;
    const Type type = isLogical ? Type::Bool : comparedType(left, right);
    return keep(laneAs(left, 0, type) + operatorText(kind) + laneAs(right, 0, type), Type::Bool);
}

QByteArray CodegenBody::equality(const Operand &left, const Operand &right)
{
    QList<QByteArray> terms;
    const StructDef *const definition =
        left.type == Type::Struct && left.structName == right.structName
            ? m_unit.structs().lookup(left.structName)
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
        m_unit.setUnsupported();
    }
    // Without a short cut, which several lanes have no use for.
    return terms.isEmpty() ? "splat(true)" : '(' + terms.join(" & ") + ')';
}

Operand CodegenBody::emitBits(BinaryKind kind, const Operand &left, const Operand &right)
{
    if (!isScalar(left.type) || !isScalar(right.type))
        return unsupported();
    const Type type = commonScalar(left.type, right.type);
    const QByteArray a = laneAs(left, 0, Type::Int);
    const QByteArray b = laneAs(right, 0, Type::Int);
    QByteArray text = '(' + a + operatorText(kind) + b + ')';
    if (kind == BinaryKind::ShiftLeft)
        text = "shiftLeft(" + a + ", " + b + ')';
    else if (kind == BinaryKind::ShiftRight)
        text = "shiftRight(" + a + ", " + b + ')';
    return keep(nativeCast(text, Type::Int, type), type);
}

/// In double and rounded once, which for floats is the same as in float.
Operand CodegenBody::emitScalar(BinaryKind kind, const Operand &left, const Operand &right,
                                Type type)
{
    const bool inFloat = left.type == Type::Float && right.type == Type::Float;
    const Type computed = inFloat ? Type::Float : Type::Double;
    const QByteArray a = laneAs(left, 0, computed);
    const QByteArray b = laneAs(right, 0, computed);
    const bool isSum = kind == BinaryKind::Add || kind == BinaryKind::Subtract;
    if (isSum && left.type == Type::Int && right.type == Type::Int && type == Type::Int)
        return keep((kind == BinaryKind::Add ? "wrapAdd(" : "wrapSubtract(") + left.text + ", " +
                        right.text + ')',
                    type);
    if (kind == BinaryKind::Remainder)
        return keep(nativeCast("evalRemainder(" + a + ", " + b + ')', computed, type), type);
    return keep(nativeCast('(' + arithmetic(kind, a, b) + ')', computed, type), type);
}

Operand CodegenBody::emitLanewise(BinaryKind kind, const Operand &left, const Operand &right,
                                  Type type)
{
    const auto fits = [type](const Operand &side) {
        return side.type == type || side.type == Type::Float;
    };
    if (kind != BinaryKind::Remainder && fits(left) && fits(right))
        return keep(left.text + operatorText(kind) + right.text, type);
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i) {
        const bool isThere = (isScalar(left.type) || i < laneCount(left.type)) &&
                             (isScalar(right.type) || i < laneCount(right.type));
        lanes.append(
            isThere ? arithmetic(kind, laneAs(left, i, Type::Float), laneAs(right, i, Type::Float))
                    : nativeZero(Type::Float));
    }
    return keep(nativeCompose(type, lanes), type);
}

Operand CodegenBody::emitProduct(const Operand &left, const Operand &right, Type type)
{
    const int inner = isVector(left.type) ? laneCount(left.type) : matrixColumns(left.type);
    const int other = isVector(right.type) ? laneCount(right.type) : matrixRows(right.type);
    if (inner != other || !isFloatLanes(left) || !isFloatLanes(right))
        return unsupported();
    const QByteArray a = isVector(left.type) ? "row(" + left.text + ')' : left.text;
    const QByteArray b = isVector(right.type) ? "column(" + right.text + ')' : right.text;
    const QByteArray product = "product(" + a + ", " + b + ')';
    if (isMatrix(type))
        return keep(product, type);
    return keep("vector" + QByteArray::number(laneCount(type)) + '(' + product + ".m)", type);
}

Operand CodegenBody::emitTernary(const AstNode &node)
{
    const QByteArray chosen = condition(*node.condition);
    const QByteArray name = newName('t');
    Operand values[2];
    const auto emitBranch = [&](int i, const QByteArray &mask) {
        return nested([&] {
            const Operand value = emitExpression(i == 0 ? *node.left : *node.right);
            values[i] = retag(value, ternaryType(value.type, node.type), value.structName);
            emitLine(name + " = " +
                     (i == 0 || mask.isEmpty()
                          ? values[i].text
                          : "select(" + mask + ", " + values[i].text + ", " + name + ')') +
                     ';');
        });
    };
    const auto [first, second] = emitBranches(chosen, emitBranch);
    if (values[0].type != values[1].type || values[0].structName != values[1].structName ||
        values[0].type == Type::Array)
        return unsupported();
    emitLine(m_unit.typeText(values[0].type, values[0].structName) + ' ' + name + "{};");
    m_lines += m_unit.isForLanes() ? first + second
                                   : m_indent + "if (" + chosen + ") {\n" + first + m_indent +
                                         "} else {\n" + second + m_indent + "}\n";
    return {name, values[0].type, values[0].structName, Type::Float, false};
}

QByteArray CodegenBody::condition(const AstNode &node)
{
    const Operand value = emitExpression(node);
    if (!isNativeLaneType(value.type))
        m_unit.setUnsupported();
    return laneAs(value, 0, Type::Bool);
}

Operand CodegenBody::retag(const Operand &value, Type type, const QString &structName)
{
    if (value.type == type && value.structName == structName)
        return value;
    if (value.type == type && type != Type::Struct)
        return value;
    if (!isNativeLaneType(type) || !isNativeLaneType(value.type))
        return unsupported();
    return keep(nativeRetag(value, type), type);
}

Operand CodegenBody::emitConstructor(const AstNode &node)
{
    QList<const AstNode *> nodes;
    for (const AstPtr &argument : node.arguments)
        nodes.append(argument.data());
    const QList<Operand> arguments = emitInOrder(nodes);
    if (node.type == Type::Struct)
        return emitStructConstructor(node, arguments);
    if (!isNativeVariableType(node.type) ||
        !std::ranges::all_of(arguments, isNativeLaneType, &Operand::type))
        return unsupported();
    const Operand only = arguments.size() == 1 ? arguments.first() : Operand();
    if (isMatrix(node.type) && isMatrix(only.type)) {
        QList<QByteArray> lanes;
        const int rows = matrixRows(node.type);
        for (int i = 0; i < laneCount(node.type); ++i) {
            const int column = i / rows;
            const int row = i % rows;
            if (column < matrixColumns(only.type) && row < matrixRows(only.type))
                lanes.append(nativeLane(only, column * matrixRows(only.type) + row));
            else
                lanes.append(column == row ? "(Float{} + 1.0f)" : nativeZero(Type::Float));
        }
        return keep(nativeCompose(node.type, lanes), node.type);
    }
    if (arguments.size() == 1 && (isScalar(node.type) || isScalar(only.type)))
        return keep(nativeRetag(only, node.type), node.type);
    QList<QByteArray> lanes;
    for (const Operand &argument : arguments) {
        for (int i = 0; i < laneCount(argument.type) && lanes.size() < laneCount(node.type); ++i)
            lanes.append(laneAs(argument, i, scalarOf(node.type)));
    }
    while (lanes.size() < laneCount(node.type))
        lanes.append(nativeZero(scalarOf(node.type)));
    return keep(nativeCompose(node.type, lanes), node.type);
}

Operand CodegenBody::emitStructConstructor(const AstNode &node, const QList<Operand> &arguments)
{
    const StructDef *const definition = m_unit.structs().lookup(node.structName);
    if (!definition || arguments.size() != definition->fields.size())
        return unsupported();
    QList<QByteArray> fields;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const StructField &field = definition->fields[i];
        fields.append(retag(arguments[i], field.type, field.structName).text);
    }
    return keep(m_unit.typeText(Type::Struct, node.structName) + '{' + fields.join(", ") + '}',
                Type::Struct, node.structName);
}

Operand CodegenBody::emitMember(const AstNode &node)
{
    const Operand whole = emitExpression(*node.left);
    const int count = static_cast<int>(std::min<qsizetype>(node.name.size(), 4));
    const Type type = vectorOf(scalarOf(whole.type), count);
    if (!isNativeLaneType(whole.type) || !isNativeLaneType(type))
        return unsupported();
    QList<QByteArray> lanes;
    for (int i = 0; i < count; ++i)
        lanes.append(nativeLane(whole, swizzleLane(node.name[i])));
    if (count == 1)
        return {lanes.first(), type, {}, Type::Float, whole.isVariable};
    return keep(nativeCompose(type, lanes), type);
}

Operand CodegenBody::emitField(const AstNode &node)
{
    const Operand whole = emitExpression(*node.left);
    const StructDef *const definition = m_unit.structs().lookup(whole.structName);
    if (whole.type != Type::Struct || !definition || node.fieldIndex < 0 ||
        node.fieldIndex >= definition->fields.size())
        return unsupported();
    const StructField &field = definition->fields[node.fieldIndex];
    return {whole.text + '.' + CodegenUnit::fieldName(node.fieldIndex), field.type,
            field.structName, Type::Float, whole.isVariable};
}

/// A number that is -1 when it is not below `count`.
QByteArray CodegenBody::dynamicIndex(const Operand &index, int count)
{
    if (!isNativeLaneType(index.type))
        m_unit.setUnsupported();
    return keep("within(" + laneAs(index, 0, Type::Int64) + ", " + QByteArray::number(count) + ')',
                Type::Int64)
        .text;
}

Operand CodegenBody::emitIndex(const AstNode &node)
{
    const QList<Operand> parts = emitInOrder({node.left.data(), node.right.data()});
    const Operand &whole = parts[0];
    if (whole.type == Type::Array) {
        const Type type = whole.elementType;
        const QByteArray index = keep(laneAs(parts[1], 0, Type::Int64), Type::Int64).text;
        QList<QByteArray> lanes;
        for (int i = 0; i < laneCount(type); ++i)
            lanes.append(nativeCast("element(" + whole.text + ", " + index + ", " + whole.text +
                                        "_length, " + QByteArray::number(laneCount(type)) + ", " +
                                        QByteArray::number(i) + ')',
                                    Type::Float, scalarOf(type)));
        return keep(nativeCompose(type, lanes), type);
    }
    if ((!isVector(whole.type) && !isMatrix(whole.type)) || !isFloatLanes(whole))
        return unsupported();
    const int rows = isMatrix(whole.type) ? matrixRows(whole.type) : 1;
    const int count = laneCount(whole.type) / rows;
    const auto constant = constantIndex(*node.right, count);
    const QByteArray index = constant ? QByteArray() : dynamicIndex(parts[1], count);
    QList<QByteArray> lanes;
    for (int i = 0; i < rows; ++i)
        lanes.append(constant ? nativeLane(whole, *constant * rows + i)
                              : "lane(" + whole.text + ", " + index + " * " +
                                    QByteArray::number(rows) + " + " + QByteArray::number(i) + ')');
    const Type type = vectorOf(Type::Float, rows);
    return keep(nativeCompose(type, lanes), type);
}

} // namespace eval::internal
