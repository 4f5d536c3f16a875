#include "Settings.h"

#include "FolderLock.h"
#include "IniText.h"
#include "PrivateFile.h"
#include "RegularFile.h"
#include "SafeFile.h"
#include "SettingDefaults.h"
#include "ShutdownLifecycle.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <optional>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcSettings, "ondrel.store.settings")

namespace store {

namespace {

using Values = QMap<QString, QVariant>;

constexpr QLatin1StringView keyPrefix{"custom/"};
constexpr qint64 mostBytes = 16 * 1024 * 1024;

struct Reading
{
    Values values;
    QString damage;      ///< why the content cannot be used
    QString unreachable; ///< why it cannot be read
};

// Values in Qt's binary form could claim any type and any size.
bool holdsBinaryValues(const QByteArray &bytes)
{
    static const QRegularExpression binary(u"[=,]\\s*\"?@(Variant|DateTime)\\("_s);
    return binary.match(QString::fromLatin1(bytes)).hasMatch();
}

Reading readFile(const QString &path)
{
    if (!QFileInfo::exists(path))
        return {};
    QString error;
    bool isTooLarge = false;
    const auto bytes = readRegularFile(path, mostBytes, &error, &isTooLarge);
    if (isTooLarge)
        return {.values = {}, .damage = error, .unreachable = {}};
    if (!bytes)
        return {.values = {}, .damage = {}, .unreachable = error};
    if (holdsBinaryValues(*bytes))
        return {.values = {}, .damage = u"it holds values of unknown types"_s, .unreachable = {}};
    // QSettings keeps what it has read of a path, and takes a file of the same size and millisecond
    // for the one that it knows. Under a name of its own it reads what is there.
    QTemporaryFile copy;
    if (!copy.open() || copy.write(*bytes) != bytes->size() || !copy.flush())
        return {.values = {}, .damage = {}, .unreachable = copy.errorString()};
    const QSettings ini(copy.fileName(), QSettings::IniFormat);
    Values values;
    const QStringList keys = ini.allKeys();
    for (const QString &key : keys)
        values.insert(key, ini.value(key));
    if (ini.status() == QSettings::FormatError) // it is found only while keys are read
        return {.values = {}, .damage = u"it is no INI file"_s, .unreachable = {}};
    return {.values = values, .damage = {}, .unreachable = {}};
}

template<typename T>
QVariant asVariant(const std::optional<T> &value)
{
    return value ? QVariant(*value) : QVariant();
}

// Where QSettings would have it. Not asked of a QSettings: that opens what is there, and a FIFO
// would keep it waiting.
QString iniPath(const Settings::Names &names)
{
    return u"%1/%2/%3.ini"_s.arg(
        QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation), names.organisation,
        names.application);
}

} // namespace

Settings::Settings(const Names &names, QObject *parent)
    : Settings(names, &QDateTime::currentMSecsSinceEpoch, parent)
{}

Settings::Settings(const Names &names, Clock clock, QObject *parent)
    : QObject(parent)
    , m_names(names)
    , m_clock(std::move(clock))
    , m_path(iniPath(names))
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Settings::delayedSync);
    load();
    m_probe = ShutdownLifecycle::instance().registerProbe([this] { shutdownProbe(); });
}

Settings::~Settings()
{
    ShutdownLifecycle::instance().removeProbe(m_probe);
    flush();
}

void Settings::load()
{
    const Reading reading = readFile(m_path);
    m_values = reading.values;
    if (!reading.damage.isEmpty())
        setAsideFile(m_path, u"it is damaged (%1), and defaults are used"_s.arg(reading.damage));
    if (!reading.unreachable.isEmpty())
        qCWarning(lcSettings).noquote()
            << u"ERROR: Could not create Settings for %1, %2, %3, %4: '%5': %6"_s.arg(
                   m_names.group, m_names.organisation, m_names.domain, m_names.application, m_path,
                   reading.unreachable);
}

QString Settings::pathOf(const QString &key) const
{
    const QString trimmed = key.trimmed();
    if (trimmed.isEmpty()) {
        qCWarning(lcSettings) << "ERROR: Key was empty";
        return {};
    }
    return m_names.group + u'/' + keyPrefix + trimmed;
}

// ------------------------------------------------------------------ values

QVariant Settings::getCustomSetting(const QString &key, const QVariant &defaultValue) const
{
    const QString path = pathOf(key);
    if (const auto value = m_values.constFind(path); value != m_values.constEnd())
        return *value;
    return defaultValue.isValid() ? defaultValue : defaultOfSetting(key.trimmed());
}

