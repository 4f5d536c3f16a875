#include <eval/Graph.h>

#include <QRegularExpression>
#include <QVector3D>

#include <limits>
#include <vector>

using namespace Qt::StringLiterals;
using eval::Graph;
using eval::Handle;
using eval::Program;
using eval::ThreadCopy;
using eval::Type;

namespace {

/// A point and a factor in, a distance and a double of it out.
struct TwoOutputs
{
    Graph graph;
    Handle p = graph.declareInput(u"p"_s, Type::Vec3);
    Handle k = graph.declareInput(u"k"_s, Type::Float);
    Handle d = graph.declareOutput(u"d"_s, u"length(p) / k"_s);
    Handle twice = graph.declareOutput(u"twice"_s, u"vec2(d, d * 2.0)"_s);
    Program program = graph.compile().value();
};

/// Three floats of a point and one of k, the k of `faulty` zero.
std::vector<float> batchInput(int count, int stride, int faulty = -1)
{
    std::vector<float> input(static_cast<size_t>(count * stride), 99.0f);
    for (int i = 0; i < count; ++i) {
        float *element = input.data() + i * stride;
        element[0] = static_cast<float>(3 * i);
        element[1] = static_cast<float>(4 * i);
        element[2] = 0.0f;
        element[3] = i == faulty ? 0.0f : 2.0f;
    }
    return input;
}

} // namespace

/// Slots, copies for threads, batches and rows.
class TstProgram : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void copiesHaveSlotsOfTheirOwn();
    void emptyOnesAreHarmless();
    void strangersAreIgnored();
    void batchReadsAndWritesPacked_data();
    void batchReadsAndWritesPacked();
    void batchGoesOnAfterFaults();
    void batchChecksItsBuffers_data();
    void batchChecksItsBuffers();
    void rowsMarkFaultyPoints();
    void scatteredPointsMarkFaultyOnes_data();
    void scatteredPointsMarkFaultyOnes();
    void rowsWithoutAPointInputGoOneByOne();
    void inputsKeepTheirTypes();
};

void TstProgram::copiesHaveSlotsOfTheirOwn()
{
    TwoOutputs two;
    two.program.set(two.p, QVector3D(3, 4, 0));
    two.program.set(two.k, 2.0);
    ThreadCopy first = two.program.threadCopy();
    ThreadCopy second = two.program.threadCopy();
    const float point[] = {0.0f, 6.0f, 8.0f};
    const float factors[] = {1.0f, 4.0f};
    first.setFloats(two.p, point);
    first.setFloats(two.k, {factors, 1});
    second.setFloats(two.p, point);
    second.setFloats(two.k, {factors + 1, 1});
    QVERIFY(first.evaluate() && second.evaluate() && two.program.evaluate());
    QCOMPARE(first.getFloat(two.d), 10.0f);
    QCOMPARE(second.getFloat(two.d), 2.5f);
    QCOMPARE(two.program.getFloat(two.d), 2.5f);
    const Program copied = two.program;
    QCOMPARE(copied.getFloat(two.k), 0.0f); // the code is shared, the values are not
}

void TstProgram::emptyOnesAreHarmless()
{
    ThreadCopy copy;
    Program program;
    std::vector<float> out(2, 5.0f);
    const float xs[] = {1.0f, 2.0f};
    copy.set(1, 2);
    copy.setFloats(1, xs);
    copy.bindArray(1, xs);
    QVERIFY(copy.evaluate());
    QCOMPARE(copy.getFloat(1), 0.0f);
    QVERIFY(!copy.evaluateRow(1, xs, 0, 0, 2, out, 7.0f));
    QCOMPARE(out, std::vector<float>(2, 7.0f));
    QVERIFY(!copy.evaluatePoints(1, xs, xs, xs, 2, out, 8.0f));
    QCOMPARE(out, std::vector<float>(2, 8.0f));
    QVERIFY(!program.isValid());
    QVERIFY(program.evaluate());
    QCOMPARE(program.slotType(1), Type::Void);
    QCOMPARE(program.handleOf(u"p"_s), Handle(0));
}

