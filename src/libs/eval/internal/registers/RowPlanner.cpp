// Divergence analysis: which values differ from point to point, and where in the code points may
// be on different ways. Both grow together to a fixed point: a jump on a varying condition parts
// the ways up to where all of them have joined, and what is written there by more than one way
// varies. Everything that does not vary is a scalar, and is computed once for the row where no
// branch decides about it. The stretch between a jump and its target over-estimates the region
// (post-dominators would be exact), which costs speed in odd code and never a value.

#include <eval/internal/registers/CodeFinisher.h>

#include <eval/internal/registers/LinearCode.h>
#include <eval/internal/registers/RegisterAllocation.h>
#include <eval/internal/registers/RowPlan.h>

#include <algorithm>
#include <numeric>

namespace eval::internal {

namespace {

// Each loop around a value may take another pass over the code, and code may be large and loops
// many.
constexpr int passLimit = 32;

/// Finds out which registers differ from point to point, and lays the code out by it.
///
/// A register varies when something that it is computed from does. One that is written in several
/// places varies as well when one of those stands where points may have parted ways: from a jump on
/// a varying condition to the place where every way out of there has come together again.
class RowPlanner
{
public:
    RowPlanner(LinearCode code, Register varying, int varyingLanes)
        : m_code(std::move(code))
        , m_varyingInput(varying)
        , m_varyingLanes(static_cast<Register>(varyingLanes))
        , m_varies(m_code.registerCount(), false)
        , m_writes(m_code.registerCount(), 0)
        , m_isHoisted(m_code.registerCount(), false)
        , m_isParted(m_code.code.size() + 1, false)
        , m_nextTogether(m_code.code.size() + 1)
    {
        std::iota(m_nextTogether.begin(), m_nextTogether.end(), 0u);
        for (Register lane = 0; lane < m_varyingLanes; ++lane)
            m_varies[varying + lane] = true;
        for (Instruction &instruction : m_code.code)
            m_code.forEachWrite(instruction, [this](Register reg) { ++m_writes[reg]; });
    }

    std::unique_ptr<RowPlan> plan(const std::vector<RegisterValue> &outputs,
                                  const std::vector<Register> &inputPlaces, quint32 inputCount)
    {
        findVarying();
        auto plan = std::make_unique<RowPlan>();
        plan->inputCount = inputCount;
        m_scalarPlaces = inputPlaces;
        m_scalarPlaces.resize(m_code.registerCount(), noRegister);
        const std::vector<bool> isHoisted = chooseHoisted();
        placeScalars(*plan, outputs);
        moveToPrologue(*plan, isHoisted);
        placeLanes(*plan, outputs);
        writeCode(*plan);
        return plan;
    }

private:
    void findVarying();
    bool spreadThrough(quint32 index);
    void part(quint32 from, quint32 to);
    std::vector<bool> chooseHoisted();
    bool canHoist(quint32 index, bool beforeAnyJump);
    void placeScalars(RowPlan &plan, const std::vector<RegisterValue> &outputs);
    void moveToPrologue(RowPlan &plan, const std::vector<bool> &isHoisted);
    void placeLanes(RowPlan &plan, const std::vector<RegisterValue> &outputs);
    void writeCode(RowPlan &plan);
    LaneInstruction laneInstruction(RowPlan &plan, const Instruction &source);
    LaneInstruction externalInstruction(RowPlan &plan, const Instruction &source);
    Register placeOf(Register reg) const
    {
        return m_varies[reg] ? m_lanePlaces[reg] * RowPlan::blockSize : m_scalarPlaces[reg];
    }

    bool isVaryingInput(Register reg) const
    {
        return reg >= m_varyingInput && reg - m_varyingInput < m_varyingLanes;
    }

