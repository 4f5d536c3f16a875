#include <corvane/rendering/AdaptiveQuality.h>

#include <QTest>

#include <cmath>

using namespace corvane::rendering;
using Quality = AdaptiveQuality::Quality;

namespace {

constexpr Quality full{.sampleCount = 4, .isEmbellished = true, .renderScale = 1.0f};

/// A device whose frames take as long as they have pixels.
void drawFrames(AdaptiveQuality &quality, double fullFrameMs, int count)
{
    for (int i = 0; i < count; ++i) {
        const double scale = quality.inMotion().renderScale;
        quality.frameDrawn(fullFrameMs * scale * scale);
    }
}

} // namespace

class TstAdaptiveQuality : public QObject
{
    Q_OBJECT

private slots:
    void aSlowFrameGoesDownALevelAtOnce_data()
    {
        QTest::addColumn<int>("slowFrames");
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("samples");
        QTest::addColumn<bool>("isEmbellished");
        QTest::addColumn<double>("scale");
        QTest::newRow("none") << 0 << 3 << 4 << true << 1.0;
        QTest::newRow("one") << 1 << 2 << 2 << true << 1.0;
        QTest::newRow("two") << 2 << 1 << 1 << false << 1.0;
        QTest::newRow("three") << 3 << 0 << 1 << false << 0.75;
        QTest::newRow("more that still move") << 9 << 0 << 1 << false << 0.75;
    }
    void aSlowFrameGoesDownALevelAtOnce()
    {
        QFETCH(int, slowFrames);
        QFETCH(int, samples);
        QFETCH(bool, isEmbellished);
        QFETCH(double, scale);
        AdaptiveQuality quality;
        for (int i = 0; i < slowFrames; ++i)
            QCOMPARE(quality.frameDrawn(55.0), i < 3);
        QTEST(quality.level(), "level");
        QCOMPARE(quality.inMotion(), (Quality{.sampleCount = samples,
                                              .isEmbellished = isEmbellished,
                                              .renderScale = float(scale)}));
        QCOMPARE(quality.atRest(), full);
        QCOMPARE(quality.isFull(), slowFrames == 0);
    }

    void thirtyFastFramesInARowGoUp()
    {
        AdaptiveQuality quality;
        quality.frameDrawn(21.0);
        QCOMPARE(quality.level(), 2);
        for (int i = 0; i < 29; ++i)
            QVERIFY(!quality.frameDrawn(11.0));
        QVERIFY(!quality.frameDrawn(15.0)); // neither slow nor fast: counts anew
        for (int i = 0; i < 29; ++i)
            QVERIFY(!quality.frameDrawn(11.0));
        QCOMPARE(quality.level(), 2);
        QVERIFY(quality.frameDrawn(11.0));
        QCOMPARE(quality.level(), 3);
        drawFrames(quality, 1.0, 100);
        QCOMPARE(quality.level(), 3);
    }

    void aProcessorThatDrawsIsHelpedFurther_data()
    {
        QTest::addColumn<double>("fullFrameMs");
        QTest::newRow("ten times too slow") << 600.0;
        QTest::newRow("thirty times too slow") << 2000.0;
        QTest::newRow("a little too slow") << 130.0;
    }
    void aProcessorThatDrawsIsHelpedFurther()
    {
        QFETCH(double, fullFrameMs);
        AdaptiveQuality quality;
        drawFrames(quality, fullFrameMs, 6);
        const double scale = quality.inMotion().renderScale;
        QVERIFY(fullFrameMs * scale * scale <= 1000.0 / 15.0);
        drawFrames(quality, fullFrameMs, 200); // and it comes to rest there
        const auto settled = quality.inMotion();
        drawFrames(quality, fullFrameMs, 7);
        QCOMPARE(quality.inMotion(), settled);
        QCOMPARE(quality.atRest(), full);
        drawFrames(quality, 1.0, 1000);
        QVERIFY(quality.isFull());
    }

    void nothingIsCoarserThanTheCoarsest()
    {
        AdaptiveQuality quality;
        drawFrames(quality, 1e9, 1000);
        QVERIFY(quality.inMotion().renderScale >= 0.09f);
    }

    void switchedOffItIsFull()
    {
        AdaptiveQuality quality({.isEnabled = false});
        QVERIFY(!quality.frameDrawn(1000.0));
        QCOMPARE(quality.inMotion(), full);
    }
};

QTEST_GUILESS_MAIN(TstAdaptiveQuality)
#include "tst_AdaptiveQuality.moc"
