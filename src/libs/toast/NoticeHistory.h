#pragma once

#include <toast/ErrorManager.h>
#include <toast/ToastRecord.h>

#include <QDateTime>
#include <QList>
#include <QString>

namespace toast {

/// The history as text, newest first, one paragraph a notice: what "Copy all" puts on the
/// clipboard.
QString historyText(const QList<ToastRecord> &records);
/// One notice of it: what "Copy" puts there.
QString noticeText(const ToastRecord &record);

/// What came of saving the history.
struct SavedHistory
{
    QString path{};  ///< the file, for the clipboard; empty on failure
    QString error{}; ///< for the user; empty when it is saved
};

/// Writes the history to "ondrel-notifications/notifications-<time>.txt" in a folder, the user's
/// Desktop: an empty folder is one that could not be found.
SavedHistory saveHistory(const QList<ToastRecord> &records, const QString &desktop,
                         const QDateTime &now = QDateTime::currentDateTime());

/// What the toolbar shows of the standing problems.
struct ProblemSummary
{
    QString text{};    ///< "No problems detected", or such as "2 error(s), 1 warning(s)"
    QString toolTip{}; ///< a line "• source: message" for each error and warning
};
ProblemSummary summarize(const QList<ErrorEntry> &entries);

} // namespace toast
