#include <eval/internal/Lowering.h>

#include <eval/internal/CodeFinisher.h>
#include <eval/internal/ExpandedSize.h>

namespace eval::internal {

namespace {

// Known before anything is expanded, unlike how much of it constants will fold away.
constexpr qint64 sizeLimit = 2 * LoweringContext::nodeBudget;

} // namespace

bool LoweringContext::countNode()
{
    if (values.hasFailed() || --m_nodesLeft < 0 || code.size() > codeLimit ||
        m_nesting >= nestingLimit) {
        values.giveUp();
        return false;
    }
    return true;
}

bool LoweringContext::enterNode()
{
    if (!countNode())
        return false;
    ++m_nesting;
    return true;
}

void Lowering::declareSlots()
{
    LoweringFrame &frame = m_context.variables.frame();
    for (const SlotBinding &binding : m_context.program.inputs) {
        LoweredVariable variable;
        variable.known = Known::Yes;
        variable.isForeign = binding.type == Type::Struct || !LaneValues::isLowerable(binding.type);
        Register first = noRegister;
        if (!variable.isForeign) {
            variable.value.type = binding.type;
            for (int i = 0; i < laneCount(binding.type); ++i)
                variable.value.lanes.append(m_context.code.newRegister());
            first = variable.value.lanes.first();
        }
        m_inputRegisters.push_back(first);
        frame.indexes.insert(binding.name, static_cast<int>(frame.variables.size()));
        frame.variables.push_back(variable);
    }
}

void Lowering::lowerOutput(qsizetype index)
{
    const OutputCode &code = m_context.program.code[index];
    m_context.variables.setFunctions(makeFunctionTable(code.functions));
    if (expandedSize(code.root, m_context.variables.functions(), sizeLimit) >= sizeLimit) {
        m_context.values.giveUp();
        return;
    }
    const LaneValue value = m_expressions.lower(*code.root);
    m_outputs[static_cast<size_t>(index)] = value;
    VariableTable &variables = m_context.variables;
    variables.at(variables.indexOf(m_context.program.outputs[index].name)) = {value, Known::Yes,
                                                                              false};
}

RegisterValue Lowering::registersOf(const LaneValue &value, int first)
{
    RegisterValue registers = {value.type, value.structName, {}, {}};
    if (value.type != Type::Struct) {
        for (int i = 0; i < laneCount(value.type); ++i)
            registers.lanes.push_back(value.lanes[first + i]);
        return registers;
    }
    for (const StructLayout::Field &field : m_context.values.layoutOf(value.structName)->fields) {
        const LaneValue part = {field.type, field.structName, value.lanes};
        registers.fields.push_back(registersOf(part, first + field.first));
    }
    return registers;
}

QSharedPointer<const LoweredProgram> Lowering::run()
{
    declareSlots();
    for (const qsizetype index : m_context.program.evaluationOrder) {
        lowerOutput(index);
        if (m_context.values.hasFailed())
            return {};
    }
    m_context.code.end();
    std::vector<RegisterValue> outputs;
    for (const LaneValue &output : m_outputs)
        outputs.push_back(registersOf(output, 0));
    return finishCode(m_context.program, m_context.code, m_inputRegisters, std::move(outputs));
}

QSharedPointer<const LoweredProgram> lower(const CompiledProgram &program)
{
    return Lowering(program).run();
}

} // namespace eval::internal
