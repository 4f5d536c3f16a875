// Slots live in one of three places: in the register file of a lowered program, in the flat
// buffers of a back-end, or as values for the walk. Setting and reading goes to the place; a
// fault of the quick forms runs the walk once more on the same inputs, for its diagnostics.

#include <eval/internal/EvaluationState.h>

#include <eval/internal/BackendCode.h>

#include <bit>
#include <cstring>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

/// A batch of millions of faulty elements says what is wrong once, not millions of times.
constexpr qsizetype batchDiagnosticLimit = 64;

int settableFloatLanes(Type type)
{
    const bool isFloatVector =
        type == Type::Float || type == Type::Vec2 || type == Type::Vec3 || type == Type::Vec4;
    return isFloatVector ? laneCount(type) : 0;
}

/// The floats that a value takes in a flat buffer, see slotFloatWidth().
void packValue(const Value &value, std::span<float> floats)
{
    for (size_t i = 0; i < floats.size() && i < Value::cellCount; ++i)
        floats[i] = value.floatLane(static_cast<int>(i));
}

Value unpackValue(Type type, std::span<const float> floats)
{
    Value value = Value::zero(type);
    for (size_t i = 0; i < floats.size() && i < static_cast<size_t>(laneCount(type)); ++i)
        value.setLane(static_cast<int>(i), static_cast<double>(floats[i]));
    return value;
}

template<class Float>
std::span<Float> slotFloats(std::span<Float> buffer, const SlotBinding &binding)
{
    return buffer.subspan(static_cast<size_t>(binding.floatOffset),
                          static_cast<size_t>(slotFloatWidth(binding.type)));
}

} // namespace

EvaluationState::EvaluationState(QSharedPointer<const CompiledProgram> program)
    : m_program(std::move(program))
    , m_lowered(m_program->lowered.data())
    , m_inputCount(static_cast<int>(m_program->inputs.size()))
{
    if (m_lowered) {
        m_registers.resize(m_lowered->registerCount);
        std::ranges::copy(m_lowered->constants, m_registers.begin() + m_lowered->firstConstant);
    }
    for (const QList<SlotBinding> *side : {&m_program->inputs, &m_program->outputs}) {
        for (const SlotBinding &binding : *side) {
            const auto index = m_slots.size();
            Slot slot;
            slot.binding = &binding;
            slot.value = defaultValue(binding.type, binding.structName, m_program->structs);
            slot.value.elementType = binding.elementType;
            if (side == &m_program->inputs) {
                slot.floatLanes = settableFloatLanes(binding.type);
                if (m_lowered)
                    slot.firstCell = m_lowered->inputs[index];
            }
            if (binding.handle >= m_slotOfHandle.size())
                m_slotOfHandle.resize(binding.handle + 1, noSlot);
            m_slotOfHandle[binding.handle] = static_cast<int>(index);
            m_slots.push_back(std::move(slot));
        }
    }
    if (m_program->backendCode)
        prepareBackend();
}

void EvaluationState::prepareBackend()
{
    m_flatInput.resize(static_cast<size_t>(std::max(1, m_program->inputFloatCount)));
    m_flatOutput.resize(static_cast<size_t>(std::max(1, m_program->outputFloatCount)));
    m_flatArrays.resize(static_cast<size_t>(m_program->arrayCount));
    for (Slot &slot : m_slots)
        slot.flatOffset = slot.binding->floatOffset;
}

void EvaluationState::storeInput(Slot &slot, const Value &value)
{
    if (slot.flatOffset >= 0)
        packValue(value, slotFloats(std::span<float>(m_flatInput), *slot.binding));
    if (slot.firstCell == noRegister) {
        slot.value = value;
        return;
    }
    for (int i = 0; i < laneCount(value.type); ++i)
        m_registers[slot.firstCell + static_cast<quint32>(i)] =
            static_cast<quint32>(value.cells[static_cast<size_t>(i)]);
}

void EvaluationState::set(Handle handle, const QVariant &value)
{
    const int index = slotOf(handle);
    if (index == noSlot || isOutput(index))
        return;
    Slot &slot = m_slots[static_cast<size_t>(index)];
    if (slot.binding->type != Type::Array)
        storeInput(slot, qvariantToValue(value, slot.binding->type, slot.binding->structName,
                                         m_program->structs));
}

