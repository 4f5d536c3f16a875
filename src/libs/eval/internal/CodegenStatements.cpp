#include <eval/internal/CodegenBody.h>

#include <eval/internal/AstWalk.h>
#include <eval/internal/Interpreter.h>

namespace eval::internal {

namespace {

/// Whether something in a statement may end it, a loop around it or the function.
bool jumpsOut(const AstPtr &statement)
{
    bool jumps = false;
    const auto look = [&jumps](const AstNode &node) {
        jumps = jumps || node.kind == AstKind::Break || node.kind == AstKind::Continue ||
                node.kind == AstKind::Return || node.kind == AstKind::Discard;
    };
    forEachNode(statement, look);
    return jumps;
}

} // namespace

CodegenBody::CodegenBody(CodegenUnit &unit, CodegenFunction *function)
    : m_unit(unit)
    , m_function(function)
{}

void CodegenBody::bindVariable(const QString &name, const Operand &variable)
{
    m_variables.insert(name, variable);
}

void CodegenBody::emitLine(const QByteArray &line)
{
    if (!m_unit.countStatement())
        return;
    if (!m_unit.canSay(line))
        m_unit.setUnsupported();
    m_lines += m_indent + line + '\n';
    if (m_function)
        ++m_function->statements;
}

void CodegenBody::emitStatement(const AstNode &node)
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
        // A fault to be told, which compiled code has no way for: its zero would lie on a surface.
        m_unit.setUnsupported();
        return;
    case AstKind::Break:
        // Outside of everything it ends the function, as in the interpreter.
        if (!m_laneLoops.isEmpty())
            emitMaskedJump(node.kind);
        else if (m_breakDepth > 0)
            emitLine("break;");
        else
            emitLeave();
        return;
    case AstKind::Continue:
        if (!m_laneLoops.isEmpty()) {
            emitMaskedJump(node.kind);
            return;
        }
        if (m_continueLabels.isEmpty()) {
            emitLeave();
            return;
        }
        m_continueUsed.last() = true;
        emitLine("goto " + m_continueLabels.last() + ';');
        return;
    default:
        emitExpression(node);
    }
}

void CodegenBody::emitBlock(const AstNode &node)
{
    for (const AstPtr &statement : node.statements)
        emitStatement(*statement);
}

/// A declaration that is met again, in a loop or by the same name, sets the one variable anew.
void CodegenBody::emitDeclaration(const AstNode &node)
{
    if (node.type != Type::Struct && !isNativeVariableType(node.type)) {
        m_unit.setUnsupported();
        return;
    }
    const QByteArray type = m_unit.typeText(node.type, node.structName);
    const QByteArray value =
        node.left ? retag(emitExpression(*node.left), node.type, node.structName).text
                  : type + "{}";
    const auto known = m_variables.constFind(node.name);
    if (known != m_variables.constEnd()) {
        // Which of two types a name has would depend on the way taken.
        if (known->type != node.type || known->structName != node.structName)
            m_unit.setUnsupported();
        assign(known->text, value);
        return;
    }
    const StructDef *const definition =
        node.type == Type::Struct ? m_unit.structs().lookup(node.structName) : nullptr;
    m_variableValues += definition ? definition->valueCount * 4 : 1;
    if (m_variableValues > CodegenUnit::variableLimit)
        m_unit.setTooLarge();
    const Operand variable{newName('v'), node.type, node.structName, Type::Float, true};
    m_declarations += "    " + type + ' ' + variable.text + "{};\n";
    assign(variable.text, value);
    m_variables.insert(node.name, variable);
}

