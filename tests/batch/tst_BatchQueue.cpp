#include <support/ManualClock.h>

#include <batch/BatchQueue.h>

#include <QRandomGenerator>
#include <QRegularExpression>
#include <QSet>
#include <QSignalSpy>

#include <thread>

using namespace Qt::StringLiterals;
using batch::BatchJob;
using batch::BatchJobFilter;
using batch::BatchLogLevel;
using batch::BatchQueue;
using batch::BatchStatus;

Q_DECLARE_METATYPE(batch::BatchJobFilter)

namespace {

enum class Operation { Claim, Complete, Fail, Cancel, Retry };

struct Case
{
    BatchStatus from;
    Operation operation;
    std::optional<BatchStatus> to; ///< nothing: refused
    QByteArray warning{};
};

BatchJob job(const QString &type = u"t"_s, const QList<quint64> &dependsOn = {})
{
    return {.type = type, .dependsOn = dependsOn};
}

bool apply(BatchQueue &queue, Operation operation, quint64 id)
{
    switch (operation) {
    case Operation::Claim:
        return queue.claim(id, u"worker"_s);
    case Operation::Complete:
        return queue.complete(id, {{u"n"_s, 1}});
    case Operation::Fail:
        return queue.fail(id, u"broke"_s);
    case Operation::Cancel:
        return queue.cancel(id);
    case Operation::Retry:
        queue.retry(id);
        return true;
    }
    return false;
}

QList<quint64> idsOf(const QList<BatchJob> &jobs)
{
    QList<quint64> ids;
    for (const BatchJob &job : jobs)
        ids.append(job.id);
    return ids;
}

/// A queue with a clock, and ways to a job in any state.
struct Bench
{
    support::ManualClock clock;
    BatchQueue queue{clock.asClock()};

    BatchStatus statusOf(quint64 id) const { return queue.job(id)->status; }

    quint64 running(const BatchJob &job)
    {
        const quint64 id = queue.submit(job);
        queue.claim(id, u"worker"_s);
        return id;
    }

    quint64 jobIn(BatchStatus status)
    {
        const quint64 id = queue.submit({.type = u"t"_s, .hungTimeoutSeconds = 60});
        if (status == BatchStatus::Cancelled)
            queue.cancel(id);
        if (status == BatchStatus::Pending || status == BatchStatus::Cancelled)
            return id;
        queue.claim(id, u"worker"_s);
        if (status == BatchStatus::Done)
            queue.complete(id, {});
        if (status == BatchStatus::Failed)
            queue.fail(id, u"broke"_s);
        if (status == BatchStatus::Hung) {
            clock.advance(61'000);
            queue.checkHungJobs();
        }
        return id;
    }
};

/// The changes of state that a queue tells, as "id:old>new".
class History : public QObject
{
public:
    explicit History(BatchQueue &queue)
    {
        connect(&queue, &BatchQueue::jobStatusChanged, this,
                [this](quint64 id, BatchStatus from, BatchStatus to) {
                    lines.append(u"%1:%2>%3"_s.arg(QString::number(id), batchStatusToString(from),
                                                   batchStatusToString(to)));
                });
    }
    QStringList lines;
};

} // namespace

Q_DECLARE_METATYPE(Case)

class TstBatchQueue : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void everyMoveIsMadeOrRefused_data()
    {
        using enum BatchStatus;
        using enum Operation;
        QTest::addColumn<Case>("move");
        const auto row = [](const char *name, const Case &move) { QTest::newRow(name) << move; };
        row("a waiting job is claimed", {Pending, Claim, InProgress});
        row("a running job is completed", {InProgress, Complete, Done});
        row("a running job fails", {InProgress, Fail, Failed});
        row("a waiting job is cancelled", {Pending, Cancel, Cancelled});
        row("a running job is cancelled", {InProgress, Cancel, Cancelled});
        row("a hung job is cancelled", {Hung, Cancel, Cancelled});
        row("a hung job is retried", {Hung, Retry, Pending});
        row("a failed job is retried", {Failed, Retry, Pending});
        const auto refused = [&](const char *name, BatchStatus from, Operation operation,
                                 const char *warning) {
            row(name, {from, operation, {}, "BatchQueue::" + QByteArray(warning)});
        };
        refused("a running job is not claimed twice", InProgress, Claim,
                "claim: job 1 is in_progress, expected Pending");
        refused("a waiting job cannot complete", Pending, Complete,
                "complete: job 1 is pending, expected InProgress");
        refused("a hung job cannot complete", Hung, Complete,
                "complete: job 1 is hung, expected InProgress");
        refused("a cancelled job cannot complete", Cancelled, Complete,
                "complete: job 1 is cancelled, expected InProgress");
        refused("a done job cannot fail", Done, Fail, "fail: job 1 is done, expected InProgress");
        refused("a done job cannot be cancelled", Done, Cancel,
                "cancel: job 1 is already terminal (done)");
        refused("a failed job cannot be cancelled", Failed, Cancel,
                "cancel: job 1 is already terminal (failed)");
        refused("a cancelled job is not retried", Cancelled, Retry,
                "retry: job 1 is cancelled, expected Hung or Failed");
        refused("a done job is not retried", Done, Retry,
                "retry: job 1 is done, expected Hung or Failed");
    }

