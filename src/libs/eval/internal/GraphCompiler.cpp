// Outputs are checked twice: their expressions may name each other in any order, and an output
// counts as a float until the first pass has found its type. The second pass goes in the order
// of evaluation and adds what only then shows.

#include <eval/internal/GraphCompiler.h>

#include <eval/internal/BackendCode.h>
#include <eval/internal/Cache.h>
#include <eval/internal/OutputOrder.h>
#include <eval/internal/frontend/AstWalk.h>
#include <eval/internal/frontend/Parser.h>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

// Over all outputs: each stage of each output has a limit of its own, but there may be many
// outputs.
constexpr qsizetype maxDiagnostics = 1000;

QList<Diagnostic> one(DiagnosticCategory category, const QString &message)
{
    DiagnosticList list;
    list.add(category, {}, message);
    return list.kept();
}

/// Gives the slots of one side their places in its flat buffer, in declaration order.
int layOut(QList<SlotBinding> &side, int &arrayCount)
{
    int offset = 0;
    for (SlotBinding &slot : side) {
        if (slot.type == Type::Array) {
            slot.arrayIndex = arrayCount++;
            continue;
        }
        slot.floatOffset = offset;
        offset += slotFloatWidth(slot.type);
    }
    return offset;
}

bool isSameDeclaration(const SlotBinding &a, const SlotBinding &b)
{
    return a.name == b.name && a.type == b.type && a.elementType == b.elementType;
}

bool isUsable(const CachedCompile &cached)
{
    return !cached.program->backendCode || cached.program->backendCode->isUsable();
}

bool isSameName(const SlotBinding &a, const SlotBinding &b)
{
    return a.name == b.name;
}

void takeHandles(QList<SlotBinding> &to, const QList<SlotBinding> &from)
{
    for (qsizetype i = 0; i < to.size(); ++i)
        to[i].handle = from[i].handle;
}

void indexHandles(CompiledProgram &program)
{
    program.places.clear();
    for (qsizetype i = 0; i < program.inputs.size(); ++i)
        program.places.insert(program.inputs[i].handle, {true, i});
    for (qsizetype i = 0; i < program.outputs.size(); ++i)
        program.places.insert(program.outputs[i].handle, {false, i});
}

std::optional<QList<Diagnostic>> attachNative(CompiledProgram &program)
{
    const auto generator = codeGenerator(Backend::Native);
    const auto failed = [](const QString &cause) {
        return one(DiagnosticCategory::Internal,
                   u"Backend::Native: JIT compile failed: %1"_s.arg(cause));
    };
    if (!generator)
        return failed(u"this program has no native code generator"_s);
    if (!generator->supports(program)) {
        return one(DiagnosticCategory::Type,
                   u"Backend::Native: codegen does not support this expression "
                   "yet (scalar/vector/matrix subset)."_s);
    }
    const auto code = generator->generate(program);
    if (!code)
        return failed(code.firstError().message);
    program.backendCode = code.value();
    return std::nullopt;
}

std::optional<QList<Diagnostic>> attachGpu(CompiledProgram &program)
{
    const auto generator = codeGenerator(Backend::Gpu);
    if (!generator || !generator->isAvailable()) {
        return one(DiagnosticCategory::BackendUnavailable,
                   u"Backend::Gpu: no GPU-evaluation-capable QRhi reachable on this host (neither "
                   "compute nor fragment-as-compute lane)."_s);
    }
    if (!generator->supports(program)) {
        return one(DiagnosticCategory::Type,
                   u"Backend::Gpu: GpuCodegen does not yet support this AST shape (runtime arrays "
                   "defer to Phase 9 — Native + Interpreted are available; double precision and "
                   "64-bit ints remain out of scope)."_s);
    }
    const auto code = generator->generate(program);
    if (!code)
        return code.diagnostics();
    program.backendCode = code.value();
    return std::nullopt;
}

} // namespace

GraphCompiler::GraphCompiler(CompileRequest request)
    : m_request(std::move(request))
{}

CompiledResult GraphCompiler::compile()
{
    const QString key =
        computeCacheKey(m_request.backend, m_request.inputs, m_request.outputs, m_request.sources);
    const auto cached = Cache::instance().lookup(key);
    if (cached && isSameGraph(*cached) && isUsable(*cached))
        return CompiledResult(rebuild(*cached->program), cached->diagnostics);

    parseSources();
    findReads();
    checkSources();
    collectDiagnostics();
    if (m_stopsCompile)
        return CompiledResult::failure(m_diagnostics);

    const auto program = QSharedPointer<CompiledProgram>::create();
    assemble(*program);
    if (const auto failure = attachBackend(*program))
        return CompiledResult::failure(m_diagnostics + *failure);
    Cache::instance().store(key, QSharedPointer<CachedCompile>::create(
                                     CachedCompile{program, m_request.sources, m_diagnostics}));
    return CompiledResult(program, m_diagnostics);
}

/// The text under the key joins names and sources without quoting, so that two graphs may share a
/// key.
bool GraphCompiler::isSameGraph(const CachedCompile &cached) const
{
    const CompiledProgram &program = *cached.program;
    return cached.sources == m_request.sources &&
           std::equal(program.inputs.begin(), program.inputs.end(), m_request.inputs.begin(),
                      m_request.inputs.end(), isSameDeclaration) &&
           std::equal(program.outputs.begin(), program.outputs.end(), m_request.outputs.begin(),
                      m_request.outputs.end(), isSameName);
}

