#pragma once

#include <eval/Diagnostic.h>
#include <eval/Program.h>

#include <QSharedPointer>
#include <QString>

#include <atomic>
#include <optional>
#include <span>

namespace eval::internal {

class CompiledProgram;

/// What one run of a back-end reads and writes: flat floats in the layout of the program's
/// bindings.
struct BackendBuffers
{
    std::span<const float> input;                   ///< count * inputFloatCount
    std::span<float> output;                        ///< count * outputFloatCount
    std::span<const std::span<const float>> arrays; ///< by SlotBinding::arrayIndex
    qsizetype count = 1;
    /// Once it is true the run ends soon with an unspecified output. May be null.
    const std::atomic_bool *cancelled = nullptr;
};

/// How the flat floats of an output are to be read.
struct OutputForm
{
    Type type = Type::Float; ///< of the lanes that they hold
    bool isBits = false;     ///< one float whose 32 bits are the value
};

/// The nodes of a grid, by their coordinates along each axis.
struct GridNodes
{
    std::span<const float> xs;
    std::span<const float> ys;
    std::span<const float> zs;

    size_t count() const { return xs.size() * ys.size() * zs.size(); }
};

/// Code that a back-end made of one program. Shared by every program of equal key; run() is called
/// by several threads at the same time.
class BackendCode
{
public:
    virtual ~BackendCode();
    /// An empty text on success; otherwise what failed, with the output unspecified.
    virtual QString run(const BackendBuffers &buffers) const = 0;
    /// Evaluates a program from one vec3 to one float at the points (xs[i], y, z). False, with
    /// nothing done, when there is no such form; the values are those of run().
    virtual bool runRow(std::span<const float> xs, float y, float z, std::span<float> out,
                        const std::atomic_bool *cancelled) const;
    /// The same at any points (xs[i], ys[i], zs[i]).
    virtual bool runPoints(std::span<const float> xs, std::span<const float> ys,
                           std::span<const float> zs, std::span<float> out,
                           const std::atomic_bool *cancelled) const;
    /// The same at all nodes (xs[i], ys[j], zs[k]) of a grid; node (i, j, k) is at
    /// i + (j + k * ny) * nx of `out`. None, with nothing done, when there is no such form; else as
    /// run().
    virtual std::optional<QString> runGrid(const GridNodes &nodes, std::span<float> out,
                                           const std::atomic_bool *cancelled) const;
    virtual OutputForm outputForm(const CompiledProgram &program, qsizetype output) const;
    /// Whether a program of equal key may have this code; no longer once its device is gone.
    virtual bool isUsable() const;
    /// How many points of a large batch one run() gets; between two a cancel is seen.
    virtual qsizetype batchLimit() const;
};

/// A back-end beside the interpreter. The library itself has Native; what brings another registers
/// it at start.
class CodeGenerator
{
public:
    virtual ~CodeGenerator();
    /// Whether this machine can run the back-end at all. May start a device on its first call.
    virtual bool isAvailable() const = 0;
    /// Whether everything in a checked program can be expressed.
    virtual bool supports(const CompiledProgram &program) const = 0;
    /// The code, or the one diagnostic that says why there is none.
    virtual Result<QSharedPointer<const BackendCode>>
    generate(const CompiledProgram &program) const = 0;
};

/// Registers the generator of Native or Gpu; null takes it away again. Thread-safe.
void setCodeGenerator(Backend backend, QSharedPointer<const CodeGenerator> generator);
/// Null when none is registered.
QSharedPointer<const CodeGenerator> codeGenerator(Backend backend);

} // namespace eval::internal
