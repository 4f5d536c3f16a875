#include <corvane/shader/DefinitionCodeMangler.h>

#include <corvane/registry/Definition.h>

#include <QRegularExpression>
#include <QTest>

using corvane::shader::DefinitionCodeMangler;
using namespace Qt::StringLiterals;

class TstDefinitionCodeMangler : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void declaredNamesGetThePrefix_data();
    void declaredNamesGetThePrefix();
    void differentNamesNeverMeet();
    void onlyUsersDefinitionsAreMangled();
    void hugeTextsAreLinear();
};

void TstDefinitionCodeMangler::declaredNamesGetThePrefix_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("expected");

    const auto row = [](const char *name, const QString &code, const QString &expected) {
        QTest::newRow(name) << code << expected;
    };
    row("function and parameters",
        u"float sdf_a(vec3 p, float main) { return length(p) - main; }"_s,
        u"float u_sdf_a(vec3 u_p, float u_main) { return length(u_p) - u_main; }"_s);
    row("keyword as a name", u"float f(float asm, float int64_t) { return asm + int64_t; }"_s,
        u"float u_f(float u_asm, float u_int64_t) { return u_asm + u_int64_t; }"_s);
    row("type keyword as a name and as a type",
        u"float f(float vec3) { vec3 q = vec3(1.0); return vec3; }"_s,
        u"float u_f(float u_vec3) { vec3 u_q = vec3(1.0); return u_vec3; }"_s);
    row("swizzles stay", u"float f(vec3 x) { vec2 y = x.xy; return y.x + x.z; }"_s,
        u"float u_f(vec3 u_x) { vec2 u_y = u_x.xy; return u_y.x + u_x.z; }"_s);
    row("variable named as a built-in function",
        u"float f(vec3 p) { float length = length(p); return length; }"_s,
        u"float u_f(vec3 u_p) { float u_length = length(u_p); return u_length; }"_s);
    row("function named as a built-in function",
        u"float mod(float a) { return a; } float f(float b) { return mod(b); }"_s,
        u"float u_mod(float u_a) { return u_a; } float u_f(float u_b) { return u_mod(u_b); }"_s);
    row("several declarators",
        u"float f() { float a = max(1.0, 2.0), b, c = a; return a + b + c; }"_s,
        u"float u_f() { float u_a = max(1.0, 2.0), u_b, u_c = u_a; return u_a + u_b + u_c; }"_s);
    row("loop with two counters", u"void f() { for (int i = 0, j = 1; i < j; ++i) { } }"_s,
        u"void u_f() { for (int u_i = 0, u_j = 1; u_i < u_j; ++u_i) { } }"_s);
    row("call with commas declares nothing", u"float f(float a) { a = max(a, sin); return a; }"_s,
        u"float u_f(float u_a) { u_a = max(u_a, sin); return u_a; }"_s);
    row("qualifiers", u"const float K = 1.0; void f(in vec3 p, inout highp float d) { d = K; }"_s,
        u"const float u_K = 1.0; void u_f(in vec3 u_p, inout highp float u_d) { u_d = u_K; }"_s);
    row("statement words",
        u"float f(float d) { if (d > 0.0) return d; else d = 1.0; do d += 1.0; while (d < 0.0); return -d; }"_s,
        u"float u_f(float u_d) { if (u_d > 0.0) return u_d; else u_d = 1.0; do u_d += 1.0; while (u_d < 0.0); return -u_d; }"_s);
    row("struct with fields",
        u"struct Hit { float asm, x; } h; float f(Hit k) { Hit m = Hit(1.0, 2.0); return m.asm + m.x + h.x; }"_s,
        u"struct u_Hit { float u_asm, x; } u_h; float u_f(u_Hit u_k) { u_Hit u_m = u_Hit(1.0, 2.0); return u_m.u_asm + u_m.x + u_h.x; }"_s);
    row("arrays",
        u"float f() { float a[2]; float[2] b; return a[0] + b[1] + float(a.length()); }"_s,
        u"float u_f() { float u_a[2]; float[2] u_b; return u_a[0] + u_b[1] + float(u_a.length()); }"_s);
    row("comments", u"// float main\nfloat f(/* vec3 q */ float q) { return q; } // f"_s,
        u"// float main\nfloat u_f(/* vec3 q */ float u_q) { return u_q; } // f"_s);
    row("number with an exponent", u"float e1(float x) { return 1.0e1 + x*2.5e-3f; }"_s,
        u"float u_e1(float u_x) { return 1.0e1 + u_x*2.5e-3f; }"_s);
    row("macros",
        u"#define main 3.0\n#define F(x) (x)\n#ifdef main\nfloat g() { return F(main); }\n#endif\nfloat h;"_s,
        u"#define u_main 3.0\n#define u_F(x) (x)\n#ifdef u_main\nfloat u_g() { return u_F(u_main); }\n#endif\nfloat u_h;"_s);
    row("letters beyond ASCII", u"float f(float größe) { return größe; }"_s,
        u"float u_f(float u_grZxf6xZxdfxe) { return u_grZxf6xZxdfxe; }"_s);
    row("no declaration at all", u"1.0 + p.x"_s, u"1.0 + p.x"_s);
    row("torn text", u"float f(float a { ] ) a } } , ( /* open"_s,
        u"float u_f(float u_a { ] ) u_a } } , ( /* open"_s);
    row("empty", QString(), QString());
}

