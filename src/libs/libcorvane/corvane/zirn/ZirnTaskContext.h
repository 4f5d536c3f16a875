#pragma once

#include <QObject>
#include <QString>

#include <atomic>
#include <chrono>
#include <optional>

namespace corvane::zirn {

class ZirnUIDriver;

/// What a running step sees of its plan. One per step; lives on the plan's thread and only until
/// execute() returns, so a task that starts threads of its own joins them before.
///
/// A task that may take long looks at isCancelled() every now and then, or runs an event loop and
/// listens to cancellationRequested(). It then ends with a failure that says what remains.
class ZirnTaskContext : public QObject
{
    Q_OBJECT

public:
    explicit ZirnTaskContext(QString planId, ZirnUIDriver *uiDriver = nullptr);

    /// Lets isCancelled() become true after that time; zero or less for no limit. On the context's
    /// thread, before the task is called.
    void setTimeLimit(std::chrono::seconds limit);

    QString planId() const { return m_planId; }
    /// The runtime's channel to the interface; null without one.
    ZirnUIDriver *uiDriver() const { return m_uiDriver; }

    /// True once the plan was cancelled, the step skipped, or the step's time is up; the last also
    /// where no event loop runs. Any thread.
    bool isCancelled() const;

    /// Sets the flag at once, and has cancellationRequested() emitted on the context's own thread:
    /// directly when called there, else by its event loop. The second call does nothing.
    /// Any thread, while the context is known to live.
    void requestCancel();

    /// Emits progressReported(). @param fraction  clamped to 0 .. 1
    void reportProgress(float fraction, const QString &text = {});

signals:
    void progressReported(float fraction, const QString &text);
    void cancellationRequested();

private:
    QString m_planId;
    ZirnUIDriver *m_uiDriver = nullptr;
    std::optional<std::chrono::steady_clock::time_point> m_deadline;
    std::atomic<bool> m_cancelled = false;
};

} // namespace corvane::zirn
