#include <support/ManualClock.h>

#include <batch/BatchDispatcher.h>

#include <QRegularExpression>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using batch::BatchJob;
using batch::BatchStatus;

namespace {

/// Takes down what it is given; keeps a job until finish().
class Worker : public batch::IBatchWorker
{
public:
    explicit Worker(const QString &id, const QStringList &types)
        : m_id(id)
        , m_types(types)
    {}

    QString workerId() const override { return m_id; }
    QString workerVersion() const override { return version; }
    QStringList workerTags() const override { return tags; }
    QStringList supportedTypes() const override { return m_types; }
    bool canAccept() const override { return active.size() < slotCount; }
    bool canAcceptJob(const BatchJob &job) const override
    {
        return canAccept() && job.label != u"not for me"_s;
    }
    void execute(batch::BatchQueue *queue, quint64 jobId) override
    {
        given.append(jobId);
        active.append(jobId);
        statusAtStart = queue->job(jobId)->status;
        if (onExecute)
            onExecute();
    }

    qsizetype slotCount = 100;
    QStringList tags{u"corvane"_s, u"mesh"_s};
    QString version = u"1.0.0"_s;
    std::function<void()> onExecute;
    QList<quint64> given, active;
    BatchStatus statusAtStart = BatchStatus::Pending;

private:
    const QString m_id;
    const QStringList m_types;
};

struct Bench
{
    support::ManualClock clock;
    batch::BatchQueue queue{clock.asClock()};
    batch::BatchWorkerRegistry registry;
    batch::BatchDispatcher dispatcher{&queue, &registry};

    Bench() { dispatcher.stop(); }
};

} // namespace

