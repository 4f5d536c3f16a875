// User functions are C++ functions: the compiler decides what to inline, below a size at which
// all of it pays. Parameters that give something back are references to copies, as two of them
// may be one variable of the caller.

#include <eval/internal/native/CodegenCalls.h>

#include <eval/internal/frontend/OverloadPick.h>
#include <eval/internal/native/CodegenBuiltins.h>

#include <algorithm>

namespace eval::internal {

Operand CodegenCalls::emitFunctionCall(const AstNode &node, const QList<Operand> &arguments)
{
    const Type firstType = arguments.isEmpty() ? Type::Void : arguments.first().type;
    // Built-ins first, whatever the checker preferred: that is what the interpreter does.
    if (const Builtin *const builtin = builtinOf(node, firstType)) {
        const auto value = emitBuiltin(*builtin, arguments);
        return value ? m_writer.keep(value->text, value->type) : m_writer.unsupported();
    }
    const AstNode *const function =
        pickOverload(m_writer.unit().table().value(node.name), arguments);
    return function ? emitUserCall(node, *function, arguments) : m_writer.unsupported();
}

/// Parameters that give something back are bound to copies, which are written back in order: two of
/// them may be one variable of the caller.
Operand CodegenCalls::emitUserCall(const AstNode &node, const AstNode &function,
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
                return m_writer.unsupported();
            texts.append(argument.text + ", " + argument.text + "_length");
            continue;
        }
        const Operand value = m_writer.retag(argument, param.type, param.structName);
        const bool isBack =
            param.qualifier == ParamQualifier::Out || param.qualifier == ParamQualifier::InOut;
        if (!isBack) {
            texts.append(value.text);
            continue;
        }
        const Operand copy{m_writer.newName('t'), param.type, param.structName, Type::Float, true};
        m_writer.emitLine(m_writer.unit().typeText(param.type, param.structName) + ' ' + copy.text +
                          " = " + value.text + ';');
        texts.append(copy.text);
        if (node.arguments[i]->kind == AstKind::Identifier &&
            m_writer.variable(node.arguments[i]->name))
            copies.append({copy, *m_writer.variable(node.arguments[i]->name)});
    }
    const Operand result = emitCallOf(function, texts);
    for (const CopyBack &back : std::as_const(copies)) {
        const Operand &to = back.variable;
        m_writer.assign(to.text, m_writer.retag(back.copy, to.type, to.structName).text);
    }
    return result;
}

Operand CodegenCalls::emitCallOf(const AstNode &function, QList<QByteArray> arguments)
{
    CodegenUnit &unit = m_writer.unit();
    if (unit.isForLanes())
        arguments.append(m_writer.mask().isEmpty() ? "active" : "active & " + m_writer.mask());
    const qsizetype callee = unit.indexOf(&function);
    QList<qsizetype> &calls = m_writer.function() ? m_writer.function()->calls : unit.entryCalls;
    calls.append(callee);
    const QByteArray text = unit.functions[callee].name + '(' + arguments.join(", ") + ')';
    if (function.type != Type::Void)
        return m_writer.keep(text, function.type, function.structName);
    m_writer.emitLine(text + ';');
    return {{}, Type::Void, {}, Type::Float, false};
}

} // namespace eval::internal
