#pragma once

#include <eval/internal/native/CodegenWriter.h>

namespace eval::internal {

class CodegenExpressions;

/// What changes variables: assignments, ++ and --.
class CodegenAssignments
{
public:
    CodegenAssignments(CodegenWriter &writer, CodegenExpressions &expressions)
        : m_writer(writer)
        , m_expressions(expressions)
    {}

    Operand emitAssignment(const AstNode &node);
    Operand emitStep(const AstNode &node);

private:
    /// What an assignment writes to: a variable or field, or lanes of it.
    struct Target
    {
        bool isValid = false;
        Operand leaf;
        bool isPartial = false;
        QList<QByteArray> lanes; ///< numbers, or names of numbers that may lie beyond the last lane
        Type type = Type::Float; ///< of the part itself
    };

    Target resolveTarget(const AstNode &node);
    Target resolveField(const AstNode &node);
    Target resolveLanes(const AstNode &node);
    static QList<QByteArray> lanesOf(const Target &target);
    static QList<QByteArray> swizzledLanes(const AstNode &node, const Target &whole);
    QList<QByteArray> indexedLanes(const AstNode &node, const Target &whole);
    Operand readTarget(const Target &target);
    Operand writeTarget(const Target &target, const Operand &value);

    CodegenWriter &m_writer;
    CodegenExpressions &m_expressions;
};

} // namespace eval::internal
