#include "TaskFixture.h"

#include <corvane/bench/TestDB.h>
#include <corvane/tasks/MeshTasks.h>

#include <batch/BatchQueue.h>
#include <support/PostgresServer.h>

#include <QRegularExpression>
#include <QScopeGuard>
#include <QSqlDatabase>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace corvane::zirn;
using lab::TestDB;

namespace {

// Two definitions over two scenes; the second definition has no mesh of the second scene.
void fill(TestDB &database)
{
    QVERIFY2(database.open(), qPrintable(database.errorString()));
    QVERIFY(database.addMetricColumns(
        {u"surface_mean"_s, u"feature_mean"_s, u"triangle_count"_s, u"manifold"_s}));
    const qint64 set = database.insertTestSet(u"set"_s, {});
    const QString params = uR"({"scenes": ["gear", "plate"]})"_s;
    for (int definition = 0; definition < 2; ++definition) {
        const QString name = definition == 0 ? u"mc"_s : u"dc"_s;
        const qint64 config = database.insertConfig(set, name, definition, params, 2);
        const qint64 session = database.insertSession(config, name, params, {});
        for (int scene = 0; scene < 2; ++scene) {
            const bool failed = definition == 1 && scene == 1;
            TestDB::Metrics metrics{{u"surface_mean"_s, 0.25 / (definition + 1)},
                                    {u"triangle_count"_s, 1000 >> definition},
                                    {u"manifold"_s, 1}};
            if (failed)
                metrics.clear();
            QVERIFY(database.insertRun(session, scene, !failed, failed ? 0 : 50, metrics));
        }
    }
}

QJsonArray arrayOf(const QString &json)
{
    return QJsonDocument::fromJson(json.toUtf8()).array();
}

} // namespace

class TstMeshTasks : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u".*"_s)); }

    void resultsAreReadAndCompared_data()
    {
        QTest::addColumn<bool>("onServer");
        QTest::newRow("SQLite") << false;
        QTest::newRow("PostgreSQL") << true;
    }
    void resultsAreReadAndCompared()
    {
        QFETCH(bool, onServer);
        const QTemporaryDir folder;
        support::PostgresServer server;
        if (onServer) {
            if (!server.isInstalled() || !QSqlDatabase::isDriverAvailable(u"QPSQL"_s))
                QSKIP("PostgreSQL (postgresql, libqt6sql6-psql) is not installed");
            QVERIFY(server.start());
        }
        const QString target = onServer ? server.url() : folder.filePath(u"results.db"_s);
        TaskFixture fixture;
        // Reading makes nothing: a second attempt finds as little as the first.
        for (int attempt = 0; attempt < 2; ++attempt) {
            const auto none = fixture.call(u"mesh.bench.query"_s, {{u"dbPath"_s, target}});
            QVERIFY(!none.success);
            QVERIFY2(none.message.contains(onServer ? u"does not exist"_s : u"no such file"_s),
                     qPrintable(none.message));
        }
        auto database = TestDB::fromTarget(target, u"writer"_s);
        fill(database);
        fill(database);

        const auto all = fixture.call(u"mesh.bench.query"_s, {{u"dbPath"_s, target}});
        QVERIFY2(all.success, qPrintable(all.message));
        QCOMPARE(all.outputs.value(u"count"_s), u"4"_s);
        const QJsonObject first = arrayOf(all.outputs.value(u"rows"_s)).first().toObject();
        QCOMPARE(first.value("scene"_L1).toString(), u"gear"_s);
        QCOMPARE(first.value("definition"_L1).toString(), u"mc"_s);
        QVERIFY(first.value("success"_L1).toBool());
        QCOMPARE(first.value("triangle_count"_L1).toDouble(), 1000.0);
        QVERIFY(!first.contains("feature_mean"_L1)); // was not measured
        const auto one = fixture.call(u"mesh.bench.query"_s, {{u"dbPath"_s, target},
                                                              {u"testSetId"_s, 1},
                                                              {u"scene"_s, u"plate"_s},
                                                              {u"definition"_s, u"dc"_s}});
        QCOMPARE(one.outputs.value(u"count"_s), u"1"_s);
        const QJsonObject row = arrayOf(one.outputs.value(u"rows"_s)).first().toObject();
        QVERIFY(!row.value("success"_L1).toBool(true));

        const auto compared = fixture.call(
            u"mesh.bench.compare"_s,
            {{u"dbPath"_s, target}, {u"definitionA"_s, u"mc"_s}, {u"definitionB"_s, u"dc"_s}});
        QVERIFY2(compared.success, qPrintable(compared.message));
        QCOMPARE(
            compared.outputs.value(u"summary"_s),
            u"mc vs dc over 2 scenes: triangles 2000 → 500 (×0.25), surface mean 0.25 → 0.125, "
            u"manifold gate 2/2 → 1/2"_s);
        const QJsonArray scenes = arrayOf(compared.outputs.value(u"comparison"_s));
        QCOMPARE(scenes.size(), 2);
        QVERIFY(scenes.last().toObject().value("trianglesB"_L1).isNull());
    }

    void aBenchIsQueuedAsADescribedJob()
    {
        TaskFixture fixture;
        batch::BatchQueue queue;
        setBenchQueue(&queue);
        const auto leave = qScopeGuard([] { setBenchQueue(nullptr); });
        const auto result = fixture.call(u"mesh.bench.run"_s, {{u"scenesDir"_s, u"s"_s},
                                                               {u"definitionsDir"_s, u"d"_s},
                                                               {u"dbPath"_s, u"r.db"_s},
                                                               {u"artifactsDir"_s, u"a"_s}});
        QCOMPARE(result.message, u"Queued bench set as batch job #1; query the results DB when it "
                                 u"completes."_s);
        const auto job = queue.job(result.outputs.value(u"jobId"_s).toULongLong());
        QVERIFY(job);
        QCOMPARE(job->type, u"corvane/mesh-bench"_s);
        QCOMPARE(job->source, u"mesh.bench.run"_s);
        QCOMPARE(job->origin, u"zirn"_s);
        QCOMPARE(job->priority, 50);
        QCOMPARE(job->hungTimeoutSeconds, 0);
        QCOMPARE(job->payload.value(u"testSetName"_s).toString(), u"mesh-export-bench"_s);
        QCOMPARE(job->payload.value(u"dbPath"_s).toString(), u"r.db"_s);
    }
};

QTEST_GUILESS_MAIN(TstMeshTasks)
#include "tst_MeshTasks.moc"
