#include <corvane/expr/ExprCompiler.h>
#include <corvane/expr/ExprEvaluator.h>
#include <corvane/model/Corvane.h>

#include <QRegularExpression>
#include <QVector2D>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::expr;

namespace {

/// A scene with a name of every sort.
void fill(model::Corvane &scene)
{
    scene.setVariableEntries({
        {u"width"_s, {.value = 40ll}},
        {u"flag"_s, {.value = true, .type = u"boolean"_s}},
        {u"dir"_s, {.value = QVariantList{1, 2, 3}}},
        {u"uv"_s, {.value = QVariantList{0.5, 4}, .type = u"vector"_s}},
        {u"whole"_s, {.value = 7, .type = u"int"_s}},
        {u"main"_s, {.value = 2}},
        {u"int64_t"_s, {.value = 3}},
        {u"left wall"_s, {.value = 5}},
        {u"\u00e4"_s, {.value = 6}},
        {u"sin"_s, {.value = 8}},
    });
    scene.setNamedVarset(u"size"_s, {{u"x"_s, {.value = 10}}});
    model::Instance box(u"box"_s);
    box.name = u"Box"_s;
    box.setParameter(u"depth"_s, 1.5);
    scene.addItem(box);
    box = model::Instance(u"box"_s);
    box.name = u"My Box"_s;
    box.setParameter(u"depth"_s, 2.5);
    scene.addItem(box);
}

Values valuesOf(const model::Corvane &scene)
{
    Values values{{u"size.x"_s, 10}, {u"Box.depth"_s, 1.5}, {u"My Box.depth"_s, 2.5}};
    values.insert(scene.varset());
    bindBuiltinCpuValues(values, scene);
    bindMathConstants(values);
    return values;
}

} // namespace

class TstExprCompiler : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void expressionHasItsValue_data();
    void expressionHasItsValue();
    void dependenciesAreNames_data();
    void dependenciesAreNames();
    void errorsSayWhatAndWhere_data();
    void errorsSayWhatAndWhere();
    void constantsAreFolded();
    void missingProgramIsCounted();
    void constantsAreFloats();
};

void TstExprCompiler::expressionHasItsValue_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("number") << u"1.5"_s << QVariant(1.5f);
    QTest::newRow("variable") << u"width*2.0"_s << QVariant(80.0f);
    QTest::newRow("default scope") << u"default.width + width"_s << QVariant(80.0f);
    QTest::newRow("named varset") << u"size.x / 4.0"_s << QVariant(2.5f);
    QTest::newRow("parameter") << u"Box.depth"_s << QVariant(1.5f);
    QTest::newRow("quoted item") << u"\"My Box\".depth * 2.0"_s << QVariant(5.0f);
    QTest::newRow("quoted variable") << u"\"left wall\" + 1.0"_s << QVariant(6.0f);
    QTest::newRow("swizzle") << u"dir.zx.x + dir.y"_s << QVariant(5.0f);
    QTest::newRow("vector of two") << u"uv * 2.0"_s << QVariant(QVector2D(1, 8));
    QTest::newRow("vector of three") << u"dir + vec3(1.0)"_s << QVariant(QVector3D(2, 3, 4));
    QTest::newRow("constant") << u"math.TAU / math.PI"_s << QVariant(2.0f);
    QTest::newRow("bool") << u"flag ? 1.0 : 2.0"_s << QVariant(1.0f);
    QTest::newRow("int") << u"whole / 2"_s << QVariant(3);
    QTest::newRow("name of an entry point") << u"main * 2.0"_s << QVariant(4.0f);
    QTest::newRow("quoted type") << u"\"int64_t\" * 2.0"_s << QVariant(6.0f);
    QTest::newRow("other letters") << u"\u00e4 + 0.0"_s << QVariant(6.0f);
    QTest::newRow("function beside a variable of its name")
        << u"sin(0.0) + sin"_s << QVariant(8.0f);
    QTest::newRow("call over a blank") << u"max (width, 50.0)"_s << QVariant(50.0f);
    QTest::newRow("exponent is no name") << u"1e1 + 0x10 * 0"_s << QVariant(10.0f);
    QTest::newRow("comment at the end") << u"width // wide"_s << QVariant(40.0f);
    QTest::newRow("time") << u"time + 1.0"_s << QVariant(1.0f);
}

void TstExprCompiler::expressionHasItsValue()
{
    QFETCH(const QString, text);
    QFETCH(const QVariant, value);
    model::Corvane scene;
    fill(scene);
    const CompileContext context = buildCompileContext(scene);
    const auto compiled = ExprCompiler(context).compile(text);
    QVERIFY2(compiled.isValid(), qPrintable(compiled.errors.value(0).message));
    QString error;
    const QVariant result = ExprEvaluator::evaluateViaV2(compiled, valuesOf(scene), error);
    QCOMPARE(error, QString());
    QCOMPARE(result, value);
    QCOMPARE(result.typeId(), value.typeId());
}

