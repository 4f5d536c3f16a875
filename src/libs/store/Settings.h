#pragma once

#include <QByteArray>
#include <QMap>
#include <QObject>
#include <QRect>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QVariant>

#include <atomic>
#include <functional>
#include <optional>

namespace store {

/// Small choices of the user, kept over runs in an INI file of the application: where QSettings has
/// it, read by QSettings, and written as a whole by SafeFile, so that a full disk or a kill leaves
/// the old file. QSettings 6.4 itself would write at every turn of the event loop, and replace a
/// good file by a cut one when the disk is full.
///
/// Changes reach the disk at most once in ten seconds, and in any case before the process ends
/// (ShutdownLifecycle). What another process wrote meanwhile stays, except under keys changed here;
/// processes that write at the same time wait for each other.
/// A damaged file is set aside under a new name, and defaults are used.
///
/// A key is a path such as "panels/sceneWidth". A getter answers its default for a key that is not
/// set, or set to something that is not of its type. For the main thread.
class Settings : public QObject
{
    Q_OBJECT

public:
    /// Where the settings belong.
    struct Names
    {
        QString group{};        ///< section of the file; that of the application's name
        QString organisation{}; ///< folder of the file
        QString domain{};       ///< reverse-domain systems name the file after it; not used here
        QString application{};  ///< name of the file
    };
    /// Milliseconds since the epoch.
    using Clock = std::function<qint64()>;

    static constexpr qint64 syncIntervalMs = 10'000;

    explicit Settings(const Names &names, QObject *parent = nullptr);
    Settings(const Names &names, Clock clock, QObject *parent = nullptr);
    ~Settings() override; ///< writes what is pending

    /// Without a default of the caller's, that of settingDefaults() is answered, and where that has
    /// none, zero, false or nothing.
    QVariant getCustomSetting(const QString &key, const QVariant &defaultValue = {}) const;
    int getCustomSettingInt(const QString &key, std::optional<int> defaultValue = {}) const;
    double getCustomSettingDouble(const QString &key,
                                  std::optional<double> defaultValue = {}) const;
    bool getCustomSettingBool(const QString &key, std::optional<bool> defaultValue = {}) const;
    QRect getCustomSettingRect(const QString &key, const QRect &defaultValue = {}) const;
    QByteArray getCustomSettingByteArray(const QString &key,
                                         const QByteArray &defaultValue = {}) const;

    /// Strings, numbers, booleans, byte arrays and rectangles; anything else is refused and logged.
    void setCustomSetting(const QString &key, const QVariant &value);
    void setCustomSettingInt(const QString &key, int value);
    void setCustomSettingDouble(const QString &key, double value);
    void setCustomSettingBool(const QString &key, bool value);
    void setCustomSettingRect(const QString &key, const QRect &value);
    void setCustomSettingByteArray(const QString &key, const QByteArray &value);

    /// Writes at once if the last write is more than ten seconds ago, else when it will be.
    void sync();
    /// The write itself, if anything is to be written; ends the waiting.
    void delayedSync();
    void flush() { delayedSync(); }

    /// What ShutdownLifecycle calls: flushes what is dirty under a task named
    /// "settings.flush.<file>".
    void shutdownProbe();

    QString filePath() const { return m_path; }
    bool isDirty() const { return m_dirty; }
    /// Milliseconds that the waiting write was set to wait; -1 when none waits.
    int scheduledSyncMs() const { return m_timer.isActive() ? m_timer.interval() : -1; }

signals:
    void customSettingChanged(const QString &key);

private:
    using Values = QMap<QString, QVariant>;
    QString pathOf(const QString &key) const;
    void writeThrottled(const QString &key, const QVariant &value);
    void load();
    bool write();

    const Names m_names;
    const Clock m_clock;
    QString m_path;
    Values m_values;         ///< the whole file, by full path of key
    QSet<QString> m_changed; ///< full paths that are not on disk yet
    qint64 m_lastSyncMs = 0;
    QTimer m_timer{this};
    std::atomic<bool> m_dirty = false;
    quint64 m_probe = 0;
};

} // namespace store
