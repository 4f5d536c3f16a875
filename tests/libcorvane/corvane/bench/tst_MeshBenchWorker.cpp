#include <corvane/bench/MeshBenchWorker.h>

#include <support/Files.h>
#include <support/JobRunner.h>
#include <support/SqlRows.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using batch::BatchStatus;
using corvane::bench::MeshBenchWorker;
using support::contentOf;

namespace {

const QString type = u"corvane/mesh-bench"_s;

constexpr auto ball = R"(corvane:
  settings:
    export:
      bounds: {minX: -1.5, minY: -1.5, minZ: -1.5, maxX: 1.5, maxY: 1.5, maxZ: 1.5}
      cellSize: 0.2
  instances:
    ball:
      type: sphere
      params:
        radius: 1.0
)";

constexpr auto endless = R"(corvane:
  definitions:
    - id: bench_endless
      name: Endless
      category: Mine
      shaderCode: "float sdf_bench_endless(vec3 p) { float s = 0.0; while (true) { while (true) { while (true) { s = s + 1.0; } } } return s; }"
  instances:
    one:
      type: bench_endless
)";

} // namespace

class TstMeshBenchWorker : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_folder.reset(new QTemporaryDir);
        write(u"scenes/ball.corvane"_s, ball);
        write(u"definitions/a_mc.json"_s, R"({"name": "mc", "postprocess": ["weld"]})");
        write(u"definitions/b_dc.json"_s,
              R"({"name": "dc", "extractor": "DC", "cellSize": 0.25, "postprocess": ["weld"]})");
    }

    void saysWhatItIs()
    {
        QCOMPARE(
            support::describe(MeshBenchWorker()),
            u"corvane/mesh-bench_worker 1.0.0 corvane,mesh,bench corvane/mesh-bench,mesh-export-bench"_s);
    }

    void setLeavesRowsMeshesAndAReport_data()
    {
        QTest::addColumn<QString>("jobType");
        QTest::newRow("corvane/mesh-bench") << type;
        QTest::newRow("mesh-export-bench") << u"mesh-export-bench"_s;
    }
    void setLeavesRowsMeshesAndAReport()
    {
        QFETCH(QString, jobType);
        write(u"scenes/a_cube.corvane"_s,
              QByteArray(ball)
                  .replace("sphere", "box")
                  .replace("radius: 1.0", "width: 1.0\n        height: 0.5\n        depth: 0.8"));
        MeshBenchWorker worker({.version = 2, .commit = u"abc"_s, .branch = u"main"_s});
        support::JobRunner runner(&worker);
        const batch::BatchJob job = runner.run(jobType, payload());
        QVERIFY2(job.status == BatchStatus::Done, qPrintable(job.error));
        QCOMPARE(job.result.value(u"cells"_s).toInt(), 4);
        QCOMPARE(job.result.value(u"exportOk"_s).toInt(), 4);
        QCOMPARE(job.result.value(u"gateOk"_s).toInt(), 4);
        QCOMPARE(runner.queue.progress(job.id), batch::BatchQueue::Progress(4, 4));
        const QStringList messages = runner.messages(job.id);
        QCOMPARE(messages.first(),
                 u"Bench set 'mesh-export-bench': 2 scenes × 2 definitions, db=%1"_s.arg(
                     path(u"results.db"_s)));
        QCOMPARE(messages.last(), u"Finished: 4/4 cells exported, 4 pass the §MQ-2 gate"_s);

        QCOMPARE(rows(u"SELECT name, description FROM test_sets"_s),
                 QStringList(u"mesh-export-bench|corvane-mesh-quality bench (§BM)"_s));
        QCOMPARE(rows(u"SELECT config_name, ordering, iterations FROM test_configs ORDER BY id"_s),
                 (QStringList{u"mc|0|2"_s, u"dc|1|2"_s}));
        QCOMPARE(rows(u"SELECT config_name, total_runs, success_count, code_version, git_commit, "
                      "git_branch, master_seed FROM sessions WHERE finished_at IS NOT NULL ORDER "
                      "BY id"_s),
                 (QStringList{u"mc|2|2|2|abc|main|0"_s, u"dc|2|2|2|abc|main|0"_s}));
        QCOMPARE(rows(u"SELECT session_id, iteration, success, closed, boundary_edges FROM runs "
                      "ORDER BY id"_s),
                 (QStringList{u"1|0|1|1|0"_s, u"2|0|1|1|0"_s, u"1|1|1|1|0"_s, u"2|1|1|1|0"_s}));
        // The scene's cell size, and the definition's.
        QCOMPARE(rows(u"SELECT DISTINCT round(cell_size, 3) FROM runs ORDER BY 1"_s),
                 (QStringList{u"0.2"_s, u"0.25"_s}));
        QCOMPARE(rows(u"SELECT COUNT(*) FROM runs WHERE surface_p95 < 0.1 AND score > 10 AND "
                      "triangle_count > 100 AND export_seconds >= 0 AND metrics_seconds >= 0"_s),
                 QStringList(u"4"_s));
        const auto params =
            QJsonDocument::fromJson(rows(u"SELECT params_json FROM sessions"_s).first().toUtf8())
                .object();
        QCOMPARE(params.value("definition"_L1).toObject().value("name"_L1).toString(), u"mc"_s);
        QCOMPARE(params.value("scenes"_L1).toArray(), (QJsonArray{u"a_cube"_s, u"ball"_s}));
        QCOMPARE(params.value("scenePaths"_L1).toArray().size(), 2);
        QVERIFY(params.contains("note"_L1));

        QCOMPARE(QDir(path(u"out"_s)).entryList(QDir::Files, QDir::Name),
                 (QStringList{u"a_cube__dc.ply"_s, u"a_cube__mc.ply"_s, u"ball__dc.ply"_s,
                              u"ball__mc.ply"_s}));
        QCOMPARE(job.result.value(u"reportPath"_s).toString(), path(u"results-set1.html"_s));
        QVERIFY(contentOf(path(u"results-set1.html"_s)).contains("a_cube"));
    }

    void anotherRunAddsATestSet()
    {
        QFile::remove(path(u"definitions/b_dc.json"_s));
        MeshBenchWorker worker;
        support::JobRunner runner(&worker);
        QVariantMap data = payload();
        QCOMPARE(runner.run(type, data).status, BatchStatus::Done);
        data.insert(u"testSetName"_s, u"again"_s);
        QCOMPARE(runner.run(type, data).status, BatchStatus::Done);
        QCOMPARE(rows(u"SELECT name FROM test_sets ORDER BY id"_s),
                 (QStringList{u"mesh-export-bench"_s, u"again"_s}));
        QCOMPARE(rows(u"SELECT COUNT(*) FROM runs"_s), QStringList(u"2"_s));
        QVERIFY(QFile::exists(path(u"results-set2.html"_s)));
    }

    void cellThatFailsIsARow_data()
    {
        QTest::addColumn<QByteArray>("scene");
        QTest::addColumn<QByteArray>("definition");
        QTest::addColumn<int>("timeoutMs");
        QTest::addColumn<QString>("error");
        QTest::newRow("scene that is none") << QByteArray("\x00\x01\xff\xfe", 4) << QByteArray("{}")
                                            << 0 << u"cannot load scene: "_s;
        QTest::newRow("empty scene") << QByteArray("corvane:\n  name: nothing\n")
                                     << QByteArray("{}") << 0 << u"scene has no geometry"_s;
        QTest::newRow("grid that takes hours")
            << QByteArray(ball) << QByteArray(R"({"cellSize": 0.0005})") << 200
            << u"export timed out after 200 ms"_s;
        QTest::newRow("endless field") << QByteArray(endless) << QByteArray(R"({"cellSize": 0.5})")
                                       << 200 << u"export timed out after 200 ms"_s;
        QTest::newRow("no such back-end here")
            << QByteArray(ball) << QByteArray(R"({"backend": "GPU"})") << 0
            << u"export failed: GPU backend initialization failed"_s;
        QTest::newRow("nothing in the box")
            << QByteArray(ball).replace("minX: -1.5", "minX: 1.2") << QByteArray("{}") << 0
            << u"export failed: Export produced no triangles"_s;
    }
    void cellThatFailsIsARow()
    {
        QFETCH(QByteArray, scene);
        QFETCH(QByteArray, definition);
        QFETCH(int, timeoutMs);
        QFETCH(QString, error);
        write(u"scenes/a_bad.corvane"_s, scene);
        write(u"definitions/a_mc.json"_s, definition);
        QFile::remove(path(u"definitions/b_dc.json"_s));
        MeshBenchWorker worker;
        support::JobRunner runner(&worker);
        QVariantMap data = payload();
        data.insert(u"exportTimeoutMs"_s, timeoutMs);
        data.insert(u"scenePaths"_s, QStringList(path(u"scenes/a_bad.corvane"_s)));
        if (definition.contains("GPU"))
            QTest::ignoreMessage(QtWarningMsg,
                                 QRegularExpression(u"no GPU-evaluation-capable QRhi"_s));
        const batch::BatchJob job = runner.run(type, data);
        QCOMPARE(job.status, BatchStatus::Failed); // as there is no other cell
        const QString all = u"1 of 1 cells failed; the first, a_bad × a_mc: "_s;
        QVERIFY2(job.error.startsWith(all + error), qPrintable(job.error));
        QCOMPARE(rows(u"SELECT iteration, success, score, surface_p95 IS NULL FROM runs"_s),
                 QStringList(u"0|0|0|1"_s));
        const QStringList said = runner.messages(job.id).filter(u"a_bad × a_mc: "_s + error);
        QVERIFY2(said.size() == 1, qPrintable(runner.messages(job.id).join(u'\n')));
        QVERIFY(contentOf(path(u"results-set1.html"_s)).contains("failed"));
    }

    void failuresAreToldOfASetThatIsDone()
    {
        write(u"scenes/a_bad.corvane"_s, "corvane:\n  name: nothing\n");
        MeshBenchWorker worker;
        support::JobRunner runner(&worker);
        const batch::BatchJob job = runner.run(type, payload());
        QVERIFY2(job.status == BatchStatus::Done, qPrintable(job.error));
        QCOMPARE(job.result.value(u"exportOk"_s).toInt(), 2);
        QCOMPARE(job.result.value(u"failures"_s).toString(),
                 u"2 of 4 cells failed; the first, a_bad × mc: scene has no geometry"_s);
    }

    void failuresOfTheWholeEndTheJob_data()
    {
        QTest::addColumn<QVariantMap>("change");
        QTest::addColumn<QString>("error");
        const QString missing = u"Job data needs scenes (scenesDir|scenePaths), definitions "
                                "(definitionsDir|definitionPaths), dbPath and artifactsDir"_s;
        for (const QString &key :
             {u"scenesDir"_s, u"definitionsDir"_s, u"dbPath"_s, u"artifactsDir"_s})
            QTest::newRow(qPrintable(u"no "_s + key)) << QVariantMap{{key, QVariant()}} << missing;
        QTest::newRow("empty folder")
            << QVariantMap{{u"scenesDir"_s, u"out/empty"_s}} << u"empty corpus or definitions"_s;
        QTest::newRow("definition that is gone")
            << QVariantMap{{u"definitionPaths"_s, QStringList(u"/gone.json"_s)}}
            << u"Cannot open /gone.json"_s;
        QTest::newRow("definition that is none")
            << QVariantMap{{u"definitionPaths"_s, QStringList(u"scenes/ball.corvane"_s)}}
            << u"Bad JSON in *"_s;
        QTest::newRow("artifacts in a file")
            << QVariantMap{{u"artifactsDir"_s, u"scenes/ball.corvane"_s}}
            << u"cannot create artifacts dir *"_s;
        QTest::newRow("database that is none")
            << QVariantMap{{u"dbPath"_s, u"scenes/ball.corvane"_s}} << u"DB open failed: *"_s;
    }
    void failuresOfTheWholeEndTheJob()
    {
        QFETCH(QVariantMap, change);
        QFETCH(QString, error);
        QVariantMap data = payload();
        for (auto it = change.cbegin(); it != change.cend(); ++it) {
            const bool isPath = it->typeId() == QMetaType::QString;
            data.insert(it.key(), isPath ? QVariant(path(it->toString())) : *it);
        }
        if (change.contains(u"definitionPaths"_s) && error.endsWith(u'*'))
            data.insert(u"definitionPaths"_s, QStringList(path(u"scenes/ball.corvane"_s)));
        if (error.startsWith(u"DB"_s))
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Failed to open"_s));
        MeshBenchWorker worker;
        support::JobRunner runner(&worker);
        const batch::BatchJob job = runner.run(type, data);
        QCOMPARE(job.status, BatchStatus::Failed);
        QVERIFY2(error.endsWith(u'*') ? job.error.startsWith(error.chopped(1)) : job.error == error,
                 qPrintable(job.error));
        QVERIFY(worker.canAccept());
    }

    void unknownExtractorRunsMarchingCubes()
    {
        write(u"definitions/b_dc.json"_s,
              R"({"name": "dc", "extractor": "magic", "postprocess": ["weld"]})");
        MeshBenchWorker worker;
        support::JobRunner runner(&worker);
        QCOMPARE(runner.run(type, payload()).status, BatchStatus::Done);
        const QByteArray mesh = contentOf(path(u"out/ball__mc.ply"_s));
        QVERIFY(!mesh.isEmpty());
        QCOMPARE(contentOf(path(u"out/ball__dc.ply"_s)), mesh);
    }

    void namesStayInTheFolder()
    {
        write(u"definitions/a_mc.json"_s, R"({"name": "../../<mc>", "postprocess": ["weld"]})");
        MeshBenchWorker worker;
        support::JobRunner runner(&worker);
        QCOMPARE(runner.run(type, payload()).status, BatchStatus::Done);
        QCOMPARE(QDir(path(u"out"_s)).entryList(QDir::Files, QDir::Name),
                 (QStringList{u"ball___._..__mc_.ply"_s, u"ball__dc.ply"_s}));
        QVERIFY(!contentOf(path(u"results-set1.html"_s)).contains("<mc>"));
    }

    void cancelKeepsWhatIsDone_data()
    {
        QTest::addColumn<bool>("workerGoes");
        QTest::newRow("cancelled") << false;
        QTest::newRow("worker goes away") << true;
    }
    void cancelKeepsWhatIsDone()
    {
        QFETCH(bool, workerGoes);
        // The first definition is done soon, the second takes hours.
        write(u"definitions/b_dc.json"_s, R"({"name": "fine", "cellSize": 0.0005})");
        auto worker = std::make_unique<MeshBenchWorker>();
        support::JobRunner runner(worker.get());
        const quint64 id = runner.start(type, payload());
        QVERIFY(QTest::qWaitFor([&] { return runner.queue.progress(id).first == 1; },
                                support::JobRunner::patienceMs));
        QVERIFY(!worker->canAccept());
        if (workerGoes) {
            runner.registry.unregisterWorker(worker.get());
            worker.reset();
            QCOMPARE(runner.queue.job(id)->status, BatchStatus::InProgress);
        } else {
            QVERIFY(runner.queue.cancel(id));
            QCOMPARE(runner.ended(id).status, BatchStatus::Cancelled);
        }
        QCOMPARE(rows(u"SELECT iteration, success FROM runs"_s), QStringList(u"0|1"_s));
        QVERIFY(!QFile::exists(path(u"results-set1.html"_s)));
    }

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    void write(const QString &name, const QByteArray &text) const
    {
        QVERIFY(support::put(path(name), text));
    }
    QVariantMap payload() const
    {
        return {{u"scenesDir"_s, path(u"scenes"_s)},
                {u"definitionsDir"_s, path(u"definitions"_s)},
                {u"dbPath"_s, path(u"results.db"_s)},
                {u"artifactsDir"_s, path(u"out"_s)}};
    }
    QStringList rows(const QString &sql) const
    {
        return support::rowsOf(path(u"results.db"_s), sql);
    }

    QScopedPointer<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(TstMeshBenchWorker)
#include "tst_MeshBenchWorker.moc"
