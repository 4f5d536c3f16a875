#include <eval/Graph.h>
#include <eval/internal/Builtin.h>
#include <eval/internal/Codegen.h>
#include <eval/internal/CompiledProgram.h>
#include <eval/internal/GraphCompiler.h>

#include "RandomProgram.h"

#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTest>
#include <QVector3D>

#include <bit>
#include <cmath>

using namespace Qt::StringLiterals;
using namespace eval::internal;
using eval::Backend;
using eval::Handle;
using eval::Type;

namespace {

struct Input
{
    QString name;
    Type type;
};

const QList<Input> inputs = {
    {u"p"_s, Type::Vec3}, {u"k"_s, Type::Float}, {u"n"_s, Type::Int}, {u"flag"_s, Type::Bool}};

CompiledResult compile(const QStringList &sources)
{
    CompileRequest request;
    Handle handle = 0;
    for (const Input &input : inputs) {
        SlotBinding slot;
        slot.name = input.name;
        slot.type = input.type;
        slot.handle = ++handle;
        request.inputs.append(slot);
    }
    for (const QString &source : sources) {
        SlotBinding slot;
        slot.name = u"output%1"_s.arg(handle);
        slot.handle = ++handle;
        request.outputs.append(slot);
        request.sources.append(source);
    }
    return GraphCompiler(request).compile();
}

NativeUnit unitOf(const QString &source)
{
    const CompiledResult compiled = compile({source});
    return compiled ? Codegen(*compiled.value()).emitUnit() : NativeUnit{.isSupported = false};
}

NativeUnit fieldUnitOf(const QString &source)
{
    CompileRequest request;
    SlotBinding slot;
    slot.name = u"p"_s;
    slot.type = Type::Vec3;
    slot.handle = 1;
    request.inputs.append(slot);
    SlotBinding distance;
    distance.name = u"d"_s;
    distance.handle = 2;
    request.outputs.append(distance);
    request.sources.append(source);
    const CompiledResult compiled = GraphCompiler(request).compile();
    return compiled ? Codegen(*compiled.value()).emitUnit() : NativeUnit{.isSupported = false};
}

/// A call of a built-in, over the inputs, that gives something with a slot.
QString callOf(const Builtin &entry)
{
    const QString name = entry.name;
    const bool isMatrix =
        name == u"determinant"_s || name == u"transpose"_s || name == u"inverse"_s;
    const bool isBool = name == u"any"_s || name == u"all"_s;
    const bool isInteger = name.startsWith(u"bit"_s) || name.startsWith(u"find"_s);
    const QString argument = isMatrix    ? u"mat3(k)"_s
                             : isBool    ? u"lessThan(p, p)"_s
                             : isInteger ? u"n"_s
                                         : u"p"_s;
    QString call = name + u'(' + QStringList(entry.arity, argument).join(u", "_s) + u')';
    // What gives an integer or bool vector has no slot.
    if (name == u"not"_s)
        call = u"any(not(lessThan(p, p)))"_s;
    else if (name.contains(u"Bits"_s) || name.startsWith(u"unpack"_s))
        call = name + u"(k)"_s;
    else if (name == u"isnan"_s || name == u"isinf"_s || name.startsWith(u"less"_s) ||
             name.startsWith(u"greater"_s) || name.endsWith(u"qual"_s))
        call = u"any("_s + call + u')';
    return call;
}

QSet<QString> wordsOf(const QString &text)
{
    static const QRegularExpression word(u"[A-Za-z_][A-Za-z_0-9]*"_s);
    QSet<QString> words;
    for (auto it = word.globalMatch(text); it.hasNext();)
        words.insert(it.next().captured());
    return words;
}

/// The tokens of a unit that the generator can't have made itself; empty when all is well.
QString strangerIn(const NativeUnit &unit)
{
    static const QSet<QString> known =
        wordsOf(QString::fromUtf8(Codegen::fixedText() + Codegen::fixedLaneText())) +
        wordsOf(u"extern C void const float int unsigned long double bool static struct alignas "
                "result left active evalLanes "
                "if else for switch default break return goto true false static_cast "
                "eval_main eval_row evalPoint eval_in_ eval_out_ eval_arrays_ eval_arrayLens_ "
                "eval_watch flag evalCancelFlag char _isCancelled "
                "xs y z out count point nullptr i __restrict__ __builtin_inff __builtin_inf"_s);
    static const QRegularExpression own(
        u"^(?:[tvrckam]\\d+|(?:in|out)\\d+(?:_length)?|a\\d+_length|S\\d+|"
        "fn\\d+(?:_(?:void|float|double|int|uint|bool|int64_t|uint64_t|vec[234]|mat[234](?:x[234])?)s?)*)$"_s);
    static const QRegularExpression token(
        u"\\s+|(?<word>[A-Za-z_][A-Za-z_0-9]*)|"
        "(?:\\d+\\.\\d+|\\d+)(?:e[+-]?\\d+)?(?:f|u|ll|ull)?|\"C\"|"
        "[-+*/%&|^~<>=!?:;,.(){}\\[\\]]"_s);
    QString text = QString::fromUtf8(unit.text);
    for (const QByteArray &fixed :
         {Codegen::fixedText(), Codegen::fixedLaneText(), Codegen::rowsText()})
        text.remove(QString::fromUtf8(fixed));
    qsizetype at = 0;
    while (at < text.size()) {
        const auto match = token.match(text, at, QRegularExpression::NormalMatch,
                                       QRegularExpression::AnchorAtOffsetMatchOption |
                                           QRegularExpression::DontCheckSubjectStringMatchOption);
        if (!match.hasMatch())
            return text.sliced(at).left(20);
        const QString word = match.captured(u"word"_s);
        if (!word.isEmpty() && !known.contains(word) && !own.match(word).hasMatch())
            return word;
        at = match.capturedEnd();
    }
    // Comments are made of allowed tokens.
    return text.contains(u"//"_s) || text.contains(u"/*"_s) ? u"a comment"_s : QString();
}

QList<double> lanesOf(const QVariant &value)
{
    if (value.typeId() == QMetaType::QVariantList) {
        QList<double> lanes;
        for (const QVariant &item : value.toList())
            lanes += lanesOf(item);
        return lanes;
    }
    if (value.typeId() == QMetaType::QVector2D || value.typeId() == QMetaType::QVector3D ||
        value.typeId() == QMetaType::QVector4D) {
        const auto v = value.value<QVector4D>();
        return {v.x(), v.y(), v.z(), v.w()};
    }
    return {value.toDouble()};
}

bool areClose(const QVariant &found, const QVariant &wanted)
{
    const QList<double> a = lanesOf(found);
    const QList<double> b = lanesOf(wanted);
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](double x, double y) {
        return x == y || (std::isnan(x) && std::isnan(y)) ||
               std::abs(x - y) <= 1e-4 * std::max(1.0, std::abs(y));
    });
}

