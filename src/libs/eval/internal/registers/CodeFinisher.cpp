// From virtual registers to a program: unused code goes, products fuse with sums, the plans for
// rows and for scattered points are made while joins still mark where ways come together, and
// what is left gets its places in the register file. Inputs come first, then constants, so that
// both are filled by one copy.

#include <eval/internal/registers/CodeFinisher.h>

#include <eval/internal/registers/LinearCode.h>
#include <eval/internal/registers/RegisterAllocation.h>
#include <eval/internal/registers/RowPlan.h>

namespace eval::internal {

namespace {

// A graph with many point inputs is not sampled along rows of each of them.
constexpr size_t plannedInputLimit = 2;

void dropJoins(std::vector<Instruction> &code)
{
    std::vector<bool> isJoin(code.size());
    for (size_t i = 0; i < code.size(); ++i)
        isJoin[i] = code[i].op == Op::Join;
    eraseInstructions(code, isJoin);
}

/// Lays the register file out: inputs, the constants that are used, everything else.
void placeRegisters(LinearCode &code, LoweredProgram &program, quint32 inputCount,
                    std::vector<Register> &places)
{
    std::vector<bool> isUsed(code.registerCount(), false);
    for (Instruction &instruction : code.code)
        code.forEachRead(instruction, [&](Register reg) { isUsed[reg] = true; });
    for (const Register lane : code.outputLanes)
        isUsed[lane] = true;
    program.firstConstant = inputCount;
    for (Register reg = 0; reg < code.registerCount(); ++reg) {
        if (isUsed[reg] && code.origins[reg] == LinearCode::Origin::Constant) {
            places[reg] = program.firstConstant + static_cast<Register>(program.constants.size());
            program.constants.push_back(code.bits[reg]);
        }
    }
    const auto firstFree = program.firstConstant + static_cast<Register>(program.constants.size());
    program.registerCount = allocateRegisters(
        code, [&](Register reg) { return code.isComputed(reg); }, code.outputLanes, firstFree,
        places);
}

} // namespace

QSharedPointer<const LoweredProgram> finishCode(const CompiledProgram &program,
                                                CodeBuilder &builder,
                                                const std::vector<Register> &inputs,
                                                std::vector<RegisterValue> outputs)
{
    auto lowered = QSharedPointer<LoweredProgram>::create();
    std::vector<int> widths;
    std::vector<Register> places(builder.registerCount(), noRegister);
    quint32 inputCount = 0;
    for (size_t i = 0; i < inputs.size(); ++i) {
        widths.push_back(laneCount(program.inputs[static_cast<qsizetype>(i)].type));
        lowered->inputs.push_back(inputs[i] == noRegister ? noRegister : inputCount);
        for (int lane = 0; inputs[i] != noRegister && lane < widths.back(); ++lane)
            places[inputs[i] + static_cast<Register>(lane)] = inputCount++;
    }
    LinearCode code(builder, inputs, widths, outputs);
    for (size_t i = 0; i < inputs.size(); ++i) {
        const bool isPoint =
            program.inputs[static_cast<qsizetype>(i)].type == Type::Vec3 && inputs[i] != noRegister;
        if (!isPoint || lowered->pointPlans.size() >= plannedInputLimit)
            continue;
        lowered->pointPlans.push_back(
            {.inputIndex = static_cast<qsizetype>(i),
             .row = planRows(code, inputs[i], 1, outputs, places, inputCount),
             .scattered = planRows(code, inputs[i], 3, outputs, places, inputCount)});
    }
    dropJoins(code.code);
    placeRegisters(code, *lowered, inputCount, places);
    for (Instruction &instruction : code.code) {
        // Operands first: of a loop counter they are the same register.
        Instruction placed = instruction;
        LinearCode &registers = code;
        const auto place = [&](Register &reg) { reg = places[reg]; };
        registers.forEachRead(placed, place);
        registers.forEachWrite(placed, place);
        instruction = placed;
    }
    lowered->code = std::move(code.code);
    lowered->externals = std::move(code.externals);
    lowered->folds = std::move(code.folds);
    lowered->outputs = relocated(outputs, places);
    return lowered;
}

} // namespace eval::internal
