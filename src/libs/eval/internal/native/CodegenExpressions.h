#pragma once

#include <eval/internal/native/CodegenArithmetic.h>
#include <eval/internal/native/CodegenAssignments.h>
#include <eval/internal/native/CodegenCalls.h>

#include <optional>

namespace eval::internal {

/// Expressions as C++: each operation becomes a constant of its own, one after the other in the
/// order in which the interpreter would compute them. C++ leaves the order within an expression
/// open, nests no deeper than its compiler allows, and would skip the right side of && and ||.
class CodegenExpressions
{
public:
    explicit CodegenExpressions(CodegenWriter &writer)
        : m_writer(writer)
        , m_arithmetic(writer)
        , m_assignments(writer, *this)
        , m_calls(writer)
    {}

    Operand emitExpression(const AstNode &node);
    /// The text of a truth value.
    QByteArray condition(const AstNode &node);
    Operand emitIdentifier(const AstNode &node);
    /// The number of a literal index; none for another, or one that is not below `count`.
    static std::optional<int> constantIndex(const AstNode &node, int count);
    /// A number that is -1 when it is not below `count`.
    QByteArray dynamicIndex(const Operand &index, int count);
    /// Whether evaluating a node may change a variable that its neighbour reads.
    bool mutates(const AstNode &node);
    CodegenArithmetic &arithmetic() { return m_arithmetic; }

private:
    QList<Operand> emitInOrder(const QList<const AstNode *> &nodes);
    QList<Operand> emitArguments(const AstNode &node);
    Operand emitLiteral(const AstNode &node);
    Operand emitBinary(const AstNode &node);
    Operand emitTernary(const AstNode &node);
    Operand emitConstructor(const AstNode &node);
    Operand emitStructConstructor(const AstNode &node, const QList<Operand> &arguments);
    Operand emitMatrixOfMatrix(const Operand &source, Type type);
    Operand emitMember(const AstNode &node);
    Operand emitField(const AstNode &node);
    Operand emitIndex(const AstNode &node);
    Operand emitElement(const Operand &array, const Operand &number);

    CodegenWriter &m_writer;
    CodegenArithmetic m_arithmetic;
    CodegenAssignments m_assignments;
    CodegenCalls m_calls;
    QHash<const AstNode *, bool> m_mutating;
};

} // namespace eval::internal
