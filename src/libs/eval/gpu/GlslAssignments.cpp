// What changes variables: assignments, ++ and --; and calls.

#include <eval/gpu/GlslBody.h>

#include <eval/gpu/GlslBuiltins.h>
#include <eval/internal/frontend/Builtin.h>
#include <eval/internal/interpreter/Arithmetic.h>

#include <algorithm>

namespace eval::gpu {

using namespace internal;

namespace {

bool isNumber(const QByteArray &lane)
{
    return lane.at(0) >= '0' && lane.at(0) <= '9';
}

/// Whether lanes are constant and no two the same, so that one swizzle writes them all.
bool isSwizzle(const QList<QByteArray> &lanes)
{
    for (qsizetype i = 0; i < lanes.size(); ++i) {
        if (!isNumber(lanes[i]) || lanes.indexOf(lanes[i], i + 1) >= 0)
            return false;
    }
    return true;
}

bool matchesExactly(const FunctionParam &param, const GlslValue &argument)
{
    return !param.isArray && param.type == argument.type &&
           (param.type != Type::Struct || param.structName == argument.structName);
}

} // namespace

GlslValue GlslBody::emitAssignment(const AstNode &node)
{
    const Target target = resolveTarget(*node.left);
    if (!target.isValid)
        return unsupported("/* unsupported binary */ 0.0");
    if (node.binaryKind == BinaryKind::Assign)
        return writeTarget(target, emitExpression(*node.right));
    GlslValue before = readTarget(target);
    if (mutates(*node.right))
        before = keep(before);
    const GlslValue right = shallow(emitExpression(*node.right));
    return writeTarget(target, combine(operatorOfAssignment(node.binaryKind), before, right));
}

GlslValue GlslBody::emitStep(const AstNode &node)
{
    const Target target = resolveTarget(*node.left);
    if (!target.isValid || !isGlslType(target.type) || scalarOf(target.type) == Type::Bool)
        return unsupported("/* unsupported unary */ 0.0");
    const bool isIncrement = node.unaryKind == UnaryKind::PrefixIncrement ||
                             node.unaryKind == UnaryKind::PostfixIncrement;
    const bool isPrefix = node.unaryKind == UnaryKind::PrefixIncrement ||
                          node.unaryKind == UnaryKind::PrefixDecrement;
    GlslValue before = readTarget(target);
    if (!isPrefix)
        before = keep(before);
    const QByteArray one = glslLiteral(1, scalarOf(target.type));
    const GlslValue after = made('(' + before.text + (isIncrement ? " + " : " - ") + one + ')',
                                 target.type, before.depth + 1);
    const GlslValue written = writeTarget(target, after);
    return isPrefix ? written : before;
}

GlslBody::Target GlslBody::resolveTarget(const AstNode &node)
{
    Target target;
    switch (node.kind) {
    case AstKind::Identifier:
        target.leaf = emitIdentifier(node);
        target.isValid = target.leaf.isVariable;
        target.type = target.leaf.type;
        return target;
    case AstKind::Member:
    case AstKind::Index:
        return resolveLanes(node);
    case AstKind::StructField: {
        target = resolveTarget(*node.left);
        const StructDef *const definition = m_unit.structs().lookup(target.leaf.structName);
        target.isValid = target.isValid && !target.isPartial && target.type == Type::Struct &&
                         definition && node.fieldIndex >= 0 &&
                         node.fieldIndex < definition->fields.size();
        if (!target.isValid)
            return target;
        const StructField &field = definition->fields[node.fieldIndex];
        target.leaf.text += '.' + GlslUnit::fieldName(node.fieldIndex);
        target.leaf.type = field.type;
        target.leaf.structName = field.structName;
        target.type = field.type;
        return target;
    }
    default:
        return target;
    }
}

/// A swizzle or an index, of a whole value or of lanes already picked.
GlslBody::Target GlslBody::resolveLanes(const AstNode &node)
{
    Target target = resolveTarget(*node.left);
    const bool hasFloatLanes = scalarOf(target.type) == Type::Float && !isScalar(target.type);
    if (!target.isValid || !hasFloatLanes) {
        target.isValid = false;
        return target;
    }
    const int known =
        target.isPartial ? static_cast<int>(target.lanes.size()) : laneCount(target.type);
    QList<QByteArray> lanes;
    if (node.kind == AstKind::Member) {
        for (const QChar letter : node.name.first(std::min<qsizetype>(node.name.size(), 4))) {
            const int lane = swizzleLane(letter);
            if (lane < known)
                lanes.append(target.isPartial ? target.lanes[lane] : QByteArray::number(lane));
        }
    } else {
        lanes = indexedLanes(target, *node.right, known);
    }
    target.isValid = !lanes.isEmpty();
    target.type = vectorOf(Type::Float, static_cast<int>(lanes.size()));
    target.isPartial = true;
    target.lanes = lanes;
    return target;
}

QList<QByteArray> GlslBody::indexedLanes(const Target &target, const AstNode &indexNode, int known)
{
    const GlslValue index = emitExpression(indexNode);
    const int rows = isMatrix(target.type) ? matrixRows(target.type) : 1;
    const int count = known / rows;
    const qint64 number = indexNode.kind == AstKind::Literal ? indexNode.literal.toLongLong() : -1;
    const bool isConstant = number >= 0 && number < count;
    const QByteArray name = isConstant ? QByteArray() : dynamicIndex(index, count);
    QList<QByteArray> lanes;
    for (int row = 0; row < rows; ++row) {
        const auto laneAt = [&](int lane) {
            return target.isPartial ? target.lanes[lane] : QByteArray::number(lane);
        };
        if (isConstant) {
            lanes.append(laneAt(static_cast<int>(number) * rows + row));
            continue;
        }
        QByteArray lane = "-1";
        for (int i = count - 1; i >= 0; --i)
            lane = '(' + name + " == " + QByteArray::number(i) + " ? " + laneAt(i * rows + row) +
                   " : " + lane + ')';
        lanes.append(keep(made(lane, Type::Int, 0)).text);
    }
    return lanes;
}

/// A lane by its number, or by the name of one that is not negative.
QByteArray GlslBody::laneOf(const GlslValue &leaf, const QByteArray &lane) const
{
    if (isNumber(lane))
        return glslLane(leaf, lane.toInt());
    if (!isMatrix(leaf.type))
        return leaf.text + '[' + lane + ']';
    const QByteArray rows = QByteArray::number(matrixRows(leaf.type));
    return leaf.text + '[' + lane + " / " + rows + "][" + lane + " % " + rows + ']';
}

GlslValue GlslBody::readTarget(const Target &target)
{
    if (!target.isPartial)
        return target.leaf;
    QList<QByteArray> lanes;
    for (const QByteArray &lane : target.lanes) {
        if (isNumber(lane))
            lanes.append(laneOf(target.leaf, lane));
        else
            lanes.append('(' + lane +
                         " < 0 ? 0.0 : " + laneOf(target.leaf, "max(" + lane + ", 0)") + ')');
    }
    return made(lanes.size() == 1 ? lanes.first() : glslCall(glslTypeName(target.type), lanes),
                target.type, 1);
}

GlslValue GlslBody::writeTarget(const Target &target, const GlslValue &value)
{
    const GlslValue stored = retag(value, target.type, target.leaf.structName);
    if (!target.isPartial) {
        emitLine(target.leaf.text + " = " + stored.text + ';');
        return target.leaf;
    }
    if (isVector(target.leaf.type) && isSwizzle(target.lanes)) {
        QByteArray letters;
        for (const QByteArray &lane : target.lanes)
            letters += "xyzw"[lane.toInt()];
        GlslValue part = target.leaf;
        part.text += '.' + letters;
        part.type = target.type;
        emitLine(part.text + " = " + stored.text + ';');
        return part;
    }
    const GlslValue named = keep(stored);
    for (qsizetype i = 0; i < target.lanes.size(); ++i) {
        const QByteArray &lane = target.lanes[i];
        const QByteArray assign =
            laneOf(target.leaf, lane) + " = " + glslLane(named, static_cast<int>(i)) + ';';
        emitLine(isNumber(lane) ? assign : "if (" + lane + " >= 0) " + assign);
    }
    return named;
}

GlslValue GlslBody::emitFunctionCall(const AstNode &node)
{
    QList<const AstNode *> nodes;
    for (const AstPtr &argument : node.arguments)
        nodes.append(argument.data());
    QList<GlslValue> arguments = emitInOrder(nodes);
    const Type firstType = arguments.isEmpty() ? Type::Void : arguments.first().type;
    // Built-ins first, whatever the checker preferred: that is what the interpreter does.
    if (const Builtin *const builtin = builtinOf(node, firstType)) {
        const bool isPerLane = !std::ranges::all_of(arguments, isScalar, &GlslValue::type);
        if (isPerLane && writesArgumentsAgain(*builtin)) {
            for (GlslValue &argument : arguments)
                argument = atom(argument);
        }
        const auto value = emitBuiltin(*builtin, arguments);
        return value ? *value : unsupported("/* unsupported expression */ 0.0");
    }
    const AstNode *const function = pickOverload(node, arguments);
    return function ? emitUserCall(*function, arguments)
                    : unsupported("/* unsupported expression */ 0.0");
}

const AstNode *GlslBody::pickOverload(const AstNode &node, const QList<GlslValue> &arguments) const
{
    const AstNode *firstOfArity = nullptr;
    const QList<const AstNode *> overloads = m_unit.table().value(node.name);
    for (const AstNode *function : overloads) {
        if (function->params.size() != arguments.size())
            continue;
        if (std::equal(arguments.begin(), arguments.end(), function->params.begin(),
                       [](const GlslValue &argument, const FunctionParam &param) {
                           return matchesExactly(param, argument);
                       }))
            return function;
        if (!firstOfArity)
            firstOfArity = function;
    }
    return firstOfArity;
}

GlslValue GlslBody::emitUserCall(const AstNode &function, const QList<GlslValue> &arguments)
{
    QList<QByteArray> texts;
    int depth = 1;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const FunctionParam &param = function.params[i];
        texts.append(retag(arguments[i], param.type, param.structName).text);
        depth = std::max(depth, arguments[i].depth + 1);
    }
    const qsizetype callee = m_unit.indexOf(&function);
    (m_function ? m_function->calls : m_unit.entryCalls).append(callee);
    const QByteArray text = glslCall(m_unit.functions[callee].name, texts);
    if (function.type == Type::Void) {
        emitLine(text + ';');
        return {{}, Type::Void, {}, true, false, 0};
    }
    GlslValue value = made(text, function.type, depth);
    value.structName = function.structName;
    return value;
}

} // namespace eval::gpu
