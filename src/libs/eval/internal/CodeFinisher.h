#pragma once

#include <eval/internal/CodeBuilder.h>
#include <eval/internal/CompiledProgram.h>
#include <eval/internal/LoweredProgram.h>

#include <memory>

namespace eval::internal {

class LinearCode;
class RowPlan;

/// Makes the program that runs out of code over virtual registers: for single points, and for rows
/// along the x axis of those inputs that are points.
QSharedPointer<const LoweredProgram> finishCode(const CompiledProgram &program,
                                                CodeBuilder &builder,
                                                const std::vector<Register> &inputs,
                                                std::vector<RegisterValue> outputs);

/// Arranges code for rows in which `varying` is the one input lane that differs from point to
/// point. `outputs` are in the registers of `code`, `inputPlaces` and `inputCount` those of the
/// program.
std::unique_ptr<RowPlan> planRows(LinearCode code, Register varying,
                                  const std::vector<RegisterValue> &outputs,
                                  const std::vector<Register> &inputPlaces, quint32 inputCount);

} // namespace eval::internal