    void everyMoveIsMadeOrRefused()
    {
        QFETCH(const Case, move);
        Bench bench;
        const quint64 id = bench.jobIn(move.from);
        const BatchJob before = *bench.queue.job(id);
        QCOMPARE(before.status, move.from);
        bench.clock.advance(1000);
        const History history(bench.queue);
        QSignalSpy changed(&bench.queue, &BatchQueue::jobChanged);
        if (!move.to) {
            QTest::ignoreMessage(QtWarningMsg, move.warning.constData());
            const bool made = apply(bench.queue, move.operation, id);
            QVERIFY(!made || move.operation == Operation::Retry);
            QCOMPARE(*bench.queue.job(id), before); // not a field of it
            QCOMPARE(history.lines, QStringList());
            return;
        }
        QVERIFY(apply(bench.queue, move.operation, id));
        const BatchJob after = *bench.queue.job(id);
        QCOMPARE(after.status, *move.to);
        QCOMPARE(after.updatedAt, bench.clock.now());
        QCOMPARE(after.completedAt.isValid(), batch::isTerminal(*move.to));
        QCOMPARE(history.lines.size(), 1);
        QCOMPARE(changed.size(), 1);
        QCOMPARE(bench.queue.count(*move.to), 1);
        QCOMPARE(bench.queue.count(move.from), 0);
    }

    void anUnknownJobIsRefused()
    {
        BatchQueue queue;
        for (const auto &[operation, name] :
             {std::pair(Operation::Claim, "claim"), std::pair(Operation::Complete, "complete"),
              std::pair(Operation::Fail, "fail"), std::pair(Operation::Cancel, "cancel"),
              std::pair(Operation::Retry, "retry")}) {
            const QByteArray words = QByteArray("BatchQueue::") + name + ": job 7 not found";
            QTest::ignoreMessage(QtWarningMsg, words.constData());
            apply(queue, operation, 7);
        }
        QTest::ignoreMessage(QtWarningMsg,
                             "BatchQueue::setProgress: dropping progress for unknown jobId 0");
        queue.setProgress(0, 1, 2);
        QTest::ignoreMessage(
            QtWarningMsg,
            "BatchQueue::appendLog: dropping log for unknown jobId 7 (level=2): said");
        queue.appendLog(7, BatchLogLevel::Warning, u"said"_s);
        QVERIFY(!queue.job(7));
        QVERIFY(queue.jobs().isEmpty());
    }

    void submitIgnoresWhatIsNotTheProducers()
    {
        Bench bench;
        QSignalSpy submitted(&bench.queue, &BatchQueue::jobSubmitted);
        const quint64 id = bench.queue.submit({.id = 77, .status = BatchStatus::Done});
        QCOMPARE(id, 1u);
        QCOMPARE(submitted.size(), 1);
        const BatchJob job = *bench.queue.job(id);
        QCOMPARE(job.status, BatchStatus::Pending);
        QCOMPARE(job.createdAt, bench.clock.now());
        QCOMPARE(job.updatedAt, job.createdAt);
        QVERIFY(!job.startedAt.isValid());
    }

