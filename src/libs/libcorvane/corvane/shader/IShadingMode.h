#pragma once

#include <QString>

namespace corvane::shader {

/// One way of shading the G-buffer, as the shader generator sees it: a source and what it wants
/// filled in.
class IShadingMode
{
public:
    virtual ~IShadingMode() = default;

    [[nodiscard]] virtual QString id() const = 0;
    [[nodiscard]] virtual QString displayName() const = 0;
    [[nodiscard]] virtual QString description() const = 0;

    /// The fragment shader with its injection lines; empty for the default shading template.
    [[nodiscard]] virtual QString shadingShaderSource() const = 0;
    /// The source has an "// {{ENVIRONMENT_SAMPLE}}" line for IEnvironment::sampleSnippet().
    [[nodiscard]] virtual bool needsEnvironmentSnippet() const = 0;
    /// The source samples the scene, and so has lines for its functions and dispatchers.
    [[nodiscard]] virtual bool needsSceneEvaluation() const = 0;
    /// The picture settles over many frames.
    [[nodiscard]] virtual bool needsAccumulation() const = 0;
};

} // namespace corvane::shader
