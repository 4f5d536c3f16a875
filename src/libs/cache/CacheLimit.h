#pragma once

#include <QString>
#include <QStringList>

namespace cache {

/// Files that can be made again, so that the ones not used for longest may go.
struct Cache
{
    QStringList folders{};            ///< in which they stand; folders within are left alone
    QStringList suffixes{};           ///< of the files: ".so"; others are left alone
    QStringList leftovers{};          ///< in the names of files that were never finished: ".part"
    qint64 limit = qint64(512) << 20; ///< bytes of all folders together
};

/// What a sweep found and did.
struct CacheSweep
{
    qint64 bytesBefore = 0;
    qint64 bytesRemoved = 0;
};

/// Keeps a cache within its limit. A file that is used is touched, so that its time of modification
/// is that of its last use, whatever the disk was mounted with.
///
/// Nothing is looked through while a program starts or works: sweeps come some seconds after the
/// last file was stored, or when the process ends (store::ShutdownLifecycle), on a thread of the
/// lowest priority, and over all processes one in ten minutes, unless this one has stored much
/// since. Each takes an eighth more than it must, so that the next one finds nothing to do.
///
/// Any number of processes may use and sweep a cache at a time. A file may go at any moment, so its
/// reader must be able to make it again. What can't be removed stays, without a word.
///
/// Any thread.
class CacheLimit
{
public:
    explicit CacheLimit(Cache cache);

    /// A file was read. Costs a look at it, and once an hour a touch.
    static void noteUse(const QString &path);
    /// A file was stored: a sweep comes some time after.
    void noteStore(qint64 bytes) const;

    /// The sweep itself.
    CacheSweep sweep() const;

private:
    bool isDue() const;

    Cache m_cache;
};

} // namespace cache