    void retryForgetsTheRunButNotItsTraces()
    {
        Bench bench;
        const quint64 id = bench.running(job());
        bench.queue.appendLog(id, BatchLogLevel::Info, u"first"_s);
        bench.queue.setProgress(id, 3, 10);
        bench.queue.fail(id, u"broke"_s);
        bench.queue.retry(id);
        const BatchJob waiting = *bench.queue.job(id);
        QVERIFY(waiting.workerId.isEmpty() && waiting.error.isEmpty());
        QVERIFY(!waiting.startedAt.isValid() && !waiting.completedAt.isValid());
        QCOMPARE(bench.queue.progress(id), BatchQueue::Progress(3, 10));
        bench.clock.advance(5000);
        bench.queue.claim(id, u"other"_s);
        bench.queue.appendLog(id, BatchLogLevel::Info, u"second"_s, {{u"k"_s, 1}});
        QCOMPARE(bench.queue.job(id)->startedAt, bench.clock.now());
        const QList<batch::BatchJobLog> logs = bench.queue.logs(id);
        QCOMPARE(logs.size(), 2);
        QCOMPARE(logs[0].message, u"first"_s);
        QCOMPARE(logs[1].id, logs[0].id + 1);
        QCOMPARE(logs[1].metadata.value(u"k"_s).toInt(), 1);
    }

    void aLogThatGrowsWithoutEndKeepsItsEnd()
    {
        BatchQueue queue;
        const quint64 id = queue.submit(job());
        for (qsizetype i = 0; i < BatchQueue::mostLogLines + 5; ++i)
            queue.appendLog(id, BatchLogLevel::Info, QString::number(i));
        QCOMPARE(queue.logs(id).size(), BatchQueue::mostLogLines);
        QCOMPARE(queue.logs(id).first().message, u"5"_s);
    }

