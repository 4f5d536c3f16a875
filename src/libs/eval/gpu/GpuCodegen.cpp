// The layout of a shader: structs, functions, and a main that reads inputs and writes outputs, in
// the templates of resources/templates.

#include <eval/gpu/GpuCodegen.h>

#include <eval/gpu/GlslBody.h>
#include <eval/gpu/GlslText.h>
#include <eval/gpu/GlslUnit.h>
#include <eval/internal/codegen/EntryEmitter.h>
#include <eval/internal/frontend/AstWalk.h>

#include <QFile>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace eval::gpu {

using namespace internal;

namespace {

QByteArray readTemplate(const char *name)
{
    QFile file(u":/eval/gpu/%1"_s.arg(QLatin1StringView(name)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// A part of gpu_functions.glsl, and the functions that calls of it are known by.
struct FunctionPart
{
    QList<QByteArray> calls;
    QByteArray text;
};

QList<FunctionPart> readFunctionParts()
{
    QList<FunctionPart> parts;
    for (const QByteArray &line : readTemplate("gpu_functions.glsl").split('\n')) {
        if (line.startsWith("// {{")) {
            FunctionPart part;
            for (const QByteArray &name : line.sliced(5).chopped(2).split(' '))
                part.calls.append(name + '(');
            parts.append(part);
        } else if (!parts.isEmpty()) {
            parts.last().text += line + '\n';
        }
    }
    return parts;
}

/// Those functions that a text calls, directly or through others.
QByteArray functionsFor(const QByteArray &text)
{
    static const QList<FunctionPart> parts = readFunctionParts();
    QByteArray taken;
    for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
        if (std::ranges::any_of(part->calls, [&](const QByteArray &call) {
                return text.contains(call) || taken.contains(call);
            }))
            taken.prepend(part->text);
    }
    return taken;
}

/// How one lane reads its inputs and writes its outputs.
class LaneText
{
public:
    virtual ~LaneText() = default;
    virtual QByteArray input(int offset) const = 0;
    virtual QByteArray output(int offset) const = 0;
    virtual QByteArray unused() const { return {}; }
};

class ComputeText : public LaneText
{
public:
    explicit ComputeText(const CompiledProgram &program)
        : m_inputs(QByteArray::number(program.inputFloatCount))
        , m_outputs(QByteArray::number(program.outputFloatCount))
    {}
    QByteArray input(int offset) const override
    {
        return "in_data[gid * " + m_inputs + "u + " + QByteArray::number(offset) + "u]";
    }
    QByteArray output(int offset) const override
    {
        return "out_data[gid * " + m_outputs + "u + " + QByteArray::number(offset) + "u]";
    }

private:
    QByteArray m_inputs;
    QByteArray m_outputs;
};

class FragmentText : public LaneText
{
public:
    explicit FragmentText(const CompiledProgram &program)
        : m_outputs(program.outputFloatCount)
    {}
    QByteArray input(int offset) const override
    {
        return "texelFetch(in_tex" + QByteArray::number(offset / 4) + ", px, 0)." +
               "xyzw"[offset % 4];
    }
    QByteArray output(int offset) const override
    {
        return "out_" + QByteArray::number(offset / 4) + '.' + "xyzw"[offset % 4];
    }
    QByteArray unused() const override
    {
        QByteArray text;
        for (int lane = m_outputs; lane % 4 != 0; ++lane)
            text += "    " + output(lane) + " = 0.0;\n";
        return text;
    }

private:
    int m_outputs;
};

class MainWriter : public EntryEmitter
{
public:
    MainWriter(const CompiledProgram &program, StatementEmitter &body, const LaneText &lane)
        : EntryEmitter(program, body)
        , m_lane(lane)
    {}

protected:
    QByteArray inputText(int offset) const override { return m_lane.input(offset); }
    QByteArray outputText(int offset) const override { return m_lane.output(offset); }
    void readArray(const SlotBinding &, const QByteArray &) override
    {
        m_writer.unit().setUnsupported();
    }

private:
    const LaneText &m_lane;
};

void emitUserFunction(GlslUnit &unit, qsizetype index)
{
    CodeFunction &function = unit.functions[index];
    const AstNode &definition = *function.definition;
    GlslBody body(unit, &function);
    QList<QByteArray> parameters;
    for (qsizetype i = 0; i < definition.params.size(); ++i) {
        const FunctionParam &param = definition.params[i];
        const bool isGiven =
            param.qualifier == ParamQualifier::ByValue || param.qualifier == ParamQualifier::Const;
        if (param.isArray || !isGiven)
            unit.setUnsupported();
        const QByteArray name = 'a' + QByteArray::number(i);
        parameters.append(unit.typeText(param.type, param.structName) + ' ' + name);
        body.writer().bindVariable(param.name,
                                   {name, param.type, param.structName, Type::Float, true, true});
    }
    const QByteArray type = unit.typeText(definition.type, definition.structName);
    body.emitStatement(*definition.body);
    function.text =
        type + ' ' + function.name + '(' + parameters.join(", ") + ")\n{\n" + body.writer().text() +
        (definition.type == Type::Void
             ? QByteArray()
             : "    return " + unit.defaultText(definition.type, definition.structName) + ";\n") +
        "}\n\n";
}

/// All functions that the outputs can reach, each after those that it calls. With a stack of its
/// own: a chain of calls is as long as its source. No function may be on a cycle.
QByteArray reachableFunctions(const GlslUnit &unit)
{
    QByteArray text;
    QList<bool> isDone(unit.functions.size(), false);
    for (const qsizetype entry : unit.entryCalls) {
        std::vector<qsizetype> pending{entry};
        while (!pending.empty()) {
            const qsizetype index = pending.back();
            const CodeFunction &function = unit.functions[index];
            const auto open = std::ranges::find_if(
                function.calls, [&isDone](qsizetype callee) { return !isDone[callee]; });
            if (open != function.calls.end()) {
                pending.push_back(*open);
                continue;
            }
            if (!isDone[index])
                text += function.text;
            isDone[index] = true;
            pending.pop_back();
        }
    }
    return text;
}

QByteArray emitStructsAndUserFunctions(GlslUnit &unit, const CompiledProgram &program)
{
    const QByteArray structs = unit.structText();
    unit.emitFunctions(program, [&unit](qsizetype i) { emitUserFunction(unit, i); });
    if (unit.hasRecursion())
        unit.setUnsupported(); // a shader has no stack
    return structs;
}

/// Everything but what only one of the lanes has.
GpuUnit emitWith(const CompiledProgram &program, const LaneText &lane, QByteArray shell)
{
    GpuUnit result;
    GlslUnit unit(program.structs);
    const QByteArray structs = emitStructsAndUserFunctions(unit, program);
    GlslBody entry(unit, nullptr);
    QByteArray body;
    if (unit.isSupported())
        body = MainWriter(program, entry, lane).emitAll(result.outputs) + lane.unused();
    result.isSupported = unit.isSupported();
    if (!result.isSupported)
        return result;
    if (unit.isTooLarge()) {
        result.refusal = u"the program is too large for a shader: more than %1 operations"_s.arg(
            GlslUnit::statementLimit);
        return result;
    }
    const QByteArray functions = structs + reachableFunctions(unit);
    result.countsRounds = functions.contains("evalIsSpent(");
    if (result.countsRounds) {
        // A point whose rounds were used up has no value.
        body += "    if (evalRounds > 1048576) {\n";
        for (int i = 0; i < program.outputFloatCount; ++i)
            body += "        " + lane.output(i) + " = uintBitsToFloat(0x7fc00000u);\n";
        body += "    }\n";
    }
    shell.replace("// {{FUNCTIONS}}\n", functionsFor(functions + body) + functions);
    shell.replace("// {{MAIN}}\n", body);
    result.source = QString::fromLatin1(shell);
    return result;
}

bool isUnsupportedType(Type type)
{
    const Type scalar = scalarOf(type);
    return type == Type::Array || type == Type::String || scalar == Type::Double ||
           scalar == Type::Int64 || scalar == Type::Uint64;
}

} // namespace

GpuCodegen::GpuCodegen(const CompiledProgram &program)
    : m_program(program)
{}

GpuUnit GpuCodegen::emitComputeShader() const
{
    return emitWith(m_program, ComputeText(m_program), readTemplate("gpu_compute.comp.in"));
}

GpuUnit GpuCodegen::emitFragmentShader() const
{
    if (m_program.outputFloatCount > fragmentOutputLimit) {
        GpuUnit result;
        result.refusal = u"fragment lane: %1 output floats exceed the 16-float MRT cap"_s.arg(
            m_program.outputFloatCount);
        return result;
    }
    QByteArray textures;
    for (int i = 0; i * 4 < m_program.inputFloatCount; ++i)
        textures += "layout(binding = " + QByteArray::number(i + 1) + ") uniform sampler2D in_tex" +
                    QByteArray::number(i) + ";\n";
    QByteArray attachments;
    for (int i = 0; i * 4 < m_program.outputFloatCount; ++i)
        attachments += "layout(location = " + QByteArray::number(i) + ") out vec4 out_" +
                       QByteArray::number(i) + ";\n";
    QByteArray shell = readTemplate("gpu_fragment.frag.in");
    shell.replace("// {{TEXTURES}}\n", textures);
    shell.replace("// {{ATTACHMENTS}}\n", attachments);
    return emitWith(m_program, FragmentText(m_program), shell);
}

bool GpuCodegen::isUnsupported(const AstPtr &node, const StructRegistry *structs)
{
    bool isFound = false;
    forEachNode(node, [&](const AstNode &child) {
        isFound =
            isFound || isUnsupportedType(child.type) || (child.type == Type::Struct && !structs);
    });
    return isFound;
}

QByteArray GpuCodegen::glslTypeName(Type type)
{
    return gpu::glslTypeName(type);
}

} // namespace eval::gpu
