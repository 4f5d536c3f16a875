#pragma once

#include <eval/internal/codegen/BuiltinEmitter.h>
#include <eval/internal/codegen/OperatorEmitter.h>

namespace eval::internal {

class AssignmentEmitter;

/// Expressions as text: the walk over the tree, calls, and what keeps the order in which the
/// interpreter evaluates. A language says what a value of each kind looks like.
///
/// Types are followed as values, not taken from the checker. An operand that a later one may change
/// is copied before.
class ExpressionEmitter
{
public:
    /// The parts outlive this; nothing is asked of them before the first emit.
    ExpressionEmitter(CodeWriter &writer, OperatorEmitter &operators, BuiltinEmitter &builtins,
                      AssignmentEmitter &assignments)
        : m_writer(writer)
        , m_operators(operators)
        , m_builtins(builtins)
        , m_assignments(assignments)
    {}
    virtual ~ExpressionEmitter();

    CodeValue emitExpression(const AstNode &node);
    /// The text of a truth value.
    QByteArray condition(const AstNode &node);
    CodeValue emitIdentifier(const AstNode &node);
    /// The number of a literal index; none for another, or one that is not below `count`.
    static std::optional<int> constantIndex(const AstNode &node, int count);
    /// The name of a number that is -1 when it is not below `count`.
    QByteArray dynamicIndex(const CodeValue &index, int count);
    /// Whether evaluating a node may change a variable that its neighbour reads.
    bool mutates(const AstNode &node);
    OperatorEmitter &operators() { return m_operators; }

protected:
    virtual CodeValue emitTernary(const AstNode &node) = 0;
    virtual CodeValue emitMember(const AstNode &node) = 0;
    virtual CodeValue emitMatrixOfMatrix(const CodeValue &source, Type type) = 0;
    /// A constructor with one scalar on either side.
    virtual CodeValue emitConversion(const CodeValue &source, Type type) = 0;
    /// All lanes of all arguments, one after the other.
    virtual CodeValue emitLanes(Type type, QList<CodeValue> arguments) = 0;
    /// A component of a vector or a column of a matrix: a number, or a name from dynamicIndex().
    virtual CodeValue emitPart(const CodeValue &whole, std::optional<int> number,
                               const QByteArray &name) = 0;
    virtual CodeValue emitElement(const CodeValue &array, const CodeValue &number);
    /// An argument of a built-in that is to be written more than once.
    virtual CodeValue repeatable(const CodeValue &argument) = 0;

    CodeWriter &m_writer;

private:
    QList<CodeValue> emitInOrder(const QList<const AstNode *> &nodes);
    QList<CodeValue> emitArguments(const AstNode &node);
    CodeValue emitLiteral(const AstNode &node);
    CodeValue emitBinary(const AstNode &node);
    CodeValue emitConstructor(const AstNode &node);
    CodeValue emitStructConstructor(const AstNode &node, const QList<CodeValue> &arguments);
    CodeValue emitField(const AstNode &node);
    CodeValue emitIndex(const AstNode &node);
    CodeValue emitFunctionCall(const AstNode &node);
    CodeValue emitBuiltinCall(const Builtin &builtin, QList<CodeValue> arguments);
    CodeValue emitUserCall(const AstNode &node, const AstNode &function,
                           const QList<CodeValue> &arguments);
    CodeValue emitCallOf(const AstNode &function, const QList<QByteArray> &texts,
                         const QList<CodeValue> &arguments);

    OperatorEmitter &m_operators;
    BuiltinEmitter &m_builtins;
    AssignmentEmitter &m_assignments;
    QHash<const AstNode *, bool> m_mutating;
};

} // namespace eval::internal