void TstProgram::strangersAreIgnored()
{
    TwoOutputs two;
    ThreadCopy copy = two.program.threadCopy();
    const float values[] = {1.0f, 2.0f, 3.0f, 4.0f, 5.0f};
    for (const Handle handle : {Handle(0), Handle(77), Handle(4000000000u), two.d}) {
        copy.set(handle, 4);
        copy.setFloats(handle, values);
        copy.bindArray(handle, values);
    }
    QCOMPARE(copy.getFloat(77), 0.0f);
    QCOMPARE(copy.get(77), QVariant());
    copy.setFloats(two.p, values); // of five only three have a place
    QCOMPARE(copy.get(two.p), QVariant(QVector3D(1, 2, 3)));
    QCOMPARE(copy.getFloat(two.k), 0.0f);
}

void TstProgram::batchReadsAndWritesPacked_data()
{
    QTest::addColumn<int>("stride");
    QTest::newRow("tight") << 4;
    QTest::newRow("with room between") << 7;
}

void TstProgram::batchReadsAndWritesPacked()
{
    QFETCH(int, stride);
    TwoOutputs two;
    std::vector<float> output(3 * 5);
    QVERIFY(two.program.evaluateBatch(batchInput(5, stride), output, 5, stride));
    for (size_t i = 0; i < 5; ++i) {
        const float distance = 2.5f * static_cast<float>(i);
        QCOMPARE(output[i * 3], distance);
        QCOMPARE(output[i * 3 + 1], distance);
        QCOMPARE(output[i * 3 + 2], distance * 2.0f);
    }
}

void TstProgram::batchGoesOnAfterFaults()
{
    TwoOutputs two;
    std::vector<float> output(3 * 5, 99.0f);
    const auto result = two.program.evaluateBatch(batchInput(5, 4, 2), output, 5, 4);
    QCOMPARE(result.diagnostics().size(), 1);
    QCOMPARE(result.firstError().message, u"division by zero"_s);
    QCOMPARE(output[2 * 3], 0.0f);
    QCOMPARE(output[4 * 3 + 2], 20.0f);
}

void TstProgram::batchChecksItsBuffers_data()
{
    QTest::addColumn<int>("inputSize");
    QTest::addColumn<int>("outputSize");
    QTest::addColumn<qsizetype>("count");
    QTest::addColumn<qsizetype>("stride");
    constexpr qsizetype most = std::numeric_limits<qsizetype>::max();
    QTest::newRow("input one short") << 19 << 15 << qsizetype(5) << qsizetype(4);
    QTest::newRow("output one short") << 20 << 14 << qsizetype(5) << qsizetype(4);
    QTest::newRow("negative count") << 20 << 15 << qsizetype(-1) << qsizetype(4);
    QTest::newRow("nothing") << 20 << 15 << qsizetype(0) << qsizetype(4);
    QTest::newRow("negative stride") << 20 << 15 << qsizetype(5) << qsizetype(-4);
    QTest::newRow("products that overflow") << 20 << 15 << most << most / 2;
}

void TstProgram::batchChecksItsBuffers()
{
    QFETCH(int, inputSize);
    QFETCH(int, outputSize);
    QFETCH(qsizetype, count);
    QFETCH(qsizetype, stride);
    TwoOutputs two;
    const std::vector<float> input(static_cast<size_t>(inputSize), 1.0f);
    std::vector<float> output(static_cast<size_t>(outputSize), 7.0f);
    const auto result = two.program.evaluateBatch(input, output, count, stride);
    QCOMPARE(result.firstError().category, eval::DiagnosticCategory::Internal);
    QCOMPARE(result.firstError().message,
             count > 0 ? u"evaluateBatch: span size below count*stride (Interpreted lane)"_s
                       : u"evaluateBatch: count must be > 0 (got %1)"_s.arg(count));
    QCOMPARE(output[0], 7.0f);
}

