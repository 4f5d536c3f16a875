#include <shader/SourceGuard.h>
#include <shader/SpirvCompiler.h>

using namespace Qt::StringLiterals;
using shader::checkSourceLimits;
using shader::SourceLimits;

class TstSourceGuard : public QObject
{
    Q_OBJECT

private slots:
    void passesWhatDefinitionsNeed_data();
    void passesWhatDefinitionsNeed();
    void refusesWhatOverflowsTheCompiler_data();
    void refusesWhatOverflowsTheCompiler();
    void namesTheLine_data();
    void namesTheLine();
    void allowsWhatTheCompilerSurvives_data();
    void allowsWhatTheCompilerSurvives();
};

namespace {

QString repeated(const QString &text, int count)
{
    return text.repeated(count);
}

QString inMain(const QString &body)
{
    return u"#version 450\nlayout(location = 0) out vec4 fragColor;\nvoid main() {\nfloat x = "
           "1.0;\nbool b = x > 0.5;\n"_s +
           body + u"\nfragColor = vec4(x);\n}\n"_s;
}

QString doublingMacros(int count)
{
    QString text = u"#define M0 x + x\n"_s;
    for (int i = 1; i <= count; ++i)
        text += u"#define M%1 M%2 + M%2\n"_s.arg(QString::number(i), QString::number(i - 1));
    return text + u"void main() { float x = M%1; }"_s.arg(count);
}

/// `between` stands behind the word "struct".
QString doublingStructs(int count, const QString &between = u" "_s)
{
    QString text = u"#version 450\nstruct S0 { float a, b; };\n"_s;
    for (int i = 1; i <= count; ++i)
        text += u"struct%3S%1 { S%2 a; S%2 b; };\n"_s.arg(QString::number(i),
                                                          QString::number(i - 1), between);
    return text + u"void main() {}"_s;
}

// `count` functions h0, h1, ...; `body` says what each does with x, %1 the number of the one
// before.
QString functions(int count, const QString &body)
{
    QString text = u"#version 450\nfloat h0(float x) { return x; }\n"_s;
    for (int i = 1; i < count; ++i)
        text += u"float h%1(float x) { %2 }\n"_s.arg(
            QString::number(i), QString(body).replace(u"%1"_s, QString::number(i - 1)));
    return text + u"layout(location = 0) out vec4 c;\nvoid main() { c = vec4(h%1(1.0)); }\n"_s.arg(
                      count - 1);
}

// Each is declared first and calls the one that is defined behind it.
QString downwards(int count)
{
    QString text = u"#version 450\n"_s;
    for (int i = 0; i < count; ++i)
        text += u"float d%1(float x);\n"_s.arg(i);
    for (int i = count - 1; i > 0; --i)
        text += u"float d%1(float x) { return d%2(x); }\n"_s.arg(QString::number(i),
                                                                 QString::number(i - 1));
    return text + u"float d0(float x) { return x; }\nlayout(location = 0) out vec4 c;\n"
                  "void main() { c = vec4(d%1(1.0)); }\n"_s.arg(count - 1);
}

QString star(int count)
{
    QString text = u"#version 450\n"_s;
    QString sum;
    for (int i = 0; i < count; ++i) {
        text += u"float h%1(float x) { return x; }\n"_s.arg(i);
        sum += u"x += h%1(x);\n"_s.arg(i);
    }
    return text + u"layout(location = 0) out vec4 c;\nvoid main() {\nfloat x = 1.0;\n"_s + sum +
           u"c = vec4(x);\n}\n"_s;
}

} // namespace

void TstSourceGuard::passesWhatDefinitionsNeed_data()
{
    QTest::addColumn<QString>("source");
    QTest::newRow("empty") << u""_s;
    QTest::newRow("macros") << u"#version 450\n#define PI 3.14\n#define SQ(a) ((a) * (a))\n"
                               "float f(float x) { return SQ(x) + PI; }"_s;
    QTest::newRow("long function") << inMain(repeated(u"x += 1.0;\n"_s, 50000));
    QTest::newRow("many functions")
        << repeated(u"float f(float x) { if (x > 0.0) return x; else return -x; }\n"_s, 20000);
    QTest::newRow("switch") << inMain(u"switch (int(x)) {\n"_s +
                                      repeated(u"case 1: x = 2.0; break;\n"_s, 5000) + u'}');
    QTest::newRow("brackets that do not match") << u"}}}} ))) void main( {"_s;
    QTest::newRow("comment of operators")
        << u"/* "_s + repeated(u"+"_s, 100000) + u"*/ // "_s + repeated(u"("_s, 100000);
    QTest::newRow("unfinished comment") << u"/* a"_s;
    QTest::newRow("structs") << doublingStructs(8);
    QTest::newRow("overloads that call one another")
        << u"float n(float x) { return x; }\nfloat n(vec2 p) { return n(p.x) + n(p.y); }\n"
           "float n(vec3 p) { return n(p.xy) + n(p.z); }"_s;
    QTest::newRow("field called as a function")
        << u"struct S { float h; };\nfloat h(S s) { float g = s.h; return (g); }"_s;
}

