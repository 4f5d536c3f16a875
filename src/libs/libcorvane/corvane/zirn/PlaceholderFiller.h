#pragma once

#include <QHash>
#include <QString>

namespace corvane::zirn {

/// Replaces the placeholders in the texts of one step, and counts what that comes to.
class PlaceholderFiller
{
public:
    explicit PlaceholderFiller(const QHash<QString, QString> &variables)
        : m_variables(variables)
    {}

    /// Fills `text` in place. False with error() when that is not possible.
    bool fill(const QString &argument, QString &text);
    const QString &error() const { return m_error; }

private:
    bool replace(const QString &argument, QString &text, qsizetype at, qsizetype end);
    bool staysInLimits(const QString &argument, const QString &text, int replacements);

    const QHash<QString, QString> &m_variables;
    qsizetype m_filledSize = 0; ///< characters of the texts that were filled so far
    QString m_error;
};

} // namespace corvane::zirn
