#pragma once

#include <store/Settings.h>

#include <QHash>
#include <QStringList>

namespace corvane::ui {

/// What was picked lately, and how often: kept over runs in the settings "defpicker/recent" and
/// "defpicker/usage". Texts there that can't be read count as empty.
class PickerUsage
{
public:
    static constexpr qsizetype mostRecent = 6;
    static constexpr qsizetype mostOften = 6;
    static constexpr qsizetype mostCounted = 200; ///< the rarest go first

    /// @param settings  not owned; null keeps nothing
    explicit PickerUsage(store::Settings *settings);

    void notePicked(const QString &id);
    QStringList recent() const { return m_recent; } ///< the latest first
    /// Those picked at least twice, most often first, without the recent ones.
    QStringList often() const;
    int count(const QString &id) const { return m_counts.value(id); }

private:
    void load();
    void save() const;

    store::Settings *const m_settings;
    QStringList m_recent;
    QHash<QString, int> m_counts;
};

} // namespace corvane::ui
