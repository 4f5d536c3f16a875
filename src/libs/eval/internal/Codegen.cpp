// The layout of a unit: fixed text, structs, functions, entry points.

#include <eval/internal/Codegen.h>

#include <eval/internal/CallGraph.h>
#include <eval/internal/CodegenBody.h>
#include <eval/internal/CodegenBuiltins.h>

#include <QFile>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

/// Up to this many statements everything is merged into the entry points.
constexpr qsizetype inlineLimit = 8'000;

constexpr auto entryText = R"(
extern "C" void eval_main(const float *eval_in_, float *eval_out_,
                          const float *const *eval_arrays_, const int *eval_arrayLens_)
{
    evalPoint(eval_in_, eval_out_, eval_arrays_, eval_arrayLens_);
}
)";

constexpr auto rowText = R"(
extern "C" void eval_row(const float *__restrict__ xs, float y, float z, float *__restrict__ out,
                         long count)
{
    for (long i = 0; i < count; ++i) {
        const float point[3] = {xs[i], y, z};
        evalPoint(point, out + i, nullptr, nullptr);
    }
}
)";

constexpr auto watchText = R"(
extern "C" void eval_watch(const unsigned char *flag)
{
    evalCancelFlag = flag;
}
)";

QByteArray indexed(const char *name, int index)
{
    return name + ('[' + QByteArray::number(index) + ']');
}

Operand slotVariable(const SlotBinding &slot, const QByteArray &name, Type type)
{
    return {name, type, slot.structName, slot.elementType, true};
}

/// Reads the inputs into variables: an output's expression may assign to them.
class EntryWriter
{
public:
    EntryWriter(CodegenUnit &unit, const CompiledProgram &program)
        : m_unit(unit)
        , m_program(program)
        , m_body(unit, nullptr)
    {}

    QByteArray write(QList<NativeOutput> &outputs)
    {
        for (qsizetype i = 0; i < m_program.inputs.size(); ++i)
            readInput(m_program.inputs[i], "in" + QByteArray::number(i));
        outputs.resize(m_program.outputs.size());
        for (const qsizetype index : m_program.evaluationOrder)
            writeOutput(index, outputs[index]);
        return "    (void)eval_in_;\n    (void)eval_arrays_; (void)eval_arrayLens_;\n" +
               m_body.text();
    }

private:
    void readInput(const SlotBinding &slot, const QByteArray &name)
    {
        if (slot.type == Type::Array) {
            if (!isNativeVariableType(slot.elementType))
                m_unit.setUnsupported();
            m_body.emitLine("const float *" + name + " = " +
                            indexed("eval_arrays_", slot.arrayIndex) + ';');
            m_body.emitLine("const int " + name +
                            "_length = " + indexed("eval_arrayLens_", slot.arrayIndex) + ';');
            m_body.emitLine("(void)" + name + "; (void)" + name + "_length;");
            m_body.bindVariable(slot.name, slotVariable(slot, name, Type::Array));
            return;
        }
        if (!isNativeVariableType(slot.type)) {
            // An input that nobody reads needs no form.
            if (slot.used)
                m_unit.setUnsupported();
            return;
        }
        QList<QByteArray> lanes;
        for (int i = 0; i < laneCount(slot.type); ++i)
            lanes.append(nativeCast(indexed("eval_in_", slot.floatOffset + i), Type::Float,
                                    scalarOf(slot.type)));
        m_body.emitLine(nativeTypeName(slot.type) + ' ' + name + " = " +
                        nativeCompose(slot.type, lanes) + ';');
        m_body.emitLine("(void)" + name + ';');
        m_body.bindVariable(slot.name, slotVariable(slot, name, slot.type));
    }

    void writeOutput(qsizetype index, NativeOutput &output)
    {
        const SlotBinding &slot = m_program.outputs[index];
        const FunctionTable table = makeFunctionTable(m_program.code[index].functions);
        m_unit.setTable(&table);
        const AstNode &root = *m_program.code[index].root;
        const Operand value = m_body.emitExpression(root);
        output.type = value.type;
        output.isBits = value.type == Type::Uint && root.builtin && isPacking(*root.builtin);
        if (!isNativeVariableType(value.type) ||
            laneCount(value.type) != slotFloatWidth(slot.type)) {
            m_unit.setUnsupported();
            return;
        }
        const QByteArray name = "out" + QByteArray::number(index);
        m_body.emitLine(nativeTypeName(value.type) + ' ' + name + " = " + value.text + ';');
        const Operand variable = slotVariable(slot, name, value.type);
        m_body.bindVariable(slot.name, variable);
        for (int i = 0; i < laneCount(value.type); ++i) {
            const QByteArray lane = nativeLane(variable, i);
            m_body.emitLine(indexed("eval_out_", slot.floatOffset + i) + " = " +
                            (output.isBits ? "_bitsToFloat(" + lane + ')'
                                           : nativeCast(lane, scalarOf(value.type), Type::Float)) +
                            ';');
        }
    }

