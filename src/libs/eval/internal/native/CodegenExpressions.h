#pragma once

#include <eval/internal/codegen/ExpressionEmitter.h>
#include <eval/internal/native/CodegenArithmetic.h>
#include <eval/internal/native/CodegenAssignments.h>
#include <eval/internal/native/CodegenBuiltins.h>
#include <eval/internal/native/CodegenWriter.h>

namespace eval::internal {

/// Expressions as C++.
class CodegenExpressions : public ExpressionEmitter
{
public:
    explicit CodegenExpressions(CodegenWriter &writer)
        : ExpressionEmitter(writer, m_arithmetic, m_calls, m_changes)
        , m_lines(writer)
        , m_arithmetic(writer)
        , m_calls(writer)
        , m_changes(writer, *this)
    {}

protected:
    CodeValue emitTernary(const AstNode &node) override;
    CodeValue emitMember(const AstNode &node) override;
    CodeValue emitMatrixOfMatrix(const CodeValue &source, Type type) override;
    CodeValue emitConversion(const CodeValue &source, Type type) override;
    CodeValue emitLanes(Type type, QList<CodeValue> arguments) override;
    CodeValue emitPart(const CodeValue &whole, std::optional<int> number,
                       const QByteArray &name) override;
    CodeValue emitElement(const CodeValue &array, const CodeValue &number) override;
    CodeValue repeatable(const CodeValue &argument) override { return argument; }

private:
    CodegenWriter &m_lines;
    CodegenArithmetic m_arithmetic;
    CodegenBuiltins m_calls;
    CodegenAssignments m_changes;
};

} // namespace eval::internal
