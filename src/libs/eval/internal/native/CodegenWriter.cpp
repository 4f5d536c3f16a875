// A function's text grows line by line. Variables stand at the top, because a block of the language
// opens no scope; everything else is a constant where it is computed. A line is looked at once,
// when it is emitted: what the form of the unit cannot say marks the unit there.

#include <eval/internal/native/CodegenWriter.h>

namespace eval::internal {

Operand CodegenWriter::unsupported()
{
    m_unit.setUnsupported();
    return {"0.0f", Type::Float, {}, Type::Float, false};
}

void CodegenWriter::emitLine(const QByteArray &line)
{
    if (!m_unit.countStatement())
        return;
    if (!m_unit.canSay(line))
        m_unit.setUnsupported();
    m_lines += m_indent + line + '\n';
    if (m_function)
        ++m_function->statements;
}

Operand CodegenWriter::keep(const QByteArray &text, Type type, const QString &structName)
{
    const QByteArray name = newName('t');
    emitLine("const " + m_unit.typeText(type, structName) + ' ' + name + " = " + text + ';');
    return {name, type, structName, Type::Float, false};
}

Operand CodegenWriter::named(const Operand &value)
{
    return value.isVariable ? keep(value.text, value.type, value.structName) : value;
}

Operand CodegenWriter::retag(const Operand &value, Type type, const QString &structName)
{
    if (value.type == type && value.structName == structName)
        return value;
    if (value.type == type && type != Type::Struct)
        return value;
    if (!isNativeLaneType(type) || !isNativeLaneType(value.type))
        return unsupported();
    return keep(nativeRetag(value, type), type);
}

const Operand *CodegenWriter::variable(const QString &name) const
{
    const auto found = m_variables.constFind(name);
    return found == m_variables.constEnd() ? nullptr : &*found;
}

Operand CodegenWriter::declareVariable(const QString &name, Type type, const QString &structName)
{
    const StructDef *const definition =
        type == Type::Struct ? m_unit.structs().lookup(structName) : nullptr;
    m_variableValues += definition ? definition->valueCount * 4 : 1;
    if (m_variableValues > CodegenUnit::variableLimit)
        m_unit.setTooLarge();
    const Operand variable{newName('v'), type, structName, Type::Float, true};
    m_declarations += "    " + m_unit.typeText(type, structName) + ' ' + variable.text + "{};\n";
    bindVariable(name, variable);
    return variable;
}

QByteArray CodegenWriter::maskedBy(const QByteArray &condition)
{
    return keep(m_mask.isEmpty() ? condition : '(' + m_mask + " & " + condition + ')', Type::Bool)
        .text;
}

void CodegenWriter::assign(const QByteArray &target, const QByteArray &value)
{
    emitLine(target + " = " +
             (m_mask.isEmpty() ? value : "select(" + m_mask + ", " + value + ", " + target + ')') +
             ';');
}

/// A block that does nothing unless one of its lanes is on; a short one is not worth the question.
QByteArray CodegenWriter::guarded(const QByteArray &block, const QByteArray &mask) const
{
    if (block.isEmpty())
        return {};
    const bool isShort = block.count('\n') <= 4 && !block.contains("fn") && !block.contains("if (");
    return m_indent + (isShort ? "{\n" : "if (anyLane(" + mask + ")) {\n") + block + m_indent +
           "}\n";
}

QByteArray CodegenWriter::functionText() const
{
    const AstNode &definition = *m_function->definition;
    const bool isVoid = definition.type == Type::Void;
    if (!m_unit.isForLanes())
        return text() + (isVoid ? "" : "    return {};\n");
    if (isVoid)
        return "    Bool left{};\n" + text();
    return "    " + m_unit.typeText(definition.type, definition.structName) +
           " result{};\n    Bool left{};\n" + text() + "    return result;\n";
}

} // namespace eval::internal
