#include <corvane/shader/ShaderBuildWorker.h>
#include <corvane/shader/ShaderValidationWorker.h>
#include <corvane/shader/ShadingPipelineWorker.h>
#include <support/JobRunner.h>

#include <QRegularExpression>
#include <QSemaphore>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace corvane::shader;
using support::JobRunner;

namespace {

const QString goodSource = uR"(#version 450
layout(location = 0) out vec4 color;
void main() { color = vec4(1.0); }
)"_s;
const QString badSource = u"#version 450\nvoid main() { nothing(); }\n"_s;

const QVariantMap snapshot{{u"snapshotId"_s, u"s"_s}};

bool isShader(const QVariant &serialized)
{
    return serialized.isValid() && QShader::fromSerialized(serialized.toByteArray()).isValid();
}

/// Compiles when it is let to.
class HeldWorker : public ShaderBuildWorker
{
public:
    using ShaderBuildWorker::ShaderBuildWorker;
    ~HeldWorker() override
    {
        go.release(100);
        waitForCompiles();
    }
    ::shader::CompileResult doCompile(const ShaderBuildContext &context) override
    {
        ++compiles;
        isOnMainThread = QThread::currentThread() == QCoreApplication::instance()->thread();
        go.acquire();
        return ShaderBuildWorker::doCompile(context);
    }

    std::atomic<int> compiles = 0;
    std::atomic<bool> isOnMainThread = false;
    QSemaphore go;
};

} // namespace

class TstShaderJobWorkers : public QObject
{
    Q_OBJECT

private slots:
    void init() { QTest::failOnWarning(QRegularExpression(u"^(?!QSpirvCompiler: )"_s)); }

    void eachIsWhatJobsAskFor()
    {
        const ShaderBuildWorker build(nullptr);
        const ShadingPipelineWorker shading(nullptr);
        const ShaderValidationWorker validation(nullptr);
        QCOMPARE(support::describe(build), u"corvane/shader_build_worker 1.0.0 corvane,shader "
                                           "corvane/shader_rebuild"_s);
        QCOMPARE(support::describe(shading),
                 u"corvane/shading_pipeline_worker 1.0.0 "
                 "corvane,shader,shading corvane/shading_pipeline_rebuild"_s);
        QCOMPARE(support::describe(validation),
                 u"corvane/shader_validation_worker 1.0.0 "
                 "corvane,shader,validation corvane/shader_validation"_s);
    }

