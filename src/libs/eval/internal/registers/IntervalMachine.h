#pragma once

#include <eval/Interval.h>
#include <eval/internal/registers/LoweredProgram.h>

#include <atomic>
#include <limits>
#include <span>
#include <vector>

namespace eval::internal {

/// All that a register may hold, read as a float and read as a signed integer (or a bool). What
/// computes floats leaves nothing known of the integer, and the other way round: which of the two
/// is meant is known to the instruction that reads it alone. With `least` equal to `most` the very
/// bits are known.
struct IntervalWord
{
    Interval value;
    qint32 least = std::numeric_limits<qint32>::min();
    qint32 most = std::numeric_limits<qint32>::max();

    static IntervalWord ofBits(quint32 bits);
    static IntervalWord ofFloat(const Interval &value) { return {.value = value}; }
    static IntervalWord ofInteger(qint64 least, qint64 most);
    bool areBitsKnown() const { return least == most; }
    quint32 bits() const { return static_cast<quint32>(least); }
};

/// All results of a pure or checked operation; Mixed has its MixedCode in `number`.
IntervalWord applyInterval(const Instruction &instruction, const IntervalWord &a,
                           const IntervalWord &b, const IntervalWord &c);

/// Runs the register code of a program over intervals: what comes out holds what the code computes
/// for every choice of inputs from their intervals.
///
/// A jump whose condition may be either way is taken both ways, each with registers of its own. Of
/// the ways that are open the one that is furthest behind in the code goes first, and two that
/// stand at the same instruction become one, which holds what either held: so ways meet again
/// behind a branch, and a loop that some points leave early goes on for the others. Code that does
/// not come to its end within stepLimit instructions is given up: its result is anything.
///
/// Coordinates that jump, where a fold goes from one period to the next and where an angle goes
/// from -pi to pi, have two cases that are far apart, and one interval over both knows nothing of
/// either. The rest of the code is run for each of them, as it is for two halves of a box; there
/// are mostCases of them at most.
class IntervalMachine
{
public:
    static constexpr long long stepLimit = 400'000;
    static constexpr int mostCases = 8;

    /// @param inputs  the registers that the program's inputs are held in
    /// @param output  index of a float output
    IntervalResult run(const LoweredProgram &program, std::span<const IntervalWord> inputs,
                       qsizetype output, const std::atomic_bool *cancelled);

private:
    struct Way
    {
        quint32 position = 0;
        std::vector<IntervalWord> registers;
    };
    enum class Step { Next, Over, GiveUp };

    void begin(const LoweredProgram &program, std::span<const IntervalWord> inputs);
    bool runWays();
    Step stepOn(const Instruction &at);
    Step branch(const Instruction &at);
    void learn(std::vector<IntervalWord> &registers, bool isTrue) const;
    Step guardLoop(const Instruction &at);
    Step divide(const Instruction &at);
    Step checkIndex(const Instruction &at);
    Step runCall(const ExternalCall &call);
    void compute(const Instruction &at);
    bool maySplit() const;
    void computeFloor(const Instruction &at);
    void computeAngle(const Instruction &at);
    void addCase(Register result, const Interval &value);
    bool takeCase();
    void park(Way way);
    void switchWays();
    bool takeWaiting();
    std::vector<IntervalWord> spareRegisters();

    const LoweredProgram *m_program = nullptr; ///< what the registers are made for
    Way m_way;
    std::vector<Way> m_waiting; ///< by position, the furthest behind last; no two at one position
    std::vector<Way> m_cases;   ///< to be run to their ends once no way is left
    int m_caseCount = 0;        ///< of this run, those that are over among them
    std::vector<std::vector<IntervalWord>> m_spares;
    std::vector<quint32> m_callRegisters;
    std::vector<IntervalWord> m_results;
    quint32 m_compared = ~0u; ///< the comparison that the current way has just come from
    long long m_steps = 0;
    Register m_outputRegister = 0;
    Interval m_output;
    bool m_mayFault = false;
};

} // namespace eval::internal
