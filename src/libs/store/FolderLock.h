#pragma once

#include <QString>

#include <chrono>

class QDeadlineTimer;

namespace store {

/// Waits for the lock of an open file or folder, which is let go when the descriptor is closed.
/// False when another holds it until the deadline, and at once where there are no locks, as on some
/// network disks.
[[nodiscard]] bool waitForLock(int descriptor, const QDeadlineTimer &deadline);

/// Keeps the other processes that use this out of a folder's files while one of them is read,
/// changed and written back. The system takes the lock away when its process ends, and nothing is
/// left on the disk.
///
/// Whoever holds it longer than `patience` holds it for something else, and is not waited for; nor
/// is anything where there are no locks, as on some network disks.
class FolderLock
{
public:
    explicit FolderLock(const QString &folder,
                        std::chrono::milliseconds patience = std::chrono::milliseconds(500));
    ~FolderLock();
    FolderLock(const FolderLock &) = delete;
    FolderLock &operator=(const FolderLock &) = delete;

    bool isHeld() const { return m_isHeld; }

private:
    int m_descriptor = -1;
    bool m_isHeld = false;
};

} // namespace store
