#include <corvane/model/NameCounter.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

void NameCounter::add(const QString &name)
{
    if (!name.isEmpty())
        ++m_holders[name];
}

void NameCounter::remove(const QString &name)
{
    const auto holders = m_holders.find(name);
    if (holders == m_holders.end())
        return;
    if (--*holders > 0)
        return;
    m_holders.erase(holders);
    const qsizetype blank = name.lastIndexOf(u' ');
    const auto taken = blank < 0 ? m_allTakenBelow.end() : m_allTakenBelow.find(name.left(blank));
    if (taken == m_allTakenBelow.end())
        return;
    bool isNumber = false;
    const int number = QStringView(name).sliced(blank + 1).toInt(&isNumber);
    if (isNumber && number > 0 && number < *taken)
        *taken = number;
}

void NameCounter::clear()
{
    m_holders.clear();
    m_allTakenBelow.clear();
}

QString NameCounter::freeName(const QString &base) const
{
    int &number = m_allTakenBelow[base];
    for (number = std::max(number, 1);; ++number) {
        const QString name = base + u' ' + QString::number(number);
        if (!contains(name))
            return name;
    }
}

} // namespace corvane::model
