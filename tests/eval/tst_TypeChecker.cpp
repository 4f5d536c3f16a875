#include <eval/internal/Builtin.h>
#include <eval/internal/Parser.h>
#include <eval/internal/TypeChecker.h>

#include "AstText.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace eval::internal;
using eval::DiagnosticCategory;
using eval::Type;

namespace {

/// A slot of each type under the type's keyword with "_", and an array of vec3 called "points".
SlotTable slotOfEachType()
{
    SlotTable table;
    for (int i = 1; i < 48; ++i) {
        const auto type = static_cast<Type>(i);
        table.insert(u'_' + eval::typeName(type), {{type, {}, Type::Float}, eval::Handle(i)});
    }
    table.insert(u"points"_s, {{Type::Array, {}, Type::Vec3}, 48});
    return table;
}

struct Checked
{
    ParsedSource parsed;
    TypeRef type;
    QList<eval::Diagnostic> diagnostics;
    QSet<QString> recursive;
};

void checkAgain(Checked &checked)
{
    const SlotTable globals = slotOfEachType();
    const StructRegistry others;
    TypeChecker checker(globals, others);
    checker.registerStructs(checked.parsed.structs);
    checker.registerUserFunctions(checked.parsed.functions);
    checked.type = checker.check(checked.parsed.root);
    checked.diagnostics = checker.diagnostics().kept();
    checked.recursive = checker.recursiveFunctions();
}

Checked check(const QString &source)
{
    Checked result;
    result.parsed = Parser(source).parse();
    checkAgain(result);
    return result;
}

} // namespace

class TstTypeChecker : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void expressionTypes_data();
    void expressionTypes();
    void builtinTypes_data();
    void builtinTypes();
    void everyBuiltinHasItsArity();
    void errors_data();
    void errors();
    void statementErrors_data();
    void statementErrors();
    void recursionIsFound_data();
    void recursionIsFound();
    void longCallChainsAreFine();
    void nestedStructsDoNotExplode();
    void manyErrorsAreCut();
};

void TstTypeChecker::expressionTypes_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("type");
    const auto row = [](const char *source, const char *type) {
        QTest::newRow(source) << QString::fromLatin1(source) << QString::fromLatin1(type);
    };
    row("1.0", "float");
    row("1", "int");
    row("1u", "uint");
    row("1l", "int64_t");
    row("1ul", "int64_t");
    row("true", "bool");
    row("_dmat3x2", "dmat3x2");
    row("_int + _float", "float");
    row("_float + _double", "double");
    row("_int + _uint", "uint");
    row("_uint + _uint64_t", "uint64_t");
    row("_uint64_t + _int64_t", "int64_t");
    row("_bool + _bool", "bool");
    row("_bool + _int", "bool");
    row("_float * _vec3", "vec3");
    row("_ivec2 + _float", "ivec2");
    row("_vec3 + _vec2", "vec3");
    row("_vec2 - _vec3", "vec2");
    row("_mat3 * _vec3", "vec3");
    row("_vec3 * _mat3", "vec3");
    row("_mat2x3 * _mat3x2", "mat2x3");
    row("_mat4 * _float", "mat4");
    row("_float + _mat2", "mat2");
    row("_vec2 + _mat2", "mat2");
    row("_vec3 < _vec3", "bool");
    row("_bool && !_bool ^^ _bool", "bool");
    row("_int << _uint", "uint");
    row("~_ivec3", "ivec3");
    row("-_vec4", "vec4");
    row("_float++", "float");
    row("_bool ? _int : _float", "float");
    row("_float = _int", "float");
    row("_vec4.xyz", "vec3");
    row("_vec4.a", "float");
    row("_vec2.tsst", "vec4");
    row("_bvec2.yx", "bvec2");
    row("_u64vec3.zz", "u64vec2");
    row("points[0]", "vec3");
    row("_ivec3[1]", "int");
    row("_mat2x3[_uint]", "vec3");
    row("_mat4x2[0][1]", "float");
    row("vec4(_vec2, 1, _bool)", "vec4");
    row("vec3(2)", "vec3");
    row("mat3(1.0)", "mat3");
    row("mat2(_vec2, _vec2)", "mat2");
    row("mat3(_mat4)", "mat3");
    row("int(_vec3)", "int");
    row("bool(1.0)", "bool");
    row("float f() { return 1.0; } f()", "float");
    row("int g(int a) { return 1; } vec2 g(float a) { return vec2(1.0); } g(1.0)", "vec2");
    row("int g(int a) { return 1; } vec2 g(float a) { return vec2(1.0); } g(1)", "int");
    row("int g(float a) { return 1; } uint g(float b) { return 1u; } g(2.0)", "uint");
    row("dvec2 g(dvec2 a) { return a; } g(_ivec2)", "dvec2");
    row("vec3 first(vec3 a[]) { return a[0]; } first(points)", "vec3");
    row("struct S { float a; mat2 b; }; S(1.0, mat2(1.0)).b", "mat2");
    row("struct S { float a; }; struct T { S s; }; (_bool ? T(S(1.0)) : T(S(2.0))).s.a", "float");
    row("struct S { float a; }; S f(S s) { return s; } f(f(S(1.0))).a", "float");
}

