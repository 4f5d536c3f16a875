#pragma once

#include <eval/internal/LoweredProgram.h>

#include <vector>

namespace eval::internal {

struct LaneInstruction;

/// Where an operation of a row plan runs, and on how many points at a time.
struct LaneContext
{
    quint32 *lanes = nullptr;   ///< registers of blockSize words, one a point
    quint32 *scalars = nullptr; ///< registers that are the same for all points
    quint8 *faulted = nullptr;  ///< one flag a point
    const std::vector<ExternalCall> *externals = nullptr;
    int first = 0; ///< points of the block
    int end = 0;
};

/// Runs one operation for the points of the context. False when some of them have a fault; those
/// are flagged.
using LaneKernel = bool (*)(const LaneInstruction &instruction, const LaneContext &context);

/// An operation of a row plan. Registers are offsets into the lanes or numbers of scalars, as the
/// kernel knows.
struct LaneInstruction
{
    LaneKernel kernel = nullptr; ///< null for what moves control
    Op op = Op::End;
    bool variesOnA = false; ///< of a conditional jump: whether the points may part ways
    Register dst = noRegister;
    Register a = noRegister;
    Register b = noRegister;
    Register c = noRegister;
};

/// The register code of a program arranged for rows of points that differ in one input lane.
///
/// Values that do not depend on that lane are scalars; those that need no branch to be computed are
/// computed once a row by `prologue`, the rest where they stand. Everything else has one word a
/// point.
class RowPlan
{
public:
    static constexpr int blockSize = 128;

    std::vector<Instruction> prologue; ///< on the scalars; ends in End
    std::vector<LaneInstruction> code;
    std::vector<ExternalCall> externals;       ///< of the prologue, on scalars
    std::vector<ExternalCall> scalarExternals; ///< of the code, on scalars
    std::vector<ExternalCall> laneExternals;   ///< of the code, registers as offsets into the lanes
    quint32 scalarCount = 0;
    quint32 laneRegisterCount = 0;
    quint32 inputCount = 0; ///< the scalars begin with the inputs of the program
    Register firstConstant = 0;
    std::vector<quint32> constants;
    Register varyingInput = noRegister; ///< lane register of the coordinates

    struct OutputPlace
    {
        bool varies = false;
        Register place = noRegister;
        Type type = Type::Float;
    };
    std::vector<OutputPlace> outputs; ///< the first lane of each output
};

} // namespace eval::internal
