#pragma once

#include <eval/internal/frontend/Ast.h>
#include <eval/internal/native/CodegenUnit.h>
#include <eval/internal/native/NativeTypes.h>

#include <QByteArray>
#include <QHash>

#include <utility>

namespace eval::internal {

/// The lines of one C++ function while they are written, its variables, and for several points at a
/// time the mask: the lanes that are on.
///
/// What has no C++ form marks the unit and goes on with something harmless.
class CodegenWriter
{
public:
    /// @param function  null for the outputs' expressions
    CodegenWriter(CodegenUnit &unit, CodegenFunction *function)
        : m_unit(unit)
        , m_function(function)
    {}

    CodegenUnit &unit() { return m_unit; }
    CodegenFunction *function() { return m_function; }
    Operand unsupported();

    void emitLine(const QByteArray &line);
    /// Text that nested() has made, and braces around it, which count as no statement.
    void emitText(const QByteArray &text) { m_lines += text; }
    void emitBrace(const QByteArray &line) { m_lines += m_indent + line + '\n'; }
    /// Statements into a text of their own, one level further in.
    template<class Emit>
    QByteArray nested(Emit body);

    QByteArray newName(char letter) { return letter + QByteArray::number(m_names++); }
    /// A constant of this value.
    Operand keep(const QByteArray &text, Type type, const QString &structName = {});
    /// A value that may be written several times.
    Operand named(const Operand &value);
    Operand retag(const Operand &value, Type type, const QString &structName);

    /// Makes a name of the source stand for a C++ variable that is declared elsewhere.
    void bindVariable(const QString &name, const Operand &variable)
    {
        m_variables.insert(name, variable);
    }
    /// Null when there is no such variable.
    const Operand *variable(const QString &name) const;
    /// Declares a variable at the top, because a block opens no scope.
    Operand declareVariable(const QString &name, Type type, const QString &structName);

    const QByteArray &mask() const { return m_mask; } ///< empty when all lanes are on
    void setMask(const QByteArray &mask) { m_mask = mask; }
    /// Of the lanes that are on, those for which a condition holds.
    QByteArray maskedBy(const QByteArray &condition);
    /// For the lanes that are on; the others keep what they have.
    void assign(const QByteArray &target, const QByteArray &value);
    /// The texts of both branches of a condition, from `write(0 or 1, mask)`. For lanes each is for
    /// those that take it, whose mask stands before it.
    template<class Write>
    std::pair<QByteArray, QByteArray> emitBranches(const QByteArray &chosen, Write write);
    bool isInBranch() const { return m_branchDepth > 0; }
    /// Code that not all lanes take, until leaveBranch().
    void enterBranch() { ++m_branchDepth; }
    void leaveBranch() { --m_branchDepth; }

    /// The variables, then everything emitted so far.
    QByteArray text() const { return m_declarations + m_lines; }
    /// All of a function between its braces.
    QByteArray functionText() const;

private:
    QByteArray guarded(const QByteArray &block, const QByteArray &mask) const;

    CodegenUnit &m_unit;
    CodegenFunction *m_function;
    QHash<QString, Operand> m_variables;
    QByteArray m_declarations;
    QByteArray m_lines;
    QByteArray m_indent = "    ";
    QByteArray m_mask;
    int m_branchDepth = 0; ///< branches around that not all lanes take
    qsizetype m_names = 0;
    qsizetype m_variableValues = 0;
};

template<class Emit>
QByteArray CodegenWriter::nested(Emit body)
{
    const QByteArray outer = std::exchange(m_lines, {});
    m_indent += "    ";
    body();
    m_indent.chop(4);
    return std::exchange(m_lines, outer);
}

template<class Write>
std::pair<QByteArray, QByteArray> CodegenWriter::emitBranches(const QByteArray &chosen, Write write)
{
    if (!m_unit.isForLanes())
        return {write(0, QByteArray()), write(1, QByteArray())};
    QByteArray texts[2];
    const QByteArray outer = m_mask;
    enterBranch();
    for (int i = 0; i < 2; ++i) {
        m_mask = outer;
        const QByteArray mask = maskedBy(i == 0 ? chosen : "(~" + chosen + ')');
        m_mask = mask;
        texts[i] = guarded(write(i, mask), mask);
    }
    leaveBranch();
    m_mask = outer;
    return {texts[0], texts[1]};
}

} // namespace eval::internal
