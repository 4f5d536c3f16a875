#pragma once

#include <QJsonObject>
#include <QString>
#include <QVariantMap>

#include <optional>

namespace corvane::model {
class Corvane;
}

/// The values that a JSON object gives to the variables of a scene.
class ParameterOverrides
{
public:
    /// Reads a file. On failure none, and `error` says why.
    static std::optional<ParameterOverrides> read(const QString &path, QString &error);

    /// Assigns every value that differs; a name that the scene does not declare becomes a new
    /// variable.
    void applyTo(corvane::model::Corvane &scene) const;

    QVariantMap values() const { return m_values.toVariantMap(); }
    int count() const { return int(m_values.size()); }

private:
    QJsonObject m_values;
};
