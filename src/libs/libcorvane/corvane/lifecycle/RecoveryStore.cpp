#include <corvane/lifecycle/RecoveryStore.h>

#include <corvane/lifecycle/Logging.h>

#include <store/FolderLock.h>
#include <store/RegularFile.h>
#include <store/SafeFile.h>

#include <QDeadlineTimer>
#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUuid>

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace corvane::lifecycle {

namespace {

constexpr auto recordSuffix = ".json"_L1;
constexpr auto lockSuffix = ".lock"_L1;
constexpr qint64 mostRecordBytes = 4 * 1024 * 1024;

QByteArray recordText(const RecoveryRecord &record, const QString &sceneFile)
{
    const QJsonObject map{{u"scene"_s, sceneFile},
                          {u"original"_s, record.originalPath},
                          {u"name"_s, record.name},
                          {u"time"_s, record.time.toUTC().toString(Qt::ISODateWithMs)},
                          {u"thumbnail"_s, QString::fromLatin1(record.thumbnail.toBase64())}};
    return QJsonDocument(map).toJson();
}

int openLock(const QString &path, int flags)
{
    return ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC | flags, 0600);
}

/// Whether the run that had a slot is still there.
bool isAlive(const QString &lockPath)
{
    const int descriptor = openLock(lockPath, 0);
    if (descriptor < 0)
        return false;
    const bool isFree = store::waitForLock(descriptor, QDeadlineTimer(0));
    ::close(descriptor);
    return !isFree;
}

/// A record names a file of its own folder, or none.
bool isPlainName(const QString &file)
{
    return !file.isEmpty() && !file.contains(u'/') && !file.startsWith(u'.');
}

} // namespace

RecoveryStore::RecoveryStore(const QString &folder)
    : m_folder(folder)
    , m_slot(QUuid::createUuid().toString(QUuid::WithoutBraces))
{}

RecoveryStore::~RecoveryStore()
{
    if (m_lock < 0)
        return;
    if (!hasCopy())
        QFile::remove(pathOf(m_slot + lockSuffix));
    ::close(m_lock);
}

QString RecoveryStore::pathOf(const QString &file) const
{
    return m_folder + u'/' + file;
}

bool RecoveryStore::lock(QString *error)
{
    if (m_lock >= 0)
        return true;
    if (!QDir().mkpath(m_folder)) {
        if (error)
            *error = u"the folder %1 can't be made"_s.arg(m_folder);
        return false;
    }
    QFile::setPermissions(m_folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_lock = openLock(pathOf(m_slot + lockSuffix), O_CREAT);
    if (m_lock >= 0 && store::waitForLock(m_lock, QDeadlineTimer(0)))
        return true;
    if (error)
        *error = u"the lock of %1 can't be had: %2"_s.arg(m_folder, qt_error_string());
    return false;
}

bool RecoveryStore::write(const RecoveryRecord &record, const QByteArray &scene, QString *error)
{
    if (!lock(error))
        return false;
    const QString sceneFile = u"%1-%2.corvane"_s.arg(m_slot, QString::number(++m_generation));
    if (!store::writeFile(pathOf(sceneFile), scene, error))
        return false;
    if (!store::writeFile(pathOf(m_slot + recordSuffix), recordText(record, sceneFile), error)) {
        QFile::remove(pathOf(sceneFile));
        return false;
    }
    if (!m_sceneFile.isEmpty())
        QFile::remove(pathOf(m_sceneFile));
    m_sceneFile = sceneFile;
    return true;
}

void RecoveryStore::clear()
{
    if (!hasCopy())
        return;
    QFile::remove(pathOf(m_slot + recordSuffix)); // first: it names the other
    QFile::remove(pathOf(m_sceneFile));
    m_sceneFile.clear();
}

bool RecoveryStore::hasCopy() const
{
    return !m_sceneFile.isEmpty();
}

QList<RecoveryRecord> RecoveryStore::leftBehind() const
{
    QList<RecoveryRecord> found;
    const auto files = QDir(m_folder).entryInfoList({u"*.json"_s}, QDir::Files);
    for (const QFileInfo &file : files) {
        const QString id = file.completeBaseName();
        const auto text = store::readRegularFile(file.filePath(), mostRecordBytes);
        if (id == m_slot || !text || isAlive(pathOf(id + lockSuffix)))
            continue;
        const QJsonObject map = QJsonDocument::fromJson(*text).object();
        const QString scene = map.value("scene"_L1).toString();
        const auto time = QDateTime::fromString(map.value("time"_L1).toString(), Qt::ISODateWithMs);
        if (!isPlainName(scene) || !QFileInfo(pathOf(scene)).isFile() || !time.isValid())
            continue;
        found.append(
            {.id = id,
             .copyPath = pathOf(scene),
             .originalPath = map.value("original"_L1).toString(),
             .name = map.value("name"_L1).toString(),
             .time = time,
             .thumbnail = QByteArray::fromBase64(map.value("thumbnail"_L1).toString().toLatin1())});
    }
    std::sort(found.begin(), found.end(),
              [](const RecoveryRecord &a, const RecoveryRecord &b) { return a.time > b.time; });
    return found;
}

void RecoveryStore::discard(const RecoveryRecord &record) const
{
    if (record.id == m_slot || !isPlainName(record.id))
        return;
    QFile::remove(pathOf(record.id + recordSuffix));
    QFile::remove(record.copyPath);
    QFile::remove(pathOf(record.id + lockSuffix));
}

} // namespace corvane::lifecycle
