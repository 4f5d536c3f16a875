#include <corvane/camera/ViewPreset.h>

#include <corvane/camera/Camera.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace corvane::camera {

const QList<ViewPreset> &viewPresets()
{
    static const QList<ViewPreset> presets{
        {"front"_L1, "Front"_L1, {0, 0, 1}, "back"_L1},
        {"back"_L1, "Back"_L1, {0, 0, -1}, "front"_L1},
        {"right"_L1, "Right"_L1, {1, 0, 0}, "left"_L1},
        {"left"_L1, "Left"_L1, {-1, 0, 0}, "right"_L1},
        {"top"_L1, "Top"_L1, {0, 1, 0}, "bottom"_L1},
        {"bottom"_L1, "Bottom"_L1, {0, -1, 0}, "top"_L1},
    };
    return presets;
}

const ViewPreset *findViewPreset(QLatin1String id)
{
    const auto &presets = viewPresets();
    const auto found = std::find_if(presets.cbegin(), presets.cend(),
                                    [id](const ViewPreset &preset) { return preset.id == id; });
    return found == presets.cend() ? nullptr : &*found;
}

CameraPose seenFrom(const CameraPose &pose, const QVector3D &towardsEye)
{
    const float length = towardsEye.length();
    if (!(length > 0.0f))
        return pose;
    Camera camera;
    camera.setPose(
        {pose.target + towardsEye * (pose.offset().length() / length), pose.target, {0, 1, 0}});
    // The axis that the camera shows as up: an up vector along the line of sight would not survive
    // a turn about the vertical.
    return {camera.position(), camera.target(), camera.axes().up};
}

} // namespace corvane::camera
