#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>

/// Tells on standard error how far an export is.
///
/// Where standard error is a file or a pipe, each step is a line of its own:
/// "Progress: 3/8 chunks". On a terminal it is one line, written anew at most ten times a second,
/// with the time that is left: "Progress: 3/8 chunks — 5 s left". A terminal that says by TERM that
/// it can't erase gets the lines of a pipe.
///
/// One at a time, on one thread. Any thread may write other lines meanwhile, by printAbove().
class ProgressPrinter
{
public:
    ProgressPrinter();
    ~ProgressPrinter(); ///< erases a line under way
    ProgressPrinter(const ProgressPrinter &) = delete;
    ProgressPrinter &operator=(const ProgressPrinter &) = delete;

    /// `current` of `total` chunks are done; the last call, with both equal, ends the line.
    void show(qint64 current, qint64 total);

    /// Writes whole lines to standard error, in place of a line under way, which the next show()
    /// brings back below them. False when they could not all be written.
    static bool printAbove(const QByteArray &lines);

    /// Ends a line under way, so that a prompt begins a line of its own. Safe in a signal handler.
    static void endLineFromSignal() noexcept;

    /// "4 s", "2 min 5 s", "3 h 20 min".
    static QString durationText(qint64 seconds);

private:
    QString remainingText(qint64 current, qint64 total) const;

    const bool m_isLive;
    QElapsedTimer m_sinceStart;
    QElapsedTimer m_sinceLine; ///< invalid before the first line
};
