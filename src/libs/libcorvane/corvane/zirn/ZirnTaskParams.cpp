#include <corvane/zirn/ZirnTaskParams.h>

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>
#include <limits>
#include <optional>

namespace corvane::zirn {

namespace {

std::optional<double> finiteNumber(const QVariant &value)
{
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    return isNumber && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

QVariantList parsedArray(const QString &text)
{
    return QJsonDocument::fromJson(text.toUtf8()).array().toVariantList();
}

} // namespace

QString ZirnTaskParams::getString(const QString &key, const QString &defaultValue) const
{
    const QVariant value = m_values.value(key);
    return !value.isNull() && value.canConvert<QString>() ? value.toString() : defaultValue;
}

int ZirnTaskParams::getInt(const QString &key, int defaultValue) const
{
    // Through double, which holds every int: QVariant's own way from a large number wraps around.
    using Limits = std::numeric_limits<int>;
    const std::optional<double> number = finiteNumber(m_values.value(key));
    if (!number || std::round(*number) < Limits::min() || std::round(*number) > Limits::max())
        return defaultValue;
    return int(std::round(*number));
}

double ZirnTaskParams::getFloat(const QString &key, double defaultValue) const
{
    return finiteNumber(m_values.value(key)).value_or(defaultValue);
}

bool ZirnTaskParams::getBool(const QString &key, bool defaultValue) const
{
    const QVariant value = m_values.value(key);
    return !value.isNull() && value.canConvert<bool>() ? value.toBool() : defaultValue;
}

QVariantMap ZirnTaskParams::getMap(const QString &key) const
{
    return m_values.value(key).toMap();
}

QVariantList ZirnTaskParams::getList(const QString &key) const
{
    const QVariant value = m_values.value(key);
    if (value.typeId() != QMetaType::QString)
        return value.toList();
    const QString text = value.toString();
    return text.startsWith(u'[') ? parsedArray(text) : QVariantList();
}

} // namespace corvane::zirn
