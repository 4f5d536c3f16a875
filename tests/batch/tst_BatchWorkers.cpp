#include <batch/AdaptiveProgressInterval.h>
#include <batch/BatchWorkerBase.h>
#include <batch/WorkerSlots.h>

#include <QRegularExpression>
#include <QSemaphore>
#include <QSignalSpy>

#include <new>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using batch::AdaptiveProgressInterval;
using batch::BatchQueue;
using batch::BatchStatus;

namespace {

/// Waits on its thread until it is let go, then reports and completes.
class CoordinatedWorker : public lab::BatchWorkerBase
{
public:
    ~CoordinatedWorker() override { waitForCoordinator(); }
    QString workerId() const override { return u"w"_s; }
    QString workerVersion() const override { return u"1.0.0"_s; }
    QStringList workerTags() const override { return {}; }
    QStringList supportedTypes() const override { return {u"a"_s}; }

    void execute(BatchQueue *queue, quint64 id) override
    {
        started = startCoordinator(u"Corvane.test-coordinator"_s, [=, this] {
            failUnlessGood(queue, id, [&] { work(queue, id); });
        });
    }

    void work(BatchQueue *queue, quint64 id)
    {
        threadName = QThread::currentThread()->objectName();
        go.acquire();
        if (isGreedy)
            throw std::bad_alloc();
        postProgress(queue, id, 1, 2);
        postLog(queue, id, batch::BatchLogLevel::Warning, u"half way"_s);
        queue->complete(id, {});
    }

    QSemaphore go;
    QString threadName;
    bool started = false;
    bool isGreedy = false;
};

} // namespace

class TstBatchWorkers : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void aCoordinatorHoldsTheSlotUntilItEnds()
    {
        BatchQueue queue;
        CoordinatedWorker worker;
        const quint64 id = queue.submit({.type = u"a"_s});
        QSignalSpy progressed(&queue, &BatchQueue::jobProgressChanged);
        for (int run = 0; run < 2; ++run) {
            const quint64 job = run == 0 ? id : queue.submit({.type = u"a"_s});
            queue.claim(job, u"w"_s);
            QTRY_VERIFY(worker.canAccept());
            worker.execute(&queue, job);
            QVERIFY(worker.started && !worker.canAccept());
            worker.execute(&queue, job);
            QVERIFY(!worker.started);
            worker.go.release();
            QTRY_COMPARE(queue.job(job)->status, BatchStatus::Done);
        }
        QTRY_VERIFY(worker.canAccept());
        QTRY_COMPARE(progressed.size(), 2);
        QTRY_COMPARE(queue.logs(id).size(), 1);
        QCOMPARE(queue.progress(id), BatchQueue::Progress(1, 2));
        QCOMPARE(queue.logs(id).first().level, batch::BatchLogLevel::Warning);
        QCOMPARE(worker.threadName, u"Corvane.test-coordinator"_s);
    }

    void workThatRunsOutOfMemoryFailsItsJob()
    {
        BatchQueue queue;
        CoordinatedWorker worker;
        const quint64 id = queue.submit({.type = u"a"_s});
        queue.claim(id, u"w"_s);
        worker.isGreedy = true;
        worker.go.release();
        worker.execute(&queue, id);
        QTRY_COMPARE(queue.job(id)->status, BatchStatus::Failed);
        QCOMPARE(queue.job(id)->error, u"The job broke off: out of memory"_s);
        QTRY_VERIFY(worker.canAccept());
    }

    void aSlotIsFreeWhenItsLastHolderIsGone()
    {
        auto taken = std::make_unique<batch::WorkerSlots>(2);
        auto first = taken->take();
        QVERIFY(taken->isFree());
        const auto second = taken->take();
        QVERIFY(!taken->isFree());
        auto copy = first;
        first.reset();
        QVERIFY(!taken->isFree());
        copy.reset();
        QVERIFY(taken->isFree());
        taken.reset(); // the worker may go before its task
    }

    // Steps of one length: reports settle to one each target time.
    void reportsSettleToTheTarget_data()
    {
        QTest::addColumn<std::chrono::microseconds>("step");
        QTest::addColumn<int>("leastReports");
        QTest::addColumn<int>("mostReports");
        // Ten seconds of work each; at most the reports of the target, and those that find the
        // stride.
        QTest::newRow("steps of 10 us") << std::chrono::microseconds(10) << 100 << 260;
        QTest::newRow("steps of 1 ms") << std::chrono::microseconds(1000) << 90 << 200;
        QTest::newRow("steps slower than the target")
            << std::chrono::microseconds(250'000) << 40 << 40;
    }

    void reportsSettleToTheTarget()
    {
        QFETCH(const std::chrono::microseconds, step);
        QFETCH(const int, leastReports);
        QFETCH(const int, mostReports);
        const qint64 steps = 10s / step;
        AdaptiveProgressInterval interval{.maxStride = steps};
        AdaptiveProgressInterval::Clock::time_point now{1h};
        int reports = 0;
        for (qint64 i = 0; i < steps; ++i, now += step)
            reports += interval.tickAt(i, now) ? 1 : 0;
        QVERIFY2(reports >= leastReports && reports <= mostReports,
                 qPrintable(QString::number(reports)));
        QCOMPARE(interval.updates, reports);
    }

    void theStrideStaysInItsLimits()
    {
        const AdaptiveProgressInterval::Clock::time_point now{1h};
        AdaptiveProgressInterval fast{.maxStride = 3, .stride = 2.9};
        QVERIFY(fast.tickAt(0, now)); // the first comes long after the beginning of time
        QCOMPARE(fast.stride, 2.9 * 0.99);
        QVERIFY(!fast.tickAt(1, now));
        QVERIFY(fast.tickAt(2, now));
        QCOMPARE(fast.stride, 3.0);
        QCOMPARE(fast.nextTick, 5);
        QCOMPARE(fast.lastTick, 2);
        AdaptiveProgressInterval none{.maxStride = 0};
        QVERIFY(none.tickAt(0, now));
        QCOMPARE(none.stride, 1.0);
        QVERIFY(none.tick(1));
    }
};

QTEST_GUILESS_MAIN(TstBatchWorkers)
#include "tst_BatchWorkers.moc"
