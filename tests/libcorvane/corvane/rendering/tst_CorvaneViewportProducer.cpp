#include <corvane/model/Corvane.h>
#include <corvane/rendering/CorvaneViewportProducer.h>
#include <corvane/rendering/RenderPipeline.h>
#include <corvane/rendering/SDFRenderLayer.h>
#include <rhi/OffscreenRhi.h>
#include <rhi/WorkerHost.h>
#include <toast/ErrorManager.h>

#include <QCoreApplication>
#include <QImage>
#include <QRegularExpression>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane;
using namespace corvane::rendering;
using ::rhi::WorkerFrame;

namespace {

constexpr QSize viewport{96, 64};

/// A ball on the main thread's side, and what it sends.
struct Sender
{
    model::Corvane document{};
    render::SnapshotTaker taker{registry::Registry::instance()};
    QUuid ball{};

    Sender()
    {
        model::Instance instance(u"sphere"_s);
        instance.name = u"ball"_s;
        instance.setParameter(u"radius"_s, 0.5);
        ball = document.addItem(instance);
    }
    render::CorvaneSnapshot snapshot() { return taker.take(document); }
    render::ParameterPatch radius(double value)
    {
        return {.item = ball, .values = {{u"radius"_s, value}}, .version = taker.nextVersion()};
    }
};

/// A producer that the test ticks by hand, at a time of its own.
struct Ticked
{
    qint64 nowMs = 0;
    CorvaneViewportProducer producer;
    QRhi *rhi;

    explicit Ticked(QRhi *device, const AdaptiveQuality::Settings &quality = {.isEnabled = false})
        : producer({.quality = quality, .clock = [this] { return nowMs; }})
        , rhi(device)
    {
        producer.onInitialize(rhi);
        producer.handleResize(viewport);
    }
    ~Ticked() { producer.onRelease(rhi); }

    WorkerFrame tick() { return producer.onTick(rhi); }
    /// Ticks until nothing changes any more.
    WorkerFrame settled()
    {
        WorkerFrame last = tick();
        for (int i = 0; i < 20; ++i) {
            QTest::qWait(5); // the requests that the throttle holds back
            const WorkerFrame next = tick();
            if (!next.damage.isNull())
                break;
            last = next;
        }
        return last;
    }
};

QImage imageOf(const WorkerFrame &frame)
{
    return QImage(reinterpret_cast<const uchar *>(frame.pixels.constData()), frame.size.width(),
                  frame.size.height(), QImage::Format_RGBA8888);
}

} // namespace

class TstCorvaneViewportProducer : public QObject
{
    Q_OBJECT

