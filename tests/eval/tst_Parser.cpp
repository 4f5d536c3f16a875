#include <eval/internal/frontend/Parser.h>

#include "AstText.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace eval::internal;

class TstParser : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void expressions_data();
    void expressions();
    void literals_data();
    void literals();
    void statements_data();
    void statements();
    void declarations();
    void errors_data();
    void errors();
    void hostileSourcesAreRefusedOnce_data();
    void hostileSourcesAreRefusedOnce();
    void longSourcesAreFine();
};

void TstParser::expressions_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("tree");
    QTest::newRow("left to right") << u"a-b-c"_s << u"((a - b) - c)"_s;
    QTest::newRow("product before sum") << u"a+b*c%d"_s << u"(a + ((b * c) % d))"_s;
    QTest::newRow("all levels")
        << u"a&&b|c^d&e==f<g<<h+i*-j"_s
        << u"(a && (b | (c ^ (d & (e == (f < (g << (h + (i * (-j))))))))))"_s;
    QTest::newRow("xor binds tighter than or") << u"a || b ^^ c"_s << u"(a || (b ^^ c))"_s;
    QTest::newRow("and binds tighter than xor") << u"a ^^ b && c"_s << u"(a ^^ (b && c))"_s;
    QTest::newRow("or is left-associative") << u"a || b || c"_s << u"((a || b) || c)"_s;
    QTest::newRow("ternary nests right") << u"a ? b : c ? d : e"_s << u"(a ? b : (c ? d : e))"_s;
    QTest::newRow("assignment nests right") << u"a = b += c"_s << u"(a = (b += c))"_s;
    QTest::newRow("every assignment")
        << u"a*=b/=c%=d&=e|=f^=g<<=h>>=i-=j"_s
        << u"(a *= (b /= (c %= (d &= (e |= (f ^= (g <<= (h >>= (i -= j)))))))))"_s;
    QTest::newRow("ternary as a target") << u"a ? b : c = d"_s << u"(a ? b : (c = d))"_s;
    QTest::newRow("prefixes nest") << u"-!~+x"_s << u"(-(!(~(+x))))"_s;
    QTest::newRow("prefix takes the postfix inside") << u"-x.y[0]++"_s << u"(-(x.y[0]++))"_s;
    QTest::newRow("increments") << u"++a + --b - c++ * d--"_s
                                << u"(((++a) + (--b)) - ((c++) * (d--)))"_s;
    QTest::newRow("parentheses") << u"(a+b)*(c)"_s << u"((a + b) * c)"_s;
    QTest::newRow("calls") << u"f()+g(a,b=c)"_s << u"(f() + g(a (b = c)))"_s;
    QTest::newRow("constructors") << u"mat2(vec2(1.0), x.yx)"_s << u"new mat2(new vec2(1) x.yx)"_s;
    QTest::newRow("struct constructor") << u"struct S { float a; }; S(1.0).a"_s << u"new S(1).a"_s;
    QTest::newRow("index") << u"m[1][i+1].x"_s << u"m[1][(i + 1)].x"_s;
    QTest::newRow("the rest is ignored") << u"a b ; c }"_s << u"a"_s;
    QTest::newRow("a number apart is the rest") << u"a .5"_s << u"a"_s;
}

void TstParser::expressions()
{
    QFETCH(const QString, source);
    QFETCH(const QString, tree);
    const ParsedSource parsed = Parser(source).parse();
    QCOMPARE(asttext::texts(parsed.diagnostics), QStringList());
    QCOMPARE(asttext::text(parsed.root), tree);
}

void TstParser::literals_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QVariant>("value");
    QTest::newRow("int") << u"42"_s << QVariant(42);
    QTest::newRow("hex") << u"0xff"_s << QVariant(255);
    QTest::newRow("octal") << u"010"_s << QVariant(8);
    QTest::newRow("bit pattern") << u"0xFFFFFFFF"_s << QVariant(-1);
    QTest::newRow("uint") << u"4294967295u"_s << QVariant(4294967295U);
    QTest::newRow("int64") << u"4294967296l"_s << QVariant(4294967296LL);
    QTest::newRow("uint64") << u"0xFFFFFFFFFFFFFFFFul"_s << QVariant(0xFFFFFFFFFFFFFFFFULL);
    QTest::newRow("float") << u"1.5"_s << QVariant(1.5F);
    QTest::newRow("float with suffix") << u"0.1f"_s << QVariant(0.1F);
    QTest::newRow("point last") << u"2."_s << QVariant(2.0F);
    QTest::newRow("integer made float") << u"3f"_s << QVariant(3.0F);
    QTest::newRow("beyond float") << u"1e39"_s << QVariant(std::numeric_limits<float>::infinity());
    QTest::newRow("beyond double")
        << u"1e999"_s << QVariant(std::numeric_limits<float>::infinity());
    QTest::newRow("below double") << u"1e-999"_s << QVariant(0.0F);
    QTest::newRow("true") << u"true"_s << QVariant(true);
    QTest::newRow("false") << u"false"_s << QVariant(false);
}

