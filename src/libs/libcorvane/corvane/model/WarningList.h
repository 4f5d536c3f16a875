#pragma once

#include <QStringList>

namespace corvane::model {

/// The warnings of one load: at most a hundred lines, and one that counts the rest, since a file of
/// nothing but mistakes must not bury its reader.
class WarningList
{
public:
    static constexpr qsizetype maxLines = 100;

    void add(const QString &text)
    {
        if (++m_count <= maxLines)
            m_lines.append(text);
    }

    QStringList lines() const
    {
        QStringList lines = m_lines;
        if (m_count > maxLines)
            lines.append(QStringLiteral("and %1 more").arg(m_count - maxLines));
        return lines;
    }

private:
    QStringList m_lines;
    qsizetype m_count = 0;
};

} // namespace corvane::model
