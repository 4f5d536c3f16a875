// Types are followed as values, not taken from the checker: the type of an operand is what the
// interpreter's value would have, which is not always what the checker wrote. An operand that a
// later one may change is copied before.

#include <eval/internal/native/CodegenExpressions.h>

#include <eval/internal/frontend/AstWalk.h>
#include <eval/internal/interpreter/Arithmetic.h>

#include <algorithm>

namespace eval::internal {

namespace {

QByteArray laneAs(const Operand &value, int lane, Type type)
{
    return nativeCast(nativeBroadcastLane(value, lane), scalarOf(value.type), type);
}

bool isFloatLanes(const Operand &value)
{
    return scalarOf(value.type) == Type::Float;
}

} // namespace

Operand CodegenExpressions::emitExpression(const AstNode &node)
{
    if (m_writer.unit().isTooLarge() || !m_writer.unit().isSupported())
        return {"0.0f", Type::Float, {}, Type::Float, false};
    switch (node.kind) {
    case AstKind::Literal:
        return emitLiteral(node);
    case AstKind::Identifier:
        return emitIdentifier(node);
    case AstKind::Unary:
        return node.unaryKind >= UnaryKind::PrefixIncrement
                   ? m_assignments.emitStep(node)
                   : m_arithmetic.unary(node.unaryKind, emitExpression(*node.left));
    case AstKind::Binary:
        return isAssignment(node.binaryKind) ? m_assignments.emitAssignment(node)
                                             : emitBinary(node);
    case AstKind::Ternary:
        return emitTernary(node);
    case AstKind::Call:
        return m_calls.emitFunctionCall(node, emitArguments(node));
    case AstKind::Constructor:
        return emitConstructor(node);
    case AstKind::Member:
        return emitMember(node);
    case AstKind::StructField:
        return emitField(node);
    case AstKind::Index:
        return emitIndex(node);
    default: // statements do not stand in expressions
        return m_writer.unsupported();
    }
}

bool CodegenExpressions::mutates(const AstNode &node)
{
    const auto known = m_mutating.constFind(&node);
    if (known != m_mutating.constEnd())
        return *known;
    bool result = (node.kind == AstKind::Binary && isAssignment(node.binaryKind)) ||
                  (node.kind == AstKind::Unary && node.unaryKind >= UnaryKind::PrefixIncrement);
    if (node.kind == AstKind::Call && m_writer.unit().table().contains(node.name)) {
        for (const AstNode *function : m_writer.unit().table().value(node.name)) {
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

QList<Operand> CodegenExpressions::emitInOrder(const QList<const AstNode *> &nodes)
{
    QList<Operand> values;
    for (qsizetype i = 0; i < nodes.size(); ++i) {
        const Operand value = emitExpression(*nodes[i]);
        const bool isOvertaken =
            std::any_of(nodes.begin() + i + 1, nodes.end(),
                        [this](const AstNode *later) { return mutates(*later); });
        values.append(isOvertaken && value.type != Type::Array ? m_writer.named(value) : value);
    }
    return values;
}

QList<Operand> CodegenExpressions::emitArguments(const AstNode &node)
{
    QList<const AstNode *> nodes;
    for (const AstPtr &argument : node.arguments)
        nodes.append(argument.data());
    return emitInOrder(nodes);
}

Operand CodegenExpressions::emitLiteral(const AstNode &node)
{
    if (!isScalar(node.type))
        return m_writer.unsupported();
    const QByteArray text = nativeLiteral(node.literal, node.type);
    return {m_writer.unit().isForLanes() ? "splat(" + text + ')' : text,
            node.type,
            {},
            Type::Float,
            false};
}

Operand CodegenExpressions::emitIdentifier(const AstNode &node)
{
    // A function sees no slots: reading one there is a fault at every evaluation.
    const Operand *const found = m_writer.variable(node.name);
    return found ? *found : m_writer.unsupported();
}

Operand CodegenExpressions::emitBinary(const AstNode &node)
{
    const QList<Operand> sides = emitInOrder({node.left.data(), node.right.data()});
    return m_arithmetic.combine(node.binaryKind, sides[0], sides[1]);
}

Operand CodegenExpressions::emitTernary(const AstNode &node)
{
    const QByteArray chosen = condition(*node.condition);
    const QByteArray name = m_writer.newName('t');
    Operand values[2];
    const auto emitBranch = [&](int i, const QByteArray &mask) {
        return m_writer.nested([&] {
            const Operand value = emitExpression(i == 0 ? *node.left : *node.right);
            values[i] = m_writer.retag(value, ternaryType(value.type, node.type), value.structName);
            m_writer.emitLine(name + " = " +
                              (i == 0 || mask.isEmpty()
                                   ? values[i].text
                                   : "select(" + mask + ", " + values[i].text + ", " + name + ')') +
                              ';');
        });
    };
    const auto [first, second] = m_writer.emitBranches(chosen, emitBranch);
    if (values[0].type != values[1].type || values[0].structName != values[1].structName ||
        values[0].type == Type::Array)
        return m_writer.unsupported();
    m_writer.emitLine(m_writer.unit().typeText(values[0].type, values[0].structName) + ' ' + name +
                      "{};");
    if (m_writer.unit().isForLanes()) {
        m_writer.emitText(first + second);
    } else {
        m_writer.emitBrace("if (" + chosen + ") {");
        m_writer.emitText(first);
        m_writer.emitBrace("} else {");
        m_writer.emitText(second);
        m_writer.emitBrace("}");
    }
    return {name, values[0].type, values[0].structName, Type::Float, false};
}

QByteArray CodegenExpressions::condition(const AstNode &node)
{
    const Operand value = emitExpression(node);
    if (!isNativeLaneType(value.type))
        m_writer.unit().setUnsupported();
    return laneAs(value, 0, Type::Bool);
}

Operand CodegenExpressions::emitConstructor(const AstNode &node)
{
    const QList<Operand> arguments = emitArguments(node);
    if (node.type == Type::Struct)
        return emitStructConstructor(node, arguments);
    if (!isNativeVariableType(node.type) ||
        !std::ranges::all_of(arguments, isNativeLaneType, &Operand::type))
        return m_writer.unsupported();
    const Operand only = arguments.size() == 1 ? arguments.first() : Operand();
    if (isMatrix(node.type) && isMatrix(only.type))
        return emitMatrixOfMatrix(only, node.type);
    if (arguments.size() == 1 && (isScalar(node.type) || isScalar(only.type)))
        return m_writer.keep(nativeRetag(only, node.type), node.type);
    QList<QByteArray> lanes;
    for (const Operand &argument : arguments) {
        for (int i = 0; i < laneCount(argument.type) && lanes.size() < laneCount(node.type); ++i)
            lanes.append(laneAs(argument, i, scalarOf(node.type)));
    }
    while (lanes.size() < laneCount(node.type))
        lanes.append(nativeZero(scalarOf(node.type)));
    return m_writer.keep(nativeCompose(node.type, lanes), node.type);
}

Operand CodegenExpressions::emitStructConstructor(const AstNode &node,
                                                  const QList<Operand> &arguments)
{
    const StructDef *const definition = m_writer.unit().structs().lookup(node.structName);
    if (!definition || arguments.size() != definition->fields.size())
        return m_writer.unsupported();
    QList<QByteArray> fields;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const StructField &field = definition->fields[i];
        fields.append(m_writer.retag(arguments[i], field.type, field.structName).text);
    }
    return m_writer.keep(m_writer.unit().typeText(Type::Struct, node.structName) + '{' +
                             fields.join(", ") + '}',
                         Type::Struct, node.structName);
}

/// The overlap, and the rest from the unit matrix.
Operand CodegenExpressions::emitMatrixOfMatrix(const Operand &source, Type type)
{
    QList<QByteArray> lanes;
    const int rows = matrixRows(type);
    for (int i = 0; i < laneCount(type); ++i) {
        const int column = i / rows;
        const int row = i % rows;
        if (column < matrixColumns(source.type) && row < matrixRows(source.type))
            lanes.append(nativeLane(source, column * matrixRows(source.type) + row));
        else
            lanes.append(column == row ? "(Float{} + 1.0f)" : nativeZero(Type::Float));
    }
    return m_writer.keep(nativeCompose(type, lanes), type);
}

Operand CodegenExpressions::emitMember(const AstNode &node)
{
    const Operand whole = emitExpression(*node.left);
    const int count = static_cast<int>(std::min<qsizetype>(node.name.size(), 4));
    const Type type = vectorOf(scalarOf(whole.type), count);
    if (!isNativeLaneType(whole.type) || !isNativeLaneType(type))
        return m_writer.unsupported();
    QList<QByteArray> lanes;
    for (int i = 0; i < count; ++i)
        lanes.append(nativeLane(whole, swizzleLane(node.name[i])));
    if (count == 1)
        return {lanes.first(), type, {}, Type::Float, whole.isVariable};
    return m_writer.keep(nativeCompose(type, lanes), type);
}

Operand CodegenExpressions::emitField(const AstNode &node)
{
    const Operand whole = emitExpression(*node.left);
    const StructDef *const definition = m_writer.unit().structs().lookup(whole.structName);
    if (whole.type != Type::Struct || !definition || node.fieldIndex < 0 ||
        node.fieldIndex >= definition->fields.size())
        return m_writer.unsupported();
    const StructField &field = definition->fields[node.fieldIndex];
    return {whole.text + '.' + CodegenUnit::fieldName(node.fieldIndex), field.type,
            field.structName, Type::Float, whole.isVariable};
}

std::optional<int> CodegenExpressions::constantIndex(const AstNode &node, int count)
{
    const qint64 value = node.kind == AstKind::Literal ? node.literal.toLongLong() : -1;
    return value >= 0 && value < count ? std::optional(static_cast<int>(value)) : std::nullopt;
}

QByteArray CodegenExpressions::dynamicIndex(const Operand &index, int count)
{
    if (!isNativeLaneType(index.type))
        m_writer.unit().setUnsupported();
    return m_writer
        .keep("within(" + laneAs(index, 0, Type::Int64) + ", " + QByteArray::number(count) + ')',
              Type::Int64)
        .text;
}

Operand CodegenExpressions::emitElement(const Operand &array, const Operand &number)
{
    const Type type = array.elementType;
    const QByteArray index = m_writer.keep(laneAs(number, 0, Type::Int64), Type::Int64).text;
    const QByteArray place = "element(" + array.text + ", " + index + ", " + array.text +
                             "_length, " + QByteArray::number(laneCount(type)) + ", ";
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(type); ++i)
        lanes.append(nativeCast(place + QByteArray::number(i) + ')', Type::Float, scalarOf(type)));
    return m_writer.keep(nativeCompose(type, lanes), type);
}

Operand CodegenExpressions::emitIndex(const AstNode &node)
{
    const QList<Operand> parts = emitInOrder({node.left.data(), node.right.data()});
    const Operand &whole = parts[0];
    if (whole.type == Type::Array)
        return emitElement(whole, parts[1]);
    if ((!isVector(whole.type) && !isMatrix(whole.type)) || !isFloatLanes(whole))
        return m_writer.unsupported();
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
    return m_writer.keep(nativeCompose(type, lanes), type);
}

} // namespace eval::internal