void EvaluationState::setFloats(Handle handle, std::span<const float> components)
{
    const int index = slotOf(handle);
    if (index == noSlot)
        return;
    Slot &slot = m_slots[static_cast<size_t>(index)];
    const size_t count = std::min(components.size(), static_cast<size_t>(slot.floatLanes));
    if (slot.firstCell != noRegister) {
        std::memcpy(m_registers.data() + slot.firstCell, components.data(), count * sizeof(float));
        return;
    }
    if (slot.flatOffset >= 0) {
        std::memcpy(m_flatInput.data() + slot.flatOffset, components.data(), count * sizeof(float));
        return;
    }
    for (size_t i = 0; i < count; ++i)
        slot.value.cells[i] = std::bit_cast<quint32>(components[i]);
}

void EvaluationState::bindArray(Handle handle, std::span<const float> values)
{
    const int index = slotOf(handle);
    if (index == noSlot || m_slots[static_cast<size_t>(index)].binding->type != Type::Array)
        return;
    Slot &slot = m_slots[static_cast<size_t>(index)];
    const int width = slotFloatWidth(slot.binding->elementType);
    slot.value.elements = values.data();
    slot.value.elementStride = width;
    slot.value.elementCount = static_cast<qint64>(values.size()) / width;
    if (!m_flatArrays.empty())
        m_flatArrays[static_cast<size_t>(slot.binding->arrayIndex)] = values;
}

Value EvaluationState::outputFromRegisters(int slot) const
{
    const auto convert = [this](const auto &self, const RegisterValue &source) -> Value {
        Value value = Value::zero(source.type);
        value.structName = source.structName;
        for (size_t i = 0; i < source.lanes.size(); ++i)
            value.cells[i] = m_registers[source.lanes[i]];
        for (const RegisterValue &field : source.fields)
            value.fields.append(self(self, field));
        return value;
    };
    return convert(convert, m_lowered->outputs[static_cast<size_t>(slot - m_inputCount)]);
}

Value EvaluationState::currentValue(int index) const
{
    const Slot &slot = m_slots[static_cast<size_t>(index)];
    if (slot.flatOffset >= 0 && (isOutput(index) || slot.floatLanes > 0))
        return isOutput(index)
                   ? outputFromBackend(index)
                   : unpackValue(slot.binding->type,
                                 slotFloats(std::span<const float>(m_flatInput), *slot.binding));
    if (isOutput(index))
        return m_outputsInRegisters ? outputFromRegisters(index) : slot.value;
    if (slot.firstCell == noRegister)
        return slot.value;
    Value value = Value::zero(slot.binding->type);
    for (int i = 0; i < laneCount(value.type); ++i)
        value.cells[static_cast<size_t>(i)] = m_registers[slot.firstCell + static_cast<quint32>(i)];
    return value;
}

Value EvaluationState::outputFromBackend(int index) const
{
    const SlotBinding &binding = *m_slots[static_cast<size_t>(index)].binding;
    const auto floats = slotFloats(std::span<const float>(m_flatOutput), binding);
    const OutputForm form = m_program->backendCode->outputForm(*m_program, index - m_inputCount);
    if (!form.isBits)
        return unpackValue(form.type, floats);
    Value value = Value::zero(form.type);
    value.setIntegerLane(0, std::bit_cast<quint32>(floats[0]));
    return value;
}

QVariant EvaluationState::get(Handle handle) const
{
    const int index = slotOf(handle);
    return index == noSlot ? QVariant() : valueToQVariant(currentValue(index));
}

float EvaluationState::getFloat(Handle handle) const
{
    const int index = slotOf(handle);
    if (index == noSlot)
        return 0.0f;
    const Slot &slot = m_slots[static_cast<size_t>(index)];
    if (slot.flatOffset >= 0 && isOutput(index) && slot.binding->type == Type::Float)
        return m_flatOutput[static_cast<size_t>(slot.flatOffset)];
    if (isOutput(index) && m_outputsInRegisters) {
        const RegisterValue &output = m_lowered->outputs[static_cast<size_t>(index - m_inputCount)];
        if (output.type == Type::Float)
            return std::bit_cast<float>(m_registers[output.lanes[0]]);
    }
    return currentValue(index).toFloat();
}

