#pragma once

namespace store {

/// The system calls of a save that can be made to fail. Nameless is no failure of the save but of
/// the file system, which cannot make files without a name: it strikes only where it is asked for.
enum class Operation { Open, Write, Sync, Rename, Nameless };

/// A seam for tests: while one of these lives, the n-th guarded system call of the process fails as
/// it would on a bad day: open and rename with EACCES, sync with EIO, a write after half of its
/// bytes with ENOSPC.
///
///     for (int n = 1;; ++n) {
///         const store::FaultInjection fault(n);
///         const bool saved = save();
///         if (!fault.hasFired()) { ... saved must hold; break; }
///         ... the old or the new file must be there, whole ...
///     }
///
/// One at a time; other threads that save meanwhile are counted too.
class FaultInjection
{
public:
    /// @param failingCall  counted from 1, over all operations or over the one that is given
    explicit FaultInjection(int failingCall);
    FaultInjection(Operation operation, int failingCall);
    ~FaultInjection();
    FaultInjection(const FaultInjection &) = delete;
    FaultInjection &operator=(const FaultInjection &) = delete;

    bool hasFired() const;

    /// Asked by the writer before each call: true when this one is to fail.
    static bool strikes(Operation operation) noexcept;
};

} // namespace store
