#include <eval/internal/LoweredProgram.h>

#include <eval/internal/BuiltinFunctions.h>
#include <eval/internal/Interpreter.h>
#include <eval/internal/LaneOps.h>

#include <array>

namespace eval::internal {

RunResult runCode(std::span<const Instruction> code, std::span<const ExternalCall> externals,
                  quint32 *registers, const std::atomic_bool *cancelled)
{
    quint32 *const r = registers;
    const Instruction *at = code.data();
    for (;; ++at) {
        switch (at->op) {
#define EVAL_UNARY(name)                                                                           \
    case Op::name:                                                                                 \
        r[at->dst] = applyLane(Op::name, r[at->a], 0, 0);                                          \
        continue;
#define EVAL_BINARY(name)                                                                          \
    case Op::name:                                                                                 \
        r[at->dst] = applyLane(Op::name, r[at->a], r[at->b], 0);                                   \
        continue;
#define EVAL_TERNARY(name)                                                                         \
    case Op::name:                                                                                 \
        r[at->dst] = applyLane(Op::name, r[at->a], r[at->b], r[at->c]);                            \
        continue;
            EVAL_UNARY_OPS(EVAL_UNARY)
            EVAL_BINARY_OPS(EVAL_BINARY)
            EVAL_TERNARY_OPS(EVAL_TERNARY)
#undef EVAL_UNARY
#undef EVAL_BINARY
#undef EVAL_TERNARY
        case Op::Mixed:
            r[at->dst] = applyLane(Op::Mixed, r[at->a], r[at->b], at->c);
            continue;
        case Op::DivCheckedF:
            if (faults(Op::DivCheckedF, 0, r[at->b], 0)) [[unlikely]]
                return RunResult::Faulted;
            r[at->dst] = applyLane(Op::DivCheckedF, r[at->a], r[at->b], 0);
            continue;
        case Op::RemCheckedF:
            if (faults(Op::RemCheckedF, 0, r[at->b], 0)) [[unlikely]]
                return RunResult::Faulted;
            r[at->dst] = applyLane(Op::RemCheckedF, r[at->a], r[at->b], 0);
            continue;
        case Op::MixedChecked:
            if (faults(Op::MixedChecked, 0, r[at->b], at->c)) [[unlikely]]
                return RunResult::Faulted;
            r[at->dst] = applyLane(Op::MixedChecked, r[at->a], r[at->b], at->c);
            continue;
        case Op::CheckIndex:
            if (faults(Op::CheckIndex, r[at->a], 0, at->c)) [[unlikely]]
                return RunResult::Faulted;
            continue;
        case Op::Jump:
            at = code.data() + at->c - 1;
            continue;
        case Op::JumpIf:
            if (r[at->a] != 0)
                at = code.data() + at->c - 1;
            continue;
        case Op::JumpIfNot:
            if (r[at->a] == 0)
                at = code.data() + at->c - 1;
            continue;
        case Op::LoopGuard:
            // Every round: nobody knows how long one takes.
            if (cancelled && cancelled->load(std::memory_order_relaxed)) [[unlikely]]
                return RunResult::Cancelled;
            if (r[at->a] >= static_cast<quint32>(Interpreter::loopRoundLimit)) [[unlikely]]
                at = code.data() + at->c - 1;
            else
                ++r[at->dst];
            continue;
        case Op::Join:
            continue;
        case Op::External:
            runExternal(externals[at->c], r);
            continue;
        case Op::Fault:
            return RunResult::Faulted;
        case Op::End:
            return RunResult::Finished;
        }
    }
}

void runExternal(const ExternalCall &call, quint32 *registers)
{
    std::array<Value, 4> arguments; // no built-in takes more
    size_t next = 0;
    for (size_t i = 0; i < call.argumentTypes.size(); ++i) {
        arguments[i].type = call.argumentTypes[i];
        for (int lane = 0; lane < laneCount(call.argumentTypes[i]); ++lane)
            arguments[i].cells[static_cast<size_t>(lane)] = registers[call.arguments[next++]];
    }
    const Value result =
        applyBuiltin(*call.function, {arguments.data(), call.argumentTypes.size()});
    for (size_t i = 0; i < call.results.size(); ++i) {
        if (call.results[i] != noRegister)
            registers[call.results[i]] = static_cast<quint32>(result.cells[i]);
    }
}

} // namespace eval::internal
