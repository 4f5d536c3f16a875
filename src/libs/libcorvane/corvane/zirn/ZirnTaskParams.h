#pragma once

#include <QString>
#include <QVariantList>
#include <QVariantMap>

#include <utility>

namespace corvane::zirn {

/// The arguments of one step, with typed readers.
///
/// A plan is written by a model or by hand, so nothing about the types can be relied on: each
/// reader converts as QVariant does, and an absent key, a null, or a value that has no such
/// reading answers the default.
class ZirnTaskParams
{
public:
    ZirnTaskParams() = default;
    explicit ZirnTaskParams(QVariantMap values)
        : m_values(std::move(values))
    {}

    bool contains(const QString &key) const { return m_values.contains(key); }
    /// As it came; invalid when absent.
    QVariant value(const QString &key) const { return m_values.value(key); }
    const QVariantMap &toMap() const { return m_values; }

    QString getString(const QString &key, const QString &defaultValue = {}) const;
    /// Fractions are rounded; numbers outside of 32 bits have no such reading.
    int getInt(const QString &key, int defaultValue = 0) const;
    /// Infinities and NaN have no such reading.
    double getFloat(const QString &key, double defaultValue = 0.0) const;
    /// Of texts, "", "0" and "false" in any case are false.
    bool getBool(const QString &key, bool defaultValue = false) const;
    /// Empty if absent or no map.
    QVariantMap getMap(const QString &key) const;
    /// A list, a list of strings, or a text that begins with "[" and holds a JSON array: models
    /// often pass arrays as text. Anything else is empty.
    QVariantList getList(const QString &key) const;

private:
    QVariantMap m_values;
};

} // namespace corvane::zirn
