#pragma once

#include <eval/Program.h>
#include <eval/internal/CompiledProgram.h>

#include <QStringList>

/// One program in both forms: register code where there is any, and the walk over its trees.
///
/// The source is the output "d"; the inputs are `vec3 p`, `float k`, `int n` and `bool flag`, set
/// alike on both.
class ProgramPair
{
public:
    explicit ProgramPair(const QString &source, bool reportRuntimeFaults = true);

    QStringList errors; ///< of the compile
    bool isLowered() const;
    void setInputs(float x, float y, float z, float k, int n, bool flag);

    /// Values bit by bit and diagnostics with their spans, as text; NaN is NaN whatever its bits.
    QString lowered() { return outcome(fast); }
    QString walked() { return outcome(plain); }
    /// The values along a row in hexadecimal, and the first fault.
    QString loweredRow(const QList<float> &xs, float y, float z) { return row(fast, xs, y, z); }
    QString walkedRow(const QList<float> &xs, float y, float z) { return row(plain, xs, y, z); }
    /// The same at any points, of three coordinates each.
    QString loweredPoints(const QList<float> &xyz) { return scattered(fast, xyz); }
    QString walkedPoints(const QList<float> &xyz) { return scattered(plain, xyz); }

    eval::ThreadCopy fast;
    eval::ThreadCopy plain;

    static constexpr eval::Handle p = 1;
    static constexpr eval::Handle k = 2;
    static constexpr eval::Handle n = 3;
    static constexpr eval::Handle flag = 4;
    static constexpr eval::Handle d = 5;

private:
    static QString outcome(eval::ThreadCopy &copy);
    static QString row(eval::ThreadCopy &copy, const QList<float> &xs, float y, float z);
    static QString scattered(eval::ThreadCopy &copy, const QList<float> &xyz);

    QSharedPointer<const eval::internal::CompiledProgram> m_compiled;
};

/// A diagnostic as "line:column+length category message".
QString describe(const eval::Diagnostic &diagnostic);
/// A value with the bits of its floats.
QString describe(const QVariant &value);
