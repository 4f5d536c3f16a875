#pragma once

#include <QFlags>
#include <QList>
#include <private/qshader_p.h>

namespace shader {

/// What a compiled shader holds, by the back-ends that take it.
enum class Target {
    Spirv = 1 << 0,       ///< Vulkan
    DesktopGlsl = 1 << 1, ///< OpenGL: GLSL 450 and 430
    EsGlsl = 1 << 2,      ///< OpenGL ES: GLSL 320 and 310 es
    Hlsl = 1 << 3,        ///< Direct3D
    Msl = 1 << 4,         ///< Metal
};
Q_DECLARE_FLAGS(Targets, Target)
Q_DECLARE_OPERATORS_FOR_FLAGS(Targets)

inline constexpr Targets allTargets{Target::Spirv | Target::DesktopGlsl | Target::EsGlsl |
                                    Target::Hlsl | Target::Msl};

/// Says what a device takes that runs in this process: compileShader() makes that first. Devices of
/// several back-ends add up. Any thread.
void addRunningTargets(Targets targets);
/// allTargets where no device runs.
[[nodiscard]] Targets runningTargets();

/// The code of one shader for one back-end.
struct TargetCode
{
    QShader::Source language;
    QShaderVersion version;
};
/// In the order in which they stand in a shader.
[[nodiscard]] QList<TargetCode> codesOf(Targets targets);

/// Whether a shader holds all of that, and for a vertex shader the batchable variant too if that is
/// asked for.
[[nodiscard]] bool covers(const QShader &shader, Targets targets, bool batchable);

} // namespace shader
