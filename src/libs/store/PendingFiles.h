#pragma once

namespace store {

/// The table of temporary files that a signal handler removes. Lock-free: slots are claimed with
/// one exchange.
class PendingFiles
{
public:
    static constexpr int noSlot = -1;

    /// Enters a path before its file is made. Answers its slot, or noSlot when the table is full.
    static int add(const char *path) noexcept;
    static void remove(int slot) noexcept;

    /// Unlinks every file of the table. Async-signal-safe.
    static void unlinkAll() noexcept;
};

} // namespace store
