#include "Target.h"

#include <QFile>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace store {

namespace {

QByteArray folderOf(const QByteArray &path)
{
    const qsizetype slash = path.lastIndexOf('/');
    if (slash < 0)
        return ".";
    return slash == 0 ? QByteArray("/") : path.left(slash);
}

// The file that links lead to may not be there yet, which realpath does not allow.
int followDanglingLinks(QByteArray &path)
{
    constexpr int mostLinks = 40; // as the kernel allows
    for (int i = 0; i < mostLinks; ++i) {
        char text[PATH_MAX];
        const ssize_t length = ::readlink(path.constData(), text, sizeof text);
        if (length < 0)
            return errno == EINVAL || errno == ENOENT ? 0 : errno;
        const QByteArray link(text, length);
        path = link.startsWith('/') ? link : folderOf(path) + '/' + link;
    }
    return ELOOP;
}

int resolveExisting(const struct stat &status, Target &target)
{
    if (S_ISDIR(status.st_mode))
        return EISDIR;
    if (::access(target.path.constData(), W_OK) != 0)
        return errno;
    target.exists = true;
    target.mode = status.st_mode & 07777;
    target.type = status.st_mode & S_IFMT;
    target.owner = status.st_uid;
    target.group = status.st_gid;
    if (!S_ISREG(status.st_mode)) {
        target.kind = Target::Kind::Direct;
        return 0;
    }
    const std::unique_ptr<char, decltype(&std::free)> real(
        ::realpath(target.path.constData(), nullptr), &std::free);
    if (!real)
        return errno;
    target.path = real.get();
    return 0;
}

} // namespace

int Target::resolve(const QString &path, Target &target)
{
    target = {};
    if (path.isEmpty())
        return ENOENT;
    if (path.contains(QChar(u'\0')))
        return EINVAL;
    target.path = QFile::encodeName(path);
    struct stat status = {};
    int failure = 0;
    if (::stat(target.path.constData(), &status) == 0)
        failure = resolveExisting(status, target);
    else if (errno != ENOENT)
        failure = errno;
    else if (target.path.endsWith('/'))
        failure = EISDIR;
    else
        failure = followDanglingLinks(target.path);
    target.folder = folderOf(target.path);
    return failure;
}

} // namespace store