QSharedPointer<const CompiledProgram> GraphCompiler::rebuild(const CompiledProgram &cached) const
{
    const auto program = QSharedPointer<CompiledProgram>::create(cached);
    program->fromCache = true;
    takeHandles(program->inputs, m_request.inputs);
    takeHandles(program->outputs, m_request.outputs);
    indexHandles(*program);
    if (program->reportRuntimeFaults != m_request.reportRuntimeFaults) {
        program->reportRuntimeFaults = m_request.reportRuntimeFaults;
        if (program->backend == Backend::Interpreted)
            program->lowered = lower(*program);
    }
    return program;
}

void GraphCompiler::parseSources()
{
    for (const SlotBinding &input : std::as_const(m_request.inputs))
        m_slots.insert(input.name,
                       {{input.type, input.structName, input.elementType}, input.handle});
    for (qsizetype i = 0; i < m_request.outputs.size(); ++i) {
        m_slots.insert(m_request.outputs[i].name, {TypeRef{}, m_request.outputs[i].handle});
        Source source;
        source.parsed = Parser(m_request.sources[i]).parse();
        source.diagnostics = std::exchange(source.parsed.diagnostics, {});
        source.stopsCompile = !source.diagnostics.isEmpty();
        m_sources.append(std::move(source));
    }
}

void GraphCompiler::findReads()
{
    QHash<QString, qsizetype> inputIndexes;
    QHash<QString, qsizetype> outputIndexes;
    for (qsizetype i = 0; i < m_request.inputs.size(); ++i)
        inputIndexes.insert(m_request.inputs[i].name, i);
    for (qsizetype i = 0; i < m_request.outputs.size(); ++i)
        outputIndexes.insert(m_request.outputs[i].name, i);
    for (Source &source : m_sources) {
        QSet<qsizetype> seen;
        forEachNode(source.parsed.root, [&](const AstNode &node) {
            if (node.kind != AstKind::Identifier)
                return;
            if (const auto input = inputIndexes.constFind(node.name);
                input != inputIndexes.constEnd())
                m_request.inputs[*input].used = true;
            const auto output = outputIndexes.constFind(node.name);
            if (output == outputIndexes.constEnd() || seen.contains(*output))
                return;
            seen.insert(*output);
            source.reads.append(*output);
        });
    }
}

/// In dependency order, so that each output is checked against the final types of what it reads.
void GraphCompiler::checkSources()
{
    QStringList names;
    QList<QList<qsizetype>> reads;
    for (qsizetype i = 0; i < m_sources.size(); ++i) {
        names.append(m_request.outputs[i].name);
        reads.append(m_sources[i].reads);
    }
    const OutputOrder found = orderOutputs(names, reads);
    m_order = found.order;
    m_cycles = found.diagnostics;
    for (const qsizetype output : std::as_const(m_order))
        checkSource(output);
}

void GraphCompiler::checkSource(qsizetype output)
{
    Source &source = m_sources[output];
    if (!source.parsed.root)
        return; // already reported; whoever reads it sees a float
    TypeChecker checker(m_slots, m_knownStructs);
    checker.registerStructs(source.parsed.structs);
    checker.registerUserFunctions(source.parsed.functions);
    source.type = checker.check(source.parsed.root);
    source.structs = checker.structs();
    source.recursiveFunctions = checker.recursiveFunctions();
    source.diagnostics += checker.diagnostics().kept();
    source.stopsCompile = source.stopsCompile || checker.diagnostics().stopsCompile();
    m_slots[m_request.outputs[output].name].type = source.type;
    for (const StructDef &definition : source.structs.all())
        m_knownStructs.registerStruct(definition);
}

void GraphCompiler::collectDiagnostics()
{
    for (const Source &source : std::as_const(m_sources)) {
        m_diagnostics += source.diagnostics;
        m_stopsCompile = m_stopsCompile || source.stopsCompile;
    }
    m_diagnostics += m_cycles.kept();
    m_stopsCompile = m_stopsCompile || m_cycles.stopsCompile();
    m_diagnostics = m_diagnostics.first(std::min(m_diagnostics.size(), maxDiagnostics));
}

void GraphCompiler::assemble(CompiledProgram &program) const
{
    program.inputs = m_request.inputs;
    program.outputs = m_request.outputs;
    program.evaluationOrder = m_order;
    program.reportRuntimeFaults = m_request.reportRuntimeFaults;
    for (qsizetype i = 0; i < m_sources.size(); ++i) {
        const Source &source = m_sources[i];
        SlotBinding &binding = program.outputs[i];
        binding.type = source.type.type;
        binding.structName = source.type.structName;
        binding.elementType = source.type.elementType;
        program.code.append(
            {source.parsed.root, source.parsed.functions, source.recursiveFunctions, source.reads});
        for (const StructDef &definition : source.structs.all())
            program.structs.registerStruct(definition);
    }
    program.inputFloatCount = layOut(program.inputs, program.arrayCount);
    int outputArrays = 0;
    program.outputFloatCount = layOut(program.outputs, outputArrays);
    indexHandles(program);
}

std::optional<QList<Diagnostic>> GraphCompiler::attachBackend(CompiledProgram &program) const
{
    switch (m_request.backend) {
    case Backend::Auto:
        // Compiling native code takes seconds: whoever wants it asks for it.
    case Backend::Interpreted:
        program.backend = Backend::Interpreted;
        program.lowered = lower(program);
        return std::nullopt;
    case Backend::Native:
        program.backend = Backend::Native;
        return attachNative(program);
    case Backend::Gpu:
        program.backend = Backend::Gpu;
        return attachGpu(program);
    }
    Q_UNREACHABLE();
}

} // namespace eval::internal
