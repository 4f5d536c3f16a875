#pragma once

#include <eval/internal/BackendCode.h>
#include <eval/internal/codegen/StatementEmitter.h>

namespace eval::internal {

/// The evaluation of one point: reads the inputs into variables, since an output's expression may
/// assign to them, and writes the outputs in the order in which they read each other.
class EntryEmitter
{
public:
    /// @param body  of no function
    EntryEmitter(const CompiledProgram &program, StatementEmitter &body)
        : m_program(program)
        , m_body(body)
        , m_writer(body.writer())
    {}
    virtual ~EntryEmitter();

    QByteArray emitAll(QList<OutputForm> &forms);

protected:
    /// The float at a place of the flat buffers.
    virtual QByteArray inputText(int offset) const = 0;
    virtual QByteArray outputText(int offset) const = 0;
    /// Declares the variables of a run-time array, or marks the unit.
    virtual void readArray(const SlotBinding &slot, const QByteArray &name) = 0;
    /// A variable that perhaps nobody reads.
    virtual void noteVariable(const QByteArray &name);

    const CompiledProgram &m_program;
    StatementEmitter &m_body;
    CodeWriter &m_writer;

private:
    void readInput(const SlotBinding &slot, const QByteArray &name);
    void writeOutput(qsizetype index, OutputForm &form);

    FunctionTable m_table; ///< of the output being written
};

} // namespace eval::internal
