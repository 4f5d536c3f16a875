#pragma once

#include <toast/ToastRecord.h>

#include <QObject>

#include <functional>

namespace toast {

/// The passing notices, and their history. It shows nothing itself: cards and the history panel
/// follow its signals.
///
/// The same notice again, while the last one is not dismissed, is one record with a higher count,
/// moved to the front. For the main thread; notify() may be called on any and then comes later.
class ToastManager : public QObject
{
    Q_OBJECT

public:
    /// Milliseconds since the epoch.
    using Clock = std::function<qint64()>;

    static constexpr qint64 expiryMs = 3 * 60 * 60 * 1000;
    /// How many records are kept; the oldest go first.
    static constexpr qsizetype mostRecords = 1000;

    /// The manager of the process. Others may be made for tests.
    static ToastManager &instance();

    explicit ToastManager(QObject *parent = nullptr);
    explicit ToastManager(Clock clock, QObject *parent = nullptr);

    /// Logs a notice and shows it.
    void notify(const ToastSpec &spec);

    QList<ToastRecord> records() const { return m_records; } ///< newest first
    qsizetype undismissedCount() const;

    /// Puts a notice away; it stays in the history. Nothing happens for an unknown id or a second
    /// time.
    void dismiss(quint64 id);

    /// Puts away what is older than three hours.
    void purgeExpired();

    bool isHistoryOpen() const { return m_historyOpen; }
    void setHistoryOpen(bool open);

signals:
    void toastAdded(const toast::ToastRecord &record);
    void toastUpdated(const toast::ToastRecord &record);
    void toastRemoved(quint64 id);
    void historyOpenChanged(bool open);
    void historyChanged();

private:
    void add(const ToastSpec &spec);
    bool countAgain(const ToastSpec &spec);
    void forgetOldest();

    const Clock m_clock;
    QList<ToastRecord> m_records; ///< newest first
    quint64 m_nextId = 1;
    bool m_historyOpen = false;
};

/// Shows a notice through the manager of the process.
void notify(Severity severity, const QString &title, const QString &body = {},
            const QList<ToastAction> &actions = {});
void error(const QString &title, const QString &body = {}, const QList<ToastAction> &actions = {});
void warning(const QString &title, const QString &body = {},
             const QList<ToastAction> &actions = {});
void success(const QString &title, const QString &body = {},
             const QList<ToastAction> &actions = {});
void info(const QString &title, const QString &body = {}, const QList<ToastAction> &actions = {});

} // namespace toast
