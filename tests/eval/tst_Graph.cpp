#include <eval/Graph.h>
#include <eval/internal/BackendCode.h>
#include <eval/internal/Cache.h>
#include <eval/internal/CompiledProgram.h>

#include "AstText.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QVector3D>

using namespace Qt::StringLiterals;
using eval::Backend;
using eval::DiagnosticCategory;
using eval::Graph;
using eval::Handle;
using eval::Program;
using eval::Result;
using eval::Type;
using eval::internal::BackendCode;
using eval::internal::Cache;
using eval::internal::CodeGenerator;
using eval::internal::CompiledProgram;

namespace {

/// A generator whose answers a test chooses.
class ScriptedGenerator : public CodeGenerator
{
public:
    bool available = true;
    bool supported = true;
    QString error;

    bool isAvailable() const override { return available; }
    bool supports(const CompiledProgram &) const override { return supported; }
    Result<QSharedPointer<const BackendCode>> generate(const CompiledProgram &) const override
    {
        eval::Diagnostic diagnostic;
        diagnostic.category = DiagnosticCategory::ShaderCompile;
        diagnostic.message = error;
        return Result<QSharedPointer<const BackendCode>>::failure({diagnostic});
    }
};

struct BackendAnswer
{
    QSharedPointer<ScriptedGenerator> generator;
    DiagnosticCategory category = DiagnosticCategory::Internal;
    QString message;
};

QSharedPointer<ScriptedGenerator> generator(bool available, bool supported,
                                            const QString &error = {})
{
    const auto result = QSharedPointer<ScriptedGenerator>::create();
    result->available = available;
    result->supported = supported;
    result->error = error;
    return result;
}

QStringList compileErrors(const QStringList &namesAndSources)
{
    Graph graph;
    graph.declareInput(u"p"_s, Type::Vec3);
    for (qsizetype i = 0; i + 1 < namesAndSources.size(); i += 2)
        graph.declareOutput(namesAndSources[i], namesAndSources[i + 1]);
    const auto result = graph.compile();
    return asttext::texts(result.diagnostics());
}

} // namespace

Q_DECLARE_METATYPE(BackendAnswer)

class TstGraph : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void handlesAreNumberedFromOne();
    void outputsReadEachOtherInAnyOrder();
    void structsPassBetweenOutputs();
    void collectsTheErrorsOfAllOutputs();
    void circlesAreReportedOnce_data();
    void circlesAreReportedOnce();
    void longChainsOfOutputs();
    void secondCompileComesFromTheCache();
    void cacheKeepsGraphsApart();
    void cacheKeyIsDocumented();
    void backendsWithoutCode_data();
    void backendsWithoutCode();
    void deepestSourcesEvaluate_data();
    void deepestSourcesEvaluate();
};

void TstGraph::init()
{
    QTest::failOnWarning(QRegularExpression(u".*"_s));
    Cache::instance().clear();
}

void TstGraph::handlesAreNumberedFromOne()
{
    Graph graph;
    QCOMPARE(graph.declareInput(u"p"_s, Type::Vec3), Handle(1));
    QCOMPARE(graph.declareOutput(u"d"_s, u"p.x"_s), Handle(2));
    QCOMPARE(graph.declareArrayInput(u"a"_s, Type::Float), Handle(3));
    QCOMPARE(graph.declareInput(u"p"_s, Type::Float), Handle(1));
    QCOMPARE(graph.declareOutput(u"d"_s, u"nonsense"_s), Handle(2));
    QCOMPARE(graph.declareOutput(u"p"_s, u"nonsense"_s), Handle(1));
    const auto program = graph.compile();
    QVERIFY(program);
    QCOMPARE(program.value().backend(), Backend::Interpreted); // of Backend::Auto
    QCOMPARE(program.value().slotType(1), Type::Vec3);
    QCOMPARE(program.value().slotType(2), Type::Float);
    QCOMPARE(program.value().slotType(3), Type::Array);
    QCOMPARE(program.value().slotType(4), Type::Void);
    QCOMPARE(program.value().handleOf(u"d"_s), Handle(2));
    QCOMPARE(program.value().handleOf(u"x"_s), Handle(0));
}

