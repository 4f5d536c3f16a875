#include <corvane/asset/AssetStore.h>
#include <corvane/asset/MeshImportWorker.h>

#include <support/Files.h>
#include <support/JobRunner.h>
#include <support/MeshChecks.h>

#include <mesh/io/IORegistry.h>

#include <QFile>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using support::put;
using namespace corvane::asset;
using batch::BatchStatus;

namespace {

const QString type = u"corvane/mesh_import"_s;
using ResultPointer = QSharedPointer<const MeshImportResult>;

// Two triangles, of one material each.
constexpr auto twoColoured = "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\n"
                             "usemtl red\nf 1 2 3\nusemtl blue\nf 1 2 4\nf 1 3 4\n";
constexpr auto colours = "newmtl red\nKd 1 0 0\nnewmtl blue\nKd 0 0 1\n";

} // namespace

class TstMeshImportWorker : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_folder.reset(new QTemporaryDir);
        m_assets.clear();
        m_id = QUuid::createUuid();
    }

    void saysWhatItIs()
    {
        QCOMPARE(support::describe(MeshImportWorker(&m_assets, &m_contexts)),
                 u"corvane/mesh_import_worker 1.0.0 corvane,mesh,import corvane/mesh_import"_s);
    }

    void fileGoesIntoTheStore()
    {
        const QString path = m_folder->filePath(u"ball.stl"_s);
        const auto ball = support::makeSphere(1, 40, 80);
        QVERIFY(mesh::io::IORegistry<float>::instance().save(ball, path).isOk());
        MeshImportWorker worker(&m_assets, &m_contexts);
        support::JobRunner runner(&worker);
        QSignalSpy finished(&worker, &MeshImportWorker::importFinished);
        const batch::BatchJob job = importOf(runner, path);

        QCOMPARE(job.status, BatchStatus::Done);
        QCOMPARE(finished.size(), 1);
        QCOMPARE(finished.first(), (QVariantList{job.id, true}));
        QCOMPARE(job.result.value(u"faceCount"_s).toInt(), int(ball.elements.size()));
        QCOMPARE(job.result.value(u"vertexCount"_s).toInt(), int(ball.vertices.size()));
        QCOMPARE(job.result.value(u"isMultiMaterial"_s), QVariant(false));
        QVERIFY(!job.result.value(u"name"_s).toString().isEmpty());
        QCOMPARE(m_assets.meshData(m_id)->elements.size(), ball.elements.size());
        const auto levels = m_assets.lodSet(m_id).levels;
        QCOMPARE(levels.size(), MeshImportWorker::levelCount);
        QCOMPARE(levels.first().data.triangleCount, int(ball.elements.size()));
        QVERIFY(levels.last().data.triangleCount < int(ball.elements.size()) / 4);
        QCOMPARE(m_assets.renderMesh(m_id), levels.first().data);
        QCOMPARE(runner.messages(job.id), QStringList(u"Loading mesh from: %1"_s.arg(path)));
        QCOMPARE(runner.queue.progress(job.id), batch::BatchQueue::Progress(100, 100));
        QVERIFY(m_contexts.size() == 0);
    }

    void materialsBecomeParts()
    {
        const QStringList names{u"red"_s, u"blue"_s};
        const QList<int> vertices{3, 4};
        const QString path = m_folder->filePath(u"part.obj"_s);
        put(path, twoColoured);
        put(m_folder->filePath(u"m.mtl"_s), colours);
        MeshImportWorker worker(&m_assets, &m_contexts);
        support::JobRunner runner(&worker);
        ResultPointer result;
        connect(&worker, &MeshImportWorker::imported, this,
                [&](quint64, const ResultPointer &filed) { result = filed; });
        const batch::BatchJob job = importOf(runner, path);
        QCOMPARE(job.status, BatchStatus::Done);
        QVERIFY(result);
        QVERIFY(result->isMultiMaterial);
        QCOMPARE(job.result.value(u"isMultiMaterial"_s).toBool(), result->isMultiMaterial);
        QCOMPARE(result->parts.size(), names.size());
        QCOMPARE(result->partLevels.size(), names.size());
        for (qsizetype i = 0; i < names.size(); ++i) {
            const auto &part = result->parts.at(i);
            QCOMPARE(part.name, names.at(i));
            QCOMPARE(int(part.mesh.vertices.size()), vertices.at(i));
            QCOMPARE(qsizetype(result->partLevels.at(i).levels.first().data.triangleCount),
                     part.mesh.elements.size());
        }
        QCOMPARE(result->assetId, m_id);
    }

    void failureLeavesTheStoreAlone_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("error");
        QTest::newRow("no such file")
            << u"gone.stl"_s << u"Failed to load mesh: File not found: "_s;
        QTest::newRow("unknown format") << u"a.xyz"_s << u"Failed to load mesh: No importer"_s;
        QTest::newRow("damaged") << u"damaged.ply"_s << u"Failed to load mesh: "_s;
    }
    void failureLeavesTheStoreAlone()
    {
        QFETCH(QString, name);
        QFETCH(QString, error);
        const QString path = m_folder->filePath(name);
        if (!name.startsWith(u"gone"_s))
            put(path, "ply\nformat ascii 1.0\nelement vertex 9\n");
        m_assets.storeMeshData(m_id,
                               QSharedPointer<support::FloatMesh>::create(support::makeCube()));
        MeshImportWorker worker(&m_assets, &m_contexts);
        support::JobRunner runner(&worker);
        QSignalSpy finished(&worker, &MeshImportWorker::importFinished);
        const batch::BatchJob job = importOf(runner, path);
        QCOMPARE(job.status, BatchStatus::Failed);
        QVERIFY2(job.error.startsWith(error), qPrintable(job.error));
        QVERIFY(job.error.count(u"Failed to load mesh"_s) == 1);
        QCOMPARE(finished.first().at(1), QVariant(false));
        QCOMPARE(m_assets.meshData(m_id)->vertices.size(), 8);
    }

    void missingContextIsSaid()
    {
        MeshImportWorker worker(&m_assets, &m_contexts);
        support::JobRunner runner(&worker);
        const batch::BatchJob job = runner.run(type, {{u"snapshotId"_s, u"gone"_s}});
        QCOMPARE(job.error, u"Missing import context for snapshot: gone"_s);
        QVERIFY(worker.canAccept());
    }

    void whatNobodyWaitsForIsNotFiled_data()
    {
        QTest::addColumn<bool>("workerGoes");
        QTest::newRow("cancelled") << false;
        QTest::newRow("worker goes away") << true;
    }
    void whatNobodyWaitsForIsNotFiled()
    {
        QFETCH(bool, workerGoes);
        const QString path = m_folder->filePath(u"ball.stl"_s);
        QVERIFY(mesh::io::IORegistry<float>::instance()
                    .save(support::makeSphere(1, 200, 400), path)
                    .isOk());
        auto worker = std::make_unique<MeshImportWorker>(&m_assets, &m_contexts);
        support::JobRunner runner(worker.get());
        QSignalSpy finished(worker.get(), &MeshImportWorker::importFinished);
        m_contexts.add(u"key"_s, {.absolutePath = path, .assetId = m_id});
        const quint64 id = runner.start(type, {{u"snapshotId"_s, u"key"_s}});
        if (workerGoes) {
            runner.registry.unregisterWorker(worker.get());
            worker.reset();
            QCoreApplication::processEvents();
            QCOMPARE(runner.queue.job(id)->status, BatchStatus::InProgress);
        } else {
            QVERIFY(runner.queue.cancel(id));
            QTRY_COMPARE(finished.size(), 1);
            QCOMPARE(runner.queue.job(id)->status, BatchStatus::Cancelled);
            QVERIFY(m_contexts.size() == 0);
        }
        QVERIFY(!m_assets.hasRenderMesh(m_id));
    }

    void twoAtOnceAndNoMore()
    {
        const QString path = m_folder->filePath(u"ball.stl"_s);
        QVERIFY(mesh::io::IORegistry<float>::instance()
                    .save(support::makeSphere(1, 20, 40), path)
                    .isOk());
        MeshImportWorker worker(&m_assets, &m_contexts);
        support::JobRunner runner(&worker);
        QList<quint64> ids;
        for (const QString &key : {u"a"_s, u"b"_s, u"c"_s}) {
            m_contexts.add(key, {.absolutePath = path, .assetId = QUuid::createUuid()});
            ids.append(runner.start(type, {{u"snapshotId"_s, key}}));
        }
        QCOMPARE(runner.queue.count(BatchStatus::InProgress), 2);
        QCOMPARE(runner.queue.job(ids.last())->status, BatchStatus::Pending);
        QTRY_COMPARE(runner.queue.count(BatchStatus::Done), 2);
        runner.dispatcher.onTimer();
        QCOMPARE(runner.ended(ids.last()).status, BatchStatus::Done);
        QCOMPARE(m_assets.recentlyUsed().size(), 3);
    }

private:
    batch::BatchJob importOf(support::JobRunner &runner, const QString &path)
    {
        m_contexts.add(u"key"_s, {.absolutePath = path, .assetId = m_id});
        return runner.run(type, {{u"snapshotId"_s, u"key"_s}});
    }

    QScopedPointer<QTemporaryDir> m_folder;
    AssetStore m_assets;
    MeshImportContextStore m_contexts;
    QUuid m_id;
};

QTEST_GUILESS_MAIN(TstMeshImportWorker)
#include "tst_MeshImportWorker.moc"