void TstSourceGuard::passesWhatDefinitionsNeed()
{
    QFETCH(const QString, source);
    const auto refused = checkSourceLimits(source);
    QVERIFY2(!refused, refused ? qPrintable(refused->message) : "");
}

void TstSourceGuard::refusesWhatOverflowsTheCompiler_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("message");
    const QString operators = u"More than 10000 operators in one expression"_s;
    const QString brackets = u"More than 200 brackets in one another"_s;
    const QString statements = u"More than 2000 statements in one another"_s;
    QTest::newRow("100000 terms") << inMain(u"x = 1.0"_s + repeated(u" + x"_s, 100000) + u';')
                                  << operators;
    QTest::newRow("signs") << inMain(u"x = "_s + repeated(u"-"_s, 100000) + u"x;"_s) << operators;
    QTest::newRow("swizzles") << inMain(u"x = vec2(x)"_s + repeated(u".xy"_s, 100000) + u".x;"_s)
                              << operators;
    QTest::newRow("assignments") << inMain(repeated(u"x = "_s, 100000) + u"x;"_s) << operators;
    QTest::newRow("choices") << inMain(u"x = "_s + repeated(u"b ? x : "_s, 100000) + u"x;"_s)
                             << operators;
    QTest::newRow("parentheses") << inMain(u"x = "_s + repeated(u"("_s, 300) + u'x' +
                                           repeated(u")"_s, 300) + u';')
                                 << brackets;
    QTest::newRow("blocks") << inMain(repeated(u"{"_s, 300) + repeated(u"}"_s, 300)) << brackets;
    QTest::newRow("ifs") << inMain(repeated(u"if (b) "_s, 50000) + u"x = 1.0;"_s) << statements;
    QTest::newRow("else ifs") << inMain(repeated(u"if (b) { x = 1.0; } else "_s, 50000) +
                                        u"x = 2.0;"_s)
                              << statements;
    QTest::newRow("loops") << inMain(repeated(u"for (;b;) "_s, 50000) + u"x = 1.0;"_s)
                           << statements;
    QTest::newRow("branches one after the other") << inMain(repeated(u"if (b) x = 1.0;\n"_s, 50000))
                                                  << u"More than 20000 branches in one function"_s;
    QTest::newRow("16 macros that double")
        << doublingMacros(16) << u"A macro must not stand for another macro, 'M0'"_s;
    QTest::newRow("macro that hides brackets")
        << u"#define P ((((x))))\n#define Q (((\n"_s << u"The brackets of a macro do not match"_s;
    QTest::newRow("macro of statements")
        << u"#define I if (b)\n"_s + inMain(repeated(u"I "_s, 100000) + u"x = 1.0;"_s)
        << u"A macro must stand for an expression"_s;
    QTest::newRow("macro carried on over lines")
        << u"#define A x + \\\nB\n#define B x\n"_s
        << u"A macro must not stand for another macro, 'B'"_s;
    QTest::newRow("nested calls of macros")
        << u"#define D(a) (a + a)\nvoid main() { float x = D(D(D(1.0))); }"_s
        << u"Calls of macros must not nest"_s;
    QTest::newRow("long macro used often")
        << u"#define L x"_s + repeated(u" + x"_s, 500) + u'\n' +
               inMain(u"x = L"_s + repeated(u" + L"_s, 100) + u';')
        << operators;
    QTest::newRow("argument used often")
        << u"#define L(a) a"_s + repeated(u" + a"_s, 100) + u'\n' +
               inMain(u"x = L(x"_s + repeated(u" + x"_s, 500) + u");"_s)
        << operators;
    QTest::newRow("pasted tokens")
        << u"#define P(a) a##b\n"_s << u"A macro must stand for an expression"_s;
    QTest::newRow("preprocessor lines")
        << repeated(u"#define A 1\n"_s, 300) << u"More than 256 preprocessor lines"_s;
    QTest::newRow("structs that double")
        << doublingStructs(40) << u"More than 4096 members in one struct"_s;
    QTest::newRow("structs that double, named behind a preprocessor line")
        << doublingStructs(40, u"\n#pragma a\n"_s) << u"More than 4096 members in one struct"_s;
    const QString many = u"More than 250000 calls in one of '%1', those in the functions that it "
                         "calls included"_s;
    QTest::newRow("functions that double")
        << functions(30, u"return h%1(x) + h%1(x);"_s) << many.arg(u"h17"_s);
    QTest::newRow("functions that double by a macro")
        << functions(30, u"return T(h%1(x)) + x;"_s)
               .replace(u"450\n"_s, u"450\n#define T(a) (a + a)\n"_s)
        << many.arg(u"h11"_s);
    QTest::newRow("functions under another name")
        << functions(30, u"return h%1(x) + h%1(x);"_s)
               .replace(u"450\n"_s, u"450\n#define N h9\n"_s)
               .replace(u"h9("_s, u"N("_s)
        << many.arg(u"h17"_s);
    QTest::newRow("functions that double in an initial value")
        << functions(17, u"return h%1(x) + h%1(x);"_s) +
               u"float g = h16(1.0) + h16(2.0) + h16(3.0) + h16(4.0);\n"_s
        << many.arg(QString());
    QTest::newRow("chain of functions") << functions(300, u"return h%1(x);"_s)
                                        << u"More than 200 calls in one another, from 'h201' on"_s;
    QTest::newRow("chain of functions downwards")
        << downwards(100)
        << u"More than 16 calls in one another to functions that are defined further down, from "
           "'d17' on"_s;
    QTest::newRow("many calls") << star(4000)
                                << u"More than 3000 calls from one function to another"_s;
    QTest::newRow("recursion")
        << u"float g(float x);\nfloat f(float x) { return g(x); }\nfloat g(float x) { return f(x); }"_s
        << u"'g' calls itself, directly or by way of others: recursion is not possible"_s;
    QTest::newRow("function named by a macro with arguments")
        << u"#define F(a) a\nfloat F(f)(float x) { return x; }"_s
        << u"The name of a function must not come from a macro with arguments"_s;
    QTest::newRow("macro of a signature") << u"#define F float f\nF(float x) { return x; }"_s
                                          << u"A macro must stand for an expression"_s;
    QTest::newRow("size") << QString(5 * 1024 * 1024, u' ')
                          << u"More than 4194304 characters in the source"_s;
}

