// One small loop for each operation and each mixture of operands that vary and operands that do
// not. Built without errno and traps in mind (see the build file), which changes no value and lets
// the loops become vector code.

#include <eval/internal/registers/RowPlan.h>

#include <eval/internal/registers/LaneOps.h>

#include <algorithm>
#include <array>

namespace eval::internal {

namespace {

/// An operand that is one word a point or one word for all.
template<bool varies>
class Source
{
public:
    Source(Register reg, const LaneContext &context)
        : m_words(varies ? context.lanes + reg : context.scalars + reg)
        , m_word(*m_words)
    {}
    quint32 operator[](int point) const { return varies ? m_words[point] : m_word; }

private:
    const quint32 *m_words;
    quint32 m_word;
};

template<Op op>
constexpr int operands = operandCount(op);
template<Op op>
constexpr bool hasNumber = op == Op::Mixed || op == Op::MixedChecked || op == Op::CheckIndex;

template<Op op, unsigned varying>
[[gnu::always_inline]] inline bool laneLoop(const LaneInstruction &at, const LaneContext &context)
{
    // Operands that the operation does not have read a word that is there in any case.
    const Source<(varying & 1) != 0> a(at.a, context);
    const Source<(varying & 2) != 0> b(operands<op> > 1 ? at.b : 0, context);
    const Source<(varying & 4) != 0> c(operands<op> > 2 ? at.c : 0, context);
    const quint32 number = at.c;
    // Copies: through the reference a compiler has to expect every result to change the bounds.
    const int first = context.first;
    const int end = context.end;
    if constexpr (isChecked(op)) {
        quint32 anyFault = 0;
        for (int i = first; i < end; ++i)
            anyFault |= faults(op, a[i], b[i], number) ? 1u : 0u;
        if (anyFault != 0) {
            for (int i = first; i < end; ++i)
                context.faulted[i] = faults(op, a[i], b[i], number) ? 1 : 0;
        }
        if constexpr (writesRegister(op)) {
            quint32 *const dst = context.lanes + at.dst;
#pragma GCC ivdep
            for (int i = first; i < end; ++i)
                dst[i] = applyLane(op, a[i], b[i], number);
        }
        return anyFault == 0;
    } else {
        quint32 *const dst = context.lanes + at.dst;
        // A result may take the place of an operand, point by point: no other overlap exists.
#pragma GCC ivdep
        for (int i = first; i < end; ++i)
            dst[i] = applyLane(op, a[i], b[i], hasNumber<op> ? number : c[i]);
        return true;
    }
}

template<Op op, unsigned varying>
bool runOnLanes(const LaneInstruction &at, const LaneContext &context)
{
    return laneLoop<op, varying>(at, context);
}

// The same loops for processors with wider registers. No value differs: products and sums are not
// contracted, and a fused operation is one that the language asks for.
#if defined(__x86_64__)
template<Op op, unsigned varying>
[[gnu::target("avx2,fma")]] bool runOnWideLanes(const LaneInstruction &at,
                                                const LaneContext &context)
{
    return laneLoop<op, varying>(at, context);
}

bool hasWideLanes()
{
    static const bool has = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
    return has;
}
#else
template<Op op, unsigned varying>
constexpr LaneKernel runOnWideLanes = &runOnLanes<op, varying>;

bool hasWideLanes()
{
    return false;
}
#endif

template<Op op>
bool runOnScalars(const LaneInstruction &at, const LaneContext &context)
{
    quint32 *const r = context.scalars;
    const quint32 a = r[at.a];
    const quint32 b = operands<op> > 1 ? r[at.b] : 0;
    const quint32 c = hasNumber<op> ? at.c : operands<op> > 2 ? r[at.c] : 0;
    if constexpr (isChecked(op)) {
        if (faults(op, a, b, c)) {
            std::fill(context.faulted + context.first, context.faulted + context.end, quint8(1));
            return false;
        }
    }
    if constexpr (writesRegister(op))
        r[at.dst] = applyLane(op, a, b, c);
    return true;
}

/// By which operands vary; plain first, then wide.
template<Op op, unsigned... varying>
constexpr auto kernelTable(std::integer_sequence<unsigned, varying...>)
{
    return std::array<LaneKernel, 2 * sizeof...(varying)>{&runOnLanes<op, varying>...,
                                                          runOnWideLanes<op, varying>...};
}

template<Op op>
LaneKernel pick(unsigned varying, bool toLanes)
{
    constexpr unsigned forms = 1u << operands<op>;
    static constexpr auto table = kernelTable<op>(std::make_integer_sequence<unsigned, forms>());
    return toLanes ? table[varying + (hasWideLanes() ? forms : 0)] : &runOnScalars<op>;
}

bool externalOnLanes(const LaneInstruction &at, const LaneContext &context)
{
    ExternalCall call = (*context.externals)[at.c];
    std::vector<quint32> words(call.arguments.size() + call.results.size());
    ExternalCall flat = call;
    for (size_t i = 0; i < words.size(); ++i)
        (i < call.arguments.size() ? flat.arguments[i] : flat.results[i - call.arguments.size()]) =
            static_cast<Register>(i);
    for (int point = context.first; point < context.end; ++point) {
        for (size_t i = 0; i < call.arguments.size(); ++i) {
            const Register reg = call.arguments[i];
            words[i] = (reg & RowPlan::laneFlag) != 0
                           ? context.lanes[(reg & ~RowPlan::laneFlag) + static_cast<quint32>(point)]
                           : context.scalars[reg];
        }
        runExternal(flat, words.data());
        for (size_t i = 0; i < call.results.size(); ++i) {
            if (call.results[i] != noRegister)
                context
                    .lanes[(call.results[i] & ~RowPlan::laneFlag) + static_cast<quint32>(point)] =
                    words[call.arguments.size() + i];
        }
    }
    return true;
}

bool externalOnScalars(const LaneInstruction &at, const LaneContext &context)
{
    runExternal((*context.externals)[at.c], context.scalars);
    return true;
}

} // namespace

LaneKernel findLaneKernel(Op op, unsigned varying, bool toLanes)
{
    switch (op) {
#define EVAL_CASE(name)                                                                            \
    case Op::name:                                                                                 \
        return pick<Op::name>(varying, toLanes);
        EVAL_UNARY_OPS(EVAL_CASE)
        EVAL_BINARY_OPS(EVAL_CASE)
        EVAL_TERNARY_OPS(EVAL_CASE)
        EVAL_IMMEDIATE_OPS(EVAL_CASE)
        EVAL_CHECKED_OPS(EVAL_CASE)
#undef EVAL_CASE
    case Op::Jump:
    case Op::JumpIf:
    case Op::JumpIfNot:
    case Op::LoopGuard:
    case Op::Join:
    case Op::External:
    case Op::Fault:
    case Op::End:
        break;
    }
    return nullptr;
}

LaneKernel findExternalKernel(bool toLanes)
{
    return toLanes ? &externalOnLanes : &externalOnScalars;
}

} // namespace eval::internal