QList<Diagnostic> EvaluationState::cancelledFault() const
{
    return {{DiagnosticCategory::Runtime, u"evaluation cancelled"_s, {}, {}}};
}

bool EvaluationState::isCancelled() const
{
    return m_cancelFlag && m_cancelFlag->load(std::memory_order_relaxed);
}

bool EvaluationState::failWith(QList<Diagnostic> faults)
{
    m_faults = std::move(faults);
    return false;
}

bool EvaluationState::evaluate()
{
    if (m_program->backendCode)
        return runBackend();
    if (!m_lowered)
        return runWalk();
    switch (runCode(m_lowered->code, m_lowered->externals, m_registers.data(), m_cancelFlag)) {
    case RunResult::Finished:
        m_outputsInRegisters = true;
        return true;
    case RunResult::Cancelled:
        return failWith(cancelledFault());
    case RunResult::Faulted:
        break;
    }
    return runWalk();
}

Environment EvaluationState::makeEnvironment() const
{
    Environment environment;
    for (size_t i = 0; i < m_slots.size(); ++i)
        environment.insert(m_slots[i].binding->name, currentValue(static_cast<int>(i)));
    return environment;
}

bool EvaluationState::runWalk()
{
    if (m_functions.empty()) {
        for (const OutputCode &code : m_program->code)
            m_functions.push_back(makeFunctionTable(code.functions));
    }
    // What a lowered run that ended in a fault left behind is nothing to go on with.
    m_outputsInRegisters = false;
    Environment environment = makeEnvironment();
    m_faults.clear();
    for (const qsizetype index : m_program->evaluationOrder) {
        Interpreter interpreter(&environment, m_program->structs, m_program->reportRuntimeFaults);
        interpreter.setFunctions(m_functions[static_cast<size_t>(index)]);
        interpreter.setCancelFlag(m_cancelFlag);
        const Value value = interpreter.evaluate(*m_program->code[index].root);
        if (interpreter.wasCancelled())
            return failWith(interpreter.diagnostics());
        if (m_faults.size() < Interpreter::diagnosticLimit)
            m_faults.append(interpreter.diagnostics());
        Slot &slot = m_slots[static_cast<size_t>(m_inputCount + index)];
        slot.value = value;
        environment.insert(slot.binding->name, value);
    }
    return m_faults.isEmpty();
}

bool EvaluationState::runBackend()
{
    const QString error =
        m_program->backendCode->run({m_flatInput, m_flatOutput, m_flatArrays, 1, m_cancelFlag});
    if (isCancelled())
        return failWith(cancelledFault());
    return error.isEmpty() || failWith({{DiagnosticCategory::PipelineBuild, error, {}, {}}});
}

bool EvaluationState::runOnBackend(int inputSlot, const PointRun &points, std::span<float> out)
{
    const BackendCode *const code = m_program->backendCode.data();
    if (!code || isCancelled() ||
        m_slots[static_cast<size_t>(inputSlot)].binding->type != Type::Vec3)
        return false;
    return points.isRow() ? code->runRow(points.xs, points.ys[0], points.zs[0], out, m_cancelFlag)
                          : code->runPoints(points.xs, points.ys, points.zs, out, m_cancelFlag);
}

const RowPlan *EvaluationState::planFor(int inputSlot, const PointRun &points) const
{
    // Fewer points than this are done sooner one by one.
    constexpr size_t fewest = 4;
    const LoweredProgram::PointPlans *const plans =
        m_lowered && !m_program->backendCode ? m_lowered->pointPlansOf(inputSlot) : nullptr;
    if (!plans || points.count() < fewest)
        return nullptr;
    return points.isRow() ? plans->row.get() : plans->scattered.get();
}

