#pragma once

#include <corvane/rendering/FullScreenQuad.h>
#include <corvane/rendering/Layer.h>
#include <corvane/rendering/ScenePass.h>
#include <corvane/rendering/ShaderCompile.h>
#include <corvane/shader/SDFUniforms.h>

#include <QSharedPointer>

#include <memory>

namespace corvane::shader {
class IEnvironment;
}

namespace corvane::rendering {

/// Draws an environment's background behind everything, at depth 1. Without one, or until its
/// shader is compiled, the scene's clear colour shows.
class EnvironmentLayer : public Layer
{
public:
    EnvironmentLayer() = default;
    ~EnvironmentLayer() override = default;

    QString typeName() const override { return QStringLiteral("EnvironmentLayer"); }
    bool initialize(RhiContext &context) override;
    void update(RhiContext &context, qint64 elapsedMs) override;
    void renderPre(RhiContext &context) override;
    void releaseResources() override;
    void onSampleCountChanged(int sampleCount) override;

    void setShaderJobs(const ShaderJobs &jobs);
    void setEnvironment(const QSharedPointer<shader::IEnvironment> &environment);
    const QSharedPointer<shader::IEnvironment> &environment() const { return m_environment; }
    /// Compiles the environment's shader anew.
    void rebuildPipeline(RhiContext &context);

private:
    bool buildPass(RhiContext &context);

    QSharedPointer<shader::IEnvironment> m_environment;
    shader::SDFUniforms m_uniforms;
    FullScreenQuad m_quad;
    std::unique_ptr<QRhiBuffer> m_uniformBuffer;
    ScenePass m_pass;
    ShaderCompile m_compile{ShaderCompile::Kind::Scene};
    QShader m_shader;
    bool m_isShaderStale = true; ///< that of another environment
    bool m_isPassStale = false;
    bool m_isUploaded = false;
};

} // namespace corvane::rendering
