#include <eval/internal/codegen/ExpressionEmitter.h>

#include <eval/internal/codegen/AssignmentEmitter.h>
#include <eval/internal/frontend/OverloadPick.h>

#include <algorithm>

namespace eval::internal {

ExpressionEmitter::~ExpressionEmitter() = default;

CodeValue ExpressionEmitter::emitExpression(const AstNode &node)
{
    if (m_writer.unit().isTooLarge() || !m_writer.unit().isSupported())
        return {"0.0", Type::Float};
    switch (node.kind) {
    case AstKind::Literal:
        return emitLiteral(node);
    case AstKind::Identifier:
        return emitIdentifier(node);
    case AstKind::Unary:
        return node.unaryKind >= UnaryKind::PrefixIncrement
                   ? m_assignments.emitStep(node)
                   : m_operators.unary(node.unaryKind,
                                       m_writer.shallow(emitExpression(*node.left)));
    case AstKind::Binary:
        return isAssignment(node.binaryKind) ? m_assignments.emitAssignment(node)
                                             : emitBinary(node);
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
        return m_writer.unsupported();
    }
}

bool ExpressionEmitter::mutates(const AstNode &node)
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

QList<CodeValue> ExpressionEmitter::emitInOrder(const QList<const AstNode *> &nodes)
{
    QList<CodeValue> values;
    for (qsizetype i = 0; i < nodes.size(); ++i) {
        const CodeValue value = emitExpression(*nodes[i]);
        const bool isOvertaken =
            std::any_of(nodes.begin() + i + 1, nodes.end(),
                        [this](const AstNode *later) { return mutates(*later); });
        const bool isNamed = isOvertaken && value.type != Type::Array;
        values.append(m_writer.shallow(isNamed ? m_writer.named(value) : value));
    }
    return values;
}

QList<CodeValue> ExpressionEmitter::emitArguments(const AstNode &node)
{
    QList<const AstNode *> nodes;
    for (const AstPtr &argument : node.arguments)
        nodes.append(argument.data());
    return emitInOrder(nodes);
}

QByteArray ExpressionEmitter::condition(const AstNode &node)
{
    return m_writer.laneAs(m_writer.shallow(emitExpression(node)), 0, Type::Bool);
}

CodeValue ExpressionEmitter::emitLiteral(const AstNode &node)
{
    if (!isScalar(node.type) || !m_writer.unit().isVariableType(node.type))
        return m_writer.unsupported();
    const QByteArray text = m_writer.literalText(node.literal, node.type);
    return {.text = text, .type = node.type, .isAtom = true};
}

CodeValue ExpressionEmitter::emitIdentifier(const AstNode &node)
{
    // A function sees no slots: reading one there is a fault at every evaluation.
    const CodeValue *const found = m_writer.variable(node.name);
    return found ? *found : m_writer.unsupported();
}

CodeValue ExpressionEmitter::emitBinary(const AstNode &node)
{
    const QList<CodeValue> sides = emitInOrder({node.left.data(), node.right.data()});
    return m_operators.combine(node.binaryKind, sides[0], sides[1]);
}

CodeValue ExpressionEmitter::emitConstructor(const AstNode &node)
{
    const QList<CodeValue> arguments = emitArguments(node);
    if (node.type == Type::Struct)
        return emitStructConstructor(node, arguments);
    if (!m_writer.unit().isVariableType(node.type) ||
        !std::ranges::all_of(
            arguments, [this](Type type) { return m_writer.isLaneType(type); }, &CodeValue::type))
        return m_writer.unsupported();
    const CodeValue only = arguments.size() == 1 ? arguments.first() : CodeValue();
    if (isMatrix(node.type) && isMatrix(only.type))
        return emitMatrixOfMatrix(only, node.type);
    if (arguments.size() == 1 && (isScalar(node.type) || isScalar(only.type)))
        return emitConversion(only, node.type);
    return emitLanes(node.type, arguments);
}

CodeValue ExpressionEmitter::emitStructConstructor(const AstNode &node,
                                                   const QList<CodeValue> &arguments)
{
    const StructDef *const definition = m_writer.unit().structs().lookup(node.structName);
    if (!definition || arguments.size() != definition->fields.size())
        return m_writer.unsupported();
    QList<QByteArray> fields;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const StructField &field = definition->fields[i];
        fields.append(m_writer.retag(arguments[i], field.type, field.structName).text);
    }
    const QByteArray type = m_writer.unit().typeText(Type::Struct, node.structName);
    return m_writer.made(m_writer.structText(type, fields), Type::Struct, arguments,
                         node.structName);
}

CodeValue ExpressionEmitter::emitField(const AstNode &node)
{
    CodeValue part = emitExpression(*node.left);
    const StructDef *const definition = m_writer.unit().structs().lookup(part.structName);
    if (part.type != Type::Struct || !definition || node.fieldIndex < 0 ||
        node.fieldIndex >= definition->fields.size())
        return m_writer.unsupported();
    const StructField &field = definition->fields[node.fieldIndex];
    part.text += '.' + CodeUnit::fieldName(node.fieldIndex);
    part.type = field.type;
    part.structName = field.structName;
    return part;
}

