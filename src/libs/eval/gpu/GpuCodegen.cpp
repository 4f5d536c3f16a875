// The layout of a shader: structs, functions, and a main that reads inputs and writes outputs, in
// the templates of resources/templates.

#include <eval/gpu/GpuCodegen.h>

#include <eval/gpu/GlslBody.h>
#include <eval/gpu/GlslBuiltins.h>
#include <eval/gpu/GlslUnit.h>
#include <eval/internal/frontend/AstWalk.h>
#include <eval/internal/frontend/CallGraph.h>

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
    /// The condition of a grid, and the point of a field there; empty without grids.
    virtual QByteArray gridCondition() const { return {}; }
    virtual QByteArray gridPoint() const { return {}; }
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
    QByteArray gridCondition() const override { return "gridWidth != 0u"; }
    QByteArray gridPoint() const override { return "evalGridPoint(gid)"; }

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

GlslValue slotVariable(const SlotBinding &slot, const QByteArray &name, Type type)
{
    return {name, type, slot.structName, true, true, 0};
}

/// Reads the inputs into variables: an output's expression may assign to them.
class MainWriter
{
public:
    MainWriter(GlslUnit &unit, const CompiledProgram &program, const LaneText &lane)
        : m_unit(unit)
        , m_program(program)
        , m_lane(lane)
        , m_body(unit, nullptr)
    {}

    QByteArray write(QList<OutputForm> &forms)
    {
        for (qsizetype i = 0; i < m_program.inputs.size(); ++i)
            readInput(m_program.inputs[i], "in" + QByteArray::number(i));
        forms.resize(m_program.outputs.size());
        for (const qsizetype index : m_program.evaluationOrder)
            writeOutput(index, forms[index]);
        return m_body.text() + m_lane.unused();
    }

private:
    void readInput(const SlotBinding &slot, const QByteArray &name)
    {
        if (!isGlslType(slot.type) || laneCount(slot.type) != slotFloatWidth(slot.type)) {
            // An input that nobody reads needs no form.
            if (slot.used || slot.type == Type::Array)
                m_unit.setUnsupported();
            return;
        }
        QList<QByteArray> lanes;
        for (int i = 0; i < laneCount(slot.type); ++i)
            lanes.append(
                glslCast(m_lane.input(slot.floatOffset + i), Type::Float, scalarOf(slot.type)));
        const QByteArray type = glslTypeName(slot.type);
        const QByteArray value = isScalar(slot.type) ? lanes.first() : glslCall(type, lanes);
        const bool mayBeGrid = slot.type == Type::Vec3 && m_program.inputFloatCount == 3 &&
                               m_program.outputFloatCount == 1;
        if (mayBeGrid && !m_lane.gridCondition().isEmpty()) {
            // No choice by ?: here, which may read both.
            m_body.emitLine(type + ' ' + name + ';');
            m_body.emitLine("if (" + m_lane.gridCondition() + ')');
            m_body.emitLine("    " + name + " = " + m_lane.gridPoint() + ';');
            m_body.emitLine("else");
            m_body.emitLine("    " + name + " = " + value + ';');
        } else {
            m_body.emitLine(type + ' ' + name + " = " + value + ';');
        }
        m_body.bindVariable(slot.name, slotVariable(slot, name, slot.type));
    }

    GlslValue rootValue(const OutputCode &code)
    {
        if (!code.root)
            return {"/* empty output expression */ 0.0", Type::Float, {}, false, false, 0};
        const FunctionTable table = makeFunctionTable(code.functions);
        m_unit.setTable(&table);
        return m_body.emitExpression(*code.root);
    }

    void writeOutput(qsizetype index, OutputForm &form)
    {
        const SlotBinding &slot = m_program.outputs[index];
        const OutputCode &code = m_program.code[index];
        const GlslValue value = rootValue(code);
        form.type = value.type;
        form.isBits = value.type == Type::Uint && code.root && code.root->builtin &&
                      isPacking(*code.root->builtin);
        if (!isGlslType(value.type) || laneCount(value.type) != slotFloatWidth(slot.type)) {
            m_unit.setUnsupported();
            return;
        }
        const QByteArray name = "out" + QByteArray::number(index);
        m_body.emitLine(glslTypeName(value.type) + ' ' + name + " = " + value.text + ';');
        const GlslValue variable = slotVariable(slot, name, value.type);
        m_body.bindVariable(slot.name, variable);
        for (int i = 0; i < laneCount(value.type); ++i) {
            const QByteArray lane = glslLane(variable, i);
            m_body.emitLine(m_lane.output(slot.floatOffset + i) + " = " +
                            (form.isBits ? "uintBitsToFloat(" + lane + ')'
                                         : glslCast(lane, scalarOf(value.type), Type::Float)) +
                            ';');
        }
    }

    GlslUnit &m_unit;
    const CompiledProgram &m_program;
    const LaneText &m_lane;
    GlslBody m_body;
};

void emitUserFunction(GlslUnit &unit, qsizetype index)
{
    GlslFunction &function = unit.functions[index];
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
        body.bindVariable(param.name, {name, param.type, param.structName, true, true, 0});
    }
    const QByteArray type = unit.typeText(definition.type, definition.structName);
    body.emitStatement(*definition.body);
    function.text =
        type + ' ' + function.name + '(' + parameters.join(", ") + ")\n{\n" + body.text() +
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
            const GlslFunction &function = unit.functions[index];
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
    for (const OutputCode &code : program.code) {
        const qsizetype first = unit.functions.size();
        unit.addFunctions(code.functions);
        const FunctionTable table = makeFunctionTable(code.functions);
        unit.setTable(&table);
        for (qsizetype i = first; i < unit.functions.size() && unit.isSupported(); ++i)
            emitUserFunction(unit, i);
    }
    QList<QList<qsizetype>> edges;
    for (const GlslFunction &function : std::as_const(unit.functions))
        edges.append(function.calls);
    if (nodesOnCycles(edges).contains(true))
        unit.setUnsupported(); // a shader has no stack
    return structs;
}

/// Everything but what only one of the lanes has.
GpuUnit emitWith(const CompiledProgram &program, const LaneText &lane, QByteArray shell)
{
    GpuUnit result;
    GlslUnit unit(program.structs);
    const QByteArray structs = emitStructsAndUserFunctions(unit, program);
    QByteArray body =
        unit.isSupported() ? MainWriter(unit, program, lane).write(result.outputs) : QByteArray();
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
