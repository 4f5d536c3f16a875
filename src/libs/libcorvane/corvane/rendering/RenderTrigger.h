#pragma once

#include <QtGlobal>

namespace corvane::rendering {

/// Why a frame is asked for. The values are those of the telemetry's words.
enum class RenderTrigger : quint8 {
    Animation,
    Progress,
    Parameter,
    Gizmo,
    Selection,
    Load,
    Splitter,
    Material,
    Overlay,
    Settings,
    Hover,
    Manual,
    Startup,
    Other,
};
inline constexpr int renderTriggerCount = 14;

} // namespace corvane::rendering
