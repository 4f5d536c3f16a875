#pragma once

#include <eval/gpu/GlslExpressions.h>
#include <eval/internal/codegen/StatementEmitter.h>

namespace eval::gpu {

/// The parts of a body, made before it.
struct GlslParts
{
    GlslParts(GlslUnit &unit, internal::CodeFunction *function)
        : lines(unit, function)
        , glslExpressions(lines)
    {}

    GlslWriter lines;
    GlslExpressions glslExpressions;
};

/// The statements of one function, or of the outputs' expressions, as GLSL. What keeps the values
/// those of the interpreter:
///
/// - Assignments stand as statements of their own, in order (see GlslExpressions).
/// - Variables are declared at the top, since a block opens no scope.
/// - What GLSL leaves undefined goes through functions of resources/templates/gpu_functions.glsl:
///   reals beyond the integers, indexes beyond the end, halves, zero vectors, division by zero.
/// - A loop whose text does not bound it counts its rounds.
///
/// Where the values still differ: `mod` and the remainder of floats have the sign of the divisor;
/// integers are compared with floats as floats; a product of integers beyond 2^53 keeps its low
/// bits.
class GlslBody : private GlslParts, public internal::StatementEmitter
{
public:
    /// @param function  null for the outputs' expressions
    GlslBody(GlslUnit &unit, internal::CodeFunction *function)
        : GlslParts(unit, function)
        , StatementEmitter(lines, glslExpressions)
        , m_unit(unit)
    {}

protected:
    void emitLoop(const internal::AstNode &node) override;
    void emitSwitch(const internal::AstNode &node) override;
    void emitBreak() override;
    void emitContinue() override;

private:
    GlslUnit &m_unit;
    int m_loopDepth = 0;
    int m_breakDepth = 0; ///< loops and switches around
};

} // namespace eval::gpu
