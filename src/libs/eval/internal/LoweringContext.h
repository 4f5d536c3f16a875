#pragma once

#include <eval/internal/BuiltinLowering.h>
#include <eval/internal/CompiledProgram.h>
#include <eval/internal/VariableTable.h>

namespace eval::internal {

/// What the parts of a lowering share: the code that they make, and the bounds of their work.
///
/// Calls are expanded, so that a chain of functions that each call the next one twice has no end
/// that anyone would live to see: a program beyond these bounds is left to the walk.
class LoweringContext
{
public:
    static constexpr qint64 nodeBudget = 8'000'000;
    static constexpr size_t codeLimit = 2'000'000;
    static constexpr int nestingLimit = 2'000;

    explicit LoweringContext(const CompiledProgram &compiled)
        : program(compiled)
        , values(code, compiled.structs)
        , arithmetic(code, values, compiled.reportRuntimeFaults)
        , builtins(code, values, arithmetic)
        , variables(code, values)
    {}

    /// One more node, whatever its level; false, with the program given up, beyond the bounds.
    bool countNode();
    /// The same for a walk that goes a level down, until leaveNode().
    bool enterNode();
    void leaveNode() { --m_nesting; }

    const CompiledProgram &program;
    CodeBuilder code;
    LaneValues values;
    ArithmeticLowering arithmetic;
    BuiltinLowering builtins;
    VariableTable variables;

private:
    qint64 m_nodesLeft = nodeBudget;
    int m_nesting = 0;
};

/// A part of a lowering, with what it needs most at hand.
class LoweringPart
{
protected:
    explicit LoweringPart(LoweringContext &context)
        : m_context(context)
        , m_code(context.code)
        , m_values(context.values)
        , m_variables(context.variables)
    {}

    LoweringContext &m_context;
    CodeBuilder &m_code;
    LaneValues &m_values;
    VariableTable &m_variables;
};

} // namespace eval::internal
