#include "ProgramPair.h"
#include "RandomProgram.h"

#include <eval/internal/frontend/Parser.h>
#include <eval/internal/registers/ExpandedSize.h>

#include <QRegularExpression>

#include <atomic>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

struct Point
{
    float x, y, z, k;
    int n;
    bool flag;
};

// Zeros of both signs, the unit points where branches turn, and what is no number at all.
constexpr Point points[] = {
    {0.0f, 0.0f, 0.0f, 0.0f, 0, false},         {1.0f, 2.0f, 3.0f, 0.5f, 1, true},
    {-0.75f, 0.25f, 1.5f, -2.0f, 2, false},     {-0.0f, -3.0f, 7.25f, 1.0f, -1, true},
    {1e20f, -1e-20f, 1e38f, 1e-30f, 5, true},   {infinity, nan, -infinity, 3.0f, 1 << 30, false},
    {0.3f, 0.3f, 0.3f, nan, -2147483647, true}, {2.0f, -2.0f, 0.5f, 4.0f, 3, false},
};

QList<float> rowCoordinates()
{
    QList<float> xs;
    for (int i = 0; i < 150; ++i) // more than a block of the row machine
        xs.append(-3.0f + 0.04f * static_cast<float>(i));
    xs[7] = 0.0f;
    xs[60] = nan;
    return xs;
}

/// Neighbours that go different ways at a branch, and all the odd points.
QList<float> scatteredCoordinates()
{
    QList<float> xyz;
    for (int i = 0; i < 140; ++i) {
        const auto step = static_cast<float>(i);
        xyz << std::sin(step * 2.3f) * 3.0f << std::cos(step * 1.7f) * 2.0f << 1.5f - 0.03f * step;
    }
    for (const Point &at : points)
        xyz << at.x << at.y << at.z;
    return xyz;
}

/// Empty when both forms agree at all points, one by one and many at a time; otherwise what
/// differs.
QString difference(ProgramPair &pair)
{
    for (const Point &at : points) {
        pair.setInputs(at.x, at.y, at.z, at.k, at.n, at.flag);
        const QString walked = pair.walked();
        const QString lowered = pair.lowered();
        if (walked != lowered)
            return u"walked:\n%1\nlowered:\n%2"_s.arg(walked, lowered);
    }
    for (const Point &at : {points[0], points[1], points[2]}) {
        pair.setInputs(at.x, at.y, at.z, at.k, at.n, at.flag);
        const QString walked = pair.walkedRow(rowCoordinates(), at.y, at.z);
        const QString lowered = pair.loweredRow(rowCoordinates(), at.y, at.z);
        if (walked != lowered)
            return u"walked row:\n%1\nlowered row:\n%2"_s.arg(walked, lowered);
        const QString walkedPoints = pair.walkedPoints(scatteredCoordinates());
        const QString loweredPoints = pair.loweredPoints(scatteredCoordinates());
        if (walkedPoints != loweredPoints)
            return u"walked points:\n%1\nlowered points:\n%2"_s.arg(walkedPoints, loweredPoints);
    }
    return {};
}

/// The size of a call of the last of some functions, each of which calls the one before twice.
qint64 doubledSize(int functions, qint64 most)
{
    QString source = u"float f0(float a) { return a; }"_s;
    for (int i = 1; i < functions; ++i)
        source += u"float f%1(float a) { return f%2(a) + f%2(a); }"_s.arg(QString::number(i),
                                                                          QString::number(i - 1));
    const auto parsed = eval::internal::Parser(source + u" f%1(k)"_s.arg(functions - 1)).parse();
    return expandedSize(parsed.root, eval::internal::makeFunctionTable(parsed.functions), most);
}

} // namespace

/// Register code and the walk over the tree give the same bits and the same faults.
class TstLowering : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void formsAgree_data();
    void formsAgree();
    void randomProgramsAgree_data();
    void randomProgramsAgree();
    void sizeIsKnownBeforeExpanding();
    void staysWithTheWalk_data();
    void staysWithTheWalk();
    void endlessLoopsCanBeCancelled_data();
    void endlessLoopsCanBeCancelled();
    void rowLeavesTheLastPoint();
};

