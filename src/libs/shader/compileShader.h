#pragma once

#include <shader/Targets.h>

#include <QString>
#include <private/qshader_p.h>

#include <chrono>

namespace shader {

struct CompileResult
{
    QShader shader;       ///< invalid on failure
    QString errorMessage; ///< the compiler's text; empty on success
};

/// Compiles GLSL 450 for every back-end: SPIR-V, desktop and ES GLSL, HLSL and MSL. Any thread.
///
/// What the devices of this process take (runningTargets()) is made at once, the rest behind it on
/// a thread of the lowest priority: a shader is for the devices that ran when it was asked for, so
/// ask again after a change of device. Results are kept in the ArtifactCache under the source, the
/// program's version and the stage, so that the same text is compiled once, also when several
/// threads ask for it at a time. An entry that lacks something, since its process ended early, is a
/// hit for whoever needs no more, and is completed behind it. A source beyond the limits of
/// SourceGuard is refused, and one that the compiler died of (CompileMark).
/// @param name       stands in messages and in the log; "generated" when empty
/// @param batchable  adds the variant of a vertex shader that the scene graph can batch
[[nodiscard]] CompileResult compileShader(const QString &source, QShader::Stage stage,
                                          const QString &name, bool batchable = false);

/// The same for a shader that only one device ever runs: nothing is made but what that one takes.
/// A device of another back-end finds the entry in the cache and adds its own.
[[nodiscard]] CompileResult compileFor(Targets targets, const QString &source, QShader::Stage stage,
                                       const QString &name);

/// Waits until entries that lack something are completed. False when the time is over first. For
/// tests, and for whoever carries the cache elsewhere.
bool finishCompiles(std::chrono::milliseconds limit);

} // namespace shader