/// Fields whose points go different ways within a row.
const QStringList partingFields = {
    u"float field(vec3 p) { if (p.x < 0.0) { if (p.z < 0.3) return p.x * 2.0; p.x = -p.x; } "
    "else if (p.x > 2.0) { return 7.0; } return p.x + p.z; }"_s,
    u"void f0(inout float k, float x) { if (x > 0.5) { k = 3.0; return; } k -= x; } "
    "float field(vec3 p) { float k = 1.0; if (p.x > -1.0) { f0(k, p.x); k *= 2.0; } else { k++; } "
    "return k; }"_s,
    u"float field(vec3 p) { float s = 0.0; for (int i = 0; i < 6; i++) { if (float(i) > p.x) "
    "s += p.z; else s -= 0.25; } return s; }"_s,
    u"float field(vec3 p) { float s = 0.0; for (int i = 0; i < 9; i++) { if (float(i) < p.x) "
    "continue; s += p.z; if (s > 2.0) break; if (s < -3.0) return p.x; } return s; }"_s,
    u"float field(vec3 p) { float k = 0.5; float d = p.x > 0.0 ? (k = p.x) * 2.0 : (p.z > 0.0 ? "
    "k + 1.0 : (k -= 1.0)); return d + k; }"_s,
    u"struct S { float a; vec3 b; }; S f0(vec3 p) { S s = S(1.0, p); if (p.x > p.z) return s; "
    "s.a = 5.0; return s; } float field(vec3 p) { S s = f0(p); mat2 m = mat2(1.0); "
    "if (p.x > 0.0) { s.b.zy = p.xy; m[1] = p.xz; s.a += 1.0; s = S(s.a, s.b.zxy); } "
    "return s.a + s.b.y - s.b.z + m[1].x * m[0].y + m[1].y; }"_s,
    u"float f0(inout float k, float x) { if (x > 0.0) { return x; k = 9.0; } k += 1.0; return 2.0; "
    u"} "
    "float field(vec3 p) { float k = 0.0; float s = 0.0; for (int i = 0; i < 4; i++) { s += "
    "f0(k, p.x); if (p.z > p.x) { continue; s = -100.0; } while (s > 3.0) { s -= 0.75; if (k > "
    "2.0) "
    "{ break; s = 50.0; } if (s + p.x < 1.0) return s; } s += 0.125; } return s + k; }"_s,
    u"float f0(float x) { float t = x; do { t *= 0.5; if (t < 0.25) continue; t -= 0.125; } "
    "while (t > 0.1); return t; } float field(vec3 p) { float d = -1.0; if (p.x > 0.0) { "
    "for (float t = 0.1; t < p.x; t += 0.3) { if (t > 1.0 && p.z > 0.0) { d = f0(t); break; } } } "
    "return d; }"_s,
    u"float field(vec3 p) { bool on = p.x > 0.0; if (p.z > p.x) on = !on; "
    "while (on && p.x < 3.0) { p.x += 1.0; } return p.x; }"_s,
};

