#include <eval/gpu/GlslExpressions.h>

#include <eval/gpu/GlslText.h>

#include <algorithm>

namespace eval::gpu {

using namespace internal;

/// One expression, unless a branch has statements of its own, which only its taking may run.
CodeValue GlslExpressions::emitTernary(const AstNode &node)
{
    const QByteArray chosen = condition(*node.condition);
    CodeValue values[2];
    QByteArray lines[2];
    for (int i = 0; i < 2; ++i) {
        lines[i] = m_writer.nested([&] {
            const CodeValue value = emitExpression(i == 0 ? *node.left : *node.right);
            values[i] = m_writer.shallow(
                m_writer.retag(value, ternaryType(value.type, node.type), value.structName));
        });
    }
    if (values[0].type != values[1].type || values[0].structName != values[1].structName)
        return m_writer.unsupported();
    if (lines[0].isEmpty() && lines[1].isEmpty()) {
        CodeValue value =
            m_writer.made(m_writer.choiceText(chosen, values[0].text, values[1].text),
                          values[0].type, {values[0], values[1]}, values[0].structName);
        ++value.depth;
        return value;
    }
    const QByteArray name = m_writer.newName('t');
    m_writer.emitLine(m_writer.unit().typeText(values[0].type, values[0].structName) + ' ' + name +
                      ';');
    for (int i = 0; i < 2; ++i) {
        m_writer.emitBrace(i == 0 ? "if (" + chosen + ") {" : QByteArray("} else {"));
        m_writer.emitText(lines[i] +
                          m_writer.nested([&] { m_writer.assign(name, values[i].text); }));
    }
    m_writer.emitBrace("}");
    return {
        .text = name, .type = values[0].type, .structName = values[0].structName, .isAtom = true};
}

CodeValue GlslExpressions::emitMatrixOfMatrix(const CodeValue &source, Type type)
{
    return m_writer.made(CodeWriter::callText(glslTypeName(type), {source.text}), type, {source});
}

CodeValue GlslExpressions::emitConversion(const CodeValue &source, Type type)
{
    return m_writer.retag(source, type);
}

CodeValue GlslExpressions::emitLanes(Type type, QList<CodeValue> arguments)
{
    if (arguments.isEmpty())
        return m_writer.unsupported();
    int given = 0;
    bool hasMatrix = false;
    for (const CodeValue &argument : std::as_const(arguments)) {
        given += laneCount(argument.type);
        hasMatrix = hasMatrix || isMatrix(argument.type);
    }
    const Type scalar = scalarOf(type);
    QList<QByteArray> parts;
    if (given == laneCount(type) && !hasMatrix) {
        for (const CodeValue &argument : std::as_const(arguments))
            parts.append(m_writer.retag(argument, vectorOf(scalar, laneCount(argument.type))).text);
        return m_writer.made(m_writer.composeText(type, parts), type, arguments);
    }
    for (CodeValue &argument : arguments) {
        argument = m_lines.atom(argument);
        for (int i = 0; i < laneCount(argument.type) && parts.size() < laneCount(type); ++i)
            parts.append(m_writer.laneAs(argument, i, scalar));
    }
    while (parts.size() < laneCount(type))
        parts.append(glslZero(scalar));
    return m_writer.made(m_writer.composeText(type, parts), type, {});
}

CodeValue GlslExpressions::emitMember(const AstNode &node)
{
    const CodeValue whole = emitExpression(*node.left);
    const int count = static_cast<int>(std::min<qsizetype>(node.name.size(), 4));
    const Type type = vectorOf(scalarOf(whole.type), count);
    if (!isGlslType(whole.type) || !isGlslType(type) || isMatrix(whole.type))
        return m_writer.unsupported();
    QByteArray letters;
    for (int i = 0; i < count; ++i) {
        const int lane = swizzleLane(node.name[i]);
        if (lane >= laneCount(whole.type))
            return m_writer.unsupported();
        letters += "xyzw"[lane];
    }
    if (isScalar(whole.type)) // of which GLSL has no swizzle
        return m_writer.retag(whole, type);
    return {whole.text + '.' + letters, type,         {},         Type::Float,
            whole.isVariable,           whole.isAtom, whole.depth};
}

CodeValue GlslExpressions::emitPart(const CodeValue &whole, std::optional<int> number,
                                    const QByteArray &name)
{
    const int rows = isMatrix(whole.type) ? matrixRows(whole.type) : 1;
    const Type type = vectorOf(Type::Float, rows);
    if (number) {
        CodeValue part = whole;
        part.text += '[' + QByteArray::number(*number) + ']';
        part.type = type;
        return part;
    }
    return m_writer.made(
        m_writer.choiceText(name + " < 0", glslZero(type), whole.text + "[max(" + name + ", 0)]"),
        type, {whole});
}

} // namespace eval::gpu