void TstParser::literals()
{
    QFETCH(const QString, source);
    QFETCH(const QVariant, value);
    const ParsedSource parsed = Parser(source).parse();
    QCOMPARE(parsed.diagnostics.size(), 0);
    QCOMPARE(parsed.root->literal, value);
    QCOMPARE(parsed.root->literal.typeId(), value.typeId());
    QVERIFY(parsed.root->valid);
}

void TstParser::statements_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("tree");
    QTest::newRow("declaration") << u"float x = a = b; vec3 y;"_s << u"float x=(a = b); vec3 y;"_s;
    QTest::newRow("declarators") << u"int a, b = 2;"_s << u"{int a; int b=2;}"_s;
    QTest::newRow("struct variable")
        << u"S s = S(1.0); s.a = 2.0;"_s << u"<unknown> s=new S(1); (s.a = 2);"_s;
    QTest::newRow("else belongs to the near if")
        << u"if (a) if (b) c; else d;"_s << u"if a if b c; else d;"_s;
    QTest::newRow("for") << u"for (int i = 0; i < 3; i++) { x; }"_s
                         << u"for [int i=0;|(i < 3)|(i++)] {x;}"_s;
    QTest::newRow("for without start") << u"for (; a; b) c;"_s << u"for [null|a|b] c;"_s;
    QTest::newRow("for with an expression")
        << u"for (i = 0; a; b) c;"_s << u"for [(i = 0);|a|b] c;"_s;
    QTest::newRow("loops") << u"while (a) b; do { c; } while (d);"_s
                           << u"while a b; do {c;} while d"_s;
    QTest::newRow("jumps") << u"break; continue; discard; return; return x;"_s
                           << u"break; continue; discard; return; return x;"_s;
    QTest::newRow("switch") << u"switch (i) { case 0: case 0x10: a; break; case 2u: default: b; }"_s
                            << u"switch i 0:{} 16:{a; break;} 2:{} default:{b;}"_s;
    QTest::newRow("nested blocks") << u"{ { a; } {} }"_s << u"{{a;} {}}"_s;
}

void TstParser::statements()
{
    QFETCH(const QString, source);
    QFETCH(const QString, tree);
    const QString text = u"struct S { float a; }; void f() { %1 } 0"_s.arg(source);
    const ParsedSource parsed = Parser(text).parse();
    QCOMPARE(asttext::texts(parsed.diagnostics), QStringList());
    QCOMPARE(asttext::text(parsed.functions.value(0)->body), u"{%1}"_s.arg(tree));
}

void TstParser::declarations()
{
    const ParsedSource parsed =
        Parser(u"struct A { float x; ivec2 y; }; struct B { A a; };"
               "B f(in A a, const float b, out int c, inout vec3 d, float e[]) {}"
               "void g() {} 1")
            .parse();
    QCOMPARE(asttext::texts(parsed.diagnostics), QStringList());
    QCOMPARE(parsed.structs.size(), 2);
    QCOMPARE(parsed.structs[0]->params.value(1).type, eval::Type::IVec2);
    QCOMPARE(parsed.structs[1]->params.value(0).structName, u"A"_s);
    QCOMPARE(parsed.functions.size(), 2);
    const AstNode &function = *parsed.functions[0];
    QCOMPARE(function.name, u"f"_s);
    QCOMPARE(function.type, eval::Type::Struct);
    QCOMPARE(function.structName, u"B"_s);
    QList<ParamQualifier> qualifiers;
    for (const FunctionParam &param : function.params)
        qualifiers.append(param.qualifier);
    using Q = ParamQualifier;
    QCOMPARE(qualifiers, QList<Q>({Q::ByValue, Q::Const, Q::Out, Q::InOut, Q::ByValue}));
    QVERIFY(function.params.last().isArray);
    QVERIFY(!function.params.first().isArray);
}