std::optional<int> ExpressionEmitter::constantIndex(const AstNode &node, int count)
{
    const qint64 value = node.kind == AstKind::Literal ? node.literal.toLongLong() : -1;
    return value >= 0 && value < count ? std::optional(static_cast<int>(value)) : std::nullopt;
}

QByteArray ExpressionEmitter::dynamicIndex(const CodeValue &index, int count)
{
    const CodeWords &words = m_writer.unit().words();
    const QByteArray number = m_writer.laneAs(index, 0, words.indexType);
    return m_writer
        .keep(CodeWriter::callText(words.within, {number, QByteArray::number(count)}),
              words.indexType)
        .text;
}

CodeValue ExpressionEmitter::emitIndex(const AstNode &node)
{
    const QList<CodeValue> parts = emitInOrder({node.left.data(), node.right.data()});
    const CodeValue &whole = parts[0];
    if (whole.type == Type::Array)
        return emitElement(whole, parts[1]);
    if ((!isVector(whole.type) && !isMatrix(whole.type)) || scalarOf(whole.type) != Type::Float)
        return m_writer.unsupported();
    const int count = isMatrix(whole.type) ? matrixColumns(whole.type) : laneCount(whole.type);
    const auto number = constantIndex(*node.right, count);
    return emitPart(whole, number, number ? QByteArray() : dynamicIndex(parts[1], count));
}

CodeValue ExpressionEmitter::emitElement(const CodeValue &, const CodeValue &)
{
    return m_writer.unsupported();
}

CodeValue ExpressionEmitter::emitFunctionCall(const AstNode &node)
{
    const QList<CodeValue> arguments = emitArguments(node);
    const Type firstType = arguments.isEmpty() ? Type::Void : arguments.first().type;
    // Built-ins first, whatever the checker preferred: that is what the interpreter does.
    if (const Builtin *const builtin = builtinOf(node, firstType))
        return emitBuiltinCall(*builtin, arguments);
    const AstNode *const function =
        pickOverload(m_writer.unit().table().value(node.name), arguments);
    return function ? emitUserCall(node, *function, arguments) : m_writer.unsupported();
}

CodeValue ExpressionEmitter::emitBuiltinCall(const Builtin &builtin, QList<CodeValue> arguments)
{
    const bool isPerLane = !std::ranges::all_of(arguments, isScalar, &CodeValue::type);
    if (isPerLane && m_builtins.writesArgumentsAgain(builtin)) {
        for (CodeValue &argument : arguments)
            argument = repeatable(argument);
    }
    const auto call = m_builtins.emitCall(builtin, arguments);
    return call ? m_writer.made(call->text, call->type, arguments) : m_writer.unsupported();
}

/// Parameters that give something back are bound to copies, which are written back in order: two of
/// them may be one variable of the caller.
CodeValue ExpressionEmitter::emitUserCall(const AstNode &node, const AstNode &function,
                                          const QList<CodeValue> &arguments)
{
    struct CopyBack
    {
        CodeValue copy;
        CodeValue variable;
    };
    QList<QByteArray> texts;
    QList<CopyBack> copies;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const FunctionParam &param = function.params[i];
        const CodeValue &argument = arguments[i];
        if (param.isArray || argument.type == Type::Array) {
            if (!matchesExactly(param, argument))
                return m_writer.unsupported();
            texts.append(argument.text + ", " + argument.text + "_length");
            continue;
        }
        const CodeValue value = m_writer.retag(argument, param.type, param.structName);
        const bool isBack =
            param.qualifier == ParamQualifier::Out || param.qualifier == ParamQualifier::InOut;
        if (!isBack) {
            texts.append(value.text);
            continue;
        }
        const CodeValue copy{m_writer.newName('t'), param.type, param.structName};
        m_writer.emitLine(m_writer.unit().typeText(param.type, param.structName) + ' ' + copy.text +
                          " = " + value.text + ';');
        texts.append(copy.text);
        if (node.arguments[i]->kind == AstKind::Identifier &&
            m_writer.variable(node.arguments[i]->name))
            copies.append({copy, *m_writer.variable(node.arguments[i]->name)});
    }
    const CodeValue result = emitCallOf(function, texts, arguments);
    for (const CopyBack &back : std::as_const(copies)) {
        const CodeValue &to = back.variable;
        m_writer.assign(to.text, m_writer.retag(back.copy, to.type, to.structName).text);
    }
    return result;
}

CodeValue ExpressionEmitter::emitCallOf(const AstNode &function, const QList<QByteArray> &texts,
                                        const QList<CodeValue> &arguments)
{
    CodeUnit &unit = m_writer.unit();
    const qsizetype callee = unit.indexOf(&function);
    (m_writer.function() ? m_writer.function()->calls : unit.entryCalls).append(callee);
    const QByteArray text =
        CodeWriter::callText(unit.functions[callee].name, texts + m_writer.hiddenArguments());
    if (function.type != Type::Void)
        return m_writer.made(text, function.type, arguments, function.structName);
    m_writer.emitLine(text + ';');
    return {{}, Type::Void};
}

} // namespace eval::internal