void TstDefinitionCodeMangler::declaredNamesGetThePrefix()
{
    QFETCH(const QString, code);
    QTEST(DefinitionCodeMangler(code, u"u_"_s).code(), "expected");
}

void TstDefinitionCodeMangler::differentNamesNeverMeet()
{
    static constexpr char16_t letters[] = {u'Z', u'z', u'u', u'_', u'x', u'1', u'\u00fc'};
    QSet<QString> mangled;
    int count = 0;
    for (const char16_t a : letters) {
        for (const char16_t b : letters) {
            for (const char16_t c : letters) {
                const char16_t name[] = {a, b, c};
                mangled.insert(
                    DefinitionCodeMangler::mangledName(u"u_"_s, QString::fromUtf16(name, 3)));
                ++count;
            }
        }
    }
    QCOMPARE(mangled.size(), count);
    for (const QString &name : std::as_const(mangled))
        QVERIFY2(!name.contains("__"_L1), qPrintable(name));
}

void TstDefinitionCodeMangler::onlyUsersDefinitionsAreMangled()
{
    corvane::registry::Definition definition;
    definition.shaderCode = u"float sdf_a(vec3 p) { return p.x; }"_s;
    const auto users = DefinitionCodeMangler::forDefinition(definition, u"u3_"_s);
    QCOMPARE(users.code(), u"float u3_sdf_a(vec3 u3_p) { return u3_p.x; }"_s);
    QCOMPARE(users.functionName(u"sdf_a"_s), u"u3_sdf_a"_s);
    QCOMPARE(users.functionName(u"sdf_b"_s), u"sdf_b"_s);

    definition.sourcePath = u":/sdf/primitives/a.yaml"_s;
    const auto shipped = DefinitionCodeMangler::forDefinition(definition, u"u3_"_s);
    QCOMPARE(shipped.code(), definition.shaderCode);
    QCOMPARE(shipped.functionName(u"sdf_a"_s), u"sdf_a"_s);
}

/// A scan back over the text at each of these names would not end in the time of a test.
void TstDefinitionCodeMangler::hugeTextsAreLinear()
{
    constexpr int count = 200000;
    const QString code = u"float a"_s.repeated(count) + u"("_s.repeated(count);
    const QString mangled = DefinitionCodeMangler(code, u"u_"_s).code();
    QVERIFY(mangled.size() > code.size());
}

QTEST_APPLESS_MAIN(TstDefinitionCodeMangler)
#include "tst_DefinitionCodeMangler.moc"
