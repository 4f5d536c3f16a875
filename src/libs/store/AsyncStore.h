#pragma once

#include <store/ASEvent.h>
#include <store/ConcurrentQueue.h>
#include <store/ConfigureHelper.h>

#include <QStringList>

#include <memory>

namespace store {

/// What an AsyncStore keeps in memory. Called on the store's thread.
template<typename T>
class IAsyncFrontend
{
public:
    virtual ~IAsyncFrontend() = default;
    virtual T getFrontend(bool *ok) = 0;
    virtual bool setFrontend(const T &data) = 0; ///< false: these data make no sense
    virtual bool generateFrontend() = 0;         ///< takes the defaults
    virtual bool clearFrontend() = 0;
};

/// Where an AsyncStore keeps it on disk. Called on the store's thread, existsBackend() on any.
template<typename T>
class IAsyncBackend
{
public:
    virtual ~IAsyncBackend() = default;
    virtual bool existsBackend() const = 0;
    virtual T loadBackend(bool *ok) = 0;
    virtual bool saveBackend(const T &data) = 0;
    virtual bool clearBackend() = 0;

    /// Moves aside what cannot be made sense of. False when it is still there.
    virtual bool setAsideBackend(const QString &why) = 0;
    /// Whether the last load found something that is damaged, and not merely out of reach.
    virtual bool isDamagedBackend() const = 0;
    /// Keeps the process from going while a save is pending; may be null.
    virtual std::shared_ptr<ShutdownHold> holdBackend() = 0;
};

/// Keeps data in memory and on disk level, off the main thread: each operation is an event on a
/// queue with its own thread.
///
/// Two counters say which side is ahead. Both take their values from autoIncrement(): memory when
/// it is changed, disk when a file is found that was not read yet; a load or a save brings them
/// level.
///
/// Any thread may call, once it is active; configure() and activate() belong to the owner, who
/// keeps the store until its events are over.
template<typename T>
class AsyncStore
{
public:
    using Event = ASEvent<T>;
    using Callback = std::function<void(bool ok)>;

    /// How many lines of the journal are kept.
    static constexpr qsizetype journalSize = 1000;

    AsyncStore(std::shared_ptr<IAsyncFrontend<T>> frontend,
               std::shared_ptr<IAsyncBackend<T>> backend)
        : m_frontend(std::move(frontend))
        , m_backend(std::move(backend))
        , m_queue(QStringLiteral("AsyncStore"), [](Event &event) { event.run(); })
    {}

    bool configure() { return m_helper.configure(); }

    /// Starts the queue's thread and looks whether there is something to load; stops it when what
    /// is queued is over.
    bool activate(bool on);
    bool isActive() const { return m_helper.isActivated(); }

    /// Queues an operation. `completed` is called on the queue's thread. A null handle if the store
    /// is not active.
    Event enqueue(ASTransaction transaction, T data = {}, Callback completed = {});

    quint64 autoIncrement() { return ++m_counter; }
    quint64 memoryCounter() const { return m_memoryCounter; }
    quint64 diskCounter() const { return m_diskCounter; }
    void setMemoryCounter(quint64 value) { m_memoryCounter = value; }
    void setDiskCounter(quint64 value) { m_diskCounter = value; }
    bool isMemoryAhead() const { return m_memoryCounter > m_diskCounter; }

    void addJournal(const QString &line);
    QStringList journal() const; ///< the last lines, oldest first

private:
    // The operations themselves. Only events call them, one at a time, on the queue's thread.
    bool loadSync();
    bool saveSync();
    bool generateSync();
    bool synchronizeSync();
    bool clearSync();
    bool perform(ASTransaction transaction, T &data);
    bool carryOut(ASTransaction transaction, T &data);
    bool takeDefaultsInstead();

