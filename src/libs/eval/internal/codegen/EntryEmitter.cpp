#include <eval/internal/codegen/EntryEmitter.h>

namespace eval::internal {

EntryEmitter::~EntryEmitter() = default;

QByteArray EntryEmitter::emitAll(QList<OutputForm> &forms)
{
    for (qsizetype i = 0; i < m_program.inputs.size(); ++i) {
        const QByteArray name = "in" + QByteArray::number(i);
        if (m_program.inputs[i].type == Type::Array)
            readArray(m_program.inputs[i], name);
        else
            readInput(m_program.inputs[i], name);
    }
    forms.resize(m_program.outputs.size());
    for (const qsizetype index : m_program.evaluationOrder)
        writeOutput(index, forms[index]);
    return m_writer.text();
}

void EntryEmitter::noteVariable(const QByteArray &) {}

void EntryEmitter::readInput(const SlotBinding &slot, const QByteArray &name)
{
    CodeUnit &unit = m_writer.unit();
    if (!unit.isVariableType(slot.type) || laneCount(slot.type) != slotFloatWidth(slot.type)) {
        // An input that nobody reads needs no form.
        if (slot.used)
            unit.setUnsupported();
        return;
    }
    QList<QByteArray> lanes;
    for (int i = 0; i < laneCount(slot.type); ++i)
        lanes.append(
            m_writer.castText(inputText(slot.floatOffset + i), Type::Float, scalarOf(slot.type)));
    m_writer.emitLine(unit.typeText(slot.type, {}) + ' ' + name + " = " +
                      m_writer.composeText(slot.type, lanes) + ';');
    noteVariable(name);
    m_writer.bindVariable(slot.name, {name, slot.type, slot.structName, Type::Float, true, true});
}

void EntryEmitter::writeOutput(qsizetype index, OutputForm &form)
{
    CodeUnit &unit = m_writer.unit();
    const SlotBinding &slot = m_program.outputs[index];
    const AstNode &root = *m_program.code[index].root;
    m_table = makeFunctionTable(m_program.code[index].functions);
    unit.setTable(&m_table);
    const CodeValue value = m_body.emitExpression(root);
    form.type = value.type;
    form.isBits =
        value.type == Type::Uint && root.builtin && BuiltinEmitter::isPacking(*root.builtin);
    if (!unit.isVariableType(value.type) || laneCount(value.type) != slotFloatWidth(slot.type)) {
        unit.setUnsupported();
        return;
    }
    const QByteArray name = "out" + QByteArray::number(index);
    m_writer.emitLine(unit.typeText(value.type, {}) + ' ' + name + " = " + value.text + ';');
    const CodeValue variable{name, value.type, slot.structName, Type::Float, true, true};
    m_writer.bindVariable(slot.name, variable);
    for (int i = 0; i < laneCount(value.type); ++i) {
        const QByteArray lane = m_writer.laneText(variable, i);
        m_writer.emitLine(outputText(slot.floatOffset + i) + " = " +
                          (form.isBits
                               ? CodeWriter::callText(unit.words().fromBits, {lane})
                               : m_writer.castText(lane, scalarOf(value.type), Type::Float)) +
                          ';');
    }
}

} // namespace eval::internal
