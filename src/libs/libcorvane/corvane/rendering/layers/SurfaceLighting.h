#pragma once

#include <QVector3D>

#include <array>

namespace corvane::shader {
class IEnvironment;
}

namespace corvane::rendering {

/// What lights the layers of triangles: the same lights and surroundings as the field has.
struct SurfaceLighting
{
    static constexpr int maxLights = 8;
    enum class Ambient {
        Environment = 0, ///< what is seen along the axes, as in environment-lit shading
        Lights = 1,      ///< a share of the lights, as in plain shading
    };
    struct Light
    {
        QVector3D direction{0, 1, 0}; ///< unit, towards the light
        QVector3D color{1, 1, 1};     ///< linear
        float intensity = 1.0f;

        bool operator==(const Light &) const = default;
    };

    std::array<Light, maxLights> lights{};
    int lightCount = 0;
    Ambient ambient = Ambient::Environment;
    /// Linear colours seen along +x, -x, +y, -y, +z, -z.
    std::array<QVector3D, 6> environmentAxes{
        QVector3D(0.5f, 0.5f, 0.5f), QVector3D(0.5f, 0.5f, 0.5f), QVector3D(0.8f, 0.8f, 0.8f),
        QVector3D(0.2f, 0.2f, 0.2f), QVector3D(0.5f, 0.5f, 0.5f), QVector3D(0.5f, 0.5f, 0.5f)};

    /// As the field is lit: `background` gives what is seen around, `lighting` the lights. Either
    /// may be null. It costs a compilation of the background's function, about a millisecond, so it
    /// is for changes of them, not for frames.
    static SurfaceLighting of(const shader::IEnvironment *background,
                              const shader::IEnvironment *lighting, Ambient ambient);
    /// What the environment's own function says along the axes.
    static std::array<QVector3D, 6> seenAlongAxes(const shader::IEnvironment &environment);

    bool operator==(const SurfaceLighting &) const = default;
};

} // namespace corvane::rendering
