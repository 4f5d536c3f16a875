#pragma once

#include <corvane/zirn/PermissionGrant.h>

#include <QList>
#include <QMutex>
#include <QObject>
#include <QSharedPointer>

namespace corvane::zirn {

enum class PermissionAnswer { Denied, Allowed, Ask };

/// The grants of one session. Any thread: a plan checks while the interface edits. Signals come on
/// the thread that made the change, after the lock.
class PermissionStore : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// An empty store that is destroyed on the thread that it was made on, whoever lets go last.
    static QSharedPointer<PermissionStore> create();

    /// A denial wins over an allowance, whatever their order; without either, Ask.
    PermissionAnswer check(const QString &scope, const QDateTime &now) const;

    QList<PermissionGrant> grants() const;
    /// Takes the place of an earlier grant with the same scope, lifetime and sense.
    void addGrant(const PermissionGrant &grant);
    /// Every grant with exactly this scope text. Answers whether there was one.
    bool removeGrants(const QString &scope);
    /// Every grant of a lifetime. Answers whether there was one.
    bool removeGrants(GrantLifetime lifetime);

    /// Reads the grants that outlive a session, in place of those there are; session grants stay.
    /// No file is an empty store. A damaged one is set aside under a new name and said in the log;
    /// false then, and when it cannot be read.
    bool load(const QString &path);
    /// Writes the grants that outlive a session and have not run out, whole or not at all.
    [[nodiscard]] bool save(const QString &path, QString *error = nullptr) const;

signals:
    void grantsChanged();

private:
    template<typename Predicate>
    bool removeIf(Predicate isUnwanted);

    mutable QMutex m_mutex;
    QList<PermissionGrant> m_grants;
};

} // namespace corvane::zirn
