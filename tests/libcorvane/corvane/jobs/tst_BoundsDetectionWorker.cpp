#include <corvane/bv/BoundsDetectionWorker.h>

#include <support/JobRunner.h>
#include <support/NodeTree.h>
#include <support/QueuedSpy.h>

#include <QRegularExpression>

using namespace Qt::StringLiterals;
using namespace corvane::bv;
using batch::BatchStatus;

namespace {

const QString type = u"corvane/bounds_detection"_s;

BoundsDetectionContext contextOf(const QString &scene, const QString &backend = u"cpu"_s)
{
    support::NodeTree tree;
    const int root = tree.read(scene);
    return {.nodes = tree.nodes,
            .definitions = tree.definitions(),
            .rootIndex = root,
            .label = u"scene"_s,
            .backend = backend};
}

const QString ball = u"(translate 1 0 0 (sphere 2))"_s;

} // namespace

Q_DECLARE_METATYPE(BoundsDetectionContext)

class TstBoundsDetectionWorker : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { support::addEndlessShape(); }
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void saysWhatItIs()
    {
        BoundsDetectionContextStore contexts;
        QCOMPARE(
            support::describe(BoundsDetectionWorker(&contexts)),
            u"corvane/bounds_detection_worker 1.0.0 corvane,bounds corvane/bounds_detection"_s);
    }

    void findsTheBox_data()
    {
        QTest::addColumn<QString>("backend");
        QTest::addColumn<QString>("line");
        QTest::newRow("cpu") << u"cpu"_s << u"Backend = libeval Interpreted (user selected CPU)."_s;
        QTest::newRow("gpu")
            << u"gpu"_s
            << u"Backend = libeval Native (GPU bounds path not yet available — Phase 9)."_s;
    }
    void findsTheBox()
    {
        QFETCH(QString, backend);
        QFETCH(QString, line);
        BoundsDetectionContextStore contexts;
        contexts.add(u"key"_s, contextOf(ball, backend));
        BoundsDetectionWorker worker(&contexts);
        support::JobRunner runner(&worker);
        support::QueuedSpy finished(&worker, &BoundsDetectionWorker::detectionFinished);
        const quint64 id = runner.start(type, {{u"snapshotId"_s, u"key"_s}});
        const batch::BatchJob job = runner.ended(id);

        QCOMPARE(job.status, BatchStatus::Done);
        const auto near = [&](const QString &key, double value) {
            return std::abs(job.result.value(key).toDouble() - value) < 0.05;
        };
        QVERIFY(near(u"minX"_s, -1.2) && near(u"maxX"_s, 3.2));
        QVERIFY(near(u"minY"_s, -2.2) && near(u"maxZ"_s, 2.2));
        QVERIFY(job.result.value(u"totalSamples"_s).toLongLong() > 100);
        QCOMPARE(job.result.value(u"hasUnboundedAxes"_s), QVariant(false));
        QVERIFY(!job.result.value(u"evaluatorBackend"_s).toString().isEmpty());
        const QStringList messages = runner.messages(id);
        QVERIFY(messages.contains(u"Starting bounds detection..."_s));
        QVERIFY(messages.contains(line));
        QCOMPARE(messages.last(), job.result.value(u"statusText"_s).toString());
        QVERIFY(contexts.size() == 0);
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(finished.first().at(1), QVariant(true));
        QVERIFY(finished.first().at(2).value<BoundsDetectionResult>().success);
    }

    void failureIsAText_data()
    {
        QTest::addColumn<BoundsDetectionContext>("context");
        QTest::addColumn<QString>("error");
        QTest::newRow("no nodes") << BoundsDetectionContext{.backend = u"cpu"_s}
                                  << u"Bounds detection: scene has no SDF nodes"_s;
        BoundsDetectionContext nowhere = contextOf(ball);
        nowhere.rootIndex = 17;
        QTest::newRow("root that is not there")
            << nowhere << u"No geometry found within search radius"_s;
        QTest::newRow("missing context")
            << BoundsDetectionContext{}
            << u"Missing bounds detection context for snapshot: other"_s;
    }
    void failureIsAText()
    {
        QFETCH(BoundsDetectionContext, context);
        QFETCH(QString, error);
        BoundsDetectionContextStore contexts;
        contexts.add(u"key"_s, context);
        BoundsDetectionWorker worker(&contexts);
        support::JobRunner runner(&worker);
        support::QueuedSpy finished(&worker, &BoundsDetectionWorker::detectionFinished);
        const QString key = error.contains(u"other"_s) ? u"other"_s : u"key"_s;
        const batch::BatchJob job = runner.run(type, {{u"snapshotId"_s, key}});
        QCOMPARE(job.status, BatchStatus::Failed);
        QCOMPARE(job.error, error);
        QTRY_COMPARE(finished.size(), 1);
        QCOMPARE(finished.first().at(1), QVariant(false));
    }

    void cancelStopsAnEndlessField()
    {
        BoundsDetectionContextStore contexts;
        contexts.add(u"key"_s, contextOf(u"(test_endless)"_s));
        BoundsDetectionWorker worker(&contexts);
        support::JobRunner runner(&worker);
        const quint64 id = runner.start(type, {{u"snapshotId"_s, u"key"_s}});
        QVERIFY(!worker.canAccept());
        QVERIFY(runner.queue.cancel(id));
        QCOMPARE(runner.ended(id).status, BatchStatus::Cancelled);
        QVERIFY(worker.canAccept());
        QVERIFY(contexts.size() == 0);
    }

    void workerMayGoWhileItWorks()
    {
        BoundsDetectionContextStore contexts;
        contexts.add(u"key"_s, contextOf(u"(test_endless)"_s));
        auto worker = std::make_unique<BoundsDetectionWorker>(&contexts);
        support::JobRunner runner(worker.get());
        const quint64 id = runner.start(type, {{u"snapshotId"_s, u"key"_s}});
        runner.registry.unregisterWorker(worker.get());
        worker.reset();
        QCoreApplication::processEvents();
        QCOMPARE(runner.queue.job(id)->status, BatchStatus::InProgress);
    }
};

QTEST_GUILESS_MAIN(TstBoundsDetectionWorker)
#include "tst_BoundsDetectionWorker.moc"
