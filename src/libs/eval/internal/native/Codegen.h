#pragma once

#include <eval/internal/BackendCode.h>
#include <eval/internal/CompiledProgram.h>

#include <QByteArray>
#include <QList>

namespace eval::internal {

/// What Codegen makes of a program.
struct NativeUnit
{
    bool isSupported = true; ///< false: something in it has no C++ form
    QString refusal{};       ///< set when the text would take too long to compile
    QByteArray text{};
    QList<OutputForm> outputs{};
    bool hasRow = false;   ///< whether `eval_row` is there
    bool hasLanes = false; ///< whether `eval_points` is, and both take several points at a time
};

/// Translates a checked program into one C++ translation unit.
///
/// The unit exports
///
///     extern "C" void eval_main(const float *eval_in_, float *eval_out_,
///                               const float *const *eval_arrays_, const int *eval_arrayLens_)
///
/// over the flat buffers of the program's bindings, and, for a program from one vec3 to one float,
///
///     extern "C" void eval_row(const float *xs, float y, float z, float *out, long count)
///
/// for points that differ in x, and, where all of it can be said for several points at a time,
///
///     extern "C" void eval_points(const float *xs, const float *ys, const float *zs, float *out,
///                                 long count)
///
/// for any points. A unit with loops that may not end for long has a third,
///
///     extern "C" void eval_watch(const unsigned char *flag)
///
/// after which evaluations on the calling thread end soon once the flag is set, with values that
/// mean nothing; null takes it away. The text is made of the checked tree alone: every name is this
/// class's own and every number is printed by value, so that nothing of a source reaches the
/// compiler as it stands. Values are the interpreter's within float tolerance; where that reports a
/// fault, IEEE arithmetic goes on here.
///
/// Why a generator of its own, and not text made of the register code (see Lowering): registers
/// have 32 bits and no arrays, so that programs with doubles, 64-bit integers or run-time arrays,
/// which compile here, have no register form; they end at a fault, where this goes on; and their
/// jumps have lost the structure that eval_points makes masks of. Tried on five fields for one
/// point, such text gives the same bits and the same speed within a tenth once `mix` is that of
/// this text (in the interpreter's, whose fused product is a call of the C library, it is up to a
/// hundred times slower); but calls expanded in one function take the compiler longer as they grow:
/// 1.4 times as long for a field of 80 nodes, all entries of this text included.
class Codegen
{
public:
    explicit Codegen(const CompiledProgram &program);

    NativeUnit emitUnit();

    /// The gate before a compile: true when some value or construct has no C++ form.
    static bool isUnsupported(const CompiledProgram &program);
    /// The part of every unit that is the same: types, operators and functions.
    static QByteArray fixedText();
    /// The same for several points at a time, which stands before such code, and the entries for
    /// many points, which stand behind it.
    static QByteArray fixedLaneText();
    static QByteArray rowsText();

private:
    void addRows(NativeUnit &unit) const;

    const CompiledProgram &m_program;
};

} // namespace eval::internal
