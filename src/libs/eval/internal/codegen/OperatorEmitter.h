#pragma once

#include <eval/internal/codegen/CodeWriter.h>
#include <eval/internal/interpreter/Arithmetic.h>

namespace eval::internal {

/// Operators as text. Which of its forms an operator takes and what type comes out follows the
/// interpreter; each language says the forms.
class OperatorEmitter
{
public:
    explicit OperatorEmitter(CodeWriter &writer)
        : m_writer(writer)
    {}
    virtual ~OperatorEmitter();

    CodeValue combine(BinaryKind kind, const CodeValue &left, const CodeValue &right);
    virtual CodeValue unary(UnaryKind kind, const CodeValue &operand) = 0;
    /// The value of ++ and --.
    virtual CodeValue stepped(const CodeValue &before, bool isIncrement) = 0;

protected:
    virtual CodeValue emitEquality(BinaryKind kind, const CodeValue &left,
                                   const CodeValue &right) = 0;
    /// By the first lane of each side; both sides have been evaluated.
    virtual CodeValue emitComparison(BinaryKind kind, const CodeValue &left,
                                     const CodeValue &right) = 0;
    virtual bool canCompute(const ArithmeticPlan &plan) const;
    virtual CodeValue emitScalar(BinaryKind kind, const CodeValue &left, const CodeValue &right,
                                 Type type) = 0;
    virtual CodeValue emitLanewise(BinaryKind kind, const CodeValue &left, const CodeValue &right,
                                   Type type) = 0;
    /// Of floats, with as many columns on the left as there are rows on the right.
    virtual QByteArray productText(const CodeValue &left, const CodeValue &right,
                                   Type type) const = 0;
    /// Of ints.
    virtual QByteArray shiftText(BinaryKind kind, const QByteArray &a,
                                 const QByteArray &b) const = 0;

    CodeWriter &m_writer;

private:
    CodeValue emitBits(BinaryKind kind, const CodeValue &left, const CodeValue &right);
    CodeValue emitProduct(const CodeValue &left, const CodeValue &right, Type type);
};

} // namespace eval::internal
