#include "GuardedCalls.h"

#include "FaultInjection.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace store {

int openGuarded(const QByteArray &path, int flags, mode_t mode)
{
    if (FaultInjection::strikes(Operation::Open)) {
        errno = EACCES;
        return -1;
    }
    int fd = -1;
    do
        fd = ::open(path.constData(), flags | O_CLOEXEC | O_NOCTTY, mode);
    while (fd < 0 && errno == EINTR);
    return fd;
}

bool writeAll(int fd, const char *data, qsizetype size)
{
    const bool struck = FaultInjection::strikes(Operation::Write);
    qsizetype left = struck ? size / 2 : size;
    while (left > 0) {
        const ssize_t written = ::write(fd, data, std::size_t(left));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            errno = written == 0 ? ENOSPC : errno;
            return false;
        }
        data += written;
        left -= written;
    }
    if (struck)
        errno = ENOSPC;
    return !struck;
}

bool takeOver(int fd, uid_t owner, gid_t group, mode_t mode)
{
    // Only root may give a file away; whoever gets a file of another owner must not get its set-id
    // bits.
    if (::fchown(fd, owner, group) != 0)
        mode &= 0777;
    return ::fchmod(fd, mode) == 0;
}

bool syncGuarded(int fd)
{
    if (FaultInjection::strikes(Operation::Sync)) {
        errno = EIO;
        return false;
    }
    int result = 0;
    do
        result = ::fsync(fd);
    while (result != 0 && errno == EINTR);
    // What keeps nothing (pipes, some mounted folders) has nothing to sync.
    return result == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
}

bool renameGuarded(const QByteArray &from, const QByteArray &to)
{
    if (FaultInjection::strikes(Operation::Rename)) {
        errno = EACCES;
        return false;
    }
    return std::rename(from.constData(), to.constData()) == 0;
}

QByteArray pathOfDescriptor(int fd)
{
    return "/proc/self/fd/" + QByteArray::number(fd);
}

bool linkGuarded(int fd, const QByteArray &path)
{
    if (FaultInjection::strikes(Operation::Rename)) {
        errno = EACCES;
        return false;
    }
    return ::linkat(AT_FDCWD, pathOfDescriptor(fd).constData(), AT_FDCWD, path.constData(),
                    AT_SYMLINK_FOLLOW) == 0;
}

bool syncFolder(const QByteArray &folder)
{
    const int fd = openGuarded(folder, O_RDONLY | O_DIRECTORY, 0);
    if (fd < 0)
        return errno == EACCES &&
               ::access(folder.constData(), R_OK) != 0; // not readable, yet writable
    const bool synced = syncGuarded(fd);
    const int failure = errno;
    ::close(fd);
    errno = failure;
    return synced;
}

} // namespace store
