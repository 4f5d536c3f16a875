// The life of a mark's file:
//
//     absent --open--> empty --lock, write--> locked and filled --came back--> absent
//                                                   |
//                                                   +--process died--> filled, nobody's
//
// Only the last one refuses. Who opens a file just before its owner removes it gets the lock of a
// file without a name; the count of names tells, and it is opened again.
#include <shader/CompileMark.h>

#include <store/PendingFiles.h>

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

using namespace Qt::StringLiterals;

namespace shader {

namespace {

constexpr int keyLength = 32;
constexpr int openTries = 3;
constexpr qsizetype longestName = 200; ///< of a shader, in bytes of a mark
constexpr mode_t ownerOnly = 0600;

/// The first line of a mark.
QByteArray versionLine()
{
    return "corvane compile mark, version " + QCoreApplication::applicationVersion().toUtf8() +
           '\n';
}

int openMark(const QByteArray &path)
{
    return ::open(path.constData(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                  ownerOnly);
}

/// Whether nobody else compiles this, and the file is still the one of that name.
bool isOurs(int file, bool &isGone)
{
    struct stat status = {};
    if (::flock(file, LOCK_EX | LOCK_NB) != 0 || ::fstat(file, &status) != 0)
        return false;
    isGone = status.st_nlink == 0;
    return S_ISREG(status.st_mode) && !isGone;
}

bool isFilledBy(int file, const QByteArray &version)
{
    QByteArray begin(version.size(), Qt::Uninitialized);
    return ::pread(file, begin.data(), static_cast<size_t>(begin.size()), 0) == begin.size() &&
           begin == version;
}

QString dayOf(int file)
{
    struct stat status = {};
    ::fstat(file, &status);
    return QDateTime::fromSecsSinceEpoch(status.st_mtime).toString(u"yyyy-MM-dd hh:mm"_s);
}

QString refusalOf(Compiler compiler, const QString &name, const QString &day, const QString &path)
{
    const QString who =
        compiler == Compiler::Glsl ? u"The shader compiler"_s : u"The graphics driver"_s;
    return u"%1 was at work on \"%2\" when the program died (%3), so it is not given that shader "
           "again by this version of the program. Change what the shader is made of, or remove the "
           "file %4 to try it once more"_s.arg(who, name, day, path);
}

} // namespace

CompileMark::CompileMark(Compiler compiler, const QString &key, const QString &name,
                         const QString &folder)
{
    static const QString ofProcess = defaultFolder();
    const QString place = folder.isEmpty() ? ofProcess : folder;
    const QString path = place + (compiler == Compiler::Glsl ? "/glsl-"_L1 : "/driver-"_L1) + key;
    m_path = QFile::encodeName(path);
    if (!lock(place))
        return;
    const QByteArray version = versionLine();
    if (isFilledBy(m_file, version)) {
        m_refusal = refusalOf(compiler, name, dayOf(m_file), path);
        ::close(std::exchange(m_file, -1));
        return;
    }
    m_pending = store::PendingFiles::add(m_path.constData());
    const QByteArray text = version + name.toUtf8().left(longestName) + '\n';
    // On a full disk it stays empty, and refuses nothing.
    [[maybe_unused]] const bool isWritten =
        ::ftruncate(m_file, 0) == 0 &&
        ::pwrite(m_file, text.constData(), static_cast<size_t>(text.size()), 0) == text.size();
}

CompileMark::~CompileMark()
{
    if (m_file < 0)
        return;
    // Without its name before it is let go: nobody is to find it filled and not locked.
    ::unlink(m_path.constData());
    store::PendingFiles::remove(m_pending);
    ::close(m_file);
}

bool CompileMark::lock(const QString &folder)
{
    bool isGone = true;
    for (int i = 0; i < openTries && isGone; ++i) {
        m_file = openMark(m_path);
        if (m_file < 0 && errno == ENOENT && QDir().mkpath(folder))
            m_file = openMark(m_path);
        isGone = false;
        if (m_file < 0)
            return false;
        if (isOurs(m_file, isGone))
            return true;
        ::close(std::exchange(m_file, -1));
    }
    return false;
}

QString CompileMark::driverKey(const QShader &shader, const QString &driver)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    const QList<QShaderKey> parts = shader.availableShaders();
    for (const QShaderKey &part : parts)
        hash.addData(shader.shader(part).shader());
    hash.addData(driver.toUtf8());
    return QString::fromLatin1(hash.result().toHex().first(keyLength));
}

QString CompileMark::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) + "/compiling"_L1;
}

int forgetRefusals(const QString &folder)
{
    int count = 0;
    const QDir marks(folder);
    const QStringList names = marks.entryList({u"glsl-*"_s, u"driver-*"_s}, QDir::Files);
    for (const QString &name : names) {
        const QByteArray path = QFile::encodeName(marks.filePath(name));
        const int file = ::open(path.constData(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        bool isGone = false;
        if (file >= 0 && isOurs(file, isGone) && ::unlink(path.constData()) == 0)
            ++count;
        if (file >= 0)
            ::close(file);
    }
    return count;
}

} // namespace shader
