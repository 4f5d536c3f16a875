#pragma once

#include <corvane/eval/DefinitionTable.h>
#include <corvane/shader/SDFNode.h>

#include <QList>
#include <QSize>
#include <QString>

#include <optional>

namespace corvane::rendering {

/// A plane through the part, on which the distance is drawn in colours instead of the part.
struct ThumbnailSection
{
    int axis = 2;                ///< the plane's normal: 0 x, 1 y, 2 z
    float offset = 0.0f;         ///< of the plane along the axis, scene units
    float contourSpacing = 0.0f; ///< between lines of equal distance; 0: none

    bool operator==(const ThumbnailSection &) const = default;
};

/// One picture to make, with all that it takes, so that it can go to another thread.
struct ThumbnailRenderRequest
{
    QString key{};     ///< of the picture in the ThumbnailCache
    QString subject{}; ///< definition id, or what else it shows; for messages
    QSize size{};      ///< pixels
    QList<shader::SDFNode> nodes{};
    int rootIndex = 0;
    eval::DefinitionTable definitions{}; ///< those of the nodes; for finding the part
    QString shaderSource{};              ///< of the fragment shader
    std::optional<ThumbnailSection> section{};
};

namespace ThumbnailLimits {
inline constexpr int smallestSide = 16; ///< pixels; other sizes become the nearest that is allowed
inline constexpr int largestSide = 1024;
inline constexpr int samplesPerSide = 2; ///< four samples a pixel
} // namespace ThumbnailLimits

} // namespace corvane::rendering
