#include <eval/internal/LoweredProgram.h>

#include <eval/internal/RowPlan.h>

namespace eval::internal {

LoweredProgram::LoweredProgram() = default;
LoweredProgram::~LoweredProgram() = default;

const RowPlan *LoweredProgram::rowPlan(qsizetype inputIndex) const
{
    for (const auto &[input, plan] : rowPlans) {
        if (input == inputIndex)
            return plan.get();
    }
    return nullptr;
}

} // namespace eval::internal
