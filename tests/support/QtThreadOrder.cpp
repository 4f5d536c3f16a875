// Tells the thread sanitizer what it cannot see. Qt is not built with it, so that the lock of an
// event queue, a semaphore or the start of a pool's task is no order to it, and whatever goes from
// one thread to another through Qt looks like a race.
//
// The functions of Qt through which our code hands over and waits are defined here once more: a
// linker takes those of the program first. They do as Qt does, and mark the moments that Qt puts in
// order. Each mark belongs to one call, one sender or one lock, so that nothing is ordered that Qt
// leaves open, and a race of our own is still found. (The sanitizer's own way out, its option
// ignore_noninstrumented_modules, takes our code for not instrumented too on Linux, and hides every
// race on a thread of QThread::create.)
//
// Linked into the tests and the program of a build with the thread sanitizer, and nowhere else.

#include <QDeadlineTimer>
#include <QFutureInterface>
#include <QRunnable>
#include <QSemaphore>
#include <QThread>
#include <QThreadPool>
#include <QtCore/private/qobject_p.h>

#include <algorithm>
#include <chrono>
#include <dlfcn.h>
#include <map>
#include <mutex>
#include <optional>
#include <sanitizer/tsan_interface.h>
#include <thread>
#include <utility>

// How the sanitizer's run-time names them; its headers leave them out.
extern "C" void AnnotateIgnoreReadsBegin(const char *file, int line);
extern "C" void AnnotateIgnoreReadsEnd(const char *file, int line);
extern "C" void AnnotateIgnoreWritesBegin(const char *file, int line);
extern "C" void AnnotateIgnoreWritesEnd(const char *file, int line);
extern "C" void AnnotateIgnoreSyncBegin(const char *file, int line);
extern "C" void AnnotateIgnoreSyncEnd(const char *file, int line);

namespace {

// The function of Qt that one of ours stands before.
template<typename Function>
Function *ofQt(const char *mangledName)
{
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, mangledName));
}

/// For as long as it lives, what this thread reads and writes is Qt's own.
class WithinQt
{
public:
    WithinQt()
    {
        AnnotateIgnoreReadsBegin(__FILE__, __LINE__);
        AnnotateIgnoreWritesBegin(__FILE__, __LINE__);
    }
    ~WithinQt()
    {
        AnnotateIgnoreWritesEnd(__FILE__, __LINE__);
        AnnotateIgnoreReadsEnd(__FILE__, __LINE__);
    }
    WithinQt(const WithinQt &) = delete;
    WithinQt &operator=(const WithinQt &) = delete;
};

} // namespace

// ------------------------------------------------------------------ queued calls and signals

namespace {

/// What is called by invokeMethod(): all before the post is before the call, and all of the call
/// before the return of a post that waits.
class OrderedSlot final : public QtPrivate::QSlotObjectBase
{
public:
    /// @param end  marked when the call is over, for a post that waits; or null
    OrderedSlot(QSlotObjectBase *slot, void *end)
        : QSlotObjectBase(&act)
        , m_slot(slot)
        , m_end(end)
    {
        __tsan_release(this);
    }

private:
    static void act(int which, QSlotObjectBase *base, QObject *receiver, void **arguments, bool *)
    {
        auto *const self = static_cast<OrderedSlot *>(base);
        __tsan_acquire(self);
        if (which == Call) {
            self->m_slot->call(receiver, arguments);
            if (self->m_end)
                __tsan_release(self->m_end);
            __tsan_release(self);
        } else if (which == Destroy) {
            self->m_slot->destroyIfLastRef();
            delete self;
        }
    }

    QSlotObjectBase *const m_slot;
    void *const m_end;
};

/// The signals that are being emitted. Qt posts in the midst of that, with a copy of the arguments
/// that is to be before the delivery as well; so a delivery waits until the emission is over.
class Emissions
{
public:
    void begin(const QObject *sender) { change(sender, 1); }
    void end(const QObject *sender)
    {
        __tsan_release(const_cast<QObject *>(sender));
        change(sender, -1);
    }

    /// Not without end: what is called directly by the same signal may wait for us.
    void awaitOthers(const QObject *sender)
    {
        constexpr std::chrono::milliseconds longest{100};
        const auto giveUp = std::chrono::steady_clock::now() + longest;
        while (isEmittedElsewhere(sender) && std::chrono::steady_clock::now() < giveUp)
            std::this_thread::yield();
        __tsan_acquire(const_cast<QObject *>(sender));
    }

private:
    using Key = std::pair<const QObject *, Qt::HANDLE>;

