#pragma once

#include <eval/Diagnostic.h>
#include <eval/Program.h>
#include <eval/Type.h>

#include <QHash>
#include <QList>
#include <QString>

namespace eval {

/// Whether graphs can be compiled for a back-end in this process, as far as that is known without a
/// graph. For Gpu the first call may start a device. Any thread.
bool isBackendAvailable(Backend backend);

/// A dataflow of named slots in the field language, compiled once and evaluated as often as one
/// likes.
///
/// Declare all slots, compile, then leave the graph alone: the program that comes out outlives it.
/// Not thread-safe; compile() may run on several threads for different graphs at the same time.
class Graph
{
public:
    /// Declares an input and returns its handle. A name that exists keeps its handle and its type.
    Handle declareInput(const QString &name, Type type);
    /// Declares an input that is a borrowed run-time array of `elementType`.
    Handle declareArrayInput(const QString &name, Type elementType);
    /// Declares an output. `source` is any number of struct declarations and function definitions
    /// followed by one expression, which may name inputs, other outputs and its own structs and
    /// functions.
    Handle declareOutput(const QString &name, const QString &source);

    /// All diagnostics of all outputs on failure; on success what stands in the list does not stop
    /// a run.
    Result<Program> compile(Backend backend = Backend::Auto);

    /// Whether faults at run time (division by zero, discard) are reported as diagnostics. Default
    /// true.
    void setReportRuntimeFaults(bool on) { m_reportRuntimeFaults = on; }

private:
    struct Slot
    {
        QString name;
        Type type = Type::Float;
        Type elementType = Type::Float; ///< of an array input
        Handle handle = 0;
        QString source; ///< of an output
    };

    Handle declare(Slot slot, QList<Slot> &side);

    QList<Slot> m_inputs;
    QList<Slot> m_outputs;
    QHash<QString, Handle> m_handles;
    Handle m_nextHandle = 1;
    bool m_reportRuntimeFaults = true;
};

} // namespace eval