bool hasCompiler()
{
    return !QStandardPaths::findExecutable(u"g++"_s).isEmpty() ||
           !QStandardPaths::findExecutable(u"clang++"_s).isEmpty();
}

} // namespace

/// The C++ that programs become: what stands in it, what is refused, and what it computes.
class TstCodegen : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void nothingOfASourceIsLeft_data();
    void nothingOfASourceIsLeft();
    void randomProgramsLeaveNothing();
    void builtinsAreAllThere();
    void refusals_data();
    void refusals();
    void largeProgramsAreRefusedByASentence();
    void randomProgramsComputeTheSame();
    void assignmentsReachLaterOutputs();
    void lanesComputeWhatTheirPointsDo();
    void loopsThatMayNotEndAreWatched_data();
    void loopsThatMayNotEndAreWatched();
    void endlessLoopsSeeACancel();
    void batchesAgreeWithPoints();
    void packedBitsCrossTheBuffer();
};

void TstCodegen::nothingOfASourceIsLeft_data()
{
    QTest::addColumn<QString>("source");
    QTest::newRow("names of the host")
        << u"float system(float asm_) { float register_ = asm_; return register_; } system(k)"_s;
    QTest::newRow("keywords of C++") << u"float delete(float new, float class) { float template = "
                                        u"new; return template + class; } "
                                        "delete(k, p.x)"_s;
    QTest::newRow("the entry")
        << u"float eval_main(float eval_in_) { return eval_in_; } eval_main(k)"_s;
    QTest::newRow("letters beyond ASCII") << u"float größe(float ß) { return ß * 2.0; } größe(k)"_s;
    QTest::newRow("a struct") << u"struct FILE { float errno; vec3 stdin; }; FILE exit(float t) { "
                                 u"FILE main = FILE(t, p0(t)); "
                                 "return main; } exit(k).errno"_s.replace(u"p0(t)"_s, u"vec3(t)"_s);
    QTest::newRow("comments") << u"k /* #include \"x\" */ + 1.0 // \\"_s;
    QTest::newRow("huge numbers") << u"k + 1e999 - 1e-999 + 123456789012345678901234567890.0"_s;
    QTest::newRow("whole numbers") << u"k + float(0xFFFFFFFF) + float(4294967295u)"_s;
    QTest::newRow("loops and cases")
        << u"float f(int evil) { float asm = 0.0; for (int break_ = 0; break_ < evil; break_++) { "
           "if (break_ == 1) continue; switch (break_) { case 0x10: asm += 1.0; break; default: "
           "asm -= 2.0; } } while (asm < 0.0) asm++; return asm; } f(n)"_s;
}

void TstCodegen::nothingOfASourceIsLeft()
{
    QFETCH(const QString, source);
    const NativeUnit unit = unitOf(source);
    QVERIFY(unit.isSupported);
    QCOMPARE(strangerIn(unit), QString());
}

void TstCodegen::randomProgramsLeaveNothing()
{
    int checked = 0;
    for (quint32 seed = 0; seed < 150; ++seed) {
        const NativeUnit unit = unitOf(RandomProgram(seed).text());
        if (!unit.isSupported || !unit.refusal.isEmpty())
            continue;
        ++checked;
        QVERIFY2(strangerIn(unit).isEmpty(),
                 qPrintable(u"seed %1: %2"_s.arg(QString::number(seed), strangerIn(unit))));
    }
    QVERIFY2(checked > 50, qPrintable(QString::number(checked)));
}

