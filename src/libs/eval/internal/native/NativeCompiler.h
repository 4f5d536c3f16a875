#pragma once

#include <QByteArray>
#include <QString>

#include <chrono>

namespace eval::internal {

/// The entry points of a loaded unit, see Codegen.
using NativeEntry = void (*)(const float *, float *, const float *const *, const int *);
using NativeRowEntry = void (*)(const float *, float, float, float *, long);
using NativePointsEntry = void (*)(const float *, const float *, const float *, float *, long);
using NativeWatch = void (*)(const unsigned char *);

/// What a compiler, a child process, may take.
struct CompilerLimits
{
    std::chrono::milliseconds start{5'000};
    std::chrono::milliseconds time{120'000};
    qint64 memory = 4ll << 30;     ///< bytes of address space of one of its processes
    qint64 processorSeconds = 120; ///< of one of its processes
    qint64 output = 16 << 20;      ///< bytes of messages before it is ended
    qint64 object = 256ll << 20;   ///< bytes of the largest file that it may write
};

struct JitResult
{
    void *handle = nullptr; ///< never closed: the entry points stay valid
    NativeEntry entry = nullptr;
    NativeRowEntry row = nullptr;       ///< null where the unit has none
    NativePointsEntry points = nullptr; ///< likewise
    NativeWatch watch = nullptr;        ///< likewise
    QString error;                      ///< empty on success
    QString notKept;                    ///< why the cache could not take a new object
    std::chrono::milliseconds elapsed{0};
    bool wasCached = false;
};

/// Compiles a unit with the system's compiler, unless the cache holds its object, and loads it. An
/// object that the cache can't take is used all the same, with one warning in the life of a
/// process.
///
/// Blocks for as long as the compiler takes; may run on any thread, and for one unit on several
/// threads and in several processes at once. The compiler gets no shell, an environment of PATH,
/// LANG and TMPDIR only, and a process group of its own, which is ended with it.
JitResult jitCompileAndLoad(const QByteArray &source, const CompilerLimits &limits = {});

} // namespace eval::internal