    CodegenUnit &m_unit;
    const CompiledProgram &m_program;
    CodegenBody m_body;
};

QByteArray parameterText(CodegenUnit &unit, const FunctionParam &param, const QByteArray &name)
{
    if (param.isArray) {
        if (!isNativeVariableType(param.type))
            unit.setUnsupported();
        return "const float *" + name + ", int " + name + "_length";
    }
    if (param.type != Type::Struct && !isNativeVariableType(param.type))
        unit.setUnsupported();
    const bool isBack =
        param.qualifier == ParamQualifier::Out || param.qualifier == ParamQualifier::InOut;
    return unit.typeText(param.type, param.structName) + (isBack ? " &" : " ") + name;
}

void emitUserFunction(CodegenUnit &unit, qsizetype index)
{
    CodegenFunction &function = unit.functions[index];
    const AstNode &definition = *function.definition;
    CodegenBody body(unit, &function);
    QList<QByteArray> parameters;
    for (qsizetype i = 0; i < definition.params.size(); ++i) {
        const FunctionParam &param = definition.params[i];
        const QByteArray name = 'a' + QByteArray::number(i);
        parameters.append(parameterText(unit, param, name));
        body.bindVariable(param.name,
                          {name, param.isArray ? Type::Array : param.type, param.structName,
                           param.isArray ? param.type : Type::Float, true});
    }
    if (definition.type != Type::Void && definition.type != Type::Struct &&
        !isNativeVariableType(definition.type))
        unit.setUnsupported();
    if (unit.isForLanes())
        parameters.append("Bool active");
    function.head = unit.typeText(definition.type, definition.structName) + ' ' + function.name +
                    '(' + parameters.join(", ") + ')';
    body.emitStatement(*definition.body);
    function.text = function.head + "\n{\n" + body.functionText() + "}\n\n";
}

QList<QList<qsizetype>> callEdges(const CodegenUnit &unit)
{
    QList<QList<qsizetype>> edges;
    for (const CodegenFunction &function : unit.functions)
        edges.append(function.calls);
    return edges;
}

/// The statements that there are once every call is replaced by its body; more than the limit where
/// functions that call each other twice double at each level. No function may be on a cycle.
class InlinedSize
{
public:
    explicit InlinedSize(const CodegenUnit &unit)
        : m_unit(unit)
        , m_sizes(unit.functions.size(), -1)
    {}

    qsizetype ofEntry()
    {
        qsizetype sum = m_unit.statements();
        for (const qsizetype callee : m_unit.entryCalls)
            sum = std::min(sum + sizeOf(callee), inlineLimit + 1);
        return sum;
    }

private:
    /// With a stack of its own: a chain of calls is as long as its source.
    qsizetype sizeOf(qsizetype root)
    {
        std::vector<qsizetype> pending{root};
        while (!pending.empty()) {
            const qsizetype index = pending.back();
            const CodegenFunction &function = m_unit.functions[index];
            const auto open = std::ranges::find_if(
                function.calls, [this](qsizetype callee) { return m_sizes[callee] < 0; });
            if (open != function.calls.end()) {
                pending.push_back(*open);
                continue;
            }
            qsizetype sum = function.statements;
            for (const qsizetype callee : function.calls)
                sum = std::min(sum + m_sizes[callee], inlineLimit + 1);
            m_sizes[index] = sum;
            pending.pop_back();
        }
        return m_sizes[root];
    }

    const CodegenUnit &m_unit;
    QList<qsizetype> m_sizes;
};

/// Functions stand after those that they call wherever that is needed: all are declared first.
QByteArray functionsText(const CodegenUnit &unit, bool isInlined)
{
    const QByteArray lead = isInlined ? "EVAL_INLINE " : "static ";
    QByteArray text;
    for (const CodegenFunction &function : unit.functions)
        text += lead + function.head + ";\n";
    text += '\n';
    for (const CodegenFunction &function : unit.functions)
        text += lead + function.text;
    return text;
}

