#include <corvane/rendering/RenderTelemetry.h>

#include <QLoggingCategory>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::rendering;

class TstRenderTelemetry : public QObject
{
    Q_OBJECT

private slots:
    void everyTriggerHasItsWord()
    {
        QStringList words;
        for (int i = 0; i < renderTriggerCount; ++i)
            words.append(RenderTelemetry::word(RenderTrigger(i)));
        QCOMPARE(words.join(u' '),
                 u"anim prog param gizmo sel load splitter mat overlay settings hover manual "
                 "startup other"_s);
        QCOMPARE(RenderTelemetry::word(RenderTrigger(99)), "other"_L1);
    }

    void whatWasCountedIsSaidAndForgotten()
    {
        QLoggingCategory::setFilterRules(u"ondrel.rendering.telemetry.info=true"_s);
        RenderTelemetry telemetry;
        telemetry.recordRequest(RenderTrigger::Parameter, false, 1000);
        telemetry.recordRequest(RenderTrigger::Parameter, true, 1001);
        telemetry.recordRequest(RenderTrigger::Hover, false, 1002);
        telemetry.recordFrame(1010);
        telemetry.recordInputLatency(10);
        telemetry.recordInputLatency(25);
        telemetry.recordFrame(5999); // not more than 4999 ms later
        QTest::ignoreMessage(QtInfoMsg,
                             "[RENDER-TELEM 5.0s] triggers={param=2 hover=1} | rendered=2 "
                             "coalesced=1  | input_lat n=2 avg=17.5ms max=25ms");
        telemetry.recordFrame(6000);
        QCOMPARE(telemetry.report(7000),
                 u"[RENDER-TELEM 1.0s] triggers={} | rendered=1 coalesced=0 "_s);
    }
};

QTEST_GUILESS_MAIN(TstRenderTelemetry)
#include "tst_RenderTelemetry.moc"
