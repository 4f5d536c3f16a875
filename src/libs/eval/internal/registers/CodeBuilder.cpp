// Local optimisation while code is made, so that no later pass has to look at what was never
// needed: constants fold, x * 1 and the like go away, and an operation that was already made is
// not made again. The last is value numbering over a small direct-mapped table, where a newer
// entry takes the place of an older one: a miss costs an instruction, never a wrong result. An
// entry holds as long as its scope is open (control cannot have gone round it) and none of its
// operands was written since.
//
// Only what keeps every bit is done: x + 0 stays, because -0 + 0 is +0, and a division becomes a
// product for powers of two alone.

#include <eval/internal/registers/CodeBuilder.h>

#include <algorithm>
#include <bit>
#include <optional>

namespace eval::internal {

namespace {

constexpr size_t knownValueCount = 4096;

bool sameOperands(const Instruction &instruction, Op op, Register a, Register b, Register c)
{
    return instruction.op == op && instruction.a == a && instruction.b == b && instruction.c == c;
}

/// The reciprocal when a division by the number is exactly a multiplication: powers of two, nothing
/// subnormal.
std::optional<float> exactReciprocal(quint32 bits)
{
    const quint32 exponent = (bits >> 23) & 0xffu;
    if ((bits & 0x7fffffu) != 0 || exponent < 2 || exponent > 252)
        return std::nullopt;
    return 1.0f / lane::f(bits);
}

} // namespace

CodeBuilder::CodeBuilder()
    : m_known(knownValueCount)
    , m_openScopes{0}
    , m_isScopeOpen{true}
{}

Register CodeBuilder::newRegister()
{
    m_info.push_back({false, 0, static_cast<quint32>(m_code.size())});
    return static_cast<Register>(m_info.size() - 1);
}

Register CodeBuilder::constant(quint32 bits)
{
    const auto it = m_constants.constFind(bits);
    if (it != m_constants.constEnd())
        return *it;
    const Register reg = newRegister();
    m_info[reg] = {true, bits, 0};
    m_constants.insert(bits, reg);
    return reg;
}

Register CodeBuilder::simplified(Op op, Register a, Register b) const
{
    if (b == noRegister || !isConstant(b))
        return noRegister;
    const quint32 one = lane::bits(1.0f);
    switch (op) {
    // Only what holds for every bit pattern: x + 0 is not x when x is -0.
    case Op::MulF:
    case Op::DivF:
        return constantBits(b) == one ? a : noRegister;
    case Op::SubF:
        return constantBits(b) == 0 ? a : noRegister;
    case Op::AddF:
        return constantBits(b) == 0x80000000u ? a : noRegister;
    default:
        return noRegister;
    }
}

Register CodeBuilder::compute(Op op, Register a, Register b, Register c)
{
    const auto known = [this](Register reg) { return reg == noRegister || isConstant(reg); };
    const auto bitsOf = [this](Register reg) { return reg == noRegister ? 0u : constantBits(reg); };
    if (known(a) && known(b) && known(c))
        return constant(applyLane(op, bitsOf(a), bitsOf(b), bitsOf(c)));
    if (op == Op::Select && (b == c || isConstant(a)))
        return constantBits(a) != 0 || b == c ? b : c;
    // Products and sums do not mind their order, and the constant is expected on the right.
    if ((op == Op::MulF || op == Op::AddF) && isConstant(a))
        std::swap(a, b);
    const Register same = simplified(op, a, b);
    if (same != noRegister)
        return same;
    if (op == Op::DivF && isConstant(b)) {
        if (const auto reciprocal = exactReciprocal(constantBits(b)))
            return compute(Op::MulF, a, constant(*reciprocal));
    }
    return append(op, a, b, c);
}

Register CodeBuilder::append(Op op, Register a, Register b, Register c)
{
    KnownValue &known = slotFor(op, a, b, c);
    if (isStillKnown(known, op, a, b, c))
        return known.instruction.dst;
    const Register dst = newRegister();
    known = {{op, dst, a, b, c}, static_cast<quint32>(m_code.size()), m_openScopes.back()};
    m_code.push_back({op, dst, a, b, c});
    return dst;
}

CodeBuilder::KnownValue &CodeBuilder::slotFor(Op op, Register a, Register b, Register c)
{
    quint64 hash = static_cast<quint64>(op);
    for (const Register operand : {a, b, c})
        hash = (hash ^ operand) * 0x9e3779b97f4a7c15u;
    return m_known[(hash >> 40) % knownValueCount];
}

bool CodeBuilder::isStillKnown(const KnownValue &known, Op op, Register a, Register b,
                               Register c) const
{
    if (!sameOperands(known.instruction, op, a, b, c) || !m_isScopeOpen[known.scope])
        return false;
    const bool hasNumber = op == Op::Mixed || op == Op::MixedChecked;
    const auto isUnchanged = [&](Register reg) {
        return reg == noRegister || m_info[reg].lastWrite <= known.position;
    };
    return isUnchanged(a) && isUnchanged(b) && (hasNumber || isUnchanged(c));
}

Register CodeBuilder::computeMixed(MixedCode code, Register a, Register b)
{
    if (isConstant(a) && isConstant(b))
        return constant(lane::mixed(constantBits(a), constantBits(b), code.packed()));
    return append(Op::Mixed, a, b, code.packed());
}

Register CodeBuilder::computeChecked(Op op, Register a, Register b)
{
    if (!isConstant(b)) {
        ++m_hazards;
        return append(op, a, b, noRegister);
    }
    if (!faults(op, 0, constantBits(b), 0))
        return compute(op == Op::DivCheckedF ? Op::DivF : Op::RemF, a, b);
    fault();
    return constant(0u);
}

Register CodeBuilder::computeMixedChecked(MixedCode code, Register a, Register b)
{
    if (!isConstant(b)) {
        ++m_hazards;
        return append(Op::MixedChecked, a, b, code.packed());
    }
    if (!faults(Op::MixedChecked, 0, constantBits(b), code.packed()))
        return computeMixed(code, a, b);
    fault();
    return constant(0u);
}

void CodeBuilder::appendControl(Instruction instruction)
{
    ++m_hazards;
    m_code.push_back(instruction);
}

void CodeBuilder::checkIndex(Register index, quint32 limit)
{
    appendControl({Op::CheckIndex, noRegister, index, noRegister, limit});
}

void CodeBuilder::fault()
{
    appendControl({Op::Fault});
}

std::vector<Register> CodeBuilder::callExternal(ExternalCall call, int laneCount)
{
    for (int i = 0; i < laneCount; ++i)
        call.results.push_back(newRegister());
    std::vector<Register> results = call.results;
    m_code.push_back({Op::External, noRegister, noRegister, noRegister,
                      static_cast<Register>(m_externals.size())});
    m_externals.push_back(std::move(call));
    return results;
}

void CodeBuilder::move(const Moves &moves)
{
    Moves ordered = moves;
    std::erase_if(ordered, [](const auto &entry) { return entry.first == entry.second; });
    for (auto &[destination, source] : ordered) {
        const bool isOverwritten = std::ranges::any_of(
            ordered, [wanted = source](const auto &other) { return other.first == wanted; });
        if (isOverwritten) {
            const Register saved = newRegister();
            m_code.push_back({Op::Move, saved, source});
            source = saved;
        }
    }
    for (const auto &[destination, source] : ordered) {
        m_code.push_back({Op::Move, destination, source});
        m_info[destination].lastWrite = static_cast<quint32>(m_code.size());
    }
    if (!ordered.empty())
        ++m_hazards;
}

CodeBuilder::Label CodeBuilder::newLabel()
{
    m_labels.push_back(noRegister);
    return static_cast<Label>(m_labels.size() - 1);
}

void CodeBuilder::bind(Label label)
{
    m_labels[label] = static_cast<quint32>(m_code.size());
    appendControl({Op::Join});
}

void CodeBuilder::jump(Label label)
{
    appendControl({Op::Jump, noRegister, noRegister, noRegister, label});
}

void CodeBuilder::jumpIfNot(Register condition, Label label)
{
    appendControl({Op::JumpIfNot, noRegister, condition, noRegister, label});
}

void CodeBuilder::jumpIf(Register condition, Label label)
{
    appendControl({Op::JumpIf, noRegister, condition, noRegister, label});
}

void CodeBuilder::loopGuard(Register counter, Label exit)
{
    appendControl({Op::LoopGuard, counter, counter, noRegister, exit});
    m_info[counter].lastWrite = static_cast<quint32>(m_code.size());
}

void CodeBuilder::end()
{
    appendControl({Op::End});
}

void CodeBuilder::openScope()
{
    m_openScopes.push_back(static_cast<quint32>(m_isScopeOpen.size()));
    m_isScopeOpen.push_back(true);
}

void CodeBuilder::closeScope()
{
    m_isScopeOpen[m_openScopes.back()] = false;
    m_openScopes.pop_back();
}

void CodeBuilder::fallBack(const Mark &mark)
{
    m_code.resize(mark.size);
    m_externals.resize(mark.externals);
    m_hazards = mark.hazards;
    // Positions beyond the mark will be given out again.
    for (KnownValue &known : m_known) {
        if (known.position >= mark.size)
            known = {};
    }
}

} // namespace eval::internal
