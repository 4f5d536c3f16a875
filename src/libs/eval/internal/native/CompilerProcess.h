#pragma once

#include <eval/internal/native/NativeCompiler.h>
#include <eval/internal/native/NativeWorkspace.h>

#include <QString>
#include <QStringList>

namespace eval::internal {

/// What came of one run of a compiler.
struct CompilerRun
{
    bool succeeded = false;
    QString error; ///< when it did not: the compiler's own messages where there are any
};

/// Runs a compiler to its end, or to the end of its limits, with the messages of both channels kept
/// up to a bound. Nothing that it started outlives it.
/// @param workspace  its working folder and its place for temporary files
CompilerRun runCompiler(const QString &program, const QStringList &arguments,
                        const NativeWorkspace &workspace, const CompilerLimits &limits);

/// The first of g++ and clang++ that answers "--version"; g++ when none does.
QString findCompiler(const NativeWorkspace &workspace, const CompilerLimits &limits);

} // namespace eval::internal
