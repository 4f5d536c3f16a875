#pragma once

#include <eval/internal/codegen/ExpressionEmitter.h>

namespace eval::internal {

/// The statements of one function, or of the outputs' expressions, as text: the walk over the tree,
/// and what every language with braces says alike.
class StatementEmitter
{
public:
    /// The parts outlive this; nothing is asked of them before the first emit.
    StatementEmitter(CodeWriter &writer, ExpressionEmitter &expressions)
        : m_writer(writer)
        , m_expressions(expressions)
    {}
    virtual ~StatementEmitter();

    CodeWriter &writer() { return m_writer; }
    CodeValue emitExpression(const AstNode &node) { return m_expressions.emitExpression(node); }
    void emitStatement(const AstNode &node);

protected:
    void emitBlock(const AstNode &node);
    virtual void emitIf(const AstNode &node);
    virtual void emitLoop(const AstNode &node) = 0;
    virtual void emitSwitch(const AstNode &node) = 0;
    /// Outside of everything they end the function, as in the interpreter.
    virtual void emitBreak() = 0;
    virtual void emitContinue() = 0;
    /// Ends the function without a value: the caller gets the default.
    virtual void emitLeave();
    virtual void emitLeaveWith(const QByteArray &value);
    const AstNode &function() const { return *m_writer.function()->definition; }

    CodeWriter &m_writer;
    ExpressionEmitter &m_expressions;

private:
    void emitDeclaration(const AstNode &node);
    void emitReturn(const AstNode &node);
};

} // namespace eval::internal
