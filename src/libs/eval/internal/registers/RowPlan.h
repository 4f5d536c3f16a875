#pragma once

#include <eval/internal/registers/LoweredProgram.h>

#include <vector>

namespace eval::internal {

struct LaneInstruction;

/// Where an operation of a row plan runs, and on which points.
struct LaneContext
{
    quint32 *lanes = nullptr;   ///< registers of RowPlan::blockSize words, one a point
    quint32 *scalars = nullptr; ///< registers that are the same for all points
    quint8 *faulted = nullptr;  ///< one flag a point
    const std::vector<ExternalCall> *externals = nullptr;
    int first = 0; ///< points of the block: [first, end)
    int end = 0;
};

/// Runs one operation for the points of the context. False when some of them have a fault; those
/// are flagged.
using LaneKernel = bool (*)(const LaneInstruction &instruction, const LaneContext &context);

/// An operation of a row plan. A register is an offset into the lanes or the number of a scalar:
/// the kernel knows.
struct LaneInstruction
{
    LaneKernel kernel = nullptr; ///< null for what moves control
    Op op = Op::End;
    bool varies =
        false; ///< of a conditional jump: whether the condition differs from point to point
    Register dst = noRegister;
    Register a = noRegister;
    Register b = noRegister;
    Register c = noRegister;
};

/// The register code of a program arranged for many points, which differ in the first lane or in
/// all three of one vec3 input.
///
/// Values that do not depend on these lanes are scalars; those that no branch decides about are
/// computed once for all points by `prologue`, the others where they stand. Everything else has one
/// word a point.
class RowPlan
{
public:
    /// Points that are worked on together: enough to make the cost of an instruction small, few
    /// enough for the registers of a usual scene to stay in the first-level cache.
    static constexpr int blockSize = 128;
    /// In the registers of an external call on points: this one has a word a point.
    static constexpr Register laneFlag = 0x8000'0000u;

    std::vector<Instruction> prologue; ///< on the scalars; ends in End
    std::vector<LaneInstruction> code;
    std::vector<ExternalCall> prologueExternals;
    std::vector<ExternalCall> externals; ///< of the code
    std::vector<quint32> constants;
    quint32 inputCount =
        0; ///< the scalars begin with the inputs of the program, the constants come next
    quint32 scalarCount = 0;
    quint32 laneRegisterCount = 0;
    quint32 varyingLanes = 1; ///< the lane registers begin with the coordinates that differ

    /// The first lane of an output.
    struct OutputPlace
    {
        bool varies = false;
        Register place = noRegister;
        Type type = Type::Float;
    };
    std::vector<OutputPlace> outputs;
};

/// The kernel of a pure or checked operation.
/// @param varying  bit 0 for a, 1 for b, 2 for c: that operand has a word a point
/// @param toLanes  whether the result has; without it no operand may
LaneKernel findLaneKernel(Op op, unsigned varying, bool toLanes);
/// A call of a built-in, on points or on scalars.
LaneKernel findExternalKernel(bool toLanes);

} // namespace eval::internal
