#pragma once

#include <eval/gpu/GlslUnit.h>
#include <eval/internal/frontend/Ast.h>

#include <QByteArray>
#include <QHash>
#include <QList>

#include <utility>

namespace eval::gpu {

/// The statements of one function, or of the outputs' expressions, as GLSL that a reader can lay
/// beside the source: an expression stays one. What keeps the values those of the interpreter:
///
/// - An assignment within an expression becomes a statement before it, and operands that it would
///   overtake get a name first: GLSL leaves the order open, and && and || would skip their right
///   side.
/// - Variables are declared at the top, since a block opens no scope.
/// - What GLSL leaves undefined goes through functions of resources/templates/gpu_functions.glsl:
///   reals beyond the integers, indexes beyond the end, halves, zero vectors, division by zero.
/// - A loop whose text does not bound it counts its rounds.
///
/// Where the values still differ: `mod` and the remainder of floats have the sign of the divisor;
/// integers are compared with floats as floats; a product of integers beyond 2^53 keeps its low
/// bits. What has no GLSL form marks the unit and goes on with something harmless.
class GlslBody
{
public:
    /// @param function  null for the outputs' expressions
    GlslBody(GlslUnit &unit, GlslFunction *function);

    /// Makes a name of the source stand for a GLSL variable that is declared elsewhere.
    void bindVariable(const QString &name, const GlslValue &variable);

    GlslValue emitExpression(const internal::AstNode &node);
    void emitStatement(const internal::AstNode &node);
    void emitBlock(const internal::AstNode &node);
    void emitLine(const QByteArray &line);

    /// The variables, then everything emitted so far.
    QByteArray text() const { return m_declarations + m_lines; }

private:
    /// What an assignment writes to: a variable or field, or lanes of it.
    struct Target
    {
        bool isValid = false;
        GlslValue leaf;
        bool isPartial = false;
        QList<QByteArray> lanes; ///< numbers, or names of ints that are -1 beyond the last lane
        Type type = Type::Float; ///< of the part itself
    };

    GlslValue unsupported(const char *remark);
    GlslValue made(const QByteArray &text, Type type, int depth) const;
    GlslValue keep(const GlslValue &value);
    GlslValue atom(const GlslValue &value);
    GlslValue shallow(const GlslValue &value);
    QByteArray newName(char letter);
    bool mutates(const internal::AstNode &node);
    QList<GlslValue> emitInOrder(const QList<const internal::AstNode *> &nodes);
    GlslValue retag(const GlslValue &value, Type type, const QString &structName = {});
    QByteArray laneAs(const GlslValue &value, int lane, Type type);
    /// Statements into a buffer of their own, one level further in.
    template<class Emit>
    QByteArray nested(Emit body);

    GlslValue emitLiteral(const internal::AstNode &node);
    GlslValue emitIdentifier(const internal::AstNode &node);
    GlslValue emitUnary(const internal::AstNode &node);
    GlslValue combine(internal::BinaryKind kind, const GlslValue &left, const GlslValue &right);
    GlslValue emitEquality(internal::BinaryKind kind, const GlslValue &left,
                           const GlslValue &right);
    GlslValue emitComparison(internal::BinaryKind kind, const GlslValue &left,
                             const GlslValue &right);
    GlslValue emitBits(internal::BinaryKind kind, const GlslValue &left, const GlslValue &right);
    GlslValue emitScalar(internal::BinaryKind kind, const GlslValue &left, const GlslValue &right,
                         Type type);
    GlslValue emitLanewise(internal::BinaryKind kind, const GlslValue &left, const GlslValue &right,
                           Type type);
    GlslValue emitProduct(const GlslValue &left, const GlslValue &right, Type type);
    GlslValue emitTernary(const internal::AstNode &node);
    GlslValue emitConstructor(const internal::AstNode &node);
    GlslValue emitStructConstructor(const internal::AstNode &node,
                                    const QList<GlslValue> &arguments);
    GlslValue emitMember(const internal::AstNode &node);
    GlslValue emitField(const internal::AstNode &node);
    GlslValue emitIndex(const internal::AstNode &node);
    QByteArray dynamicIndex(const GlslValue &index, int count);
    QByteArray condition(const internal::AstNode &node);

    GlslValue emitAssignment(const internal::AstNode &node);
    GlslValue emitStep(const internal::AstNode &node);
    Target resolveTarget(const internal::AstNode &node);
    Target resolveLanes(const internal::AstNode &node);
    QList<QByteArray> indexedLanes(const Target &target, const internal::AstNode &index, int known);
    GlslValue readTarget(const Target &target);
    GlslValue writeTarget(const Target &target, const GlslValue &value);
    QByteArray laneOf(const GlslValue &leaf, const QByteArray &lane) const;

    GlslValue emitFunctionCall(const internal::AstNode &node);
    const internal::AstNode *pickOverload(const internal::AstNode &node,
                                          const QList<GlslValue> &arguments) const;
    GlslValue emitUserCall(const internal::AstNode &function, const QList<GlslValue> &arguments);

    void emitDeclaration(const internal::AstNode &node);
    void emitIf(const internal::AstNode &node);
    void emitLoop(const internal::AstNode &node);
    void emitSwitch(const internal::AstNode &node);
    void emitReturn(const internal::AstNode &node);
    void emitLeave();

    GlslUnit &m_unit;
    GlslFunction *m_function;
    QHash<QString, GlslValue> m_variables;
    QHash<const internal::AstNode *, bool> m_mutating;
    QByteArray m_declarations;
    QByteArray m_lines;
    QByteArray m_indent = "    ";
    int m_loopDepth = 0;
    int m_breakDepth = 0; ///< loops and switches around
    qsizetype m_names = 0;
    qsizetype m_variableValues = 0;
};

template<class Emit>
QByteArray GlslBody::nested(Emit body)
{
    const QByteArray outer = std::exchange(m_lines, {});
    m_indent += "    ";
    body();
    m_indent.chop(4);
    return std::exchange(m_lines, outer);
}

} // namespace eval::gpu
