// Objects are trusted because nobody else can write where they lie; that is checked, and an
// object that is not the user's own is compiled anew.

#include <eval/internal/native/NativeCache.h>

#include <cache/CacheLimit.h>
#include <eval/internal/native/PlainFile.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <cstdio>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

constexpr QByteArrayView footerMark("eval.native.1\n");
constexpr qsizetype hashSize = 32;
constexpr qint64 largestObject = 256ll << 20;

/// Over the key too: an object under another's name is none.
QByteArray footerOf(const QByteArray &key, QByteArrayView object)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(key);
    hash.addData(object);
    return footerMark.toByteArray() + hash.result();
}

struct stat statusOf(const QString &path, bool &exists)
{
    struct stat status = {};
    exists = lstat(QFile::encodeName(path).constData(), &status) == 0;
    return status;
}

} // namespace

NativeCache::NativeCache(QString folder)
    : m_folder(std::move(folder))
{}

QString NativeCache::defaultFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + u"/native"_s;
}

QByteArray NativeCache::keyOf(const QByteArray &source)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const QByteArrayView part :
         {QByteArrayView("eval.v4"), QByteArrayView("-O2"), QByteArrayView("-fno-exceptions"),
          QByteArrayView("-fno-rtti"), QByteArrayView(source), QByteArrayView("v1.cr")}) {
        hash.addData(part);
        hash.addData(QByteArrayView("\0", 1));
    }
    return hash.result().toHex();
}

QString NativeCache::pathOf(const QByteArray &key) const
{
    return m_folder + u'/' + QString::fromLatin1(key) + u".so"_s;
}

bool NativeCache::isFolderSafe() const
{
    bool exists = false;
    const struct stat status = statusOf(m_folder, exists);
    return exists && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & 077) == 0;
}

bool NativeCache::holds(const QByteArray &key) const
{
    struct stat status = {};
    if (!isFolderSafe())
        return false;
    const auto content = readPlainFile(pathOf(key), largestObject, &status);
    if (!content || status.st_uid != geteuid() || (status.st_mode & 022) != 0)
        return false;
    const qsizetype size = content->size() - footerMark.size() - hashSize;
    const bool isWhole =
        size > 0 && content->endsWith(footerOf(key, QByteArrayView(*content).first(size)));
    if (isWhole)
        cache::CacheLimit::noteUse(pathOf(key));
    return isWhole;
}

bool NativeCache::prepareFolder() const
{
    QDir().mkpath(QFileInfo(m_folder).path());
    mkdir(QFile::encodeName(m_folder).constData(), 0700);
    bool exists = false;
    const struct stat status = statusOf(m_folder, exists);
    if (exists && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
        (status.st_mode & 077) != 0)
        chmod(QFile::encodeName(m_folder).constData(), 0700);
    return isFolderSafe();
}

QString NativeCache::store(const QByteArray &key, const QByteArray &object) const
{
    const auto notWritten = [](const QString &why) {
        return u"Failed to write .so to cache: %1"_s.arg(why);
    };
    if (!prepareFolder())
        return notWritten(u"%1 cannot be made a folder of this user alone"_s.arg(m_folder));
    const QString path = pathOf(key);
    // A name of its own: two processes may be at the same object.
    QTemporaryFile file(path + u".tmp.XXXXXX"_s);
    const QByteArray content = object + footerOf(key, object);
    if (!file.open() || file.write(content) != content.size() || !file.flush())
        return notWritten(u"%1 in %2"_s.arg(file.errorString(), m_folder));
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    const QByteArray temporary = QFile::encodeName(file.fileName());
    if (std::rename(temporary.constData(), QFile::encodeName(path).constData()) != 0)
        return u"Failed to rename cached .so into place"_s;
    file.setAutoRemove(false);
    cache::CacheLimit({.folders = {m_folder}, .suffixes = {u".so"_s}, .leftovers = {u".so.tmp."_s}})
        .noteStore(content.size());
    return {};
}

} // namespace eval::internal