void TstCodegen::builtinsAreAllThere()
{
    for (const Builtin &entry : builtinTable()) {
        const QString call = callOf(entry);
        const NativeUnit unit = unitOf(call);
        QVERIFY2(unit.isSupported, qPrintable(call));
        QCOMPARE(strangerIn(unit), QString());
    }
}

void TstCodegen::refusals_data()
{
    QTest::addColumn<QString>("source");
    QTest::newRow("double vector") << u"float f(dvec3 v) { return 1.0; } f(dvec3(1.0))"_s;
    QTest::newRow("integer vector") << u"float f(ivec2 v) { return 1.0; } f(ivec2(1))"_s;
    QTest::newRow("double matrix") << u"dmat2(1.0)"_s;
    QTest::newRow("bool vector variable")
        << u"float f(vec3 v) { bvec3 b = lessThan(v, v); return 1.0; } f(p)"_s;
    QTest::newRow("name of two types")
        << u"float f(float a) { float b = a; if (a > 0.0) { int b = 1; } return b; } f(k)"_s;
    QTest::newRow("slot in a function") << u"float f(float a) { return a + k; } f(1.0)"_s;
    QTest::newRow("recursion") << u"float f(float x) { return x < 0.0 ? x : f(x - 1.0); } f(k)"_s;
    QTest::newRow("discard") << u"float f(float x) { if (x > 0.0) discard; return x; } f(k)"_s;
    QTest::newRow("struct output") << u"struct S { float a; }; S(k)"_s;
}

void TstCodegen::refusals()
{
    QFETCH(const QString, source);
    eval::Graph graph;
    for (const Input &input : inputs)
        graph.declareInput(input.name, input.type);
    graph.declareOutput(u"d"_s, source);
    const auto program = graph.compile(Backend::Native);
    QVERIFY(!program);
    QCOMPARE(program.firstError().message,
             u"Backend::Native: codegen does not support this expression yet "
             "(scalar/vector/matrix subset)."_s);
}

void TstCodegen::largeProgramsAreRefusedByASentence()
{
    QStringList functions;
    for (int i = 0; i < 100; ++i) {
        QString body = u"float a = x;"_s;
        for (int j = 0; j < 100; ++j)
            body += u" a = a + sin(a);"_s;
        functions.append(u"float f%1(float x) { %2 return a; }"_s.arg(QString::number(i), body));
    }
    eval::Graph graph;
    graph.declareInput(u"k"_s, Type::Float);
    graph.declareOutput(u"d"_s, functions.join(u'\n') + u"\nf0(k)"_s);
    const auto program = graph.compile(Backend::Native);
    QVERIFY(!program);
    QVERIFY2(program.firstError().message.contains(u"too large to compile"_s),
             qPrintable(program.firstError().message));
}

void TstCodegen::randomProgramsComputeTheSame()
{
    if (!hasCompiler())
        QSKIP("no compiler on this machine");
    constexpr int wanted = 24;
    constexpr qsizetype mostText = 16'000; // beside what all units have
    QStringList sources;
    for (quint32 seed = 1000; sources.size() < wanted; ++seed) {
        QVERIFY2(seed < 2000, "hardly any random program can be compiled");
        const QString source = RandomProgram(seed).text();
        const NativeUnit unit = unitOf(source);
        const qsizetype ownText = unit.text.size() - Codegen::fixedText().size();
        if (unit.isSupported && unit.refusal.isEmpty() && ownText < mostText)
            sources.append(source);
    }
    // One unit for all: the compiler's time is in its start. Inputs are for each its own, because
    // what an output assigns to one reaches the outputs after it.
    static const QRegularExpression inputName(u"\\b(p|k|n|flag)\\b"_s);
    eval::Graph graph;
    QList<QList<Handle>> in(sources.size());
    QList<Handle> out;
    for (qsizetype i = 0; i < sources.size(); ++i) {
        const QString ending = u"_%1"_s.arg(i);
        for (const Input &input : inputs)
            in[i].append(graph.declareInput(input.name + ending, input.type));
        QString source = sources[i];
        out.append(graph.declareOutput(u"output"_s + ending,
                                       source.replace(inputName, u"\\1"_s + ending)));
    }
    auto native = graph.compile(Backend::Native);
    QVERIFY2(native, qPrintable(native.firstError().message));
    int compared = 0;
    for (qsizetype i = 0; i < sources.size(); ++i) {
        eval::Graph single;
        QList<Handle> own;
        for (const Input &input : inputs)
            own.append(single.declareInput(input.name, input.type));
        const Handle result = single.declareOutput(u"d"_s, sources[i]);
        auto walked = single.compile(Backend::Interpreted);
        QVERIFY(walked);
        for (const float x : {-1.5f, 0.25f, 2.0f}) {
            const QVariantList values = {QVector3D(x, 0.5f, -x), x + 1.0f, int(x) + 2, x > 0};
            for (qsizetype j = 0; j < own.size(); ++j) {
                native.value().set(in[i][j], values[j]);
                walked.value().set(own[j], values[j]);
            }
            QVERIFY(native.value().evaluate());
            if (!walked.value().evaluate())
                continue; // faults have values of their own
            ++compared;
            const QVariant found = native.value().get(out[i]);
            const QVariant expected = walked.value().get(result);
            QVERIFY2(areClose(found, expected),
                     qPrintable(u"%1\nfound %2, not %3"_s.arg(sources[i], QDebug::toString(found),
                                                              QDebug::toString(expected))));
        }
    }
    QVERIFY2(compared > wanted, qPrintable(QString::number(compared)));
}