    void change(const QObject *sender, int difference)
    {
        const Unseen guard(m_lock);
        const Key key(sender, QThread::currentThreadId());
        if ((m_running[key] += difference) == 0)
            m_running.erase(key);
    }

    bool isEmittedElsewhere(const QObject *sender)
    {
        const Unseen guard(m_lock);
        const auto isIt = [&](const auto &row) {
            return row.first.first == sender && row.first.second != QThread::currentThreadId();
        };
        return std::any_of(m_running.cbegin(), m_running.cend(), isIt);
    }

    /// A lock that is no order to the sanitizer: it would put all signals in one.
    class Unseen
    {
    public:
        explicit Unseen(std::mutex &mutex)
            : m_mutex(mutex)
        {
            AnnotateIgnoreSyncBegin(__FILE__, __LINE__);
            m_mutex.lock();
        }
        ~Unseen()
        {
            m_mutex.unlock();
            AnnotateIgnoreSyncEnd(__FILE__, __LINE__);
        }
        Unseen(const Unseen &) = delete;
        Unseen &operator=(const Unseen &) = delete;

    private:
        const WithinQt m_own;
        std::mutex &m_mutex;
    };

    std::mutex m_lock;
    std::map<Key, int> m_running;
};

Emissions &emissions()
{
    static auto *const all = new Emissions; // signals come until the very end
    return *all;
}

// Of a queued signal the sender is known; a queued call has its OrderedSlot.
bool acquireSender(void **notification)
{
    const QObject *sender = nullptr;
    {
        const WithinQt guard;
        const auto *const event = static_cast<const QEvent *>(notification[1]);
        if (event->type() == QEvent::MetaCall)
            sender = static_cast<const QAbstractMetaCallEvent *>(event)->sender();
    }
    if (sender)
        emissions().awaitOthers(sender);
    return false; // the event goes on to its receiver
}

[[maybe_unused]] const bool isRegistered =
    QInternal::registerCallback(QInternal::EventNotifyCallback, &acquireSender);

bool isPosted(const QObject *receiver, Qt::ConnectionType type)
{
    return type == Qt::QueuedConnection || type == Qt::BlockingQueuedConnection ||
           receiver->thread() != QThread::currentThread();
}

} // namespace

void QMetaObject::activate(QObject *sender, const QMetaObject *meta, int signal, void **arguments)
{
    using Function = void(QObject *, const QMetaObject *, int, void **);
    static auto *const next = ofQt<Function>("_ZN11QMetaObject8activateEP7QObjectPKS_iPPv");
    __tsan_release(sender);
    emissions().begin(sender);
    next(sender, meta, signal, arguments);
    emissions().end(sender);
}

bool QMetaObject::invokeMethodImpl(QObject *receiver, QtPrivate::QSlotObjectBase *slot,
                                   Qt::ConnectionType type, void *result)
{
    using Function = bool(QObject *, QtPrivate::QSlotObjectBase *, Qt::ConnectionType, void *);
    static auto *const next = ofQt<Function>(
        "_ZN11QMetaObject16invokeMethodImplEP7QObjectPN9QtPrivate15QSlotObjectBaseEN2"
        "Qt14ConnectionTypeEPv");
    if (!receiver || !isPosted(receiver, type))
        return next(receiver, slot, type, result);
    char end = 0;
    const bool waits = type == Qt::BlockingQueuedConnection;
    auto *const ordered = new OrderedSlot(slot, waits ? &end : nullptr);
    bool done = false;
    {
        const WithinQt guard;
        done = next(receiver, ordered, type, result);
    }
    if (waits)
        __tsan_acquire(&end);
    return done;
}

// ------------------------------------------------------------------ semaphores and locks

void QSemaphore::release(int count)
{
    static auto *const next = ofQt<void(QSemaphore *, int)>("_ZN10QSemaphore7releaseEi");
    __tsan_release(this);
    next(this, count);
}

void QSemaphore::acquire(int count)
{
    static auto *const next = ofQt<void(QSemaphore *, int)>("_ZN10QSemaphore7acquireEi");
    next(this, count);
    __tsan_acquire(this);
}

bool QSemaphore::tryAcquire(int count)
{
    static auto *const next = ofQt<bool(QSemaphore *, int)>("_ZN10QSemaphore10tryAcquireEi");
    const bool acquired = next(this, count);
    if (acquired)
        __tsan_acquire(this);
    return acquired;
}

