// A mutex around a hash table: two threads may compile the same key at once, and the later one
// replaces the earlier, which is equal.

#include <eval/internal/Cache.h>

#include <QCryptographicHash>
#include <QMutexLocker>

#include <utility>

using namespace Qt::StringLiterals;

namespace eval::internal {

Cache &Cache::instance()
{
    static Cache cache;
    return cache;
}

QSharedPointer<const CachedCompile> Cache::lookup(const QString &key)
{
    const QMutexLocker lock(&m_mutex);
    const auto found = m_entries.constFind(key);
    ++(found == m_entries.constEnd() ? m_misses : m_hits);
    return found == m_entries.constEnd() ? nullptr : *found;
}

void Cache::store(const QString &key, QSharedPointer<const CachedCompile> entry)
{
    const QMutexLocker lock(&m_mutex);
    if (!std::exchange(m_swept, true))
        m_entries.removeIf([](const auto &old) { return !old.key().startsWith(schemaPrefix); });
    m_entries.insert(key, std::move(entry));
}

void Cache::clear()
{
    const QMutexLocker lock(&m_mutex);
    m_entries.clear();
}

qsizetype Cache::hits() const
{
    const QMutexLocker lock(&m_mutex);
    return m_hits;
}

qsizetype Cache::misses() const
{
    const QMutexLocker lock(&m_mutex);
    return m_misses;
}

qsizetype Cache::size() const
{
    const QMutexLocker lock(&m_mutex);
    return m_entries.size();
}

QString computeCacheKey(Backend backend, const QList<SlotBinding> &inputs,
                        const QList<SlotBinding> &outputs, const QStringList &sources)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData("1|" + QByteArray::number(static_cast<int>(backend)) + "|inputs|");
    for (const SlotBinding &input : inputs)
        hash.addData(input.name.toUtf8() + ':' +
                     QByteArray::number(static_cast<quint32>(input.type)) + '|');
    hash.addData("|outputs|");
    for (qsizetype i = 0; i < outputs.size(); ++i)
        hash.addData(outputs[i].name.toUtf8() + '=' + sources[i].toUtf8() + '|');
    return Cache::schemaPrefix + QString::fromLatin1(hash.result().toHex());
}

} // namespace eval::internal