void TstCodegen::assignmentsReachLaterOutputs()
{
    if (!hasCompiler())
        QSKIP("no compiler on this machine");
    for (const Backend backend : {Backend::Interpreted, Backend::Native}) {
        eval::Graph graph;
        const Handle k = graph.declareInput(u"k"_s, Type::Float);
        const Handle before = graph.declareOutput(u"before"_s, u"k"_s);
        const Handle change = graph.declareOutput(u"change"_s, u"(k = k * 2.0) + 1.0"_s);
        const Handle after = graph.declareOutput(u"after"_s, u"k + before"_s);
        auto compiled = graph.compile(backend);
        QVERIFY2(compiled, qPrintable(compiled.firstError().message));
        for (int round = 0; round < 2; ++round) { // the input itself stays what it was set to
            compiled.value().set(k, round == 0 ? 3.0f : compiled.value().getFloat(k));
            QVERIFY(compiled.value().evaluate());
            QCOMPARE(compiled.value().getFloat(before), 3.0f);
            QCOMPARE(compiled.value().getFloat(change), 7.0f);
            QCOMPARE(compiled.value().getFloat(after), 9.0f);
        }
    }
}

/// Such fields, random ones and each built-in, in one unit and chosen by y: rows and scattered
/// points have the bits that each point has by itself, however the lanes part.
void TstCodegen::lanesComputeWhatTheirPointsDo()
{
    if (!hasCompiler())
        QSKIP("no compiler on this machine");
    constexpr int wanted = 8;
    constexpr qsizetype mostText = 50'000; // beside what all units have
    static const QRegularExpression functionName(u"\\bf(\\d+)\\b"_s);
    static const QString point = u"vec3(p.x, p.z, p.x - p.z)"_s;
    QStringList fields = partingFields;
    for (quint32 seed = 5000; fields.size() < partingFields.size() + wanted; ++seed) {
        QVERIFY2(seed < 8000, "hardly any random field has lanes");
        const QString field = RandomProgram(seed).field();
        const NativeUnit unit = fieldUnitOf(field + u" field(p)"_s);
        if (unit.hasLanes && unit.text.count("if (anyLane(") >= 4 &&
            unit.text.size() - Codegen::fixedText().size() < mostText)
            fields.append(field);
    }
    QString functions;
    QString choice = u"p.x"_s;
    int taken = 0;
    for (QString field : std::as_const(fields)) {
        QVERIFY2(fieldUnitOf(field + u" field(p)"_s).hasLanes, qPrintable(field));
        const QString number = QString::number(taken++);
        functions += field.replace(functionName, u"g%1_\\1"_s.arg(number))
                         .replace(u" field("_s, u" field%1("_s.arg(number)) +
                     u'\n';
        choice = u"(p.y == %1.0 ? field%1(%2) : %3)"_s.arg(number, point, choice);
    }
    static const QString reduce =
        u"float r(float v) { return v; } float r(int v) { return float(v); } "
        "float r(bool v) { return v ? 1.0 : 2.0; } float r(vec3 v) { return v.x + 2.0 * v.y + v.z; "
        "} "
        "float r(mat3 m) { return m[0].y + 2.0 * m[2].z; }\n"_s;
    functions += reduce;
    for (const Builtin &entry : builtinTable()) {
        const QString field = u"float field%1(vec3 p) { float k = p.y; int n = int(p.x * 4.0); "
                              "return r(%2); }\n"_s.arg(QString::number(taken), callOf(entry));
        if (!fieldUnitOf(reduce + field + u"field%1(p)"_s.arg(taken)).hasLanes)
            continue;
        functions += field;
        choice = u"(p.y == %1.0 ? field%1(%2) : %3)"_s.arg(QString::number(taken++), point, choice);
    }
    QVERIFY2(taken > fields.size() + 45, qPrintable(QString::number(taken)));
    eval::Graph graph;
    const Handle p = graph.declareInput(u"p"_s, Type::Vec3);
    const Handle d = graph.declareOutput(u"d"_s, functions + choice);
    QVERIFY(fieldUnitOf(functions + choice).hasLanes);
    auto compiled = graph.compile(Backend::Native);
    QVERIFY2(compiled, qPrintable(compiled.firstError().message));
    eval::ThreadCopy copy = compiled.value().threadCopy();
    std::vector<float> xs;
    for (int i = 0; i < 21; ++i)
        xs.push_back(static_cast<float>(i - 9) * 0.37f);
    const auto bitsOf = [](float value) {
        return std::isnan(value) ? 0x7fc00000u : std::bit_cast<quint32>(value);
    };
    for (int index = 0; index < taken; ++index) {
        const auto y = static_cast<float>(index);
        for (const float z : {-1.25f, 0.5f}) {
            std::vector<float> row(xs.size());
            QVERIFY(copy.evaluateRow(p, xs, y, z, d, row, 1e10f));
            std::vector<float> points(xs.size());
            const std::vector<float> ys(xs.size(), y);
            const std::vector<float> zs(xs.size(), z);
            QVERIFY(copy.evaluatePoints(p, xs, ys, zs, d, points, 1e10f));
            for (size_t i = 0; i < xs.size(); ++i) {
                copy.setFloats(p, std::array{xs[i], y, z});
                QVERIFY(copy.evaluateQuick());
                const float alone = copy.getFloat(d);
                QVERIFY2(
                    bitsOf(row[i]) == bitsOf(alone) && bitsOf(points[i]) == bitsOf(alone),
                    qPrintable(u"field %1 at x %2, z %3: row %4, points %5, alone %6"_s.arg(index)
                                   .arg(xs[i])
                                   .arg(z)
                                   .arg(row[i])
                                   .arg(points[i])
                                   .arg(alone)));
            }
        }
    }
}

