#include <corvane/bv/BoundsDetectionWorker.h>

#include <corvane/eval/FieldCompiler.h>
#include <corvane/jobs/JobWatch.h>

#include <batch/BatchQueue.h>

namespace corvane::bv {

using namespace Qt::StringLiterals;

namespace {

/// One detection: the field of a context, and the search over it.
class Detection
{
public:
    using Log = std::function<void(batch::BatchLogLevel, const QString &)>;

    Detection(const BoundsDetectionContext &context, const std::atomic_bool &cancelFlag, Log log)
        : m_context(context)
        , m_cancelFlag(cancelFlag)
        , m_log(std::move(log))
    {}

    using Progress = decltype(BoundsDetector::Config::progress);

    BoundsDetectionResult run(const Progress &progress)
    {
        QString error;
        if (!compile(error))
            return failed(error);
        const auto evaluator = makeEvaluator();
        if (!evaluator->isValid())
            return failed(
                u"Bounds detection: evaluator init failed: %1"_s.arg(evaluator->lastError()));
        BoundsDetector::Config config;
        config.threads = QThread::idealThreadCount();
        config.evaluatorFactory = [this] { return makeEvaluator(); };
        config.progress = progress;
        m_log(batch::BatchLogLevel::Info,
              u"Bounds detection using %1 (parallel × %2 threads)."_s.arg(
                  evaluator->backendName(), QString::number(config.threads)));
        return BoundsDetector::detectAdaptive(evaluator.get(), config);
    }

private:
    static BoundsDetectionResult failed(const QString &error)
    {
        BoundsDetectionResult result;
        result.error = error;
        return result;
    }

    bool compile(QString &error)
    {
        if (m_context.nodes.isEmpty()) {
            error = u"Bounds detection: scene has no SDF nodes"_s;
            return false;
        }
        auto scene = eval::SdfSceneGraphBuilder::build(m_context.nodes, m_context.rootIndex,
                                                       m_context.definitions);
        if (!scene.error.isEmpty()) {
            error = u"Bounds detection: scene-graph build failed: %1"_s.arg(scene.error);
            return false;
        }
        m_field = compileFor(scene);
        if (!m_field.program)
            error = u"Bounds detection: eval compile failed: %1"_s.arg(diagnostic());
        return error.isEmpty();
    }

    eval::CompiledField compileFor(eval::SdfSceneGraphBuilder::Result &scene)
    {
        if (m_context.backend == "cpu"_L1) {
            m_log(batch::BatchLogLevel::Info,
                  u"Backend = libeval Interpreted (user selected CPU)."_s);
            return eval::compileField(scene, ::eval::Backend::Interpreted);
        }
        if (m_context.backend == "gpu"_L1)
            m_log(batch::BatchLogLevel::Info,
                  u"Backend = libeval Native (GPU bounds path not yet available — Phase 9)."_s);
        const eval::CompiledField native = eval::compileField(scene, ::eval::Backend::Native);
        if (native.program)
            return native;
        m_log(batch::BatchLogLevel::Warning,
              u"No native code (%1): the field is interpreted."_s.arg(native.error));
        return eval::compileField(scene, ::eval::Backend::Interpreted);
    }

    QString diagnostic() const
    {
        return m_field.error == "<no diag>"_L1 ? u"<no diagnostics>"_s : m_field.error;
    }

    std::unique_ptr<eval::EvalFieldEvaluator> makeEvaluator() const
    {
        auto evaluator = std::make_unique<eval::EvalFieldEvaluator>(
            m_field.program, m_field.positionHandle, m_field.distanceHandle);
        evaluator->setCancelFlag(&m_cancelFlag);
        return evaluator;
    }

