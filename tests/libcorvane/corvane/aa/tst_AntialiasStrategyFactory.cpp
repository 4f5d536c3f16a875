#include <corvane/aa/AntialiasMenu.h>
#include <corvane/aa/AntialiasStrategyFactory.h>

#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::aa;

class TstAntialiasStrategyFactory : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void anIdSaysHowFramesAreDrawn_data()
    {
        QTest::addColumn<int>("samples");
        QTest::addColumn<float>("scale");
        QTest::addColumn<QStringList>("effects");
        QTest::addColumn<bool>("analytic");
        const QStringList fxaa{u"fxaa"_s};
        QTest::newRow("none") << 1 << 1.0f << QStringList() << false;
        QTest::newRow("msaa-2x") << 2 << 1.0f << QStringList() << false;
        QTest::newRow("msaa-4x") << 4 << 1.0f << QStringList() << false;
        QTest::newRow("msaa-8x") << 8 << 1.0f << QStringList() << false;
        QTest::newRow("ssaa-1.5x") << 1 << 1.5f << QStringList() << false;
        QTest::newRow("ssaa-2x") << 1 << 2.0f << QStringList() << false;
        QTest::newRow("fxaa") << 1 << 1.0f << fxaa << false;
        QTest::newRow("sdf-analytic") << 1 << 1.0f << QStringList() << true;
        QTest::newRow("ssaa-2x+fxaa") << 1 << 2.0f << fxaa << false;
        QTest::newRow("msaa-8x+ssaa-1.5x+msaa-2x") << 8 << 1.5f << QStringList() << false;
        QTest::newRow("fxaa+sdf-analytic+fxaa") << 1 << 1.0f << fxaa << true;
    }
    void anIdSaysHowFramesAreDrawn()
    {
        QFETCH(int, samples);
        QFETCH(float, scale);
        const QString id = QString::fromUtf8(QTest::currentDataTag());
        const auto strategy = AntialiasStrategyFactory::create(id);
        QCOMPARE(strategy->id(), id);
        const FrameSetup expected{.sampleCount = samples, .renderScale = scale};
        QCOMPARE(strategy->frameSetup(7), expected);
        QTEST(strategy->postEffects(), "effects");
        QTEST(strategy->wantsAnalyticEdgeAA(), "analytic");
        strategy->onFrameComplete(nullptr);
    }

    void whatIsNotKnownIsNone_data()
    {
        QTest::addColumn<QStringList>("unknown");
        QTest::newRow("msaa-3x") << QStringList{u"msaa-3x"_s};
        QTest::newRow("") << QStringList{QString()};
        QTest::newRow("FXAA") << QStringList{u"FXAA"_s};
        QTest::newRow("taa+") << QStringList{u"taa"_s, QString()};
    }
    void whatIsNotKnownIsNone()
    {
        QFETCH(QStringList, unknown);
        for (const QString &part : std::as_const(unknown))
            QTest::ignoreMessage(QtWarningMsg,
                                 qPrintable(u"AntialiasStrategyFactory: unknown id %1 — falling "
                                            "back to NoneStrategy"_s.arg(part)));
        const auto strategy =
            AntialiasStrategyFactory::create(QString::fromUtf8(QTest::currentDataTag()));
        QCOMPARE(strategy->frameSetup(0), FrameSetup());
        QCOMPARE(strategy->postEffects(), QStringList());
    }

    void eachChoiceOfTheMenuIsAStrategy()
    {
        const auto choices = AntialiasMenu::choices();
        for (const auto &choice : choices) {
            const auto strategy = AntialiasStrategyFactory::create(choice.id);
            QCOMPARE(strategy->id(), choice.id);
            QCOMPARE(strategy->displayName(), choice.text);
        }
        QCOMPARE(AntialiasMenu::textOf(u"ssaa-2x+fxaa"_s), u"SSAA 2× + FXAA (high quality)"_s);
        QCOMPARE(AntialiasStrategyFactory::create(u"fxaa+msaa-2x"_s)->displayName(),
                 u"FXAA + MSAA 2× (experimental)"_s);
    }

    void moreSamplesThanTheDeviceHasAreTold()
    {
        QCOMPARE(AntialiasMenu::sampleCountNotice(8, 4),
                 u"MSAA 8× exceeds this machine's cap of 4×"_s);
        QCOMPARE(AntialiasMenu::sampleCountNotice(4, 4), QString());
    }
};

QTEST_GUILESS_MAIN(TstAntialiasStrategyFactory)
#include "tst_AntialiasStrategyFactory.moc"
