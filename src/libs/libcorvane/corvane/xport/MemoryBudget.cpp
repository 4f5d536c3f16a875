#include <corvane/xport/MemoryBudget.h>

#include <QFile>
#include <QLocale>

#include <algorithm>
#include <limits>
#include <optional>

#include <sys/resource.h>
#include <unistd.h>

namespace corvane::xport {

using namespace Qt::StringLiterals;

namespace {

constexpr double usableShare = 0.9;
constexpr double unlimited = std::numeric_limits<double>::infinity();

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(65536) : QByteArray();
}

/// The number that follows a name at the beginning of a line.
std::optional<double> numberAfter(const QByteArray &name, const QByteArray &text)
{
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray &line : lines) {
        if (!line.startsWith(name))
            continue;
        bool ok = false;
        const double number = line.mid(name.size()).simplified().split(' ').value(0).toDouble(&ok);
        if (ok)
            return number;
    }
    return std::nullopt;
}

std::optional<double> numberIn(const QString &path)
{
    bool ok = false;
    const double value = contentOf(path).trimmed().toDouble(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

/// How one of the two versions of control groups names its files.
struct GroupFiles
{
    QLatin1String limit, used, files;
};
constexpr GroupFiles version1{"/memory.limit_in_bytes"_L1, "/memory.usage_in_bytes"_L1,
                              "total_inactive_file "_L1};
constexpr GroupFiles version2{"/memory.max"_L1, "/memory.current"_L1, "inactive_file "_L1};

double leftInGroup(const QString &folder, const GroupFiles &names)
{
    const auto limit = numberIn(folder + names.limit); // a word where there is none
    if (!limit)
        return unlimited;
    const double used = numberIn(folder + names.used).value_or(0.0);
    const double files =
        numberAfter(QByteArray(names.files.data()), contentOf(folder + u"/memory.stat"_s))
            .value_or(0.0);
    return std::max(*limit - std::max(used - files, 0.0), 0.0);
}

/// Of a group and all those around it, up to the one that `root` shows.
double leftInGroups(const QString &root, QString path, const GroupFiles &names)
{
    double left = leftInGroup(root, names);
    for (; path.size() > 1; path = path.left(path.lastIndexOf(u'/')))
        left = std::min(left, leftInGroup(root + path, names));
    return left;
}

double limitOf(__rlimit_resource resource, int sizeField)
{
    rlimit limit{};
    if (getrlimit(resource, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return unlimited;
    const double pages =
        contentOf(u"/proc/self/statm"_s).simplified().split(' ').value(sizeField).toDouble();
    const double used = pages * static_cast<double>(sysconf(_SC_PAGESIZE));
    return std::max(static_cast<double>(limit.rlim_cur) - used, 0.0);
}

/// What is set on the process itself.
double processLimit()
{
    constexpr int wholeSize = 0, dataSize = 5; // fields of /proc/self/statm, in pages
    return std::min(limitOf(RLIMIT_AS, wholeSize), limitOf(RLIMIT_DATA, dataSize));
}

} // namespace

double groupMemory(const QString &root, const QByteArray &groups)
{
    double left = unlimited;
    const QList<QByteArray> lines = groups.split('\n');
    for (const QByteArray &line : lines) {
        const QList<QByteArray> parts = line.split(':'); // number, controllers, path
        const QString path = QString::fromLocal8Bit(parts.mid(2).join(':'));
        if (parts.value(0) == "0")
            left = std::min(left, leftInGroups(root, path, version2));
        else if (parts.value(1).split(',').contains("memory"))
            left = std::min(left, leftInGroups(root + u"/memory"_s, path, version1));
    }
    return left;
}

double availableMemory()
{
    const double physical =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    constexpr double kilobyte = 1024.0;
    const auto available = numberAfter("MemAvailable:", contentOf(u"/proc/meminfo"_s));
    return std::min({available ? *available * kilobyte : physical,
                     groupMemory(u"/sys/fs/cgroup"_s, contentOf(u"/proc/self/cgroup"_s)),
                     processLimit()});
}

QString bytesText(double bytes)
{
    constexpr double mega = 1e6;
    constexpr double giga = 1e9;
    return bytes < giga ? QString::number(bytes / mega, 'f', 1) + u" MB"_s
                        : QString::number(bytes / giga, 'f', 1) + u" GB"_s;
}

QString memoryError(const QString &what, double bytes, double available)
{
    if (bytes <= available * usableShare)
        return {};
    return u"%1 needs %2 of memory, and %3 are available: use a larger cell size or free memory"_s
        .arg(what, bytesText(bytes), bytesText(available));
}

} // namespace corvane::xport
