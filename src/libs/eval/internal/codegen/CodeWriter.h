#pragma once

#include <eval/internal/codegen/CodeUnit.h>
#include <eval/internal/codegen/CodeValue.h>

#include <optional>
#include <utility>

namespace eval::internal {

/// The lines of one function while they are written, its variables, and how a language says the
/// simplest things: a name, a lane, a conversion.
///
/// What a language has no form for marks the unit and goes on with something harmless.
class CodeWriter
{
public:
    /// @param function  null for the outputs' expressions
    CodeWriter(CodeUnit &unit, CodeFunction *function)
        : m_unit(unit)
        , m_function(function)
    {}
    virtual ~CodeWriter();

    CodeFunction *function() { return m_function; }
    CodeUnit &unit() { return m_unit; }
    CodeValue unsupported();

    void emitLine(const QByteArray &line);
    /// Text that nested() has made, and braces around it, which count as no statement.
    void emitText(const QByteArray &text) { m_lines += text; }
    void emitBrace(const QByteArray &line) { m_lines += m_indent + line + '\n'; }
    /// Statements into a text of their own, one level further in.
    template<class Emit>
    QByteArray nested(Emit body);
    const QByteArray &indent() const { return m_indent; }
    /// For the points that are there; `target` is a name or a part of one.
    virtual void assign(const QByteArray &target, const QByteArray &value);

    QByteArray newName(char letter) { return letter + QByteArray::number(m_names++); }
    /// A name of its own for this value, which nothing changes later.
    CodeValue keep(const QByteArray &text, Type type, const QString &structName = {});
    /// A value that no later side effect changes.
    CodeValue named(const CodeValue &value);
    /// A value that an operator may be put around: compilers bound the brackets within each other.
    CodeValue shallow(const CodeValue &value);
    /// What an operation on some values gives.
    virtual CodeValue made(const QByteArray &text, Type type, const QList<CodeValue> &operands,
                           const QString &structName = {}) = 0;
    CodeValue retag(const CodeValue &value, Type type, const QString &structName = {});

    /// Makes a name of the source stand for a variable that is declared elsewhere.
    void bindVariable(const QString &name, const CodeValue &variable)
    {
        m_variables.insert(name, variable);
    }
    /// Null when there is no such variable.
    const CodeValue *variable(const QString &name) const;
    /// Declares a variable at the top, because a block opens no scope.
    CodeValue declareVariable(const QString &name, Type type, const QString &structName);

    /// The variables, then everything emitted so far.
    QByteArray text() const { return m_declarations + m_lines; }

    /// What a value may be that has lanes.
    virtual bool isLaneType(Type type) const = 0;
    virtual QByteArray literalText(const QVariant &value, Type type) const = 0;
    /// The value of a variable that was given none.
    virtual QByteArray defaultText(Type type, const QString &structName) = 0;
    /// One lane, zero beyond the last one.
    virtual QByteArray laneText(const CodeValue &value, int lane) const = 0;
    /// A scalar under another scalar type, by the rules of the field language.
    virtual QByteArray castText(const QByteArray &scalar, Type from, Type to) const = 0;
    /// A value of lanes under another type; none where that has no form.
    virtual std::optional<QByteArray> retagText(const CodeValue &value, Type type) const = 0;
    virtual QByteArray composeText(Type type, const QList<QByteArray> &lanes) const = 0;
    virtual QByteArray structText(const QByteArray &type,
                                  const QList<QByteArray> &fields) const = 0;
    virtual QByteArray choiceText(const QByteArray &condition, const QByteArray &yes,
                                  const QByteArray &no) const = 0;
    /// What a call of a user function has to be given beside its arguments.
    virtual QList<QByteArray> hiddenArguments() const { return {}; }
    /// A lane, a scalar standing for all of them, as a scalar of `type`.
    QByteArray laneAs(const CodeValue &value, int lane, Type type);
    /// "function(a, b)".
    static QByteArray callText(const QByteArray &function, const QList<QByteArray> &arguments);
    /// The operator between two texts, with blanks around it.
    QByteArray operatorText(BinaryKind kind) const;

private:
    CodeUnit &m_unit;
    CodeFunction *m_function;
    QHash<QString, CodeValue> m_variables;
    QByteArray m_declarations;
    QByteArray m_lines;
    QByteArray m_indent = "    ";
    qsizetype m_names = 0;
    qsizetype m_variableValues = 0;
};

template<class Emit>
QByteArray CodeWriter::nested(Emit body)
{
    const QByteArray outer = std::exchange(m_lines, {});
    m_indent += "    ";
    body();
    m_indent.chop(4);
    return std::exchange(m_lines, outer);
}

} // namespace eval::internal
