#pragma once

#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QString>

#include <optional>
#include <utility>

namespace corvane::store {

/// What is too large for a job's payload, beside the job: a snapshot of a scene, a shader's source.
/// The producer adds it under a fresh key before it submits the job whose payload carries the key
/// as "snapshotId"; the worker looks it up, and takes it out when the job is over, so that nothing
/// outlives a job that ran.
///
/// Contexts are copied out, so hold what is large by a shared pointer. Any thread may call.
///
/// Inside corvane, "store" is this namespace from here on; the library of that name is "::store".
template<typename Context>
class BatchContextStore
{
public:
    /// Inserts, or replaces what has this key.
    void add(const QString &key, Context context)
    {
        const QMutexLocker lock(&m_mutex);
        // The old context, which may be large, dies after the lock is released.
        std::swap(m_contexts[key], context);
    }

    /// A copy; the entry stays.
    std::optional<Context> lookup(const QString &key) const
    {
        const QMutexLocker lock(&m_mutex);
        const auto it = m_contexts.constFind(key);
        return it == m_contexts.constEnd() ? std::nullopt : std::optional<Context>(*it);
    }

    /// The context itself; the entry is gone.
    std::optional<Context> take(const QString &key)
    {
        const QMutexLocker lock(&m_mutex);
        const auto it = m_contexts.find(key);
        if (it == m_contexts.end())
            return std::nullopt;
        std::optional<Context> context(std::move(*it));
        m_contexts.erase(it);
        return context;
    }

    bool contains(const QString &key) const
    {
        const QMutexLocker lock(&m_mutex);
        return m_contexts.contains(key);
    }

    qsizetype size() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_contexts.size();
    }

private:
    mutable QMutex m_mutex;
    QHash<QString, Context> m_contexts;
};

} // namespace corvane::store
