#include <corvane/xport/MeshExportWorker.h>

#include <support/Files.h>
#include <support/JobRunner.h>
#include <support/MeshChecks.h>
#include <support/NodeTree.h>

#include <mesh/io/IORegistry.h>

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace corvane::xport;
using batch::BatchStatus;

namespace {

const QString type = u"corvane/mesh_export"_s;

QVariantMap box(float half)
{
    return {{u"bounds.minX"_s, -half}, {u"bounds.minY"_s, -half}, {u"bounds.minZ"_s, -half},
            {u"bounds.maxX"_s, half},  {u"bounds.maxY"_s, half},  {u"bounds.maxZ"_s, half}};
}

} // namespace

class TstMeshExportWorker : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_folder.reset(new QTemporaryDir);
        support::NodeTree tree;
        m_root = tree.add("sphere"_L1, {2});
        m_contexts.add(u"key"_s, {.nodes = tree.nodes, .definitions = tree.definitions()});
    }

    void saysWhatItIs()
    {
        QCOMPARE(support::describe(MeshExportWorker(&m_contexts)),
                 u"corvane/mesh_export_worker 1.0.0 corvane,mesh,export corvane/mesh_export"_s);
    }

    void payloadBecomesARequest()
    {
        QVariantMap payload = box(3);
        payload.insert({{u"outputPath"_s, u"/x.obj"_s},
                        {u"cellSize"_s, 0.25},
                        {u"chunkSize"_s, 16},
                        {u"threadCount"_s, 3},
                        {u"rootNodeIndex"_s, 2},
                        {u"backend"_s, u"native"_s},
                        {u"algorithm"_s, u"direct"_s},
                        {u"extractor"_s, u"DC-octree"_s},
                        {u"sealed"_s, true},
                        {u"autoBounds"_s, true},
                        {u"postprocess"_s, QStringList{u"weld"_s, u"remesh"_s}},
                        {u"directSourcePath"_s, u"/y.stl"_s}});
        const ExportRequest request = exportRequestFromPayload(payload, {.shaderSource = u"s"_s});
        QCOMPARE(request.outputPath, u"/x.obj"_s);
        QCOMPARE(request.cellSize, 0.25f);
        QCOMPARE(request.chunkSize, 16);
        QCOMPARE(request.threadCount, 3);
        QCOMPARE(request.rootNodeIndex, 2);
        QCOMPARE(request.backend, 2);
        QCOMPARE(request.algorithm, 2);
        QCOMPARE(request.extractor, 2);
        QVERIFY(request.sealed && request.autoBounds);
        QCOMPARE(request.postprocess, (QStringList{u"weld"_s, u"remesh"_s}));
        QCOMPARE(request.boundsMin, QVector3D(-3, -3, -3));
        QCOMPARE(request.boundsMax, QVector3D(3, 3, 3));
        QCOMPARE(request.shaderSource, u"s"_s);
        QCOMPARE(request.directSourcePath, u"/y.stl"_s);
    }

    void strangeValuesAreDefaults()
    {
        const QVariantMap strange{{u"cellSize"_s, u"thick"_s},
                                  {u"chunkSize"_s, QVariantMap()},
                                  {u"backend"_s, 1},
                                  {u"algorithm"_s, u"magic"_s},
                                  {u"bounds.minX"_s, u"left"_s},
                                  {u"postprocess"_s, QString()}};
        const ExportRequest request = exportRequestFromPayload(strange, {});
        const ExportRequest usual;
        QCOMPARE(request.cellSize, usual.cellSize);
        QCOMPARE(request.chunkSize, usual.chunkSize);
        QCOMPARE(request.backend, usual.backend);
        QCOMPARE(request.algorithm, usual.algorithm);
        QCOMPARE(request.boundsMin, usual.boundsMin);
        QCOMPARE(request.postprocess, QStringList());
    }

    void sceneBecomesAFile()
    {
        MeshExportWorker worker(&m_contexts);
        support::JobRunner runner(&worker);
        QSignalSpy started(&worker, &MeshExportWorker::exportStarted);
        QSignalSpy finished(&worker, &MeshExportWorker::exportFinished);
        const quint64 id = runner.start(type, payload(0.2f));
        QCOMPARE(started.size(), 1);
        QVERIFY(!worker.canAccept());
        const batch::BatchJob job = runner.ended(id);
        QCOMPARE(job.status, BatchStatus::Done);
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished.first(), (QVariantList{id, true}));
        const ExportResult result = exportResultFromBatchResult(job.result);
        QCOMPARE(exportResultToBatchResult(result), job.result);
        const auto mesh = mesh::io::IORegistry<float>::instance().load(output());
        QVERIFY(mesh.isOk());
        QCOMPARE(qint64(mesh.value().elements.size()), result.triangleCount);
        QVERIFY(support::isClosedManifold(support::welded(mesh.value())));
        QVERIFY(runner.messages(id).contains(u"Starting mesh export..."_s));
        const auto [done, total] = runner.queue.progress(id);
        QVERIFY(done == total && total > 0);
        QVERIFY(!m_contexts.contains(u"key"_s));
    }

    void warningsGoToTheLog()
    {
        MeshExportWorker worker(&m_contexts);
        support::JobRunner runner(&worker);
        QVariantMap data = payload(0.2f);
        data.insert(u"bounds.maxX"_s, 1.0);
        data.insert(u"algorithm"_s, u"volume"_s);
        const quint64 id = runner.start(type, data);
        QCOMPARE(runner.ended(id).status, BatchStatus::Done);
        const QString log = runner.messages(id).join(u'\n');
        QVERIFY2(log.contains(u"Warning: export box: the surface is cut off at maxX"_s),
                 qPrintable(log));
    }

    void failureIsATextAndNoFile_data()
    {
        QTest::addColumn<QVariantMap>("change");
        QTest::addColumn<QString>("error");
        QTest::newRow("missing context") << QVariantMap{{u"snapshotId"_s, u"gone"_s}}
                                         << u"Missing export context for snapshot: gone"_s;
        QTest::newRow("unknown step") << QVariantMap{{u"postprocess"_s, u"polish"_s}}
                                      << u"unknown postprocess step 'polish'"_s;
        QTest::newRow("direct without source") << QVariantMap{{u"algorithm"_s, u"direct"_s}}
                                               << u"No source file path for direct export"_s;
        QTest::newRow("no gpu") << QVariantMap{{u"backend"_s, u"gpu"_s}}
                                << u"GPU backend initialization failed"_s;
    }
    void failureIsATextAndNoFile()
    {
        QFETCH(QVariantMap, change);
        QFETCH(QString, error);
        if (error.startsWith(u"GPU"))
            QTest::ignoreMessage(QtWarningMsg,
                                 "GpuChunkProcessor::initialize: no GPU-evaluation-capable QRhi "
                                 "(neither compute nor fragment lane) on this host");
        MeshExportWorker worker(&m_contexts);
        support::JobRunner runner(&worker);
        QSignalSpy finished(&worker, &MeshExportWorker::exportFinished);
        QVariantMap data = payload(0.5f);
        data.insert(change);
        const batch::BatchJob job = runner.run(type, data);
        QCOMPARE(job.status, BatchStatus::Failed);
        QCOMPARE(job.error, error);
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished.first().at(1), QVariant(false));
        QVERIFY(!QFile::exists(output()));
    }

    void unknownJobIsRefused()
    {
        MeshExportWorker worker(&m_contexts);
        batch::BatchQueue queue;
        QTest::ignoreMessage(QtWarningMsg, "BatchQueue::fail: job 5 not found");
        worker.execute(&queue, 5);
        QVERIFY(worker.canAccept());
    }

    void cancelKeepsTheOldFile_data()
    {
        QTest::addColumn<QString>("then");
        QTest::newRow("and that is all") << QString();
        QTest::newRow("and another job follows") << u"another job"_s;
        QTest::newRow("whose worker goes away") << u"no worker"_s;
    }
    void cancelKeepsTheOldFile()
    {
        QFETCH(QString, then);
        QVERIFY(support::put(output(), "old"));
        auto worker = std::make_unique<MeshExportWorker>(&m_contexts);
        support::JobRunner runner(worker.get());
        // So fine a grid that it takes hours.
        const quint64 id = runner.start(type, payload(0.002f));
        if (then == u"no worker"_s) {
            runner.registry.unregisterWorker(worker.get());
            worker.reset();
            QCOMPARE(runner.queue.job(id)->status, BatchStatus::InProgress);
        } else {
            QVERIFY(runner.queue.cancel(id));
            QCOMPARE(runner.ended(id).status, BatchStatus::Cancelled);
            QVERIFY(!m_contexts.contains(u"key"_s));
        }
        QCOMPARE(support::contentOf(output()), "old");
        if (then != u"another job"_s)
            return;
        // The slot is free again, and the next job is not disturbed by the one before.
        init();
        QCOMPARE(runner.run(type, payload(0.5f)).status, BatchStatus::Done);
    }

private:
    QString output() const { return m_folder->filePath(u"out.stl"_s); }
    QVariantMap payload(float cellSize) const
    {
        QVariantMap map = box(3);
        map.insert({{u"snapshotId"_s, u"key"_s},
                    {u"rootNodeIndex"_s, m_root},
                    {u"outputPath"_s, output()},
                    {u"cellSize"_s, cellSize}});
        return map;
    }

    QScopedPointer<QTemporaryDir> m_folder;
    MeshExportContextStore m_contexts;
    int m_root = 0;
};

QTEST_GUILESS_MAIN(TstMeshExportWorker)
#include "tst_MeshExportWorker.moc"
