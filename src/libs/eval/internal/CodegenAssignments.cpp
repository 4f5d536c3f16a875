// What changes variables: assignments, ++ and --, and calls with out parameters.

#include <eval/internal/CodegenBody.h>

#include <eval/internal/Arithmetic.h>
#include <eval/internal/BuiltinFunctions.h>
#include <eval/internal/CodegenBuiltins.h>

#include <algorithm>

namespace eval::internal {

namespace {

bool isNumber(const QByteArray &lane)
{
    return lane.at(0) >= '0' && lane.at(0) <= '9';
}

bool matchesExactly(const FunctionParam &param, const Operand &argument)
{
    if (param.isArray || argument.type == Type::Array)
        return param.isArray && argument.type == Type::Array && argument.elementType == param.type;
    return param.type == argument.type &&
           (param.type != Type::Struct || param.structName == argument.structName);
}

} // namespace

Operand CodegenBody::emitAssignment(const AstNode &node)
{
    const Target target = resolveTarget(*node.left);
    if (node.binaryKind == BinaryKind::Assign) {
        const Operand value = emitExpression(*node.right);
        return target.isValid ? writeTarget(target, value) : unsupported();
    }
    if (!target.isValid)
        return unsupported();
    Operand before = readTarget(target);
    if (mutates(*node.right))
        before = named(before);
    const Operand right = emitExpression(*node.right);
    return writeTarget(target, combine(operatorOfAssignment(node.binaryKind), before, right));
}

Operand CodegenBody::emitStep(const AstNode &node)
{
    const Target target = resolveTarget(*node.left);
    if (!target.isValid || !isNativeVariableType(target.type))
        return unsupported();
    const bool isIncrement = node.unaryKind == UnaryKind::PrefixIncrement ||
                             node.unaryKind == UnaryKind::PostfixIncrement;
    const bool isPrefix = node.unaryKind == UnaryKind::PrefixIncrement ||
                          node.unaryKind == UnaryKind::PrefixDecrement;
    const Operand before = named(readTarget(target));
    const char *const delta = isIncrement ? " + 1" : " - 1";
    Operand after = before;
    if (target.type == Type::Int) {
        after = keep("wrapAdd(" + before.text + (isIncrement ? ", Int{} + 1)" : ", Int{} - 1)"),
                     target.type);
    } else if (isIntegerLike(target.type)) {
        // Unsigned arithmetic wraps where signed has no meaning.
        const Type wrapping = target.type == Type::Uint ? Type::Uint : Type::Uint64;
        after = keep(nativeCast('(' + nativeCast(before.text, target.type, wrapping) + delta + ')',
                                wrapping, target.type),
                     target.type);
    } else {
        QList<QByteArray> lanes;
        const Type scalar = scalarOf(target.type);
        for (int i = 0; i < laneCount(target.type); ++i) {
            // For a float the same as in double and rounded once.
            const Type computed = scalar == Type::Float ? scalar : Type::Double;
            lanes.append(nativeCast('(' + nativeCast(nativeLane(before, i), scalar, computed) +
                                        delta + (computed == Type::Float ? ".0f)" : ".0)"),
                                    computed, scalar));
        }
        after = keep(nativeCompose(target.type, lanes), target.type);
    }
    const Operand written = writeTarget(target, after);
    return isPrefix ? written : before;
}

CodegenBody::Target CodegenBody::resolveTarget(const AstNode &node)
{
    Target target;
    switch (node.kind) {
    case AstKind::Identifier:
        target.leaf = emitIdentifier(node);
        target.isValid = target.leaf.isVariable && target.leaf.type != Type::Array;
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
        target.leaf = {target.leaf.text + '.' + CodegenUnit::fieldName(node.fieldIndex), field.type,
                       field.structName, Type::Float, true};
        target.type = field.type;
        return target;
    }
    default:
        return target;
    }
}

/// A swizzle or an index, of a whole value or of lanes already picked.
CodegenBody::Target CodegenBody::resolveLanes(const AstNode &node)
{
    Target target = resolveTarget(*node.left);
    const int known =
        target.isPartial ? static_cast<int>(target.lanes.size()) : laneCount(target.type);
    const auto laneAt = [&target](int lane) {
        return target.isPartial ? target.lanes[lane] : QByteArray::number(lane);
    };
    QList<QByteArray> lanes;
    if (node.kind == AstKind::Member) {
        for (const QChar letter : node.name.first(std::min<qsizetype>(node.name.size(), 4))) {
            if (swizzleLane(letter) < known)
                lanes.append(laneAt(swizzleLane(letter)));
        }
    } else {
        const Operand index = emitExpression(*node.right);
        const int rows = isMatrix(target.type) ? matrixRows(target.type) : 1;
        const int count = known / rows;
        const bool isConstant = node.right->kind == AstKind::Literal &&
                                node.right->literal.toLongLong() >= 0 &&
                                node.right->literal.toLongLong() < count;
        const QByteArray name = isConstant ? QByteArray() : dynamicIndex(index, count);
        for (int row = 0; row < rows; ++row) {
            if (isConstant) {
                lanes.append(laneAt(node.right->literal.toInt() * rows + row));
                continue;
            }
            QByteArray lane = "-1ll";
            for (int i = count - 1; i >= 0; --i)
                lane = name + " == " + QByteArray::number(i) + " ? " + laneAt(i * rows + row) +
                       " : " + lane;
            lanes.append(keep(lane, Type::Int64).text);
        }
    }
    const bool hasFloatLanes = scalarOf(target.type) == Type::Float && !isScalar(target.type);
    target.type = vectorOf(Type::Float, static_cast<int>(lanes.size()));
    target.isValid = target.isValid && hasFloatLanes && !lanes.isEmpty();
    target.isPartial = true;
    target.lanes = lanes;
    return target;
}