bool EvaluationState::evaluateRun(Handle input, const PointRun &points, Handle output,
                                  std::span<float> out, float failed)
{
    if (out.empty())
        return true;
    const int inputSlot = slotOf(input);
    const int outputSlot = slotOf(output);
    const bool known = inputSlot != noSlot && outputSlot != noSlot && isOutput(outputSlot);
    const std::array<float, 3> last = points.at(points.count() - 1);
    if (known && runOnBackend(inputSlot, points, out)) {
        setFloats(input, last);
        if (!isCancelled())
            return true;
        std::fill(out.begin(), out.end(), failed);
        return failWith(cancelledFault());
    }
    const RowPlan *plan = known ? planFor(inputSlot, points) : nullptr;
    if (!plan)
        return pointByPoint(input, points, output, out, failed);

    setFloats(input, last);
    const RowMachine::Outcome outcome = m_rowMachine.run(
        *plan, {m_registers, points, outputSlot - m_inputCount, out, failed, m_cancelFlag});
    if (outcome.result == RunResult::Cancelled)
        return failWith(cancelledFault());
    if (outcome.result == RunResult::Finished)
        return true;
    // The row form only knows that there is a fault: the walk over that one point tells which.
    setFloats(input, points.at(static_cast<size_t>(outcome.firstFault)));
    runWalk();
    setFloats(input, last);
    return false;
}

bool EvaluationState::pointByPoint(Handle input, const PointRun &points, Handle output,
                                   std::span<float> out, float failed)
{
    QList<Diagnostic> firstFaults;
    for (size_t i = 0; i < points.count(); ++i) {
        setFloats(input, points.at(i));
        const bool ok = evaluate();
        out[i] = ok ? getFloat(output) : failed;
        if (!ok && firstFaults.isEmpty())
            firstFaults = m_faults;
        if (isCancelled()) {
            std::fill(out.begin(), out.end(), failed);
            return failWith(cancelledFault());
        }
    }
    return firstFaults.isEmpty() || failWith(firstFaults);
}

IntervalResult EvaluationState::evaluateInterval(Handle input, const std::array<Interval, 3> &point,
                                                 Handle output)
{
    const int inputSlot = slotOf(input);
    const int outputSlot = slotOf(output);
    const bool isKnown = m_lowered && !m_program->backendCode && inputSlot != noSlot &&
                         outputSlot != noSlot && !isOutput(inputSlot) && isOutput(outputSlot);
    const Slot *const slot = isKnown ? &m_slots[static_cast<size_t>(inputSlot)] : nullptr;
    if (!slot || slot->binding->type != Type::Vec3 || slot->firstCell == noRegister)
        return {.value = {}, .mayFault = true, .steps = 1};
    m_intervalInputs.resize(m_lowered->firstConstant);
    for (size_t i = 0; i < m_intervalInputs.size(); ++i)
        m_intervalInputs[i] = IntervalWord::ofBits(m_registers[i]);
    for (size_t i = 0; i < point.size(); ++i)
        m_intervalInputs[slot->firstCell + i] = IntervalWord::ofFloat(point[i]);
    return m_intervalMachine.run(*m_lowered, m_intervalInputs, outputSlot - m_inputCount,
                                 m_cancelFlag);
}

void EvaluationState::readElement(std::span<const float> element)
{
    for (int i = 0; i < m_inputCount; ++i) {
        Slot &slot = m_slots[static_cast<size_t>(i)];
        if (slot.binding->floatOffset >= 0)
            storeInput(slot, unpackValue(slot.binding->type, slotFloats(element, *slot.binding)));
    }
}

void EvaluationState::writeElement(std::span<float> element) const
{
    for (size_t i = static_cast<size_t>(m_inputCount); i < m_slots.size(); ++i)
        packValue(currentValue(static_cast<int>(i)), slotFloats(element, *m_slots[i].binding));
}

