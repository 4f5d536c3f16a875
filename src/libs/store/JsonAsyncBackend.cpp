#include "JsonAsyncBackend.h"

#include "PrivateFile.h"
#include "RegularFile.h"
#include "SafeFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <cerrno>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcJson, "ondrel.store.json")

namespace store {

JsonAsyncBackend::JsonAsyncBackend()
{
    m_helper.configure();
}

void JsonAsyncBackend::setFilenameBackend(const QString &path)
{
    const std::lock_guard lock(m_mutex);
    m_path = path;
}

QString JsonAsyncBackend::filenameBackend() const
{
    const std::lock_guard lock(m_mutex);
    return m_path;
}

bool JsonAsyncBackend::existsBackend() const
{
    const QString path = filenameBackend();
    return !path.isEmpty() && QFileInfo::exists(path);
}

bool JsonAsyncBackend::readAll(const QString &path, QByteArray &bytes)
{
    QString reason;
    bool isTooLarge = false;
    const auto content = readRegularFile(path, mostBytes, &reason, &isTooLarge);
    m_damaged = isTooLarge;
    if (!content) {
        qCWarning(lcJson).noquote()
            << u"ERROR: Could not open %1 for reading: %2"_s.arg(path, reason);
        return false;
    }
    bytes = *content;
    return true;
}

QVariantMap JsonAsyncBackend::loadBackend(bool *ok)
{
    *ok = false;
    m_damaged = false;
    const QString path = filenameBackend();
    if (path.isEmpty() || !isActiveBackend()) {
        qCWarning(lcJson) << "ERROR: NO Backend while loading json";
        return {};
    }
    QByteArray bytes;
    if (!readAll(path, bytes))
        return {};
    if (bytes.isEmpty()) {
        m_damaged = true;
        qCWarning(lcJson).noquote() << u"WARNING: Data read from file '%1' was empty"_s.arg(path);
        return {};
    }
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (!document.isObject()) {
        m_damaged = true;
        const QString what =
            error.error == QJsonParseError::NoError ? u"not an object"_s : error.errorString();
        // The size in place of the data: those may hold a key, which belongs in no log.
        qCWarning(lcJson).noquote()
            << u"ERROR: Parsing json data (%1 bytes) from file '%2' produced error '%3'"_s.arg(
                   QString::number(bytes.size()), path, what);
        return {};
    }
    *ok = true;
    return document.object().toVariantMap();
}

bool JsonAsyncBackend::saveBackend(const QVariantMap &data)
{
    const QString path = filenameBackend();
    if (path.isEmpty() || !isActiveBackend()) {
        qCWarning(lcJson) << "ERROR: NO Backend while saving json";
        return false;
    }
    const QByteArray bytes = QJsonDocument(QJsonObject::fromVariantMap(data)).toJson();
    QString error = u"the folder cannot be made"_s;
    const bool saved =
        m_private ? writePrivateFile(path, bytes, &error)
                  : QDir().mkpath(QFileInfo(path).path()) && writeRegularFile(path, bytes, &error);
    if (!saved)
        qCWarning(lcJson).noquote()
            << u"ERROR: Could not open %1 for writing: %2"_s.arg(path, error);
    return saved;
}

bool JsonAsyncBackend::clearBackend()
{
    return !existsBackend() || QFile::remove(filenameBackend());
}

bool JsonAsyncBackend::setAsideBackend(const QString &why)
{
    return !setAsideFile(filenameBackend(), why).isEmpty();
}

std::shared_ptr<ShutdownHold> JsonAsyncBackend::holdBackend()
{
    const QString path = filenameBackend();
    return std::make_shared<ShutdownHold>(
        ShutdownTask{.title = u"Data"_s,
                     .description = u"Saving"_s,
                     .detail = QFileInfo(path).fileName(),
                     .name = u"JsonAsyncBackend[%1]"_s.arg(path)});
}

} // namespace store