void TstCodegen::loopsThatMayNotEndAreWatched_data()
{
    QTest::addColumn<QString>("loop");
    QTest::addColumn<bool>("isWatched");
    QTest::newRow("counted") << u"for (int i = 0; i < 100; i++) s += 1.0;"_s << false;
    QTest::newRow("counted by half")
        << u"for (float t = -1.0; t <= 1.0; t += 0.5) s += t;"_s << false;
    QTest::newRow("counted in counted")
        << u"for (int i = 0; i < 8; ++i) for (int j = 0; j < 8; ++j) s += h(s);"_s << false;
    QTest::newRow("too many together")
        << u"for (int i = 0; i < 999; ++i) for (int j = 0; j < 999; ++j) s += 1.0;"_s << true;
    QTest::newRow("too many in a call") << u"for (int i = 0; i < 9000; ++i) s += h(s);"_s << true;
    QTest::newRow("condition") << u"while (s < a) s += 1.0;"_s << true;
    QTest::newRow("do") << u"do s += 1.0; while (s < a);"_s << true;
    QTest::newRow("limit of the input") << u"for (int i = 0; i < n; i++) s += 1.0;"_s << true;
    QTest::newRow("counter written") << u"for (int i = 0; i < 9; i++) i -= 1;"_s << true;
    QTest::newRow("counter handed out") << u"for (int i = 0; i < 9; i++) g(i);"_s << true;
    QTest::newRow("counter declared again") << u"for (int i = 0; i < 9; i++) int i = 0;"_s << true;
    QTest::newRow("step too small for a whole number")
        << u"for (int i = 0; i < 9; i += 0) s += 1.0;"_s << true;
    QTest::newRow("step lost in rounding")
        << u"for (float t = 1e9; t < 1.00001e9; t += 1.0) s += 1.0;"_s << true;
    QTest::newRow("backwards") << u"for (int i = 9; i > 0; i--) s += 1.0;"_s << true;
}

