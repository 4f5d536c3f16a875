// Abstract interpretation of the register code over intervals. The order of work (the way
// furthest behind first, ways at one instruction joined into their hull) visits code behind a
// branch once instead of once a way, so that n branches in a row cost n and not 2^n. What a
// comparison says about its operands narrows them on the way that it leads to.

#include <eval/internal/registers/IntervalMachine.h>

#include <eval/internal/interpreter/Interpreter.h>
#include <eval/internal/registers/IntervalMath.h>
#include <eval/internal/registers/LaneOps.h>

#include <algorithm>
#include <utility>

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

/// A fold of x in floats: the quotient, the multiple of the period and the difference each round
/// once, by no more than a share of x.
Interval narrowed(const Interval &difference, const Interval &x, const FoldRange &range)
{
    if (!interval::isBounded(x))
        return difference;
    const float size = interval::absolute(x).high + std::fabs(range.low) + std::fabs(range.high);
    const float slack = size * 0x1p-20f;
    return {std::max(difference.low, range.low - slack),
            std::min(difference.high, range.high + slack), difference.mayBeNan};
}

} // namespace

void IntervalMachine::begin(const LoweredProgram &program, std::span<const IntervalWord> inputs)
{
    for (Way &way : m_waiting)
        m_spares.push_back(std::move(way.registers));
    m_waiting.clear();
    for (Way &left : m_cases)
        m_spares.push_back(std::move(left.registers));
    m_cases.clear();
    m_caseCount = 1;
    m_steps = 0;
    m_mayFault = false;
    m_compared = ~0u;
    m_output = {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
                false};
    m_way.position = 0;
    if (m_program != &program) {
        m_program = &program;
        m_spares.clear();
        m_way.registers.assign(program.registerCount, IntervalWord());
        // Nothing writes them, and ways that become one have the same.
        for (size_t i = 0; i < program.constants.size(); ++i)
            m_way.registers[program.firstConstant + i] = IntervalWord::ofBits(program.constants[i]);
    }
    std::ranges::copy(inputs, m_way.registers.begin());
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
        if (!m_waiting.empty() && m_way.position >= m_waiting.back().position) {
            switchWays();
            m_compared = ~0u;
        }
        const Instruction &at = m_program->code[m_way.position];
        if (++m_steps > stepLimit)
            return false;
        switch (stepOn(at)) {
        case Step::Next:
            continue;
        case Step::GiveUp:
            return false;
        case Step::Over:
            if (!takeWaiting() && !takeCase())
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
    case Op::FloorF:
        computeFloor(at);
        break;
    case Op::Atan2F:
        computeAngle(at);
        break;
    default:
        m_compared = m_way.position;
        compute(at);
    }
    ++m_way.position;
    return Step::Next;
}

void IntervalMachine::compute(const Instruction &at)
{
    IntervalWord *const r = m_way.registers.data();
    const int count = operandCount(at.op);
    const bool isFold = (at.op == Op::SubF || at.op == Op::MulF) && at.c != noRegister;
    const Interval folded = isFold ? r[at.a].value : Interval();
    r[at.dst] = applyInterval(at, r[at.a], r[count > 1 ? at.b : at.a], r[count > 2 ? at.c : at.a]);
    if (isFold)
        r[at.dst].value = narrowed(r[at.dst].value, folded, m_program->folds[at.c]);
}

/// What the way that a comparison leads to knows of the two that were compared. One that is no
/// number compares with nothing.
void IntervalMachine::learn(std::vector<IntervalWord> &registers, bool isTrue) const
{
    if (m_compared + 1 != m_way.position)
        return;
    const Instruction &comparison = m_program->code[m_compared];
    if (comparison.op != Op::LtF && comparison.op != Op::LeF)
        return;
    Interval &smaller = registers[isTrue ? comparison.a : comparison.b].value;
    Interval &larger = registers[isTrue ? comparison.b : comparison.a].value;
    if (!isTrue && (smaller.mayBeNan || larger.mayBeNan))
        return;
    const float most = std::min(smaller.high, larger.high);
    const float least = std::max(smaller.low, larger.low);
    smaller = {smaller.low, most, false};
    larger = {least, larger.high, false};
}

IntervalMachine::Step IntervalMachine::branch(const Instruction &at)
{
    const IntervalWord condition = m_way.registers[at.a];
    const bool mayBeFalse = condition.least <= 0 && condition.most >= 0;
    const bool mayBeTrue = condition.least != 0 || condition.most != 0;
    const bool jumpsIf = at.op == Op::JumpIf;
    const bool mayJump = jumpsIf ? mayBeTrue : mayBeFalse;
    const bool mayStay = jumpsIf ? mayBeFalse : mayBeTrue;
    if (mayJump && mayStay) {
        Way other{.position = at.c, .registers = spareRegisters()};
        other.registers = m_way.registers;
        learn(other.registers, jumpsIf);
        learn(m_way.registers, !jumpsIf);
        park(std::move(other));
    }
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

/// Leaves a way to be taken up later.
void IntervalMachine::park(Way way)
{
    m_steps += m_program->registerCount / 4;
    const auto place =
        std::ranges::lower_bound(m_waiting, way.position, std::greater(), &Way::position);
    if (place == m_waiting.end() || place->position != way.position) {
        m_waiting.insert(place, std::move(way));
        return;
    }
    join(place->registers, way.registers);
    m_spares.push_back(std::move(way.registers));
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
    park(std::exchange(m_way, std::move(behind)));
}

/// Where several ways are open they would have to be run again for each case.
bool IntervalMachine::maySplit() const
{
    return !m_program->folds.empty() && m_waiting.empty() && m_caseCount < mostCases;
}

/// Goes on with the first of the two cases of a floor, and leaves the other for later.
void IntervalMachine::computeFloor(const Instruction &at)
{
    compute(at);
    const Interval whole = m_way.registers[at.dst].value;
    if (whole.mayBeNan || whole.high - whole.low != 1.0f || !maySplit())
        return;
    addCase(at.dst, Interval::of(whole.high, whole.high));
    m_way.registers[at.dst].value = Interval::of(whole.low, whole.low);
}

/// The same for an angle. A zero of either sign belongs to both cases.
void IntervalMachine::computeAngle(const Instruction &at)
{
    const Interval y = m_way.registers[at.a].value;
    const Interval x = m_way.registers[at.b].value;
    compute(at); // perhaps into one of the two
    if (!(x.high < 0.0f) || !interval::holdsZero(y) || x.mayBeNan || y.mayBeNan || !maySplit())
        return;
    constexpr float tiny = std::numeric_limits<float>::denorm_min();
    const auto angles = [&x](float low, float high) {
        return interval::arcTangent2(Interval::of(low, high), x);
    };
    addCase(at.dst, angles(std::min(y.low, -tiny), -tiny));
    m_way.registers[at.dst].value = angles(tiny, std::max(y.high, tiny));
}

void IntervalMachine::addCase(Register result, const Interval &value)
{
    Way other{.position = m_way.position + 1, .registers = spareRegisters()};
    other.registers = m_way.registers;
    other.registers[result] = IntervalWord::ofFloat(value);
    m_cases.push_back(std::move(other));
    ++m_caseCount;
    m_steps += m_program->registerCount / 4;
}

bool IntervalMachine::takeCase()
{
    if (m_cases.empty())
        return false;
    m_spares.push_back(std::move(m_way.registers));
    m_way = std::move(m_cases.back());
    m_cases.pop_back();
    m_compared = ~0u;
    return true;
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
