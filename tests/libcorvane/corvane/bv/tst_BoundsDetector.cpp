#include <corvane/bv/BoundsDetector.h>
#include <support/FormulaFields.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using corvane::bv::BoundsDetectionResult;
using corvane::bv::BoundsDetector;
using support::ball;
using support::box;
using support::Field;
using support::FormulaEvaluator;

namespace {

struct BoundsCase
{
    Field field;
    QVector3D low;
    QVector3D high;
};

} // namespace

Q_DECLARE_METATYPE(BoundsCase)

class TstBoundsDetector : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }
    void theBoxHoldsTheSolidAndLittleMore_data();
    void theBoxHoldsTheSolidAndLittleMore();
    void marginIsAShareWithAFloor();
    void unboundedSolidsAreFlagged();
    void failuresAreSentences_data();
    void failuresAreSentences();
    void threadsChangeNothing();
};

void TstBoundsDetector::theBoxHoldsTheSolidAndLittleMore_data()
{
    QTest::addColumn<BoundsCase>("scene");
    QTest::newRow("unit ball") << BoundsCase{ball({}, 1), {-1, -1, -1}, {1, 1, 1}};
    QTest::newRow("ball beside the origin")
        << BoundsCase{ball({30, -1, 2}, 3), {27, -4, -1}, {33, 2, 5}};
    QTest::newRow("flat box") << BoundsCase{box({20, 0.5f, 8}), {-20, -0.5f, -8}, {20, 0.5f, 8}};
    QTest::newRow("two balls") << BoundsCase{
        [](const QVector3D &p) {
            return std::min(ball({-6, 0, 0}, 2)(p), ball({5, 1, 0}, 1.5f)(p));
        },
        {-8, -2, -2},
        {6.5f, 2.5f, 2}};
    QTest::newRow("slim cone") << BoundsCase{[](const QVector3D &p) {
                                                 const float ring = std::hypot(p.x(), p.z());
                                                 return std::max(
                                                     0.99f * (ring - 0.15f * (10 - p.y())), -p.y());
                                             },
                                             {-1.5f, 0, -1.5f},
                                             {1.5f, 10, 1.5f}};
}

void TstBoundsDetector::theBoxHoldsTheSolidAndLittleMore()
{
    QFETCH(BoundsCase, scene);
    FormulaEvaluator field(scene.field);
    const BoundsDetectionResult result = BoundsDetector::detectAdaptive(&field);
    QVERIFY2(result.success, qPrintable(result.error));
    QVERIFY(!result.hasUnboundedAxes());
    QVERIFY(result.totalSamples > 0);
    for (int axis = 0; axis < 3; ++axis) {
        const float slack = 2.2f * result.margin[axis];
        QVERIFY(result.bounds.minimum()[axis] <= scene.low[axis]);
        QVERIFY(result.bounds.minimum()[axis] >= scene.low[axis] - slack);
        QVERIFY(result.bounds.maximum()[axis] >= scene.high[axis]);
        QVERIFY(result.bounds.maximum()[axis] <= scene.high[axis] + slack);
    }
}

void TstBoundsDetector::marginIsAShareWithAFloor()
{
    FormulaEvaluator small(ball({}, 1));
    QCOMPARE(BoundsDetector::detectAdaptive(&small).averageMargin, 0.1f);
    FormulaEvaluator large(ball({}, 100));
    const auto result = BoundsDetector::detectAdaptive(&large);
    QVERIFY(std::abs(result.averageMargin - 10.0f) < 0.1f);
}

void TstBoundsDetector::unboundedSolidsAreFlagged()
{
    FormulaEvaluator halfSpace([](const QVector3D &p) { return p.y(); });
    const auto result = BoundsDetector::detectAdaptive(&halfSpace);
    QVERIFY(result.success);
    QVERIFY(result.hasUnboundedAxes());
    QVERIFY(result.unboundedDescription().startsWith(
        u"Geometry extends beyond search range on +X, -X, "_s));
    QVERIFY(result.unboundedDescription().contains(u"-Y"_s));
    QVERIFY(result.bounds.minimum().y() >= -10000.0f - result.margin.y());
}

void TstBoundsDetector::failuresAreSentences_data()
{
    QTest::addColumn<bool>("valid");
    QTest::addColumn<QString>("error");
    QTest::newRow("nothing there") << true << u"No geometry found within search radius"_s;
    QTest::newRow("broken evaluator") << false << u"no such field"_s;
}

void TstBoundsDetector::failuresAreSentences()
{
    QFETCH(bool, valid);
    FormulaEvaluator field(valid ? Field([](const QVector3D &) { return 1e10f; }) : Field());
    const auto result = BoundsDetector::detectAdaptive(&field);
    QVERIFY(!result.success);
    QTEST(result.error, "error");
    QCOMPARE(BoundsDetector::detectAdaptive(nullptr).error, u"Null evaluator"_s);
}

void TstBoundsDetector::threadsChangeNothing()
{
    const Field shape = [](const QVector3D &p) {
        return std::min(ball({3, 1, 0}, 2)(p), box({1, 6, 1})(p));
    };
    FormulaEvaluator field(shape);
    const auto alone = BoundsDetector::detectAdaptive(&field);
    BoundsDetector::Config config;
    config.threads = 4;
    config.evaluatorFactory = [&shape] { return std::make_unique<FormulaEvaluator>(shape); };
    const auto together = BoundsDetector::detectAdaptive(&field, config);
    QCOMPARE(together.bounds, alone.bounds);
    QCOMPARE(together.totalSamples, alone.totalSamples);
}

QTEST_GUILESS_MAIN(TstBoundsDetector)
#include "tst_BoundsDetector.moc"
