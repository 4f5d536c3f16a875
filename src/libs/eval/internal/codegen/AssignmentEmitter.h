#pragma once

#include <eval/internal/codegen/ExpressionEmitter.h>

namespace eval::internal {

/// What changes variables: assignments, ++ and --. A target is found before the right side is
/// evaluated, as in the interpreter.
class AssignmentEmitter
{
public:
    AssignmentEmitter(CodeWriter &writer, ExpressionEmitter &expressions)
        : m_writer(writer)
        , m_expressions(expressions)
    {}
    virtual ~AssignmentEmitter();

    CodeValue emitAssignment(const AstNode &node);
    CodeValue emitStep(const AstNode &node);

protected:
    /// What an assignment writes to: a variable or field, or lanes of it.
    struct Target
    {
        bool isValid = false;
        CodeValue leaf;
        bool isPartial = false;
        QList<QByteArray> lanes; ///< numbers, or names of numbers that are -1 beyond the last lane
        Type type = Type::Float; ///< of the part itself
    };

    virtual CodeValue readTarget(const Target &target) = 0;
    virtual CodeValue writeTarget(const Target &target, const CodeValue &value) = 0;
    /// Whether a lane of a target is a number and not a name.
    static bool isNumber(const QByteArray &lane);

    CodeWriter &m_writer;

private:
    Target resolveTarget(const AstNode &node);
    Target resolveField(const AstNode &node);
    Target resolveLanes(const AstNode &node);
    static QList<QByteArray> lanesOf(const Target &target);
    static QList<QByteArray> swizzledLanes(const AstNode &node, const QList<QByteArray> &known);
    QList<QByteArray> indexedLanes(const AstNode &node, const QList<QByteArray> &known, int rows);

    ExpressionEmitter &m_expressions;
};

} // namespace eval::internal
