#include <rhi/ExitWatchdog.h>
#include <rhi/WorkerHost.h>
#include <rhi/WorkerProducer.h>
#include <support/VulkanValidation.h>

#include <QCoreApplication>
#include <QMutex>
#include <QProcess>
#include <QRegularExpression>
#include <QSemaphore>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace rhi;

namespace {

constexpr char hardStop[] = "device-loss HardStop — worker halted, no further frames";

/// What a producer was asked, as the test's thread sees it.
class CallLog
{
public:
    void add(const QString &call)
    {
        const QMutexLocker lock(&m_mutex);
        m_calls.append(call);
    }
    QStringList calls() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_calls;
    }
    qsizetype count(const QString &call) const { return calls().count(call); }

private:
    mutable QMutex m_mutex;
    QStringList m_calls;
};

using SharedLog = std::shared_ptr<CallLog>;

/// Holds a texture of the device, as every producer does, and answers frames of one pixel.
class TestProducer : public WorkerProducer
{
public:
    explicit TestProducer(SharedLog log)
        : m_log(std::move(log))
    {}
    ~TestProducer() override { m_log->add(u"gone"_s); }

    bool onInitialize(QRhi *rhi) override
    {
        m_log->add(QThread::currentThread() == QCoreApplication::instance()->thread()
                       ? u"initialize, wrong thread"_s
                       : u"initialize"_s);
        return build(rhi) && !failsToInitialize;
    }
    WorkerFrame onTick(QRhi *) override
    {
        m_log->add(u"tick"_s);
        if (duringTick)
            duringTick();
        if (isIdle)
            return {};
        return {.size = {1, 1}, .sequence = ++m_sequence, .pixels = "abcd"_ba};
    }
    void onRelease(QRhi *) override
    {
        m_log->add(u"release"_s);
        m_texture.reset();
    }
    bool onDeviceLoss(QRhi *newRhi) override
    {
        m_log->add(u"loss, tier %1"_s.arg(int(lossTier())));
        m_texture.reset();
        return build(newRhi) && failingRecoveries-- <= 0;
    }

    bool failsToInitialize = false;
    bool isIdle = false;
    int failingRecoveries = 0;
    std::function<void()> duringTick{};

private:
    bool build(QRhi *rhi)
    {
        m_texture.reset(rhi->newTexture(QRhiTexture::RGBA8, {16, 16}));
        return m_texture->create();
    }

    SharedLog m_log;
    std::unique_ptr<QRhiTexture> m_texture;
    quint64 m_sequence = 0;
};

/// A host with its producer, which is the worker's once the host is started.
struct Running
{
    SharedLog log = std::make_shared<CallLog>();
    std::unique_ptr<TestProducer> producer = std::make_unique<TestProducer>(log);
    WorkerHostConfig config{.threadName = "Test"};
    WorkerHost host{};
    QSignalSpy frames{&host, &WorkerHost::frameReady};
    QSignalSpy errors{&host, &WorkerHost::workerError};

    bool start() { return host.start(std::move(producer), config); }
    /// Ticks, and comes back when the worker is done with it.
    void tick()
    {
        host.requestTick();
        QSemaphore done;
        host.runOnWorker([&done] { done.release(); });
        done.acquire();
    }
    QString lastError() { return errors.isEmpty() ? QString() : errors.last().at(0).toString(); }
};

void expectWarning(const char *text)
{
    QTest::ignoreMessage(QtWarningMsg, text);
}

} // namespace

