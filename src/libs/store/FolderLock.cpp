#include "FolderLock.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace store {

bool waitForLock(int descriptor, const QDeadlineTimer &deadline)
{
    constexpr unsigned long pollMs = 5;
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || deadline.hasExpired())
            return false;
        QThread::msleep(pollMs);
    }
    return true;
}

FolderLock::FolderLock(const QString &folder, std::chrono::milliseconds patience)
    : m_descriptor(
          ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    , m_isHeld(m_descriptor >= 0 && waitForLock(m_descriptor, QDeadlineTimer(patience)))
{}

FolderLock::~FolderLock()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

} // namespace store
