#include <eval/gpu/GlslBody.h>

#include <eval/gpu/GlslBuiltins.h>
#include <eval/internal/frontend/Builtin.h>
#include <eval/internal/interpreter/Arithmetic.h>

#include <algorithm>

namespace eval::gpu {

using namespace internal;

namespace {

/// Compilers bound the brackets within each other.
constexpr int depthLimit = 24;

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
        return " && ";
    case BinaryKind::LogicalOr:
        return " || ";
    case BinaryKind::LogicalXor:
        return " ^^ ";
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

QByteArray joined(const QByteArray &a, BinaryKind kind, const QByteArray &b)
{
    return '(' + a + operatorText(kind) + b + ')';
}

int depthOf(const QList<GlslValue> &values)
{
    int depth = 0;
    for (const GlslValue &value : values)
        depth = std::max(depth, value.depth);
    return depth + 1;
}

bool isWholeLanes(const GlslValue &value)
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

/// The number of a literal index below `count`, or none.
std::optional<int> constantIndex(const AstNode &node, int count)
{
    const qint64 value = node.kind == AstKind::Literal ? node.literal.toLongLong() : -1;
    return value >= 0 && value < count ? std::optional(static_cast<int>(value)) : std::nullopt;
}

} // namespace

GlslValue GlslBody::emitExpression(const AstNode &node)
{
    if (m_unit.isTooLarge() || !m_unit.isSupported())
        return {"0.0", Type::Float, {}, true, false, 0};
    switch (node.kind) {
    case AstKind::Literal:
        return emitLiteral(node);
    case AstKind::Identifier:
        return emitIdentifier(node);
    case AstKind::Unary:
        return node.unaryKind >= UnaryKind::PrefixIncrement ? emitStep(node) : emitUnary(node);
    case AstKind::Binary: {
        if (isAssignment(node.binaryKind))
            return emitAssignment(node);
        const QList<GlslValue> sides = emitInOrder({node.left.data(), node.right.data()});
        return combine(node.binaryKind, sides[0], sides[1]);
    }
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
        return unsupported("/* unsupported expression */ 0.0");
    }
}

GlslValue GlslBody::unsupported(const char *remark)
{
    m_unit.setUnsupported();
    return {remark, Type::Float, {}, false, false, 0};
}

GlslValue GlslBody::made(const QByteArray &text, Type type, int depth) const
{
    return {text, type, {}, false, true, depth};
}

QByteArray GlslBody::newName(char letter)
{
    return letter + QByteArray::number(m_names++);
}

/// A value as a name of its own, which nothing changes later.
GlslValue GlslBody::keep(const GlslValue &value)
{
    const QByteArray name = newName('t');
    emitLine(m_unit.typeText(value.type, value.structName) + ' ' + name + " = " + value.text + ';');
    return {name, value.type, value.structName, true, false, 0};
}

/// A value that may be written several times.
GlslValue GlslBody::atom(const GlslValue &value)
{
    return value.isAtom ? value : keep(value);
}

GlslValue GlslBody::shallow(const GlslValue &value)
{
    return value.depth > depthLimit ? keep(value) : value;
}

/// Whether evaluating a node changes a variable that its neighbour may read.
bool GlslBody::mutates(const AstNode &node)
{
    const auto known = m_mutating.constFind(&node);
    if (known != m_mutating.constEnd())
        return *known;
    bool result = (node.kind == AstKind::Binary && isAssignment(node.binaryKind)) ||
                  (node.kind == AstKind::Unary && node.unaryKind >= UnaryKind::PrefixIncrement);
    for (const AstPtr &child : {node.condition, node.left, node.right})
        result = (child && mutates(*child)) || result;
    for (const AstPtr &argument : node.arguments)
        result = (argument && mutates(*argument)) || result;
    m_mutating.insert(&node, result);
    return result;
}

QList<GlslValue> GlslBody::emitInOrder(const QList<const AstNode *> &nodes)
{
    QList<GlslValue> values;
    for (qsizetype i = 0; i < nodes.size(); ++i) {
        const GlslValue value = emitExpression(*nodes[i]);
        const bool isOvertaken = value.isVariable && std::any_of(nodes.begin() + i + 1, nodes.end(),
                                                                 [this](const AstNode *later) {
                                                                     return mutates(*later);
                                                                 });
        values.append(isOvertaken ? keep(value) : shallow(value));
    }
    return values;
}

GlslValue GlslBody::retag(const GlslValue &value, Type type, const QString &structName)
{
    if (value.type == type && (type != Type::Struct || value.structName == structName))
        return value;
    const auto text = glslRetag(value, type);
    return text ? made(*text, type, value.depth + 1)
                : unsupported("/* unsupported expression */ 0.0");
}

/// A lane, a scalar standing for all of them, as a scalar of `type`.
QByteArray GlslBody::laneAs(const GlslValue &value, int lane, Type type)
{
    if (!isGlslType(value.type))
        m_unit.setUnsupported();
    return glslCast(glslLane(value, isScalar(value.type) ? 0 : lane), scalarOf(value.type), type);
}

GlslValue GlslBody::emitLiteral(const AstNode &node)
{
    if (!isGlslType(node.type) || !isScalar(node.type))
        return unsupported("/* unsupported literal */ 0.0");
    return {glslLiteral(node.literal, node.type), node.type, {}, true, false, 0};
}

GlslValue GlslBody::emitIdentifier(const AstNode &node)
{
    const auto found = m_variables.constFind(node.name);
    // A function sees no slots: reading one there is a fault at every evaluation.
    return found == m_variables.constEnd() ? unsupported("/* unsupported expression */ 0.0")
                                           : *found;
}

GlslValue GlslBody::emitUnary(const AstNode &node)
{
    const GlslValue operand = shallow(emitExpression(*node.left));
    const Type type = operand.type;
    if (!isGlslType(type))
        return unsupported("/* unsupported unary */ 0.0");
    const int depth = operand.depth + 1;
    switch (node.unaryKind) {
    case UnaryKind::Negate:
        if (type == Type::Int || (!isMatrix(type) && scalarOf(type) == Type::Float))
            return made("(-" + operand.text + ')', type, depth);
        return operand;
    case UnaryKind::LogicalNot:
        return made("(!" + laneAs(operand, 0, Type::Bool) + ')', Type::Bool, depth);
    case UnaryKind::BitNot:
        if (type != Type::Int && type != Type::Uint)
            return unsupported("/* unsupported unary */ 0.0");
        return made("(~" + operand.text + ')', type, depth);
    default: // plus
        return operand;
    }
}

GlslValue GlslBody::combine(BinaryKind kind, const GlslValue &left, const GlslValue &right)
{
    if (kind == BinaryKind::Equal || kind == BinaryKind::NotEqual)
        return emitEquality(kind, left, right);
    if (!isGlslType(left.type) || !isGlslType(right.type))
        return unsupported("/* unsupported binary */ 0.0");
    if (kind > BinaryKind::NotEqual && kind <= BinaryKind::LogicalXor)
        return emitComparison(kind, left, right);
    if (kind >= BinaryKind::BitAnd && kind <= BinaryKind::ShiftRight)
        return emitBits(kind, left, right);
    const ArithmeticPlan plan = planArithmetic(kind, left.type, right.type);
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

GlslValue GlslBody::emitEquality(BinaryKind kind, const GlslValue &left, const GlslValue &right)
{
    const int depth = depthOf({left, right});
    if (left.type == right.type && left.structName == right.structName)
        return made(joined(left.text, kind, right.text), Type::Bool, depth);
    if (!isGlslType(left.type) || !isGlslType(right.type) || isMatrix(left.type) ||
        isMatrix(right.type))
        return unsupported("/* unsupported binary */ 0.0");
    if (isScalar(left.type) && isScalar(right.type))
        return emitComparison(kind, left, right);
    const int lanes = std::max(laneCount(left.type), laneCount(right.type));
    const bool isSameSize = (isScalar(left.type) || laneCount(left.type) == lanes) &&
                            (isScalar(right.type) || laneCount(right.type) == lanes);
    if (!isSameSize || isMixedSign(scalarOf(left.type), scalarOf(right.type)))
        return unsupported("/* unsupported binary */ 0.0");
    const Type type = vectorOf(comparedType(scalarOf(left.type), scalarOf(right.type)), lanes);
    return made(joined(retag(left, type).text, kind, retag(right, type).text), Type::Bool, depth);
}

/// By the first lane of each side; both sides have been evaluated.
GlslValue GlslBody::emitComparison(BinaryKind kind, const GlslValue &left, const GlslValue &right)
{
    const int depth = depthOf({left, right});
    const Type a = scalarOf(left.type);
    const Type b = scalarOf(right.type);
    if (kind < BinaryKind::LogicalAnd && isMixedSign(a, b)) {
        const QByteArray order = glslCall("evalOrder", {laneAs(left, 0, a), laneAs(right, 0, b)});
        return made('(' + order + operatorText(kind) + "0)", Type::Bool, depth);
    }
    const Type type = kind >= BinaryKind::LogicalAnd ? Type::Bool : comparedType(a, b);
    return made(joined(laneAs(left, 0, type), kind, laneAs(right, 0, type)), Type::Bool, depth);
}

/// As ints of 32 bits, whatever the sides are.
GlslValue GlslBody::emitBits(BinaryKind kind, const GlslValue &left, const GlslValue &right)
{
    if (!isScalar(left.type) || !isScalar(right.type))
        return unsupported("/* unsupported binary */ 0.0");
    const Type type = commonScalar(left.type, right.type);
    const QByteArray a = laneAs(left, 0, Type::Int);
    const QByteArray b = laneAs(right, 0, Type::Int);
    QByteArray text = joined(a, kind, b);
    if (kind == BinaryKind::ShiftLeft)
        text = '(' + a + " << (" + b + " & 31))";
    else if (kind == BinaryKind::ShiftRight)
        text = '(' + a + " >> (" + b + " & 31))";
    return made(glslCast(text, Type::Int, type), type, depthOf({left, right}));
}

GlslValue GlslBody::emitScalar(BinaryKind kind, const GlslValue &left, const GlslValue &right,
                               Type type)
{
    const int depth = depthOf({left, right});
    const bool divides = kind == BinaryKind::Divide || kind == BinaryKind::Remainder;
    if (divides && type != Type::Float && isMixedSign(left.type, right.type))
        return unsupported("/* unsupported binary */ 0.0");
    const Type computed = type == Type::Bool ? Type::Int : type;
    const QByteArray a = laneAs(left, 0, computed);
    const QByteArray b = laneAs(right, 0, computed);
    QByteArray text = joined(a, kind, b);
    if (kind == BinaryKind::Remainder)
        text = glslCall(computed == Type::Float ? "mod" : "evalRemainder", {a, b});
    else if (divides && computed != Type::Float)
        text = glslCall("evalDivide", {a, b});
    return made(glslCast(text, computed, type), type, depth);
}

GlslValue GlslBody::emitLanewise(BinaryKind kind, const GlslValue &left, const GlslValue &right,
                                 Type type)
{
    const auto fits = [type](const GlslValue &side) {
        return isScalar(side.type) ||
               (isMatrix(side.type) == isMatrix(type) && laneCount(side.type) == laneCount(type));
    };
    const bool divides = kind == BinaryKind::Divide || kind == BinaryKind::Remainder;
    const bool isFloat = scalarOf(type) == Type::Float;
    const bool hasForm = isFloat ? kind != BinaryKind::Remainder || !isMatrix(type)
                                 : !divides && isWholeLanes(left) && isWholeLanes(right);
    if (!fits(left) || !fits(right) || !hasForm)
        return unsupported("/* unsupported binary */ 0.0");
    const auto side = [&](const GlslValue &value) {
        const Type own = isScalar(value.type) ? scalarOf(type) : type;
        return retag(value, own).text;
    };
    const int depth = depthOf({left, right});
    if (kind == BinaryKind::Remainder)
        return made(glslCall("mod", {retag(left, type).text, side(right)}), type, depth);
    return made(joined(side(left), kind, side(right)), type, depth);
}

GlslValue GlslBody::emitProduct(const GlslValue &left, const GlslValue &right, Type type)
{
    const int inner = isVector(left.type) ? laneCount(left.type) : matrixColumns(left.type);
    const int other = isVector(right.type) ? laneCount(right.type) : matrixRows(right.type);
    if (inner != other || scalarOf(left.type) != Type::Float || scalarOf(right.type) != Type::Float)
        return unsupported("/* unsupported binary */ 0.0");
    return made(joined(left.text, BinaryKind::Multiply, right.text), type, depthOf({left, right}));
}

QByteArray GlslBody::condition(const AstNode &node)
{
    return laneAs(shallow(emitExpression(node)), 0, Type::Bool);
}

/// One expression, unless a branch has statements of its own, which only its taking may run.
GlslValue GlslBody::emitTernary(const AstNode &node)
{
    const QByteArray chosen = condition(*node.condition);
    GlslValue values[2];
    QByteArray lines[2];
    for (int i = 0; i < 2; ++i) {
        lines[i] = nested([&] {
            const GlslValue value = emitExpression(i == 0 ? *node.left : *node.right);
            values[i] = shallow(retag(value, ternaryType(value.type, node.type), value.structName));
        });
    }
    if (values[0].type != values[1].type || values[0].structName != values[1].structName)
        return unsupported("/* unsupported expression */ 0.0");
    if (lines[0].isEmpty() && lines[1].isEmpty()) {
        GlslValue value = made('(' + chosen + " ? " + values[0].text + " : " + values[1].text + ')',
                               values[0].type, depthOf({values[0], values[1]}) + 1);
        value.structName = values[0].structName;
        return value;
    }
    const QByteArray name = newName('t');
    emitLine(m_unit.typeText(values[0].type, values[0].structName) + ' ' + name + ';');
    for (int i = 0; i < 2; ++i) {
        lines[i] += nested([&] { emitLine(name + " = " + values[i].text + ';'); });
        m_lines +=
            m_indent + (i == 0 ? "if (" + chosen + ") {\n" : QByteArray("} else {\n")) + lines[i];
    }
    m_lines += m_indent + "}\n";
    return {name, values[0].type, values[0].structName, true, false, 0};
}

GlslValue GlslBody::emitConstructor(const AstNode &node)
{
    QList<const AstNode *> nodes;
    for (const AstPtr &argument : node.arguments)
        nodes.append(argument.data());
    QList<GlslValue> arguments = emitInOrder(nodes);
    if (node.type == Type::Struct)
        return emitStructConstructor(node, arguments);
    int given = 0;
    bool hasMatrix = false;
    for (const GlslValue &argument : std::as_const(arguments)) {
        if (!isGlslType(argument.type))
            return unsupported("/* unsupported expression */ 0.0");
        given += laneCount(argument.type);
        hasMatrix = hasMatrix || isMatrix(argument.type);
    }
    if (!isGlslType(node.type) || arguments.isEmpty())
        return unsupported("/* unsupported expression */ 0.0");
    const int depth = depthOf(arguments);
    const GlslValue only = arguments.size() == 1 ? arguments.first() : GlslValue();
    if (isMatrix(node.type) && isMatrix(only.type))
        return made(glslCall(glslTypeName(node.type), {only.text}), node.type, depth);
    if (arguments.size() == 1 && (isScalar(node.type) || isScalar(only.type)))
        return retag(only, node.type);
    QList<QByteArray> parts;
    const Type scalar = scalarOf(node.type);
    if (given == laneCount(node.type) && !hasMatrix) {
        for (const GlslValue &argument : std::as_const(arguments))
            parts.append(retag(argument, vectorOf(scalar, laneCount(argument.type))).text);
        return made(glslCall(glslTypeName(node.type), parts), node.type, depth);
    }
    for (GlslValue &argument : arguments) {
        argument = atom(argument);
        for (int i = 0; i < laneCount(argument.type) && parts.size() < laneCount(node.type); ++i)
            parts.append(laneAs(argument, i, scalar));
    }
    while (parts.size() < laneCount(node.type))
        parts.append(glslZero(scalar));
    return made(glslCall(glslTypeName(node.type), parts), node.type, 1);
}

GlslValue GlslBody::emitStructConstructor(const AstNode &node, const QList<GlslValue> &arguments)
{
    const StructDef *const definition = m_unit.structs().lookup(node.structName);
    if (!definition || arguments.size() != definition->fields.size())
        return unsupported("/* unsupported expression */ 0.0");
    QList<QByteArray> fields;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const StructField &field = definition->fields[i];
        fields.append(retag(arguments[i], field.type, field.structName).text);
    }
    GlslValue value = made(glslCall(m_unit.typeText(Type::Struct, node.structName), fields),
                           Type::Struct, depthOf(arguments));
    value.structName = node.structName;
    return value;
}

GlslValue GlslBody::emitMember(const AstNode &node)
{
    const GlslValue whole = emitExpression(*node.left);
    const int count = static_cast<int>(std::min<qsizetype>(node.name.size(), 4));
    const Type type = vectorOf(scalarOf(whole.type), count);
    if (!isGlslType(whole.type) || !isGlslType(type) || isMatrix(whole.type))
        return unsupported("/* unsupported expression */ 0.0");
    QByteArray letters;
    for (int i = 0; i < count; ++i) {
        const int lane = swizzleLane(node.name[i]);
        if (lane >= laneCount(whole.type))
            return unsupported("/* unsupported expression */ 0.0");
        letters += "xyzw"[lane];
    }
    if (isScalar(whole.type)) // of which GLSL has no swizzle
        return retag(whole, type);
    GlslValue part = made(whole.text + '.' + letters, type, whole.depth);
    part.isAtom = whole.isAtom;
    part.isVariable = whole.isVariable;
    return part;
}

GlslValue GlslBody::emitField(const AstNode &node)
{
    const GlslValue whole = emitExpression(*node.left);
    const StructDef *const definition = m_unit.structs().lookup(whole.structName);
    if (whole.type != Type::Struct || !definition || node.fieldIndex < 0 ||
        node.fieldIndex >= definition->fields.size())
        return unsupported("/* unsupported expression */ 0.0");
    const StructField &field = definition->fields[node.fieldIndex];
    return {whole.text + '.' + GlslUnit::fieldName(node.fieldIndex),
            field.type,
            field.structName,
            whole.isAtom,
            whole.isVariable,
            whole.depth};
}

/// A number that is -1 when it is not below `count`.
QByteArray GlslBody::dynamicIndex(const GlslValue &index, int count)
{
    const QByteArray text =
        glslCall("evalWithin", {laneAs(index, 0, Type::Int), QByteArray::number(count)});
    return keep(made(text, Type::Int, index.depth + 1)).text;
}

GlslValue GlslBody::emitIndex(const AstNode &node)
{
    const QList<GlslValue> parts = emitInOrder({node.left.data(), node.right.data()});
    const GlslValue &whole = parts[0];
    if (scalarOf(whole.type) != Type::Float || (!isVector(whole.type) && !isMatrix(whole.type)))
        return unsupported("/* unsupported expression */ 0.0");
    const int rows = isMatrix(whole.type) ? matrixRows(whole.type) : 1;
    const int count = laneCount(whole.type) / rows;
    const Type type = vectorOf(Type::Float, rows);
    if (const auto constant = constantIndex(*node.right, count)) {
        GlslValue part = whole;
        part.text += '[' + QByteArray::number(*constant) + ']';
        part.type = type;
        return part;
    }
    const QByteArray index = dynamicIndex(parts[1], count);
    return made('(' + index + " < 0 ? " + glslZero(type) + " : " + whole.text + "[max(" + index +
                    ", 0)])",
                type, whole.depth + 1);
}

} // namespace eval::gpu