class TstWorkerHost : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QVERIFY2(VulkanValidation::begin(), "install vulkan-validationlayers"); }
    void cleanupTestCase() { QCOMPARE(VulkanValidation::takeComplaints(), QStringList()); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void framesComeFromAnotherThreadInOrder()
    {
        Running running;
        QVERIFY(running.start());
        QVERIFY(running.host.isRunning());
        for (int i = 0; i < 3; ++i)
            running.tick();
        QTRY_COMPARE(running.frames.size(), 3);
        for (int i = 0; i < 3; ++i) {
            const auto frame = running.frames.at(i).at(0).value<WorkerFrame>();
            QCOMPARE(frame, (WorkerFrame{
                                .size = {1, 1}, .sequence = quint64(i) + 1, .pixels = "abcd"_ba}));
        }
        running.host.stop();
        QVERIFY(!running.host.isRunning());
        QCOMPARE(running.log->calls(), QStringList({u"initialize"_s, u"tick"_s, u"tick"_s,
                                                    u"tick"_s, u"release"_s, u"gone"_s}));
        QVERIFY(running.errors.isEmpty());
    }

    void theTimerTicksByItself()
    {
        Running running;
        running.config.tickIntervalMs = 1;
        QVERIFY(running.start());
        QTRY_VERIFY(running.frames.size() >= 3);
    }

    void anEmptyFrameIsNotSent()
    {
        Running running;
        running.producer->isIdle = true;
        QVERIFY(running.start());
        running.tick();
        running.host.stop();
        QCoreApplication::processEvents();
        QCOMPARE(running.log->count(u"tick"_s), 1);
        QVERIFY(running.frames.isEmpty());
    }

    void aHostStartsOnceAndWithAProducer()
    {
        Running running;
        expectWarning("start() called with null producer — refused");
        QVERIFY(!running.host.start(nullptr, {}));
        running.host.requestTick();
        running.host.runOnWorker([] { QFAIL("nothing runs yet"); });
        running.host.stop();
        QVERIFY(running.start());
        expectWarning("start() called on an already-running WorkerHost — ignored");
        QVERIFY(!running.host.start(std::make_unique<TestProducer>(running.log), {}));
        running.tick();
        QTRY_COMPARE(running.frames.size(), 1);

        // And again after its end.
        running.host.stop();
        running.producer = std::make_unique<TestProducer>(running.log);
        QVERIFY(running.start());
        running.tick();
        QTRY_COMPARE(running.frames.size(), 2);
    }

    void aProducerThatCannotStartSaysSo()
    {
        Running running;
        running.producer->failsToInitialize = true;
        running.config.tickIntervalMs = 1;
        expectWarning("WorkerHost: producer onInitialize returned false");
        QVERIFY(running.start());
        running.tick();
        QTRY_COMPARE(running.lastError(), u"WorkerHost: producer onInitialize returned false"_s);
        running.host.stop();
        QCOMPARE(running.log->calls(), QStringList({u"initialize"_s, u"release"_s, u"gone"_s}));
    }

    void theFifthLossWithinAMinuteHaltsTheWorker()
    {
        Running running;
        running.config.tickIntervalMs = 1;
        running.config.clock = [] { return 0; };
        QVERIFY(running.start());
        expectWarning(hardStop);
        for (int i = 0; i < 5; ++i) {
            running.host.simulateDeviceLoss();
            running.tick();
        }
        QTRY_COMPARE(running.lastError(), QString::fromUtf8(hardStop));
        const qsizetype ticks = running.log->count(u"tick"_s);
        running.tick();
        running.host.stop();
        QCOMPARE(running.log->count(u"tick"_s), ticks); // neither by request nor by timer
        QCOMPARE(running.log->calls().filter(u"loss"_s),
                 QStringList(
                     {u"loss, tier 0"_s, u"loss, tier 0"_s, u"loss, tier 1"_s, u"loss, tier 1"_s}));
        QCOMPARE(running.log->count(u"release"_s), 1);
    }

    void aThousandLossesAMinuteApartAreGotOver()
    {
        Running running;
        std::atomic<qint64> time = 0;
        running.config.clock = [&time] { return time += 61'000; };
        QVERIFY(running.start());
        for (int i = 0; i < 1000; ++i) {
            running.host.simulateDeviceLoss();
            running.tick();
        }
        running.tick();
        QTRY_COMPARE(running.frames.size(), 1);
        running.host.stop();
        QCOMPARE(running.log->count(u"loss, tier 0"_s), 1000);
        QVERIFY(running.errors.isEmpty());
    }

    void aRecoveryThatFailsIsTriedAgainLater()
    {
        Running running;
        std::atomic<qint64> time = 0;
        running.config.clock = [&time] { return time.load(); };
        running.producer->failingRecoveries = 2;
        QVERIFY(running.start());
        running.host.simulateDeviceLoss();
        expectWarning("device-loss recovery: producer onDeviceLoss failed");
        running.tick();
        running.tick(); // too soon: a dead device is not asked thirty times a second
        QCOMPARE(running.log->count(u"loss, tier 0"_s), 1);
        time = 500;
        expectWarning("device-loss recovery: producer onDeviceLoss failed");
        running.tick();
        time = 1000;
        running.tick();
        QCOMPARE(running.log->count(u"loss, tier 0"_s), 3);
        QTRY_COMPARE(running.frames.size(), 1);
        QCOMPARE(running.errors.size(), 2);
    }

    void stopWaitsForTheFrameInFlight()
    {
        Running running;
        QSemaphore isInTick;
        running.producer->duringTick = [&] {
            isInTick.release();
            while (running.host.isRunning()) // stop() has begun once this is false
                QThread::yieldCurrentThread();
        };
        QVERIFY(running.start());
        running.host.requestTick();
        isInTick.acquire();
        running.host.stop();
        QCOMPARE(running.log->calls().last(2), QStringList({u"release"_s, u"gone"_s}));
        QTRY_COMPARE(running.frames.size(), 1); // what was finished still arrives
    }

    void aProducerThatBlocksDoesNotKeepTheProgram()
    {
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {u"--blocked-producer"_s});
        QVERIFY(child.waitForFinished());
        QCOMPARE(child.exitCode(), 7);
        QVERIFY(child.readAllStandardError().contains(
            "a render worker did not end within 100 ms: the program ends without it"));
    }

    void anExitWithoutHangingWorkersIsNotCutShort()
    {
        std::atomic<bool> gaveUp = false;
        {
            ExitWatchdog watchdog;
            watchdog.enter();
            watchdog.begin(std::chrono::hours(1), [&gaveUp] { gaveUp = true; });
            watchdog.begin(std::chrono::milliseconds(0), [&gaveUp] { gaveUp = true; });
            watchdog.leave();
        }
        QVERIFY(!gaveUp);
    }
};

/// The program of aProducerThatBlocksDoesNotKeepTheProgram.
static int runBlockedProducer()
{
    Running running;
    QSemaphore isInTick;
    running.producer->duringTick = [&isInTick] {
        isInTick.release();
        QSemaphore().acquire(); // for ever
    };
    if (!running.start())
        return 1;
    running.host.requestTick();
    isInTick.acquire();
    ExitWatchdog::instance().begin(std::chrono::milliseconds(100), [] { std::_Exit(7); });
    running.host.stop();
    return 2;
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (application.arguments().contains(u"--blocked-producer"_s))
        return runBlockedProducer();
    TstWorkerHost test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_WorkerHost.moc"