    LinearCode m_code;
    Register m_varyingInput;
    Register m_varyingLanes;
    std::vector<bool> m_varies;
    std::vector<quint32> m_writes;
    std::vector<bool> m_isHoisted;       ///< by register: known before the row begins
    std::vector<bool> m_isParted;        ///< by instruction: points may be on different ways
    std::vector<quint32> m_nextTogether; ///< chains to the next instruction that is not parted
    std::vector<Register> m_scalarPlaces;
    std::vector<Register> m_lanePlaces;
};

void RowPlanner::part(quint32 from, quint32 to)
{
    const auto nextTogether = [this](quint32 at) {
        while (m_nextTogether[at] != at)
            at = m_nextTogether[at] = m_nextTogether[m_nextTogether[at]];
        return at;
    };
    std::vector<std::pair<quint32, quint32>> open = {{from, to}};
    while (!open.empty()) {
        const auto [first, last] = open.back();
        open.pop_back();
        for (quint32 at = nextTogether(first); at < last; at = nextTogether(at)) {
            m_isParted[at] = true;
            m_nextTogether[at] = at + 1;
            if (!isJump(m_code.code[at].op))
                continue;
            // Whoever leaves from here is met at the target; whoever goes back runs the loop once
            // more.
            const quint32 target = m_code.code[at].c;
            open.emplace_back(std::min(at, target), std::max(at, target));
        }
    }
}

bool RowPlanner::spreadThrough(quint32 index)
{
    Instruction &instruction = m_code.code[index];
    bool readsVarying = false;
    m_code.forEachRead(instruction, [&](Register reg) { readsVarying |= m_varies[reg]; });
    bool changed = false;
    m_code.forEachWrite(instruction, [&](Register reg) {
        const bool varies = readsVarying || (m_isParted[index] && m_writes[reg] > 1);
        if (varies && !m_varies[reg]) {
            m_varies[reg] = true;
            changed = true;
        }
    });
    const bool mayPart = readsVarying && isJump(instruction.op);
    if (mayPart && !m_isParted[index]) {
        part(std::min(index, instruction.c), std::max(index, instruction.c));
        // A jump to the next instruction parts nobody but must not be looked at again and again.
        m_isParted[index] = true;
        changed = true;
    }
    return changed;
}

void RowPlanner::findVarying()
{
    for (int pass = 0; pass < passLimit; ++pass) {
        bool changed = false;
        for (quint32 i = 0; i < m_code.code.size(); ++i)
            changed |= spreadThrough(i);
        if (!changed)
            return;
    }
    // To take everything for varying is always right.
    for (Register reg = 0; reg < m_code.registerCount(); ++reg)
        m_varies[reg] = m_varies[reg] || m_code.isComputed(reg);
}

bool RowPlanner::canHoist(quint32 index, bool beforeAnyJump)
{
    Instruction &instruction = m_code.code[index];
    const bool hasResult = isPure(instruction.op) || instruction.op == Op::External;
    if (!hasResult && !(isChecked(instruction.op) && beforeAnyJump))
        return false;
    bool possible = true;
    m_code.forEachWrite(instruction, [&](Register reg) {
        possible = possible && !m_varies[reg] && m_writes[reg] == 1;
    });
    m_code.forEachRead(instruction, [&](Register reg) {
        possible = possible && !m_varies[reg] && (!m_code.isComputed(reg) || m_isHoisted[reg]);
    });
    return possible;
}

std::vector<bool> RowPlanner::chooseHoisted()
{
    std::vector<bool> hoisted(m_code.code.size(), false);
    bool beforeAnyJump = true;
    for (quint32 i = 0; i < m_code.code.size(); ++i) {
        beforeAnyJump = beforeAnyJump && !isJump(m_code.code[i].op);
        hoisted[i] = canHoist(i, beforeAnyJump);
        if (hoisted[i])
            m_code.forEachWrite(m_code.code[i], [&](Register reg) { m_isHoisted[reg] = true; });
    }
    return hoisted;
}

void RowPlanner::placeScalars(RowPlan &plan, const std::vector<RegisterValue> &outputs)
{
    std::vector<bool> isUsed(m_code.registerCount(), false);
    for (Instruction &instruction : m_code.code) {
        m_code.forEachRead(instruction, [&](Register reg) { isUsed[reg] = true; });
        m_code.forEachWrite(instruction, [&](Register reg) { isUsed[reg] = true; });
    }
    for (const Register lane : lanesOf(outputs))
        isUsed[lane] = true;
    Register next = plan.inputCount;
    for (Register reg = 0; reg < m_code.registerCount(); ++reg) {
        if (isUsed[reg] && m_code.origins[reg] == LinearCode::Origin::Constant) {
            m_scalarPlaces[reg] = next++;
            plan.constants.push_back(m_code.bits[reg]);
        }
    }
    // No place is used twice: a scalar is computed for the whole row, whichever points need it.
    for (Register reg = 0; reg < m_code.registerCount(); ++reg) {
        if (isUsed[reg] && m_code.isComputed(reg) && !m_varies[reg])
            m_scalarPlaces[reg] = next++;
    }
    plan.scalarCount = std::max(next, 1u);
}

void RowPlanner::moveToPrologue(RowPlan &plan, const std::vector<bool> &isHoisted)
{
    const auto place = [this](Register &reg) { reg = m_scalarPlaces[reg]; };
    for (quint32 i = 0; i < m_code.code.size(); ++i) {
        if (!isHoisted[i])
            continue;
        Instruction instruction = m_code.code[i];
        if (instruction.op == Op::External) {
            ExternalCall call = m_code.externals[instruction.c];
            std::ranges::for_each(call.arguments, place);
            std::ranges::for_each(call.results, place);
            instruction.c = static_cast<Register>(plan.prologueExternals.size());
            plan.prologueExternals.push_back(std::move(call));
        } else {
            m_code.forEachRead(instruction, place);
            m_code.forEachWrite(instruction, place);
        }
        plan.prologue.push_back(instruction);
    }
    plan.prologue.push_back({Op::End});
    eraseInstructions(m_code.code, isHoisted);
}

void RowPlanner::placeLanes(RowPlan &plan, const std::vector<RegisterValue> &outputs)
{
    m_lanePlaces.assign(m_code.registerCount(), noRegister);
    plan.varyingLanes = m_varyingLanes;
    for (Register lane = 0; lane < m_varyingLanes; ++lane)
        m_lanePlaces[m_varyingInput + lane] = lane;
    plan.laneRegisterCount = allocateRegisters(
        m_code, [this](Register reg) { return m_varies[reg] && !isVaryingInput(reg); },
        lanesOf(outputs), m_varyingLanes, m_lanePlaces);
    for (const RegisterValue &output : outputs) {
        const std::vector<Register> lanes = lanesOf({output});
        // A struct has no value as a number.
        if (lanes.empty() || output.type == Type::Struct)
            plan.outputs.push_back({});
        else
            plan.outputs.push_back({m_varies[lanes[0]], placeOf(lanes[0]), output.type});
    }
}

LaneInstruction RowPlanner::externalInstruction(RowPlan &plan, const Instruction &source)
{
    ExternalCall call = m_code.externals[source.c];
    bool toLanes = false;
    const auto place = [&](Register &reg) {
        const bool varies = m_varies[reg];
        toLanes = toLanes || varies;
        reg = placeOf(reg) | (varies ? RowPlan::laneFlag : 0u);
    };
    std::ranges::for_each(call.arguments, place);
    std::ranges::for_each(call.results, place);
    LaneInstruction instruction;
    instruction.op = Op::External;
    instruction.kernel = findExternalKernel(toLanes);
    instruction.c = static_cast<Register>(plan.externals.size());
    plan.externals.push_back(std::move(call));
    return instruction;
}

LaneInstruction RowPlanner::laneInstruction(RowPlan &plan, const Instruction &source)
{
    if (source.op == Op::External)
        return externalInstruction(plan, source);
    LaneInstruction instruction;
    instruction.op = source.op;
    instruction.c = source.c;
    unsigned varying = 0;
    const int count = operandCount(source.op);
    const auto place = [&](Register from, Register &to, unsigned bit) {
        varying |= m_varies[from] ? bit : 0u;
        to = placeOf(from);
    };
    if (count > 0)
        place(source.a, instruction.a, 1);
    if (count > 1)
        place(source.b, instruction.b, 2);
    if (count > 2)
        place(source.c, instruction.c, 4);
    bool toLanes = varying != 0;
    if (writesRegister(source.op)) {
        instruction.dst = placeOf(source.dst);
        toLanes = m_varies[source.dst];
    }
    instruction.varies = varying != 0;
    if (isPure(source.op) || isChecked(source.op))
        instruction.kernel = findLaneKernel(source.op, varying, toLanes);
    return instruction;
}

void RowPlanner::writeCode(RowPlan &plan)
{
    plan.code.reserve(m_code.code.size());
    for (const Instruction &instruction : m_code.code)
        plan.code.push_back(laneInstruction(plan, instruction));
}

} // namespace

std::unique_ptr<RowPlan> planRows(LinearCode code, Register varying, int varyingLanes,
                                  const std::vector<RegisterValue> &outputs,
                                  const std::vector<Register> &inputPlaces, quint32 inputCount)
{
    return RowPlanner(std::move(code), varying, varyingLanes)
        .plan(outputs, inputPlaces, inputCount);
}

} // namespace eval::internal
