#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace corvane::shader {

inline constexpr int maxLightCount = 8;

/// A directional light as the shaders read it.
struct Light
{
    std::array<float, 4> direction{}; ///< xyz a unit vector towards the light, w reserved
    std::array<float, 4> color{};     ///< rgb, and the intensity in a

    bool operator==(const Light &) const = default;
};

/// The uniform block `buf` at binding 0 of the scene shaders: std140, 704 bytes, matrices
/// column-major. Distances are in scene units.
struct SDFUniforms
{
    using Matrix = std::array<float, 16>;
    using Vector = std::array<float, 4>;
    static constexpr Matrix identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    Matrix mvp = identity;               ///< projection * view * model of the layer
    Matrix viewMatrix = identity;        ///< of the camera
    Matrix projMatrix = identity;        ///< of the camera
    Matrix invViewProjMatrix = identity; ///< inverse(projection * view)
    Vector cameraPos{};                  ///< xyz the eye, w unused
    Vector boundsMin{-10, -10, -10, 1};  ///< `bounds_min` in the shaders; w: see setSteepness()
    Vector boundsMax{10, 10, 10, 1};     ///< `bounds_max` in the shaders; w: see setBounds()
    std::int32_t maxSteps = 128;
    float maxDistance = 10000.0f;
    float epsilon = 0.001f;
    std::int32_t nodeCount = 0;     ///< length of the node array
    std::int32_t rootNodeIndex = 0; ///< first root
    std::int32_t raymarchAlgorithm = 0;
    float stepScale = 0.8f;
    std::int32_t debugView = 0;
    std::int32_t lightCount = 0; ///< at most maxLightCount
    std::array<std::int32_t, 3> lightPad{};
    std::array<Light, maxLightCount> lights{};
    std::array<Vector, 4> envParams{}; ///< `envParam0` to `envParam3`: the background's 16 floats
    std::int32_t frameIndex = 0;       ///< accumulation frame, 0 outside accumulation
    std::int32_t maxBounces = 2;
    std::int32_t maxSecondarySteps = 64;
    float secondaryEpsilon = 0.002f;
    float analyticEdgeAA = 0.0f; ///< 0 or 1
    std::array<float, 3> aaPad{};

    /// `w` of `bounds_max` when rays may be cut to the box.
    static constexpr float boundsHoldScene = 2.0f;

    /// The box of the scene. Rays are followed inside of it alone when it is known to hold all of
    /// the surface; a box that may cut something only says where the scene is.
    void setBounds(const std::array<float, 3> &min, const std::array<float, 3> &max,
                   bool holdsScene)
    {
        std::copy(min.begin(), min.end(), boundsMin.begin());
        std::copy(max.begin(), max.end(), boundsMax.begin());
        boundsMax[3] = holdsScene ? boundsHoldScene : 1.0f;
    }
    static constexpr float maxSteepness = 8.0f;
    /// By how much the field changes over a unit of length at most, 1 for a distance: rays advance
    /// by so much less than it says. Of what is more than maxSteepness the rest is not heeded: rays
    /// would end before they arrive. A crossing that a ray noticed too late is looked for then.
    void setSteepness(float steepness) { boundsMin[3] = std::clamp(steepness, 1.0f, maxSteepness); }

    bool operator==(const SDFUniforms &) const = default;
};

static_assert(sizeof(Light) == 32);
static_assert(sizeof(SDFUniforms) == 704);
static_assert(std::is_trivially_copyable_v<SDFUniforms> && std::is_standard_layout_v<SDFUniforms>);
static_assert(offsetof(SDFUniforms, mvp) == 0);
static_assert(offsetof(SDFUniforms, viewMatrix) == 64);
static_assert(offsetof(SDFUniforms, projMatrix) == 128);
static_assert(offsetof(SDFUniforms, invViewProjMatrix) == 192);
static_assert(offsetof(SDFUniforms, cameraPos) == 256);
static_assert(offsetof(SDFUniforms, boundsMin) == 272);
static_assert(offsetof(SDFUniforms, boundsMax) == 288);
static_assert(offsetof(SDFUniforms, maxSteps) == 304);
static_assert(offsetof(SDFUniforms, maxDistance) == 308);
static_assert(offsetof(SDFUniforms, epsilon) == 312);
static_assert(offsetof(SDFUniforms, nodeCount) == 316);
static_assert(offsetof(SDFUniforms, rootNodeIndex) == 320);
static_assert(offsetof(SDFUniforms, raymarchAlgorithm) == 324);
static_assert(offsetof(SDFUniforms, stepScale) == 328);
static_assert(offsetof(SDFUniforms, debugView) == 332);
static_assert(offsetof(SDFUniforms, lightCount) == 336);
static_assert(offsetof(SDFUniforms, lightPad) == 340);
static_assert(offsetof(SDFUniforms, lights) == 352);
static_assert(offsetof(SDFUniforms, envParams) == 608);
static_assert(offsetof(SDFUniforms, frameIndex) == 672);
static_assert(offsetof(SDFUniforms, maxBounces) == 676);
static_assert(offsetof(SDFUniforms, maxSecondarySteps) == 680);
static_assert(offsetof(SDFUniforms, secondaryEpsilon) == 684);
static_assert(offsetof(SDFUniforms, analyticEdgeAA) == 688);
static_assert(offsetof(SDFUniforms, aaPad) == 692);

} // namespace corvane::shader