Operand CodegenBody::readTarget(const Target &target)
{
    if (!target.isPartial)
        return target.leaf;
    QList<QByteArray> lanes;
    for (const QByteArray &lane : target.lanes)
        lanes.append(isNumber(lane) ? nativeLane(target.leaf, lane.toInt())
                                    : "lane(" + target.leaf.text + ", " + lane + ')');
    return keep(nativeCompose(target.type, lanes), target.type);
}

Operand CodegenBody::writeTarget(const Target &target, const Operand &value)
{
    const Operand stored = named(retag(value, target.type, target.leaf.structName));
    if (!target.isPartial) {
        assign(target.leaf.text, stored.text);
        return stored;
    }
    for (qsizetype i = 0; i < target.lanes.size(); ++i) {
        const QByteArray &lane = target.lanes[i];
        const QByteArray part = nativeLane(stored, static_cast<int>(i));
        if (isNumber(lane))
            assign(nativeLane(target.leaf, lane.toInt()), part);
        else
            emitLine("setLane(" + target.leaf.text + ", " + lane + ", " + part + ");");
    }
    return stored;
}

Operand CodegenBody::emitFunctionCall(const AstNode &node)
{
    QList<const AstNode *> nodes;
    for (const AstPtr &argument : node.arguments)
        nodes.append(argument.data());
    const QList<Operand> arguments = emitInOrder(nodes);
    const Type firstType = arguments.isEmpty() ? Type::Void : arguments.first().type;
    // Built-ins first, whatever the checker preferred: that is what the interpreter does.
    if (const Builtin *const builtin = builtinOf(node, firstType)) {
        const auto value = emitBuiltin(*builtin, arguments);
        return value ? keep(value->text, value->type) : unsupported();
    }
    const AstNode *const function = pickOverload(node, arguments);
    return function ? emitUserCall(node, *function, arguments) : unsupported();
}

const AstNode *CodegenBody::pickOverload(const AstNode &node, const QList<Operand> &arguments) const
{
    const AstNode *firstOfArity = nullptr;
    const QList<const AstNode *> overloads = m_unit.table().value(node.name);
    for (const AstNode *function : overloads) {
        if (function->params.size() != arguments.size())
            continue;
        if (std::equal(arguments.begin(), arguments.end(), function->params.begin(),
                       [](const Operand &argument, const FunctionParam &param) {
                           return matchesExactly(param, argument);
                       }))
            return function;
        if (!firstOfArity)
            firstOfArity = function;
    }
    return firstOfArity;
}

/// Parameters that give something back are bound to copies, which are written back in order: two of
/// them may be one variable of the caller.
Operand CodegenBody::emitUserCall(const AstNode &node, const AstNode &function,
                                  const QList<Operand> &arguments)
{
    struct CopyBack
    {
        Operand copy;
        Operand variable;
    };
    QList<QByteArray> texts;
    QList<CopyBack> copies;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const FunctionParam &param = function.params[i];
        const Operand &argument = arguments[i];
        if (param.isArray || argument.type == Type::Array) {
            if (!matchesExactly(param, argument))
                return unsupported();
            texts.append(argument.text + ", " + argument.text + "_length");
            continue;
        }
        const Operand value = retag(argument, param.type, param.structName);
        const bool isBack =
            param.qualifier == ParamQualifier::Out || param.qualifier == ParamQualifier::InOut;
        if (!isBack) {
            texts.append(value.text);
            continue;
        }
        const Operand copy{newName('t'), param.type, param.structName, Type::Float, true};
        emitLine(m_unit.typeText(param.type, param.structName) + ' ' + copy.text + " = " +
                 value.text + ';');
        texts.append(copy.text);
        if (node.arguments[i]->kind == AstKind::Identifier &&
            m_variables.contains(node.arguments[i]->name))
            copies.append({copy, m_variables.value(node.arguments[i]->name)});
    }
    if (m_unit.isForLanes())
        texts.append(m_mask.isEmpty() ? "active" : "active & " + m_mask);
    const qsizetype callee = m_unit.indexOf(&function);
    if (m_function)
        m_function->calls.append(callee);
    else
        m_unit.entryCalls.append(callee);
    const QByteArray call = m_unit.functions[callee].name + '(' + texts.join(", ") + ')';
    Operand result{{}, Type::Void, {}, Type::Float, false};
    if (function.type == Type::Void)
        emitLine(call + ';');
    else
        result = keep(call, function.type, function.structName);
    for (const CopyBack &back : std::as_const(copies)) {
        const Operand &to = back.variable;
        assign(to.text, retag(back.copy, to.type, to.structName).text);
    }
    return result;
}

} // namespace eval::internal
