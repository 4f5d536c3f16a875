#include "SafeFile.h"

#include "GuardedCalls.h"
#include "PendingFiles.h"
#include "RegularFile.h"
#include "Target.h"
#include "TemporaryFile.h"

#include <QIODevice>

#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace store {

namespace {

constexpr qsizetype bufferSize = 256 * 1024;
constexpr qint64 writebackSize = 8 * 1024 * 1024;

// A reader that leaves its FIFO sends SIGPIPE, whose default ends the process. Blocked for this
// thread, it turns into the errno EPIPE; the signal that then waits is taken away.
class NoSigPipe
{
public:
    NoSigPipe()
    {
        sigset_t waiting;
        sigpending(&waiting);
        m_wasWaiting = sigismember(&waiting, SIGPIPE) == 1;
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
    }
    ~NoSigPipe()
    {
        const int failure = errno;
        constexpr timespec noTime = {};
        if (!m_wasWaiting)
            while (sigtimedwait(&m_pipe, nullptr, &noTime) < 0 && errno == EINTR) {
            }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
        errno = failure;
    }
    NoSigPipe(const NoSigPipe &) = delete;
    NoSigPipe &operator=(const NoSigPipe &) = delete;

private:
    sigset_t m_pipe = {}, m_before = {};
    bool m_wasWaiting = false;
};

bool takeOverPermissions(int fd, const Target &target, bool ownerOnly)
{
    return takeOver(fd, target.owner, target.group, ownerOnly ? S_IRUSR | S_IWUSR : target.mode);
}

bool save(SafeFile &file, QByteArrayView bytes, QString *error)
{
    const bool saved = file.open() && file.write(bytes) && file.commit();
    if (!saved && error)
        *error = file.errorString();
    return saved;
}

} // namespace

// ------------------------------------------------------------------ the sink

class SafeFile::Sink : public QIODevice
{
public:
    explicit Sink(const QString &givenPath)
        : path(givenPath)
    {}
    ~Sink() override { cancel(); }

    bool isSequential() const override { return true; }
    bool hasFailed() const { return m_failure != 0; }
    QString failureText() const { return m_failureText; }

    bool openTarget();
    bool append(const char *data, qint64 size);
    bool commit();
    void cancel();

    const QString path;
    bool isPrivate = false;
    bool isRegularOnly = false;

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *data, qint64 size) override
    {
        return append(data, size) ? size : -1;
    }

private:
    bool fail(int failure) { return fail(failure, qt_error_string(failure != 0 ? failure : EIO)); }
    bool fail(int failure, const QString &text);
    bool flush();
    bool writeOut(const char *data, qsizetype size);
    void startWriteback(qsizetype size);
    bool replaceTarget();
    bool closeDescriptor();
    bool isDirect() const { return m_target.kind == Target::Kind::Direct; }

    Target m_target;
    TemporaryFile m_temporary;
    QByteArray m_buffer;
    int m_fd = -1;
    qint64 m_synced = 0;   // up to here the disk was told to write
    qint64 m_unsynced = 0; // bytes written behind that
    int m_failure = 0;     // the first errno
    QString m_failureText; // and what it says
};

bool SafeFile::Sink::fail(int failure, const QString &text)
{
    if (m_failure == 0) {
        m_failure = failure != 0 ? failure : EIO;
        m_failureText = text;
        setErrorString(text);
    }
    return false;
}

bool SafeFile::Sink::openTarget()
{
    if (isOpen() || hasFailed())
        return false;
    if (const int failure = Target::resolve(path, m_target))
        return fail(failure);
    if (isDirect() && isRegularOnly)
        return fail(EINVAL, notRegularText(m_target.type));
    m_fd = isDirect() ? openGuarded(m_target.path, O_WRONLY, 0)
                      : m_temporary.create(m_target, isPrivate);
    if (m_fd < 0)
        return fail(errno);
    if (!isDirect() && m_target.exists && !takeOverPermissions(m_fd, m_target, isPrivate)) {
        fail(errno);
        cancel();
        return false;
    }
    m_buffer.reserve(bufferSize);
    return QIODevice::open(QIODevice::WriteOnly | QIODevice::Unbuffered);
}