class TstBatchDispatcher : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void aJobIsClaimedOnTheNextTick()
    {
        Bench bench;
        Worker worker(u"w"_s, {u"a"_s});
        bench.registry.registerWorker(&worker);
        QSignalSpy dispatched(&bench.dispatcher, &batch::BatchDispatcher::dispatched);
        const quint64 id = bench.queue.submit({.type = u"a"_s});
        QVERIFY(worker.given.isEmpty());
        bench.dispatcher.onTimer();
        QCOMPARE(worker.given, QList<quint64>{id});
        QCOMPARE(worker.statusAtStart, BatchStatus::InProgress);
        QCOMPARE(bench.queue.job(id)->workerId, u"w"_s);
        QCOMPARE(dispatched.size(), 1);
        QCOMPARE(dispatched[0][1].toString(), u"w"_s);
        bench.dispatcher.onTimer();
        QCOMPARE(worker.given.size(), 1);
    }

    void itTicksByItself()
    {
        batch::BatchQueue queue;
        batch::BatchWorkerRegistry registry;
        Worker worker(u"w"_s, {u"a"_s});
        registry.registerWorker(&worker);
        const batch::BatchDispatcher dispatcher(&queue, &registry);
        QVERIFY(dispatcher.isRunning());
        queue.submit({.type = u"a"_s});
        QTRY_COMPARE(worker.given.size(), 1);
    }

    void oneSlotServesByPriorityThenAge()
    {
        Bench bench;
        Worker worker(u"w"_s, {u"a"_s});
        worker.slotCount = 1;
        bench.registry.registerWorker(&worker);
        QSignalSpy without(&bench.dispatcher, &batch::BatchDispatcher::noWorkerAvailable);
        for (const qint32 priority : {40, 80, 40}) {
            bench.queue.submit({.type = u"a"_s, .priority = priority});
            bench.clock.advance(1);
        }
        for (int tick = 0; tick < 3; ++tick) {
            bench.dispatcher.onTimer();
            bench.queue.complete(worker.active.takeFirst(), {});
        }
        QCOMPARE(worker.given, QList<quint64>({2, 1, 3}));
        QCOMPARE(without.size(), 2 + 1); // told again at each tick
    }

    void theWorkerMustFit_data()
    {
        QTest::addColumn<QStringList>("tags");
        QTest::addColumn<QString>("version");
        QTest::addColumn<QString>("label");
        QTest::addColumn<bool>("fits");
        QTest::newRow("no conditions") << QStringList() << QString() << QString() << true;
        QTest::newRow("all tags") << QStringList{u"mesh"_s, u"corvane"_s} << QString() << QString()
                                  << true;
        QTest::newRow("a tag too many")
            << QStringList{u"mesh"_s, u"gpu"_s} << QString() << QString() << false;
        QTest::newRow("the version itself") << QStringList() << u"1.0.0"_s << QString() << true;
        QTest::newRow("a later version") << QStringList() << u"1.0.1"_s << QString() << false;
        // Versions compare as strings.
        QTest::newRow("an equal number that sorts behind")
            << QStringList() << u"1.00.0"_s << QString() << false;
        QTest::newRow("a later version that sorts before")
            << QStringList() << u"01.5"_s << QString() << true;
        QTest::newRow("the worker looks at the job")
            << QStringList() << QString() << u"not for me"_s << false;
    }

    void theWorkerMustFit()
    {
        QFETCH(const QStringList, tags);
        QFETCH(const QString, version);
        QFETCH(const QString, label);
        QFETCH(const bool, fits);
        Bench bench;
        Worker worker(u"w"_s, {u"a"_s});
        bench.registry.registerWorker(&worker);
        bench.queue.submit(
            {.type = u"a"_s, .label = label, .requiredTags = tags, .minWorkerVersion = version});
        bench.dispatcher.onTimer();
        QCOMPARE(worker.given.size(), fits ? 1 : 0);
    }

    void theFirstCandidateWithAFreeSlotIsChosen()
    {
        Bench bench;
        Worker first(u"first"_s, {u"a"_s});
        Worker second(u"second"_s, {u"a"_s});
        first.slotCount = 1;
        bench.registry.registerWorker(&first);
        bench.registry.registerWorker(&second);
        bench.queue.submit({.type = u"a"_s});
        bench.queue.submit({.type = u"a"_s});
        bench.dispatcher.onTimer();
        QCOMPARE(first.given, QList<quint64>{1});
        QCOMPARE(second.given, QList<quint64>{2});
    }

    void aPatternServesWhatNobodyNames()
    {
        Bench bench;
        Worker any(u"any"_s, {u"corvane/*"_s});
        Worker exact(u"exact"_s, {u"corvane/mesh"_s});
        exact.slotCount = 0;
        bench.registry.registerWorker(&any);
        bench.queue.submit({.type = u"corvane/mesh"_s});
        bench.queue.submit({.type = u"Corvane/mesh"_s});
        bench.dispatcher.onTimer();
        QCOMPARE(any.given, QList<quint64>{1});
        bench.registry.registerWorker(&exact); // from now on the pattern does not count for it
        bench.queue.submit({.type = u"corvane/mesh"_s});
        bench.queue.submit({.type = u"corvane/other"_s});
        bench.dispatcher.onTimer();
        QCOMPARE(any.given, QList<quint64>({1, 4}));
    }

    void aJobWithoutATypeIsSkipped()
    {
        Bench bench;
        bench.queue.submit({});
        QSignalSpy without(&bench.dispatcher, &batch::BatchDispatcher::noWorkerAvailable);
        QTest::ignoreMessage(QtWarningMsg,
                             "BatchDispatcher: skipping malformed job (id=1, type='')");
        bench.dispatcher.onTimer();
        QCOMPARE(without.size(), 0);
    }

    void aWorkerMayLeaveOrCancelDuringTheTick()
    {
        Bench bench;
        Worker worker(u"w"_s, {u"a"_s});
        worker.onExecute = [&] {
            bench.registry.unregisterWorker(&worker);
            bench.queue.cancel(3);
        };
        bench.registry.registerWorker(&worker);
        Worker other(u"other"_s, {u"b"_s});
        bench.registry.registerWorker(&other);
        for (const auto &type : {u"a"_s, u"a"_s, u"b"_s}) {
            bench.queue.submit({.type = type});
            bench.clock.advance(1);
        }
        QTest::ignoreMessage(QtWarningMsg,
                             "BatchQueue::claim: job 3 is cancelled, expected Pending");
        bench.dispatcher.onTimer();
        QCOMPARE(worker.given, QList<quint64>{1});
        QVERIFY(other.given.isEmpty());
    }

    void theRegistryTellsWhoComesAndGoes()
    {
        batch::BatchWorkerRegistry registry;
        Worker worker(u"w"_s, {u"a"_s, u"b*"_s});
        QSignalSpy came(&registry, &batch::BatchWorkerRegistry::workerRegistered);
        QSignalSpy went(&registry, &batch::BatchWorkerRegistry::workerUnregistered);
        registry.registerWorker(&worker);
        registry.registerWorker(&worker);
        registry.registerWorker(nullptr);
        QCOMPARE(came.size(), 1);
        QCOMPARE(registry.candidatesFor(u"bcd"_s), QList<batch::IBatchWorker *>{&worker});
        registry.unregisterWorker(&worker);
        registry.unregisterWorker(&worker);
        QCOMPARE(went.size(), 1);
        QVERIFY(registry.candidatesFor(u"a"_s).isEmpty() && registry.workers().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TstBatchDispatcher)
#include "tst_BatchDispatcher.moc"
