#pragma once

#include <QList>
#include <QString>
#include <QVariant>

namespace store {

/// A setting of the application and what it is until somebody sets it; the type of the value is its
/// type. An invalid value means that there is none.
struct SettingDefault
{
    QString key{};
    QVariant value{};
};

/// All settings with a fixed key, each key once.
const QList<SettingDefault> &settingDefaults();

/// The default of a key; invalid for one that is not in the table.
QVariant defaultOfSetting(const QString &key);

} // namespace store
