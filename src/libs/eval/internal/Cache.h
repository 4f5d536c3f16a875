#pragma once

#include <eval/internal/CompiledProgram.h>

#include <QHash>
#include <QMutex>
#include <QSharedPointer>
#include <QString>
#include <QStringList>

namespace eval::internal {

/// What the cache keeps of one compile: the program as it was made, and what it was made from.
struct CachedCompile
{
    QSharedPointer<const CompiledProgram> program;
    QStringList sources; ///< of the outputs; names and types stand in the program's bindings
    QList<Diagnostic> diagnostics;
};

/// The compiles of this process by key. Thread-safe; what it hands out is shared and read-only.
/// Entries stay for the life of the process.
class Cache
{
public:
    /// The part of every key that tells the version of its making.
    static constexpr QLatin1StringView schemaPrefix{"1|"};

    static Cache &instance();

    /// Null for an unknown key. Counts a hit or a miss.
    QSharedPointer<const CachedCompile> lookup(const QString &key);
    /// Replaces an entry of the same key. The first call drops all entries of another schema.
    void store(const QString &key, QSharedPointer<const CachedCompile> entry);
    void clear();

    qsizetype hits() const;
    qsizetype misses() const;
    qsizetype size() const;

private:
    mutable QMutex m_mutex;
    QHash<QString, QSharedPointer<const CachedCompile>> m_entries;
    qsizetype m_hits = 0;
    qsizetype m_misses = 0;
    bool m_swept = false;
};

/// "1|" and the SHA-256 of backend, input names and types, and output names and sources.
QString computeCacheKey(Backend backend, const QList<SlotBinding> &inputs,
                        const QList<SlotBinding> &outputs, const QStringList &sources);

} // namespace eval::internal
