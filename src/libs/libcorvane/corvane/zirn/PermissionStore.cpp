#include <corvane/zirn/PermissionStore.h>

#include <store/MethodGate.h>
#include <store/PrivateFile.h>
#include <store/RegularFile.h>
#include <store/SafeFile.h>

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QMutexLocker>
#include <QThread>

#include <optional>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

Q_LOGGING_CATEGORY(lcPermissions, "ondrel.zirn.permissions")

namespace {

constexpr qint64 maxFileSize = 4 << 20;

constexpr auto grantsKey = "grants"_L1;
constexpr auto scopeKey = "scope"_L1;
constexpr auto allowedKey = "allowed"_L1;
constexpr auto expiresAtKey = "expiresAt"_L1;
constexpr auto grantedAtKey = "grantedAt"_L1;

bool outlivesSession(const PermissionGrant &grant)
{
    return grant.lifetime != GrantLifetime::Session;
}

/// Whether both are the same answer to the same question, for as long.
bool sayTheSame(const PermissionGrant &a, const PermissionGrant &b)
{
    return a.scope == b.scope && a.lifetime == b.lifetime && a.allowed == b.allowed;
}

QJsonObject toJson(const PermissionGrant &grant)
{
    QJsonObject object{{scopeKey, grant.scope}, {allowedKey, grant.allowed}};
    if (grant.lifetime == GrantLifetime::Timed)
        object.insert(expiresAtKey, grant.expiresAt.toUTC().toString(Qt::ISODateWithMs));
    if (grant.grantedAt.isValid())
        object.insert(grantedAtKey, grant.grantedAt.toUTC().toString(Qt::ISODateWithMs));
    return object;
}

std::optional<PermissionGrant> grantFromJson(const QJsonObject &object)
{
    PermissionGrant grant{.scope = object.value(scopeKey).toString(),
                          .lifetime = object.contains(expiresAtKey) ? GrantLifetime::Timed
                                                                    : GrantLifetime::Persistent,
                          .allowed = object.value(allowedKey).toBool(),
                          .expiresAt = {},
                          .grantedAt = {}};
    grant.expiresAt =
        QDateTime::fromString(object.value(expiresAtKey).toString(), Qt::ISODateWithMs);
    grant.grantedAt =
        QDateTime::fromString(object.value(grantedAtKey).toString(), Qt::ISODateWithMs);
    const bool isWhole = !grant.scope.isEmpty() && object.value(allowedKey).isBool() &&
                         (outlivesSession(grant) &&
                          (grant.lifetime != GrantLifetime::Timed || grant.expiresAt.isValid()));
    return isWhole ? std::optional(grant) : std::nullopt;
}

/// One entry that makes no sense spoils the file: a denial could stand where it was.
std::optional<QList<PermissionGrant>> grantsFromJson(const QByteArray &json)
{
    const QJsonValue list = QJsonDocument::fromJson(json).object().value(grantsKey);
    if (!list.isArray())
        return std::nullopt;
    QList<PermissionGrant> grants;
    const QJsonArray array = list.toArray();
    for (const QJsonValue &entry : array) {
        const auto grant = grantFromJson(entry.toObject());
        if (!grant)
            return std::nullopt;
        grants.append(*grant);
    }
    return grants;
}

/// None, and said in the log, when it cannot be read.
std::optional<QByteArray> readFile(const QString &path)
{
    QString error;
    const auto content = store::readRegularFile(path, maxFileSize, &error);
    if (!content)
        qCWarning(lcPermissions).noquote()
            << "PermissionStore: cannot read" << path << "-" << error;
    return content;
}

} // namespace

QSharedPointer<PermissionStore> PermissionStore::create()
{
    return {new PermissionStore, [](PermissionStore *store) {
                if (store->thread() == QThread::currentThread())
                    delete store;
                else
                    store->deleteLater();
            }};
}

PermissionAnswer PermissionStore::check(const QString &scope, const QDateTime &now) const
{
    const store::MethodGate gate(this);
    const QMutexLocker lock(&m_mutex);
    auto answer = PermissionAnswer::Ask;
    for (const PermissionGrant &grant : m_grants) {
        if (!grant.isValid(now) || !grant.matches(scope))
            continue;
        if (!grant.allowed)
            return PermissionAnswer::Denied;
        answer = PermissionAnswer::Allowed;
    }
    return answer;
}

QList<PermissionGrant> PermissionStore::grants() const
{
    const store::MethodGate gate(this);
    const QMutexLocker lock(&m_mutex);
    return m_grants;
}

void PermissionStore::addGrant(const PermissionGrant &grant)
{
    const store::MethodGate gate(this);
    {
        const QMutexLocker lock(&m_mutex);
        m_grants.removeIf([&grant](const PermissionGrant &old) { return sayTheSame(old, grant); });
        m_grants.append(grant);
    }
    emit grantsChanged();
}

bool PermissionStore::removeGrants(const QString &scope)
{
    const store::MethodGate gate(this);
    return removeIf([&scope](const PermissionGrant &grant) { return grant.scope == scope; });
}

bool PermissionStore::removeGrants(GrantLifetime lifetime)
{
    const store::MethodGate gate(this);
    return removeIf(
        [lifetime](const PermissionGrant &grant) { return grant.lifetime == lifetime; });
}

template<typename Predicate>
bool PermissionStore::removeIf(Predicate isUnwanted)
{
    {
        const QMutexLocker lock(&m_mutex);
        if (m_grants.removeIf(isUnwanted) == 0)
            return false;
    }
    emit grantsChanged();
    return true;
}

bool PermissionStore::load(const QString &path)
{
    const store::MethodGate gate(this);
    const bool exists = QFileInfo::exists(path);
    const auto json = exists ? readFile(path) : QByteArray();
    if (!json)
        return false;
    const auto loaded = exists ? grantsFromJson(*json) : QList<PermissionGrant>();
    if (!loaded)
        store::setAsideFile(path, u"its permissions can't be read, and none of them hold"_s);
    {
        const QMutexLocker lock(&m_mutex);
        m_grants.removeIf(outlivesSession);
        m_grants += loaded.value_or(QList<PermissionGrant>());
    }
    emit grantsChanged();
    return loaded.has_value();
}

bool PermissionStore::save(const QString &path, QString *error) const
{
    const store::MethodGate gate(this);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    QJsonArray array;
    const QList<PermissionGrant> all = grants();
    for (const PermissionGrant &grant : all) {
        if (outlivesSession(grant) && grant.isValid(now))
            array.append(toJson(grant));
    }
    return store::writeRegularFile(path, QJsonDocument(QJsonObject{{grantsKey, array}}).toJson(),
                                   error);
}

} // namespace corvane::zirn