void TstSourceGuard::refusesWhatOverflowsTheCompiler()
{
    QFETCH(const QString, source);
    QFETCH(const QString, message);
    const auto refused = checkSourceLimits(source);
    QVERIFY(refused);
    QCOMPARE(refused->message, message);
    QCOMPARE(refused->severity, shader::Diagnostic::Severity::Error);

    const shader::SpirvResult result =
        shader::compileToSpirv(source, QShader::FragmentStage, u"hostile"_s);
    QVERIFY(result.spirv.isEmpty());
    const auto diagnostics = shader::parseGlslangErrors(result.messages);
    QCOMPARE(diagnostics.size(), 1);
    QCOMPARE(diagnostics[0].line, refused->line);
    QCOMPARE(diagnostics[0].message, message);
    QCOMPARE(diagnostics[0].filename, refused->line < 0 ? QString() : u"hostile.frag"_s);
}

void TstSourceGuard::namesTheLine_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<int>("line");
    QTest::newRow("expression") << u"\n/* a\nb */\nfloat a =\n"_s + repeated(u"-"_s, 20000) << 5;
    QTest::newRow("macro") << u"\n#define A \\\n1\n#define B A\n"_s << 4;
}

void TstSourceGuard::namesTheLine()
{
    QFETCH(const QString, source);
    QFETCH(const int, line);
    const auto refused = checkSourceLimits(source);
    QVERIFY(refused);
    QCOMPARE(refused->line, line);
}

// The limits hold only as long as the compiler takes what they let through.
void TstSourceGuard::allowsWhatTheCompilerSurvives_data()
{
    const SourceLimits limits;
    QTest::addColumn<QString>("source");
    QTest::newRow("terms") << inMain(
        u"x = 1.0"_s + repeated(u" + x"_s, limits.operatorsPerExpression - 10) + u';');
    QTest::newRow("signs") << inMain(
        u"x = "_s + repeated(u"- "_s, limits.operatorsPerExpression - 10) + u"x;"_s);
    QTest::newRow("choices") << inMain(
        u"x = "_s + repeated(u"b ? x : "_s, limits.operatorsPerExpression / 2 - 10) + u"x;"_s);
    QTest::newRow("parentheses") << inMain(u"x = "_s + repeated(u"("_s, limits.nestedBrackets - 2) +
                                           u'x' + repeated(u")"_s, limits.nestedBrackets - 2) +
                                           u';');
    QTest::newRow("else ifs") << inMain(
        repeated(u"if (b) { x = 1.0; } else "_s, limits.nestedStatements / 2 - 1) + u"x = 2.0;"_s);
    QTest::newRow("branches") << inMain(
        repeated(u"if (b) x = 1.0;\n"_s, limits.branchesPerFunction - 10));
    QTest::newRow("structs") << doublingStructs(10);
    QTest::newRow("chain of functions") << functions(limits.nestedCalls - 1, u"return h%1(x);"_s);
    QTest::newRow("chain of functions downwards") << downwards(limits.downwardCalls);
    QTest::newRow("functions that double") << functions(16, u"return h%1(x) + h%1(x);"_s);
    QTest::newRow("calls") << star(limits.calls / 4);
}

void TstSourceGuard::allowsWhatTheCompilerSurvives()
{
    QFETCH(const QString, source);
    QVERIFY(!checkSourceLimits(source));
    const shader::SpirvResult result =
        shader::compileToSpirv(source, QShader::FragmentStage, u"large"_s);
    // The compiler may have limits of its own; it must only say so.
    QVERIFY(!result.spirv.isEmpty() || !result.messages.isEmpty());
}

QTEST_APPLESS_MAIN(TstSourceGuard)
#include "tst_SourceGuard.moc"
