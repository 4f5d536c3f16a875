#include <corvane/shader/ShadingModes.h>

#include <corvane/shader/ShaderTemplates.h>

namespace corvane::shader {

using namespace Qt::StringLiterals;

namespace {

constexpr ShadingModeTexts pbr{.id = "pbr"_L1,
                               .displayName = "PBR (Cook-Torrance)"_L1,
                               .description =
                                   "Physically-based rendering with Cook-Torrance BRDF"_L1,
                               .source = "sdf_shading_pbr.frag.in"_L1};

constexpr ShadingModeTexts envLitPbr{
    .id = "env-lit-pbr"_L1,
    .displayName = "Environment-lit PBR"_L1,
    .description = "PBR with dynamic sun and environment-sampled ambient/reflections"_L1,
    .source = "sdf_shading_env_lit.frag.in"_L1,
    .needsEnvironmentSnippet = true};

constexpr ShadingModeTexts pathTraced{.id = "path-traced"_L1,
                                      .displayName = "Path traced"_L1,
                                      .description =
                                          "Global illumination by progressive path tracing"_L1,
                                      .source = ""_L1,
                                      .needsEnvironmentSnippet = true,
                                      .needsSceneEvaluation = true,
                                      .needsAccumulation = true};

} // namespace

QString ShadingMode::shadingShaderSource() const
{
    return m_texts.source.isEmpty() ? QString() : ShaderTemplates::load(m_texts.source);
}

PBRShadingMode::PBRShadingMode()
    : ShadingMode(pbr)
{}

EnvLitPBRShadingMode::EnvLitPBRShadingMode()
    : ShadingMode(envLitPbr)
{}

PathTracedShadingMode::PathTracedShadingMode()
    : ShadingMode(pathTraced)
{}

} // namespace corvane::shader
