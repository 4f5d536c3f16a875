#pragma once

#include <eval/internal/native/CodegenWriter.h>

namespace eval::internal {

/// Calls of built-in and of user functions.
class CodegenCalls
{
public:
    explicit CodegenCalls(CodegenWriter &writer)
        : m_writer(writer)
    {}

    Operand emitFunctionCall(const AstNode &node, const QList<Operand> &arguments);

private:
    Operand emitUserCall(const AstNode &node, const AstNode &function,
                         const QList<Operand> &arguments);
    Operand emitCallOf(const AstNode &function, QList<QByteArray> arguments);

    CodegenWriter &m_writer;
};

} // namespace eval::internal
