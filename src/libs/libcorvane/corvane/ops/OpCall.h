#pragma once

#include <QLatin1StringView>
#include <QStringList>
#include <QUuid>
#include <QVariantMap>

#include <optional>

namespace corvane::ops {

/// The arguments of one op, read by type, and the road of its refusal.
class OpCall
{
public:
    OpCall(QLatin1StringView kind, const QVariantMap &args)
        : m_kind(kind)
        , m_args(args)
    {}

    const QVariantMap &args() const { return m_args; }
    bool has(QLatin1StringView key) const { return value(key).isValid(); }
    QVariant value(QLatin1StringView key) const { return m_args.value(QString(key)); }
    QString text(QLatin1StringView key) const { return value(key).toString(); }
    bool flag(QLatin1StringView key) const { return value(key).toBool(); }
    QVariantMap map(QLatin1StringView key) const { return value(key).toMap(); }
    QStringList words(QLatin1StringView key) const { return value(key).toStringList(); }
    int number(QLatin1StringView key, int fallback) const;
    /// Null when it is missing, empty, or no uuid.
    QUuid id(QLatin1StringView key) const { return toId(value(key)); }
    QList<QUuid> ids(QLatin1StringView key) const;

    /// Logs "<kind>: <reason> <detail>". For `return call.refuse(...)`.
    std::nullopt_t refuse(const QString &reason, const QString &detail = {}) const;
    std::nullopt_t refuse(const QString &reason, const QUuid &id) const;

    static QUuid toId(const QVariant &value);

private:
    QLatin1StringView m_kind;
    const QVariantMap &m_args;
};

} // namespace corvane::ops
