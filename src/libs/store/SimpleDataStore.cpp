#include "SimpleDataStore.h"

#include "MethodGate.h"

#include <QCoreApplication>
#include <QLoggingCategory>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcDataStore, "ondrel.store.data")

namespace store {

SimpleDataStoreFrontend::SimpleDataStoreFrontend(Access access)
    : m_access(std::move(access))
{}

QVariantMap SimpleDataStoreFrontend::getFrontend(bool *ok)
{
    *ok = true;
    return m_access.toMap();
}

bool SimpleDataStoreFrontend::setFrontend(const QVariantMap &map)
{
    return m_access.fromMap(map);
}

bool SimpleDataStoreFrontend::generateFrontend()
{
    return m_access.fromDefault();
}

bool SimpleDataStoreFrontend::clearFrontend()
{
    return m_access.fromMap({});
}

namespace {

// The callback carries the last reference of an event to its store. It is handed on to the main
// thread whole, so that a store never ends on its own thread.
SimpleDataStore::Callback onMainThread(SimpleDataStore::Callback callback,
                                       QSharedPointer<SimpleDataStore> self)
{
    return [callback = std::move(callback), self = std::move(self)](bool ok) mutable {
        const auto deliver = [ok, call = std::move(callback), kept = std::move(self)] {
            if (call)
                call(ok);
        };
        if (auto *const application = QCoreApplication::instance())
            QMetaObject::invokeMethod(application, std::move(deliver), Qt::QueuedConnection);
        else
            deliver();
    };
}

} // namespace

SimpleDataStore::SimpleDataStore(QObject *parent)
    : QObject(parent)
{}

SimpleDataStore::~SimpleDataStore()
{
    ShutdownLifecycle::instance().removeProbe(m_probe);
    if (m_store)
        m_store->activate(false);
}

void SimpleDataStore::setFilename(const QString &path)
{
    m_filename = path;
}

bool SimpleDataStore::configure()
{
    const MethodGate gate(this);
    if (!m_helper.configure())
        return false;
    m_frontend = std::make_shared<SimpleDataStoreFrontend>(SimpleDataStoreFrontend::Access{
        .toMap = [this] { return toMap(); },
        .fromMap = [this](const QVariantMap &map) { return fromMap(map); },
        .fromDefault = [this] { return fromDefault(); }});
    m_backend = std::make_shared<JsonAsyncBackend>();
    m_backend->setFilenameBackend(m_filename);
    m_backend->setPrivateBackend(m_private);
    m_store = std::make_unique<AsyncStore<QVariantMap>>(m_frontend, m_backend);
    return m_store->configure();
}

bool SimpleDataStore::activate(bool on)
{
    const MethodGate gate(this);
    if (!m_helper.activate(on))
        return false;
    ShutdownLifecycle &lifecycle = ShutdownLifecycle::instance();
    lifecycle.removeProbe(m_probe);
    m_probe = on ? lifecycle.registerProbe([this] { saveAtShutdown(); }) : 0;
    if (on)
        m_backend->setActiveBackend(true);
    const bool done = m_store->activate(on);
    if (!on)
        m_backend->setActiveBackend(false);
    return done;
}

bool SimpleDataStore::isActive() const
{
    return m_store && m_store->isActive();
}

void SimpleDataStore::markDirty()
{
    const MethodGate gate(this);
    if (!m_helper.isConfiguredAsExpected("markDirty"))
        return;
    m_store->setMemoryCounter(m_store->autoIncrement());
    m_store->addJournal(u"mark-dirty"_s);
}

bool SimpleDataStore::isDirty() const
{
    return m_store && m_store->isMemoryAhead();
}

SimpleDataStore::Event SimpleDataStore::synchronize(Callback completed)
{
    return request(ASTransaction::Synchronization, {}, std::move(completed));
}

SimpleDataStore::Event SimpleDataStore::request(ASTransaction transaction, const QVariantMap &data,
                                                Callback completed)
{
    const MethodGate gate(this);
    if (!isActive()) {
        qCWarning(lcDataStore) << "WARNING: Store not present";
        return {};
    }
    const auto self = sharedFromThis();
    if (!self) {
        qCWarning(lcDataStore)
            << "ERROR: sharedThis returned null. You should allocate SimpleDataStore as a "
               "QSharedPointer for it to work";
        return {};
    }
    return m_store->enqueue(transaction, data, onMainThread(std::move(completed), self));
}

void SimpleDataStore::saveAtShutdown()
{
    if (isDirty())
        synchronize();
}

QStringList SimpleDataStore::journal() const
{
    return m_store ? m_store->journal() : QStringList();
}

bool SimpleDataStore::fromDefault()
{
    qCWarning(lcDataStore) << "PURE VIRTUAL fromDefault() CALLED ON SimpleDataStore";
    return false;
}

} // namespace store
