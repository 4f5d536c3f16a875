#pragma once

#include <eval/internal/ExpressionLowering.h>

namespace eval::internal {

/// Turns the checked trees of a program into register code that computes exactly what the walk over
/// them does.
///
/// Vectors, matrices and structs are taken apart into single lanes, calls are expanded where they
/// stand, names become registers: straight-line code writes each register once, and where ways of
/// control join, the variables that were assigned on the way get registers of their own that every
/// way moves its value into. The tag that a value has in the walk is known here at every point;
/// where it is not (a name declared on one way only, or with two types) the program is given up and
/// the walk stays.
///
/// Whatever the walk reports as a fault ends the register code: only the walk needs to know texts
/// and order.
class Lowering
{
public:
    explicit Lowering(const CompiledProgram &program)
        : m_context(program)
        , m_expressions(m_context)
        , m_outputs(static_cast<size_t>(program.outputs.size()))
    {}

    /// Null when something in the program has no register form.
    QSharedPointer<const LoweredProgram> run();

private:
    void declareSlots();
    void lowerOutput(qsizetype index);
    RegisterValue registersOf(const LaneValue &value, int first);

    LoweringContext m_context;
    ExpressionLowering m_expressions;
    std::vector<Register> m_inputRegisters;
    std::vector<LaneValue> m_outputs;
};

} // namespace eval::internal
