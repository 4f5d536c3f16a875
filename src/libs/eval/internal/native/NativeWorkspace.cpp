#include <eval/internal/native/NativeWorkspace.h>

#include <eval/NativeCleanup.h>

#include <QDir>
#include <QFile>
#include <QRandomGenerator>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

// The names of what a compiler leaves in its folder are its own affair, so a signal handler has to
// list the folder. readdir() allocates; the system call behind it does not.

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

constexpr int placeCount = 64;
constexpr size_t longestPath = 512;
constexpr int attempts = 100;
constexpr int attemptMilliseconds = 5;

struct Place
{
    std::atomic<bool> isTaken;
    std::atomic<bool> isSet; ///< the path is whole
    std::atomic<pid_t> group;
    char path[longestPath];
};
static_assert(std::atomic<pid_t>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

/// The table; null when there is no memory for it.
Place *places()
{
    static Place *const table = [] {
        void *const memory = mmap(nullptr, placeCount * sizeof(Place), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        return memory == MAP_FAILED ? nullptr : static_cast<Place *>(memory);
    }();
    return table;
}

/// The same for a handler, which must not be the first to ask.
std::atomic<Place *> knownPlaces{nullptr};

int takePlace(const QByteArray &path)
{
    Place *const table = places();
    knownPlaces = table;
    if (!table || size_t(path.size()) >= longestPath)
        return -1;
    for (int i = 0; i < placeCount; ++i) {
        if (table[i].isTaken.exchange(true))
            continue;
        std::memcpy(table[i].path, path.constData(), size_t(path.size()) + 1);
        table[i].group = 0;
        table[i].isSet = true;
        return i;
    }
    return -1;
}

void leavePlace(int place)
{
    if (place < 0)
        return;
    Place &left = places()[place];
    left.isSet = false;
    left.group = 0;
    left.isTaken = false;
}

/// What the kernel writes for each entry of a folder.
struct Entry
{
    ino64_t inode;
    off64_t offset;
    unsigned short length;
    unsigned char type;
    char name[1];
};

/// Removes the files of a folder and the folder. True when it is gone.
bool removeFlatFolder(const char *path) noexcept
{
    const int folder = open(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (folder < 0)
        return errno == ENOENT;
    alignas(Entry) char buffer[4096];
    long size = 0;
    while ((size = syscall(SYS_getdents64, folder, buffer, sizeof buffer)) > 0) {
        for (long at = 0; at < size;) {
            const auto *const entry = reinterpret_cast<const Entry *>(buffer + at);
            unlinkat(folder, entry->name, 0); // refuses "." and ".."
            at += entry->length;
        }
    }
    close(folder);
    return rmdir(path) == 0 || errno == ENOENT;
}

/// One round over the table. True when nothing is left.
bool endOnce(Place *table) noexcept
{
    bool isDone = true;
    for (int i = 0; i < placeCount; ++i) {
        if (!table[i].isSet)
            continue;
        if (const pid_t group = table[i].group; group > 0)
            kill(-group, SIGKILL);
        isDone = removeFlatFolder(table[i].path) && isDone;
    }
    return isDone;
}

} // namespace

NativeWorkspace::NativeWorkspace()
{
    // The name is in the table before the folder is there.
    for (int i = 0; i < 10 && m_path.isEmpty(); ++i) {
        const QString path = u"%1/corvane-native-%2"_s.arg(
            QDir::tempPath(), QString::number(QRandomGenerator::system()->generate64(), 16));
        const QByteArray name = QFile::encodeName(path);
        m_place = takePlace(name);
        if (mkdir(name.constData(), 0700) == 0)
            m_path = path;
        else
            leavePlace(std::exchange(m_place, -1));
    }
}

NativeWorkspace::~NativeWorkspace()
{
    if (isValid())
        QDir(m_path).removeRecursively();
    leavePlace(m_place);
}

std::atomic<pid_t> *NativeWorkspace::group() const
{
    return m_place < 0 ? nullptr : &places()[m_place].group;
}

// A process that was killed may still be at a system call that makes a file.
void NativeWorkspace::endAll() noexcept
{
    Place *const table = knownPlaces;
    if (!table)
        return;
    for (int i = 0; i < attempts && !endOnce(table); ++i)
        poll(nullptr, 0, attemptMilliseconds);
}

} // namespace eval::internal

void eval::endNativeCompilers() noexcept
{
    eval::internal::NativeWorkspace::endAll();
}
