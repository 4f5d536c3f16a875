#include "ErrorManager.h"

#include <QLoggingCategory>
#include <QMutexLocker>
#include <QSet>

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcErrors, "ondrel.toast.errors")

namespace {

void logEntry(const ErrorEntry &entry)
{
    const auto line = [&](QLatin1StringView prefix) {
        return QString(prefix + u' ' + entry.source + u": "_s + entry.message);
    };
    switch (entry.severity) {
    case ErrorSeverity::Info:
        qCInfo(lcErrors).noquote() << line("[INFO]"_L1);
        break;
    case ErrorSeverity::Warning:
        qCWarning(lcErrors).noquote() << line("[WARNING]"_L1);
        break;
    case ErrorSeverity::Error:
        qCCritical(lcErrors).noquote() << line("[ERROR]"_L1);
        break;
    case ErrorSeverity::Critical:
        qCCritical(lcErrors).noquote() << line("[CRITICAL]"_L1);
        break;
    }
}

// Entries are in the order of their ids.
template<typename Entries>
auto findEntry(Entries &entries, int id)
{
    const auto it = std::lower_bound(entries.begin(), entries.end(), id,
                                     [](const ErrorEntry &e, int wanted) { return e.id < wanted; });
    return it != entries.end() && it->id == id ? it : entries.end();
}

template<typename Key>
void removeId(QHash<Key, QList<int>> &idsByKey, const Key &key, const QSet<int> &removed)
{
    const auto ids = idsByKey.find(key);
    if (ids == idsByKey.end())
        return;
    ids->removeIf([&](int id) { return removed.contains(id); });
    if (ids->isEmpty())
        idsByKey.erase(ids);
}

} // namespace

ErrorManager &ErrorManager::instance()
{
    // Never destroyed: threads may still report to it while the process ends.
    static auto *const manager = new ErrorManager;
    return *manager;
}

ErrorManager::ErrorManager(QObject *parent)
    : QObject(parent)
{
    // Reports from other threads reach their listeners through queued connections.
    qRegisterMetaType<ErrorEntry>();
}

int ErrorManager::reportError(ErrorSeverity severity, const QString &source, const QString &message,
                              const QUuid &instanceId, int line, int column)
{
    ErrorEntry entry{.id = 0,
                     .severity = severity,
                     .source = source,
                     .message = message,
                     .timestamp = QDateTime::currentDateTime(),
                     .instanceId = instanceId,
                     .line = line,
                     .column = column};
    {
        const QMutexLocker lock(&m_mutex);
        entry.id = m_nextId++;
        m_entries.append(entry);
        ++countOf(m_counts, severity);
        if (!instanceId.isNull())
            m_idsByInstance[instanceId].append(entry.id);
        if (!source.isEmpty())
            m_idsBySource[source].append(entry.id);
    }
    logEntry(entry);
    emit errorAdded(entry);
    emitCounts();
    return entry.id;
}

int ErrorManager::reportInfo(const QString &source, const QString &message, const QUuid &instanceId)
{
    return reportError(ErrorSeverity::Info, source, message, instanceId);
}

int ErrorManager::reportWarning(const QString &source, const QString &message,
                                const QUuid &instanceId)
{
    return reportError(ErrorSeverity::Warning, source, message, instanceId);
}

int ErrorManager::reportCritical(const QString &source, const QString &message,
                                 const QUuid &instanceId)
{
    return reportError(ErrorSeverity::Critical, source, message, instanceId);
}

QList<ErrorEntry> ErrorManager::allErrors() const
{
    const QMutexLocker lock(&m_mutex);
    return m_entries;
}

QList<ErrorEntry> ErrorManager::errorsForInstance(const QUuid &instanceId) const
{
    const QMutexLocker lock(&m_mutex);
    return entriesLocked(m_idsByInstance.value(instanceId));
}

QList<ErrorEntry> ErrorManager::errorsForSource(const QString &source) const
{
    const QMutexLocker lock(&m_mutex);
    return entriesLocked(m_idsBySource.value(source));
}

int ErrorManager::errorCount() const
{
    const QMutexLocker lock(&m_mutex);
    return m_counts.errors;
}

int ErrorManager::warningCount() const
{
    const QMutexLocker lock(&m_mutex);
    return m_counts.warnings;
}

int ErrorManager::infoCount() const
{
    const QMutexLocker lock(&m_mutex);
    return m_counts.infos;
}

void ErrorManager::clearForSource(const QString &source)
{
    QList<int> removed;
    {
        const QMutexLocker lock(&m_mutex);
        removed = removeLocked(m_idsBySource.value(source));
    }
    announceRemoval(removed);
    emitCounts();
}

void ErrorManager::clearForInstance(const QUuid &instanceId)
{
    QList<int> removed;
    {
        const QMutexLocker lock(&m_mutex);
        removed = removeLocked(m_idsByInstance.value(instanceId));
    }
    announceRemoval(removed);
    emit errorsClearedForInstance(instanceId);
    emitCounts();
}

void ErrorManager::clearAll()
{
    {
        const QMutexLocker lock(&m_mutex);
        m_entries.clear();
        m_counts = {};
        m_idsByInstance.clear();
        m_idsBySource.clear();
    }
    emit errorsCleared();
    emitCounts();
}

int &ErrorManager::countOf(Counts &counts, ErrorSeverity severity)
{
    switch (severity) {
    case ErrorSeverity::Info:
        return counts.infos;
    case ErrorSeverity::Warning:
        return counts.warnings;
    case ErrorSeverity::Error:
    case ErrorSeverity::Critical:
        break;
    }
    return counts.errors;
}

QList<ErrorEntry> ErrorManager::entriesLocked(const QList<int> &ids) const
{
    QList<ErrorEntry> entries;
    for (const int id : ids)
        if (const auto it = findEntry(m_entries, id); it != m_entries.end())
            entries.append(*it);
    return entries;
}

// In one pass over the entries, so that clearing ten thousand of them is not quadratic.
QList<int> ErrorManager::removeLocked(const QList<int> &ids)
{
    const QSet<int> removed(ids.begin(), ids.end());
    QSet<QUuid> instances;
    QSet<QString> sources;
    m_entries.removeIf([&](const ErrorEntry &entry) {
        if (!removed.contains(entry.id))
            return false;
        --countOf(m_counts, entry.severity);
        instances.insert(entry.instanceId);
        sources.insert(entry.source);
        return true;
    });
    for (const QUuid &instance : std::as_const(instances))
        removeId(m_idsByInstance, instance, removed);
    for (const QString &source : std::as_const(sources))
        removeId(m_idsBySource, source, removed);
    return ids;
}

void ErrorManager::announceRemoval(const QList<int> &ids)
{
    for (const int id : ids)
        emit errorRemoved(id);
}

void ErrorManager::emitCounts()
{
    Counts counts;
    {
        const QMutexLocker lock(&m_mutex);
        counts = m_counts;
    }
    emit countsChanged(counts.errors, counts.warnings, counts.infos);
}
