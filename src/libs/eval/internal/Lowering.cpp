#include <eval/internal/Lowering.h>

#include <eval/internal/CodeFinisher.h>
#include <eval/internal/ExpandedSize.h>

namespace eval::internal {

namespace {

// Calls are expanded, so that a chain of functions that each call the next one twice has no end
// that anyone would live to see: a program beyond these bounds is left to the walk.
constexpr qint64 nodeBudget = 8'000'000;
// Known before anything is expanded, unlike how much of it constants will fold away.
constexpr qint64 sizeLimit = 2 * nodeBudget;
constexpr size_t codeLimit = 2'000'000;
constexpr int nestingLimit = 2'000;

} // namespace

Lowering::Lowering(const CompiledProgram &program)
    : m_program(program)
    , m_nodesLeft(nodeBudget)
{}

bool Lowering::enterNode()
{
    if (m_failed || --m_nodesLeft < 0 || m_code.size() > codeLimit || m_nesting >= nestingLimit) {
        m_failed = true;
        return false;
    }
    return true;
}

Lowering::Operand Lowering::giveUp()
{
    m_failed = true;
    return {Type::Float, {}, {m_code.constant(0u)}};
}

Lowering::Operand Lowering::faulted()
{
    m_code.fault();
    return {Type::Float, {}, {m_code.constant(0u)}};
}

void Lowering::declareSlots()
{
    for (const SlotBinding &binding : m_program.inputs) {
        Variable variable;
        variable.known = Known::Yes;
        variable.isForeign = binding.type == Type::Struct || !isLowerable(binding.type);
        Register first = noRegister;
        if (!variable.isForeign) {
            variable.value.type = binding.type;
            for (int i = 0; i < laneCount(binding.type); ++i)
                variable.value.lanes.append(m_code.newRegister());
            first = variable.value.lanes.first();
        }
        m_inputRegisters.push_back(first);
        m_root.indexes.insert(binding.name, static_cast<int>(m_root.variables.size()));
        m_root.variables.push_back(variable);
    }
}

void Lowering::lowerOutput(qsizetype index)
{
    const OutputCode &code = m_program.code[index];
    m_functions = makeFunctionTable(code.functions);
    if (expandedSize(code.root, m_functions, sizeLimit) >= sizeLimit) {
        m_failed = true;
        return;
    }
    const Operand value = expression(*code.root);
    m_outputs[static_cast<size_t>(index)] = value;
    m_frame->variables[static_cast<size_t>(variableIndex(m_program.outputs[index].name))] = {
        value, Known::Yes, false};
}

RegisterValue Lowering::registersOf(const Operand &value, int first) const
{
    RegisterValue registers = {value.type, value.structName, {}, {}};
    if (value.type != Type::Struct) {
        for (int i = 0; i < laneCount(value.type); ++i)
            registers.lanes.push_back(value.lanes[first + i]);
        return registers;
    }
    for (const StructLayout::Field &field : m_layouts.value(value.structName).fields) {
        const Operand part = {field.type, field.structName, value.lanes};
        registers.fields.push_back(registersOf(part, first + field.first));
    }
    return registers;
}

QSharedPointer<const LoweredProgram> Lowering::run()
{
    m_frame = &m_root;
    declareSlots();
    m_outputs.resize(static_cast<size_t>(m_program.outputs.size()));
    for (const qsizetype index : m_program.evaluationOrder) {
        lowerOutput(index);
        if (m_failed)
            return {};
    }
    m_code.end();
    std::vector<RegisterValue> outputs;
    for (const Operand &output : m_outputs)
        outputs.push_back(registersOf(output, 0));
    return finishCode(m_program, m_code, m_inputRegisters, std::move(outputs));
}

QSharedPointer<const LoweredProgram> lower(const CompiledProgram &program)
{
    return Lowering(program).run();
}

} // namespace eval::internal
