#pragma once

#include <eval/Diagnostic.h>
#include <eval/internal/CompiledProgram.h>
#include <eval/internal/frontend/DiagnosticList.h>
#include <eval/internal/frontend/TypeChecker.h>

#include <QStringList>

#include <optional>

namespace eval::internal {

struct CachedCompile;

/// What a graph hands over to be compiled. Of the bindings only name, type, element type and handle
/// count.
struct CompileRequest
{
    QList<SlotBinding> inputs;
    QList<SlotBinding> outputs;
    QStringList sources; ///< parallel to `outputs`
    Backend backend = Backend::Auto;
    bool reportRuntimeFaults = true;
};

using CompiledResult = Result<QSharedPointer<const CompiledProgram>>;

/// One compile: sources to checked trees, an order of evaluation and the code of a back-end,
/// through the cache of the process. Used once. Several may run on different threads.
class GraphCompiler
{
public:
    explicit GraphCompiler(CompileRequest request);

    CompiledResult compile();

private:
    struct Source
    {
        ParsedSource parsed;
        QList<qsizetype> reads; ///< outputs named by the expression
        TypeRef type;           ///< of the expression
        StructRegistry structs;
        QSet<QString> recursiveFunctions;
        QList<Diagnostic> diagnostics;
        bool stopsCompile = false;
    };

    bool isSameGraph(const CachedCompile &cached) const;
    QSharedPointer<const CompiledProgram> rebuild(const CompiledProgram &cached) const;
    void parseSources();
    void findReads();
    void checkSources();
    void checkSource(qsizetype output);
    void collectDiagnostics();
    void assemble(CompiledProgram &program) const;
    std::optional<QList<Diagnostic>> attachBackend(CompiledProgram &program) const;

    CompileRequest m_request;
    QList<Source> m_sources;
    QList<qsizetype> m_order;
    SlotTable m_slots;
    StructRegistry m_knownStructs; ///< of the outputs checked so far
    DiagnosticList m_cycles;
    QList<Diagnostic> m_diagnostics;
    bool m_stopsCompile = false;
};

} // namespace eval::internal
