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

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.read(65536) : QByteArray();
}

/// The number in kB that /proc/meminfo has for a name.
std::optional<double> memoryInfo(const QByteArray &name)
{
    const QList<QByteArray> lines = contentOf(u"/proc/meminfo"_s).split('\n');
    for (const QByteArray &line : lines) {
        if (!line.startsWith(name + ':'))
            continue;
        bool ok = false;
        const double kilobytes =
            line.mid(name.size() + 1).simplified().split(' ').value(0).toDouble(&ok);
        if (ok)
            return kilobytes * 1024.0;
    }
    return std::nullopt;
}

std::optional<double> numberIn(const QString &path)
{
    bool ok = false;
    const double value = contentOf(path).trimmed().toDouble(&ok);
    return ok ? std::optional(value) : std::nullopt;
}

/// What a container leaves: its limit is none of the machine's.
double groupMemory()
{
    const auto limit = numberIn(u"/sys/fs/cgroup/memory.max"_s);
    const auto used = numberIn(u"/sys/fs/cgroup/memory.current"_s);
    return limit ? std::max(*limit - used.value_or(0.0), 0.0)
                 : std::numeric_limits<double>::infinity();
}

double processLimit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return std::numeric_limits<double>::infinity();
    const double pages = contentOf(u"/proc/self/statm"_s).split(' ').value(0).toDouble();
    const double used = pages * static_cast<double>(sysconf(_SC_PAGESIZE));
    return std::max(static_cast<double>(limit.rlim_cur) - used, 0.0);
}

} // namespace

double availableMemory()
{
    const double physical =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    return std::min({memoryInfo("MemAvailable").value_or(physical), groupMemory(), processLimit()});
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
    return u"%1 needs %2 of memory, and %3 are available"_s.arg(what, bytesText(bytes),
                                                                bytesText(available));
}

} // namespace corvane::xport
