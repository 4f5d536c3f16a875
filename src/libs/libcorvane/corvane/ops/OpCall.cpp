#include <corvane/ops/OpCall.h>

#include <corvane/model/PlainValue.h>
#include <corvane/ops/Logging.h>

using namespace Qt::StringLiterals;

namespace corvane::ops {

Q_LOGGING_CATEGORY(lcOps, "ondrel.ops", QtWarningMsg)

int OpCall::number(QLatin1StringView key, int fallback) const
{
    bool isNumber = false;
    const int number = value(key).toInt(&isNumber);
    return isNumber ? number : fallback;
}

QList<QUuid> OpCall::ids(QLatin1StringView key) const
{
    QList<QUuid> ids;
    const QVariantList values = value(key).toList();
    for (const QVariant &entry : values)
        ids.append(toId(entry));
    return ids;
}

std::nullopt_t OpCall::refuse(const QString &reason, const QString &detail) const
{
    const QString line = m_kind + u": "_s + reason;
    if (detail.isEmpty())
        qCWarning(lcOps).noquote() << line;
    else
        qCWarning(lcOps).noquote() << line << detail;
    return std::nullopt;
}

std::nullopt_t OpCall::refuse(const QString &reason, const QUuid &id) const
{
    return refuse(reason, id.toString(QUuid::WithoutBraces));
}

QUuid OpCall::toId(const QVariant &value)
{
    return value.typeId() == QMetaType::QUuid ? value.toUuid()
                                              : QUuid::fromString(value.toString());
}

} // namespace corvane::ops