void CodegenBody::emitIf(const AstNode &node)
{
    const QByteArray chosen = condition(*node.condition);
    if (m_unit.isForLanes()) {
        emitMaskedIf(node, chosen);
        return;
    }
    emitLine("if (" + chosen + ") {");
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

/// The condition has statements of its own, so every loop is one that a break leaves. `continue`
/// jumps behind the body, where the step of a `for` stands.
void CodegenBody::emitLoop(const AstNode &node)
{
    if (node.kind == AstKind::For && node.left)
        emitStatement(*node.left);
    // Where a loop counts and nothing leaves it, all lanes go round together.
    if (m_unit.isForLanes() && (m_unit.mustWatch(node) || jumpsOut(node.body))) {
        emitMaskedLoop(node);
        return;
    }
    const auto leaveUnless = [&] {
        const QByteArray goesOn = condition(*node.condition);
        emitLine("if (!" + (m_unit.isForLanes() ? "anyLane(" + maskedBy(goesOn) + ')' : goesOn) +
                 ") break;");
    };
    emitLine(loopHead());
    const QByteArray body = nested([&] {
        if (m_unit.mustWatch(node))
            emitLine("if (_isCancelled()) break;");
        if (node.kind != AstKind::DoWhile)
            leaveUnless();
        m_continueLabels.append(newName('c'));
        m_continueUsed.append(false);
        ++m_breakDepth;
        const QByteArray inner = nested([&] {
            if (node.body)
                emitStatement(*node.body);
        });
        --m_breakDepth;
        m_lines += m_indent + "{\n" + inner + m_indent + "}\n";
        const QByteArray label = m_continueLabels.takeLast();
        if (m_continueUsed.takeLast())
            m_lines += m_indent + label + ":;\n";
        if (node.kind == AstKind::DoWhile)
            leaveUnless();
        else if (node.kind == AstKind::For && node.right)
            emitExpression(*node.right);
    });
    m_lines += body + m_indent + "}\n";
}

/// No loop has more rounds than the language allows.
QByteArray CodegenBody::loopHead()
{
    const QByteArray round = newName('r');
    return "for (int " + round + " = 0; " + round + " < " +
           QByteArray::number(Interpreter::loopRoundLimit) + "; ++" + round + ") {";
}

/// A switch that is entered at its top: the blocks decide for themselves, from the first that
/// matches on, and a break leaves it.
void CodegenBody::emitSwitch(const AstNode &node)
{
    const Operand value = emitExpression(*node.condition);
    if (!isNativeLaneType(value.type) || m_unit.isForLanes()) {
        m_unit.setUnsupported();
        return;
    }
    const QByteArray chosen =
        keep(nativeCast(nativeLane(value, 0), scalarOf(value.type), Type::Int), Type::Int).text;
    const QByteArray matched = newName('k');
    emitLine("switch (0) {");
    emitLine("default: {");
    const QByteArray cases = nested([&] {
        emitLine("bool " + matched + " = false;");
        ++m_breakDepth;
        for (const AstPtr &block : node.statements) {
            const auto number = caseNumber(*block);
            const QByteArray own = isDefaultCase(*block) ? "true"
                                   : number              ? chosen + " == " + nativeInteger(*number)
                                                         : "false";
            emitLine(matched + " = " + matched + " || " + own + ';');
            emitLine("if (" + matched + ") {");
            m_lines += nested([&] { emitBlock(*block); }) + m_indent + "}\n";
        }
        --m_breakDepth;
    });
    m_lines += cases + m_indent + "}\n" + m_indent + "}\n";
}

/// Without a value: the caller gets the default.
void CodegenBody::emitLeave()
{
    if (!m_mask.isEmpty()) {
        emitMaskedLeave({});
        return;
    }
    const AstNode &function = *m_function->definition;
    // With the type's name: braces alone are no value of several lanes.
    emitLine(function.type == Type::Void
                 ? QByteArray("return;")
                 : "return " + m_unit.typeText(function.type, function.structName) + "{};");
}

void CodegenBody::emitReturn(const AstNode &node)
{
    const AstNode &function = *m_function->definition;
    if (!node.left) {
        emitLeave();
        return;
    }
    const Operand value = emitExpression(*node.left);
    if (function.type == Type::Void) {
        emitLeave();
        return;
    }
    if (!m_mask.isEmpty()) {
        emitMaskedLeave(retag(value, function.type, function.structName).text);
        return;
    }
    emitLine("return " + retag(value, function.type, function.structName).text + ';');
}

} // namespace eval::internal