void TstProgram::rowsMarkFaultyPoints()
{
    Graph graph;
    const Handle p = graph.declareInput(u"p"_s, Type::Vec3);
    const Handle d = graph.declareOutput(u"d"_s, u"p.y / p.x"_s);
    ThreadCopy copy = graph.compile().value().threadCopy();
    const float xs[] = {1.0f, 0.0f, 2.0f, -0.0f};
    std::vector<float> out(4);
    QVERIFY(!copy.evaluateRow(p, xs, 6.0f, 0.0f, d, out, 1e10f));
    QCOMPARE(out, (std::vector<float>{6.0f, 1e10f, 3.0f, 1e10f}));
    QCOMPARE(copy.firstFault().message, u"division by zero"_s);
    QCOMPARE(copy.firstFault().span, (eval::SourceSpan{1, 5, 1}));
    QVERIFY(copy.evaluateRow(p, {xs, 1}, 6.0f, 0.0f, d, out, 1e10f));
    QVERIFY(copy.evaluateRow(p, {}, 6.0f, 0.0f, d, out, 1e10f));
}

void TstProgram::scatteredPointsMarkFaultyOnes_data()
{
    QTest::addColumn<size_t>("count");
    QTest::newRow("one by one") << size_t(3);
    QTest::newRow("many at a time") << size_t(200);
}

void TstProgram::scatteredPointsMarkFaultyOnes()
{
    QFETCH(const size_t, count);
    Graph graph;
    const Handle p = graph.declareInput(u"p"_s, Type::Vec3);
    const Handle d = graph.declareOutput(u"d"_s, u"p.y / p.x + p.z"_s);
    ThreadCopy copy = graph.compile().value().threadCopy();
    std::vector<float> xs, ys, zs, wanted;
    for (size_t i = 0; i < count; ++i) {
        xs.push_back(static_cast<float>(i % 3));
        ys.push_back(static_cast<float>(2 * i));
        zs.push_back(0.5f);
        wanted.push_back(i % 3 == 0 ? 1e10f : ys.back() / xs.back() + 0.5f);
    }
    std::vector<float> out(count);
    QVERIFY(!copy.evaluatePoints(p, xs, ys, zs, d, out, 1e10f));
    QCOMPARE(out, wanted);
    QCOMPARE(copy.firstFault().message, u"division by zero"_s);
    QVERIFY(copy.evaluateQuick()); // at the last point
    QCOMPARE(copy.getFloat(d), wanted.back());
    QVERIFY(copy.evaluatePoints(p, {}, {}, {}, d, out, 1e10f));
}

void TstProgram::rowsWithoutAPointInputGoOneByOne()
{
    Graph graph;
    const Handle v = graph.declareInput(u"v"_s, Type::Vec2);
    const Handle d = graph.declareOutput(u"d"_s, u"v.x + v.y * 10.0"_s);
    ThreadCopy copy = graph.compile().value().threadCopy();
    const float xs[] = {1.0f, 2.0f};
    std::vector<float> out(2);
    QVERIFY(copy.evaluateRow(v, xs, 3.0f, 0.0f, d, out, 1e10f));
    QCOMPARE(out, (std::vector<float>{31.0f, 32.0f}));
}

void TstProgram::inputsKeepTheirTypes()
{
    Graph graph;
    const Handle n = graph.declareInput(u"n"_s, Type::Int);
    const Handle x = graph.declareInput(u"x"_s, Type::Double);
    const Handle m = graph.declareInput(u"m"_s, Type::Mat2);
    const Handle d = graph.declareOutput(u"d"_s, u"n / 2 + float(x) + m[1][0]"_s);
    Program program = graph.compile().value();
    program.set(n, 7.9);
    program.set(x, 0.25);
    program.set(m, QVariantList{1, 2, 30, 4});
    QVERIFY(program.evaluate());
    QCOMPARE(program.getFloat(d), 33.25f);
    QCOMPARE(program.get(n), QVariant(7));
    const float floats[] = {5.0f};
    ThreadCopy copy = program.threadCopy();
    copy.setFloats(n, floats); // no float slot
    QCOMPARE(copy.getFloat(n), 0.0f);
}

QTEST_APPLESS_MAIN(TstProgram)
#include "tst_Program.moc"
