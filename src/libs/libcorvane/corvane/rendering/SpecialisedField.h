#pragma once

#include <corvane/rendering/ScenePass.h>
#include <corvane/rendering/ShaderCompile.h>
#include <corvane/shader/SpecialisedScene.h>

#include <QTimer>

#include <memory>

namespace corvane::render {
class SDFLayer;
}

namespace corvane::rendering {

/// The geometry pass of a shader that is made for the one scene that is drawn, several times as
/// fast as the one that walks any scene.
///
/// It is compiled in the background once the structure of the scene has stood still for stillMs,
/// and takes over without a frame in between: it draws the same. An edit of the structure is drawn
/// by the other one at once, since fits() is no longer true; a parameter is one more small upload.
/// On the thread of the pipeline.
class SpecialisedField
{
public:
    static constexpr int stillMs = 500;

    enum class Policy {
        Never,
        WhenStill, ///< needs ShaderJobs and an event loop
        AtOnce,    ///< with the nodes, on this thread where there are no jobs
    };

    /// What a pass is made with; all of it lives until the next call or reset().
    struct Host
    {
        QRhi *rhi = nullptr;
        QShader vertex{};
        QRhiRenderPassDescriptor *renderPass = nullptr;
        QList<QRhiShaderResourceBinding> bindings{}; ///< those of the walking pass
    };

    /// The field outlives it.
    explicit SpecialisedField(render::SDFLayer &field);

    void setJobs(const ShaderJobs &jobs);
    void setPolicy(Policy policy);
    Policy policy() const { return m_policy; }

    void setHost(const Host &host);
    /// The nodes are others now, or their values. True when their structure is another one.
    bool followNodes();
    /// The definitions are others now: nothing that was compiled draws them.
    void invalidate();
    /// Sends the parameters when they changed. Returns how many bytes.
    qint64 upload(QRhiResourceUpdateBatch *updates);
    /// Frees what belongs to the device.
    void reset();

    /// Whether pass() draws the scene as it is.
    bool fits() const { return m_pass.isValid() && m_scene.key() == m_key && m_isPresent; }
    const ScenePass &pass() const { return m_pass; }
    bool isCompiling() const { return m_compile.state() == ShaderCompile::State::Running; }
    int builtPasses() const { return m_builtPasses; }

private:
    void start();
    void finish();
    bool build();

    render::SDFLayer &m_field;
    ShaderCompile m_compile{ShaderCompile::Kind::Scene};
    QTimer m_still;
    Policy m_policy = Policy::WhenStill;
    bool m_hasJobs = false;
    Host m_host;
    quint64 m_key = 0; ///< of the scene that is drawn
    bool m_isPresent = false;
    shader::SpecialisedScene m_compiling;
    shader::SpecialisedScene m_scene; ///< of m_shader
    QShader m_shader;
    ScenePass m_pass;
    std::unique_ptr<QRhiBuffer> m_parameters;
    QByteArray m_uploaded;
    int m_builtPasses = 0;
};

} // namespace corvane::rendering
