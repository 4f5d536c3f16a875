#include "ProgramPair.h"
#include "RandomProgram.h"

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTest>

#include <array>
#include <bit>
#include <cmath>
#include <vector>

using namespace Qt::StringLiterals;
using eval::Interval;
using eval::IntervalResult;

namespace {

using Box = std::array<Interval, 3>;

// Whole numbers and zero are where branches turn and floors jump.
float coordinate(QRandomGenerator &random)
{
    const auto scale = float(std::exp2(random.bounded(12) - 6));
    const float value = float(random.bounded(2.0) - 1.0) * scale;
    return random.bounded(3) == 0 ? std::round(value) : value;
}

Box randomBox(QRandomGenerator &random)
{
    Box box;
    for (Interval &side : box) {
        const float low = coordinate(random);
        const float extent = random.bounded(4) == 0 ? 0.0f : std::fabs(coordinate(random));
        side = Interval::of(low, low + extent);
    }
    return box;
}

float pointIn(const Interval &side, QRandomGenerator &random)
{
    const int choice = random.bounded(6);
    if (choice == 0)
        return side.low;
    if (choice == 1)
        return side.high;
    if (choice == 2 && side.low <= 0.0f && side.high >= 0.0f)
        return random.bounded(2) == 0 ? 0.0f : -0.0f;
    return std::clamp(side.low + float(random.bounded(1.0)) * (side.high - side.low), side.low,
                      side.high);
}

bool holds(const Interval &interval, float value)
{
    return std::isnan(value) ? interval.mayBeNan : value >= interval.low && value <= interval.high;
}

QString textOf(const Interval &x)
{
    return u"[%1, %2%3]"_s.arg(QString::number(double(x.low), 'g', 9),
                               QString::number(double(x.high), 'g', 9),
                               x.mayBeNan ? u" or NaN"_s : u""_s);
}

/// Empty when all values at points of the box lie in the interval that is told of it.
QString escaped(ProgramPair &pair, const Box &box, QRandomGenerator &random)
{
    const IntervalResult result =
        pair.fast.evaluateInterval(ProgramPair::p, box[0], box[1], box[2], ProgramPair::d);
    for (int i = 0; i < 40; ++i) {
        const std::array point{pointIn(box[0], random), pointIn(box[1], random),
                               pointIn(box[2], random)};
        pair.fast.setFloats(ProgramPair::p, point);
        const bool hasValue = pair.fast.evaluateQuick();
        const float value = pair.fast.getFloat(ProgramPair::d);
        if (hasValue ? !holds(result.value, value) : !result.mayFault)
            return u"%1 at (%2, %3, %4) in %5 %6 %7 is not in %8"_s.arg(
                hasValue ? QString::number(double(value), 'g', 9) : u"fault"_s,
                QString::number(double(point[0]), 'g', 9),
                QString::number(double(point[1]), 'g', 9),
                QString::number(double(point[2]), 'g', 9), textOf(box[0]), textOf(box[1]),
                textOf(box[2]), textOf(result.value));
    }
    return {};
}

} // namespace

/// What is said of a box holds at every point in it, and says as much as it should.
class TstInterval : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void valuesLieInTheInterval_data();
    void valuesLieInTheInterval();
    void randomProgramsLieInTheInterval_data();
    void randomProgramsLieInTheInterval();
    void intervalIsTight_data();
    void intervalIsTight();
    void faultsAreTold_data();
    void faultsAreTold();
    void whatIsNotKnownIsSaid();
};