void TstLowering::formsAgree_data()
{
    QTest::addColumn<QString>("source");
    const auto row = [](const char *name, const QString &source) { QTest::newRow(name) << source; };
    row("distance to a sphere", u"length(p) - k"_s);
    row("constant", u"vec3(1.0, 2.0, 3.0).y * 4.0"_s);
    row("scalar division faults", u"1.0 / p.x + 1.0 / k"_s);
    row("vector division does not", u"p / k + k / p"_s);
    row("integer arithmetic meets float", u"n * 0.5 + n / 2 - 7 % n"_s);
    row("large integers meet float", u"(n * 3 - 16777217) * 1.0 + n * k"_s);
    row("products wrap through double", u"n * n * 2147483647"_s);
    row("unsigned", u"uint(n) / 3u + (uint(n) >> 1) * 2u + uint(n) % 7u"_s);
    row("unsigned comparison", u"uint(n) > 2147483648u ? 1.0 : -1.0"_s);
    row("bits", u"(n << 3 | n >> 1) ^ ~n & 255"_s);
    row("comparison of vectors", u"p == p.xzy || p != vec3(k) && p.x < p.y"_s);
    row("no short cut", u"float f(inout float a) { a += 1.0; return a; }"
                        "float g(float a) { float b = a; bool c = a > 0.0 || f(b) > 0.0;"
                        " return b; } g(k)"_s);
    row("matrix of a scene node", u"(mat4(0.8, 0.6, 0.0, 0.0, -0.6, 0.8, 0.0, 0.0, 0.0, 0.0, 1.0,"
                                  " 0.0, -1.0, 2.0, 0.5, 1.0) * vec4(p, 1.0f)).xyz"_s);
    row("matrices", u"mat3 f(mat3 m) { m[1] = vec3(k); m[2].xy *= 2.0; m[0][2] -= p0(); return m; }"
                    "float p0() { return 0.25; } f(mat3(k)) * p"_s);
    row("row vector", u"p * mat3(1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, k)"_s);
    row("matrices of other shapes", u"vec4(1.0, 2.0, 3.0, k) * mat2x4(k) + p.xy"_s);
    row("inverse and determinant", u"inverse(mat3(k)) * p + determinant(mat2(k))"_s);
    row("negated matrix stays", u"(-mat2(k)) * p.xy"_s);
    row("step and smoothstep", u"step(0.5, p) + smoothstep(-1.0, 1.0, p.x) + mix(p, p.zyx, k)"_s);
    row("index with a side effect", u"float f(vec3 v) { int i = 0; v[i++] += 2.0; v[i++] = 5.0;"
                                    " return v.x + v.y * 2.0 + float(i); } f(p)"_s);
    row("swizzle writes", u"vec4 f(vec4 v) { v.zw = v.xy; v.yx += vec2(1.0, k); v.xx = v.zw;"
                          " v.xyz.zy *= 2.0; return v; } f(vec4(p, k))"_s);
    row("no return at all", u"vec3 f(float a) { a = a + 1.0; } f(k) + p"_s);
    row("values trade places", u"float f(float a, float b) { for (int i = 0; i < 3; i++) {"
                               " float t = a; a = b; b = t + 1.0; } return a * 10.0 + b; }"
                               " f(p.x, p.y)"_s);
    row("rounds run out", u"int f(float a) { int i = 0; for (int j = 0; a == a; j++) i++;"
                          " return i; } p.x > 5.0 ? f(k) : 0"_s);
    row("condition with an effect",
        u"float f(float a) { float s = a; int i = 0;"
        " while ((s += 1.0) < 6.0) i++; return s + float(i); } f(p.x)"_s);
    row("redeclared in a loop", u"float f(float a) { float s = 0.0; for (int i = 0; i < 4; i++) {"
                                " float t; t += a; s += t; } return s; } f(p.x)"_s);
    row("default first", u"float f(int i) { float r = 1.0; switch (i) { default: r += 1.0;"
                         " case 7: r *= 3.0; } return r; } f(n)"_s);
    row("continue through a switch", u"float f(float a) { float s = 0.0;"
                                     " for (int i = 0; i < 6; i++) { switch (i) { case 1: continue;"
                                     " case 3: s += a; break; } s += 1.0; } return s; } f(p.x)"_s);
    row("ternary of two widths", u"flag ? 1 : 2.5"_s);
    row("out parameters", u"void f(out vec3 a, inout float b) { a = vec3(b); b = b * 2.0; }"
                          "vec3 g(float b) { vec3 a; f(a, b); f(a, b); return a + b; } g(k)"_s);
    row("arguments keep their values", u"float f(inout float a) { a = a + 1.0; return a; }"
                                       "float g(float a) { return a * 100.0 + f(a) * 10.0 + a; }"
                                       " g(p.x)"_s);
    row("overloads", u"float f(float a) { return 1.0; } float f(int a) { return 2.0; }"
                     "float f(vec2 a) { return 3.0; } f(k) + f(n) * 10.0 + f(p.xy) * 100.0"_s);
    row("built-in beats user function",
        u"float min(float a, float b) { return 77.0; } min(p.x, k)"_s);
    row("structs", u"struct In { vec2 a; int b; }; struct Out { In i; float c; };"
                   "Out f(Out o) { o.i.a.y += 1.0; o.i.b++; Out q = o; q.c = o.i.a.y; return q; }"
                   " f(Out(In(p.xy, n), k)).c + f(Out(In(p.yz, n), k)).i.b"_s);
    row("struct equality", u"struct S { vec2 a; float b; }; S(p.xy, k) == S(p.yx, k)"_s);
    row("struct as result", u"struct S { vec2 a; int b; }; S(p.xy, n)"_s);
    row("unseen in a function", u"float f(float a) { return a + k; } p.x > 0.5 ? f(1.0) : 2.0"_s);
    row("discard", u"float f(float a) { if (a > 1.0) discard; return a; } f(p.x)"_s);
    row("packing",
        u"unpackUnorm4x8(packUnorm4x8(vec4(p, k))) + unpackHalf2x16(packHalf2x16(p.xy)).x"_s);
    row("bit fields", u"bitfieldExtract(n, 3, 7) + findMSB(n) + floatBitsToInt(k)"_s);
    row("integer vectors", u"ivec3(1, n, 3) * 2 + ivec3(p) / 2"_s);
    row("bool vectors", u"any(lessThan(p, vec3(k))) && !all(equal(p.xy, p.yx)) ? not(bvec2(flag)).x"
                        " : flag"_s);
    row("integers kept by min and abs", u"min(n, 3) + abs(n) + sign(n) + max(n, -n)"_s);
    row("integers made float", u"sqrt(2) + sin(n) + pow(n, 2) + mod(7, 4)"_s);
}

