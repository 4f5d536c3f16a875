#include <corvane/rendering/ShaderCompile.h>

#include <batch/BatchQueue.h>
#include <corvane/shader/ShaderBuildWorker.h>
#include <corvane/shader/ShadingPipelineWorker.h>
#include <shader/compileShader.h>

#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QUuid>

#include <utility>

namespace corvane::rendering {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcCompile, "ondrel.rendering.compile", QtWarningMsg)

namespace {

constexpr int priority = 80;
constexpr int sceneTimeoutSeconds = 60;
constexpr int shadingTimeoutSeconds = 120;

batch::BatchJob sceneJob(const QString &snapshotId, const QString &variant)
{
    return {.type = u"corvane/shader_rebuild"_s,
            .source = u"corvane"_s,
            .priority = priority,
            .hungTimeoutSeconds = sceneTimeoutSeconds,
            .payload = {{u"variant"_s, variant},
                        {u"reason"_s, u"scene_modified"_s},
                        {u"snapshotId"_s, snapshotId}}};
}

batch::BatchJob shadingJob(const QString &snapshotId)
{
    return {.type = u"corvane/shading_pipeline_rebuild"_s,
            .source = u"corvane/sdf_layer"_s,
            .priority = priority,
            .hungTimeoutSeconds = shadingTimeoutSeconds,
            .payload = {{u"snapshotId"_s, snapshotId}, {u"needsAccumulation"_s, false}}};
}

} // namespace

ShaderCompile::~ShaderCompile()
{
    cancel();
}

void ShaderCompile::setJobs(const ShaderJobs &jobs, std::function<void()> changed)
{
    cancel();
    if (m_jobs.queue)
        QObject::disconnect(m_jobs.queue, nullptr, &m_receiver, nullptr);
    m_jobs = jobs;
    m_changed = std::move(changed);
    if (!jobs.queue)
        return;
    QObject::connect(
        jobs.queue, &batch::BatchQueue::jobStatusChanged, &m_receiver,
        [this](quint64 id) { onStatusChanged(id); }, Qt::QueuedConnection);
}

void ShaderCompile::start(const QString &source, const QString &variant, const Words &words)
{
    cancel();
    m_words = words;
    if (hasJobs())
        submit(source, variant);
    else
        compileNow(source);
}

ShaderCompile::State ShaderCompile::poll()
{
    if (m_state != State::Running)
        return m_state;
    const auto job = m_jobs.queue->job(m_jobId);
    if (job && !batch::isTerminal(job->status))
        return m_state;
    const auto key = m_kind == Kind::Scene ? u"shaderData"_s : u"shadingShaderData"_s;
    m_state = State::Failed;
    if (!job) {
        m_error = m_words.failedAsJob + u"the job was removed"_s;
    } else if (job->status != batch::BatchStatus::Done) {
        m_error = m_words.failedAsJob + job->error;
    } else {
        m_shader = QShader::fromSerialized(job->result.value(key).toByteArray());
        m_state = m_shader.isValid() ? State::Done : State::Failed;
        m_error = m_shader.isValid() ? QString() : u"Failed to deserialize batch-compiled shader"_s;
    }
    m_jobId = 0;
    return m_state;
}

QShader ShaderCompile::takeShader()
{
    m_state = State::Idle;
    return std::exchange(m_shader, {});
}

QString ShaderCompile::takeError()
{
    m_state = State::Idle;
    return std::exchange(m_error, {});
}

void ShaderCompile::cancel()
{
    if (m_state == State::Running && m_jobId != 0) {
        m_jobs.queue->cancel(std::exchange(m_jobId, 0));
        takeContext();
    }
    m_state = State::Idle;
    m_shader = {};
    m_error.clear();
}

void ShaderCompile::submit(const QString &source, const QString &variant)
{
    m_snapshotId = QUuid::createUuid().toString();
    m_state = State::Running;
    if (m_kind == Kind::Scene) {
        m_jobs.builds->add(m_snapshotId, {.source = source, .name = m_words.name});
        m_jobId = m_jobs.queue->submit(sceneJob(m_snapshotId, variant));
    } else {
        m_jobs.shadings->add(m_snapshotId, {.source = source});
        m_jobId = m_jobs.queue->submit(shadingJob(m_snapshotId));
    }
}

void ShaderCompile::compileNow(const QString &source)
{
    QElapsedTimer timer;
    timer.start();
    const auto result = ::shader::compileShader(source, QShader::FragmentStage, m_words.name);
    qCInfo(lcCompile) << "[TIMING] SDFLayer SPIR-V compilation:" << timer.elapsed() << "ms"
                      << m_words.name;
    m_shader = result.shader;
    m_error = m_shader.isValid() ? QString() : m_words.failedAtOnce + result.errorMessage;
    m_state = m_shader.isValid() ? State::Done : State::Failed;
}

void ShaderCompile::onStatusChanged(quint64 id)
{
    if (id == m_jobId && poll() != State::Running && m_changed)
        m_changed();
}

// A job that was cancelled before a worker had it leaves its context behind.
void ShaderCompile::takeContext()
{
    if (m_kind == Kind::Scene)
        m_jobs.builds->take(m_snapshotId);
    else
        m_jobs.shadings->take(m_snapshotId);
}

} // namespace corvane::rendering