    void aJobHangsOnlyWithoutAHeartbeat_data()
    {
        QTest::addColumn<qint32>("timeout");
        QTest::addColumn<bool>("reports");
        QTest::addColumn<qint64>("silence");
        QTest::addColumn<bool>("hangs");
        QTest::newRow("exactly the timeout") << 60 << false << qint64(60'999) << false;
        QTest::newRow("a second more") << 60 << false << qint64(61'000) << true;
        QTest::newRow("a report every minute less a second")
            << 60 << true << qint64(59'000) << false;
        QTest::newRow("reports too far apart") << 60 << true << qint64(61'000) << true;
        QTest::newRow("no watch") << 0 << false << qint64(1'000'000'000) << false;
        QTest::newRow("a negative timeout") << -1 << false << qint64(1'000'000'000) << false;
    }

    void aJobHangsOnlyWithoutAHeartbeat()
    {
        QFETCH(const qint32, timeout);
        QFETCH(const bool, reports);
        QFETCH(const qint64, silence);
        QFETCH(const bool, hangs);
        Bench bench;
        const quint64 id = bench.running({.type = u"t"_s, .hungTimeoutSeconds = timeout});
        const quint64 waiting = bench.queue.submit({.type = u"t"_s, .hungTimeoutSeconds = 1});
        for (int i = 0; reports && i < 10 && !hangs; ++i) {
            bench.clock.advance(silence);
            bench.queue.checkHungJobs();
            bench.queue.setProgress(id, i, 10);
        }
        bench.clock.advance(silence);
        bench.queue.appendLog(id, BatchLogLevel::Info, u"a line is no heartbeat"_s);
        const History history(bench.queue);
        bench.queue.checkHungJobs();
        QCOMPARE(bench.statusOf(id), hangs ? BatchStatus::Hung : BatchStatus::InProgress);
        QCOMPARE(history.lines.size(), hangs ? 1 : 0);
        QCOMPARE(bench.statusOf(waiting), BatchStatus::Pending);
    }

    void aFailureGoesDownTheLine()
    {
        Bench bench;
        const quint64 a = bench.running(job());
        const quint64 b = bench.queue.submit(job(u"t"_s, {a}));
        const quint64 c = bench.queue.submit(job(u"t"_s, {b}));
        const quint64 other = bench.queue.submit(job(u"t"_s, {a}));
        const History history(bench.queue);
        bench.queue.fail(a, u"broke"_s);
        QCOMPARE(history.lines, QStringList({u"1:in_progress>failed"_s, u"2:pending>failed"_s,
                                             u"3:pending>failed"_s, u"4:pending>failed"_s}));
        QCOMPARE(bench.queue.job(b)->error, u"Dependency failed: job #1"_s);
        QCOMPARE(bench.queue.job(c)->error, u"Dependency failed: job #2"_s);
        QCOMPARE(bench.queue.job(c)->completedAt, bench.clock.now());
        bench.queue.retry(a); // revives nobody
        bench.queue.claim(a, u"worker"_s);
        bench.queue.complete(a, {});
        QCOMPARE(bench.statusOf(b), BatchStatus::Failed);
        QCOMPARE(bench.statusOf(other), BatchStatus::Failed);
    }

    void aJobFailsOnlyWhenAllItsDependenciesAreOver()
    {
        Bench bench;
        const quint64 a = bench.running(job());
        const quint64 b = bench.running(job());
        const quint64 c = bench.running(job());
        const quint64 last = bench.queue.submit(job(u"t"_s, {c, a, b, a}));
        bench.queue.fail(a, {});
        bench.queue.fail(c, {});
        QCOMPARE(bench.statusOf(last), BatchStatus::Pending);
        bench.queue.complete(b, {});
        QCOMPARE(bench.statusOf(last), BatchStatus::Failed);
        QCOMPARE(bench.queue.job(last)->error, u"Dependency failed: job #1"_s); // last in the list
    }

    void whatCannotComeWaitsInSilence_data()
    {
        QTest::addColumn<QList<quint64>>("dependsOn");
        QTest::newRow("itself") << QList<quint64>{2};
        QTest::newRow("a job that never was") << QList<quint64>{99};
        QTest::newRow("id 0") << QList<quint64>{0};
        QTest::newRow("a cancelled job") << QList<quint64>{1};
        QTest::newRow("one of each") << QList<quint64>{1, 2, 99};
    }

    void whatCannotComeWaitsInSilence()
    {
        QFETCH(const QList<quint64>, dependsOn);
        Bench bench;
        const quint64 first = bench.queue.submit(job());
        const quint64 id = bench.queue.submit(job(u"t"_s, dependsOn));
        bench.queue.cancel(first);
        QCOMPARE(bench.statusOf(id), BatchStatus::Pending);
        QVERIFY(bench.queue.pendingJobs().isEmpty());
        QVERIFY(bench.queue.cancel(id));
    }

    void aChainAsLongAsTheQueueFails()
    {
        BatchQueue queue;
        constexpr quint64 length = 100'000;
        const quint64 first = queue.submit(job());
        for (quint64 id = 1; id < length; ++id)
            queue.submit(job(u"t"_s, {id}));
        queue.claim(first, u"worker"_s);
        queue.fail(first, u"broke"_s);
        QCOMPARE(queue.count(BatchStatus::Failed), qsizetype(length));
    }

    void aSnapshotStaysAsItWas()
    {
        Bench bench;
        QList<quint64> ids;
        for (int i = 0; i < 300; ++i)
            ids.append(bench.queue.submit(job()));
        const batch::ReadySnapshot before = bench.queue.readyJobs();
        bench.queue.claim(ids.first(), u"worker"_s);
        bench.queue.submit(job());
        QList<quint64> seen;
        before.forEach([&seen](const batch::ReadyJob &ready) { seen.append(ready.id); });
        QCOMPARE(seen, ids);
    }

    void readyJobsComeByPriorityThenAge()
    {
        Bench bench;
        const auto submitted = [&](qint32 priority, const QList<quint64> &dependsOn = {}) {
            const quint64 id = bench.queue.submit({.type = priority == 80 ? u"hot"_s : u"t"_s,
                                                   .priority = priority,
                                                   .dependsOn = dependsOn});
            bench.clock.advance(10);
            return id;
        };
        const quint64 low = submitted(40);
        const quint64 high = submitted(80);
        const quint64 later = submitted(40);
        const quint64 dependent = submitted(90, {high});
        const quint64 lowest = submitted(std::numeric_limits<qint32>::min());
        QCOMPARE(idsOf(bench.queue.pendingJobs()), QList<quint64>({high, low, later, lowest}));
        QCOMPARE(idsOf(bench.queue.pendingJobs(u"hot"_s)), QList<quint64>{high});
        bench.queue.claim(high, u"worker"_s);
        bench.queue.complete(high, {});
        QCOMPARE(idsOf(bench.queue.pendingJobs()), QList<quint64>({dependent, low, later, lowest}));
        bench.queue.clearDone(); // what it depended on is no longer there
        QCOMPARE(idsOf(bench.queue.pendingJobs()), QList<quint64>({low, later, lowest}));
    }

    void jobsAreFiltered_data()
    {
        QTest::addColumn<BatchJobFilter>("filter");
        QTest::addColumn<QList<quint64>>("ids");
        const auto row = [](const char *name, const BatchJobFilter &filter,
                            const QList<quint64> &ids) { QTest::newRow(name) << filter << ids; };
        row("everything", {}, {1, 2, 3, 4});
        row("an id", {.id = 3}, {3});
        row("an id of another type", {.id = 3, .type = u"b"_s}, {});
        row("a type", {.type = u"a"_s}, {1, 3});
        row("a state", {.status = BatchStatus::Pending}, {2, 3});
        row("several states", {.statuses = {BatchStatus::Done, BatchStatus::Cancelled}}, {1, 4});
        row("a state that is not among them",
            {.status = BatchStatus::Done, .statuses = {BatchStatus::Pending}}, {});
        row("a source", {.source = u"corvane"_s}, {2});
        row("an origin", {.origin = u"zirn"_s}, {4});
        row("the first", {.limit = 1}, {1});
        row("the first two of a state", {.status = BatchStatus::Pending, .limit = 2}, {2, 3});
        row("a negative limit", {.limit = -1}, {1, 2, 3, 4});
    }

    void jobsAreFiltered()
    {
        QFETCH(const BatchJobFilter, filter);
        QFETCH(const QList<quint64>, ids);
        Bench bench;
        bench.queue.complete(bench.running({.type = u"a"_s}), {});
        bench.queue.submit({.type = u"b"_s, .source = u"corvane"_s});
        bench.queue.submit({.type = u"a"_s});
        bench.queue.cancel(bench.queue.submit({.type = u"b"_s, .origin = u"zirn"_s}));
        QCOMPARE(idsOf(bench.queue.jobs(filter)), ids);
    }

    void clearingTellsWhatIsGone()
    {
        Bench bench;
        const quint64 done = bench.jobIn(BatchStatus::Done);
        const quint64 failed = bench.jobIn(BatchStatus::Failed);
        const quint64 working = bench.running(job());
        QSignalSpy removed(&bench.queue, &BatchQueue::jobRemoved);
        QSignalSpy cleared(&bench.queue, &BatchQueue::cleared);
        bench.queue.clearDone();
        QCOMPARE(removed.size(), 1);
        QCOMPARE(removed[0][0].toULongLong(), done);
        QVERIFY(bench.queue.job(failed));
        bench.queue.clearAll();
        QCOMPARE(cleared.size(), 1);
        QVERIFY(bench.queue.jobs().isEmpty());
        QVERIFY(bench.queue.submit(job()) > working);
        QTest::ignoreMessage(QtWarningMsg, "BatchQueue::complete: job 3 not found");
        QVERIFY(!bench.queue.complete(working, {}));
    }

    void aSlotMayCallStraightBack()
    {
        BatchQueue queue;
        connect(&queue, &BatchQueue::jobSubmitted, this,
                [&](quint64 id) { queue.claim(id, u"w"_s); });
        connect(&queue, &BatchQueue::jobChanged, this, [&](quint64 id) {
            if (queue.job(id)->status == BatchStatus::InProgress)
                queue.setProgress(id, 1, 1);
        });
        connect(&queue, &BatchQueue::jobProgressChanged, this,
                [&](quint64 id) { queue.complete(id, {}); });
        QCOMPARE(queue.job(queue.submit(job()))->status, BatchStatus::Done);
    }

    // Against a plain reading of the rules: who is ready, and in which order.
    void indexesAgreeWithTheRecords()
    {
        Bench bench;
        QRandomGenerator random(20260301);
        for (int step = 0; step < 4000; ++step) {
            const quint64 id = quint64(random.bounded(1, 120));
            const auto known = bench.queue.job(id);
            const int dice = random.bounded(10);
            bench.clock.advance(random.bounded(3));
            if (dice < 3) {
                QList<quint64> dependsOn;
                for (int i = random.bounded(3); i > 0; --i)
                    dependsOn.append(quint64(random.bounded(1, 150)));
                bench.queue.submit(
                    {.type = u"t"_s, .priority = random.bounded(3), .dependsOn = dependsOn});
            } else if (dice == 9 && random.bounded(20) == 0) {
                bench.queue.clearDone();
            } else if (known && known->status == BatchStatus::Pending) {
                dice < 8 ? bench.queue.claim(id, u"w"_s) : bench.queue.cancel(id);
            } else if (known && known->status == BatchStatus::InProgress) {
                dice < 8 ? bench.queue.complete(id, {}) : bench.queue.fail(id, {});
            } else if (known && known->status == BatchStatus::Failed) {
                bench.queue.retry(id);
            }
            if (step % 50 == 0)
                QCOMPARE(idsOf(bench.queue.pendingJobs()), readyByTheRules(bench.queue));
        }
    }

    void threadsShareTheQueue()
    {
        BatchQueue queue;
        std::atomic<int> claimed = 0;
        constexpr int perThread = 200;
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([&] {
                for (int i = 0; i < perThread; ++i) {
                    const quint64 id = queue.submit(job());
                    queue.setProgress(id, i, perThread);
                    queue.appendLog(id, BatchLogLevel::Info, u"line"_s);
                    claimed += queue.claim(id, u"w"_s) ? 1 : 0;
                    queue.readyJobs().forEach(
                        [](const batch::ReadyJob &ready) { QVERIFY(ready.job->type == u"t"_s); });
                    i % 2 == 0 ? queue.complete(id, {}) : queue.fail(id, u"no"_s);
                    if (i % 50 == 0)
                        queue.checkHungJobs();
                }
            });
        for (auto &thread : threads)
            thread.join();
        QCOMPARE(claimed, 4 * perThread);
        QCOMPARE(queue.count(BatchStatus::Done), 2 * perThread);
        QCOMPARE(queue.count(BatchStatus::Failed), 2 * perThread);
        QSet<quint64> lines;
        for (const BatchJob &each : queue.jobs())
            lines.insert(queue.logs(each.id).first().id);
        QCOMPARE(lines.size(), 4 * perThread);
    }

    void everyStatusHasItsWord()
    {
        QStringList words;
        for (int value = 0; value <= 7; ++value)
            words.append(batchStatusToString(BatchStatus(value)));
        QCOMPARE(words, QStringList({u"pending"_s, u"in_progress"_s, u"hung"_s, u"done"_s,
                                     u"failed"_s, u"stopped"_s, u"cancelled"_s, u"unknown"_s}));
        QCOMPARE(QByteArray(QMetaType::fromType<BatchJob>().name()), "batch::BatchJob"_ba);
    }

private:
    static QList<quint64> readyByTheRules(const BatchQueue &queue)
    {
        const auto isReady = [&](const BatchJob &candidate) {
            return std::all_of(candidate.dependsOn.begin(), candidate.dependsOn.end(),
                               [&](quint64 id) {
                                   const auto dependency = queue.job(id);
                                   return dependency && dependency->status == BatchStatus::Done;
                               });
        };
        QList<BatchJob> ready = queue.jobs({.status = BatchStatus::Pending});
        ready.removeIf([&](const BatchJob &candidate) { return !isReady(candidate); });
        std::stable_sort(ready.begin(), ready.end(), [](const BatchJob &a, const BatchJob &b) {
            return a.priority != b.priority ? a.priority > b.priority : a.createdAt < b.createdAt;
        });
        return idsOf(ready);
    }
};

QTEST_GUILESS_MAIN(TstBatchQueue)
#include "tst_BatchQueue.moc"
