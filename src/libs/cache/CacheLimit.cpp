#include "CacheLimit.h"

#include <concurrency/BackgroundQueue.h>
#include <store/ShutdownLifecycle.h>

#include <QFile>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <memory>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace cache {

namespace {

constexpr time_t touchSeconds = 3600;
constexpr time_t leftoverSeconds = 3600;
constexpr time_t sweepSeconds = 600;
constexpr std::chrono::seconds quietBeforeSweep{5};
constexpr std::chrono::seconds waitAtEnd{2};
constexpr std::size_t mostWaiting = 16;
/// Of the limit: more than that stored by one process is worth a sweep before the ten minutes.
constexpr qint64 muchStored = 8;
constexpr qint64 spareShare = 8;
/// More files than that are counted, but wait for the next sweep.
constexpr std::size_t mostListed = 200'000;

const QString stampName = u".swept"_s;

struct File
{
    QByteArray name;
    int folder = 0; ///< an index
    qint64 bytes = 0;
    timespec used{};
};

bool isBefore(const timespec &a, const timespec &b)
{
    return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

bool isPlainFile(int folder, const char *name, struct stat &status)
{
    return ::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode);
}

/// The folders of a cache, open while it is swept, so that a path that is moved meanwhile leads
/// nowhere else.
class Listing
{
public:
    explicit Listing(const Cache &cache)
        : m_cache(cache)
    {
        for (const QString &folder : cache.folders) {
            DIR *const open = ::opendir(QFile::encodeName(folder).constData());
            if (!open)
                continue;
            m_folders.push_back(open);
            read(static_cast<int>(m_folders.size()) - 1);
        }
    }
    ~Listing()
    {
        for (DIR *const folder : m_folders)
            ::closedir(folder);
    }
    Q_DISABLE_COPY_MOVE(Listing)

    qint64 bytes() const { return m_bytes; }
    std::vector<File> &files() { return m_files; }

    /// False when it is still there. A file that was used since it was listed stays.
    bool remove(const File &file) const
    {
        const int folder = ::dirfd(m_folders[static_cast<std::size_t>(file.folder)]);
        struct stat now = {};
        if (!isPlainFile(folder, file.name.constData(), now))
            return true;
        return !isBefore(file.used, now.st_mtim) &&
               ::unlinkat(folder, file.name.constData(), 0) == 0;
    }

private:
    void read(int folder)
    {
        const int descriptor = ::dirfd(m_folders.back());
        const time_t now = std::time(nullptr);
        while (const dirent *const entry = ::readdir(m_folders.back())) {
            const QByteArrayView name(entry->d_name);
            struct stat status = {};
            if (has(name, m_cache.leftovers, false)) {
                if (isPlainFile(descriptor, entry->d_name, status) &&
                    now - status.st_mtime > leftoverSeconds)
                    ::unlinkat(descriptor, entry->d_name, 0);
            } else if (has(name, m_cache.suffixes, true) &&
                       isPlainFile(descriptor, entry->d_name, status)) {
                m_bytes += status.st_size;
                if (m_files.size() < mostListed)
                    m_files.push_back({name.toByteArray(), folder, status.st_size, status.st_mtim});
            }
        }
    }

    static bool has(QByteArrayView name, const QStringList &parts, bool isAtEnd)
    {
        return std::any_of(parts.cbegin(), parts.cend(), [&](const QString &part) {
            const QByteArray bytes = part.toLatin1();
            return isAtEnd ? name.endsWith(bytes) : name.contains(bytes);
        });
    }

    const Cache &m_cache;
    std::vector<DIR *> m_folders;
    std::vector<File> m_files;
    qint64 m_bytes = 0;
};

/// Of all caches of the process.
concurrency::BackgroundQueue &sweeps()
{
    static concurrency::BackgroundQueue queue("Ondrel.caches", quietBeforeSweep, mostWaiting);
    // What a short run stored counts too.
    [[maybe_unused]] static const quint64 probe =
        store::ShutdownLifecycle::instance().registerProbe(
            [] { static_cast<void>(queue.finish(waitAtEnd)); });
    return queue;
}

} // namespace

CacheLimit::CacheLimit(Cache cache)
    : m_cache(std::move(cache))
{}

void CacheLimit::noteUse(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (isPlainFile(AT_FDCWD, name.constData(), status) &&
        std::time(nullptr) - status.st_mtime > touchSeconds)
        ::utimensat(AT_FDCWD, name.constData(), nullptr, AT_SYMLINK_NOFOLLOW);
}

/// Whether no process has looked for a while. Who asks is the one to look.
bool CacheLimit::isDue() const
{
    const auto folder = std::find_if(m_cache.folders.cbegin(), m_cache.folders.cend(),
                                     [](const QString &name) { return QFile::exists(name); });
    if (folder == m_cache.folders.cend())
        return false;
    const QByteArray path = QFile::encodeName(*folder + u'/' + stampName);
    struct stat status = {};
    if (::lstat(path.constData(), &status) == 0 &&
        std::abs(std::time(nullptr) - status.st_mtime) < sweepSeconds)
        return false;
    const int stamp =
        ::open(path.constData(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (stamp < 0) // a cache that is not to be written needs no sweep
        return false;
    ::futimens(stamp, nullptr);
    ::close(stamp);
    return true;
}

void CacheLimit::noteStore(qint64 bytes) const
{
    static std::atomic<qint64> stored = 0;
    stored += bytes;
    sweeps().add(m_cache.folders.join(u'\n'), [limit = *this] {
        const bool isMuch = stored > limit.m_cache.limit / muchStored;
        if (!isMuch && !limit.isDue())
            return;
        stored = 0;
        limit.sweep();
    });
}

CacheSweep CacheLimit::sweep() const
{
    Listing listing(m_cache);
    CacheSweep result{.bytesBefore = listing.bytes()};
    if (result.bytesBefore <= m_cache.limit)
        return result;
    const qint64 wanted = result.bytesBefore - (m_cache.limit - m_cache.limit / spareShare);
    std::vector<File> &files = listing.files();
    std::sort(files.begin(), files.end(),
              [](const File &a, const File &b) { return isBefore(a.used, b.used); });
    for (const File &file : files) {
        if (result.bytesRemoved >= wanted)
            break;
        if (listing.remove(file))
            result.bytesRemoved += file.bytes;
    }
    return result;
}

} // namespace cache
