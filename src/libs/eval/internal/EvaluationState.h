#pragma once

#include <eval/Diagnostic.h>
#include <eval/Program.h>
#include <eval/internal/BackendCode.h>
#include <eval/internal/CompiledProgram.h>
#include <eval/internal/interpreter/Interpreter.h>
#include <eval/internal/interpreter/Value.h>
#include <eval/internal/registers/IntervalMachine.h>
#include <eval/internal/registers/LoweredProgram.h>
#include <eval/internal/registers/RowMachine.h>

#include <QList>

#include <array>
#include <atomic>
#include <span>
#include <vector>

namespace eval::internal {

/// The slot values and the scratch of one thread over a compiled program: what stands behind
/// ThreadCopy.
///
/// With a lowered program the values of numeric slots live in its register file, where setting a
/// point is a copy of three floats. A fault there is told again by the walk over the tree, which
/// alone knows what to say.
class EvaluationState
{
public:
    explicit EvaluationState(QSharedPointer<const CompiledProgram> program);

    void setCancelFlag(const std::atomic_bool *cancelled) { m_cancelFlag = cancelled; }
    void set(Handle handle, const QVariant &value);
    void setFloats(Handle handle, std::span<const float> components);
    void bindArray(Handle handle, std::span<const float> values);

    /// False when there was a fault; faults() then holds them.
    bool evaluate();
    const QList<Diagnostic> &faults() const { return m_faults; }

    QVariant get(Handle handle) const;
    float getFloat(Handle handle) const;

    /// One value of `out` for each point.
    bool evaluateRun(Handle input, const PointRun &points, Handle output, std::span<float> out,
                     float failed);
    IntervalResult evaluateInterval(Handle input, const std::array<Interval, 3> &point,
                                    Handle output);
    Result<void> evaluateBatch(std::span<const float> input, std::span<float> output,
                               qsizetype count, qsizetype stride);
    Result<void> evaluateGrid(const GridNodes &nodes, std::span<float> output);

private:
    static constexpr int noSlot = -1;

    /// Inputs come first, then outputs.
    struct Slot
    {
        const SlotBinding *binding = nullptr;
        Value value;                     ///< current, unless it lives in registers
        Register firstCell = noRegister; ///< of an input that lives in registers
        int floatLanes = 0;              ///< what setFloats may fill; 0 when it may not
        int flatOffset = -1;             ///< in the back-end's buffer of this slot's side
    };

    int slotOf(Handle handle) const
    {
        return handle < m_slotOfHandle.size() ? m_slotOfHandle[handle] : noSlot;
    }
    bool isOutput(int slot) const { return slot >= m_inputCount; }
    Value currentValue(int slot) const;
    Value outputFromRegisters(int slot) const;
    void storeInput(Slot &slot, const Value &value);

    bool runWalk();
    Environment makeEnvironment() const;
    void prepareBackend();
    bool runBackend();
    Value outputFromBackend(int slot) const;
    Result<void> runBackendBatch(std::span<const float> input, std::span<float> output,
                                 qsizetype count, qsizetype stride);
    bool isCancelled() const;
    bool runOnBackend(int inputSlot, const PointRun &points, std::span<float> out);
    const RowPlan *planFor(int inputSlot, const PointRun &points) const;
    bool pointByPoint(Handle input, const PointRun &points, Handle output, std::span<float> out,
                      float failed);
    bool failWith(QList<Diagnostic> faults);
    QList<Diagnostic> cancelledFault() const;
    void readElement(std::span<const float> element);
    void writeElement(std::span<float> element) const;

    QSharedPointer<const CompiledProgram> m_program;
    const LoweredProgram *m_lowered; ///< kept alive by m_program; null where the tree is walked
    std::vector<Slot> m_slots;
    std::vector<int> m_slotOfHandle;
    int m_inputCount = 0;
    std::vector<quint32> m_registers;
    RowMachine m_rowMachine;
    IntervalMachine m_intervalMachine;
    std::vector<IntervalWord> m_intervalInputs;
    std::vector<FunctionTable> m_functions; ///< by output; made when first walked
    bool m_outputsInRegisters = false;      ///< where the last evaluation left them
    // What a back-end reads and writes. Inputs are packed when they are set, outputs unpacked when
    // they are asked for, so that an evaluation is little more than the call.
    std::vector<float> m_flatInput;
    std::vector<float> m_flatOutput;
    std::vector<std::span<const float>> m_flatArrays;
    const std::atomic_bool *m_cancelFlag = nullptr;
    QList<Diagnostic> m_faults;
};

} // namespace eval::internal
