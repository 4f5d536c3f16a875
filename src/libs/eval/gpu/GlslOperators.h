#pragma once

#include <eval/internal/codegen/OperatorEmitter.h>

namespace eval::gpu {

/// Operators in GLSL. What GLSL leaves undefined goes through functions of
/// resources/templates/gpu_functions.glsl.
class GlslOperators : public internal::OperatorEmitter
{
public:
    using OperatorEmitter::OperatorEmitter;
    using BinaryKind = internal::BinaryKind;
    using CodeValue = internal::CodeValue;

    CodeValue unary(internal::UnaryKind kind, const CodeValue &operand) override;
    CodeValue stepped(const CodeValue &before, bool isIncrement) override;

protected:
    CodeValue emitEquality(BinaryKind kind, const CodeValue &left, const CodeValue &right) override;
    CodeValue emitComparison(BinaryKind kind, const CodeValue &left,
                             const CodeValue &right) override;
    CodeValue emitScalar(BinaryKind kind, const CodeValue &left, const CodeValue &right,
                         Type type) override;
    CodeValue emitLanewise(BinaryKind kind, const CodeValue &left, const CodeValue &right,
                           Type type) override;
    QByteArray productText(const CodeValue &left, const CodeValue &right, Type type) const override;
    QByteArray shiftText(BinaryKind kind, const QByteArray &a, const QByteArray &b) const override;

private:
    QByteArray joined(const QByteArray &a, BinaryKind kind, const QByteArray &b) const;
};

} // namespace eval::gpu
