#pragma once

#include <eval/internal/CompiledProgram.h>
#include <eval/internal/registers/CodeBuilder.h>
#include <eval/internal/registers/LoweredProgram.h>

#include <memory>

namespace eval::internal {

class LinearCode;
class RowPlan;

/// Makes the program that runs out of code over virtual registers: for one point at a time, and for
/// many, along the x axis or scattered, of those inputs that are points.
QSharedPointer<const LoweredProgram> finishCode(const CompiledProgram &program,
                                                CodeBuilder &builder,
                                                const std::vector<Register> &inputs,
                                                std::vector<RegisterValue> outputs);

/// Arranges code for points that differ in the `varyingLanes` input lanes from `varying` on.
/// `outputs` are in the registers of `code`, `inputPlaces` and `inputCount` those of the program.
std::unique_ptr<RowPlan> planRows(LinearCode code, Register varying, int varyingLanes,
                                  const std::vector<RegisterValue> &outputs,
                                  const std::vector<Register> &inputPlaces, quint32 inputCount);

} // namespace eval::internal
