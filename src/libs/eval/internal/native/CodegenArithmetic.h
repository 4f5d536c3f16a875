#pragma once

#include <eval/internal/native/CodegenWriter.h>

namespace eval::internal {

/// Operators in C++, with the interpreter's types and rounding.
class CodegenArithmetic
{
public:
    explicit CodegenArithmetic(CodegenWriter &writer)
        : m_writer(writer)
    {}

    Operand combine(BinaryKind kind, const Operand &left, const Operand &right);
    Operand unary(UnaryKind kind, const Operand &operand);
    /// The value of ++ and --.
    Operand stepped(const Operand &before, bool isIncrement);

private:
    Operand emitComparison(BinaryKind kind, const Operand &left, const Operand &right);
    QByteArray equality(const Operand &left, const Operand &right);
    Operand emitBits(BinaryKind kind, const Operand &left, const Operand &right);
    Operand emitScalar(BinaryKind kind, const Operand &left, const Operand &right, Type type);
    Operand emitLanewise(BinaryKind kind, const Operand &left, const Operand &right, Type type);
    Operand emitProduct(const Operand &left, const Operand &right, Type type);

    CodegenWriter &m_writer;
};

} // namespace eval::internal