void TstGraph::outputsReadEachOtherInAnyOrder()
{
    Graph graph;
    const Handle sum = graph.declareOutput(u"sum"_s, u"pair.x + pair.y + base"_s);
    const Handle pair = graph.declareOutput(u"pair"_s, u"vec2(base, 2.0)"_s);
    graph.declareOutput(u"base"_s, u"3.0"_s);
    auto program = graph.compile();
    QCOMPARE(asttext::texts(program.diagnostics()), QStringList());
    QCOMPARE(program.value().slotType(pair), Type::Vec2);
    QVERIFY(program.value().evaluate());
    QCOMPARE(program.value().getFloat(sum), 8.0F);
}

void TstGraph::structsPassBetweenOutputs()
{
    Graph graph;
    const Handle d = graph.declareOutput(u"d"_s, u"hit.distance * 2.0"_s);
    graph.declareOutput(u"hit"_s, u"struct Hit { int id; float distance; }; Hit(1, 2.5)"_s);
    auto program = graph.compile();
    QCOMPARE(asttext::texts(program.diagnostics()), QStringList());
    QVERIFY(program.value().evaluate());
    QCOMPARE(program.value().getFloat(d), 5.0F);
}

void TstGraph::collectsTheErrorsOfAllOutputs()
{
    QCOMPARE(
        compileErrors({u"a"_s, u""_s, u"b"_s, u"x + (1"_s, u"c"_s, u"a + p.xg + y"_s}),
        QStringList({u"1:1 unexpected token '' in expression"_s,
                     u"1:7 expected ')' after parenthesised expression"_s,
                     u"1:1 unresolved name 'x'"_s, u"1:7 mixed swizzle component sets in '.xg'"_s,
                     u"1:12 unresolved name 'y'"_s}));
}

void TstGraph::circlesAreReportedOnce_data()
{
    QTest::addColumn<QStringList>("outputs");
    QTest::addColumn<QStringList>("errors");
    const auto row = [](const char *name, const QStringList &outputs, const QStringList &chains) {
        QStringList errors;
        for (const QString &chain : chains)
            errors.append(u"1:1 circular dependency: "_s + chain);
        QTest::newRow(name) << outputs << errors;
    };
    row("itself", {u"a"_s, u"a + 1.0"_s}, {u"a → a"_s});
    row("two", {u"a"_s, u"b"_s, u"b"_s, u"a"_s}, {u"a → b → a"_s});
    row("three and a tail", {u"t"_s, u"b"_s, u"a"_s, u"b"_s, u"b"_s, u"c"_s, u"c"_s, u"a"_s},
        {u"b → c → a → b"_s});
    row("two circles", {u"a"_s, u"b"_s, u"b"_s, u"a"_s, u"c"_s, u"c + a"_s},
        {u"a → b → a"_s, u"c → c"_s});
    row("same circle by two ways", {u"a"_s, u"b + b * c"_s, u"b"_s, u"c"_s, u"c"_s, u"a + b"_s},
        {u"a → b → c → a"_s});
}

void TstGraph::circlesAreReportedOnce()
{
    QFETCH(const QStringList, outputs);
    QFETCH(const QStringList, errors);
    QCOMPARE(compileErrors(outputs), errors);
}

void TstGraph::longChainsOfOutputs()
{
    constexpr int count = 5'000;
    Graph graph;
    for (int i = 0; i < count; ++i)
        graph.declareOutput(u"v%1"_s.arg(i), u"v%1 + 1.0"_s.arg(i + 1));
    const Handle last = graph.declareOutput(u"v%1"_s.arg(count), u"1.0"_s);
    auto program = graph.compile();
    QCOMPARE(asttext::texts(program.diagnostics()), QStringList());
    QVERIFY(program.value().evaluate());
    QCOMPARE(program.value().getFloat(1), float(count + 1));
    QCOMPARE(program.value().getFloat(last), 1.0F);
}