void TstExprCompiler::dependenciesAreNames_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("none") << u"1.0"_s << QStringList();
    QTest::newRow("each once") << u"width + size.x*width"_s
                               << QStringList({u"width"_s, u"size.x"_s});
    QTest::newRow("default scope") << u"default.width"_s << QStringList({u"width"_s});
    QTest::newRow("constant") << u"2.0*math.PI"_s << QStringList({u"math.PI"_s});
    QTest::newRow("swizzle") << u"dir.x"_s << QStringList({u"dir"_s});
    QTest::newRow("comment") << u"width /* flag */ // dir"_s << QStringList({u"width"_s});
    QTest::newRow("member of a call") << u"normalize(dir).x"_s << QStringList({u"dir"_s});
}

void TstExprCompiler::dependenciesAreNames()
{
    QFETCH(const QString, text);
    QFETCH(const QStringList, names);
    model::Corvane scene;
    fill(scene);
    const CompileContext context = buildCompileContext(scene);
    const ExprCompiler compiler(context);
    const auto compiled = compiler.compile(text);
    QVERIFY2(compiled.isValid(), qPrintable(compiled.errors.value(0).message));
    QCOMPARE(compiled.dependencies, names);
    QCOMPARE(compiler.dependencies(text), names);
}

void TstExprCompiler::errorsSayWhatAndWhere_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("message"); // empty: any
    QTest::addColumn<int>("position");    // -1: any
    QTest::newRow("unknown names") << u"1.0 + foo*bar + foo"_s << u"Unknown name: foo, bar"_s << 6;
    QTest::newRow("unknown in a scope") << u"size.q"_s << u"Unknown name: size.q"_s << 0;
    QTest::newRow("unknown in quotes") << u"2.0 * \"Box 1\".q"_s << u"Unknown name: Box 1"_s << 6;
    QTest::newRow("unknown constant") << u"math.NO"_s << u"Unknown name: math.NO"_s << 0;
    QTest::newRow("unknown in the default scope")
        << u"default.q"_s << u"Unknown name: default.q"_s << 0;
    QTest::newRow("unknown function") << u"width + nosuch(1.0)"_s << QString() << 8;
    QTest::newRow("empty") << QString() << QString() << -1;
    QTest::newRow("operator missing") << u"width width"_s << QString() << 6;
    QTest::newRow("on the second line") << u"width +\n)"_s << QString() << 8;
    QTest::newRow("bare quote") << u"width + \""_s << QString() << -1;
    QTest::newRow("line of statements") << u"1.0; discard"_s << QString() << -1;
    QTest::newRow("reserved word") << u"int64_t * 2.0"_s << QString() << -1;
    QTest::newRow("deep nesting") << QString(30000, u'(') << QString() << -1;
    QTest::newRow("too long") << QString(70000, u'1')
                              << u"Expression is longer than 65536 characters"_s << 0;
}

void TstExprCompiler::errorsSayWhatAndWhere()
{
    QFETCH(const QString, text);
    QFETCH(const QString, message);
    QFETCH(const int, position);
    model::Corvane scene;
    fill(scene);
    const CompileContext context = buildCompileContext(scene);
    const auto compiled = ExprCompiler(context).compile(text);
    QVERIFY(!compiled.isValid());
    QVERIFY(!compiled.program);
    QVERIFY(!compiled.errors.isEmpty());
    const ExprError error = compiled.errors.first();
    QVERIFY(!error.message.isEmpty());
    if (!message.isEmpty())
        QCOMPARE(error.message, message);
    if (position >= 0)
        QCOMPARE(error.position, position);
}

void TstExprCompiler::constantsAreFolded()
{
    const CompileContext context = buildCompileContext(model::Corvane());
    const ExprCompiler compiler(context);
    QCOMPARE(compiler.compile(u"2.0 * math.E"_s).constantValue, QVariant(2.0f * 2.7182817f));
    QVERIFY(!compiler.compile(u"time"_s).constantValue.isValid());
    QVERIFY(compiler.compile(u"1.0 / 0.0"_s).isValid());
}

void TstExprCompiler::missingProgramIsCounted()
{
    const quint64 before = gV1FallbackHits;
    QString error;
    QVERIFY(!ExprEvaluator::evaluateViaV2({}, {}, error).isValid());
    QCOMPARE(error, u"v2 program missing"_s);
    QCOMPARE(gV1FallbackHits.load(), before + 1);
}

void TstExprCompiler::constantsAreFloats()
{
    QCOMPARE(mathConstants().size(), 16);
    for (const QVariant &value : mathConstants())
        QCOMPARE(value.typeId(), int(QMetaType::Float));
    QCOMPARE(mathConstants().value(u"math.PI"_s), QVariant(3.1415927f));
    QCOMPARE(builtinVariables().size(), 3);
}

QTEST_GUILESS_MAIN(TstExprCompiler)
#include "tst_ExprCompiler.moc"