bool QSemaphore::tryAcquire(int count, int timeout)
{
    static auto *const next = ofQt<bool(QSemaphore *, int, int)>("_ZN10QSemaphore10tryAcquireEii");
    const bool acquired = next(this, count, timeout);
    if (acquired)
        __tsan_acquire(this);
    return acquired;
}

// A lock that nobody else wants is taken inline, where the sanitizer sees it.
void QBasicMutex::lockInternal() noexcept
{
    static auto *const next = ofQt<void(QBasicMutex *)>("_ZN11QBasicMutex12lockInternalEv");
    next(this);
    __tsan_acquire(this);
}

void QBasicMutex::unlockInternal() noexcept
{
    static auto *const next = ofQt<void(QBasicMutex *)>("_ZN11QBasicMutex14unlockInternalEv");
    __tsan_release(this);
    next(this);
}

// ------------------------------------------------------------------ threads

void QThread::start(Priority priority)
{
    static auto *const next = ofQt<void(QThread *, Priority)>("_ZN7QThread5startENS_8PriorityE");
    // Called on the thread, as the last of what is not Qt's own.
    connect(
        this, &QThread::finished, this, [this] { __tsan_release(this); }, Qt::DirectConnection);
    next(this, priority);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static auto *const next =
        ofQt<bool(QThread *, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = next(this, deadline);
    if (ended)
        __tsan_acquire(this);
    return ended;
}

// ------------------------------------------------------------------ pools and futures

namespace {

/// What a pool runs: all before its start is before it, and all of it before the pool is done.
class OrderedTask final : public QRunnable
{
public:
    OrderedTask(QRunnable *task, QThreadPool *pool)
        : m_task(task)
        , m_pool(pool)
    {
        setAutoDelete(false);
        __tsan_release(this);
    }

    void run() override
    {
        static thread_local std::optional<WithinQt> betweenTasks;
        betweenTasks.reset();
        __tsan_acquire(this);
        const bool isOurs = m_task->autoDelete();
        m_task->run();
        if (isOurs)
            delete m_task;
        __tsan_release(m_pool);
        delete this;
        betweenTasks.emplace();
    }

private:
    QRunnable *const m_task;
    QThreadPool *const m_pool;
};

// A future's shared state, which its copies have in common: the one member of the class.
void *stateOf(QFutureInterfaceBase *future)
{
    return reinterpret_cast<void **>(future)[1];
}

} // namespace

void QThreadPool::start(QRunnable *task, int priority)
{
    using Function = void(QThreadPool *, QRunnable *, int);
    static auto *const next = ofQt<Function>("_ZN11QThreadPool5startEP9QRunnablei");
    auto *const ordered = task ? new OrderedTask(task, this) : nullptr;
    const WithinQt guard;
    next(this, ordered, priority);
}

void QThreadPool::start(std::function<void()> function, int priority)
{
    start(QRunnable::create(std::move(function)), priority);
}

bool QThreadPool::tryStart(QRunnable *task)
{
    using Function = bool(QThreadPool *, QRunnable *);
    static auto *const next = ofQt<Function>("_ZN11QThreadPool8tryStartEP9QRunnable");
    auto *const ordered = task ? new OrderedTask(task, this) : nullptr;
    bool started = false;
    {
        const WithinQt guard;
        started = next(this, ordered);
    }
    if (!started)
        delete ordered;
    return started;
}

bool QThreadPool::waitForDone(int timeout)
{
    using Function = bool(QThreadPool *, int);
    static auto *const next = ofQt<Function>("_ZN11QThreadPool11waitForDoneEi");
    bool done = false;
    {
        const WithinQt guard;
        done = next(this, timeout);
    }
    __tsan_acquire(this);
    return done;
}

void QFutureInterfaceBase::reportFinished()
{
    using Function = void(QFutureInterfaceBase *);
    static auto *const next = ofQt<Function>("_ZN20QFutureInterfaceBase14reportFinishedEv");
    __tsan_release(stateOf(this));
    next(this);
}

void QFutureInterfaceBase::waitForFinished()
{
    using Function = void(QFutureInterfaceBase *);
    static auto *const next = ofQt<Function>("_ZN20QFutureInterfaceBase15waitForFinishedEv");
    next(this);
    __tsan_acquire(stateOf(this));
}
