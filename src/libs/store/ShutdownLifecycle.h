#pragma once

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace store {

/// Work that should be over before the process goes.
struct ShutdownTask
{
    QString icon{};
    QString title{};       ///< who works, such as "Settings"
    QString description{}; ///< what is done, such as "Flushing"
    QString detail{};
    QString name{};                 ///< unique, for the log
    std::function<void()> cancel{}; ///< gives the work up; may be empty
};

/// The register of such work: whoever writes or flushes holds a task for as long as that takes, and
/// whoever ends the process asks here first. Nothing runs by itself at exit, since the program
/// leaves without running destructors:
///
///     store::ShutdownLifecycle::instance().finishWork(5s);   // writes what is pending, and waits
///     _Exit(status);
///
/// A probe is asked when the end comes: it starts what is still to be written and registers a task
/// for what goes on by itself.
///
/// Any thread may call. Signals are emitted on the caller's thread, without the lock.
class ShutdownLifecycle : public QObject
{
    Q_OBJECT

public:
    /// What the register knows of a task.
    struct Entry
    {
        quint64 id = 0;
        ShutdownTask task{};
        qint64 current = -1; ///< -1 until setProgress
        qint64 total = -1;
        QDateTime startedAt{};
    };

    /// The register of the process. Others may be made for tests.
    static ShutdownLifecycle &instance();

    explicit ShutdownLifecycle(QObject *parent = nullptr);

    quint64 registerTask(const ShutdownTask &task); ///< answers an id, from 1
    void deregisterTask(quint64 id);
    void setProgress(quint64 id, qint64 current, qint64 total);

    QList<Entry> entries() const; ///< in the order of their registration
    bool isIdle() const;

    /// Enters a function to be called when the end comes, on the thread that ends the process.
    /// Answers an id for removeProbe.
    quint64 registerProbe(std::function<void()> probe);
    void removeProbe(quint64 id);

    /// Runs the probes. shutdownReady comes at once if nothing is left to wait for, else when the
    /// last task goes.
    void beginShutdown();

    /// Ends that waiting: shutdownAborted, and no shutdownReady any more. Tasks go on.
    void abortShutdown();

    /// Runs the probes and blocks until no task is left. False when the time is over first.
    bool finishWork(std::chrono::milliseconds limit);

signals:
    void changed();
    void shutdownReady();
    void shutdownAborted();

private:
    void runProbes();

    // Of the standard library: a thread sanitizer does not see that Qt's condition lets go of a
    // mutex.
    mutable std::mutex m_mutex;
    std::condition_variable m_idle;
    quint64 m_nextId = 1;
    QHash<quint64, Entry> m_entries;
    QHash<quint64, std::function<void()>> m_probes;
    bool m_waiting = false; ///< between beginShutdown and shutdownReady
};

/// Holds a task of a register for as long as it lives.
class ShutdownHold
{
public:
    explicit ShutdownHold(const ShutdownTask &task,
                          ShutdownLifecycle &lifecycle = ShutdownLifecycle::instance());
    ~ShutdownHold();
    ShutdownHold(const ShutdownHold &) = delete;
    ShutdownHold &operator=(const ShutdownHold &) = delete;

private:
    ShutdownLifecycle &m_lifecycle;
    const quint64 m_id;
};

} // namespace store
