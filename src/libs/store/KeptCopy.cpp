#include "KeptCopy.h"

#include "GuardedCalls.h"
#include "RegularFile.h"
#include "TemporaryFile.h"
#include "failWith.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace store {

namespace {

constexpr qint64 blockSize = 1 << 20;

/// False with errno.
bool copyInto(int fd, QFile &source)
{
    QByteArray block(blockSize, Qt::Uninitialized);
    for (;;) {
        const qint64 count = source.read(block.data(), block.size());
        if (count == 0)
            return true;
        if (count < 0) {
            errno = EIO;
            return false;
        }
        if (!writeAll(fd, block.constData(), count))
            return false;
    }
}

/// The copy gets its permissions before its content, so that nobody reads along for a moment.
bool fill(int fd, QFile &source)
{
    struct stat status = {};
    return ::fstat(source.handle(), &status) == 0 &&
           takeOver(fd, status.st_uid, status.st_gid, status.st_mode & 07777) &&
           copyInto(fd, source) && syncGuarded(fd);
}

} // namespace

bool canKeepCopy(const QString &copyPath, QString *error)
{
    struct stat status = {};
    if (::lstat(QFile::encodeName(copyPath).constData(), &status) != 0)
        return errno == ENOENT || failWith(error, errno);
    return S_ISREG(status.st_mode) || S_ISLNK(status.st_mode) ||
           failWith(error, notRegularText(status.st_mode));
}

bool keepCopy(const QString &path, const QString &copyPath, QString *error)
{
    RegularFile source(path);
    if (!source.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return failWith(error, source.errorString());
    if (!canKeepCopy(copyPath, error))
        return false;
    const QString folder = QFileInfo(copyPath).path();
    Target target;
    target.folder = QFile::encodeName(folder);
    TemporaryFile copy;
    const int fd = copy.create(target, true);
    if (fd < 0)
        return failWith(error, errno);
    int failure = fill(fd, source) && copy.giveName(fd) ? 0 : errno;
    if (::close(fd) != 0 && failure == 0)
        failure = errno;
    if (failure != 0)
        return failWith(error, failure);
    return (copy.renameTo(QFile::encodeName(copyPath)) && syncFolder(target.folder)) ||
           failWith(error, errno);
}

} // namespace store
