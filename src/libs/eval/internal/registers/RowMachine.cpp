// An instruction for 128 points at a time: the cost of fetching it is shared, and its loop is
// vector code. Where points part, each run of neighbours goes on by itself, the one furthest
// behind in the code first, so that at a join all who are to come have come and neighbours
// become one run again. Order of evaluation is therefore free, which is right because points
// share nothing they write.

#include <eval/internal/registers/RowMachine.h>

#include <eval/internal/interpreter/Interpreter.h>
#include <eval/internal/registers/LaneOps.h>
#include <eval/internal/registers/RowPlan.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace eval::internal {

namespace {

constexpr auto roundLimit = static_cast<quint32>(Interpreter::loopRoundLimit);

float asFloat(quint32 word, Type type)
{
    switch (scalarOf(type)) {
    case Type::Float:
        return std::bit_cast<float>(word);
    case Type::Int:
        return static_cast<float>(static_cast<qint32>(word));
    default: // unsigned and bool
        return static_cast<float>(word);
    }
}

} // namespace

void RowMachine::prepare(const RowPlan &plan)
{
    if (m_plan == &plan)
        return;
    m_plan = &plan;
    m_lanes.assign(size_t(plan.laneRegisterCount) * RowPlan::blockSize, 0);
    m_scalars.assign(plan.scalarCount, 0);
    m_faulted.assign(RowPlan::blockSize, 0);
    std::ranges::copy(plan.constants, m_scalars.begin() + plan.inputCount);
}

void RowMachine::fillLanes(const RowPlan &plan, const PointRun &points, size_t first, size_t count)
{
    const std::span<const float> coordinates[] = {points.xs, points.ys, points.zs};
    for (size_t lane = 0; lane < plan.varyingLanes; ++lane)
        std::memcpy(m_lanes.data() + lane * RowPlan::blockSize, coordinates[lane].data() + first,
                    count * sizeof(float));
}

RowMachine::Outcome RowMachine::run(const RowPlan &plan, const Request &request)
{
    prepare(plan);
    m_cancelFlag = request.cancelled;
    std::copy_n(request.inputs.begin(), plan.inputCount, m_scalars.begin());
    const auto total = static_cast<qsizetype>(request.points.count());
    const RunResult before =
        runCode(plan.prologue, plan.prologueExternals, m_scalars.data(), request.cancelled);
    if (before != RunResult::Finished) {
        std::ranges::fill(request.out, request.failed);
        return {before, 0};
    }
    Outcome outcome;
    // Blocks of even size: a last one of a single point would cost as much as a full one.
    const qsizetype blocks = (total + RowPlan::blockSize - 1) / RowPlan::blockSize;
    for (qsizetype block = 0; block < blocks; ++block) {
        const qsizetype first = block * total / blocks;
        const auto count = static_cast<int>((block + 1) * total / blocks - first);
        fillLanes(plan, request.points, static_cast<size_t>(first), static_cast<size_t>(count));
        if (!runBlock(plan, count)) {
            std::ranges::fill(request.out, request.failed);
            return {RunResult::Cancelled, -1};
        }
        const qsizetype fault = writeBlock(plan, request, first, count);
        if (fault >= 0 && outcome.firstFault < 0)
            outcome = {RunResult::Faulted, fault};
    }
    return outcome;
}

qsizetype RowMachine::writeBlock(const RowPlan &plan, const Request &request, qsizetype first,
                                 int count) const
{
    const RowPlan::OutputPlace &place = plan.outputs[static_cast<size_t>(request.output)];
    const bool anyFault = std::any_of(m_faulted.begin(), m_faulted.begin() + count,
                                      [](quint8 faulted) { return faulted != 0; });
    if (!anyFault && place.varies && place.type == Type::Float) {
        std::memcpy(request.out.data() + first, m_lanes.data() + place.place,
                    static_cast<size_t>(count) * sizeof(float));
        return -1;
    }
    qsizetype fault = -1;
    for (int i = 0; i < count; ++i) {
        float &out = request.out[static_cast<size_t>(first + i)];
        if (m_faulted[static_cast<size_t>(i)] != 0) {
            out = request.failed;
            fault = fault < 0 ? first + i : fault;
        } else if (place.place == noRegister) {
            out = 0.0f;
        } else {
            out = asFloat(place.varies ? m_lanes[place.place + static_cast<quint32>(i)]
                                       : m_scalars[place.place],
                          place.type);
        }
    }
    return fault;
}