void TstLowering::formsAgree()
{
    QFETCH(QString, source);
    ProgramPair pair(source);
    QCOMPARE(pair.errors, QStringList());
    QVERIFY(pair.isLowered());
    const QString found = difference(pair);
    QVERIFY2(found.isEmpty(), qPrintable(found));
}

void TstLowering::randomProgramsAgree_data()
{
    QTest::addColumn<int>("firstSeed");
    for (int i = 0; i < 8; ++i)
        QTest::addRow("seeds from %d", i * 50) << i * 50;
}

void TstLowering::randomProgramsAgree()
{
    QFETCH(int, firstSeed);
    int lowered = 0;
    for (int seed = firstSeed; seed < firstSeed + 50; ++seed) {
        const QString source = RandomProgram(static_cast<quint32>(seed)).text();
        ProgramPair pair(source);
        QVERIFY2(pair.errors.isEmpty(), qPrintable(pair.errors.join(u'\n') + u'\n' + source));
        lowered += pair.isLowered() ? 1 : 0;
        const QString found = difference(pair);
        QVERIFY2(found.isEmpty(),
                 qPrintable(u"seed %1\n%2\n%3"_s.arg(QString::number(seed), source, found)));
    }
    QVERIFY2(lowered >= 45,
             qPrintable(u"only %1 of 50 programs have register code"_s.arg(lowered)));
}

void TstLowering::sizeIsKnownBeforeExpanding()
{
    constexpr qint64 most = 1'000'000;
    // Each function adds its own nodes to twice those of the one before.
    const qint64 own = doubledSize(3, most) - 2 * doubledSize(2, most);
    QCOMPARE(doubledSize(4, most) - 2 * doubledSize(3, most), own);
    QCOMPARE_LT(doubledSize(10, most), most);
    QCOMPARE(doubledSize(60, most), most);
    const auto recursive =
        eval::internal::Parser(u"float f(float a) { return f(a); } f(k)"_s).parse();
    QCOMPARE(
        expandedSize(recursive.root, eval::internal::makeFunctionTable(recursive.functions), most),
        most);
}

