// The layout of a unit: fixed text, structs, functions, entry points.

#include <eval/internal/native/Codegen.h>

#include <eval/internal/codegen/EntryEmitter.h>
#include <eval/internal/native/CodegenBody.h>
#include <eval/internal/native/NativeTypes.h>

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

class EntryWriter : public EntryEmitter
{
public:
    using EntryEmitter::EntryEmitter;

    QByteArray entryText(QList<OutputForm> &outputs)
    {
        return "    (void)eval_in_;\n    (void)eval_arrays_; (void)eval_arrayLens_;\n" +
               emitAll(outputs);
    }

protected:
    QByteArray inputText(int offset) const override { return indexed("eval_in_", offset); }
    QByteArray outputText(int offset) const override { return indexed("eval_out_", offset); }
    void readArray(const SlotBinding &slot, const QByteArray &name) override
    {
        if (!isNativeVariableType(slot.elementType))
            m_writer.unit().setUnsupported();
        m_writer.emitLine("const float *" + name + " = " +
                          indexed("eval_arrays_", slot.arrayIndex) + ';');
        m_writer.emitLine("const int " + name +
                          "_length = " + indexed("eval_arrayLens_", slot.arrayIndex) + ';');
        m_writer.emitLine("(void)" + name + "; (void)" + name + "_length;");
        m_writer.bindVariable(slot.name,
                              {name, Type::Array, slot.structName, slot.elementType, true});
    }
    void noteVariable(const QByteArray &name) override { m_writer.emitLine("(void)" + name + ';'); }
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
    CodeFunction &function = unit.functions[index];
    const AstNode &definition = *function.definition;
    CodegenBody body(unit, &function);
    QList<QByteArray> parameters;
    for (qsizetype i = 0; i < definition.params.size(); ++i) {
        const FunctionParam &param = definition.params[i];
        const QByteArray name = 'a' + QByteArray::number(i);
        parameters.append(parameterText(unit, param, name));
        body.writer().bindVariable(param.name, {name, param.isArray ? Type::Array : param.type,
                                                param.structName,
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
            const CodeFunction &function = m_unit.functions[index];
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
    for (const CodeFunction &function : unit.functions)
        text += lead + function.head + ";\n";
    text += '\n';
    for (const CodeFunction &function : unit.functions)
        text += lead + function.text;
    return text;
}

bool isField(const CompiledProgram &program)
{
    return program.inputs.size() == 1 && program.inputs[0].type == Type::Vec3 &&
           program.outputs.size() == 1 && program.outputs[0].type == Type::Float;
}

/// A field for several points at a time, as a function evalLanes(); empty where something in it can
/// only be said for one.
QByteArray lanesText(const CompiledProgram &program)
{
    CodegenUnit unit(program.structs, CodegenForm::Lanes);
    const QByteArray structs = unit.structText();
    unit.emitFunctions(program, [&unit](qsizetype i) { emitUserFunction(unit, i); });
    const FunctionTable table = makeFunctionTable(program.code[0].functions);
    unit.setTable(&table);
    CodegenBody body(unit, nullptr);
    body.writer().bindVariable(program.inputs[0].name, {"in0", Type::Vec3, {}, Type::Float, true});
    const CodeValue value = body.emitExpression(*program.code[0].root);
    if (!unit.isSupported() || unit.isTooLarge() || value.type != Type::Float ||
        InlinedSize(unit).ofEntry() > inlineLimit)
        return {};
    return structs + functionsText(unit, true) +
           "EVAL_INLINE Float evalLanes(V3 in0)\n{\n    const Bool active = splat(true);\n    "
           "(void)active;\n" +
           body.writer().text() + "    return " + value.text + ";\n}\n";
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
    unit.emitFunctions(m_program, [&unit](qsizetype i) { emitUserFunction(unit, i); });
    CodegenBody body(unit, nullptr);
    const QByteArray entry = EntryWriter(m_program, body).entryText(result.outputs);
    result.isSupported = unit.isSupported() && !unit.hasRecursion();
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
