#pragma once

#include <corvane/shader/SDFUniforms.h>

#include <QString>

namespace corvane::shader {

/// What the scene sees at infinity and, optionally, its lights. Sun and colours travel in uniforms,
/// so that only another kind of environment changes shader text.
class IEnvironment
{
public:
    virtual ~IEnvironment() = default;

    [[nodiscard]] virtual QString id() const = 0;
    [[nodiscard]] virtual QString displayName() const = 0;
    [[nodiscard]] virtual QString description() const = 0;

    /// GLSL that defines `vec3 sampleEnvironment(vec3 dir)` over `envParam0` to `envParam3`.
    [[nodiscard]] virtual QString sampleSnippet() const = 0;
    /// Fills the first `count` floats of `envParam0` to `envParam3`.
    virtual void fillUniforms(float *values, int count) const = 0;
    /// Fills at most `capacity` lights, and answers how many.
    virtual int fillLights(Light *lights, int capacity) const
    {
        Q_UNUSED(lights)
        Q_UNUSED(capacity)
        return 0;
    }
};

} // namespace corvane::shader