bool SafeFile::Sink::writeOut(const char *data, qsizetype size)
{
    if (size == 0)
        return true;
    if (!isDirect()) {
        if (!writeAll(m_fd, data, size))
            return fail(errno);
        startWriteback(size);
        return true;
    }
    const NoSigPipe guard;
    return writeAll(m_fd, data, size) || fail(errno);
}

// The disk works while the rest is made, which leaves the sync at the end little to wait for. Only
// a hint: what it can't do, the sync does.
void SafeFile::Sink::startWriteback(qsizetype size)
{
    m_unsynced += size;
    if (m_unsynced < writebackSize)
        return;
    ::sync_file_range(m_fd, m_synced, m_unsynced, SYNC_FILE_RANGE_WRITE);
    m_synced += m_unsynced;
    m_unsynced = 0;
}

bool SafeFile::Sink::flush()
{
    const bool written = !hasFailed() && writeOut(m_buffer.constData(), m_buffer.size());
    m_buffer.resize(0); // keeps its capacity
    return written;
}

bool SafeFile::Sink::append(const char *data, qint64 size)
{
    if (m_fd < 0)
        return fail(EBADF);
    if (hasFailed())
        return false;
    if (m_buffer.size() + size > bufferSize && !flush())
        return false;
    if (size >= bufferSize)
        return writeOut(data, size);
    m_buffer.append(data, size);
    return true;
}

bool SafeFile::Sink::closeDescriptor()
{
    const int fd = m_fd;
    m_fd = -1;
    if (QIODevice::isOpen())
        QIODevice::close();
    return fd < 0 || ::close(fd) == 0 || errno == EINTR;
}

bool SafeFile::Sink::commit()
{
    if (m_fd < 0)
        return fail(EBADF);
    if (flush() && replaceTarget())
        return isDirect() || syncFolder(m_target.folder) || fail(errno);
    cancel();
    return false;
}

bool SafeFile::Sink::replaceTarget()
{
    const bool replaced = syncGuarded(m_fd) && (isDirect() || m_temporary.giveName(m_fd)) &&
                          closeDescriptor() && (isDirect() || m_temporary.renameTo(m_target.path));
    return replaced || fail(errno);
}

void SafeFile::Sink::cancel()
{
    m_buffer.resize(0);
    closeDescriptor();
    m_temporary.remove();
}

// ------------------------------------------------------------------ the public face

SafeFile::SafeFile(const QString &path)
    : m_sink(std::make_unique<Sink>(path))
{}

SafeFile::~SafeFile() = default;

void SafeFile::setPrivate()
{
    m_sink->isPrivate = true;
}

void SafeFile::setRegularOnly()
{
    m_sink->isRegularOnly = true;
}

bool SafeFile::open()
{
    return m_sink->openTarget();
}

bool SafeFile::write(QByteArrayView bytes)
{
    return m_sink->append(bytes.data(), bytes.size());
}

QIODevice *SafeFile::device()
{
    return m_sink.get();
}

bool SafeFile::commit()
{
    return m_sink->commit();
}

void SafeFile::cancel()
{
    m_sink->cancel();
}

bool SafeFile::isOpen() const
{
    return m_sink->isOpen();
}

bool SafeFile::hasFailed() const
{
    return m_sink->hasFailed();
}

QString SafeFile::path() const
{
    return m_sink->path;
}

QString SafeFile::errorString() const
{
    return m_sink->failureText();
}

void SafeFile::removeAllPending() noexcept
{
    PendingFiles::unlinkAll();
}

bool writeFile(const QString &path, QByteArrayView bytes, QString *error)
{
    SafeFile file(path);
    return save(file, bytes, error);
}

bool writeRegularFile(const QString &path, QByteArrayView bytes, QString *error)
{
    SafeFile file(path);
    file.setRegularOnly();
    return save(file, bytes, error);
}

bool probeWritable(const QString &path, QString *error)
{
    Target target;
    int failure = Target::resolve(path, target);
    if (failure == 0 && target.kind == Target::Kind::Replaceable) {
        TemporaryFile trial; // only making a file tells what mounts, quotas and access lists allow
        const int fd = trial.create(target, true);
        failure = fd < 0 ? errno : 0;
        if (fd >= 0)
            ::close(fd);
    }
    if (failure != 0 && error)
        *error = qt_error_string(failure);
    return failure == 0;
}

} // namespace store