int Settings::getCustomSettingInt(const QString &key, std::optional<int> defaultValue) const
{
    bool ok = false;
    const int value = getCustomSetting(key, asVariant(defaultValue)).toInt(&ok);
    return ok ? value : defaultValue.value_or(defaultOfSetting(key.trimmed()).toInt());
}

double Settings::getCustomSettingDouble(const QString &key,
                                        std::optional<double> defaultValue) const
{
    bool ok = false;
    const double value = getCustomSetting(key, asVariant(defaultValue)).toDouble(&ok);
    return ok ? value : defaultValue.value_or(defaultOfSetting(key.trimmed()).toDouble());
}

bool Settings::getCustomSettingBool(const QString &key, std::optional<bool> defaultValue) const
{
    const QString word = getCustomSetting(key, asVariant(defaultValue)).toString().toLower();
    if (word == "true"_L1 || word == "1"_L1)
        return true;
    if (word == "false"_L1 || word == "0"_L1)
        return false;
    return defaultValue.value_or(defaultOfSetting(key.trimmed()).toBool());
}

QRect Settings::getCustomSettingRect(const QString &key, const QRect &defaultValue) const
{
    const QVariant value = getCustomSetting(key, defaultValue);
    return value.typeId() == QMetaType::QRect ? value.toRect() : defaultValue;
}

QByteArray Settings::getCustomSettingByteArray(const QString &key,
                                               const QByteArray &defaultValue) const
{
    const QVariant value = getCustomSetting(key, defaultValue);
    return value.typeId() == QMetaType::QByteArray ? value.toByteArray() : defaultValue;
}

void Settings::setCustomSetting(const QString &key, const QVariant &value)
{
    writeThrottled(key, value);
}

void Settings::setCustomSettingInt(const QString &key, int value)
{
    writeThrottled(key, value);
}

void Settings::setCustomSettingDouble(const QString &key, double value)
{
    writeThrottled(key, value);
}

void Settings::setCustomSettingBool(const QString &key, bool value)
{
    writeThrottled(key, value);
}

void Settings::setCustomSettingRect(const QString &key, const QRect &value)
{
    writeThrottled(key, value);
}

void Settings::setCustomSettingByteArray(const QString &key, const QByteArray &value)
{
    writeThrottled(key, value);
}

void Settings::writeThrottled(const QString &key, const QVariant &value)
{
    const QString path = pathOf(key);
    if (path.isEmpty())
        return;
    if (!hasIniForm(value)) {
        qCWarning(lcSettings).noquote()
            << u"ERROR: The value of '%1' has a type that settings cannot hold: %2"_s.arg(
                   key, QString::fromUtf8(value.typeName()));
        return;
    }
    m_values.insert(path, value);
    m_changed.insert(path);
    m_dirty = true;
    sync();
    emit customSettingChanged(key.trimmed());
}

// ------------------------------------------------------------------ the disk

void Settings::sync()
{
    const qint64 passed = m_clock() - m_lastSyncMs;
    if (passed > syncIntervalMs || passed < 0) { // the system's clock may have been set back
        delayedSync();
        return;
    }
    if (!m_timer.isActive())
        m_timer.start(int(syncIntervalMs - passed));
}

void Settings::delayedSync()
{
    m_timer.stop();
    m_lastSyncMs = m_clock();
    if (m_dirty && write())
        m_dirty = false;
}

bool Settings::write()
{
    const QString folder = QFileInfo(m_path).path();
    QDir().mkpath(folder);
    const FolderLock lock(folder); // what another writes between our reading and writing is lost
    Reading disk = readFile(m_path);
    QString error = disk.unreachable;
    if (!disk.damage.isEmpty() &&
        setAsideFile(m_path, u"it is damaged (%1)"_s.arg(disk.damage)).isEmpty())
        error = disk.damage;
    // What others have written since stays, unless it was changed here too.
    Values merged = disk.damage.isEmpty() ? disk.values : m_values;
    for (const QString &path : std::as_const(m_changed))
        merged.insert(path, m_values.value(path));
    if (!error.isEmpty() || !writeRegularFile(m_path, iniText(merged), &error)) {
        qCWarning(lcSettings).noquote()
            << u"ERROR: Could not write settings to '%1': %2"_s.arg(m_path, error);
        return false;
    }
    m_values = merged;
    m_changed.clear();
    return true;
}

void Settings::shutdownProbe()
{
    if (!m_dirty)
        return;
    const ShutdownHold hold(
        ShutdownTask{.title = u"Settings"_s,
                     .description = u"Flushing"_s,
                     .detail = m_path,
                     .name = u"settings.flush."_s + QFileInfo(m_path).fileName()});
    flush();
}

} // namespace store