void TstInterval::valuesLieInTheInterval_data()
{
    QTest::addColumn<QString>("source");
    for (const char *const call :
         {"radians", "degrees", "sin",  "cos",   "tan",   "asin",        "acos",
          "atan",    "sinh",    "cosh", "tanh",  "asinh", "acosh",       "atanh",
          "exp",     "log",     "exp2", "log2",  "sqrt",  "inversesqrt", "abs",
          "sign",    "floor",   "ceil", "trunc", "round", "roundEven",   "fract"})
        QTest::newRow(call) << u"%1(p.x) + %1(p.y * 0.01)"_s.arg(QLatin1StringView(call));
    for (const char *const call : {"pow", "mod", "min", "max", "step", "atan", "distance"})
        QTest::addRow("%s of two", call) << u"%1(p.x, p.y)"_s.arg(QLatin1StringView(call));
    for (const char *const call : {"clamp", "mix", "smoothstep"})
        QTest::addRow("%s of three", call) << u"%1(p.x, p.y, p.z)"_s.arg(QLatin1StringView(call));
    const auto row = [](const char *name, const QString &source) { QTest::newRow(name) << source; };
    row("powers of fixed exponents", u"pow(p.x, 2.0) - pow(p.y, 3.0) + pow(abs(p.z), 0.5)"_s);
    row("remainders of a fixed period", u"mod(p.x, 3.0) + mod(p.y, -0.7)"_s);
    row("ramps of fixed ends", u"smoothstep(-1.0, 2.0, p.x) + smoothstep(2.0, 1.0, p.y)"_s);
    row("vectors", u"length(p) + length(p.xy) + dot(p, p.zxy) + cross(p, p.yzx).x"_s);
    row("normalized", u"normalize(p).x + reflect(p, normalize(p.yzx)).y"_s);
    row("matrix", u"(mat3(0.6, 0.8, 0.0, -0.8, 0.6, 0.0, 0.0, 0.0, 1.0) * p).x"_s);
    row("determinant", u"determinant(mat2(p.x, 1.0, p.y, 2.0))"_s);
    row("quotients", u"p.x / p.y + 1.0 / (p.z + 100.0)"_s);
    row("vector quotients", u"(p / p.yzx).x"_s);
    row("integers", u"float(int(p.x) * 3 - int(p.y) / 2) + float(int(p.z) & 6)"_s);
    row("unsigned", u"float(uint(abs(p.x)) * 3u + (uint(abs(p.y)) >> 1))"_s);
    row("shifts of truths", u"float(int(p.x > 0.0) << int(p.y > 0.0))"_s);
    row("conditions", u"p.x < p.y ? p.z : p.x == p.z || p.y != 0.0 ? 1.0 - p.y : -p.x"_s);
    row("branches", u"float f(vec3 q) { float s = 0.0; if (q.x > 0.0) { s += q.y; if (q.z > 1.0) "
                    u"return s * q.x; } else { s -= length(q); } return s + 1.0; } f(p)"_s);
    row("loops with exits", u"float f(vec3 q) { float s = q.x; for (int i = 0; i < 20; i++) { "
                            u"if (s > q.y) break; if (q.z < float(i)) continue; s = s * 1.5 + 0.1; "
                            u"} return s; } f(p)"_s);
    row("rounds that depend on the point", u"float f(vec3 q) { int i = 0; while (float(i) < q.x) { "
                                           u"i++; } return float(i) + q.y; } f(p)"_s);
    row("indexes", u"float f(vec3 q) { vec3 a = q; a[int(abs(q.x)) % 3] = 7.0; "
                   u"return a[int(abs(q.y)) % 3] - a.x; } f(p)"_s);
    row("hash", u"fract(sin(dot(floor(p), vec3(12.9898, 78.233, 37.719))) * 43758.5453)"_s);
}

void TstInterval::valuesLieInTheInterval()
{
    QFETCH(QString, source);
    ProgramPair pair(source);
    QVERIFY2(pair.errors.isEmpty() && pair.isLowered(), qPrintable(pair.errors.join(u'\n')));
    QRandomGenerator random(7);
    for (int i = 0; i < 400; ++i) {
        const QString found = escaped(pair, randomBox(random), random);
        QVERIFY2(found.isEmpty(), qPrintable(found));
    }
}

void TstInterval::randomProgramsLieInTheInterval_data()
{
    QTest::addColumn<int>("firstSeed");
    for (int i = 0; i < 3; ++i)
        QTest::addRow("seeds from %d", i * 50) << i * 50;
}

void TstInterval::randomProgramsLieInTheInterval()
{
    QFETCH(int, firstSeed);
    for (int seed = firstSeed; seed < firstSeed + 50; ++seed) {
        // One of the two is a number; the other kind only has to survive.
        const QString text = seed % 2 == 0 ? RandomProgram(quint32(seed)).field() + u" field(p)"_s
                                           : RandomProgram(quint32(seed)).text();
        ProgramPair pair(text);
        QVERIFY2(pair.errors.isEmpty(), qPrintable(pair.errors.join(u'\n')));
        QRandomGenerator random(static_cast<quint32>(seed));
        for (int i = 0; i < 12; ++i) {
            pair.setInputs(0, 0, 0, coordinate(random), int(random.bounded(5)) - 1, i % 2 == 0);
            const QString found = escaped(pair, randomBox(random), random);
            QVERIFY2(found.isEmpty(),
                     qPrintable(u"seed %1\n%2\n%3"_s.arg(QString::number(seed), found, text)));
        }
    }
}