void TstCodegen::loopsThatMayNotEndAreWatched()
{
    QFETCH(const QString, loop);
    QFETCH(const bool, isWatched);
    const NativeUnit unit = unitOf(u"void g(inout int c) { c -= 1; } float h(float b) { "
                                   "for (int q = 0; q < 10; q++) b += 1.0; return b; } "
                                   "float f(float a, int n) { float s = 0.0; %1 return s; } "
                                   "f(k, n)"_s.arg(loop));
    QVERIFY(unit.isSupported);
    QCOMPARE(unit.text.contains("if (_isCancelled()) break;"), isWatched);
    QCOMPARE(unit.text.contains("void eval_watch("), isWatched);
}

void TstCodegen::endlessLoopsSeeACancel()
{
    if (!hasCompiler())
        QSKIP("no compiler on this machine");
    eval::Graph graph;
    const Handle p = graph.declareInput(u"p"_s, Type::Vec3);
    const Handle d = graph.declareOutput(
        u"d"_s, u"float f(float a) { float s = a; while (true) { while (true) { while (s < 1e9) "
                "s = s * 0.5 + 1.0; } } return s; } f(p.x)"_s);
    auto compiled = graph.compile(Backend::Native);
    QVERIFY2(compiled, qPrintable(compiled.firstError().message));
    eval::ThreadCopy copy = compiled.value().threadCopy();
    const std::atomic_bool cancelled = true;
    copy.setCancelFlag(&cancelled);
    QVERIFY(!copy.evaluateQuick());
    QCOMPARE(copy.firstFault().message, u"evaluation cancelled"_s);
    const std::vector<float> xs(3, 1.0f);
    std::vector<float> out(3);
    QVERIFY(!copy.evaluatePoints(p, xs, xs, xs, d, out, 7.0f));
    QCOMPARE(out, std::vector<float>(3, 7.0f));
}

void TstCodegen::batchesAgreeWithPoints()
{
    if (!hasCompiler())
        QSKIP("no compiler on this machine");
    eval::Graph graph;
    const Handle p = graph.declareInput(u"p"_s, Type::Vec3);
    const Handle d = graph.declareOutput(
        u"d"_s, u"float f(vec3 q) { return length(q) - 1.0 + 0.1 * sin(q.x); } f(p)"_s);
    auto compiled = graph.compile(Backend::Native);
    QVERIFY2(compiled, qPrintable(compiled.firstError().message));
    eval::Program &program = compiled.value();
    eval::ThreadCopy copy = program.threadCopy();
    const std::vector<float> xs = {-2.0f, -0.5f, 0.0f, 0.25f, 7.0f};
    std::vector<float> points;
    for (const float x : xs)
        points.insert(points.end(), {x, 0.5f, -1.0f, 99.0f});
    std::vector<float> batch(xs.size());
    QVERIFY(program.evaluateBatch(points, batch, static_cast<qsizetype>(xs.size()), 4));
    for (size_t i = 0; i < xs.size(); ++i) {
        copy.setFloats(p, std::array{xs[i], 0.5f, -1.0f});
        QVERIFY(copy.evaluateQuick());
        QCOMPARE(batch[i], copy.getFloat(d));
    }
}

void TstCodegen::packedBitsCrossTheBuffer()
{
    if (!hasCompiler())
        QSKIP("no compiler on this machine");
    eval::Graph graph;
    const Handle p = graph.declareInput(u"p"_s, Type::Vec3);
    const Handle packed = graph.declareOutput(u"a"_s, u"packUnorm4x8(vec4(p, 1.0))"_s);
    const Handle isLarge = graph.declareOutput(u"b"_s, u"p.x > 0.5"_s);
    auto compiled = graph.compile(Backend::Native);
    QVERIFY2(compiled, qPrintable(compiled.firstError().message));
    eval::Program &program = compiled.value();
    program.set(p, QVector3D(1.0f, 0.0f, 1.0f));
    QVERIFY(program.evaluate());
    QCOMPARE(program.get(packed).toUInt(), 0xffff00ffu);
    QCOMPARE(program.getFloat(isLarge), 1.0f);
}

QTEST_APPLESS_MAIN(TstCodegen)
#include "tst_Codegen.moc"
