#pragma once

#include <eval/internal/registers/CodeBuilder.h>
#include <eval/internal/registers/LoweredProgram.h>

#include <vector>

namespace eval::internal {

/// Finished code over virtual registers: targets are instruction numbers, nothing in it is without
/// use.
class LinearCode
{
public:
    enum class Origin : quint8 { Computed, Constant, Input };

    /// @param inputs   first register by index of the input; noRegister for one that is not held in
    /// registers
    /// @param widths   lanes of each input
    /// @param outputs  what has to survive
    LinearCode(CodeBuilder &builder, const std::vector<Register> &inputs,
               const std::vector<int> &widths, const std::vector<RegisterValue> &outputs);

    std::vector<Instruction> code;
    std::vector<ExternalCall> externals;
    std::vector<Origin> origins; ///< by register
    std::vector<quint32> bits;   ///< of constants
    std::vector<FoldRange> folds;
    std::vector<Register> outputLanes;

    quint32 registerCount() const { return static_cast<quint32>(origins.size()); }
    bool isComputed(Register reg) const { return origins[reg] == Origin::Computed; }

    /// Calls `visit(Register &)` for every register that an instruction reads.
    template<class Visit>
    void forEachRead(Instruction &instruction, const Visit &visit)
    {
        const int count = operandCount(instruction.op);
        if (count > 0)
            visit(instruction.a);
        if (count > 1)
            visit(instruction.b);
        if (count > 2)
            visit(instruction.c);
        if (instruction.op == Op::External) {
            for (Register &argument : externals[instruction.c].arguments)
                visit(argument);
        }
    }
    /// The same for every register that it writes.
    template<class Visit>
    void forEachWrite(Instruction &instruction, const Visit &visit)
    {
        if (writesRegister(instruction.op))
            visit(instruction.dst);
        if (instruction.op == Op::External) {
            for (Register &result : externals[instruction.c].results)
                visit(result);
        }
    }

private:
    void dropUnused();
    void fuseProducts();
    void findFolds();
    void dropMarked(const std::vector<bool> &isDropped);
};

/// Takes instructions out and leads every jump to what its target has become.
void eraseInstructions(std::vector<Instruction> &code, const std::vector<bool> &isDropped);

/// A lane of every output, structs field by field.
std::vector<Register> lanesOf(const std::vector<RegisterValue> &outputs);
/// The same outputs in other registers.
std::vector<RegisterValue> relocated(const std::vector<RegisterValue> &outputs,
                                     const std::vector<Register> &places);

} // namespace eval::internal
