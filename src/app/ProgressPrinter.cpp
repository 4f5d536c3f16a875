#include "ProgressPrinter.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <mutex>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 millisecondsBetweenLines = 100;
// Before this the first chunks say little about the others.
constexpr qint64 millisecondsBeforeEstimate = 1000;
// Back to the first column, and erase from there to the end of the line.
constexpr char eraseLine[] = "\r\033[K";

std::mutex lineMutex;
std::atomic_bool isLineOpen = false; // written under lineMutex; a signal handler reads it

bool isRewritable()
{
    const QByteArray terminal = qgetenv("TERM");
    return isatty(STDERR_FILENO) == 1 && !terminal.isEmpty() && terminal != "dumb";
}

// A line that wraps could not be erased.
QString cutToTerminal(const QString &line)
{
    winsize size = {};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return line;
    return line.left(size.ws_col - 1);
}

bool writeNow(const QByteArray &bytes)
{
    const auto size = size_t(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, stderr) == size && std::fflush(stderr) == 0;
}

void rewriteLine(const QString &line, bool isLast)
{
    const std::lock_guard lock(lineMutex);
    writeNow(eraseLine + cutToTerminal(line).toUtf8() + (isLast ? "\n" : ""));
    isLineOpen = !isLast;
}

} // namespace

ProgressPrinter::ProgressPrinter()
    : m_isLive(isRewritable())
{
    m_sinceStart.start();
}

ProgressPrinter::~ProgressPrinter()
{
    printAbove({});
}

void ProgressPrinter::show(qint64 current, qint64 total)
{
    const QString line =
        u"Progress: %1/%2 chunks"_s.arg(QString::number(current), QString::number(total));
    if (!m_isLive) {
        writeNow(line.toUtf8() + '\n');
        return;
    }
    const bool isLast = current >= total;
    if (!isLast && m_sinceLine.isValid() && m_sinceLine.elapsed() < millisecondsBetweenLines)
        return;
    m_sinceLine.start();
    rewriteLine(line + remainingText(current, total), isLast);
}

bool ProgressPrinter::printAbove(const QByteArray &lines)
{
    const std::lock_guard lock(lineMutex);
    return writeNow(isLineOpen.exchange(false) ? eraseLine + lines : lines);
}

void ProgressPrinter::endLineFromSignal() noexcept
{
    // There is nothing that a handler could do about a terminal that is gone.
    if (isLineOpen && ::write(STDERR_FILENO, "\n", 1) < 0)
        isLineOpen = false;
}

QString ProgressPrinter::durationText(qint64 seconds)
{
    const qint64 minutes = seconds / 60;
    if (minutes == 0)
        return QString::number(seconds) + u" s"_s;
    if (minutes < 60)
        return u"%1 min %2 s"_s.arg(QString::number(minutes), QString::number(seconds % 60));
    return u"%1 h %2 min"_s.arg(QString::number(minutes / 60), QString::number(minutes % 60));
}

QString ProgressPrinter::remainingText(qint64 current, qint64 total) const
{
    const qint64 elapsed = m_sinceStart.elapsed();
    if (current <= 0 || current >= total || elapsed < millisecondsBeforeEstimate)
        return {};
    const double left = double(elapsed) * double(total - current) / double(current);
    return u" — %1 left"_s.arg(durationText(qRound64(left / 1000.0)));
}