void TstGraph::secondCompileComesFromTheCache()
{
    Graph first;
    first.declareOutput(u"r"_s, u"1.0 / x"_s);
    first.declareInput(u"x"_s, Type::Float);
    const auto made = first.compile();
    QVERIFY(made);
    QVERIFY(!made.value().isFromCache());
    const qsizetype hits = Cache::instance().hits();

    // The same slots, declared the other way round: equal key, other handles, another option.
    Graph second;
    const Handle x = second.declareInput(u"x"_s, Type::Float);
    const Handle r = second.declareOutput(u"r"_s, u"1.0 / x"_s);
    second.setReportRuntimeFaults(false);
    auto again = second.compile();
    QVERIFY(again);
    QVERIFY(again.value().isFromCache());
    QCOMPARE(Cache::instance().hits(), hits + 1);
    QCOMPARE(again.value().slotType(r), made.value().slotType(1));
    again.value().set(x, 4.0F);
    QVERIFY(again.value().evaluate());
    QCOMPARE(again.value().getFloat(r), 0.25F);
    again.value().set(x, 0.0F);
    QVERIFY(again.value().evaluate());
    QVERIFY(qIsInf(again.value().getFloat(r)));

    Program reporting = first.compile().value();
    QVERIFY(reporting.isFromCache());
    QVERIFY(!reporting.evaluate());
}

void TstGraph::cacheKeepsGraphsApart()
{
    // One text under the key: an output "a" with the source "1.0|b=2.0", and two outputs.
    Graph two;
    two.declareOutput(u"a"_s, u"1.0"_s);
    const Handle b = two.declareOutput(u"b"_s, u"2.0"_s);
    QVERIFY(two.compile());
    Graph odd;
    odd.declareOutput(u"a"_s, u"1.0|b=2.0"_s);
    QVERIFY(!odd.compile().value().isFromCache());
    auto program = two.compile();
    QVERIFY(program.value().evaluate());
    QCOMPARE(program.value().getFloat(b), 2.0F);

    // The key has the number of the array type, not of its elements.
    for (const Type element : {Type::Float, Type::Vec2}) {
        Graph graph;
        graph.declareArrayInput(u"a"_s, element);
        const Handle first = graph.declareOutput(u"first"_s, u"a[0]"_s);
        QCOMPARE(graph.compile().value().slotType(first), element);
    }
}

void TstGraph::cacheKeyIsDocumented()
{
    using eval::internal::SlotBinding;
    SlotBinding input;
    input.name = u"p"_s;
    input.type = Type::Vec3;
    SlotBinding output;
    output.name = u"größe"_s;
    const QString key =
        eval::internal::computeCacheKey(Backend::Auto, {input}, {output}, {u"p.x"_s});
    const QByteArray text = u"1|3|inputs|p:10||outputs|größe=p.x|"_s.toUtf8();
    const QByteArray digest = QCryptographicHash::hash(text, QCryptographicHash::Sha256).toHex();
    QCOMPARE(key, u"1|"_s + QString::fromLatin1(digest));
}

