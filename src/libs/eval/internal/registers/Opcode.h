#pragma once

#include <QtGlobal>

/// The instructions of the lowered form. Registers hold 32 bits: a float, an int, a uint, or a bool
/// as 0 or 1.
///
/// Instructions of the first three lists are pure: the result depends on the operands alone and
/// nothing can go wrong. Their meaning is in LaneOps.h.
// clang-format off
#define EVAL_UNARY_OPS(X)                                                                       \
    X(Move) X(NegF) X(AbsF) X(SqrtF) X(FloorF) X(CeilF) X(FractF) X(SignF) X(TruncF) X(RoundF)  \
    X(RoundEvenF) X(InverseSqrtF) X(RadiansF) X(DegreesF) X(SinF) X(CosF) X(TanF) X(AsinF)      \
    X(AcosF) X(AtanF) X(SinhF) X(CoshF) X(TanhF) X(AsinhF) X(AcoshF) X(AtanhF) X(ExpF) X(LogF)  \
    X(Exp2F) X(Log2F) X(IsNanF) X(IsInfF) X(NegI) X(AbsI) X(SignI) X(NotI) X(NotB) X(IntToF)    \
    X(UintToF) X(FToInt) X(FToBool) X(IntToBool)

#define EVAL_BINARY_OPS(X)                                                                      \
    X(AddF) X(SubF) X(MulF) X(DivF) X(RemF) X(RemOrZeroF) X(MinF) X(MaxF) X(StepF) X(Atan2F)    \
    X(PowF) X(Length2F) X(EqF) X(NeF) X(LtF) X(LeF) X(EqI) X(NeI) X(LtI) X(LeI) X(AddI) X(SubI) \
    X(MulI) X(MinI) X(MaxI) X(AndI) X(OrI) X(XorI) X(ShlI) X(ShrI)

#define EVAL_TERNARY_OPS(X)                                                                     \
    X(MulAddF) X(ClampF) X(MixF) X(SmoothstepF) X(FmaF) X(Length3F) X(Select)

/// Two operands and a number in the place of the third.
#define EVAL_IMMEDIATE_OPS(X)                                                                   \
    X(Mixed)

/// A fault of these ends the evaluation in the lowered form; the walk over the tree then says what
/// it was.
#define EVAL_CHECKED_OPS(X)                                                                     \
    X(DivCheckedF) X(RemCheckedF) X(MixedChecked) X(CheckIndex)

#define EVAL_CONTROL_OPS(X)                                                                     \
    X(Jump) X(JumpIf) X(JumpIfNot) X(LoopGuard) X(Join) X(External) X(Fault) X(End)
// clang-format on

namespace eval::internal {

enum class Op : quint16 {
#define EVAL_NAME(name) name,
    EVAL_UNARY_OPS(EVAL_NAME) EVAL_BINARY_OPS(EVAL_NAME) EVAL_TERNARY_OPS(EVAL_NAME)
        EVAL_IMMEDIATE_OPS(EVAL_NAME) EVAL_CHECKED_OPS(EVAL_NAME) EVAL_CONTROL_OPS(EVAL_NAME)
#undef EVAL_NAME
};

/// A place in a register file; in an instruction also a label, a limit or an index, as the
/// operation says.
using Register = quint32;
inline constexpr Register noRegister = ~0u;

// clang-format off
/// | operation            | dst     | a         | b       | c                                     |
/// |----------------------|---------|-----------|---------|---------------------------------------|
/// | pure                 | result  | operand   | operand | operand                               |
/// | Mixed, MixedChecked  | result  | operand   | operand | a MixedCode                           |
/// | DivChecked, RemChecked | result | operand  | operand |                                       |
/// | CheckIndex           |         | the index |         | first number that is out of range     |
/// | Jump                 |         |           |         | target                                |
/// | JumpIf, JumpIfNot    |         | condition |         | target                                |
/// | LoopGuard            | counter | counter   |         | target once the rounds are used up    |
/// | Join                 |         |           |         | where ways of control join; does nothing |
/// | External             |         |           |         | index in the table of calls           |
///
/// Targets are label numbers while code is made and instruction numbers when it runs.
// clang-format on
struct Instruction
{
    Op op = Op::End;
    Register dst = noRegister;
    Register a = noRegister;
    Register b = noRegister;
    Register c = noRegister;
};

/// Register operands of an operation; what a call of External reads stands in its table.
constexpr int operandCount(Op op)
{
    if (op < Op::AddF)
        return 1;
    if (op < Op::MulAddF)
        return 2;
    if (op < Op::Mixed)
        return 3;
    switch (op) {
    case Op::Mixed:
    case Op::MixedChecked:
    case Op::DivCheckedF:
    case Op::RemCheckedF:
        return 2;
    case Op::CheckIndex:
    case Op::JumpIf:
    case Op::JumpIfNot:
    case Op::LoopGuard:
        return 1;
    default:
        return 0;
    }
}
constexpr bool isPure(Op op)
{
    return op < Op::DivCheckedF;
}
constexpr bool isChecked(Op op)
{
    return op >= Op::DivCheckedF && op < Op::Jump;
}
constexpr bool isJump(Op op)
{
    return op >= Op::Jump && op <= Op::LoopGuard;
}
constexpr bool writesRegister(Op op)
{
    return op <= Op::MixedChecked || op == Op::LoopGuard;
}

} // namespace eval::internal