void TstParser::errors_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QStringList>("messages");
    const auto row = [](const QString &source, const QStringList &messages) {
        QTest::newRow(qPrintable(source)) << source << messages;
    };
    row(u""_s, {u"1:1 unexpected token '' in expression"_s});
    row(u"float f() { return 1.0; }"_s, {u"1:26 unexpected token '' in expression"_s});
    row(u"x.0"_s, {u"1:2 expected swizzle or member after '.'"_s});
    row(u"x."_s, {u"1:3 expected swizzle or member after '.'"_s});
    row(u"(a"_s, {u"1:3 expected ')' after parenthesised expression"_s});
    row(u"f(a"_s, {u"1:4 expected ')' after function arguments"_s});
    row(u"vec2(a"_s, {u"1:7 expected ')' after constructor arguments"_s});
    row(u"vec2"_s, {u"1:5 expected '(' after type constructor"_s});
    row(u"a[0"_s, {u"1:4 expected ']' after index expression"_s});
    row(u"a ? b"_s,
        {u"1:6 expected ':' in ternary expression"_s, u"1:6 unexpected token '' in expression"_s});
    row(u"a + )"_s, {u"1:5 unexpected token ')' in expression"_s});
    row(u"4294967296"_s, {u"1:1 literal '4294967296' is no number that its type can hold"_s});
    row(u"0x"_s, {u"1:1 literal '0x' is no number that its type can hold"_s});
    row(u"1e+"_s, {u"1:1 literal '1e+' is no number that its type can hold"_s});
    row(u"1 # 2"_s, {u"1:3 unexpected character '#'"_s});
    row(u"struct { float a; }; 1"_s, {u"1:8 expected struct name after 'struct'"_s});
    row(u"struct S float a; }; 1"_s, {u"1:10 expected '{' after struct name"_s});
    row(u"struct S { 1 x; float b; }; 1"_s, {u"1:12 expected field type in struct 'S'"_s});
    row(u"struct S { T x; }; 1"_s, {u"1:12 unknown type 'T' in struct 'S'"_s});
    row(u"struct S { float; }; 1"_s, {u"1:17 expected field name in struct 'S'"_s});
    row(u"struct S { float a }; 1"_s, {u"1:20 expected ';' after struct field"_s});
    row(u"struct S { float a;"_s, {u"1:20 expected '}' at end of struct declaration"_s,
                                   u"1:20 expected ';' after struct declaration"_s,
                                   u"1:20 unexpected token '' in expression"_s});
    row(u"float f(vec9 a) {} 1"_s,
        {u"1:9 expected parameter type"_s, u"1:14 expected ')' after parameter list"_s,
         u"1:14 expected '{' to open function body"_s});
    row(u"float f(float) {} 1"_s, {u"1:14 expected parameter name"_s});
    row(u"float f(float a[1]) {} 1"_s, {u"1:17 expected ']' after parameter array brackets"_s,
                                        u"1:17 expected ')' after parameter list"_s,
                                        u"1:17 expected '{' to open function body"_s});
    const auto body = [](const QString &statement, const QStringList &messages) {
        QStringList placed;
        for (const QString &message : messages)
            placed.append(u"2:"_s + message);
        QTest::newRow(qPrintable(statement)) << u"void f() {\n%1\n} 1"_s.arg(statement) << placed;
    };
    body(u"const int a;"_s, {u"1 unexpected token 'const' in expression"_s,
                             u"7 expected ';' after expression statement"_s});
    body(u"int = 2;"_s, {u"5 expected declarator name"_s});
    body(u"int a 2;"_s, {u"7 expected ';' after declaration"_s});
    body(u"if a) b;"_s, {u"4 expected '(' after 'if'"_s});
    body(u"if (a b;"_s, {u"7 expected ')' after if condition"_s});
    body(u"for a;b;c) d;"_s, {u"5 expected '(' after 'for'"_s});
    body(u"for (a b; c) d;"_s, {u"8 expected ';' after for-init"_s});
    body(u"for (a;b c) d;"_s, {u"10 expected ';' after for-condition"_s});
    body(u"for (a;b;c d;"_s, {u"12 expected ')' after for-step"_s});
    body(u"for (a;;c) d;"_s,
         {u"8 unexpected token ';' in expression"_s, u"9 expected ';' after for-condition"_s});
    body(u"while a) b;"_s, {u"7 expected '(' after 'while'"_s});
    body(u"while (a b;"_s, {u"10 expected ')' after while-condition"_s});
    body(u"do a; (b);"_s, {u"7 expected 'while' in do-while"_s});
    body(u"do a; while b);"_s, {u"13 expected '(' after 'while' in do-while"_s});
    body(u"do a; while (b;"_s, {u"15 expected ')' after do-while condition"_s});
    body(u"do a; while (b) c;"_s, {u"17 expected ';' after do-while"_s});
    body(u"switch a) {}"_s, {u"8 expected '(' after 'switch'"_s});
    body(u"switch (a {}"_s, {u"11 expected ')' after switch expression"_s});
    body(u"switch (a) }"_s, {u"12 expected '{' after switch (...)"_s});
    body(u"switch (a) { b; }"_s, {u"14 statement outside any case in switch"_s});
    body(u"switch (a) { case x: b; }"_s,
         {u"19 expected case label"_s, u"19 expected ':' after case label"_s,
          u"20 expected ';' after expression statement"_s,
          u"20 unexpected token ':' in expression"_s,
          u"22 expected ';' after expression statement"_s});
    body(u"switch (a) { case 1 b; }"_s, {u"21 expected ':' after case label"_s});
    body(u"switch (a) { default b; }"_s, {u"22 expected ':' after default"_s});
    body(u"break a;"_s, {u"7 expected ';' after break"_s});
    body(u"continue a;"_s, {u"10 expected ';' after continue"_s});
    body(u"discard a;"_s, {u"9 expected ';' after discard"_s});
    body(u"return a b;"_s, {u"10 expected ';' after return"_s});
    body(u"a b;"_s, {u"3 expected ';' after expression statement"_s});
    row(u"void f() { a;"_s,
        {u"1:14 expected '}' to close block"_s, u"1:14 unexpected token '' in expression"_s});
    row(u"void f() { switch (a) { case 1: b;"_s,
        {u"1:35 expected '}' to close switch"_s, u"1:35 expected '}' to close block"_s,
         u"1:35 unexpected token '' in expression"_s});
}

