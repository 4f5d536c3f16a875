#pragma once

#include <eval/internal/LoweredProgram.h>

#include <atomic>
#include <memory>
#include <span>
#include <vector>

namespace eval::internal {

class RowPlan;

/// Runs a row plan: many points an instruction, one register per point and varying value.
///
/// Where points part ways at a branch, each run of neighbours goes its own way and they join again
/// where the ways meet: of several groups the one that is furthest behind in the code goes first,
/// and neighbours that stand at the same instruction become one. Buffers are kept from row to row.
class RowMachine
{
public:
    /// @param inputs    the values of all inputs, as in the register file of the program
    /// @param xs        the coordinates of the points
    /// @param out       one value of the chosen output a point; `failed` where the point has a
    /// fault
    /// @param faultAt   set to the first point with a fault, or -1
    /// @return Faulted when any point has one; after Cancelled all of `out` is `failed`
    RunResult run(const LoweredProgram &program, const RowPlan &plan,
                  std::span<const quint32> inputs, std::span<const float> xs, qsizetype outputIndex,
                  std::span<float> out, float failed, const std::atomic_bool *cancelled,
                  qsizetype &faultAt);

    /// Points that are worked on together.
    static constexpr int blockSize = 128;

private:
    /// A run of neighbouring points that stand at one instruction.
    struct Group
    {
        quint32 position = 0;
        int first = 0;
        int end = 0;
    };

    void prepare(const LoweredProgram &program, const RowPlan &plan);
    bool runBlock(const RowPlan &plan, int count, const std::atomic_bool *cancelled);
    bool advance(const RowPlan &plan, Group &group);
    bool nextGroup(Group &group);
    void park(const Group &group) { m_waiting.push_back(group); }
    void parkUnfaulted(const Group &group);
    void branch(const RowPlan &plan, Group &group);

    const RowPlan *m_plan = nullptr; ///< what the buffers are made for
    std::vector<quint32> m_lanes;
    std::vector<quint32> m_scalars;
    std::vector<quint8> m_faulted;
    std::vector<Group> m_waiting;
    unsigned m_ticks = 0;
    const std::atomic_bool *m_cancelFlag = nullptr;
    bool m_cancelled = false;
};

} // namespace eval::internal
