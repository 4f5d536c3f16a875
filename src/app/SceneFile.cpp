#include "SceneFile.h"

#include <store/FolderLock.h>
#include <store/RegularFile.h>

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>

#include <chrono>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray digestOf(const QString &path)
{
    store::RegularFile file(path);
    QCryptographicHash hash(QCryptographicHash::Blake2b_256);
    return file.open(QIODevice::ReadOnly) && hash.addData(&file) ? hash.result() : QByteArray();
}

bool isStillAt(const QByteArray &path, int descriptor)
{
    struct stat opened = {};
    struct stat present = {};
    return ::fstat(descriptor, &opened) == 0 && ::stat(path.constData(), &present) == 0 &&
           opened.st_dev == present.st_dev && opened.st_ino == present.st_ino;
}

/// Longer than any save takes; whoever holds a lock beyond that holds it for something else.
constexpr auto longestSave = std::chrono::seconds(10);

/// Opens the file and waits for its lock; -1 when it can't be opened. Saving puts a new file in the
/// place of the old one, whose lock is then worth nothing: the new one is locked in turn. Where no
/// lock is to be had there is still the look at the content.
int openLocked(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    const QDeadlineTimer deadline(longestSave);
    for (;;) {
        const int descriptor = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (descriptor < 0 || !store::waitForLock(descriptor, deadline) ||
            isStillAt(name, descriptor))
            return descriptor;
        ::close(descriptor);
    }
}

} // namespace

SceneFile::SceneFile(const QString &path)
    : m_path(path)
    , m_isPlain(QFileInfo(path).isFile())
    , m_digest(m_isPlain ? digestOf(path) : QByteArray())
{}

bool SceneFile::isAt(const QString &path) const
{
    return store::isSameFile(m_path, path);
}

bool SceneFile::replace(const std::function<bool()> &write, QString &error) const
{
    if (!m_isPlain)
        return write();
    const int descriptor = openLocked(m_path);
    const auto unlock = qScopeGuard([descriptor] {
        if (descriptor >= 0)
            ::close(descriptor);
    });
    if (digestOf(m_path) == m_digest)
        return write();
    error = u"it was changed by another program while the plan ran"_s;
    return false;
}
