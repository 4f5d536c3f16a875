#pragma once

#include <eval/internal/BackendCode.h>
#include <eval/internal/CompiledProgram.h>

#include <QList>
#include <QString>

namespace eval::gpu {

/// A program as a shader, and what its floats mean.
struct GpuUnit
{
    QString source;
    QList<internal::OutputForm> outputs; ///< parallel to those of the program
    bool isSupported = true;             ///< everything in the program has a GLSL form
    QString refusal;                     ///< why there is no text, where that is not the reason
    bool countsRounds = false; ///< has loops that may run long, so that few points go at a time
};

/// Writes the GLSL of a checked program: structs and user functions under names of our own, and a
/// `main` that evaluates one point. Names of the scene never reach the text. See GlslBody for how
/// values are kept those of the interpreter.
class GpuCodegen
{
public:
    /// More output floats than this have no place in the targets of the fragment lane.
    static constexpr int fragmentOutputLimit = 16;

    explicit GpuCodegen(const internal::CompiledProgram &program);

    /// A compute shader: point i reads in_data[i * inputs] and writes out_data[i * outputs].
    GpuUnit emitComputeShader() const;
    /// A fragment shader: the point of a pixel stands in the same pixel of the textures, four
    /// floats to each, and goes to as many targets.
    GpuUnit emitFragmentShader() const;

    /// Whether a tree has a type that no shader has, or a struct without a registry.
    static bool isUnsupported(const internal::AstPtr &node,
                              const internal::StructRegistry *structs);
    static QByteArray glslTypeName(Type type);

private:
    const internal::CompiledProgram &m_program;
};

} // namespace eval::gpu
