#include <eval/Graph.h>

#include <eval/internal/BackendCode.h>
#include <eval/internal/GraphCompiler.h>

#include <QLoggingCategory>

using namespace Qt::StringLiterals;

namespace eval {

bool isBackendAvailable(Backend backend)
{
    if (backend == Backend::Interpreted || backend == Backend::Auto)
        return true;
    const auto generator = internal::codeGenerator(backend);
    return generator && generator->isAvailable();
}

namespace {

Q_LOGGING_CATEGORY(lcGraph, "ondrel.eval.graph", QtWarningMsg)

} // namespace

Handle Graph::declareInput(const QString &name, Type type)
{
    return declare({name, type, Type::Float, 0, {}}, m_inputs);
}

Handle Graph::declareArrayInput(const QString &name, Type elementType)
{
    return declare({name, Type::Array, elementType, 0, {}}, m_inputs);
}

Handle Graph::declareOutput(const QString &name, const QString &source)
{
    return declare({name, Type::Float, Type::Float, 0, source}, m_outputs);
}

Result<Program> Graph::compile(Backend backend)
{
    internal::CompileRequest request;
    request.backend = backend;
    request.reportRuntimeFaults = m_reportRuntimeFaults;
    const auto binding = [](const Slot &slot) {
        internal::SlotBinding result;
        result.name = slot.name;
        result.type = slot.type;
        result.elementType = slot.elementType;
        result.handle = slot.handle;
        return result;
    };
    for (const Slot &input : std::as_const(m_inputs))
        request.inputs.append(binding(input));
    for (const Slot &output : std::as_const(m_outputs)) {
        request.outputs.append(binding(output));
        request.sources.append(output.source);
    }
    const internal::CompiledResult compiled = internal::GraphCompiler(std::move(request)).compile();
    if (!compiled) {
        qCDebug(lcGraph).noquote() << "compile failed:" << compiled.firstError().message;
        return Result<Program>::failure(compiled.diagnostics());
    }
    return Result<Program>(Program(compiled.value()), compiled.diagnostics());
}

Handle Graph::declare(Slot slot, QList<Slot> &side)
{
    Handle &handle = m_handles[slot.name];
    if (handle != 0)
        return handle;
    handle = m_nextHandle++;
    slot.handle = handle;
    side.append(std::move(slot));
    return handle;
}

} // namespace eval
