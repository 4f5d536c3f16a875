#pragma once

#include <eval/internal/registers/LoweredProgram.h>

#include <array>
#include <atomic>
#include <span>
#include <vector>

namespace eval::internal {

class RowPlan;
struct LaneContext;
struct LaneInstruction;

/// The points of one run. Where all share y and z these have one element, else as many as `xs`.
struct PointRun
{
    std::span<const float> xs, ys, zs;

    size_t count() const { return xs.size(); }
    bool isRow() const { return ys.size() == 1; }
    std::array<float, 3> at(size_t i) const
    {
        return {xs[i], ys[isRow() ? 0 : i], zs[isRow() ? 0 : i]};
    }
};

/// Runs a row plan: many points an instruction, one word per point and varying value.
///
/// Where points part ways at a branch, each run of neighbours goes its own way and they join again
/// where the ways meet: of several groups the one that is furthest behind in the code goes first,
/// and neighbours that stand at the same instruction become one. Buffers are kept from row to row.
class RowMachine
{
public:
    struct Request
    {
        std::span<const quint32> inputs; ///< the inputs, as the register file of the program begins
        PointRun points;                 ///< a row if the plan is for rows
        qsizetype output = 0;            ///< index of the output that is wanted
        std::span<float> out;            ///< its value at every point
        float failed = 0.0f;             ///< what stands for the value of a point with a fault
        const std::atomic_bool *cancelled = nullptr;
    };
    struct Outcome
    {
        RunResult result = RunResult::Finished;
        qsizetype firstFault = -1; ///< index of a point; after Faulted only
    };

    /// After Cancelled all of `out` is `failed`.
    Outcome run(const RowPlan &plan, const Request &request);

private:
    /// A run of neighbouring points that stand at one instruction.
    struct Group
    {
        quint32 position = 0;
        int first = 0;
        int end = 0;
    };

    void prepare(const RowPlan &plan);
    void fillLanes(const RowPlan &plan, const PointRun &points, size_t first, size_t count);
    bool runBlock(const RowPlan &plan, int count);
    bool control(const LaneInstruction &at, Group &group);
    bool join(Group &group);
    bool branch(const LaneInstruction &at, Group &group);
    bool guardLoop(const LaneInstruction &at, Group &group);
    template<class Decision>
    bool partBy(Group &group, const Decision &targetOf);
    bool nextGroup(Group &group);
    void parkUnfaulted(const Group &group);
    qsizetype writeBlock(const RowPlan &plan, const Request &request, qsizetype first,
                         int count) const;

    const RowPlan *m_plan = nullptr; ///< what the buffers are made for
    std::vector<quint32> m_lanes;
    std::vector<quint32> m_scalars;
    std::vector<quint8> m_faulted;
    std::vector<Group> m_waiting;
    const std::atomic_bool *m_cancelFlag = nullptr;
    bool m_cancelled = false;
};

} // namespace eval::internal
