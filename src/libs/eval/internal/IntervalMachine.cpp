#include <eval/internal/IntervalMachine.h>

#include <eval/internal/Interpreter.h>
#include <eval/internal/IntervalMath.h>
#include <eval/internal/LaneOps.h>

#include <algorithm>

namespace eval::internal {

namespace {

void join(std::vector<IntervalWord> &held, const std::vector<IntervalWord> &other)
{
    for (size_t i = 0; i < held.size(); ++i) {
        held[i].value = interval::hull(held[i].value, other[i].value);
        held[i].least = std::min(held[i].least, other[i].least);
        held[i].most = std::max(held[i].most, other[i].most);
    }
}

} // namespace

void IntervalMachine::begin(const LoweredProgram &program, std::span<const IntervalWord> inputs)
{
    for (Way &way : m_waiting)
        m_spares.push_back(std::move(way.registers));
    m_waiting.clear();
    m_steps = 0;
    m_mayFault = false;
    m_output = {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                false};
    m_way.position = 0;
    if (m_program != &program) {
        m_program = &program;
        m_spares.clear();
        m_way.registers.assign(program.registerCount, IntervalWord());
    }
    std::ranges::copy(inputs, m_way.registers.begin());
    // A way that was merged into this one may have brought its constants, but they are the same.
    for (size_t i = 0; i < program.constants.size(); ++i)
        m_way.registers[program.firstConstant + i] = IntervalWord::ofBits(program.constants[i]);
}

IntervalResult IntervalMachine::run(const LoweredProgram &program,
                                    std::span<const IntervalWord> inputs, qsizetype output,
                                    const std::atomic_bool *cancelled)
{
    const RegisterValue &place = program.outputs[static_cast<size_t>(output)];
    if (place.type != Type::Float || (cancelled && cancelled->load(std::memory_order_relaxed)))
        return {.value = {}, .mayFault = true, .steps = 1};
    m_outputRegister = place.lanes[0];
    begin(program, inputs);
    if (!runWays())
        return {.value = {}, .mayFault = true, .steps = m_steps};
    return {.value = m_output, .mayFault = m_mayFault, .steps = m_steps};
}

/// False when it takes too long.
bool IntervalMachine::runWays()
{
    for (;;) {
        if (!m_waiting.empty() && m_way.position >= m_waiting.back().position)
            switchWays();
        const Instruction &at = m_program->code[m_way.position];
        if (++m_steps > stepLimit)
            return false;
        switch (stepOn(at)) {
        case Step::Next:
            continue;
        case Step::GiveUp:
            return false;
        case Step::Over:
            if (!takeWaiting())
                return true;
        }
    }
}

/// One instruction of the way that is furthest behind. Over: nothing goes on behind it.
IntervalMachine::Step IntervalMachine::stepOn(const Instruction &at)
{
    switch (at.op) {
    case Op::DivCheckedF:
    case Op::RemCheckedF:
    case Op::MixedChecked:
        return divide(at);
    case Op::CheckIndex:
        return checkIndex(at);
    case Op::Jump:
        m_way.position = at.c;
        return Step::Next;
    case Op::JumpIf:
    case Op::JumpIfNot:
        return branch(at);
    case Op::LoopGuard:
        return guardLoop(at);
    case Op::External:
        return runCall(m_program->externals[at.c]);
    case Op::Join:
        break;
    case Op::Fault:
        m_mayFault = true;
        return Step::Over;
    case Op::End:
        m_output = interval::hull(m_output, m_way.registers[m_outputRegister].value);
        return Step::Over;
    default:
        compute(at);
    }
    ++m_way.position;
    return Step::Next;
}

void IntervalMachine::compute(const Instruction &at)
{
    IntervalWord *const r = m_way.registers.data();
    const int count = operandCount(at.op);
    r[at.dst] = applyInterval(at, r[at.a], r[count > 1 ? at.b : at.a], r[count > 2 ? at.c : at.a]);
}

IntervalMachine::Step IntervalMachine::branch(const Instruction &at)
{
    const IntervalWord &condition = m_way.registers[at.a];
    const bool mayBeFalse = condition.least <= 0 && condition.most >= 0;
    const bool mayBeTrue = condition.least != 0 || condition.most != 0;
    const bool mayJump = at.op == Op::JumpIf ? mayBeTrue : mayBeFalse;
    const bool mayStay = at.op == Op::JumpIf ? mayBeFalse : mayBeTrue;
    if (mayJump && mayStay)
        park(at.c);
    m_way.position = mayStay ? m_way.position + 1 : at.c;
    return Step::Next;
}

IntervalMachine::Step IntervalMachine::guardLoop(const Instruction &at)
{
    const IntervalWord rounds = m_way.registers[at.a];
    if (rounds.least < 0 || rounds.most >= Interpreter::loopRoundLimit)
        return Step::GiveUp;
    m_way.registers[at.dst] = IntervalWord::ofInteger(rounds.least + 1, rounds.most + 1);
    ++m_way.position;
    return Step::Next;
}

IntervalMachine::Step IntervalMachine::divide(const Instruction &at)
{
    const IntervalWord divisor = m_way.registers[at.b];
    if (at.op == Op::MixedChecked) {
        m_mayFault = m_mayFault || !divisor.areBitsKnown() || divisor.least == 0;
    } else if (divisor.value.low <= 0.0f && divisor.value.high >= 0.0f) {
        m_mayFault = true;
        if (divisor.value.low == divisor.value.high && !divisor.value.mayBeNan)
            return Step::Over;
    }
    compute(at);
    ++m_way.position;
    return Step::Next;
}

IntervalMachine::Step IntervalMachine::checkIndex(const Instruction &at)
{
    const IntervalWord &index = m_way.registers[at.a];
    const auto limit = static_cast<qint64>(at.c);
    m_mayFault = m_mayFault || index.least < 0 || index.most >= limit;
    if (index.most < 0 || index.least >= limit)
        return Step::Over;
    ++m_way.position;
    return Step::Next;
}

IntervalMachine::Step IntervalMachine::runCall(const ExternalCall &call)
{
    IntervalWord *const r = m_way.registers.data();
    const bool isKnown = std::ranges::all_of(
        call.arguments, [r](Register argument) { return r[argument].areBitsKnown(); });
    if (isKnown) {
        m_callRegisters.resize(m_program->registerCount);
        for (const Register argument : call.arguments)
            m_callRegisters[argument] = r[argument].bits();
        runExternal(call, m_callRegisters.data());
    }
    for (const Register result : call.results) {
        if (result != noRegister)
            r[result] = isKnown ? IntervalWord::ofBits(m_callRegisters[result]) : IntervalWord();
    }
    ++m_way.position;
    return Step::Next;
}

// ------------------------------------------------------------------ several ways

std::vector<IntervalWord> IntervalMachine::spareRegisters()
{
    if (m_spares.empty())
        return {};
    std::vector<IntervalWord> registers = std::move(m_spares.back());
    m_spares.pop_back();
    return registers;
}

/// Leaves a copy of the current way to be taken up at `position`.
void IntervalMachine::park(quint32 position)
{
    m_steps += m_program->registerCount / 4;
    const auto place =
        std::ranges::lower_bound(m_waiting, position, std::greater(), &Way::position);
    if (place != m_waiting.end() && place->position == position) {
        join(place->registers, m_way.registers);
        return;
    }
    Way way{.position = position, .registers = spareRegisters()};
    way.registers = m_way.registers;
    m_waiting.insert(place, std::move(way));
}

/// Another way stands here or further behind.
void IntervalMachine::switchWays()
{
    if (m_waiting.back().position == m_way.position) {
        join(m_way.registers, m_waiting.back().registers);
        m_spares.push_back(std::move(m_waiting.back().registers));
        m_waiting.pop_back();
        m_steps += m_program->registerCount / 4;
        return;
    }
    Way behind = std::move(m_waiting.back());
    m_waiting.pop_back();
    park(m_way.position);
    m_spares.push_back(std::move(m_way.registers));
    m_way = std::move(behind);
}

bool IntervalMachine::takeWaiting()
{
    if (m_waiting.empty())
        return false;
    m_spares.push_back(std::move(m_way.registers));
    m_way = std::move(m_waiting.back());
    m_waiting.pop_back();
    return true;
}

} // namespace eval::internal