void TstInterval::intervalIsTight_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<float>("low");
    QTest::addColumn<float>("high");
    // x from -1 to 2, y from 3 to 4, z 0.5
    const auto row = [](const char *name, const QString &source, float low, float high) {
        QTest::newRow(name) << source << low << high;
    };
    row("square", u"p.x * p.x"_s, 0, 4);
    row("square and sum", u"p.x * p.x + p.y"_s, 3, 8);
    row("length", u"length(p.xy)"_s, 3, std::sqrt(20.0f));
    row("box", u"max(abs(p.x) - 1.0, abs(p.y) - 1.0)"_s, 2, 3);
    row("what is no number does not hide the other side of a max", u"max(p.y, sqrt(p.x - 5.0))"_s,
        3, 4);
    row("clamped quotient", u"clamp((p / p.x).y, 0.0, 1.0)"_s, 0, 1);
    row("mix", u"mix(1.0, 5.0, clamp(p.x, 0.0, 1.0))"_s, 1, 5);
    row("mix of what is large on one side alone",
        u"mix(p.y, 3.0 + 1e30 * abs(p.x), clamp(p.x, 0.0, 1.0))"_s, 3, 2e30f);
    row("fold from one period to the next", u"abs(p.y - 7.0 * floor(p.y / 7.0 + 0.5))"_s, 3, 3.5f);
    row("angle on both sides of pi, folded",
        u"float f(vec3 q) { float a = atan(q.x, -q.y); "
        "return abs(a - 2.0943951 * floor(a / 2.0943951 + 0.5)); }\nf(p)"_s,
        2.0943951f / 2.0f - std::atan(2.0f / 3.0f), 2.0943951f / 2.0f);
    row("turned", u"(mat2(0.0, 1.0, -1.0, 0.0) * p.xy).x"_s, -4, -3);
    row("sine over its crest", u"sin(p.x)"_s, std::sin(-1.0f), 1);
    row("remainder within a period", u"mod(p.y, 5.0)"_s, 3, 4);
    row("folded into a period", u"p.x - 3.0 * floor(p.x / 3.0 + 0.5)"_s, -1.5f, 1.5f);
    row("folded into a power of two", u"p.x - 2.0 * floor(p.x / 2.0)"_s, 0, 2);
    row("folded by fractions", u"p.x - floor(p.x)"_s, 0, 1);
    row("what a smooth union takes off",
        u"float f(float x) { float h = clamp(x, 0.0, 1.0); return 2.0 * h * (1.0 - h); } f(p.x)"_s,
        0, 0.5f);
    row("fraction of one cell", u"fract(p.z)"_s, 0.5f, 0.5f);
    row("either branch", u"float f(vec3 q) { if (q.x > 0.0) { return q.y; } return 1.0; } f(p)"_s,
        1, 4);
    row("the branch that is taken", u"p.y > 2.0 ? p.z : p.x"_s, 0.5f, 0.5f);
    row("counted loop",
        u"float f(vec3 q) { float s = 0.0; for (int i = 0; i < 4; i++) { "
        u"if (i == 2) continue; s += q.y; } return s; } f(p)"_s,
        9, 12);
}

void TstInterval::intervalIsTight()
{
    QFETCH(QString, source);
    QFETCH(float, low);
    QFETCH(float, high);
    ProgramPair pair(source);
    QVERIFY2(pair.errors.isEmpty() && pair.isLowered(), qPrintable(pair.errors.join(u'\n')));
    const IntervalResult result =
        pair.fast.evaluateInterval(ProgramPair::p, Interval::of(-1, 2), Interval::of(3, 4),
                                   Interval::of(0.5f, 0.5f), ProgramPair::d);
    const float slack = 4e-6f * (1.0f + std::fabs(high));
    QVERIFY2(result.value.low >= low - slack && result.value.low <= low + slack &&
                 result.value.high <= high + slack && result.value.high >= high - slack,
             qPrintable(textOf(result.value)));
    QVERIFY(!result.mayFault);
    QVERIFY(result.steps > 0);
}

void TstInterval::faultsAreTold_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<bool>("mayFault");
    QTest::addColumn<bool>("hasValue");
    QTest::newRow("never") << u"1.0 / p.y"_s << false << true;
    QTest::newRow("somewhere") << u"1.0 / p.x"_s << true << true;
    QTest::newRow("everywhere") << u"1.0 / (p.z - 0.5)"_s << true << false;
    QTest::newRow("index somewhere") << u"p[int(p.x + 1.0)]"_s << true << true;
    QTest::newRow("index everywhere") << u"p[int(p.y)]"_s << true << false;
}

void TstInterval::faultsAreTold()
{
    QFETCH(QString, source);
    ProgramPair pair(source);
    const IntervalResult result =
        pair.fast.evaluateInterval(ProgramPair::p, Interval::of(-1, 2), Interval::of(3, 4),
                                   Interval::of(0.5f, 0.5f), ProgramPair::d);
    QTEST(result.mayFault, "mayFault");
    QTEST(!result.value.isEmpty(), "hasValue");
}

void TstInterval::whatIsNotKnownIsSaid()
{
    const Interval unit = Interval::of(0, 1);
    ProgramPair endless(u"float f(vec3 q) { float s = q.x; for (int i = 0; i < 90000; i++) { "
                        u"for (int j = 0; j < 90000; j++) { s += 0.5; } } return s; } f(p)"_s);
    QCOMPARE(endless.fast.evaluateInterval(ProgramPair::p, unit, unit, unit, ProgramPair::d).value,
             Interval());
    // No point is taken where a program is walked, nor of a slot that is none.
    ProgramPair sum(u"p.x + p.y"_s);
    QCOMPARE(sum.plain.evaluateInterval(ProgramPair::p, unit, unit, unit, ProgramPair::d).value,
             Interval());
    QCOMPARE(sum.fast.evaluateInterval(ProgramPair::k, unit, unit, unit, ProgramPair::d).value,
             Interval());
    QCOMPARE(sum.fast.evaluateInterval(ProgramPair::p, unit, unit, unit, 99).value, Interval());
    QCOMPARE(sum.fast.evaluateInterval(ProgramPair::p, unit, unit, unit, ProgramPair::d).value,
             Interval::of(0, 2));
}

QTEST_APPLESS_MAIN(TstInterval)
#include "tst_Interval.moc"