void TstGraph::backendsWithoutCode_data()
{
    QTest::addColumn<Backend>("backend");
    QTest::addColumn<BackendAnswer>("answer");
    const auto row = [](const char *name, Backend backend, const BackendAnswer &answer) {
        QTest::newRow(name) << backend << answer;
    };
    row("native: none", Backend::Native,
        {{},
         DiagnosticCategory::Internal,
         u"Backend::Native: JIT compile failed: this program has no native code generator"_s});
    row("native: not expressible", Backend::Native,
        {generator(true, false), DiagnosticCategory::Type,
         u"Backend::Native: codegen does not support this expression yet (scalar/vector/matrix subset)."_s});
    row("native: failed", Backend::Native,
        {generator(true, true, u"no compiler"_s), DiagnosticCategory::Internal,
         u"Backend::Native: JIT compile failed: no compiler"_s});
    const QString noDevice = u"Backend::Gpu: no GPU-evaluation-capable QRhi reachable on this host "
                             "(neither compute nor fragment-as-compute lane)."_s;
    row("gpu: none", Backend::Gpu, {{}, DiagnosticCategory::BackendUnavailable, noDevice});
    row("gpu: no device", Backend::Gpu,
        {generator(false, true), DiagnosticCategory::BackendUnavailable, noDevice});
    row("gpu: not expressible", Backend::Gpu,
        {generator(true, false), DiagnosticCategory::Type,
         u"Backend::Gpu: GpuCodegen does not yet support this AST shape (runtime arrays defer to "
         u"Phase 9 "
         "— Native + Interpreted are available; double precision and 64-bit ints remain out of scope)."_s});
    row("gpu: failed", Backend::Gpu,
        {generator(true, true, u"shader"_s), DiagnosticCategory::ShaderCompile, u"shader"_s});
}

void TstGraph::backendsWithoutCode()
{
    QFETCH(const Backend, backend);
    QFETCH(const BackendAnswer, answer);
    eval::internal::setCodeGenerator(backend, answer.generator);
    Graph graph;
    graph.declareOutput(u"d"_s, u"1.0"_s);
    const auto program = graph.compile(backend);
    eval::internal::setCodeGenerator(backend, {});
    QVERIFY(!program);
    QCOMPARE(program.firstError().message, answer.message);
    QCOMPARE(program.firstError().category, answer.category);
    QCOMPARE(program.diagnostics().size(), 1);
}

void TstGraph::deepestSourcesEvaluate_data()
{
    QTest::addColumn<QString>("source");
    constexpr qsizetype levels = eval::internal::maxTreeDepth - 1;
    QTest::newRow("parentheses") << u"("_s.repeated(levels) + u"1.0"_s + u")"_s.repeated(levels);
    QTest::newRow("sum") << u"1.0+"_s.repeated(levels) + u"1.0"_s;
    QTest::newRow("calls") << u"abs("_s.repeated(levels) + u"1.0"_s + u")"_s.repeated(levels);
    QTest::newRow("user calls") << u"float f(float a) { return a; }"_s + u"f("_s.repeated(levels) +
                                       u"1.0"_s + u")"_s.repeated(levels);
    QTest::newRow("signs") << u"- "_s.repeated(levels) + u"1.0"_s;
    QTest::newRow("ternaries") << u"true?"_s.repeated(levels) + u"1.0"_s +
                                      u":1.0"_s.repeated(levels);
    QTest::newRow("constructors") << u"float("_s.repeated(levels) + u"1.0"_s +
                                         u")"_s.repeated(levels);
    QTest::newRow("blocks") << u"float f() { %1 return 1.0; %2 } f()"_s.arg(
        u"{"_s.repeated(levels - 4), u"}"_s.repeated(levels - 4));
    QTest::newRow("deep and recursive")
        << u"float f(float a) { return a <= 0.0 ? 0.0 : %1f(a - 1.0)%2; } f(250.0)"_s.arg(
               u"abs("_s.repeated(levels - 8), u")"_s.repeated(levels - 8));
}

void TstGraph::deepestSourcesEvaluate()
{
    QFETCH(const QString, source);
    Graph graph;
    graph.declareOutput(u"d"_s, source);
    auto program = graph.compile();
    QCOMPARE(asttext::texts(program.diagnostics()), QStringList());
    // Recursion through a deep body may end at a limit of the evaluation; it has to end without
    // harm.
    const bool isRecursive = source.contains(u"f(a - 1.0)");
    QVERIFY(program.value().evaluate() || isRecursive);
}

QTEST_APPLESS_MAIN(TstGraph)
#include "tst_Graph.moc"