    rhi::RhiPointer m_rhi;

private slots:
    void initTestCase()
    {
        registry::Registry::instance().loadBuiltinPrimitives();
        m_rhi = rhi::createOffscreenRhi(nullptr);
        QVERIFY(m_rhi);
    }
    void cleanupTestCase() { m_rhi.reset(); }
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        ErrorManager::instance().clearAll();
    }

    void withoutASceneThePictureIsPlain()
    {
        Ticked ticked(m_rhi.get());
        const WorkerFrame frame = ticked.tick();
        QCOMPARE(frame.size, viewport);
        QCOMPARE(frame.pixels.size(), 96 * 64 * 4);
        QCOMPARE(imageOf(frame).pixelColor(48, 32), QColor(38, 38, 42));
        QVERIFY(!ticked.producer.pipeline());
    }

    void aStillSceneIsDrawnOnce()
    {
        Sender sender;
        Ticked ticked(m_rhi.get());
        ticked.producer.handleSetSnapshot(sender.snapshot());
        const WorkerFrame drawn = ticked.settled();
        QVERIFY(imageOf(drawn).pixel(48, 32) != imageOf(drawn).pixel(2, 2));
        const auto frames = ticked.producer.pipeline()->frameCount();
        const WorkerFrame idle = ticked.tick();
        QCOMPARE(idle.damage, QRect(0, 0, 1, 1));
        QCOMPARE(idle.pixels.size(), 4);
        QCOMPARE(idle.size, viewport);
        QCOMPARE(idle.sequence, drawn.sequence);
        ticked.producer.handleSetSelection({}); // is selected already
        QCOMPARE(ticked.tick().damage, QRect(0, 0, 1, 1));
        QCOMPARE(ticked.producer.pipeline()->frameCount(), frames);
    }

    void aCommandThatChangesThePictureDrawsIt_data()
    {
        using Command = std::function<void(CorvaneViewportProducer &, Sender &)>;
        QTest::addColumn<Command>("command");
        const auto row = [](const char *name, const Command &command) {
            QTest::newRow(name) << command;
        };
        row("patch",
            [](auto &producer, auto &sender) { producer.mailbox()->post(sender.radius(0.9)); });
        row("snapshot", [](auto &producer, auto &sender) {
            render::applyPatch(sender.document, sender.radius(0.9));
            producer.handleSetSnapshot(sender.snapshot());
        });
        row("camera pose", [](auto &producer, auto &) {
            producer.handleSetCameraPose({.eye = {0, 0, 2}, .target = {}, .up = {0, 1, 0}});
        });
        row("projection", [](auto &producer, auto &) {
            producer.handleSetCameraProjection(camera::Camera::ProjectionType::Orthographic, 20);
        });
        row("selection",
            [](auto &producer, auto &sender) { producer.handleSetSelection({sender.ball}); });
        row("hover", [](auto &producer, auto &) { producer.handleHover(QPoint(48, 32)); });
        row("options", [](auto &producer, auto &) {
            producer.handleSetRenderOptions({.toneMapId = u"none"_s, .debugView = 2});
        });
        row("environment", [](auto &producer, auto &) {
            producer.handleSetRenderOptions({.environmentId = u"debug-octant"_s});
        });
        row("export volume", [](auto &producer, auto &) {
            producer.handleSetExportVolume(true, {-0.3f, -0.3f, -0.3f}, {0.3f, 0.3f, 0.3f});
        });
    }
    void aCommandThatChangesThePictureDrawsIt()
    {
        using Command = std::function<void(CorvaneViewportProducer &, Sender &)>;
        QFETCH(Command, command);
        Sender sender;
        Ticked ticked(m_rhi.get());
        ticked.producer.handleSetSnapshot(sender.snapshot());
        const WorkerFrame before = ticked.settled();
        command(ticked.producer, sender);
        QCoreApplication::processEvents();
        ticked.tick(); // a hover is answered by the picture that is there
        const WorkerFrame after = ticked.settled();
        const WorkerFrame drawn = ticked.producer.keepAliveCount() > 0 ? after : WorkerFrame();
        QVERIFY(drawn.sequence > before.sequence || after.sequence > before.sequence);
        QCOMPARE(ticked.tick().damage, QRect(0, 0, 1, 1));
    }

    void ofSeveralSnapshotsTheNewestIsTaken()
    {
        Sender sender;
        Ticked ticked(m_rhi.get());
        const auto old = sender.radius(9.0);
        for (const double radius : {0.1, 0.2, 0.3}) {
            render::applyPatch(sender.document, sender.radius(radius));
            ticked.producer.handleSetSnapshot(sender.snapshot());
        }
        ticked.producer.mailbox()->post(old); // is older than they are
        ticked.tick();
        const auto &field = ticked.producer.pipeline()->sdfLayer()->field();
        QCOMPARE(field.generatedNodes().at(0).params[0], 0.3f);
        ticked.producer.mailbox()->post(sender.radius(0.4));
        ticked.tick();
        QCOMPARE(field.generatedNodes().at(0).params[0], 0.4f);
        QCOMPARE(ticked.producer.pipeline()->sdfLayer()->lastUploadBytes(), 256);
    }

    void aResizeTakesTheOldPictureAway()
    {
        Ticked ticked(m_rhi.get());
        ticked.settled();
        ticked.producer.handleResize({32, 48});
        const WorkerFrame frame = ticked.tick();
        QCOMPARE(frame.size, QSize(32, 48));
        QVERIFY(frame.damage.isNull());
        ticked.producer.handleResize({0, -5});
        QCOMPARE(ticked.tick().size, QSize(1, 1));
    }

    void theCursorFindsItemsAndPlaces()
    {
        Sender sender;
        Ticked ticked(m_rhi.get());
        QList<HoverInfo> hovers;
        QList<QUuid> picks;
        ticked.producer.setCallbacks(
            {.itemPicked = [&](const QUuid &item, Qt::KeyboardModifiers) { picks.append(item); },
             .hoverChanged = [&](const HoverInfo &info) { hovers.append(info); }});
        ticked.producer.handleSetSnapshot(sender.snapshot());
        ticked.settled();
        ticked.producer.handleHover(QPoint(48, 32));
        ticked.producer.handlePick({48, 32}, Qt::NoModifier);
        ticked.producer.handlePick({1, 1}, Qt::NoModifier);
        ticked.tick();
        QCOMPARE(picks, (QList<QUuid>{sender.ball, QUuid()}));
        QCOMPARE(hovers.size(), 1);
        QCOMPARE(hovers.at(0).item, sender.ball);
        QVERIFY(hovers.at(0).position);
        QVERIFY((*hovers.at(0).position - QVector3D(0, 0, 0.5f)).length() < 0.03f);
        ticked.producer.handleHover(std::nullopt);
        ticked.tick();
        QCOMPARE(hovers.last(), HoverInfo());
        QVERIFY(!ticked.producer.sampleGBufferAt({-1, 500}, true));
    }

    void aModeThatAccumulatesIsRefusedWithAWord()
    {
        Sender sender;
        Ticked ticked(m_rhi.get());
        ticked.producer.handleSetSnapshot(sender.snapshot());
        ticked.settled();
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(u"Path-traced rendering isn't available"_s));
        ticked.producer.handleSetRenderOptions({.shadingModeId = u"path-traced"_s});
        QCOMPARE(ErrorManager::instance().errorsForSource(u"Viewport"_s).at(0).message,
                 u"Path-traced rendering isn't available on the worker viewport yet — keeping the "
                 "current shading mode. (Switch the viewport to the classic renderer to use path "
                 "tracing.)"_s);
    }

    void whatMovedCoarselyIsDrawnAnewAtRest()
    {
        Sender sender;
        // Each frame is slower than that.
        Ticked ticked(m_rhi.get(), {.slowFrameMs = 0, .fastFrameMs = -1});
        ticked.producer.handleSetSnapshot(sender.snapshot());
        for (int i = 0; i < 6; ++i) {
            ticked.producer.mailbox()->post(sender.radius(0.5 + 0.01 * i));
            ticked.tick();
        }
        QCOMPARE(ticked.producer.quality().level(), 0);
        const WorkerFrame moving = ticked.settled();
        QCOMPARE(moving.size, QSize(72, 48));
        ticked.nowMs += CorvaneViewportProducer::settleMs - 1;
        QVERIFY(!ticked.tick().damage.isNull());
        ticked.nowMs += 1;
        QCOMPARE(ticked.tick().size, viewport);
        QVERIFY(!ticked.tick().damage.isNull()); // once
        QCOMPARE(ticked.producer.quality().level(), 0);
    }

    void aLostDeviceIsGotOver()
    {
        Sender sender;
        auto *producer = new CorvaneViewportProducer(
            CorvaneViewportProducer::Config{.quality = {.isEnabled = false}});
        rhi::WorkerHost host;
        QSignalSpy frames(&host, &rhi::WorkerHost::frameReady);
        QSignalSpy errors(&host, &rhi::WorkerHost::workerError);
        rhi::WorkerHostConfig config{.tickIntervalMs = 5, .threadName = "Viewport"};
        config.clock = [] { return 0; };
        QVERIFY(host.start(std::unique_ptr<rhi::WorkerProducer>(producer), config));
        host.runOnWorker([=, snapshot = sender.snapshot()] {
            producer->handleSetSnapshot(snapshot);
            producer->handleResize(viewport);
        });
        auto isDrawnAnew = [&frames, seen = quint64(0)]() mutable {
            const auto frame =
                frames.isEmpty() ? WorkerFrame() : frames.last().at(0).value<WorkerFrame>();
            const bool isNew = frame.sequence > seen;
            seen = std::max(seen, frame.sequence);
            return isNew;
        };
        QVERIFY(QTest::qWaitFor(isDrawnAnew, 20000));
        const auto losses = [&host, producer] {
            QSemaphore done;
            int count = 0;
            host.runOnWorker([&] {
                count = producer->deviceLossCount();
                done.release();
            });
            done.acquire();
            return count;
        };
        const auto problems = [] {
            return ErrorManager::instance().errorsForSource(u"Viewport"_s);
        };
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"was lost repeatedly"_s));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"was lost repeatedly"_s));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Graphics subsystem unstable"_s));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"HardStop"_s));
        for (int i = 0; i < 4; ++i) {
            host.simulateDeviceLoss();
            QTRY_COMPARE_WITH_TIMEOUT(losses(), i + 1, 20000);
        }
        QVERIFY(QTest::qWaitFor(isDrawnAnew, 20000));
        QTRY_VERIFY(problems().isEmpty()); // it draws again
        host.simulateDeviceLoss();
        QTRY_COMPARE_WITH_TIMEOUT(errors.size(), 1, 20000);
        QCOMPARE(problems().at(0).message,
                 u"Graphics subsystem unstable — the viewport has been stopped to protect your "
                 "session. Your document is safe; save normally. Restart the application to "
                 "re-enable the viewport."_s);
        host.stop();
    }

    /// What a window can send, faster than anything is drawn, while devices are lost.
    void aStormOfCommandsEndsInThePictureOfTheLast()
    {
        Sender sender;
        auto *producer = new CorvaneViewportProducer;
        const auto mailbox = producer->mailbox();
        rhi::WorkerHost host;
        QSignalSpy frames(&host, &rhi::WorkerHost::frameReady);
        qint64 now = 0;
        rhi::WorkerHostConfig config{.tickIntervalMs = 5, .threadName = "Viewport"};
        config.clock = [&now] { return now += 30000; }; // losses never come too often
        QVERIFY(host.start(std::unique_ptr<rhi::WorkerProducer>(producer), config));
        for (int i = 0; i < 200; ++i) {
            if (i % 10 == 0) {
                host.runOnWorker(
                    [=, snapshot = sender.snapshot()] { producer->handleSetSnapshot(snapshot); });
            }
            mailbox->post(sender.radius(0.3 + 0.001 * i));
            host.runOnWorker([=, ball = sender.ball] {
                producer->handleResize({16 + i % 50, 16 + i % 31});
                producer->handleSetCameraPose(
                    {.eye = {0.01f * float(i), 0, 3}, .target = {}, .up = {0, 1, 0}});
                producer->handleHover(QPoint(i % 60, i % 40));
                producer->handleSetSelection(i % 2 ? QList<QUuid>{ball} : QList<QUuid>());
            });
            if (i % 67 == 0)
                host.simulateDeviceLoss();
            host.requestTick();
        }
        host.runOnWorker([=] { producer->handleResize(viewport); });
        const auto lastSize = [&frames] {
            return frames.isEmpty() ? QSize() : frames.last().at(0).value<WorkerFrame>().size;
        };
        QTRY_COMPARE_WITH_TIMEOUT(lastSize(), viewport, 60000);
        float radius = 0;
        QSemaphore done;
        host.runOnWorker([&] {
            const auto &nodes = producer->pipeline()->sdfLayer()->field().generatedNodes();
            radius = nodes.isEmpty() ? 0.0f : nodes.at(0).params[0];
            done.release();
        });
        done.acquire();
        QVERIFY(std::abs(radius - 0.499f) < 1e-5f);
        host.stop();
    }
};

QTEST_GUILESS_MAIN(TstCorvaneViewportProducer)
#include "tst_CorvaneViewportProducer.moc"