void TstParser::errors()
{
    QFETCH(const QString, source);
    QFETCH(const QStringList, messages);
    const ParsedSource parsed = Parser(source).parse();
    QCOMPARE(asttext::texts(parsed.diagnostics), messages);
    for (const eval::Diagnostic &diagnostic : parsed.diagnostics)
        QCOMPARE(diagnostic.category, eval::DiagnosticCategory::Syntax);
}

static QString inBody(const QString &statements)
{
    return u"void f() { %1 } 1"_s.arg(statements);
}

void TstParser::hostileSourcesAreRefusedOnce_data()
{
    QTest::addColumn<QString>("source");
    constexpr qsizetype many = 100'000;
    QTest::newRow("parentheses") << u"("_s.repeated(many) + u"1"_s + u")"_s.repeated(many);
    QTest::newRow("open parentheses") << u"("_s.repeated(many);
    QTest::newRow("brackets") << u"a["_s.repeated(many);
    QTest::newRow("calls") << u"f("_s.repeated(many) + u"1"_s + u")"_s.repeated(many);
    QTest::newRow("signs") << u"- "_s.repeated(many) + u"1"_s;
    QTest::newRow("sum") << u"a+"_s.repeated(many) + u"a"_s;
    QTest::newRow("mixed levels") << u"a||b^^c&&d|e^f&g==h<i<<j+k*("_s.repeated(many);
    QTest::newRow("members") << u"a"_s + u".x"_s.repeated(many);
    QTest::newRow("steps") << u"a"_s + u"++"_s.repeated(many);
    QTest::newRow("ternaries") << u"a?b:"_s.repeated(many) + u"c"_s;
    QTest::newRow("ternary conditions") << u"a?"_s.repeated(many);
    QTest::newRow("assignments") << u"a="_s.repeated(many) + u"a"_s;
    QTest::newRow("blocks") << inBody(u"{"_s.repeated(many));
    QTest::newRow("else chain") << inBody(u"if(a)b;else "_s.repeated(many) + u"c;"_s);
    QTest::newRow("loops") << inBody(u"while(a)"_s.repeated(many) + u"c;"_s);
    QTest::newRow("switches") << inBody(u"switch(a){case 1:"_s.repeated(many));
    QTest::newRow("do") << inBody(u"do "_s.repeated(many));
}

void TstParser::hostileSourcesAreRefusedOnce()
{
    QFETCH(const QString, source);
    const ParsedSource parsed = Parser(source).parse();
    QCOMPARE(parsed.diagnostics.size(), 1);
    QVERIFY(parsed.diagnostics.first().message.startsWith(u"source "_s));
}

void TstParser::longSourcesAreFine()
{
    constexpr qsizetype count = 16'384;
    const ParsedSource parsed =
        Parser(inBody(u"d = min(d, length(p - vec3(1.0, 2.0, 3.0)) - 0.5);\n"_s.repeated(count)))
            .parse();
    QCOMPARE(parsed.diagnostics.size(), 0);
    QCOMPARE(parsed.functions.first()->body->statements.size(), count);
    QCOMPARE(parsed.functions.first()->body->statements.last()->span.line, int(count));
}

QTEST_APPLESS_MAIN(TstParser)
#include "tst_Parser.moc"