void TstTypeChecker::expressionTypes()
{
    QFETCH(const QString, source);
    QFETCH(const QString, type);
    const Checked checked = check(source);
    QCOMPARE(asttext::texts(checked.parsed.diagnostics), QStringList());
    QCOMPARE(asttext::texts(checked.diagnostics), QStringList());
    QCOMPARE(displayName(checked.type), type);
}

void TstTypeChecker::builtinTypes_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("type");
    const auto row = [](const char *source, const char *type) {
        QTest::newRow(source) << QString::fromLatin1(source) << QString::fromLatin1(type);
    };
    row("sin(_vec3)", "vec3");
    row("atan(_vec2, _vec2)", "vec2");
    row("transpose(_mat3)", "mat3");
    row("not(_bvec3)", "bvec3");
    row("length(1.0)", "float");
    row("length(_dvec3)", "double");
    row("distance(_vec2, _vec2)", "float");
    row("dot(_ivec3, _ivec3)", "int");
    row("cross(_vec3, _vec3)", "vec3");
    row("isinf(_vec3)", "bvec3");
    row("floatBitsToInt(_float)", "int");
    row("determinant(_mat4)", "float");
    row("lessThan(_vec2, _vec2)", "bvec2");
    row("any(_bvec2)", "bool");
    row("packUnorm2x16(_vec2)", "uint");
    row("unpackSnorm2x16(_uint)", "vec2");
    row("unpackUnorm4x8(_uint)", "vec4");
    row("outerProduct(_vec3, _vec2)", "mat2x3");
    row("bitfieldInsert(_int, _int, 0, 1)", "int");
}

void TstTypeChecker::builtinTypes()
{
    expressionTypes();
}

void TstTypeChecker::everyBuiltinHasItsArity()
{
    const auto table = builtinTable();
    QCOMPARE(table.size(), size_t(79));
    for (const Builtin &entry : table) {
        const QString name = entry.name;
        QCOMPARE(findBuiltin(name, entry.arity), &entry);
        const bool isAtan = entry.name == "atan"_L1;
        QCOMPARE(findBuiltins(name).size(), size_t(isAtan ? 2 : 1));
        for (int count = 0; count < 6; ++count) {
            const bool fits = count == entry.arity || (isAtan && (count == 1 || count == 2));
            QCOMPARE(findBuiltin(name, count) != nullptr, fits);
            const QString call = u"%1(%2)"_s.arg(name, QStringList(count, u"_float"_s).join(u','));
            QVERIFY2(check(call).diagnostics.isEmpty() == fits, qPrintable(call));
        }
    }
    QVERIFY(findBuiltins(u"texture").empty());
    QVERIFY(findBuiltins(u"").empty());
}

