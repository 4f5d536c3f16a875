#pragma once

#include <eval/internal/registers/LaneOps.h>
#include <eval/internal/registers/LoweredProgram.h>

#include <QHash>

#include <span>
#include <utility>
#include <vector>

namespace eval::internal {

/// Register code while it is made: any number of virtual registers, jumps to labels.
///
/// A register is written by one instruction, with two exceptions: those that move() writes, where
/// several ways of control bring a value each, and loop counters. Pure operations on constants are
/// computed here, and an operation that was already made on every way that leads here is not made
/// again.
class CodeBuilder
{
public:
    using Label = quint32;
    using Moves = std::vector<std::pair<Register, Register>>; ///< destination, source

    CodeBuilder();

    Register newRegister();
    Register constant(quint32 bits);
    Register constant(float value) { return constant(lane::bits(value)); }
    bool isConstant(Register reg) const { return m_info[reg].isConstant; }
    quint32 constantBits(Register reg) const { return m_info[reg].bits; }

    /// A pure operation.
    Register compute(Op op, Register a, Register b = noRegister, Register c = noRegister);
    Register computeMixed(MixedCode code, Register a, Register b);
    /// DivCheckedF or RemCheckedF.
    Register computeChecked(Op op, Register a, Register b);
    Register computeMixedChecked(MixedCode code, Register a, Register b);
    void checkIndex(Register index, quint32 limit);
    void fault();
    /// Fills in the results of the call; `laneCount` of them.
    std::vector<Register> callExternal(ExternalCall call, int laneCount);

    /// All at once: a source that is another move's destination is read before it is written.
    void move(const Moves &moves);
    Label newLabel();
    void bind(Label label);
    void jump(Label label);
    void jumpIfNot(Register condition, Label label);
    void jumpIf(Register condition, Label label);
    void loopGuard(Register counter, Label exit);
    void end();

    /// Values computed within a scope are not taken for known after it: it may have been jumped
    /// over.
    void openScope();
    void closeScope();

    /// A place to fall back to when what was made since turns out not to be wanted.
    struct Mark
    {
        size_t size = 0;
        size_t externals = 0;
        quint32 hazards = 0;
    };
    Mark mark() const { return {m_code.size(), m_externals.size(), m_hazards}; }
    /// Whether anything since the mark could fault or move control.
    bool isHarmlessSince(const Mark &mark) const { return m_hazards == mark.hazards; }
    void fallBack(const Mark &mark);

    size_t size() const { return m_code.size(); }
    quint32 registerCount() const { return static_cast<quint32>(m_info.size()); }
    const std::vector<Instruction> &code() const { return m_code; }
    std::vector<ExternalCall> &externals() { return m_externals; }
    /// By label: the number of the instruction that it stands before.
    const std::vector<quint32> &labels() const { return m_labels; }

private:
    struct RegisterInfo
    {
        bool isConstant = false;
        quint32 bits = 0;
        quint32 lastWrite = 0; ///< number of the instruction
    };
    struct KnownValue
    {
        Instruction instruction;
        quint32 position = 0;
        quint32 scope = 0;
    };

    Register simplified(Op op, Register a, Register b) const;
    Register append(Op op, Register a, Register b, Register c);
    KnownValue &slotFor(Op op, Register a, Register b, Register c);
    bool isStillKnown(const KnownValue &known, Op op, Register a, Register b, Register c) const;
    void appendControl(Instruction instruction);
    void setConstant(Register reg, quint32 bits);

    std::vector<Instruction> m_code;
    std::vector<ExternalCall> m_externals;
    std::vector<RegisterInfo> m_info;
    std::vector<quint32> m_labels;
    QHash<quint32, Register> m_constants;
    std::vector<KnownValue> m_known; ///< by hash; a newer value takes the place of an older one
    std::vector<quint32> m_openScopes;
    std::vector<bool> m_isScopeOpen;
    quint32 m_hazards = 0;
};

} // namespace eval::internal
