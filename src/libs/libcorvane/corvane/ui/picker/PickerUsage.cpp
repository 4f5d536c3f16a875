#include <corvane/ui/picker/PickerUsage.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace corvane::ui {

namespace {

const QString recentKey = u"defpicker/recent"_s;
const QString usageKey = u"defpicker/usage"_s;

} // namespace

PickerUsage::PickerUsage(store::Settings *settings)
    : m_settings(settings)
{
    if (settings)
        load();
}

void PickerUsage::load()
{
    const auto recent = m_settings->getCustomSetting(recentKey).toString().toUtf8();
    const QJsonArray ids = QJsonDocument::fromJson(recent).array();
    for (const QJsonValue &id : ids) {
        if (id.isString() && !m_recent.contains(id.toString()) && m_recent.size() < mostRecent)
            m_recent.append(id.toString());
    }
    const auto usage = m_settings->getCustomSetting(usageKey).toString().toUtf8();
    const QJsonObject counts = QJsonDocument::fromJson(usage).object();
    for (auto it = counts.constBegin(); it != counts.constEnd(); ++it) {
        if (it->toInt() > 0 && m_counts.size() < mostCounted)
            m_counts.insert(it.key(), it->toInt());
    }
}

void PickerUsage::notePicked(const QString &id)
{
    m_recent.removeAll(id);
    m_recent.prepend(id);
    while (m_recent.size() > mostRecent)
        m_recent.removeLast();
    ++m_counts[id];
    if (m_counts.size() > mostCounted) {
        const auto rarest = std::min_element(m_counts.cbegin(), m_counts.cend());
        m_counts.erase(rarest);
    }
    save();
}

void PickerUsage::save() const
{
    if (!m_settings)
        return;
    QJsonObject counts;
    for (auto it = m_counts.cbegin(); it != m_counts.cend(); ++it)
        counts.insert(it.key(), *it);
    const auto text = [](const QJsonDocument &document) {
        return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
    };
    m_settings->setCustomSetting(recentKey,
                                 text(QJsonDocument(QJsonArray::fromStringList(m_recent))));
    m_settings->setCustomSetting(usageKey, text(QJsonDocument(counts)));
}

QStringList PickerUsage::often() const
{
    QStringList ids;
    for (auto it = m_counts.cbegin(); it != m_counts.cend(); ++it) {
        if (*it >= 2 && !m_recent.contains(it.key()))
            ids.append(it.key());
    }
    std::sort(ids.begin(), ids.end(), [this](const QString &a, const QString &b) {
        return count(a) != count(b) ? count(a) > count(b) : a < b;
    });
    return ids.mid(0, mostOften);
}

} // namespace corvane::ui
