#pragma once

#include <corvane/rendering/ShaderJobs.h>
#include <rhi/QRhiCompat.h>

#include <QObject>
#include <QString>

#include <functional>

namespace corvane::rendering {

/// The compile of one fragment shader: a job of the batch queue, or at once where there is no
/// queue. A new one takes the place of the one before, whose job is cancelled.
///
/// For one thread. `changed` is called there, from its event loop, when a job has ended.
class ShaderCompile
{
public:
    enum class State { Idle, Running, Done, Failed };
    enum class Kind {
        Scene,   ///< a "corvane/shader_rebuild"
        Shading, ///< a "corvane/shading_pipeline_rebuild"
    };

    /// `name` is that of the shader in messages; the others begin the messages of failures.
    struct Words
    {
        QString name{};
        QString failedAtOnce{};
        QString failedAsJob{};
    };

    explicit ShaderCompile(Kind kind)
        : m_kind(kind)
    {}
    ~ShaderCompile();
    ShaderCompile(const ShaderCompile &) = delete;
    ShaderCompile &operator=(const ShaderCompile &) = delete;

    void setJobs(const ShaderJobs &jobs, std::function<void()> changed);
    bool hasJobs() const { return m_jobs.queue != nullptr; }

    /// `variant` tells jobs of the scene apart in lists.
    void start(const QString &source, const QString &variant, const Words &words);
    /// Looks after the job.
    State poll();
    State state() const { return m_state; }
    /// Takes the result: the state is Idle afterwards.
    QShader takeShader();
    QString takeError(); ///< of a compile that failed
    void cancel();

private:
    void submit(const QString &source, const QString &variant);
    void compileNow(const QString &source);
    void onStatusChanged(quint64 id);
    void takeContext();

    const Kind m_kind;
    Words m_words;
    ShaderJobs m_jobs;
    std::function<void()> m_changed;
    QObject m_receiver; ///< of the queue's signals
    quint64 m_jobId = 0;
    QString m_snapshotId;
    State m_state = State::Idle;
    QShader m_shader;
    QString m_error;
};

} // namespace corvane::rendering