    void aBuildAnswersAShaderOrTheCompilersWords()
    {
        ShaderBuildContextStore contexts;
        ShaderBuildWorker worker(&contexts);
        const QSignalSpy ends(&worker, &ShaderBuildWorker::compilationFinished);
        JobRunner runner(&worker);
        contexts.add(u"s"_s, {.source = goodSource, .name = u"good"_s});
        QVariantMap payload = snapshot;
        payload.insert(u"variant"_s, u"fragment"_s);
        const batch::BatchJob done = runner.run(u"corvane/shader_rebuild"_s, payload);
        QCOMPARE(done.status, batch::BatchStatus::Done);
        QVERIFY(isShader(done.result.value(u"shaderData"_s)));
        QCOMPARE(done.result.value(u"variant"_s), u"fragment"_s);
        QVERIFY(done.result.value(u"compileMs"_s).toLongLong() >= 0);
        QCOMPARE(runner.messages(done.id), QStringList(u"Starting shader compilation..."_s));

        contexts.add(u"s"_s, {.source = badSource, .name = u"bad"_s});
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Failed to compile shader:"_s));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Source \\(first 500"_s));
        const batch::BatchJob failed = runner.run(u"corvane/shader_rebuild"_s, snapshot);
        QCOMPARE(failed.status, batch::BatchStatus::Failed);
        QVERIFY2(failed.error.contains(u"'nothing' : no matching"_s), qPrintable(failed.error));
        QCOMPARE(contexts.size(), 0);

        const batch::BatchJob missing = runner.run(u"corvane/shader_rebuild"_s, snapshot);
        QCOMPARE(missing.error, u"Missing shader build context for snapshot: s"_s);
        QCOMPARE(ends, QList({QVariantList{done.id, true}, QVariantList{failed.id, false},
                              QVariantList{missing.id, false}}));
    }

    void fourCompileAsideWhileTheMainThreadGoesOn()
    {
        ShaderBuildContextStore contexts;
        HeldWorker worker(&contexts);
        JobRunner runner(&worker);
        contexts.add(u"s"_s, {.source = goodSource});
        QList<quint64> ids;
        for (int i = 0; i < 5; ++i)
            ids.append(runner.start(u"corvane/shader_rebuild"_s, snapshot));
        QVERIFY(!worker.canAccept());
        QCOMPARE(runner.queue.job(ids.at(3))->status, batch::BatchStatus::InProgress);
        QCOMPARE(runner.queue.job(ids.at(4))->status, batch::BatchStatus::Pending);
        QTRY_VERIFY(worker.compiles > 0);
        QVERIFY(!worker.isOnMainThread);
        // One that waits for a thread, and is cancelled, is not compiled.
        runner.queue.cancel(ids.at(3));
        runner.queue.cancel(ids.at(4));
        worker.go.release(100);
        for (const quint64 id : {ids.at(0), ids.at(1), ids.at(2)})
            QCOMPARE(runner.ended(id).status, batch::BatchStatus::Done);
        QTRY_VERIFY(runner.isIdle());
        QCOMPARE(runner.queue.job(ids.at(3))->status, batch::BatchStatus::Cancelled);
    }

    void aShadingPassHasItsBlitsWhereFramesAddUp_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<bool>("needsAccumulation");
        QTest::addColumn<QString>("error");
        QTest::newRow("alone") << goodSource << false << QString();
        QTest::newRow("adding up") << goodSource << true << QString();
        QTest::newRow("broken") << badSource << true << u"Shading shader compile failed: "_s;
    }
    void aShadingPassHasItsBlitsWhereFramesAddUp()
    {
        QFETCH(QString, source);
        QFETCH(bool, needsAccumulation);
        QFETCH(QString, error);
        ShadingPipelineContextStore contexts;
        ShadingPipelineWorker worker(&contexts);
        JobRunner runner(&worker);
        contexts.add(u"s"_s, {.source = source, .needsAccumulation = needsAccumulation});
        if (!error.isEmpty()) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Failed to compile shader:"_s));
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(u"Source \\(first 500"_s));
        }
        const batch::BatchJob job = runner.run(u"corvane/shading_pipeline_rebuild"_s, snapshot);
        QVERIFY(job.error.startsWith(error) && job.error.isEmpty() == error.isEmpty());
        if (!error.isEmpty())
            return;
        QVERIFY(isShader(job.result.value(u"shadingShaderData"_s)));
        QCOMPARE(job.result.value(u"needsAccumulation"_s).toBool(), needsAccumulation);
        QCOMPARE(isShader(job.result.value(u"blitVertShaderData"_s)), needsAccumulation);
        QCOMPARE(isShader(job.result.value(u"blitFragShaderData"_s)), needsAccumulation);
        QCOMPARE(runner.messages(job.id),
                 QStringList(u"Starting shading pipeline compilation..."_s));
        QCOMPARE(runner.run(u"corvane/shading_pipeline_rebuild"_s, snapshot).error,
                 u"Missing shading pipeline context for snapshot: s"_s);
    }

    void codeThatDoesNotCompileIsAResultToo()
    {
        ShaderValidationContextStore contexts;
        ShaderValidationWorker worker(&contexts);
        const QSignalSpy ends(&worker, &ShaderValidationWorker::validationFinished);
        JobRunner runner(&worker);
        const QString code = u"float sdf_it(vec3 p, float radius) { return length(p) - radius; }"_s;
        contexts.add(u"s"_s, {.source = u"#version 450\n"_s + code + goodSource.mid(13),
                              .userSource = code,
                              .wrapperLineOffset = 1});
        const QVariantMap good = runner.run(u"corvane/shader_validation"_s, snapshot).result;
        QVERIFY(good.value(u"success"_s).toBool());
        QCOMPARE(good.value(u"wrapperLineOffset"_s), 1);
        const QVariantList parameters = good.value(u"extractedParams"_s).toList();
        QCOMPARE(parameters.size(), 1);
        QCOMPARE(parameters.first().toMap().value(u"name"_s), u"radius"_s);
        QCOMPARE(parameters.first().toMap().value(u"displayName"_s), u"Radius"_s);

        contexts.add(u"s"_s, {.source = badSource});
        const batch::BatchJob bad = runner.run(u"corvane/shader_validation"_s, snapshot);
        QCOMPARE(bad.status, batch::BatchStatus::Done);
        QVERIFY(!bad.result.value(u"success"_s).toBool());
        const QVariantMap first = bad.result.value(u"diagnostics"_s).toList().constFirst().toMap();
        QCOMPARE(first.value(u"line"_s), 2);
        QCOMPARE(first.value(u"severity"_s), 0);
        QVERIFY(first.value(u"message"_s).toString().contains(u"'nothing'"_s));
        QCOMPARE(ends.last(), QVariantList({bad.id, false}));
        QCOMPARE(runner.run(u"corvane/shader_validation"_s, snapshot).error,
                 u"Missing shader validation context for snapshot: s"_s);
    }
};

QTEST_GUILESS_MAIN(TstShaderJobWorkers)
#include "tst_ShaderJobWorkers.moc"
