#include <corvane/model/Corvane.h>

#include <corvane/model/Logging.h>

#include <QCryptographicHash>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace corvane::model {

Q_LOGGING_CATEGORY(lcModel, "ondrel.model", QtWarningMsg)

Corvane::Corvane(QObject *parent)
    : QObject(parent)
{}

Corvane::~Corvane() = default;

QSharedPointer<Corvane> Corvane::create(QObject *parent)
{
    const QPointer<Corvane> document = new Corvane(parent);
    return {document.data(), [document](Corvane *) { delete document.data(); }};
}

void Corvane::reset()
{
    unregisterFileScopedDefinitions();
    m_name.clear();
    m_units = u"mm"_s;
    m_variables = {};
    m_varset.clear();
    m_settings.clear();
    m_items.clear();
    m_roots.clear();
    m_hasRoots = false;
    m_materials.clear();
    m_materialNameIndex.clear();
    m_customDefinitions.clear();
    m_embedBuiltins = false;
    m_metadata.clear();
    m_otherKeys.clear();
    emit nameChanged(m_name);
    emit varsetChanged();
    emit sceneSettingsChanged();
    emit rootsChanged();
    emit selectionChanged();
    structureTouched();
}

QString Corvane::stateFingerprint() const
{
    const auto json = QJsonDocument(QJsonObject::fromVariantMap(toVariantMap()));
    QString state = QString::fromUtf8(json.toJson(QJsonDocument::Compact)) + u";selected="_s;
    const QList<QUuid> selected = selectedInstances();
    for (const QUuid &id : selected)
        state += id.toString();
    state += u";units="_s + m_units;
    const QByteArray digest = QCryptographicHash::hash(state.toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(digest.toHex());
}

void Corvane::setName(const QString &name)
{
    if (m_name == name)
        return;
    m_name = name;
    emit nameChanged(name);
}

void Corvane::setUnits(const QString &units)
{
    m_units = units;
}

void Corvane::setMetadata(const QVariantMap &metadata)
{
    m_metadata = metadata;
}

QString duplicateBaseName(const QString &name)
{
    static const QRegularExpression numberAtEnd(u"\\s+\\d+$"_s);
    QString base = name;
    return base.remove(numberAtEnd);
}

} // namespace corvane::model
