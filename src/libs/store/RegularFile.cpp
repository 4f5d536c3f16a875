#include "RegularFile.h"

#include "failWith.h"

#include <QScopeGuard>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace store {

namespace {

constexpr qint64 blockSize = 1 << 20;

bool isResource(const QString &path)
{
    return path.startsWith(":/"_L1);
}

QString kindOf(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFDIR:
        return u"a folder"_s;
    case S_IFIFO:
        return u"a FIFO"_s;
    case S_IFSOCK:
        return u"a socket"_s;
    default:
        return u"a device"_s;
    }
}

QString sizeText(qint64 bytes)
{
    constexpr qint64 mebibyte = 1 << 20;
    return bytes >= mebibyte && bytes % mebibyte == 0 ? u"%1 MiB"_s.arg(bytes / mebibyte)
                                                      : u"%1 bytes"_s.arg(bytes);
}

/// Where a reader tells why it has nothing.
struct Refusal
{
    QString *error = nullptr;
    bool *isTooLarge = nullptr;

    std::nullopt_t tooLarge(qint64 mostBytes) const
    {
        if (isTooLarge)
            *isTooLarge = true;
        failWith(error, u"it is larger than "_s + sizeText(mostBytes));
        return std::nullopt;
    }
};

bool requireRegular(const struct stat &status, QString *error)
{
    return S_ISREG(status.st_mode) || failWith(error, notRegularText(status.st_mode));
}

/// The name in the system's encoding; empty, with the error, where none can be opened.
QByteArray nameOf(const QString &path, QString *error)
{
    // The system would take the part before the null for the name.
    if (path.isEmpty() || path.contains(QChar(u'\0'))) {
        failWith(error, path.isEmpty() ? ENOENT : EINVAL);
        return {};
    }
    return QFile::encodeName(path);
}

int openDescriptor(const QByteArray &name, int flags, QString *error)
{
    int descriptor = -1;
    do
        descriptor = ::open(name.constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | flags);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0)
        failWith(error, errno);
    return descriptor;
}

/// A descriptor of a regular file, and how long that is; -1 with the error.
///
/// Looked at before it is opened, since opening a device may already do something (rewind a tape,
/// start a watchdog), and afterwards, since another may lie there by then: that is why opening must
/// not wait.
int openRegular(const QString &path, qint64 &size, QString *error)
{
    const QByteArray name = nameOf(path, error);
    if (name.isEmpty())
        return -1;
    struct stat status = {};
    if (::stat(name.constData(), &status) != 0) {
        failWith(error, errno);
        return -1;
    }
    const int descriptor =
        requireRegular(status, error) ? openDescriptor(name, O_NONBLOCK, error) : -1;
    if (descriptor < 0)
        return -1;
    const bool isKnown = ::fstat(descriptor, &status) == 0 || failWith(error, errno);
    if (!isKnown || !requireRegular(status, error)) {
        ::close(descriptor);
        return -1;
    }
    size = status.st_size;
    return descriptor;
}

ssize_t readBlock(int descriptor, char *data, qint64 size)
{
    ssize_t count = 0;
    do
        count = ::read(descriptor, data, std::size_t(size));
    while (count < 0 && errno == EINTR);
    return count;
}

/// To the end, whatever size was announced: that of a file under /proc is 0, and others grow.
std::optional<QByteArray> readAll(int descriptor, qint64 announcedSize, qint64 mostBytes,
                                  const Refusal &refusal)
{
    QByteArray bytes;
    bytes.reserve(announcedSize + 1);
    for (;;) {
        const qint64 room = std::max(bytes.capacity() - bytes.size(), blockSize);
        const qint64 before = bytes.size();
        bytes.resize(before + std::min(room, mostBytes + 1 - before));
        const ssize_t count = readBlock(descriptor, bytes.data() + before, bytes.size() - before);
        bytes.resize(before + std::max<ssize_t>(count, 0));
        if (count < 0) {
            failWith(refusal.error, errno);
            return std::nullopt;
        }
        if (count == 0)
            return bytes;
        if (bytes.size() > mostBytes)
            return refusal.tooLarge(mostBytes);
    }
}

std::optional<QByteArray> readResource(const QString &path, qint64 mostBytes,
                                       const Refusal &refusal)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        failWith(refusal.error, file.errorString());
        return std::nullopt;
    }
    return file.size() > mostBytes ? refusal.tooLarge(mostBytes) : std::optional(file.readAll());
}

std::optional<QByteArray> readStream(const QByteArray &name, qint64 mostBytes,
                                     const Refusal &refusal)
{
    const int descriptor = openDescriptor(name, 0, refusal.error);
    if (descriptor < 0)
        return std::nullopt;
    const auto close = qScopeGuard([descriptor] { ::close(descriptor); });
    return readAll(descriptor, 0, mostBytes, refusal);
}

} // namespace

QString notRegularText(mode_t mode)
{
    return u"it is %1, not a regular file"_s.arg(kindOf(mode));
}

std::optional<QByteArray> readRegularFile(const QString &path, qint64 mostBytes, QString *error,
                                          bool *isTooLarge)
{
    const Refusal refusal{error, isTooLarge};
    if (isResource(path))
        return readResource(path, mostBytes, refusal);
    qint64 size = 0;
    const int descriptor = openRegular(path, size, error);
    if (descriptor < 0)
        return std::nullopt;
    const auto close = qScopeGuard([descriptor] { ::close(descriptor); });
    return size > mostBytes ? refusal.tooLarge(mostBytes)
                            : readAll(descriptor, size, mostBytes, refusal);
}

RegularFile::RegularFile(const QString &path)
    : QFile(path)
    , m_path(path)
{}

bool RegularFile::open(OpenMode mode)
{
    if (isResource(m_path))
        return QFile::open(mode);
    QString error = u"it can only be read"_s;
    qint64 size = 0;
    const bool isReading = (mode & (WriteOnly | Append | Truncate | NewOnly)) == 0;
    const int descriptor = isReading ? openRegular(m_path, size, &error) : -1;
    if (descriptor >= 0 && QFile::open(descriptor, mode, AutoCloseHandle))
        return true;
    if (descriptor < 0)
        setErrorString(error);
    else
        ::close(descriptor);
    return false;
}

std::optional<QByteArray> readInput(const QString &path, const InputLimits &limits, QString *error,
                                    bool *isTooLarge)
{
    const QByteArray name = nameOf(path, error);
    struct stat status = {};
    const bool isStream = !isResource(path) && !name.isEmpty() &&
                          ::stat(name.constData(), &status) == 0 && !S_ISREG(status.st_mode) &&
                          !S_ISDIR(status.st_mode);
    return isStream ? readStream(name, limits.stream, {error, isTooLarge})
                    : readRegularFile(path, limits.file, error, isTooLarge);
}

bool isSameFile(const QString &first, const QString &second)
{
    struct stat one = {};
    struct stat other = {};
    return ::stat(QFile::encodeName(first).constData(), &one) == 0 &&
           ::stat(QFile::encodeName(second).constData(), &other) == 0 &&
           one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

} // namespace store
