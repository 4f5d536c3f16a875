#include <eval/internal/RowMachine.h>
namespace eval::internal {
RunResult RowMachine::run(const LoweredProgram &, const RowPlan &, std::span<const quint32>,
                          std::span<const float>, qsizetype, std::span<float>, float,
                          const std::atomic_bool *, qsizetype &)
{
    return RunResult::Faulted;
}
} // namespace eval::internal
