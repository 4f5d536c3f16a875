#pragma once

#include <eval/Diagnostic.h>
#include <eval/Interval.h>
#include <eval/Type.h>

#include <QSharedPointer>
#include <QString>
#include <QVariant>

#include <atomic>
#include <memory>
#include <span>

namespace eval {

/// A slot of a graph, numbered from 1 over inputs and outputs together; 0 is never a valid handle.
using Handle = quint32;

enum class Backend { Interpreted = 0, Native = 1, Gpu = 2, Auto = 3 };

namespace internal {
class CompiledProgram;
class EvaluationState;
} // namespace internal

/// The evaluation of one program on one thread: its own slot values and scratch over shared,
/// read-only code.
///
/// Movable, not copyable. Keeps the compiled code alive. No call takes a lock.
class ThreadCopy
{
public:
    ThreadCopy();
    explicit ThreadCopy(QSharedPointer<const internal::CompiledProgram> program);
    ThreadCopy(ThreadCopy &&) noexcept;
    ThreadCopy &operator=(ThreadCopy &&) noexcept;
    ~ThreadCopy();

    /// Converts to the slot's declared type; an unknown handle is ignored.
    void set(Handle handle, const QVariant &value);
    /// Sets a float or float vector slot from its components. The offset behind a handle is found
    /// once, so that this costs a copy of the floats. Handles of other types are ignored.
    void setFloats(Handle handle, std::span<const float> components);
    /// Binds an array slot to a borrowed span that must stay valid during evaluation.
    void bindArray(Handle handle, std::span<const float> values);

    /// While `*cancelled` is true evaluations fail soon with the one diagnostic "evaluation
    /// cancelled": the flag is read in every round of a loop and every call. It must outlive the
    /// copy; null (the default) takes it away.
    void setCancelFlag(const std::atomic_bool *cancelled);

    /// Fails when any diagnostic was recorded; the faulty expression then reads as float zero.
    Result<void> evaluate();
    /// The same without building the list of diagnostics: false when there was any fault.
    bool evaluateQuick();

    QVariant get(Handle handle) const;
    /// 0 for an unknown handle or an absent value.
    float getFloat(Handle handle) const;

    /// Evaluates one float output for a row of points: `input` is a vec3 slot, the points are
    /// (x0 + i * step, y, z) when given by `xs`, with everything else as it was last set.
    /// @param xs   count x coordinates; y and z are the same for all
    /// @param out  count values of `output`; a point whose evaluation faults gets `failed`
    /// @return false when any point faulted; firstFault() then tells the first
    /// Afterwards `input` holds the last point; what the outputs hold is unspecified.
    bool evaluateRow(Handle input, std::span<const float> xs, float y, float z, Handle output,
                     std::span<float> out, float failed);
    /// The same for any points (xs[i], ys[i], zs[i]): as many of each as of `out`.
    bool evaluatePoints(Handle input, std::span<const float> xs, std::span<const float> ys,
                        std::span<const float> zs, Handle output, std::span<float> out,
                        float failed);
    /// What one float output may be over a whole box of points: `input` is a vec3 slot, whose
    /// components are taken from these intervals, with everything else as it was last set.
    ///
    /// Every value that the other calls give for a point of the box lies in the answer, which may
    /// be a good deal larger: it is tight for boxes that are small, and where a coordinate is used
    /// once. Where nothing can be said (a loop of too many rounds, a built-in of whole matrices, a
    /// program that has no register form or runs on another back-end than Interpreted) it is
    /// everything, with mayFault. Costs about as much as ten points.
    IntervalResult evaluateInterval(Handle input, const Interval &x, const Interval &y,
                                    const Interval &z, Handle output);

    /// The first diagnostic of the last evaluateQuick(), evaluateRow() or evaluatePoints() that
    /// returned false.
    Diagnostic firstFault() const;

private:
    friend class Program; // a batch runs on the program's own copy
    std::unique_ptr<internal::EvaluationState> m_state;
};

/// A compiled graph. Copies share the compiled code; a copy's slot values are its own.
///
/// evaluate() changes the slots and belongs to one thread; threadCopy() gives other threads their
/// own.
class Program
{
public:
    Program();
    explicit Program(QSharedPointer<const internal::CompiledProgram> program);
    Program(const Program &other);
    Program &operator=(const Program &other);
    Program(Program &&) noexcept;
    Program &operator=(Program &&) noexcept;
    ~Program();

    bool isValid() const;
    /// What it really runs on: never Auto.
    Backend backend() const;
    bool isFromCache() const;

    void set(Handle handle, const QVariant &value);
    void bindArray(Handle handle, std::span<const float> values);
    /// As that of a ThreadCopy, for evaluate() and evaluateBatch().
    void setCancelFlag(const std::atomic_bool *cancelled);
    Result<void> evaluate();
    QVariant get(Handle handle) const;
    float getFloat(Handle handle) const;
    /// The declared type of an input or the resolved type of an output; Void for an unknown handle.
    Type slotType(Handle handle) const;
    Handle handleOf(const QString &name) const;

    /// Evaluates `count` elements from flat spans. Element i reads its inputs, packed in
    /// declaration order by slotFloatWidth, at input[i * stride] and writes its outputs, packed
    /// likewise, at output[i * outputFloats].
    Result<void> evaluateBatch(std::span<const float> input, std::span<float> output,
                               qsizetype count, qsizetype stride);

    /// Evaluates a program from one vec3 to one float at all nodes (xs[i], ys[j], zs[k]) of a grid:
    /// node (i, j, k) goes to output[i + (j + k * ny) * nx]. On a graphics processor only the
    /// coordinates travel there, not three of them for each node. The values are those of
    /// evaluateBatch().
    Result<void> evaluateGrid(std::span<const float> xs, std::span<const float> ys,
                              std::span<const float> zs, std::span<float> output);

    ThreadCopy threadCopy() const;

private:
    QSharedPointer<const internal::CompiledProgram> m_program;
    std::unique_ptr<ThreadCopy> m_own; ///< slot values of evaluate(); made when first needed
};

} // namespace eval
