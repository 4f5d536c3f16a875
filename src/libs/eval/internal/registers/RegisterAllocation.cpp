// Linear scan: intervals from the first to the last mention, in order of their beginning, each
// in a place that an earlier one has left. Loops make it safe: a value from before a loop that
// is mentioned in it lives to the end of the loop, since the next round reads it again. There is
// no spilling, as places are words of memory anyway; the aim is that the file stays in the
// first-level cache. n log n in the code.

#include <eval/internal/registers/RegisterAllocation.h>

#include <algorithm>

namespace eval::internal {

namespace {

constexpr quint32 never = ~0u;

struct Loop
{
    quint32 first = 0; ///< the target of the jump back
    quint32 last = 0;  ///< the jump back
    int parent = -1;
};

/// The loops of a code, outer ones first, and the innermost one around each instruction.
struct LoopNest
{
    std::vector<Loop> loops;
    std::vector<int> innermost;
};

LoopNest findLoops(const std::vector<Instruction> &code)
{
    LoopNest nest;
    for (quint32 i = 0; i < code.size(); ++i) {
        if (isJump(code[i].op) && code[i].c <= i)
            nest.loops.push_back({code[i].c, i, -1});
    }
    std::ranges::sort(nest.loops, [](const Loop &a, const Loop &b) {
        return a.first != b.first ? a.first < b.first : a.last > b.last;
    });
    nest.innermost.assign(code.size(), -1);
    int current = -1;
    size_t next = 0;
    for (quint32 i = 0; i < code.size(); ++i) {
        while (current >= 0 && nest.loops[static_cast<size_t>(current)].last < i)
            current = nest.loops[static_cast<size_t>(current)].parent;
        for (; next < nest.loops.size() && nest.loops[next].first == i; ++next) {
            nest.loops[next].parent = current;
            current = static_cast<int>(next);
        }
        nest.innermost[i] = current;
    }
    return nest;
}

struct Interval
{
    quint32 first = never;
    quint32 last = 0;
    Register reg = noRegister;
};

std::vector<Interval> findIntervals(LinearCode &code, const std::function<bool(Register)> &isChosen,
                                    const std::vector<Register> &lasting)
{
    const LoopNest nest = findLoops(code.code);
    std::vector<Interval> intervals(code.registerCount());
    for (quint32 i = 0; i < code.code.size(); ++i) {
        const auto touch = [&](Register reg) {
            if (!isChosen(reg))
                return;
            Interval &interval = intervals[reg];
            interval.reg = reg;
            interval.first = std::min(interval.first, i);
            interval.last = std::max(interval.last, i);
            // Needed in a loop, there from before it: the next round needs it again.
            int loop = nest.innermost[i];
            while (loop >= 0 && nest.loops[static_cast<size_t>(loop)].first > interval.first) {
                interval.last = std::max(interval.last, nest.loops[static_cast<size_t>(loop)].last);
                loop = nest.loops[static_cast<size_t>(loop)].parent;
            }
        };
        code.forEachRead(code.code[i], touch);
        code.forEachWrite(code.code[i], touch);
    }
    for (const Register reg : lasting) {
        if (intervals[reg].reg != noRegister)
            intervals[reg].last = never;
    }
    std::erase_if(intervals, [](const Interval &interval) { return interval.reg == noRegister; });
    return intervals;
}

} // namespace

quint32 allocateRegisters(LinearCode &code, const std::function<bool(Register)> &isChosen,
                          const std::vector<Register> &lasting, quint32 firstPlace,
                          std::vector<Register> &places)
{
    std::vector<Interval> starting = findIntervals(code, isChosen, lasting);
    std::vector<Interval> ending = starting;
    std::ranges::sort(starting, {}, &Interval::first);
    std::ranges::sort(ending, {}, &Interval::last);
    std::vector<Register> free;
    quint32 nextPlace = firstPlace;
    size_t done = 0;
    for (const Interval &interval : starting) {
        // An operand that is read for the last time leaves its place to the result: operations read
        // first. Two results of one call start together and must not meet.
        while (done < ending.size() && ending[done].last <= interval.first &&
               ending[done].first < interval.first)
            free.push_back(places[ending[done++].reg]);
        if (free.empty()) {
            places[interval.reg] = nextPlace++;
        } else {
            places[interval.reg] = free.back();
            free.pop_back();
        }
    }
    return nextPlace;
}

} // namespace eval::internal