bool RowMachine::runBlock(const RowPlan &plan, int count)
{
    std::fill_n(m_faulted.begin(), count, quint8(0));
    m_waiting.clear();
    m_cancelled = false;
    LaneContext context = {
        m_lanes.data(), m_scalars.data(), m_faulted.data(), &plan.externals, 0, 0};
    Group group = {0, 0, count};
    for (;;) {
        const LaneInstruction &at = plan.code[group.position];
        if (!at.kernel) {
            if (!control(at, group))
                return !m_cancelled;
            continue;
        }
        context.first = group.first;
        context.end = group.end;
        const bool isSound = at.kernel(at, context);
        ++group.position;
        if (!isSound) [[unlikely]] {
            parkUnfaulted(group);
            if (!nextGroup(group))
                return true;
        }
    }
}

/// Moves the group on, or hands over to another one. False when no point is left to go on with.
bool RowMachine::control(const LaneInstruction &at, Group &group)
{
    switch (at.op) {
    case Op::Jump:
        group.position = at.c;
        return true;
    case Op::JumpIf:
    case Op::JumpIfNot:
        return branch(at, group);
    case Op::LoopGuard:
        return guardLoop(at, group);
    case Op::Join:
        return join(group);
    case Op::Fault:
        std::fill(m_faulted.begin() + group.first, m_faulted.begin() + group.end, quint8(1));
        return nextGroup(group);
    default: // End: everything else has a kernel
        return nextGroup(group);
    }
}

bool RowMachine::join(Group &group)
{
    if (!m_waiting.empty()) {
        m_waiting.push_back(group);
        nextGroup(group);
        // Whoever is furthest behind may stand anywhere; at a join all that are to come have come.
        if (m_plan->code[group.position].op != Op::Join)
            return true;
    }
    ++group.position;
    return true;
}

/// Sends every point to `targetOf(point)`, neighbours with the same target together.
template<class Decision>
bool RowMachine::partBy(Group &group, const Decision &targetOf)
{
    const quint32 target = targetOf(group.first);
    int end = group.first + 1;
    while (end < group.end && targetOf(end) == target)
        ++end;
    if (end == group.end) {
        group.position = target;
        return true;
    }
    m_waiting.push_back({target, group.first, end});
    while (end < group.end) {
        Group run = {targetOf(end), end, end + 1};
        while (run.end < group.end && targetOf(run.end) == run.position)
            ++run.end;
        end = run.end;
        m_waiting.push_back(run);
    }
    return nextGroup(group);
}

bool RowMachine::branch(const LaneInstruction &at, Group &group)
{
    const bool jumpsIf = at.op == Op::JumpIf;
    const quint32 next = group.position + 1;
    if (!at.varies) {
        group.position = (m_scalars[at.a] != 0) == jumpsIf ? at.c : next;
        return true;
    }
    const quint32 *const conditions = m_lanes.data() + at.a;
    return partBy(group,
                  [&](int point) { return (conditions[point] != 0) == jumpsIf ? at.c : next; });
}

bool RowMachine::guardLoop(const LaneInstruction &at, Group &group)
{
    if (m_cancelFlag && m_cancelFlag->load(std::memory_order_relaxed)) {
        m_cancelled = true;
        return false;
    }
    const quint32 next = group.position + 1;
    if (!at.varies) {
        quint32 &rounds = m_scalars[at.a];
        group.position = rounds >= roundLimit ? at.c : next;
        rounds += rounds >= roundLimit ? 0 : 1;
        return true;
    }
    quint32 *const rounds = m_lanes.data() + at.a;
    // Counted one beyond the limit, so that the count tells afterwards who has used the rounds up.
    for (int point = group.first; point < group.end; ++point)
        ++rounds[point];
    return partBy(group, [&](int point) { return rounds[point] > roundLimit ? at.c : next; });
}

bool RowMachine::nextGroup(Group &group)
{
    if (m_waiting.empty())
        return false;
    std::ranges::sort(m_waiting, [](const Group &a, const Group &b) {
        return a.position != b.position ? a.position < b.position : a.first < b.first;
    });
    group = m_waiting.front();
    size_t taken = 1;
    while (taken < m_waiting.size() && m_waiting[taken].position == group.position &&
           m_waiting[taken].first == group.end)
        group.end = m_waiting[taken++].end;
    m_waiting.erase(m_waiting.begin(), m_waiting.begin() + static_cast<qsizetype>(taken));
    return true;
}

void RowMachine::parkUnfaulted(const Group &group)
{
    int point = group.first;
    while (point < group.end) {
        const bool faulted = m_faulted[static_cast<size_t>(point)] != 0;
        const int first = point;
        while (point < group.end && (m_faulted[static_cast<size_t>(point)] != 0) == faulted)
            ++point;
        if (!faulted)
            m_waiting.push_back({group.position, first, point});
    }
}

} // namespace eval::internal
