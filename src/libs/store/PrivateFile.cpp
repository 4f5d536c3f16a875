#include "PrivateFile.h"

#include "SafeFile.h"
#include "failWith.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QStandardPaths>

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcFiles, "ondrel.store.files")

namespace store {

namespace {

constexpr mode_t accessForOthers = S_IRWXG | S_IRWXO;

bool isOwnLocation(const QString &folder)
{
    const QString clean = QDir::cleanPath(folder);
    for (const auto location :
         {QStandardPaths::AppDataLocation, QStandardPaths::AppLocalDataLocation,
          QStandardPaths::AppConfigLocation}) {
        const QString own = QStandardPaths::writableLocation(location);
        if (!own.isEmpty() && (clean == own || clean.startsWith(own + u'/')))
            return true;
    }
    return false;
}

/// Not by QFile, which copies what can't be renamed, and would wait for a FIFO's writer.
bool rename(const QString &from, const QString &to)
{
    return std::rename(QFile::encodeName(from), QFile::encodeName(to)) == 0;
}

} // namespace

bool makePrivateFolder(const QString &folder, QString *error)
{
    const QString absolute = QDir(folder).absolutePath();
    const QByteArray path = QFile::encodeName(absolute);
    // The last one is made by hand: it must not be open to others for a moment.
    if (!QDir().mkpath(QFileInfo(absolute).path()))
        return failWith(error, errno);
    if (::mkdir(path.constData(), S_IRWXU) == 0)
        return true;
    struct stat status = {};
    if (errno != EEXIST || ::stat(path.constData(), &status) != 0)
        return failWith(error, errno);
    if (!S_ISDIR(status.st_mode))
        return failWith(error, ENOTDIR);
    if ((status.st_mode & accessForOthers) == 0)
        return true;
    if (!isOwnLocation(absolute) || ::chmod(path.constData(), S_IRWXU) != 0)
        qCWarning(lcFiles).noquote()
            << u"WARNING: Others may enter the folder '%1' of a private file"_s.arg(absolute);
    return true;
}

bool writePrivateFile(const QString &path, QByteArrayView bytes, QString *error)
{
    if (!makePrivateFolder(QFileInfo(path).path(), error))
        return false;
    SafeFile file(path);
    file.setPrivate();
    file.setRegularOnly();
    const bool written = file.open() && file.write(bytes) && file.commit();
    if (!written && error)
        *error = file.errorString();
    return written;
}

QString setAsideFile(const QString &path, const QString &why, const QStringList &companions)
{
    constexpr int mostAttempts = 1000;
    const QString stem =
        path + u".damaged-"_s + QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s);
    for (int i = 1; i <= mostAttempts; ++i) {
        const QString kept = i == 1 ? stem : stem + u'-' + QString::number(i);
        if (QFileInfo::exists(kept))
            continue;
        if (!rename(path, kept))
            break; // not the name is in the way
        for (const QString &ending : companions)
            rename(path + ending, kept + ending);
        qCWarning(lcFiles).noquote()
            << u"WARNING: '%1' was kept as '%2': %3"_s.arg(path, kept, why);
        return kept;
    }
    qCWarning(lcFiles).noquote() << u"WARNING: '%1' could not be moved aside: %2"_s.arg(path, why);
    return {};
}

} // namespace store
