#include <corvane/component/ComponentLibrary.h>

#include <store/RegularFile.h>
#include <store/SafeFile.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace corvane::component {

namespace {

Q_LOGGING_CATEGORY(lcComponent, "ondrel.component", QtWarningMsg)

constexpr qint64 maxFileSize = 64 * 1024 * 1024;
constexpr qsizetype maxStem = 150; // a file name has room for 255 bytes
constexpr auto suffix = ".json"_L1;

/// Percent-encoded, so that different ids stay different and none leaves the folder; small letters
/// and capitals are told apart by a hash, for the sake of file systems that do not.
QString fileStem(const QString &id)
{
    const QByteArray encoded = QUrl::toPercentEncoding(id, {}, ".~");
    const QString plain = QString::fromLatin1(encoded);
    if (plain.size() <= maxStem && plain == plain.toLower())
        return plain;
    const QByteArray hash = QCryptographicHash::hash(id.toUtf8(), QCryptographicHash::Sha256);
    return plain.left(40) + u'-' + QString::fromLatin1(hash.toHex());
}

ComponentDefinition readFile(const QString &path)
{
    QString reason;
    const auto bytes = store::readRegularFile(path, maxFileSize, &reason);
    if (!bytes) {
        qCWarning(lcComponent).noquote()
            << "ComponentLibrary: Cannot read" << path << "-" << reason;
        return {};
    }
    const QJsonDocument document = QJsonDocument::fromJson(*bytes);
    const auto definition = ComponentDefinition::fromVariantMap(document.object().toVariantMap());
    if (!definition.isValid())
        qCWarning(lcComponent).noquote() << "ComponentLibrary: No component in" << path;
    return definition;
}

} // namespace

ComponentLibrary::ComponentLibrary(const QString &folder, QObject *parent)
    : QObject(parent)
    , m_folder(folder)
{}

ComponentLibrary &ComponentLibrary::instance()
{
    static ComponentLibrary library{QString()};
    return library;
}

QString ComponentLibrary::storageDir() const
{
    if (!m_folder.isEmpty())
        return m_folder;
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + "/components"_L1;
}

QString ComponentLibrary::filePathFor(const QString &id) const
{
    return storageDir() + u'/' + fileStem(id) + suffix;
}

void ComponentLibrary::ensureLoaded()
{
    if (m_isLoaded)
        return;
    m_isLoaded = true;
    const QDir folder(storageDir());
    const QStringList names =
        folder.entryList({u'*' + suffix}, QDir::Files | QDir::Readable, QDir::Name);
    for (const QString &name : names) {
        const ComponentDefinition definition = readFile(folder.filePath(name));
        if (!definition.isValid())
            continue;
        m_definitions.insert(definition.id, definition);
        m_paths.insert(definition.id, folder.filePath(name));
    }
}

QMap<QString, ComponentDefinition> ComponentLibrary::definitions()
{
    ensureLoaded();
    return m_definitions;
}

bool ComponentLibrary::contains(const QString &id)
{
    ensureLoaded();
    return m_definitions.contains(id);
}

ComponentDefinition ComponentLibrary::definition(const QString &id)
{
    ensureLoaded();
    return m_definitions.value(id);
}

bool ComponentLibrary::saveDefinition(const ComponentDefinition &definition, QString *error)
{
    const auto refuse = [error](const QString &message) {
        if (error)
            *error = message;
        return false;
    };
    ensureLoaded();
    if (!definition.isValid())
        return refuse(tr("Definition is incomplete."));
    if (!QDir().mkpath(storageDir()))
        return refuse(tr("Cannot create library directory %1.").arg(storageDir()));
    const QString path = filePathFor(definition.id);
    const QJsonObject object = QJsonObject::fromVariantMap(definition.toVariantMap());
    QString why;
    if (!store::writeRegularFile(path, QJsonDocument(object).toJson(), &why))
        return refuse(tr("Cannot write %1: %2").arg(path, why));
    // A file that the user put there under another name would bring the old state back.
    if (const QString former = m_paths.value(definition.id); !former.isEmpty() && former != path)
        QFile::remove(former);
    m_paths.insert(definition.id, path);
    m_definitions.insert(definition.id, definition);
    emit definitionSaved(definition.id);
    return true;
}

bool ComponentLibrary::removeDefinition(const QString &id, QString *error)
{
    ensureLoaded();
    if (!m_definitions.contains(id))
        return false;
    QFile file(m_paths.value(id));
    if (file.exists() && !file.remove()) {
        if (error)
            *error = tr("Cannot delete %1: %2").arg(file.fileName(), file.errorString());
        return false;
    }
    m_definitions.remove(id);
    m_paths.remove(id);
    emit definitionRemoved(id);
    return true;
}

} // namespace corvane::component
