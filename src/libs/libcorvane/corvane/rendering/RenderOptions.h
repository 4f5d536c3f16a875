#pragma once

#include <QString>
#include <QVariantMap>

namespace corvane::rendering {

/// What of a picture is to change. A field that is left at its sentinel stays as it is.
struct RenderOptions
{
    static constexpr int sameInt = -1;
    static constexpr float sameFloat = -1e9f;

    QString environmentId{};
    QString lightingEnvironmentId{}; ///< "none" takes the lights away
    QString shadingModeId{};
    QString toneMapId{};
    QString antialiasStrategyId{};
    int sampleCount = sameInt;   ///< at most
    float exposure = sameFloat;  ///< EV
    int gammaEncoding = sameInt; ///< 0 leaves the picture linear
    int ditherMode = sameInt;
    int ditherBits = sameInt;
    int maxSteps = sameInt;
    float maxDistance = sameFloat;
    float epsilon = sameFloat;
    int raymarchAlgorithm = sameInt;
    float stepScale = sameFloat;
    int debugView = sameInt;
    QVariantMap effectParameters{};    ///< "bloom/intensity" and the like to a value
    QVariantMap environmentSettings{}; ///< of the background, by name
    int groundPlaneVisible = sameInt;  ///< 0 or 1

    /// Takes over what the other one sets.
    void merge(const RenderOptions &other);

    bool operator==(const RenderOptions &) const = default;
};

} // namespace corvane::rendering
