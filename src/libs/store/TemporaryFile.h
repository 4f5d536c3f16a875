#pragma once

#include <store/PendingFiles.h>
#include <store/Target.h>

namespace store {

/// The file that takes a target's place when it is whole.
///
/// Until then it has no name, so that whatever ends the process leaves nothing behind. Where the
/// file system cannot do that, it has one that begins with ".~corvane-" and ends with ".tmp", in
/// the folder of the target, and is known to PendingFiles.
class TemporaryFile
{
public:
    TemporaryFile() = default;
    ~TemporaryFile() { remove(); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    /// Answers the descriptor, which is the caller's to close; -1 with errno.
    int create(const Target &target, bool ownerOnly);

    /// Before the descriptor is closed, for what is to be renamed. False with errno.
    bool giveName(int fd);
    bool renameTo(const QByteArray &path);

    void remove(); ///< leaves errno alone

private:
    int createNamed(mode_t mode);
    void chooseName();
    void forget();

    QByteArray m_folder;
    QByteArray m_path;
    int m_slot = PendingFiles::noSlot;
    bool m_hasName = false;
};

} // namespace store