    const BoundsDetectionContext &m_context;
    const std::atomic_bool &m_cancelFlag;
    const Log m_log;
    eval::CompiledField m_field;
};

QString statusText(const BoundsDetectionResult &result)
{
    return u"Bounds detected in %1ms (%2 samples, %3)"_s.arg(
        QString::number(result.detectionTimeMs), QString::number(result.totalSamples),
        result.evaluatorBackend);
}

} // namespace

BoundsDetectionWorker::BoundsDetectionWorker(BoundsDetectionContextStore *contexts, QObject *parent)
    : lab::BatchWorkerBase(parent)
    , m_contexts(contexts)
{
    qRegisterMetaType<BoundsDetectionResult>();
}

BoundsDetectionWorker::~BoundsDetectionWorker()
{
    if (m_watch)
        m_watch->giveUp();
    waitForCoordinator();
}

QString BoundsDetectionWorker::workerId() const
{
    return u"corvane/bounds_detection_worker"_s;
}

QString BoundsDetectionWorker::workerVersion() const
{
    return u"1.0.0"_s;
}

QStringList BoundsDetectionWorker::workerTags() const
{
    return {u"corvane"_s, u"bounds"_s};
}

QStringList BoundsDetectionWorker::supportedTypes() const
{
    return {u"corvane/bounds_detection"_s};
}

void BoundsDetectionWorker::execute(batch::BatchQueue *queue, quint64 jobId)
{
    const auto refuse = [&](const QString &error) {
        BoundsDetectionResult result;
        result.error = error;
        queue->fail(jobId, error);
        emit detectionFinished(jobId, false, result);
    };
    if (!canAccept())
        return refuse(u"Bounds detection is busy with another job"_s);
    const auto job = queue->job(jobId);
    if (!job)
        return refuse(u"Job not found"_s);
    const QString snapshotId = job->payload.value(u"snapshotId"_s).toString();
    const auto context = m_contexts->lookup(snapshotId);
    if (!context)
        return refuse(u"Missing bounds detection context for snapshot: %1"_s.arg(snapshotId));
    m_watch = std::make_unique<jobs::JobWatch>(queue, jobId);
    const auto body = [this, queue, jobId, snapshotId, context = *context] {
        const auto detect = [&] { work(queue, jobId, snapshotId, context); };
        if (failUnlessGood(queue, jobId, detect))
            return;
        BoundsDetectionResult result;
        result.error = u"Bounds detection broke off"_s;
        emit detectionFinished(jobId, false, result);
    };
    if (!startCoordinator(u"Ondrel.corvane.bounds-detection"_s, body))
        refuse(u"Bounds detection: the system starts no further thread"_s);
}

void BoundsDetectionWorker::work(batch::BatchQueue *queue, quint64 jobId, const QString &snapshotId,
                                 const BoundsDetectionContext &context)
{
    const auto log = [queue, jobId](batch::BatchLogLevel level, const QString &message) {
        postLog(queue, jobId, level, message);
    };
    log(batch::BatchLogLevel::Info, u"Starting bounds detection..."_s);
    if (!context.label.isEmpty())
        log(batch::BatchLogLevel::Info, u"Scene: %1"_s.arg(context.label));
    BoundsDetectionResult result =
        Detection(context, m_watch->flag(), log)
            .run([queue, jobId](int current, int total, const QString &) {
                postProgress(queue, jobId, current, total);
            });
    if (!m_watch->wanted()) {
        // What evaluators answered after the cancel says nothing about the scene.
        result = {};
        result.error = u"Cancelled by user"_s;
    } else if (result.success) {
        log(batch::BatchLogLevel::Info, statusText(result));
        result.success = queue->complete(jobId, boundsToBatchResult(result));
    } else {
        queue->fail(jobId, result.error);
    }
    if (jobs::JobWatch::isOver(*queue, jobId))
        m_contexts->take(snapshotId);
    emit detectionFinished(jobId, result.success, result);
}

QVariantMap boundsToBatchResult(const BoundsDetectionResult &result)
{
    QVariantMap map{{u"totalSamples"_s, result.totalSamples},
                    {u"detectionTimeMs"_s, result.detectionTimeMs},
                    {u"evaluatorBackend"_s, result.evaluatorBackend},
                    {u"hasUnboundedAxes"_s, result.hasUnboundedAxes()},
                    {u"unboundedDescription"_s, result.unboundedDescription()},
                    {u"statusText"_s, statusText(result)}};
    static constexpr QChar axes[] = {u'X', u'Y', u'Z'};
    for (int axis = 0; axis < 3; ++axis) {
        map.insert(u"min"_s + axes[axis], double(result.bounds.minimum()[axis]));
        map.insert(u"max"_s + axes[axis], double(result.bounds.maximum()[axis]));
    }
    return map;
}

} // namespace corvane::bv