void TstTypeChecker::errors_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("error");
    QTest::addColumn<int>("category");
    const auto row = [](const QString &source, const QString &error, int category = 1) {
        QTest::newRow(qPrintable(source)) << source << error << category;
    };
    row(u"nothing"_s, u"1:1 unresolved name 'nothing'"_s, 2);
    row(u"!_int"_s, u"1:1 '!' requires bool operand"_s);
    row(u"~_float"_s, u"1:1 '~' requires integer operand"_s);
    row(u"_bool || _int"_s, u"1:7 logical operator requires bool operands"_s);
    row(u"_int << 1.0"_s, u"1:6 bitwise operator requires integer operands"_s);
    row(u"_int ? 1 : 2"_s, u"1:6 ternary condition must be bool"_s);
    row(u"points[1.0]"_s, u"1:7 array index must be integer"_s);
    row(u"_vec3[_ivec2]"_s, u"1:6 array index must be integer"_s);
    row(u"_float[0]"_s, u"1:7 index on non-indexable type float"_s);
    row(u"_vec3.xyzxy"_s, u"1:7 invalid swizzle '.xyzxy'"_s);
    row(u"_vec3.xk"_s, u"1:7 invalid swizzle component 'k'"_s);
    row(u"_vec2.z"_s, u"1:7 invalid swizzle component 'z'"_s);
    row(u"_vec3.xg"_s, u"1:7 mixed swizzle component sets in '.xg'"_s);
    row(u"_float.x"_s, u"1:8 swizzle on non-vector type float"_s);
    row(u"points.x"_s, u"1:8 swizzle on non-vector type vec3[]"_s);
    row(u"vec3(_vec2)"_s, u"1:1 constructor 'vec3' expects 3 components, got 2"_s);
    row(u"vec2()"_s, u"1:1 constructor 'vec2' expects 2 components, got 0"_s);
    row(u"float(1, 2)"_s, u"1:1 constructor 'float' expects 1 components, got 2"_s);
    row(u"vec2(points)"_s, u"1:1 constructor 'vec2' expects 2 components, got 0"_s);
    row(u"void(1)"_s, u"1:1 unknown type 'void'"_s);
    row(u"magic(1)"_s, u"1:1 unknown function 'magic'"_s);
    row(u"atan(1.0, 2.0, 3.0)"_s, u"1:1 'atan' takes 1 or 2 arguments"_s);
    row(u"pow(1.0)"_s, u"1:1 'pow' expects 2 argument(s), got 1"_s);
    row(u"struct S { }; 1"_s, u"1:8 struct 'S' is empty — §EX2-API-3.1.1 requires ≥1 field"_s);
    row(u"struct S { int a; int a; }; 1"_s, u"1:8 duplicate field 'a' in struct 'S'"_s);
    row(u"struct S { S s; }; 1"_s, u"1:8 recursive struct 'S' is rejected — §EX2-API-3.1.1"_s);
    row(u"struct S { int a; }; struct S { int b; }; 1"_s, u"1:29 struct 'S' already declared"_s);
    row(u"struct S { int a; }; S(1, 2)"_s,
        u"1:22 struct constructor 'S' expects 1 arguments, got 2"_s);
    row(u"struct S { float a; }; S(1)"_s,
        u"1:24 struct 'S' field 'a' expects type-1, got type-3"_s);
    row(u"struct S { float a; }; S(1.0).b"_s, u"1:31 struct 'S' has no field named 'b'"_s);
    row(u"int f(int a) { return a; } int f(int a, int b) { return a; } f()"_s,
        u"1:62 'f' has no overload taking 0 argument(s); available arity: 1, 2"_s);
    row(u"int f(int a) { return a; } int f(vec2 a) { return 1; } f(_bvec2)"_s,
        u"1:56 no overload of 'f' matches arguments (bvec2); tried: (int), (vec2)"_s);
    row(u"int f(float a, int b) { return 1; } vec2 f(int a, float b) { return vec2(0.0); } f(1, 1)"_s,
        u"1:82 ambiguous call to 'f': 2 overloads tie"_s);
    row(u"int f(int a[]) { return 1; } f(points)"_s,
        u"1:30 no overload of 'f' matches arguments (vec3[]); tried: (int[])"_s);
    row(u"float min(float a) { return a; } min(1.0, 2.0)"_s,
        u"1:34 'min' has no overload taking 2 argument(s); available arity: 1"_s);
}

void TstTypeChecker::errors()
{
    QFETCH(const QString, source);
    QFETCH(const QString, error);
    QFETCH(const int, category);
    Checked checked = check(source);
    QCOMPARE(asttext::texts(checked.parsed.diagnostics), QStringList());
    QCOMPARE(asttext::texts(checked.diagnostics), QStringList{error});
    QCOMPARE(int(checked.diagnostics.first().category), category);
    // The check writes into the tree: nothing that it writes may change what a second one finds.
    checkAgain(checked);
    QCOMPARE(asttext::texts(checked.diagnostics), QStringList{error});
}

