#include <eval/internal/registers/LoweredProgram.h>

#include <eval/internal/registers/RowPlan.h>

namespace eval::internal {

LoweredProgram::LoweredProgram() = default;
LoweredProgram::~LoweredProgram() = default;

const LoweredProgram::PointPlans *LoweredProgram::pointPlansOf(qsizetype inputIndex) const
{
    for (const PointPlans &plans : pointPlans) {
        if (plans.inputIndex == inputIndex)
            return &plans;
    }
    return nullptr;
}

} // namespace eval::internal
