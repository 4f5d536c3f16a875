#include <eval/gpu/GlslBody.h>

#include <QSet>

namespace eval::gpu {

using namespace internal;

GlslBody::GlslBody(GlslUnit &unit, GlslFunction *function)
    : m_unit(unit)
    , m_function(function)
{}

void GlslBody::bindVariable(const QString &name, const GlslValue &variable)
{
    m_variables.insert(name, variable);
}

void GlslBody::emitLine(const QByteArray &line)
{
    if (m_unit.countStatement())
        m_lines += m_indent + line + '\n';
}

void GlslBody::emitStatement(const AstNode &node)
{
    if (m_unit.isTooLarge() || !m_unit.isSupported())
        return;
    switch (node.kind) {
    case AstKind::Block:
        emitBlock(node);
        return;
    case AstKind::ExpressionStatement:
        emitExpression(*node.left);
        return;
    case AstKind::VariableDeclaration:
        emitDeclaration(node);
        return;
    case AstKind::If:
        emitIf(node);
        return;
    case AstKind::For:
    case AstKind::While:
    case AstKind::DoWhile:
        emitLoop(node);
        return;
    case AstKind::Switch:
        emitSwitch(node);
        return;
    case AstKind::Return:
        emitReturn(node);
        return;
    case AstKind::Discard:
        // A fault to be told, which a shader has no way for: its zero would lie on a surface.
        emitLine("/* unsupported statement */");
        m_unit.setUnsupported();
        return;
    case AstKind::Break:
    case AstKind::Continue:
        // Outside of everything they end the function, as in the interpreter.
        if (node.kind == AstKind::Break ? m_breakDepth > 0 : m_loopDepth > 0)
            emitLine(node.kind == AstKind::Break ? "break;" : "continue;");
        else
            emitLeave();
        return;
    default:
        emitExpression(node);
    }
}

void GlslBody::emitBlock(const AstNode &node)
{
    for (const AstPtr &statement : node.statements)
        emitStatement(*statement);
}

/// A declaration that is met again, in a loop or by the same name, sets the one variable anew.
void GlslBody::emitDeclaration(const AstNode &node)
{
    const QByteArray type = m_unit.typeText(node.type, node.structName);
    const QByteArray value =
        node.left ? retag(emitExpression(*node.left), node.type, node.structName).text
                  : m_unit.defaultText(node.type, node.structName);
    const auto known = m_variables.constFind(node.name);
    if (known != m_variables.constEnd()) {
        // Which of two types a name has would depend on the way taken.
        if (known->type != node.type || known->structName != node.structName)
            m_unit.setUnsupported();
        emitLine(known->text + " = " + value + ';');
        return;
    }
    const StructDef *const definition =
        node.type == Type::Struct ? m_unit.structs().lookup(node.structName) : nullptr;
    m_variableValues += definition ? definition->valueCount * 4 : 1;
    if (m_variableValues > GlslUnit::variableLimit)
        m_unit.setTooLarge();
    const QByteArray name = newName('v');
    m_declarations += "    " + type + ' ' + name + ";\n";
    emitLine(name + " = " + value + ';');
    m_variables.insert(node.name, {name, node.type, node.structName, true, true, 0});
}

void GlslBody::emitIf(const AstNode &node)
{
    emitLine("if (" + condition(*node.condition) + ") {");
    m_lines += nested([&] {
        if (node.left)
            emitStatement(*node.left);
    });
    if (node.right) {
        m_lines += m_indent + "} else {\n";
        m_lines += nested([&] { emitStatement(*node.right); });
    }
    m_lines += m_indent + "}\n";
}

/// As it stands in the source where GLSL can say it: condition and step without statements of their
/// own. Otherwise step and condition go to the top, behind a flag that the first round has passed,
/// so that a `continue` finds them.
void GlslBody::emitLoop(const AstNode &node)
{
    if (node.kind == AstKind::For && node.left)
        emitStatement(*node.left);
    const bool isCounted = m_unit.mustCount(node);
    const QByteArray rounds = isCounted ? newName('r') : QByteArray();
    if (isCounted)
        emitLine("int " + rounds + " = 0;");

    QByteArray goesOn;
    const QByteArray asking = nested([&] { goesOn = condition(*node.condition); });
    const QByteArray step = nested([&] {
        if (node.kind == AstKind::For && node.right)
            emitExpression(*node.right);
    });
    const auto emitBody = [&] {
        ++m_loopDepth;
        ++m_breakDepth;
        if (node.body)
            emitStatement(*node.body);
        --m_loopDepth;
        --m_breakDepth;
    };
    const QByteArray guard =
        isCounted ? m_indent + "    if (evalIsSpent(" + rounds + ")) break;\n" : QByteArray();
    if (node.kind != AstKind::DoWhile && asking.isEmpty() && step.count('\n') <= 1) {
        const QByteArray trimmed = step.trimmed();
        emitLine("for (; " + goesOn + "; " + trimmed.first(qMax(0, trimmed.size() - 1)) + ") {");
        m_lines += guard + nested(emitBody) + m_indent + "}\n";
        return;
    }
    const QByteArray isLater = newName('k');
    emitLine("bool " + isLater + " = false;");
    emitLine("for (;;) {");
    const QByteArray leave = m_indent + "    if (!" + goesOn + ") break;\n";
    const bool asksFirst = node.kind != AstKind::DoWhile;
    m_lines += guard + m_indent + "    if (" + isLater + ") {\n" +
               (asksFirst ? step : asking + leave) + m_indent + "    }\n" + m_indent + "    " +
               isLater + " = true;\n" + (asksFirst ? asking + leave : QByteArray()) +
               nested(emitBody) + m_indent + "}\n";
}

/// The block that is entered is the first that matches, where `default` always does; what stands
/// behind it can only be fallen into.
void GlslBody::emitSwitch(const AstNode &node)
{
    const GlslValue value = emitExpression(*node.condition);
    QSet<qint32> seen;
    bool sawDefault = false;
    bool isOpen = false;
    ++m_breakDepth;
    const QByteArray cases = nested([&] {
        for (const AstPtr &block : node.statements) {
            const auto number = caseNumber(*block);
            const bool isDefault = isDefaultCase(*block);
            const bool isEntered =
                !sawDefault && (isDefault || (number && !seen.contains(*number)));
            if (isEntered)
                emitLine(isDefault ? QByteArray("default:")
                                   : "case " + glslLiteral(*number, Type::Int) + ':');
            sawDefault = sawDefault || isDefault;
            if (number)
                seen.insert(*number);
            isOpen = isOpen || isEntered;
            const QByteArray body = nested([&] { emitBlock(*block); });
            if (isOpen)
                m_lines += m_indent + "{\n" + body + m_indent + "}\n";
        }
        emitLine("break;");
    });
    --m_breakDepth;
    if (isOpen)
        m_lines += m_indent + "switch (" + laneAs(value, 0, Type::Int) + ") {\n" + cases +
                   m_indent + "}\n";
}

/// Without a value: the caller gets the default.
void GlslBody::emitLeave()
{
    const AstNode &function = *m_function->definition;
    emitLine(function.type == Type::Void
                 ? QByteArray("return;")
                 : "return " + m_unit.defaultText(function.type, function.structName) + ';');
}

void GlslBody::emitReturn(const AstNode &node)
{
    const AstNode &function = *m_function->definition;
    if (!node.left) {
        emitLeave();
        return;
    }
    const GlslValue value = emitExpression(*node.left);
    if (function.type == Type::Void)
        emitLeave();
    else
        emitLine("return " + retag(value, function.type, function.structName).text + ';');
}

} // namespace eval::gpu
