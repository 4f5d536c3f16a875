#pragma once

#include <QVector3D>

namespace corvane::camera {

/// Where a camera stands, what it looks at, and which way is up in its picture. Scene units.
struct CameraPose
{
    QVector3D eye{0, 0, 3};
    QVector3D target{0, 0, 0};
    QVector3D up{0, 1, 0}; ///< of any length above 0, and need not stand square on the direction

    bool operator==(const CameraPose &) const = default;
};

} // namespace corvane::camera
