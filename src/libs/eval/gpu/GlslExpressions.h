#pragma once

#include <eval/gpu/GlslAssignments.h>
#include <eval/gpu/GlslBuiltins.h>
#include <eval/gpu/GlslOperators.h>
#include <eval/gpu/GlslWriter.h>
#include <eval/internal/codegen/ExpressionEmitter.h>

namespace eval::gpu {

/// Expressions as GLSL. An assignment within an expression becomes a statement before it, and
/// operands that it would overtake get a name first: GLSL leaves the order open, and && and ||
/// would skip their right side.
class GlslExpressions : public internal::ExpressionEmitter
{
public:
    using CodeValue = internal::CodeValue;

    explicit GlslExpressions(GlslWriter &writer)
        : ExpressionEmitter(writer, m_arithmetic, m_calls, m_changes)
        , m_lines(writer)
        , m_arithmetic(writer)
        , m_calls(writer)
        , m_changes(writer, *this)
    {}

protected:
    CodeValue emitTernary(const internal::AstNode &node) override;
    CodeValue emitMember(const internal::AstNode &node) override;
    CodeValue emitMatrixOfMatrix(const CodeValue &source, Type type) override;
    CodeValue emitConversion(const CodeValue &source, Type type) override;
    CodeValue emitLanes(Type type, QList<CodeValue> arguments) override;
    CodeValue emitPart(const CodeValue &whole, std::optional<int> number,
                       const QByteArray &name) override;
    CodeValue repeatable(const CodeValue &argument) override { return m_lines.atom(argument); }

private:
    GlslWriter &m_lines;
    GlslOperators m_arithmetic;
    GlslBuiltins m_calls;
    GlslAssignments m_changes;
};

} // namespace eval::gpu