bool isField(const CompiledProgram &program)
{
    return program.inputs.size() == 1 && program.inputs[0].type == Type::Vec3 &&
           program.outputs.size() == 1 && program.outputs[0].type == Type::Float;
}

void emitFunctions(CodegenUnit &unit, const CompiledProgram &program)
{
    for (const OutputCode &code : program.code) {
        const qsizetype first = unit.functions.size();
        unit.addFunctions(code.functions);
        const FunctionTable table = makeFunctionTable(code.functions);
        unit.setTable(&table);
        for (qsizetype i = first; i < unit.functions.size(); ++i)
            emitUserFunction(unit, i);
    }
}

/// A field for several points at a time, as a function evalLanes(); empty where something in it can
/// only be said for one.
QByteArray lanesText(const CompiledProgram &program)
{
    CodegenUnit unit(program.structs, CodegenForm::Lanes);
    const QByteArray structs = unit.structText();
    emitFunctions(unit, program);
    const FunctionTable table = makeFunctionTable(program.code[0].functions);
    unit.setTable(&table);
    CodegenBody body(unit, nullptr);
    body.bindVariable(program.inputs[0].name, slotVariable(program.inputs[0], "in0", Type::Vec3));
    const Operand value = body.emitExpression(*program.code[0].root);
    if (!unit.isSupported() || unit.isTooLarge() || value.type != Type::Float ||
        InlinedSize(unit).ofEntry() > inlineLimit)
        return {};
    return structs + functionsText(unit, true) +
           "EVAL_INLINE Float evalLanes(V3 in0)\n{\n    const Bool active = splat(true);\n    "
           "(void)active;\n" +
           body.text() + "    return " + value.text + ";\n}\n";
}

QByteArray readParts(std::initializer_list<const char *> names)
{
    QByteArray all;
    for (const char *const name : names) {
        QFile file(u":/native/native_%1.inc.cpp"_s.arg(QLatin1StringView(name)));
        if (file.open(QIODevice::ReadOnly))
            all += file.readAll();
    }
    return all;
}

} // namespace

Codegen::Codegen(const CompiledProgram &program)
    : m_program(program)
{}

NativeUnit Codegen::emitUnit()
{
    NativeUnit result;
    CodegenUnit unit(m_program.structs);
    const QByteArray structs = unit.structText();
    emitFunctions(unit, m_program);
    const QByteArray entry = EntryWriter(unit, m_program).write(result.outputs);
    result.isSupported = unit.isSupported() && !nodesOnCycles(callEdges(unit)).contains(true);
    if (!result.isSupported)
        return result;
    const bool isInlined = InlinedSize(unit).ofEntry() <= inlineLimit;
    if (unit.isTooLarge()) {
        result.refusal = u"the program is too large to compile: more than %1 operations"_s.arg(
            CodegenUnit::statementLimit);
        return result;
    }
    const QByteArray lead = isInlined ? "EVAL_INLINE" : "static";
    result.text = fixedText() + '\n' + structs + functionsText(unit, isInlined) + lead +
                  " void evalPoint(const float *eval_in_, float *eval_out_,\n"
                  "    const float *const *eval_arrays_, const int *eval_arrayLens_)\n{\n" +
                  entry + "}\n" + entryText + (unit.isWatched() ? watchText : "");
    if (isField(m_program))
        addRows(result);
    return result;
}

void Codegen::addRows(NativeUnit &unit) const
{
    const QByteArray lanes = lanesText(m_program);
    unit.hasRow = true;
    unit.hasLanes = !lanes.isEmpty();
    unit.text +=
        unit.hasLanes ? fixedLaneText() + '\n' + lanes + "}\n" + rowsText() : QByteArray(rowText);
}

bool Codegen::isUnsupported(const CompiledProgram &program)
{
    return !Codegen(program).emitUnit().isSupported;
}

QByteArray Codegen::fixedText()
{
    static const QByteArray text =
        readParts({"prelude", "scalars", "vectors", "functions", "matrices", "points", "bits"});
    return text;
}

QByteArray Codegen::fixedLaneText()
{
    static const QByteArray text = readParts({"lanes", "vectors", "functions", "matrices"});
    return text;
}

QByteArray Codegen::rowsText()
{
    static const QByteArray text = readParts({"rows"});
    return text;
}

} // namespace eval::internal
