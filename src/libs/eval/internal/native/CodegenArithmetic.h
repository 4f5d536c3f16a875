#pragma once

#include <eval/internal/codegen/OperatorEmitter.h>

namespace eval::internal {

/// Operators in C++, with the interpreter's types and rounding.
class CodegenArithmetic : public OperatorEmitter
{
public:
    using OperatorEmitter::OperatorEmitter;

    CodeValue unary(UnaryKind kind, const CodeValue &operand) override;
    CodeValue stepped(const CodeValue &before, bool isIncrement) override;

protected:
    CodeValue emitEquality(BinaryKind kind, const CodeValue &left, const CodeValue &right) override;
    CodeValue emitComparison(BinaryKind kind, const CodeValue &left,
                             const CodeValue &right) override;
    bool canCompute(const ArithmeticPlan &plan) const override;
    CodeValue emitScalar(BinaryKind kind, const CodeValue &left, const CodeValue &right,
                         Type type) override;
    CodeValue emitLanewise(BinaryKind kind, const CodeValue &left, const CodeValue &right,
                           Type type) override;
    QByteArray productText(const CodeValue &left, const CodeValue &right, Type type) const override;
    QByteArray shiftText(BinaryKind kind, const QByteArray &a, const QByteArray &b) const override;

private:
    QByteArray equality(const CodeValue &left, const CodeValue &right);
    QByteArray arithmetic(BinaryKind kind, const QByteArray &a, const QByteArray &b) const;
};

} // namespace eval::internal
