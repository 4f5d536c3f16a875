#include <corvane/rendering/RenderStateManager.h>

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::rendering;
using corvane::render::RenderAction;
using corvane::render::RenderActions;
using Phase = RenderStateManager::ResizePhase;
namespace RenderMasks = corvane::render::RenderMasks;

class TstRenderStateManager : public QObject
{
    Q_OBJECT

    qint64 m_now = 0;
    RenderStateManager::Clock clock()
    {
        return [this] { return m_now; };
    }

private slots:
    void init() { m_now = 0; }

    void masksAreTheSumsOfTheirActions()
    {
        QCOMPARE(RenderMasks::cameraChanged.toInt(), 1088);
        QCOMPARE(RenderMasks::sceneStructureChanged.toInt(), 1104);
        QCOMPARE(RenderMasks::renderingParameterChanged.toInt(), 1120);
        QCOMPARE(RenderMasks::definitionsChanged.toInt(), 1107);
        QCOMPARE(RenderMasks::environmentChanged.toInt(), 1664);
        QCOMPARE(RenderMasks::viewportResized.toInt(), 4);
        QCOMPARE(RenderMasks::sampleCountChanged.toInt(), 10);
        QCOMPARE(RenderStateManager().pendingActions().toInt(), 2047);
    }

    void aFrameDoesWhatFollowsFromTheFirstAction_data()
    {
        QTest::addColumn<int>("added");
        QTest::addColumn<int>("promoted");
        QTest::newRow("nothing") << 0 << 0;
        QTest::newRow("shader") << 1 << 1 + 2 + 64 + 128;
        QTest::newRow("pipeline") << 2 << 2 + 64 + 128;
        QTest::newRow("size") << 4 << 4 + 64 + 128;
        QTest::newRow("sample targets") << 8 << 8 + 64 + 128;
        QTest::newRow("nodes") << 16 << 16 + 64 + 128;
        QTest::newRow("uniforms") << 32 << 32;
        QTest::newRow("geometry") << 64 << 64 + 128;
        QTest::newRow("shading pipeline") << 512 << 512 + 128;
        QTest::newRow("camera") << 1088 << 1088 + 128;
    }
    void aFrameDoesWhatFollowsFromTheFirstAction()
    {
        QFETCH(int, added);
        QFETCH(int, promoted);
        RenderStateManager state(clock());
        state.clear(RenderMasks::everything);
        state.addActions(RenderActions(added));
        QCOMPARE(state.pendingActions().toInt(), added);
        state.beginFrame();
        QCOMPARE(state.pendingActions().toInt(), promoted);
    }

    void requestsWithinTheThrottleAreOneMore()
    {
        RenderStateManager state(clock());
        QSignalSpy requests(&state, &RenderStateManager::renderRequested);
        for (int i = 0; i < 5; ++i)
            state.requestRender(RenderTrigger::Parameter);
        QCOMPARE(requests.size(), 1);
        QTRY_COMPARE(requests.size(), 2);
        state.cameraChanged();
        QTRY_COMPARE(requests.size(), 3);
    }

    void aDisabledManagerIgnoresActions()
    {
        RenderStateManager state(clock());
        state.clear(RenderMasks::everything);
        QSignalSpy disabled(&state, &RenderStateManager::renderingDisabledChanged);
        QSignalSpy requests(&state, &RenderStateManager::renderRequested);
        state.setDisabled(true, u"the device is gone"_s);
        state.setDisabled(true, u"again"_s);
        QCOMPARE(disabled, (QList<QVariantList>{{true, u"the device is gone"_s}}));
        state.cameraChanged();
        state.beginFrame();
        QCOMPARE(state.pendingActions().toInt(), 0);
        QVERIFY(requests.isEmpty());
        state.setDisabled(false);
        QCOMPARE(requests.size(), 1);
    }

    void aSizeIsCommittedWhenNoOtherComes()
    {
        RenderStateManager state(clock());
        state.viewportResized({64, 64}); // the first waits for nothing
        QCOMPARE(state.committedSize(), QSize(64, 64));
        QCOMPARE(state.resizePhase(), Phase::Idle);
        state.clear(RenderMasks::everything);
        QSignalSpy committed(&state, &RenderStateManager::viewportSizeCommitted);
        for (m_now = 0; m_now <= 600; m_now += 100) {
            state.viewportResized({int(100 + m_now), 100});
            state.beginFrame();
            QCOMPARE(state.pendingActions().toInt(), 0);
            QCOMPARE(state.resizePhase(), Phase::Resizing);
        }
        m_now = 600 + 149;
        state.beginFrame();
        QCOMPARE(state.resizePhase(), Phase::Resizing);
        m_now = 600 + 150;
        state.beginFrame();
        QCOMPARE(state.resizePhase(), Phase::Committing);
        QCOMPARE(committed, (QList<QVariantList>{{QSize(700, 100)}}));
        QCOMPARE(state.pendingActions().toInt(), 4 + 64 + 128);

        state.acknowledgeGBufferResize({700, 100});
        QCOMPARE(state.resizePhase(), Phase::Settling);
        QCOMPARE(state.committedSize(), QSize(700, 100));
        QCOMPARE(state.pendingActions().toInt(), 1088 + 128);
        state.beginFrame();
        QCOMPARE(state.resizePhase(), Phase::Settling); // the geometry is still to be drawn
        state.clear(RenderAction::GeometryPass);
        state.beginFrame();
        QCOMPARE(state.resizePhase(), Phase::Idle);
    }

    void aFrameIsAskedForToCommitASize()
    {
        RenderStateManager state;
        state.viewportResized({64, 64});
        QTRY_VERIFY(!state.isThrottled());
        QSignalSpy requests(&state, &RenderStateManager::renderRequested);
        state.viewportResized({100, 100});
        QCOMPARE(requests.size(), 1);
        QTRY_COMPARE(requests.size(), 2);
        state.beginFrame();
        QCOMPARE(state.resizePhase(), Phase::Committing);
    }
};

QTEST_GUILESS_MAIN(TstRenderStateManager)
#include "tst_RenderStateManager.moc"
