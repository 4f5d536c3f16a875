#include "TemporaryFile.h"

#include "FaultInjection.h"
#include "GuardedCalls.h"

#include <QRandomGenerator>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace store {

namespace {

constexpr int mostAttempts = 100;

// Answers -1 with errno 0 where files must have names.
int openNameless(const QByteArray &folder, mode_t mode)
{
    if (FaultInjection::strikes(Operation::Nameless)) {
        errno = 0;
        return -1;
    }
    const int fd = openGuarded(folder, O_WRONLY | O_TMPFILE, mode);
    if (fd < 0) {
        const bool isUnknown =
            errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL || errno == ENOSYS;
        errno = isUnknown ? 0 : errno;
        return -1;
    }
    if (::access(pathOfDescriptor(fd).constData(), F_OK) == 0)
        return fd;
    ::close(fd); // it could not be given a name later
    errno = 0;
    return -1;
}

} // namespace

int TemporaryFile::create(const Target &target, bool ownerOnly)
{
    // Nobody reads along before the permissions of the old file are set.
    const mode_t mode = target.exists || ownerOnly ? 0600 : 0666;
    m_folder = target.folder;
    const int fd = openNameless(m_folder, mode);
    return fd < 0 && errno == 0 ? createNamed(mode) : fd;
}

// Made with O_EXCL under a name that nobody can foresee, so that a link planted there is not
// followed.
int TemporaryFile::createNamed(mode_t mode)
{
    for (int i = 0; i < mostAttempts; ++i) {
        chooseName();
        const int fd = openGuarded(m_path, O_WRONLY | O_CREAT | O_EXCL | O_TRUNC, mode);
        m_hasName = fd >= 0;
        if (m_hasName)
            return fd;
        forget();
        if (errno != EEXIST)
            return -1;
    }
    return -1;
}

// A link replaces nothing, so that the file gets a name of its own on the way to the target's.
bool TemporaryFile::giveName(int fd)
{
    for (int i = 0; i < mostAttempts && !m_hasName; ++i) {
        chooseName();
        m_hasName = linkGuarded(fd, m_path);
        if (m_hasName)
            break;
        forget();
        if (errno != EEXIST)
            return false;
    }
    return m_hasName;
}

bool TemporaryFile::renameTo(const QByteArray &path)
{
    if (!renameGuarded(m_path, path))
        return false;
    m_hasName = false;
    forget();
    return true;
}

void TemporaryFile::remove()
{
    const int failure = errno;
    if (m_hasName)
        ::unlink(m_path.constData());
    m_hasName = false;
    forget();
    errno = failure;
}

// Known before it is there: a signal may come in between.
void TemporaryFile::chooseName()
{
    m_path = m_folder + "/.~corvane-" +
             QByteArray::number(QRandomGenerator::system()->generate64(), 36) + ".tmp";
    m_slot = PendingFiles::add(m_path.constData());
}

void TemporaryFile::forget()
{
    PendingFiles::remove(m_slot);
    m_slot = PendingFiles::noSlot;
}

} // namespace store
