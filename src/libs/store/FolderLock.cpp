#include "FolderLock.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace store {

FolderLock::FolderLock(const QString &folder, std::chrono::milliseconds patience)
    : m_descriptor(
          ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    constexpr unsigned long pollMs = 5;
    const QDeadlineTimer deadline(patience);
    while (m_descriptor >= 0) {
        m_isHeld = ::flock(m_descriptor, LOCK_EX | LOCK_NB) == 0;
        if (m_isHeld || (errno != EWOULDBLOCK && errno != EINTR) || deadline.hasExpired())
            return;
        QThread::msleep(pollMs);
    }
}

FolderLock::~FolderLock()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

} // namespace store