    ConfigureHelper m_helper{QStringLiteral("AsyncStore"), {.needsActivation = true}};
    const std::shared_ptr<IAsyncFrontend<T>> m_frontend;
    const std::shared_ptr<IAsyncBackend<T>> m_backend;
    std::atomic<quint64> m_counter = 0;
    std::atomic<quint64> m_memoryCounter = 0;
    std::atomic<quint64> m_diskCounter = 0;
    /// A file was there at the start and was not looked into.
    std::atomic<bool> m_diskUnread = false;
    bool m_isContentRefused = false; ///< the frontend made no sense of the last load
    mutable std::mutex m_journalMutex;
    QStringList m_journal;
    ConcurrentQueue<Event> m_queue; ///< last: its thread ends before the rest goes
};

template<typename T>
bool AsyncStore<T>::activate(bool on)
{
    if (on == isActive() || !m_helper.activate(on))
        return on == isActive();
    if (!on) {
        m_queue.stop();
        return true;
    }
    if (m_diskCounter == 0 && m_backend->existsBackend()) {
        m_diskUnread = true;
        m_diskCounter = autoIncrement();
    }
    m_queue.start();
    return true;
}

template<typename T>
typename AsyncStore<T>::Event AsyncStore<T>::enqueue(ASTransaction transaction, T data,
                                                     Callback completed)
{
    if (!m_helper.isActivatedAsExpected("enqueue"))
        return {};
    const auto body = std::make_shared<ASEventPrivate<T>>();
    body->transaction = transaction;
    body->operation = [this](ASTransaction asked, T &value) { return perform(asked, value); };
    body->completed = std::move(completed);
    body->data = std::move(data);
    if (transaction == ASTransaction::Save || transaction == ASTransaction::Synchronization)
        body->hold = m_backend->holdBackend();
    const Event event(body);
    m_queue.enqueue(event);
    return event;
}

template<typename T>
bool AsyncStore<T>::perform(ASTransaction transaction, T &data)
{
    const QString name(transactionName(transaction));
    addJournal(name + QStringLiteral(" started"));
    const bool ok = carryOut(transaction, data);
    addJournal(name + (ok ? QStringLiteral(" succeeded") : QStringLiteral(" failed")));
    return ok;
}

template<typename T>
bool AsyncStore<T>::carryOut(ASTransaction transaction, T &data)
{
    bool ok = false;
    switch (transaction) {
    case ASTransaction::Status:
        return isActive();
    case ASTransaction::Clear:
        return clearSync();
    case ASTransaction::Get:
        data = m_frontend->getFrontend(&ok);
        return ok;
    case ASTransaction::Set:
        ok = m_frontend->setFrontend(data);
        if (ok)
            m_memoryCounter = autoIncrement();
        return ok;
    case ASTransaction::Load:
        return loadSync();
    case ASTransaction::Save:
        return saveSync();
    case ASTransaction::Generate:
        return generateSync();
    case ASTransaction::Synchronization:
        return synchronizeSync();
    case ASTransaction::Exists:
        return m_backend->existsBackend();
    case ASTransaction::Completion:
        return true;
    }
    return false;
}

template<typename T>
bool AsyncStore<T>::loadSync()
{
    bool ok = false;
    const T data = m_backend->loadBackend(&ok);
    m_isContentRefused = ok && !m_frontend->setFrontend(data);
    if (!ok || m_isContentRefused)
        return false;
    m_diskUnread = false;
    const quint64 level = autoIncrement();
    m_memoryCounter = level;
    m_diskCounter = level;
    return true;
}

template<typename T>
bool AsyncStore<T>::saveSync()
{
    // A change that comes while this is written leaves memory ahead again.
    quint64 level = m_memoryCounter;
    if (level == 0)
        m_memoryCounter = level = autoIncrement();
    // Whoever changed memory before anything was loaded did not know what it held.
    if (m_diskUnread && m_backend->existsBackend() &&
        !m_backend->setAsideBackend(
            QStringLiteral("it would be written over without having been read")))
        return false;
    bool ok = false;
    const T data = m_frontend->getFrontend(&ok);
    if (!ok || !m_backend->saveBackend(data))
        return false;
    m_diskUnread = false;
    m_diskCounter = level;
    return true;
}

template<typename T>
bool AsyncStore<T>::generateSync()
{
    if (!m_frontend->generateFrontend())
        return false;
    m_memoryCounter = autoIncrement();
    return true;
}

template<typename T>
bool AsyncStore<T>::clearSync()
{
    if (!m_frontend->clearFrontend() || !m_backend->clearBackend())
        return false;
    m_diskUnread = false;
    m_memoryCounter = 0;
    m_diskCounter = 0;
    return true;
}

template<typename T>
bool AsyncStore<T>::synchronizeSync()
{
    const quint64 disk = m_diskCounter;
    const quint64 memory = m_memoryCounter;
    bool ok = true;
    if (disk > memory)
        ok = loadSync() || takeDefaultsInstead();
    else if (memory > disk)
        ok = saveSync();
    else if (memory == 0)
        ok = generateSync() && saveSync();
    addJournal(QStringLiteral("sync=%1").arg(ok ? QStringLiteral("ok") : QStringLiteral("fail")));
    return ok;
}

// What is damaged is moved aside and replaced; what is only out of reach may be whole, and is not
// written over by defaults.
template<typename T>
bool AsyncStore<T>::takeDefaultsInstead()
{
    const bool damaged = m_isContentRefused || m_backend->isDamagedBackend();
    const bool replaceable = damaged && m_backend->setAsideBackend(
                                            QStringLiteral("it is damaged, and defaults are used"));
    if (!generateSync())
        return false;
    if (replaceable)
        return saveSync();
    m_diskCounter = m_memoryCounter.load();
    return false;
}

template<typename T>
void AsyncStore<T>::addJournal(const QString &line)
{
    const std::lock_guard lock(m_journalMutex);
    if (m_journal.size() >= journalSize)
        m_journal.removeFirst();
    m_journal.append(line);
}

template<typename T>
QStringList AsyncStore<T>::journal() const
{
    const std::lock_guard lock(m_journalMutex);
    return m_journal;
}

} // namespace store
