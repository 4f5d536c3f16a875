#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

namespace corvane::zirn {

/// Texts in the order of their first coming, each once.
class UniqueTexts
{
public:
    void add(const QStringList &texts)
    {
        for (const QString &text : texts) {
            if (m_known.contains(text))
                continue;
            m_known.insert(text);
            m_texts.append(text);
        }
    }
    const QStringList &texts() const { return m_texts; }

private:
    QSet<QString> m_known;
    QStringList m_texts;
};

} // namespace corvane::zirn