void TstTypeChecker::statementErrors_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("error");
    const auto row = [](const QString &statement, const QString &error) {
        QTest::newRow(qPrintable(statement)) << statement << error;
    };
    row(u"int a = 1.0;"_s,
        u"2:5 declaration init type float incompatible with declared type int"_s);
    row(u"vec3 a = 1.0;"_s,
        u"2:6 declaration init type float incompatible with declared type vec3"_s);
    row(u"S s = T(1);"_s, u"2:3 declaration init type T incompatible with declared type S"_s);
    row(u"if (1) b;"_s, u"2:1 if condition must be bool"_s);
    row(u"for (int i = 0; i; i++) b;"_s, u"2:1 for condition must be bool"_s);
    row(u"while (b) b;"_s, u"2:1 while condition must be bool"_s);
    row(u"do b; while (b);"_s, u"2:1 do-while condition must be bool"_s);
    row(u"switch (x) { case 1: b; }"_s, u"2:9 unresolved name 'x'"_s);
    row(u"switch (b) { case 1: x; default: b; }"_s, u"2:22 unresolved name 'x'"_s);
    row(u"for (;true;x++) b;"_s, u"2:12 unresolved name 'x'"_s);
    row(u"return x;"_s, u"2:8 unresolved name 'x'"_s);
    row(u"float x = x;"_s, u"2:11 unresolved name 'x'"_s);
    row(u"{ float x; } if (true) { x; } else y;"_s, u"2:36 unresolved name 'y'"_s);
}

void TstTypeChecker::statementErrors()
{
    QFETCH(const QString, statement);
    QFETCH(const QString, error);
    const Checked checked = check(
        u"struct S { int a; }; struct T { int a; }; void f(float b) {\n%1\n} 1"_s.arg(statement));
    QCOMPARE(asttext::texts(checked.parsed.diagnostics), QStringList());
    QCOMPARE(asttext::texts(checked.diagnostics), QStringList{error});
}

void TstTypeChecker::recursionIsFound_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("names");
    QTest::newRow("none") << u"float f() { return 1.0; } float g() { return f() + f(); } g()"_s
                          << QStringList{};
    QTest::newRow("itself") << u"float f(float a) { return a > 0.0 ? f(a - 1.0) : a; } f(3.0)"_s
                            << QStringList{u"f"_s};
    QTest::newRow("each other")
        << u"float f() { return g(); } float g() { if (true) { return f(); } return 1.0; }"
           "float h() { return g(); } h()"_s
        << QStringList{u"f"_s, u"g"_s};
    QTest::newRow("two circles")
        << u"int a() { return b(); } int b() { return c() + a(); } int c() { return d(); }"
           "int d() { return c(); } a()"_s
        << QStringList{u"a"_s, u"b"_s, u"c"_s, u"d"_s};
}

void TstTypeChecker::recursionIsFound()
{
    QFETCH(const QString, source);
    QFETCH(const QStringList, names);
    const Checked checked = check(source);
    QCOMPARE(asttext::texts(checked.diagnostics), QStringList());
    QStringList found(checked.recursive.begin(), checked.recursive.end());
    found.sort();
    QCOMPARE(found, names);
}

void TstTypeChecker::longCallChainsAreFine()
{
    QString source = u"float f0() { return f20000(); }\n"_s;
    for (int i = 1; i <= 20'000; ++i)
        source +=
            u"float f%1() { return f%2(); }\n"_s.arg(QString::number(i), QString::number(i - 1));
    const Checked checked = check(source + u"f5()"_s);
    QCOMPARE(asttext::texts(checked.diagnostics), QStringList());
    QCOMPARE(checked.recursive.size(), 20'001);
}

void TstTypeChecker::nestedStructsDoNotExplode()
{
    QString source = u"struct S0 { float a; float b; };\n"_s;
    for (int i = 1; i < 40; ++i) {
        source +=
            u"struct S%1 { S%2 a; S%2 b; };\n"_s.arg(QString::number(i), QString::number(i - 1));
    }
    const Checked checked = check(source + u"1"_s);
    QVERIFY(!checked.diagnostics.isEmpty());
    QCOMPARE(asttext::texts(checked.diagnostics).first(),
             u"10:8 struct 'S9' is too large: 2047 values on 10 levels, of at most 1024 on 32"_s);
}

void TstTypeChecker::manyErrorsAreCut()
{
    const Checked checked = check(u"void f() { %1 } 1"_s.arg(u"x;"_s.repeated(10'000)));
    QCOMPARE(checked.diagnostics.size(), DiagnosticList::limit);
}

QTEST_APPLESS_MAIN(TstTypeChecker)
#include "tst_TypeChecker.moc"