/// Straight from the caller's buffers where elements lie side by side. In parts, between which a
/// cancel is seen.
Result<void> EvaluationState::runBackendBatch(std::span<const float> input, std::span<float> output,
                                              qsizetype count, qsizetype stride)
{
    constexpr qsizetype gatheredAtOnce = 65536;
    const qsizetype inputWidth = m_program->inputFloatCount;
    const qsizetype outputWidth = m_program->outputFloatCount;
    const bool isPacked = stride == inputWidth;
    const qsizetype limit = m_program->backendCode->batchLimit();
    const qsizetype part = std::min({count, limit, isPacked ? limit : gatheredAtOnce});
    std::vector<float> gathered;
    for (qsizetype i = 0; i < count; i += part) {
        const qsizetype n = std::min(part, count - i);
        std::span<const float> elements;
        if (isPacked) {
            elements =
                input.subspan(static_cast<size_t>(i * stride), static_cast<size_t>(n * inputWidth));
        } else {
            gathered.resize(static_cast<size_t>(n * inputWidth));
            for (qsizetype k = 0; k < n; ++k)
                std::copy_n(input.data() + (i + k) * stride, inputWidth,
                            gathered.data() + k * inputWidth);
            elements = gathered;
        }
        const QString error =
            m_program->backendCode->run({elements,
                                         output.subspan(static_cast<size_t>(i * outputWidth),
                                                        static_cast<size_t>(n * outputWidth)),
                                         m_flatArrays, n, m_cancelFlag});
        if (isCancelled())
            return Result<void>::failure(cancelledFault());
        if (!error.isEmpty())
            return Result<void>::failure({{DiagnosticCategory::PipelineBuild, error, {}, {}}});
    }
    return {};
}

Result<void> EvaluationState::evaluateBatch(std::span<const float> input, std::span<float> output,
                                            qsizetype count, qsizetype stride)
{
    const auto inputWidth = static_cast<qsizetype>(m_program->inputFloatCount);
    const auto outputWidth = static_cast<qsizetype>(m_program->outputFloatCount);
    // Written with divisions: the products of hostile counts would overflow.
    const auto inputSize = static_cast<qsizetype>(input.size());
    const bool fits =
        stride >= 0 && inputSize >= inputWidth &&
        (stride == 0 || (inputSize - inputWidth) / stride >= count - 1) &&
        (outputWidth == 0 || static_cast<qsizetype>(output.size()) / outputWidth >= count);
    const auto refused = [](const QString &text) {
        return Result<void>::failure({{DiagnosticCategory::Internal, text, {}, {}}});
    };
    if (count <= 0)
        return refused(u"evaluateBatch: count must be > 0 (got %1)"_s.arg(count));
    if (!fits)
        return refused(u"evaluateBatch: span size below count*stride"_s +
                       (m_program->backendCode ? QString() : u" (Interpreted lane)"_s));
    if (m_program->backendCode)
        return runBackendBatch(input, output, count, stride);
    QList<Diagnostic> faults;
    for (qsizetype i = 0; i < count; ++i) {
        readElement(
            input.subspan(static_cast<size_t>(i * stride), static_cast<size_t>(inputWidth)));
        if (!evaluate()) {
            if (faults.size() < batchDiagnosticLimit)
                faults.append(m_faults);
            if (isCancelled())
                return Result<void>::failure(cancelledFault());
        }
        writeElement(
            output.subspan(static_cast<size_t>(i * outputWidth), static_cast<size_t>(outputWidth)));
    }
    return faults.isEmpty() ? Result<void>() : Result<void>::failure(faults);
}

Result<void> EvaluationState::evaluateGrid(const GridNodes &nodes, std::span<float> output)
{
    if (m_program->inputFloatCount != 3 || m_program->outputFloatCount != 1 ||
        output.size() != nodes.count())
        return Result<void>::failure(
            {{DiagnosticCategory::Internal,
              u"evaluateGrid: %1 values for %2 nodes, of a program of %3 input and %4 output floats"_s
                  .arg(output.size())
                  .arg(nodes.count())
                  .arg(m_program->inputFloatCount)
                  .arg(m_program->outputFloatCount),
              {},
              {}}});
    if (const auto code = m_program->backendCode) {
        const std::optional<QString> error = code->runGrid(nodes, output, m_cancelFlag);
        if (error && isCancelled())
            return Result<void>::failure(cancelledFault());
        if (error && !error->isEmpty())
            return Result<void>::failure({{DiagnosticCategory::PipelineBuild, *error, {}, {}}});
        if (error)
            return {};
    }
    std::vector<float> points;
    points.reserve(output.size() * 3);
    for (const float z : nodes.zs) {
        for (const float y : nodes.ys) {
            for (const float x : nodes.xs)
                points.insert(points.end(), {x, y, z});
        }
    }
    return evaluateBatch(points, output, static_cast<qsizetype>(output.size()), 3);
}

} // namespace eval::internal