void TstLowering::staysWithTheWalk_data()
{
    QTest::addColumn<QString>("source");
    QTest::newRow("double") << u"double f(float a) { double b = a; return b * b; } f(k)"_s;
    QTest::newRow("recursion") << u"float f(float a) { return a < 1.0 ? a : f(a - 1.0); } f(3.0)"_s;
    QTest::newRow("perhaps bound") << u"float f(float a) { if (a > 0.5) float b = a; return b; }"
                                      " f(k)"_s;
    QTest::newRow("two types in one name")
        << u"float f(float a) { float b = a; if (a > 0.5) { int b = 1; } return b / 2; } f(k)"_s;
    // A chain of calls with deep expressions in each: no walk may follow it to its end.
    QString chain = u"float f0(float a) { return a; }"_s;
    for (int i = 1; i <= 200; ++i)
        chain += u"float f%1(float a) { return %2f%3(a); }"_s.arg(
            QString::number(i), u"- "_s.repeated(60), QString::number(i - 1));
    QTest::newRow("too deep") << chain + u" f200(k)"_s;
    // Forty functions that each call the one before twice: nobody would live to see that expanded.
    QString doubling = u"float f0(float a) { return a + 1.0; }"_s;
    for (int i = 1; i <= 40; ++i)
        doubling += u"float f%1(float a) { return a < -1e9 ? f%2(f%2(a)) : a; }"_s.arg(
            QString::number(i), QString::number(i - 1));
    QTest::newRow("too much code") << doubling + u" f40(k)"_s;
}

void TstLowering::staysWithTheWalk()
{
    QFETCH(QString, source);
    ProgramPair pair(source);
    QCOMPARE(pair.errors, QStringList());
    QVERIFY(!pair.isLowered());
    const QString found = difference(pair);
    QVERIFY2(found.isEmpty(), qPrintable(found));
}

void TstLowering::endlessLoopsCanBeCancelled_data()
{
    QTest::addColumn<bool>("byWalk");
    QTest::addColumn<bool>("alongRow");
    QTest::newRow("register code") << false << false;
    QTest::newRow("rows") << false << true;
    QTest::newRow("walk") << true << false;
    QTest::newRow("walk along a row") << true << true;
}

void TstLowering::endlessLoopsCanBeCancelled()
{
    QFETCH(bool, byWalk);
    QFETCH(bool, alongRow);
    ProgramPair pair(u"float f(float a) { float s = a; for (int i = 0; a == a; i++)"
                     " for (int j = 0; a == a; j++) for (int m = 0; a == a; m++) s = s + 1.0;"
                     " return s; } f(p.x)"_s);
    QVERIFY(pair.isLowered());
    eval::ThreadCopy &copy = byWalk ? pair.plain : pair.fast;
    const std::atomic_bool cancelled = true;
    copy.setCancelFlag(&cancelled);
    if (alongRow) {
        const QString row = byWalk ? pair.walkedRow({1.0f, 2.0f}, 0.0f, 0.0f)
                                   : pair.loweredRow({1.0f, 2.0f}, 0.0f, 0.0f);
        QVERIFY2(row.startsWith(u"501502f9 501502f9 "_s), qPrintable(row)); // 1e10, twice
    } else {
        const eval::Result<void> result = copy.evaluate();
        QCOMPARE(result.diagnostics().size(), 1);
    }
    QCOMPARE(alongRow ? copy.firstFault().message : copy.evaluate().firstError().message,
             u"evaluation cancelled"_s);
    QCOMPARE(copy.firstFault().category, eval::DiagnosticCategory::Runtime);
}

void TstLowering::rowLeavesTheLastPoint()
{
    ProgramPair pair(u"p.x * 100.0 + p.y * 10.0 + p.z"_s);
    pair.setInputs(9.0f, 9.0f, 9.0f, 0.0f, 0, false);
    (void)pair.loweredRow({1.0f, 2.0f, 3.0f}, 4.0f, 5.0f);
    QVERIFY(pair.fast.evaluateQuick());
    QCOMPARE(pair.fast.getFloat(ProgramPair::d), 345.0f);
}

QTEST_APPLESS_MAIN(TstLowering)
#include "tst_Lowering.moc"
