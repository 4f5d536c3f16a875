#pragma once

#include <store/ASEvent.h>
#include <store/AsyncStore.h>
#include <store/ConfigureHelper.h>
#include <store/JsonAsyncBackend.h>

#include <QEnableSharedFromThis>
#include <QObject>
#include <QVariantMap>

#include <functional>
#include <memory>

namespace store {

/// The memory side of a store: the object itself, reached through three functions.
class SimpleDataStoreFrontend : public IAsyncFrontend<QVariantMap>
{
public:
    /// How the object is read and changed. Called on the store's thread.
    struct Access
    {
        std::function<QVariantMap()> toMap{};
        std::function<bool(const QVariantMap &)> fromMap{};
        std::function<bool()> fromDefault{};
    };

    explicit SimpleDataStoreFrontend(Access access);

    QVariantMap getFrontend(bool *ok) override;
    bool setFrontend(const QVariantMap &map) override;
    bool generateFrontend() override;
    bool clearFrontend() override; ///< the object as it is from an empty map

private:
    const Access m_access;
};

/// The base of objects that live on in a JSON file. It reads and writes on a thread of its own:
///
///     auto registry = QSharedPointer<Registry>::create();
///     registry->setFilename(path);
///     registry->configure();
///     registry->activate(true);
///     registry->synchronize([](bool ok) { ... });   // loads, or takes defaults and saves them
///     ...
///     registry->add(...);                           // which calls markDirty()
///     registry->synchronize();                      // saves
///
/// A damaged file is set aside under a new name, and defaults take its place; one that is only out
/// of reach is left alone. At the end of the process what is dirty is saved by ShutdownLifecycle.
///
/// A subclass writes fromDefault(), toMap() and fromMap(). They are called on the store's thread,
/// so its data are guarded by its own lock; they must not wait for the main thread.
///
/// Must be held by a QSharedPointer: what is queued keeps its store alive.
class SimpleDataStore : public QObject, public QEnableSharedFromThis<SimpleDataStore>
{
    Q_OBJECT

public:
    using Event = ASEvent<QVariantMap>;
    using Callback = std::function<void(bool ok)>;

    explicit SimpleDataStore(QObject *parent = nullptr);
    ~SimpleDataStore() override; ///< waits for what is queued

    /// Before configure(): the file, and whether it holds a secret (then it is 0600 in a 0700
    /// folder).
    void setFilename(const QString &path);
    QString filename() const { return m_filename; }
    void setPrivate(bool on) { m_private = on; }

    virtual bool configure(); ///< once
    virtual bool activate(bool on);
    bool isActive() const;

    /// Says that the object has changed: memory is ahead of the disk until it is synchronized.
    void markDirty();
    bool isDirty() const;

    /// Queues whatever brings memory and disk level: nothing, a load, a save, or defaults and a
    /// save. `completed` is called on the main thread; without an application, on the store's.
    Event synchronize(Callback completed = {});

    /// Queues one operation of its own.
    Event request(ASTransaction transaction, const QVariantMap &data = {}, Callback completed = {});

    QStringList journal() const; ///< what the store did of late, oldest first

    virtual bool fromDefault(); ///< takes the defaults
    virtual QVariantMap toMap() const = 0;
    virtual bool fromMap(const QVariantMap &map) = 0; ///< false: the map makes no sense

private:
    void saveAtShutdown();

    ConfigureHelper m_helper{QStringLiteral("SimpleDataStore"), {.needsActivation = true}};
    QString m_filename;
    bool m_private = false;
    std::shared_ptr<SimpleDataStoreFrontend> m_frontend;
    std::shared_ptr<JsonAsyncBackend> m_backend;
    std::unique_ptr<AsyncStore<QVariantMap>> m_store;
    quint64 m_probe = 0;
};

} // namespace store
