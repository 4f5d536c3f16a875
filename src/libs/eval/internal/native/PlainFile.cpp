#include <eval/internal/native/PlainFile.h>

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

namespace eval::internal {

std::optional<QByteArray> readPlainFile(const QString &path, qint64 mostBytes, struct stat *status)
{
    // Without O_NONBLOCK a FIFO would wait for its writer before anything can be asked about it.
    const int descriptor = open(QFile::encodeName(path).constData(),
                                O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (descriptor < 0)
        return std::nullopt;
    QFile file;
    struct stat found = {};
    if (!file.open(descriptor, QIODevice::ReadOnly | QIODevice::Unbuffered,
                   QFileDevice::AutoCloseHandle)) {
        close(descriptor);
        return std::nullopt;
    }
    if (fstat(descriptor, &found) != 0 || !S_ISREG(found.st_mode) || found.st_size > mostBytes)
        return std::nullopt;
    if (status)
        *status = found;
    QByteArray content = file.read(mostBytes + 1); // it may grow meanwhile
    return content.size() > mostBytes ? std::nullopt : std::optional(content);
}

} // namespace eval::internal
