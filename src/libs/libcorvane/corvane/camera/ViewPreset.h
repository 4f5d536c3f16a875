#pragma once

#include <corvane/camera/CameraPose.h>

#include <QLatin1String>
#include <QList>

namespace corvane::camera {

/// A named side to look from.
struct ViewPreset
{
    QLatin1String id;
    QLatin1String displayName;
    QVector3D towardsEye; ///< from the target to the eye, of any length
    QLatin1String opposite;
};

/// "front" (from +z), "back", "right" (from +x), "left", "top" (from +y) and "bottom".
[[nodiscard]] const QList<ViewPreset> &viewPresets();
/// Null for an unknown id.
[[nodiscard]] const ViewPreset *findViewPreset(QLatin1String id);

/// The same target at the same distance, seen from a direction: a face, an edge or a corner of the
/// view cube, or any other. Up is +y; from straight above it is -z, from below +z, so that right
/// stays right. A direction of no length changes nothing.
[[nodiscard]] CameraPose seenFrom(const CameraPose &pose, const QVector3D &towardsEye);

/// From the front, the right and above, which shows three sides of a part.
inline constexpr QVector3D threeQuarterView{0.8f, 0.65f, 1.0f};

} // namespace corvane::camera
