#pragma once

#include <QVector3D>

namespace corvane::camera {

/// Where a camera stands, what it looks at, and which way is up in its picture. Scene units.
struct CameraPose
{
    QVector3D eye{0, 0, 3};
    QVector3D target{0, 0, 0};
    QVector3D up{0, 1, 0}; ///< of any length above 0, and need not stand square on the direction

    [[nodiscard]] QVector3D offset() const { return eye - target; } ///< from the target to the eye
    bool operator==(const CameraPose &) const = default;
};

/// A pose on the way from one to another: the target moves straight, the view turns by the shortest
/// turn at an even rate, and the distance grows or shrinks by an even factor, so that a picture
/// neither dips towards the target nor rolls on the way.
/// @param t  0 gives `from`, 1 gives `to`; outside of that it is the nearer one
[[nodiscard]] CameraPose interpolated(const CameraPose &from, const CameraPose &to, float t);
/// Slow at both ends, for an animation: 0 to 1 for 0 to 1.
[[nodiscard]] float eased(float t);

/// The pose turned rigidly about a point.
/// @param axis  need not be of unit length
[[nodiscard]] CameraPose turned(const CameraPose &pose, const QVector3D &about,
                                const QVector3D &axis, float degrees);

} // namespace corvane::camera
